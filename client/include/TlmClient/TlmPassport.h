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

namespace tlm::passport {
class PassportSheet;
}

// GUI thread only. Fields are named "Table.field". Edits live until ClearChanges, also while another object is
// shown; the same object shown anew shows the server's values, and the fields with waiting edits stay marked.
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
  void SetObjectNew(QString key, QString className, CTlmCliSes* session, QStringList* tables, QList<CMDArray*>* arrays,
                    QString className2, bool notFolder, bool flag);

  // Shows an object out of its model, with its live value (zero-terminated, Windows-1251, or null), or the
  // merged values of the callback (null for one object). The callback is used during the call only.
  void SetObject(QString key, CLiteModel* model, CTlmCliSes* session, char* value, multiPasp* merged, bool, bool);

  // Refreshes the live value alone, if `key` is the object shown. An edit in progress is not disturbed.
  void SetValue(QString key, char* value);

  // Appends the names of the fields shown, in their order.
  void GetPassportFields(QStringList& fields) const;
  // Locks fields until the next display, names ignoring case; those that are not shown are passed over.
  void SetNoEditableFields(QStringList& fields, bool locked);
  // The value as it is stored, edits included: a key, a decimal number, "true" or "false", empty for null. Of
  // several objects the merged text. False when the field is not shown.
  bool GetValueProp(QString table, QString field, QString& value) const;

  // Appends the edited values as a change set; the caller owns the arrays. Without edits nothing is appended.
  // For an object with edits: the tables of its chain in order, each with the object's row in the full structure
  // of the table (change kind 2), the edited fields marked. For a new object the same in all tables of its class,
  // also unedited (kind 1), all fields that hold a value marked. An open editor is closed first, as by Enter.
  // Objects whose edits still wait while another is shown are appended too, in the order of their first edit.
  void GetNewValuesFull(QStringList& tables, QList<CMDArray*>& arrays);

  // Forgets all edits. What GetNewValuesFull gave out counts as saved and stays on the screen; other edits give
  // way to the values before them.
  void ClearChanges();
  bool HasChanges() const;

  // Rows of a table that FillCMDArray loaded: replaced or added by key, or dropped. An open tab follows.
  void UpdateTable(QString table, QString key, CMDArray* rows, bool changed);
  void DelRecTable(QString table, QString key);
  // Loads the open selection list anew if it is a list of that table; what was typed in it stays.
  void UpdateSelectValues(QString tablRefName, QString paramFld, QString paramTbl, QString name,
                          QString baseVoltageKey);

  QString currentKey;  // of the object shown; empty without one. Read by others, written here only

 signals:
  void TlmPasspChanged();              // on each edit by the user
  void TlmPasspMessage(QString text);  // a warning, Russian
  // The table behind the list, the field's and the table's parameter texts, the field, and an empty text.
  void SelectValuesVisible(QString tablRefName, QString paramFld, QString paramTbl, QString name,
                           QString baseVoltageKey);
  void SelectValuesClosed();

 private:
  tlm::passport::PassportSheet* sheet_;
};

#endif
