// A map from text keys to text values, with a text form.
#ifndef TLMCLIENT_CSTRINGPARAMS_H
#define TLMCLIENT_CSTRINGPARAMS_H

#include <TlmClient/export.h>

#include <QChar>
#include <QString>
#include <QStringList>

// The text form is key=value pairs divided by a separator; what holds the separator, "=" , the quotation mark
// or blanks at its ends stands in quotation marks, which are doubled inside. Keys keep their order.
class TLMCLIENT_API CStringParams {
 public:
  CStringParams();

  // Reads a text form; what was held is gone. Malformed pieces are passed over.
  void setParams(const QString& text, QChar separator);
  QString getParams(QChar separator) const;

  void getKeys(QStringList& keys) const;
  QString getValue(const QString& key, const QString& byDefault) const;  // case respected
  void setValue(const QString& key, const QString& value);

  QChar quote;  // '"'

 private:
  QStringList keys_;
  QStringList values_;
};

#endif
