#include <TlmClient/TlmPassport.h>

#include "passport/passportSheet.h"

#include <QHeaderView>

TlmPassport::TlmPassport(bool) : sheet_(new tlm::passport::PassportSheet(this)) {}

TlmPassport::~TlmPassport() { delete sheet_; }

void TlmPassport::SetEditable(bool editable) { sheet_->setEditable(editable); }

void TlmPassport::BindModelsTabWidg(QTabWidget* tabs, QWidget*) { sheet_->bind(tabs); }

void TlmPassport::SetStretchLastSection(QTreeView* view, bool stretch) {
  if (view) view->header()->setStretchLastSection(stretch);
}

bool TlmPassport::FillCMDArray(CTlmCliSes* session, QString table) { return sheet_->loadTable(session, table); }

void TlmPassport::SetDeclare(QString title, int count, QString label) { sheet_->showDeclaration(title, count, label); }

void TlmPassport::SetObjectNew(QString key, QString className, CTlmCliSes* session, QStringList* tables,
                               QList<CMDArray*>* arrays, QString, bool, bool) {
  sheet_->showNew(key, className, session, tables, arrays);
}

void TlmPassport::SetObject(QString key, CLiteModel* model, CTlmCliSes* session, char* value, multiPasp* merged, bool,
                            bool) {
  if (model) sheet_->showExisting(key, *model, session, value, merged);
}

void TlmPassport::SetValue(QString key, char* value) { sheet_->setLive(key, value); }

void TlmPassport::GetPassportFields(QStringList& fields) const { fields << sheet_->fieldNames(); }

void TlmPassport::SetNoEditableFields(QStringList& fields, bool locked) { sheet_->lockFields(fields, locked); }

bool TlmPassport::GetValueProp(QString table, QString field, QString& value) const {
  return sheet_->fieldText(table, field, &value);
}

void TlmPassport::GetNewValuesFull(QStringList& tables, QList<CMDArray*>& arrays) {
  sheet_->handOver(&tables, &arrays);
}

void TlmPassport::ClearChanges() { sheet_->clearChanges(); }

bool TlmPassport::HasChanges() const { return sheet_->hasChanges(); }

void TlmPassport::UpdateTable(QString table, QString, CMDArray* rows, bool) { sheet_->updateTable(table, rows); }

void TlmPassport::DelRecTable(QString table, QString key) { sheet_->dropRow(table, key); }

void TlmPassport::UpdateSelectValues(QString tablRefName, QString, QString, QString, QString) {
  sheet_->reloadList(tablRefName);
}
