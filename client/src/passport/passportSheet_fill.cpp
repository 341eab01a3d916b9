#include "passport/passportSheet.h"

#include "passport/values.h"

#include <TlmClient/CLiteModel.h>
#include <TlmClient/TlmPassport.h>
#include <TlmClient/multiPasp.h>

namespace tlm::passport {

namespace {

const char* const kNoLive = "—";
const char* const kPartly = "PartiallyChecked";

QString u8(const char* text) { return QString::fromUtf8(text); }

QString liveText(const char* live) {
  const QString text = live ? codePage()->toUnicode(live) : QString();
  return text.trimmed().isEmpty() ? u8(kNoLive) : text;
}

QHash<QString, QString> tableTitles(const CLiteModel& model) {
  QHash<QString, QString> out;
  const CModelTable* tables = model.GetTableByName("Tables");
  for (int i = 0; tables && i < MDARecCount(tables->Array()); ++i) {
    const MDRData* row = MDARec(tables->Array(), 0, i);
    out.insert(readText(tables->Array(), row, "nameLat").toLower(), readText(tables->Array(), row, "nameLoc"));
  }
  return out;
}

Qt::CheckState checkOf(const QVariant& value) { return value.toBool() ? Qt::Checked : Qt::Unchecked; }

// Whether the text of all objects tells that they differ: it is not how the first object's own value looks.
bool differs(const SheetField& field) {
  const bool empty = !field.value.isValid() || field.value == QVariant(QString());
  if (field.meta->kind == FieldKind::kReference) return field.text.isEmpty();
  if (field.value.type() == QVariant::Bool) return false;
  if (field.text.isEmpty()) return !empty;
  return field.text == QLatin1String("0") && !empty && field.value.toDouble() != 0;
}

bool isClassName(const FieldMeta& meta) {
  return meta.name.compare(QLatin1String("ClassName"), Qt::CaseInsensitive) == 0;
}

}  // namespace

// What is at hand while the sheet is being filled with one object.
struct PassportSheet::Filling {
  ObjectFormPtr form;
  const CLiteModel* model = nullptr;  // null for a new object
  multiPasp* merged = nullptr;
  QHash<QString, QString> titles;  // of tables, by lower-case name
  TModelRecord record;             // of the table that is being filled
};

bool PassportSheet::ensureCatalogue() {
  if (catalogue_.isEmpty()) requestCatalogue(texts_.session(), &catalogue_);
  return !catalogue_.isEmpty();
}

const MDArray* PassportSheet::structureOf(const QString& table) {
  auto& kept = structures_[table];
  if (!kept) {
    auto asked = std::make_unique<CMDArray>();
    if (requestStructure(texts_.session(), table, asked.get())) kept = std::move(asked);
  }
  return kept ? kept->array : nullptr;
}

// Without a model the catalogue that was asked for describes the field.
FieldMetaPtr PassportSheet::metaOf(const MDArray* structure, const QString& table, int number,
                                   const CLiteModel* model) {
  const MDRField* field = MDRFldByNum(structure, number);
  FieldSource source;
  const QString name = QString::fromLatin1(field->name);
  if (model)
    model->FldParams(table, name, source.param, &source.title, &source.declared);
  else
    catalogue_.field(table, name, &source);
  source.table = table;
  source.name = name;
  source.number = number;
  source.type = field->type;
  source.size = field->size;
  return metas_.of(source);
}

QString PassportSheet::lockOf(const FieldMeta& meta) const {
  if (!editable_) return u8("Правка запрещена");
  if (otherIsNew()) return u8("Сначала сохраните или отмените новый объект");
  if (meta.kind == FieldKind::kKey) return u8("Ключ объекта не изменяется");
  return meta.readOnly ? u8("Поле заполняется системой") : QString();
}

// The text of a reference that no model explains: the object's name as the server gives it, or its key.
QString PassportSheet::referenceText(const FieldMeta& meta, const QString& key) {
  CMDArray rows;
  if (!requestArray(texts_.session(), "RecByKeyLink", codePage()->fromUnicode(key), &rows) ||
      MDARecCount(rows.array) == 0)
    return key;
  const QString column = displayColumn(meta.refTable);
  const MDRField* field = MDRFldByName(rows.array, column.toLatin1().constData());
  const QString text = plainText(readValue(field, MDARec(rows.array, 0, 0)));
  return text.isEmpty() ? key : text;
}

QString PassportSheet::storedText(const FieldMeta& meta, const QVariant& value, const Filling& filling) {
  if (filling.model) return texts_.text(meta, value, *filling.model, filling.record);
  if (meta.kind == FieldKind::kReference && !sameValue(value, {})) return referenceText(meta, value.toString());
  return texts_.text(meta, value);
}

SheetField PassportSheet::makeField(const FieldMetaPtr& meta, const Filling& filling) {
  SheetField out;
  out.meta = meta;
  out.value = filling.form->value(*meta);
  out.check = checkOf(out.value);
  if (filling.merged)
    mergeField(&out, filling.merged);
  else
    out.text = storedText(*meta, out.value, filling);
  if (isClassName(*meta)) out.text = filling.titles.value(out.text.toLower(), out.text);
  out.stored = {out.value, out.text};
  out.storedCheck = out.check;
  out.locked = lockOf(*meta);
  showEdit(&out);
  return out;
}

// The text of the callback is what all objects have in common; where they differ it is empty, "0" or
// "PartiallyChecked".
void PassportSheet::mergeField(SheetField* field, multiPasp* merged) const {
  field->merged = true;
  QString text;
  const bool known = merged->func(field->meta->id, text);
  const bool partly = known && text == QLatin1String(kPartly);
  const bool on = text == QLatin1String("true"), off = text == QLatin1String("false");
  field->check = partly ? Qt::PartiallyChecked : known && on ? Qt::Checked : Qt::Unchecked;
  field->text = known && !partly ? text : QString();
  field->mixed = partly || (known && differs(*field));
  if (field->meta->kind == FieldKind::kChoice && known && (on || off))
    field->text = choiceText(field->meta->choices, on ? 1 : 0);
}

// An existing object shows what the server gave even where an edit waits; the edit stays marked.
void PassportSheet::showEdit(SheetField* field) const {
  const Edit* edit = shown_ ? shown_->edit(field->meta->id) : nullptr;
  field->edited = edit != nullptr;
  field->unseen = QString();
  if (!edit) return;
  if (!shown_->isNew && !sameValue(edit->value, field->value)) {
    field->unseen = edit->text.isNull() ? QString("") : edit->text;
    return;
  }
  field->value = edit->value;
  field->text = edit->text;
  field->check = checkOf(edit->value);
}

SheetGroup PassportSheet::makeGroup(const FormTable& table, const Filling& filling, bool isFirst) {
  SheetGroup out;
  out.table = table.name;
  out.title = filling.titles.value(table.name.toLower(), table.name);
  for (int i = 0; i < MDAFldCount(table.array->array); ++i) {
    const FieldMetaPtr meta = metaOf(table.array->array, table.name, i, filling.model);
    const bool repeatedKey = !isFirst && i == 0;
    if (!repeatedKey) out.fields.push_back(makeField(meta, filling));
  }
  return out;
}

// A form that is shown again takes the edits of the one before over, so that they stay until ClearChanges.
void PassportSheet::adoptPending(const ObjectFormPtr& form) {
  for (ObjectFormPtr& held : pending_) {
    if (held->key != form->key || held->isMerged != form->isMerged) continue;
    form->takeEdits(*held);
    form->handedOver = held->handedOver;
    held = form;
  }
}

void PassportSheet::show(ObjectFormPtr form, SheetContent content) {
  shown_ = std::move(form);
  owner_->currentKey = shown_ ? shown_->key : QString();
  view_.keepPlace();
  if (model_.setContent(std::move(content))) view_.restorePlace();
  fillPage();
}

void PassportSheet::showDeclaration(const QString& title, int count, const QString& label) {
  leaveEditor(true);
  SheetContent content;
  if (label.isEmpty())
    content.heading.emplace_back(title, QString());
  else
    content.heading.emplace_back(label, title);
  content.heading.emplace_back(u8("Количество объектов"), QString::number(count));
  show(nullptr, std::move(content));
}

void PassportSheet::showExisting(const QString& key, const CLiteModel& model, CTlmCliSes* session, const char* live,
                                 multiPasp* merged) {
  if (!shown_ || shown_->key != key || shown_->isMerged != (merged != nullptr)) leaveEditor(true);
  const bool wasShown = shown_ && shown_->key == key;
  texts_.setSession(session);
  Filling filling;
  filling.form = std::make_shared<ObjectForm>(key, false);
  filling.form->isMerged = merged != nullptr;
  filling.model = &model;
  filling.merged = merged;
  filling.titles = tableTitles(model);
  TModelRecord records[3];
  const int count = model.GetRecordsByKey(key.toStdString(), records);
  for (int i = 0; i < count; ++i)
    filling.form->addTable(QString::fromStdString(records[i].table->Name()), records[i].table->Array(),
                           records[i].record);
  adoptPending(filling.form);
  shown_ = filling.form;
  SheetContent content;
  for (int i = 0; i < int(filling.form->tables().size()); ++i) {
    filling.record = records[i];
    content.groups.push_back(makeGroup(filling.form->tables()[size_t(i)], filling, i == 0));
  }
  content.hasLive = !merged && (live || filling.form->table("Measurement"));
  const bool keepsLive = !live && wasShown && model_.content().hasLive;
  content.live = keepsLive ? model_.content().live : liveText(live);
  show(filling.form, std::move(content));
}

void PassportSheet::showNew(const QString& key, const QString& className, CTlmCliSes* session,
                            const QStringList* tables, const QList<CMDArray*>* arrays) {
  if (!shown_ || shown_->key != key) leaveEditor(true);
  texts_.setSession(session);
  ensureCatalogue();
  Filling filling;
  filling.form = std::make_shared<ObjectForm>(key, true);
  filling.titles = catalogue_.titles();
  QStringList chain = catalogue_.chain(className);
  if (chain.isEmpty() && tables) chain = *tables;
  for (const QString& name : chain) {
    const int at = tables && arrays ? tables->indexOf(name) : -1;
    const MDArray* given = at >= 0 && at < arrays->size() ? (*arrays)[at]->array : nullptr;
    const MDArray* structure = given && MDAFldCount(given) > 0 ? given : structureOf(name);
    if (structure) filling.form->addTable(name, structure, MDARec(given, 0, 0));
  }
  adoptPending(filling.form);
  if (!isPending(filling.form)) pending_.push_back(filling.form);
  shown_ = filling.form;
  SheetContent content;
  for (const FormTable& table : filling.form->tables())
    content.groups.push_back(makeGroup(table, filling, content.groups.empty()));
  show(filling.form, std::move(content));
}

void PassportSheet::setLive(const QString& key, const char* live) {
  if (shown_ && !shown_->isMerged && shown_->key == key) model_.setLive(liveText(live));
}

QStringList PassportSheet::fieldNames() const {
  QStringList out;
  for (const SheetGroup& group : model_.content().groups)
    for (const SheetField& field : group.fields) out << field.meta->id;
  return out;
}

void PassportSheet::lockFields(const QStringList& names, bool locked) {
  for (const QString& name : names) {
    SheetField* field = model_.field(name);
    if (!field) continue;
    const QString own = lockOf(*field->meta);
    field->locked = locked && own.isEmpty() ? u8("Это поле у выбранного объекта не изменяется") : own;
    model_.fieldChanged(field->meta->id);
  }
}

bool PassportSheet::fieldText(const QString& table, const QString& field, QString* text) const {
  const SheetField* found = const_cast<SheetModel&>(model_).field(table + "." + field);
  if (!found) return false;
  *text = found->merged && !found->edited ? found->text : plainText(found->value);
  return true;
}

}  // namespace tlm::passport
