// The dialog that asks which aggregated data a measurement has.
#ifndef TLMMEAS_POPADDAGREGDATA_H
#define TLMMEAS_POPADDAGREGDATA_H

#include <TlmClient/CPopTemplate.h>

#include <QString>
#include <QStringList>

class CTlmMeasConfig;
class QTextCodec;
class StringListModel;
class Ui_CPopAddAgregData;

// GUI thread only. Made once by the module and used again: each opening is Init, the ticks of what is there
// (listModel->checkedKeys), show.
class CPopAddAgregData : public CPopTemplate {
  Q_OBJECT

 public:
  CPopAddAgregData(QWidget* parent, CTlmMeasConfig* module);
  ~CPopAddAgregData() override;

  // Lists the archive groups of aggregated data that fit the class; *hasTypes tells whether there are any. Needs the
  // module's reference tables.
  void Init(QString className, QString caption, bool* hasTypes);
  void show();   // over the module's centre, the keyboard on the list
  void Clear();  // without a list and a name

 signals:
  void SignOK(QStringList archGroupKeys);
  void SignOKEmpty();  // nothing is ticked

 public slots:
  void On_Accept() override;
  void On_Reject() override;

 public:
  Ui_CPopAddAgregData* ui;
  CTlmMeasConfig* module;
  bool shown = false;  // from show() until the answer
  StringListModel* listModel = nullptr;
  QString primaryKey;           // of the measurement that is asked about; empty when that is the current row
  QStringList groupsAtOpening;  // the archive groups that it had data of when it was asked about
  QTextCodec* moduleCodec = nullptr;

 private:
  void showSuffix();
};

#endif
