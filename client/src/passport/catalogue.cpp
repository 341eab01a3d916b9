#include "passport/catalogue.h"

#include "passport/values.h"

namespace tlm::passport {

namespace {

constexpr int kLongestChain = 8;  // a catalogue with a ring of parents ends here

QString fieldKey(const QString& table, const QString& name) { return (table + "." + name).toLower(); }

TableInfo readTable(const MDArray* tables, const MDRData* row) {
  TableInfo info;
  info.key = readText(tables, row, "KeyLink");
  info.name = readText(tables, row, "nameLat");
  info.title = readText(tables, row, "nameLoc");
  info.parentKey = readText(tables, row, "parent");
  info.param = readText(tables, row, "param");
  info.display = paramPart(info.param, "DISPLAY");
  return info;
}

}  // namespace

void Catalogue::clear() {
  tables_.clear();
  keysByName_.clear();
  fields_.clear();
}

void Catalogue::read(const MDArray* tables, const MDArray* fields, const MDArray* types) {
  clear();
  for (int i = 0; i < MDARecCount(tables); ++i) {
    TableInfo info = readTable(tables, MDARec(tables, 0, i));
    keysByName_.insert(info.name.toLower(), info.key);
    tables_.insert(info.key, info);
  }
  readFields(fields, types);
}

void Catalogue::readFields(const MDArray* fields, const MDArray* types) {
  QHash<QString, QString> typeNames;
  for (int i = 0; i < MDARecCount(types); ++i) {
    const MDRData* row = MDARec(types, 0, i);
    typeNames.insert(readText(types, row, "KeyLink"), readText(types, row, "nameLoc"));
  }
  for (int i = 0; i < MDARecCount(fields); ++i) {
    const MDRData* row = MDARec(fields, 0, i);
    FieldSource field;
    field.table = tables_.value(readText(fields, row, "TablesKey")).name;
    field.name = readText(fields, row, "nameLat");
    field.title = readText(fields, row, "nameLoc");
    field.declared = typeNames.value(readText(fields, row, "FieldsTypeKey"));
    field.param = readText(fields, row, "param");
    fields_.insert(fieldKey(field.table, field.name), field);
  }
}

const TableInfo* Catalogue::table(const QString& name) const {
  const auto key = keysByName_.find(name.toLower());
  return key == keysByName_.end() ? nullptr : &*tables_.find(*key);
}

QHash<QString, QString> Catalogue::titles() const {
  QHash<QString, QString> out;
  for (const TableInfo& info : tables_) out.insert(info.name.toLower(), info.title);
  return out;
}

const TableInfo* Catalogue::parent(const TableInfo& table) const {
  const auto found = tables_.find(table.parentKey);
  return table.parentKey.isEmpty() || found == tables_.end() ? nullptr : &*found;
}

QStringList Catalogue::chain(const QString& name) const {
  QStringList out;
  for (const TableInfo* info = table(name); info && out.size() < kLongestChain; info = parent(*info))
    out.prepend(info->name);
  return out;
}

bool Catalogue::field(const QString& table, const QString& name, FieldSource* out) const {
  const auto found = fields_.find(fieldKey(table, name));
  if (found == fields_.end()) return false;
  *out = *found;
  return true;
}

}  // namespace tlm::passport
