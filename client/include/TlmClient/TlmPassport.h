// The passport: the property sheet of one object, or of several of one class.
#ifndef TLMCLIENT_TLMPASSPORT_H
#define TLMCLIENT_TLMPASSPORT_H

#include <TlmClient/export.h>
#include <TlmMdx/CMDArray.h>

#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>

class CLiteModel;
class CTlmCliSes;
class QTabWidget;
class QTreeView;
class QWidget;
class multiPasp;

// GUI thread only. Fields are named "Table.field". Edits live until ClearChanges.
class TLMCLIENT_API TlmPassport : public QObject {
  Q_OBJECT

 public:
  explicit TlmPassport(bool);
  ~TlmPassport() override;

  void SetEditable(bool editable);

  // Takes over the tab widget whose first page holds the property view; table tabs are added behind it.
  void BindModelsTabWidg(QTabWidget* tabs, QWidget* unused);
  void SetStretchLastSection(QTreeView* view, bool stretch);

  // Loads a table into the sheet's own reference data. False when the server does not give it.
  bool FillCMDArray(CTlmCliSes* session, QString table);

  // Shows a heading only: no fields, nothing to edit.
  void SetDeclare(QString title, int count, QString label);

  // Shows a form for an object that the server does not know, filled from one-record arrays (null: none).
  void SetObjectNew(QString key, QString className, CTlmCliSes* session, QStringList* tables,
                    QList<CMDArray*>* arrays, QString className2, bool notFolder, bool flag);

  // Shows an object out of its model, with its live value (zero-terminated, Windows-1251, or null), or the
  // merged values of the callback (null for one object). The callback is used during the call only.
  void SetObject(QString key, CLiteModel* model, CTlmCliSes* session, char* value, multiPasp* merged, bool, bool);

  // Refreshes the live value alone, if `key` is the object shown. An edit in progress is not disturbed.
  void SetValue(QString key, char* value);

  void GetPassportFields(QStringList& fields) const;
  void SetNoEditableFields(QStringList& fields, bool locked);
  bool GetValueProp(QString table, QString field, QString& value) const;

  // The edited values as a change set: one name and one array for each table with edits (every table of the
  // chain for a new object), one record each, the edited fields marked. The caller owns the arrays.
  void GetNewValuesFull(QStringList& tables, QList<CMDArray*>& arrays);
  void ClearChanges();
  bool HasChanges() const;

  void UpdateTable(QString table, QString key, CMDArray* rows, bool changed);
  void DelRecTable(QString table, QString key);
  void UpdateSelectValues(QString tablRefName, QString paramFld, QString paramTbl, QString name,
                          QString baseVoltageKey);

  QString currentKey;  // of the object shown; empty without one. Read by others, written here only

 signals:
  void TlmPasspChanged();
  void TlmPasspMessage(QString text);
  void SelectValuesVisible(QString tablRefName, QString paramFld, QString paramTbl, QString name,
                           QString baseVoltageKey);
  void SelectValuesClosed();

 private:
  struct Sheet;
  Sheet* sheet_;
};

#endif
