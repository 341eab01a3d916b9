#include "CTlmMeasConfig.h"
#include "IndexFacts.h"
#include "PassportFields.h"
#include "RecordAccess.h"
#include "TMultiPasp.h"
#include "WorkWithData.h"
#include "ui_TlmMeasConfig.h"

#include <memory>
#include <utility>

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

// The keys of rows, without those that have none.
QStringList keysOf(const QModelIndexList& rows) {
  QStringList keys;
  for (const QModelIndex& row : rows)
    if (const QString key = keyOf(row); !key.isEmpty()) keys += key;
  return keys;
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
  const QItemSelectionModel* selection = ui->tV_MeasConfig->selectionModel();
  return selection ? distinctRows(selection->selectedIndexes()) : QModelIndexList();
}

void CTlmMeasConfig::OnTV_Clicked(QModelIndex) { FindClear(); }

void CTlmMeasConfig::OnTV_selectionChanged(QItemSelection selected, QItemSelection deselected) {
  if (!leaveEditedObject(selected, deselected)) return;
  const QModelIndexList rows = selectedRows();
  if (rows.isEmpty()) return;
  const QModelIndex first = rows.first();
  if (!nodeOf(first)) return;

  if (rows.size() > 1) {
    showSeveral(rows);
    return;
  }
  CheckEnabledCutCopy(Qt::NoModifier);
  CheckEnabledPaste(first);
  CheckEnabledAgregData(first);
  ChangeToolBarCfg();
  showObject(first, true);
  justSelected = keyOf(first);
}

