// The dialog that asks which aggregated data a measurement has.
#ifndef TLMMEAS_POPADDAGREGDATA_H
#define TLMMEAS_POPADDAGREGDATA_H

#include <TlmClient/CPopTemplate.h>

#include <QStringList>

class CTlmMeasConfig;
class QTextCodec;

class CPopAddAgregData : public CPopTemplate {
  Q_OBJECT

 public:
  CPopAddAgregData(QWidget* parent, CTlmMeasConfig* module);

  QTextCodec* moduleCodec = nullptr;

 signals:
  void SignOK(QStringList archGroupKeys);
  void SignOKEmpty();

 private:
  CTlmMeasConfig* module_;
};

#endif
