// The dialog that asks for the numbers and the name of a series of copies.
#ifndef TLMMEAS_POPCOPYBYTEMLATE_H
#define TLMMEAS_POPCOPYBYTEMLATE_H

#include <TlmClient/CPopTemplate.h>

#include <QString>

class CTlmMeasConfig;
class QTextCodec;
class Ui_CPopCopyByTemlate;

// GUI thread only. Made once by the module; step, count and ticks stay from one use to the next.
class CPopCopyByTemlate : public CPopTemplate {
  Q_OBJECT

 public:
  CPopCopyByTemlate(QWidget* parent, CTlmMeasConfig* module);
  ~CPopCopyByTemlate() override;

  // Offers the first free number, a range of a thousand from it, and the name that new objects of the class have.
  // Asks the server; without a free number the fields stay as they were.
  void Init(QString className);
  void show();   // over the module's centre, the keyboard on the first number
  void Clear();  // keeps everything: the next use begins with the values of this one

  QString name;            // as it was accepted last, and so the two below
  bool copyFields = true;  // of no effect: the values of fields are always copied
  bool copyAggregated = true;

  QString unitKey;  // of the unit that the series goes to; empty when the current row tells

 signals:
  // The two ends as they were typed.
  void SignOK(QString begin, QString end, int step, int count, QString name);

 public slots:
  void On_Accept() override;
  void On_Reject() override;

 public:
  Ui_CPopCopyByTemlate* ui;
  CTlmMeasConfig* module;
  QTextCodec* moduleCodec = nullptr;
};

#endif
