// The callback that merges the values of several objects for the passport.
#ifndef TLMCLIENT_MULTIPASP_H
#define TLMCLIENT_MULTIPASP_H

#include <TlmClient/export.h>

#include <QString>

class TLMCLIENT_API multiPasp {
 public:
  virtual ~multiPasp();

  // The merged value of "Table.field". False: there is none.
  virtual bool func(const QString& field, QString& value) = 0;
};

#endif
