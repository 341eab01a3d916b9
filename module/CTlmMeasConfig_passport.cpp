#include "CTlmMeasConfig.h"
#include "IndexFacts.h"
#include "PassportFields.h"
#include "RecordAccess.h"
#include "WorkWithData.h"
#include "ui_TlmMeasConfig.h"

#include <memory>

namespace {

// The classes whose live value is subscribed to. The third is spelt so: an accumulator gets no subscription.
constexpr const char* kLiveClasses[] = {"Analog", "Discrete", "Acumulator", "StringMeasurement"};

bool hasLiveValue(const QString& className) {
  for (const char* live : kLiveClasses)
    if (className.compare(QLatin1String(live), Qt::CaseInsensitive) == 0) return true;
  return false;
}

// The class that the passport is asked for: a folder's row names none.
QString passportClass(const QString& className, const myConfNode* node) {
  return className.isEmpty() && node->isFolder ? QStringLiteral("RemoteUnitFolder") : className;
}

void copyField(const CMDArray& from, const MDRData* source, CMDArray& to, MDRData* target, const char* field) {
  MDRVar value{};
  from.GetVal(source, field, value);
  if (value.type != MDX_NONE) to.SetVal(target, field, value);
}

// One new record in an empty copy of the table's structure, filled from the row if there is one.
void fillFormArray(CTlmMeasConfig* module, const PassportTable& table, CMDArray& array, const MDRData* row) {
  array.code = MDACopy(array.array, (module->*table.structure).array, 0);
  MDRData* record = MDARecNew(array.array);
  if (!record) return;
  MDRSetFlags(record, MDX_REC_INSERT);
  if (row) {
    const CMDArray& rows = module->*table.rows;
    MDRVar key{};
    rows.GetVal(row, 0, key);
    array.SetVal(record, 0, key);
    for (const char* field : table.fields) copyField(rows, row, array, record, field);
  }
  array.RecPost(record);
}

// The live value of an object, or null; freed with the pointer.
std::unique_ptr<char[]> liveValue(CTlmCliSes* session, const QString& key) {
  char* text = nullptr;
  GetValue(session, key, text);
  return std::unique_ptr<char[]>(text);
}

}  // namespace

// The distinct rows of the selection, each by the first of its indexes.
QModelIndexList CTlmMeasConfig::selectedRows() const {
  QModelIndexList rows;
  QSet<const void*> seen;
  const QItemSelectionModel* selection = ui->tV_MeasConfig->selectionModel();
  if (!selection) return rows;
  for (const QModelIndex& index : selection->selectedIndexes()) {
    if (seen.contains(index.internalPointer())) continue;
    seen.insert(index.internalPointer());
    rows.append(index);
  }
  return rows;
}

void CTlmMeasConfig::OnTV_Clicked(QModelIndex) { FindClear(); }

void CTlmMeasConfig::OnTV_selectionChanged(QItemSelection selected, QItemSelection deselected) {
  if (!leaveEditedObject(selected, deselected)) return;
  const QModelIndexList rows = selectedRows();
  if (rows.isEmpty()) return;
  const QModelIndex first = rows.first();
  myConfNode* node = nodeOf(first);
  if (!node) return;

  if (rows.size() == 1) {
    CheckEnabledPaste(first);
    CheckEnabledAgregData(first);
    ChangeToolBarCfg();
    showObject(first, true);
    return;
  }
  actAgregData->setEnabled(false);
  rememberSheet({}, numberOf(first));
  declareRow(node, rows.size(), QString());
}

// Saves a pending edit, unasked. False when a check refused it: the old selection and current row stand again,
// without their signals, which would save once more.
bool CTlmMeasConfig::leaveEditedObject(const QItemSelection& selected, const QItemSelection& deselected) {
  if (!newObjectInPassport && !passportEdited) return true;
  onActSave_Triggered();
  if (!saveRefused) return true;
  saveRefused = false;

  QItemSelectionModel* selection = ui->tV_MeasConfig->selectionModel();
  QItemSelection before = selection->selection();
  before.merge(selected, QItemSelectionModel::Deselect);
  before.merge(deselected, QItemSelectionModel::Select);
  QModelIndex current = sheetKeys.isEmpty() ? QModelIndex() : treeModel->findByKey(sheetKeys.first());
  if (!before.contains(current) && !before.isEmpty()) current = before.indexes().first();
  {
    const QSignalBlocker blocker(selection);
    selection->select(before, QItemSelectionModel::ClearAndSelect);
    selection->setCurrentIndex(current, QItemSelectionModel::NoUpdate);
  }
  ui->tV_MeasConfig->viewport()->update();
  return false;
}

void CTlmMeasConfig::declareRow(myConfNode* node, int count, const QString& label) {
  passport.SetDeclare(GetName(node), count, label);
  emit resizePassp();
}

void CTlmMeasConfig::rememberSheet(const QStringList& keys, const QString& number) {
  if (newObjectInPassport || passportEdited) return;  // the edit belongs to the objects shown before
  sheetKeys = keys;
  currentRowName = number;
}

void CTlmMeasConfig::UpdateTlmPassport(const QModelIndex& index) {
  if (index.isValid()) showObject(index, false);
}

