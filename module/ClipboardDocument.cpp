#include "ClipboardDocument.h"

#include "MeasClasses.h"

#include <QDomDocument>

#include <optional>

namespace {

const QString kFolderTag = QStringLiteral("Folder");
const QString kUnitTag = QStringLiteral("RemoteUnit");

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

}  // namespace

ClipboardTop clipboardTop(const QString& xml) {
  QDomDocument document;
  if (!document.setContent(xml)) return {};
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

QString clipboardTemplate(const QString& xml) {
  QDomDocument document;
  if (!document.setContent(xml)) return QString();
  QString found;
  for (QDomElement element = document.documentElement().firstChildElement(); !element.isNull();
       element = element.nextSiblingElement()) {
    const QString tag = element.tagName();
    if (!found.isEmpty() || tag == kFolderTag || tag == kUnitTag) return QString();
    if (isMeasurement(tag)) found = tag;
  }
  return found;
}
