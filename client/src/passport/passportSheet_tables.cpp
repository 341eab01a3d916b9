#include "passport/passportSheet.h"

#include "passport/referenceList.h"
#include "passport/values.h"

#include <TlmClient/GenGuid32.h>
#include <TlmClient/TlmPassport.h>

namespace tlm::passport {

namespace {

// The table behind the second tab, and how its rows belong to a measurement: the name of a calculation's
// result is "RES" and the measurement's number.
const char* const kPageTable = "Calculations";
const char* const kPageOwner = "Measurement";
const char* const kPageOwnerField = "locId";
const char* const kPageLink = "fname";
const char* const kPageLinkPrefix = "RES";

QString linkText(const ObjectForm& form) {
  const FormTable* owner = form.table(QString::fromLatin1(kPageOwner));
  if (!owner || form.isMerged || form.isNew) return {};
  const QVariant number = readValue(MDRFldByName(owner->array->array, kPageOwnerField), owner->record());
  return number.toLongLong() == 0 ? QString() : QString::fromLatin1(kPageLinkPrefix) + number.toString();
}

void copyRow(const MDArray* source, const MDRData* from, MDArray* array, MDRData* to) {
  for (int i = 0; i < MDAFldCount(array); ++i) {
    const MDRField* field = MDRFldByNum(array, i);
    writeValue(field, to, readValue(MDRFldByName(source, field->name), from));
  }
}

}  // namespace

bool PassportSheet::loadTable(CTlmCliSes* session, const QString& table) {
  auto rows = std::make_unique<CMDArray>();
  if (!requestTable(session, table, {}, rows.get())) return false;
  rows->KeyAdd("KeyLink", 0);
  while (MDAKeyCount(rows->array) > 1) MDAKeyDel(rows->array, 0);  // the order in which the rows came
  tables_[table] = std::move(rows);
  if (table == QLatin1String(kPageTable)) fillPage();
  return true;
}

void PassportSheet::updateTable(const QString& table, const CMDArray* rows) {
  const auto held = tables_.find(table);
  if (held == tables_.end() || !rows) return;
  CMDArray& own = *held->second;
  for (int i = 0; i < MDARecCount(rows->array); ++i) {
    const MDRData* from = MDARec(rows->array, 0, i);
    MDRData* to = seekText(own.array, 0, readText(rows->array, from, "KeyLink"));
    to = to ? MDARecEdit(to) : MDARecNew(own.array);
    copyRow(rows->array, from, own.array, to);
    own.RecPost(to);
  }
  if (table == QLatin1String(kPageTable)) fillPage();
}

void PassportSheet::dropRow(const QString& table, const QString& key) {
  const auto held = tables_.find(table);
  if (held == tables_.end()) return;
  if (MDRData* row = seekText(held->second->array, 0, key)) MDARecDel(row);
  for (const ObjectFormPtr& form : pending_) form->dropEdits(table + "@" + key);
  if (table == QLatin1String(kPageTable)) fillPage();
}

// The rows of the page's table that belong to the object, or one that is still to be filled in.
void PassportSheet::addPageRows() {
  const QString table = QString::fromLatin1(kPageTable);
  const QString link = linkText(*shown_);
  const auto held = tables_.find(table);
  QString newKey = QString::fromLatin1(GenGuid32());
  for (const FormTable& row : shown_->tables())
    if (row.isPage && row.isNew) newKey = row.id.section('@', 1);
  shown_->dropPageRows(table);
  if (link.isEmpty() || held == tables_.end()) return;
  const MDArray* array = held->second->array;
  bool found = false;
  for (int i = 0; i < MDARecCount(array); ++i) {
    const MDRData* record = MDARec(array, 0, i);
    if (readText(array, record, kPageLink) != link) continue;
    shown_->addPageRow(table, array, record, readText(array, record, "KeyLink"));
    found = true;
  }
  if (found) return;
  FormTable* row = shown_->addPageRow(table, array, nullptr, newKey);
  if (row) writeValue(MDRFldByName(row->array->array, kPageLink), row->record(), link);
}

std::vector<PageRow> PassportSheet::pageRows(const std::vector<FieldMetaPtr>& columns) const {
  std::vector<PageRow> out;
  for (const FormTable& table : shown_->tables()) {
    if (!table.isPage) continue;
    PageRow row;
    row.tableId = table.id;
    for (const FieldMetaPtr& meta : columns) {
      const Edit* edit = shown_->edit(table.id + "." + meta->name);
      const QVariant value = edit ? edit->value : shown_->value(table.id, *meta);
      row.cells.push_back(
          {value, edit ? edit->text : const_cast<ValueTexts&>(texts_).text(*meta, value), edit != nullptr});
    }
    out.push_back(std::move(row));
  }
  return out;
}

void PassportSheet::showPage(bool on) {
  if (!tabs_) return;
  if (on && !page_) {
    page_ = new TablePage(&pageModel_, &pageDelegate_, tabs_->font());
    const TableInfo* info = ensureCatalogue() ? catalogue_.table(QString::fromLatin1(kPageTable)) : nullptr;
    tabs_->addTab(page_, info ? info->title : QString::fromLatin1(kPageTable));
    page_->fitColumns();
  } else if (!on && page_) {
    delete page_;
  }
}

void PassportSheet::fillPage() {
  std::vector<FieldMetaPtr> columns;
  std::vector<PageRow> rows;
  const auto held = tables_.find(QString::fromLatin1(kPageTable));
  const bool on = shown_ && held != tables_.end() && !linkText(*shown_).isEmpty();
  if (on) {
    ensureCatalogue();
    addPageRows();
    for (int i = 1; i < MDAFldCount(held->second->array); ++i)
      columns.push_back(metaOf(held->second->array, QString::fromLatin1(kPageTable), i, nullptr));
    rows = pageRows(columns);
  }
  pageModel_.setContent(std::move(columns), std::move(rows));
  showPage(on);
}

// The column that stands for a row: the table's own, or that of a table further up its chain.
QString PassportSheet::displayColumn(const QString& table) const {
  for (const TableInfo* info = catalogue_.table(table); info; info = catalogue_.parent(*info))
    if (!info->display.isEmpty()) return info->display;
  return QStringLiteral("name_");
}

void PassportSheet::fillList(ReferenceEditor* editor, const FieldMeta& meta) {
  const QString column = displayColumn(meta.refTable);
  auto rows = std::make_unique<CMDArray>();
  if (!requestTable(texts_.session(), meta.refTable, "KeyLink," + column, rows.get())) {
    const auto held = tables_.find(meta.refTable);
    if (held == tables_.end()) {
      refuse(QString::fromUtf8("Список «%1» не получен от сервера.").arg(meta.title));
      return;
    }
    rows->code = MDACopy(rows->array, held->second->array, 1);
  }
  editor->setRows(std::make_shared<const ReferenceRows>(std::move(rows), column));
}

void PassportSheet::listOpened(ReferenceEditor* editor, const FieldMeta& meta) {
  listEditor_ = editor;
  listMeta_ = &meta;
  ensureCatalogue();
  const TableInfo* info = catalogue_.table(meta.refTable);
  emit owner_->SelectValuesVisible(meta.refTable, meta.param, info ? info->param : QString(), meta.id, QString());
  fillList(editor, meta);
}

void PassportSheet::listClosed() {
  listEditor_ = nullptr;
  listMeta_ = nullptr;
  emit owner_->SelectValuesClosed();
}

void PassportSheet::reloadList(const QString& refTable) {
  if (listEditor_ && listMeta_ && listMeta_->refTable.compare(refTable, Qt::CaseInsensitive) == 0)
    fillList(listEditor_, *listMeta_);
}

}  // namespace tlm::passport