// Shows one row. The two callers differ: a selection subscribes to the live value before the fields are locked
// and names the row's own class as the second one; a redisplay turns Save and Cancel on for a new object.
void CTlmMeasConfig::showObject(const QModelIndex& index, bool isSelection) {
  myConfNode* node = nodeOf(index);
  if (!node) return;
  const QString key = keyOf(index);
  rememberSheet(key.isEmpty() ? QStringList() : QStringList{key}, numberOf(index));
  if (!node->record) {
    declareRow(node, static_cast<int>(node->children.size()), QStringLiteral("Наименование"));
    return;
  }
  if (key.isEmpty()) return;

  const QString rawClass = classOf(index);
  const QString className = passportClass(rawClass, node);
  QStringList noEdit;
  QStringList tables;
  QList<CMDArray*> arrays;
  CMDArray first;
  CMDArray second;
  PrepareCmdArrayForPassport(&first, &second, className, noEdit, tables, arrays, node, node->isAggregated);
  getLiteModel(key, liteModel);
  if (liteModel.IsEmpty()) {
    passport.SetObjectNew(key, className, session(), tables.isEmpty() ? nullptr : &tables,
                          arrays.isEmpty() ? nullptr : &arrays, isSelection ? rawClass : className, !node->isFolder,
                          false);
    if (!isSelection) SaveCancelEnable(true);
  } else {
    const std::unique_ptr<char[]> value = liveValue(session(), key);
    passport.SetObject(key, &liteModel, session(), value.get(), nullptr, true, false);
  }
  emit resizePassp();
  if (isSelection) FieldIsChanged(rawClass);
  lockFields(noEdit);
  if (!isSelection) FieldIsChanged(rawClass);
}

void CTlmMeasConfig::UpdateTlmPassportMeas(QString key, QString table, bool withValue) {
  if (key.isEmpty() || table.isEmpty()) return;
  getLiteModel(key, liteModel);
  if (liteModel.IsEmpty()) return;
  MDRData* record = seekText(measRecords, 0, key, moduleCodec);
  if (!record) return;
  const bool aggregated = CheckAgregatedMeas(record, &measRecords, &tblArchGroup, nullptr);
  const std::unique_ptr<char[]> value = withValue ? liveValue(session(), key) : nullptr;
  passport.SetObject(key, &liteModel, session(), value.get(), nullptr, true, false);
  emit resizePassp();
  lockFields(lockedFields(*passportForm(QStringLiteral("analog")), aggregated));
}

void CTlmMeasConfig::PrepareCmdArrayForPassport(CMDArray* first, CMDArray* second, QString className,
                                                QStringList& noEdit, QStringList& tables, QList<CMDArray*>& arrays,
                                                myConfNode* node, bool aggregated) {
  const PassportForm* form = passportForm(className);
  if (!form) return;
  noEdit += lockedFields(*form, aggregated);
  CMDArray* const targets[] = {first, second};
  for (size_t i = 0; i < form->tables.size(); ++i) {
    fillFormArray(this, form->tables[i], *targets[i], node ? node->record : nullptr);
    tables += QLatin1String(form->tables[i].table);
    arrays += targets[i];
  }
}

void CTlmMeasConfig::CheckFieldsAtPassport(QStringList passportFields, QStringList wanted, QStringList& result) {
  for (const QString& name : wanted)
    for (const QString& field : passportFields)
      if (field.compare(name, Qt::CaseInsensitive) == 0) result += field;
}

void CTlmMeasConfig::lockFields(const QStringList& noEdit) {
  QStringList fields;
  passport.GetPassportFields(fields);
  QStringList locked;
  CheckFieldsAtPassport(fields, noEdit, locked);
  if (!locked.isEmpty()) passport.SetNoEditableFields(locked, true);
}

// Ties the live value to the object that is shown.
void CTlmMeasConfig::FieldIsChanged(QString className) {
  if (!hasLiveValue(className)) {
    PrepareSubParam(0);
    return;
  }
  QString number;
  if (passport.GetValueProp(QStringLiteral("Measurement"), QStringLiteral("locId"), number))
    PrepareSubParam(number.toInt());
}

void CTlmMeasConfig::onPasspChanged() {
  SaveCancelEnable(true);
  if (!newObjectInPassport) passportEdited = true;
}

void CTlmMeasConfig::onSignMessage(QString text) {
  showBox(tr("Предупреждение"), tr(text.toUtf8().constData()), kBoxInformation, kBoxClose,
          SLOT(confirmMessage(QAbstractButton*)));
}

void CTlmMeasConfig::confirmMessage(QAbstractButton*) {
  if (popMessageBox) popMessageBox->close();
}

void CTlmMeasConfig::onSelectValuesVisible(QString TablRefName, QString paramFld, QString paramTbl, QString Name,
                                           QString BaseVoltageKey) {
  const QString args[] = {TablRefName, paramFld, paramTbl, Name, BaseVoltageKey};
  std::copy(std::begin(args), std::end(args), selectValuesArgs);
}

void CTlmMeasConfig::onSelectValuesClosed() {
  for (QString& argument : selectValuesArgs) argument.clear();
}
