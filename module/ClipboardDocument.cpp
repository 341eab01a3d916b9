#include "ClipboardDocument.h"

#include "DocumentGuard.h"
#include "MeasClasses.h"

#include <optional>

namespace {

constexpr char kCopyMark = '1';
constexpr char kCutMark = '0';
constexpr int kMaxBytesOfChar = 3;  // of UTF-8, for one unit of UTF-16

bool isMeasurement(const QString& tag) { return measClassByName(tag, Qt::CaseSensitive) != nullptr; }

// What the top becomes with one more element: the same text to leave it, nothing to refuse the document.
std::optional<QString> nextTop(const QString& top, const QDomElement& element) {
  const QString tag = element.tagName();
  if (tag == top) return top;
  if (tag == kFolderTag || tag == kUnitTag) {
    if (isMeasurement(top)) return std::nullopt;
    return tag == kUnitTag && top == kFolderTag ? top : tag;
  }
  if (!isMeasurement(tag)) return top;
  if (top == kFolderTag || top == kUnitTag) return std::nullopt;
  if (top.isEmpty() && element.hasAttribute(QStringLiteral("primaryLocId"))) return std::nullopt;
  return tag;
}

ClipboardTop topOf(const QDomDocument& document) {
  ClipboardTop top;
  for (QDomElement element = document.documentElement().firstChildElement(); !element.isNull();
       element = element.nextSiblingElement()) {
    const std::optional<QString> next = nextTop(top.table, element);
    if (!next) return {};
    if (*next == top.table) continue;
    top.table = *next;
    top.keyLink = element.attribute(QStringLiteral("KeyLink"));
  }
  return top;
}

QString templateOf(const QDomDocument& document) {
  QString found;
  for (QDomElement element = document.documentElement().firstChildElement(); !element.isNull();
       element = element.nextSiblingElement()) {
    const QString tag = element.tagName();
    if (!found.isEmpty() || tag == kFolderTag || tag == kUnitTag) return QString();
    if (isMeasurement(tag)) found = tag;
  }
  return found;
}

}  // namespace

QByteArray clipboardPayload(const QString& xml, bool isCopy) { return (isCopy ? kCopyMark : kCutMark) + xml.toUtf8(); }

bool payloadIsCopy(const QByteArray& payload) { return payload.startsWith(kCopyMark); }

QString payloadDocument(const QByteArray& payload) {
  if (payload.size() < 2 || payload.size() / kMaxBytesOfChar > kMaxDocumentChars) return QString();
  const int end = payload.indexOf('\0', 1);
  return QString::fromUtf8(payload.constData() + 1, (end < 0 ? payload.size() : end) - 1);
}

bool readDocument(const QString& xml, QDomDocument& document) {
  return isHarmlessDocument(xml) && document.setContent(xml);
}

ClipboardTop clipboardTop(const QString& xml) { return DocumentFacts().top(xml); }

QString clipboardTemplate(const QString& xml) { return DocumentFacts().templateTable(xml); }

void DocumentFacts::read(const QString& xml) {
  if (xml == xml_) return;
  QDomDocument document(QStringLiteral("doc"));
  const bool readable = readDocument(xml, document);
  top_ = readable ? topOf(document) : ClipboardTop();
  template_ = readable ? templateOf(document) : QString();
  xml_ = xml;
}
