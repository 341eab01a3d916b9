// What a clipboard document holds at its top level.
#ifndef TLMMEAS_CLIPBOARDDOCUMENT_H
#define TLMMEAS_CLIPBOARDDOCUMENT_H

#include <QString>

// "Folder", "RemoteUnit" or a measurement class, with the key of the element that decided; both empty for a
// document that can be pasted nowhere.
struct ClipboardTop {
  QString table;
  QString keyLink;
};

ClipboardTop clipboardTop(const QString& xml);

// The class of the one measurement at the top; empty for any other document.
QString clipboardTemplate(const QString& xml);

#endif
