// The document that carries objects on the clipboard and in a drag: its bytes, how it is read, and what it holds at
// its top level. What stands in its elements is written in CTlmMeasConfig_clipboard.cpp.
#ifndef TLMMEAS_CLIPBOARDDOCUMENT_H
#define TLMMEAS_CLIPBOARDDOCUMENT_H

#include <QByteArray>
#include <QDomDocument>
#include <QString>

inline const QString kFolderTag = QStringLiteral("Folder");
inline const QString kUnitTag = QStringLiteral("RemoteUnit");

// The bytes under the private format: a mark, then the document in UTF-8. An empty document makes the emptied form.
QByteArray clipboardPayload(const QString& xml, bool isCopy);
bool payloadIsCopy(const QByteArray& payload);
// The document of such bytes, up to a zero byte; empty also for bytes beyond what a document may hold.
QString payloadDocument(const QByteArray& payload);

// Reads a document. False for a text that is no XML, and for one that would harm the reader (DocumentGuard.h).
bool readDocument(const QString& xml, QDomDocument& document);

// "Folder", "RemoteUnit" or a measurement class, with the key of the element that decided; both empty for a
// document that can be pasted nowhere.
struct ClipboardTop {
  QString table;
  QString keyLink;
};

ClipboardTop clipboardTop(const QString& xml);

// The class of the one measurement at the top; empty for any other document.
QString clipboardTemplate(const QString& xml);

// The same answers, read from a document once: a selection asks about the clipboard's document again and again.
class DocumentFacts {
 public:
  const ClipboardTop& top(const QString& xml) { return read(xml), top_; }
  const QString& templateTable(const QString& xml) { return read(xml), template_; }

 private:
  void read(const QString& xml);

  QString xml_;
  ClipboardTop top_;
  QString template_;
};

#endif
