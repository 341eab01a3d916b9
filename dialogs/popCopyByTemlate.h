// The dialog that asks for the numbers and the name of a series of copies.
#ifndef TLMMEAS_POPCOPYBYTEMLATE_H
#define TLMMEAS_POPCOPYBYTEMLATE_H

#include <TlmClient/CPopTemplate.h>

#include <QString>

class CTlmMeasConfig;
class QTextCodec;

class CPopCopyByTemlate : public CPopTemplate {
  Q_OBJECT

 public:
  CPopCopyByTemlate(QWidget* parent, CTlmMeasConfig* module);

  QTextCodec* moduleCodec = nullptr;

 signals:
  void SignOK(QString begin, QString end, int step, int count, QString name);

 private:
  CTlmMeasConfig* module_;
};

#endif
