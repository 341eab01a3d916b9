#include "objects.h"

#include "values.h"

namespace tlm::server {
namespace {

constexpr std::string_view kRoot = "IdentifiedObject";

ObjectRow rowOf(const ModelTables& tables, const TableDef& def, std::string_view key) {
  const MDArray* array = tables.table(def.name);
  return {&def, array, seekKey(array, key)};
}

// An object of one table only, such as a folder or a row of a reference table.
Object findElsewhere(const ModelTables& tables, std::string_view key) {
  for (const TableDef& def : tables.catalogue().tables()) {
    if (!def.parent.empty() || def.name == kRoot) continue;
    const ObjectRow row = rowOf(tables, def, key);
    if (row.record) return {std::string(key), def.name, {row}};
  }
  return {};
}

}  // namespace

const ObjectRow* Object::row(std::string_view table) const {
  for (const ObjectRow& one : rows) {
    if (one.def->name == table) return &one;
  }
  return nullptr;
}

Object findObject(const ModelTables& tables, std::string_view key) {
  if (key.empty()) return {};
  const MDArray* roots = tables.table(kRoot);
  const MDRData* root = seekKey(roots, key);
  if (!root) return findElsewhere(tables, key);
  Object object{std::string(key), std::string(textOf(roots, root, "ClassName")), {}};
  for (const TableDef* def : tables.catalogue().chain(object.className)) {
    const ObjectRow row = rowOf(tables, *def, key);
    if (row.record) object.rows.push_back(row);
  }
  return object;
}

const MDRData* findNumber(const ModelTables& tables, int64_t locId) {
  const MDRVar number = intVar(locId);
  return MDARecSeekV(tables.table("Measurement"), kMeasLocId, &number, nullptr);
}

std::optional<Reference> referenceOf(const Catalogue& catalogue, const FieldDef& field) {
  for (const TableDef* def = catalogue.table(paramValue(field.param, "REF")); def; def = catalogue.table(def->parent)) {
    const std::string_view column = paramValue(def->param, "DISPLAY");
    if (!column.empty()) return Reference{def, column};
  }
  return std::nullopt;
}

std::string_view referenceText(const ModelTables& tables, const FieldDef& field, std::string_view key) {
  const auto reference = referenceOf(tables.catalogue(), field);
  if (!reference || key.empty()) return {};
  const MDArray* array = tables.table(reference->shownBy->name);
  const MDRData* record = seekKey(array, key);
  return record ? textOf(array, record, std::string(reference->column).c_str()) : std::string_view{};
}

MDRVar objectValue(const Object& object, const char* field) {
  for (const ObjectRow& row : object.rows) {
    if (const MDRField* found = MDRFldByName(row.array, field)) return valueOf(found, row.record);
  }
  return nullVar(MDX_NONE);
}

std::string_view enumText(std::string_view param, int64_t value) {
  std::string_view texts = paramValue(param, "ENUM");
  const std::string wanted = std::to_string(value) + "=";
  while (!texts.empty()) {
    const size_t comma = texts.find(',');
    const std::string_view one = texts.substr(0, comma);
    if (one.substr(0, wanted.size()) == wanted) return one.substr(wanted.size());
    texts = comma == std::string_view::npos ? std::string_view{} : texts.substr(comma + 1);
  }
  return {};
}

}  // namespace tlm::server
