// What the passport shows for several selected objects, field by field.
#ifndef TLMMEAS_TMULTIPASP_H
#define TLMMEAS_TMULTIPASP_H

#include <TlmClient/multiPasp.h>
#include <TlmMdx/CMDArray.h>

#include <QItemSelection>
#include <QString>

#include <vector>

class CLiteModel;
class CTlmMeasConfig;
class QTreeView;
struct TModelRecord;

// GUI thread only. The selection of the view is read at each call; it must not change while a sheet is being built.
class TMultiPasp : public multiPasp {
 public:
  // Copies the records of all selected objects and gives the copy the one key "KeyLink".
  TMultiPasp(CTlmMeasConfig* module, QTreeView* view, const CMDArray& records);

  // The text of "Table.field" that all selected objects have in common. Where they differ: an empty text, "0" or
  // "PartiallyChecked", by the field's type. False: there is no merged value. Asks the server once for a field on
  // which all agree.
  bool func(const QString& field, QString& value) override;

 private:
  void readSelection();
  bool allAgree(const MDRField* field, QString& value) const;
  bool displayText(const QString& table, const QString& field, QString& value);
  bool declaredText(CLiteModel& model, const TModelRecord& record, const QString& field, QString& value);

  CTlmMeasConfig* module;
  QTreeView* view;
  CMDArray records;

  // The rows behind the selection that was read last; looked up anew when another one is read.
  QItemSelection read_;
  std::vector<const MDRData*> rows_;
  QString lastKey_;
};

#endif
