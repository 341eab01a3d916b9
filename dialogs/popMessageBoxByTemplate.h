// The report of the numbers that a series of copies could not have.
#ifndef TLMMEAS_POPMESSAGEBOXBYTEMPLATE_H
#define TLMMEAS_POPMESSAGEBOXBYTEMPLATE_H

#include <TlmClient/CPopTemplate.h>

class QTextCodec;

class CPopMessageBoxByTemplate : public CPopTemplate {
  Q_OBJECT

 public:
  explicit CPopMessageBoxByTemplate(QWidget* parent);

  QTextCodec* moduleCodec = nullptr;

 signals:
  void SignOK();
};

#endif