// Saves a pending edit, unasked. False when a check refused it: the old selection and current row stand again,
// without their signals, which would save once more.
bool CTlmMeasConfig::leaveEditedObject(const QItemSelection& selected, const QItemSelection& deselected) {
  if (!newObjectInPassport && !passportEdited) return true;
  // A selected row that goes by an event: what is pending waits, because a refused save would take out rows as well.
  if (treeModel->rowsAreGoing()) return true;
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

// Called before each display. A pending edit belongs to the objects shown before. Where none is pending, the sheet may
// still keep an object that did not come from the server, or went from there, as if it were to be inserted: it goes.
void CTlmMeasConfig::rememberSheet(const QStringList& keys, const QString& number) {
  if (newObjectInPassport || passportEdited) return;
  if (passport.HasChanges()) passport.ClearChanges();
  sheetKeys = keys;
  currentRowName = number;
}

// A change by another client moves the sheet to its object. A click on the row that is selected already, which changes
// no selection, shows that one again; and it asks again for an object of which the server told nothing.
void CTlmMeasConfig::bringSheetBack(const QModelIndex& clicked) {
  const QString key = keyOf(clicked);
  const bool isFirst = std::exchange(justSelected, QString()) == key;
  if (newObjectInPassport || passportEdited) return;
  const bool isUnknown = !isFirst && !key.isEmpty() && liteModel.IsEmpty();
  if (passport.currentKey == key && !isUnknown) return;
  const QModelIndexList rows = selectedRows();
  if (rows.size() == 1 && nodeOf(rows.first()) == nodeOf(clicked)) showObject(rows.first(), true);
}

void CTlmMeasConfig::UpdateTlmPassport(const QModelIndex& index) {
  if (index.isValid()) showObject(index, false);
}

// What the server is told or asked of the object that a row stands for.
struct CTlmMeasConfig::SheetForm {
  CMDArray first;
  CMDArray second;
  QStringList noEdit;
  QStringList tables;
  QList<CMDArray*> arrays;
};

// Shows one row. The two callers differ: a selection subscribes to the live value before the fields are locked
// and names the row's own class as the second one; a redisplay turns Save and Cancel on for a new object.
void CTlmMeasConfig::showObject(const QModelIndex& index, bool isSelection) {
  myConfNode* node = nodeOf(index);
  if (!node) return;
  rememberSheet(keyOf(index).isEmpty() ? QStringList() : QStringList{keyOf(index)}, numberOf(index));
  SheetForm form;
  if (!prepareForm(index, form)) return;
  if (liteModel.IsEmpty()) {
    showUnknown(index, form, isSelection);
  } else {
    const QString key = keyOf(index);
    const std::unique_ptr<char[]> value = liveValue(session(), key);
    passport.SetObject(key, &liteModel, session(), value.get(), nullptr, true, false);
  }
  emit resizePassp();
  if (isSelection) FieldIsChanged(classOf(index));
  lockFields(form.noEdit);
  if (!isSelection) FieldIsChanged(classOf(index));
}

// Loads the object's model and the fields that may not be edited. False where there is none to show: the heading of
// a row without a record stands in the sheet then.
bool CTlmMeasConfig::prepareForm(const QModelIndex& index, SheetForm& form) {
  myConfNode* node = nodeOf(index);
  if (!node->record) {
    declareRow(node, static_cast<int>(node->children.size()), QStringLiteral("Наименование"));
    return false;
  }
  const QString key = keyOf(index);
  if (key.isEmpty()) return false;
  PrepareCmdArrayForPassport(&form.first, &form.second, passportClass(classOf(index), node), form.noEdit, form.tables,
                             form.arrays, node, node->isAggregated);
  getLiteModel(key, liteModel);
  return true;
}

// Shows a row whose object the server does not know.
void CTlmMeasConfig::showUnknown(const QModelIndex& index, SheetForm& form, bool isSelection) {
  const myConfNode* node = nodeOf(index);
  const QString className = passportClass(classOf(index), node);
  passport.SetObjectNew(keyOf(index), className, session(), form.tables.isEmpty() ? nullptr : &form.tables,
                        form.arrays.isEmpty() ? nullptr : &form.arrays, isSelection ? classOf(index) : className,
                        !node->isFolder, false);
  if (!isSelection) SaveCancelEnable(true);
}

// ---- several rows ----------------------------------------------------------------------------------------

// Rows of several classes get a heading, rows of one class the merged form of all.
void CTlmMeasConfig::showSeveral(const QModelIndexList& rows) {
  actAgregData->setEnabled(false);
  const QModelIndex first = rows.first();
  myConfNode* node = nodeOf(first);
  const QString rawClass = classOf(first);
  bool aggregated = false;
  for (const QModelIndex& row : rows) {
    if (classOf(row) != rawClass) {
      rememberSheet({}, numberOf(first));
      declareRow(node, rows.size(), QString());
      return;
    }
    const myConfNode* each = nodeOf(row);
    aggregated = aggregated || (each && each->isAggregated);
  }
  SheetForm form;
  PrepareCmdArrayForPassport(&form.first, &form.second, passportClass(rawClass, node), form.noEdit, form.tables,
                             form.arrays, nullptr, aggregated);
  if (!node->record) rememberSheet({}, numberOf(first));
  if (!prepareForm(first, form)) return;
  if (!liteModel.IsEmpty()) {
    showMerged(rows, form.noEdit);
    return;
  }
  rememberSheet({keyOf(first)}, numberOf(first));
  showUnknown(first, form, true);
  emit resizePassp();
  FieldIsChanged(rawClass);
  lockFields(form.noEdit);
}

// Fills the sheet with what the objects have in common. Left as it is when the server does not give their records.
void CTlmMeasConfig::showMerged(const QModelIndexList& rows, QStringList noEdit) {
  const QStringList keys = keysOf(rows);
  CMDArray records;
  if (!GetRecByKey(session(), keys.join(QLatin1Char(',')).toStdString(), &records)) return;
  rememberSheet(keys, numberOf(rows.first()));
  TMultiPasp merged(this, ui->tV_MeasConfig, records);
  passport.SetObject(keys.first(), &liteModel, session(), nullptr, &merged, true, false);
  emit resizePassp();
  noEdit += QStringLiteral("Measurement.locId");
  lockFields(noEdit);
}

// ---- a measurement that is shown already -----------------------------------------------------------------

void CTlmMeasConfig::UpdateTlmPassportMeas(QString key, QString table, bool withValue) {
  if (key.isEmpty() || table.isEmpty()) return;
  getLiteModel(key, liteModel);
  if (liteModel.IsEmpty()) return;
  MDRData* record = seekText(measRecords, 0, key, moduleCodec);
  if (!record) return;
  const bool aggregated = CheckAgregatedMeas(record, &measRecords, &tblArchGroup, nullptr);
  rememberSheet({key}, numberOf(treeModel->findByKey(key)));
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
  CMDArray* target = first;
  for (const PassportTable& table : form->tables) {
    fillFormArray(this, table, *target, node ? node->record : nullptr);
    tables += QLatin1String(table.table);
    arrays += target;
    target = second;
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
