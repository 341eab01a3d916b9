#include <TlmMdx/bulk.h>
#include <TlmServer/ModelTables.h>

namespace tlm::server {

ModelTables::ModelTables(const Catalogue& catalogue, Keys keys) : catalogue_(catalogue) {
  for (const TableDef& def : catalogue.tables()) {
    MDArray* array = nullptr;
    if (MDACreate(&array, 0) < 0) continue;
    Catalogue::makeFields(def, array);
    if (keys == Keys::kNow) makeKeys(def, array);
    if (Catalogue::describesItself(def.name)) catalogue.describe(def.name, array);
    tables_.emplace(def.name, array);
  }
}

void ModelTables::makeKeys() {
  for (const TableDef& def : catalogue_.tables()) makeKeys(def, table(def.name));
}

void ModelTables::makeKeys(const TableDef& def, MDArray* array) {
  Catalogue::makeKeys(def, array);
  MDXKeyExact(array, 0);
}

ModelTables::~ModelTables() {
  for (const auto& [name, array] : tables_) MDADestroy(array);
}

MDArray* ModelTables::table(std::string_view name) const {
  const auto found = tables_.find(name);
  return found == tables_.end() ? nullptr : found->second;
}

}  // namespace tlm::server
