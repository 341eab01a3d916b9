// The request "LiteModel": an object with all that its passport shows, in one compact block.
#include "requests.h"

#include <TlmMdx/CMDArray.h>
#include <TlmWire/liteModel.h>

#include "catalogueParts.h"
#include "objects.h"
#include "records.h"
#include "values.h"

#include <algorithm>
#include <deque>
#include <set>

namespace tlm::server {
namespace {

using wire::Reply;

// The tables of one block while it is put together.
class ModelBuilder {
 public:
  explicit ModelBuilder(const ModelTables& tables) : tables_(tables) {}

  std::vector<wire::LiteTable> build(const Object& object) {
    for (const TableDef* def : chain(object)) part(*def, true);
    for (const ObjectRow& row : object.rows) copyRow(row.record, newRow(part(*row.def, true), object.key));
    for (const ObjectRow& row : object.rows) {
      for (size_t i = 0; i < row.def->fields.size(); ++i) {
        addReferred(row.def->fields[i], valueOf(MDRFldByNum(row.array, static_cast<int>(i)), row.record));
      }
    }
    return pack();
  }

 private:
  struct Part {
    const TableDef* def;
    CMDArray rows;
    std::vector<MDRData*> unposted;
    std::set<std::string, std::less<>> keys;
  };

  std::vector<const TableDef*> chain(const Object& object) const {
    return tables_.catalogue().chain(object.rows.back().def->name);
  }

  Part& part(const TableDef& def, bool whole) {
    const auto found = std::find_if(parts_.begin(), parts_.end(), [&](const Part& one) { return one.def == &def; });
    if (found != parts_.end()) return *found;
    Part& made = parts_.emplace_back();
    made.def = &def;
    const MDArray* model = tables_.table(def.name);
    if (whole) {
      Catalogue::makeStructure(def, made.rows.array);
    } else {
      addFieldLike(made.rows.array, MDRFldByNum(model, 0));
      if (const MDRField* shown = MDRFldByName(model, column(def).c_str())) addFieldLike(made.rows.array, shown);
      made.rows.KeyAdd("KeyLink", 0);
    }
    return made;
  }

  static std::string column(const TableDef& def) { return std::string(paramValue(def.param, "DISPLAY")); }

  // Null when the part holds the key already.
  static MDRData* newRow(Part& part, std::string_view key) {
    if (!part.keys.emplace(key).second) return nullptr;
    MDRData* row = MDARecNew(part.rows.array);
    part.unposted.push_back(row);
    return row;
  }

  void addReferred(const FieldDef& field, const MDRVar& value) {
    if (!paramValue(field.param, "Meas").empty()) {
      const auto locId = intOf(value).value_or(0);
      if (locId != 0) addMeasurement(findNumber(tables_, locId));
      return;
    }
    const auto reference = referenceOf(tables_.catalogue(), field);
    if (reference && !textOf(value).empty()) {
      addShown(*reference->shownBy, {"KeyLink", std::string(reference->column).c_str(), "ClassName"}, textOf(value));
    }
  }

  void addMeasurement(const MDRData* row) {
    if (!row) return;
    const std::string_view key = textOf(tables_.table("Measurement"), row, "KeyLink");
    addShown(*tables_.catalogue().table("Measurement"), {"KeyLink", "locId"}, key);
    addShown(*tables_.catalogue().table("IdentifiedObject"), {"KeyLink", "name_", "ClassName"}, key);
  }

  void addShown(const TableDef& def, const std::vector<const char*>& columns, std::string_view key) {
    const MDArray* model = tables_.table(def.name);
    const MDRData* from = seekKey(model, key);
    if (!from) return;
    Part& into = part(def, def.name == "IdentifiedObject" || def.name == "Measurement");
    MDRData* row = newRow(into, key);
    if (!row) return;
    for (const char* name : columns) into.rows.SetVal(row, name, valueOf(model, from, name));
  }

  std::vector<wire::LiteTable> pack() {
    std::vector<wire::LiteTable> packed;
    for (Part& one : parts_) {
      for (MDRData* row : one.unposted) one.rows.RecPost(row);
      packed.push_back({one.def->name, wire::packArray(one.rows.array)});
    }
    return packed;
  }

  const ModelTables& tables_;
  std::deque<Part> parts_;
};

// Packs the rows of a catalogue table whose `field` holds one of the wanted keys.
wire::LiteTable packRows(const ModelTables& tables, const char* name, const char* field,
                         const std::set<std::string>& wanted) {
  const MDArray* from = tables.table(name);
  const CMDArray out;
  Catalogue::makeStructure(*tables.catalogue().table(name), out.array);
  for (int i = 0; i < MDARecCount(from); ++i) {
    const MDRData* record = MDARec(from, 0, i);
    if (!wanted.empty() && !wanted.count(std::string(textOf(from, record, field)))) continue;
    MDRData* row = MDARecNew(out.array);
    copyRow(record, row);
    MDARecPost(row, nullptr);
  }
  return {name, wire::packArray(out.array)};
}

}  // namespace

CatalogueParts::CatalogueParts(const ModelTables& tables) {
  const Catalogue& catalogue = tables.catalogue();
  if (!catalogue.table("Tables") || !catalogue.table("Fields") || !catalogue.table("FieldsType")) return;
  for (const TableDef& def : catalogue.tables()) {
    std::set<std::string> own;
    std::set<std::string> all;
    for (const TableDef* one : catalogue.chain(def.name)) {
      own.insert(Catalogue::tableKey(one->name));
      all.insert(Catalogue::tableKey(one->name));
      for (const FieldDef& field : one->fields) {
        for (const TableDef* ref : catalogue.chain(paramValue(field.param, "REF")))
          all.insert(Catalogue::tableKey(ref->name));
      }
    }
    parts_[def.name] = {packRows(tables, "Tables", "KeyLink", all), packRows(tables, "Fields", "TablesKey", own),
                        packRows(tables, "FieldsType", "KeyLink", {})};
  }
}

const std::vector<wire::LiteTable>& CatalogueParts::of(const std::string& className) const {
  static const std::vector<wire::LiteTable> kNone;
  const auto found = parts_.find(className);
  return found == parts_.end() ? kNone : found->second;
}

Reply liteModel(const RequestContext& context, std::string_view body) {
  constexpr std::string_view kPrefix = "obj=";
  const std::string_view text = bodyText(body);
  if (text.substr(0, kPrefix.size()) != kPrefix) return Reply::failure(wire::kMalformed, "LiteModel: expected obj=KEY");
  const Object object = findObject(context.tables, text.substr(kPrefix.size()));
  if (!object) return Reply::failure(wire::kNotFound, "LiteModel: no such object");
  wire::LiteModelBlock block{object.key, object.className, ModelBuilder(context.tables).build(object)};
  for (const wire::LiteTable& part : context.parts.of(object.rows.back().def->name)) block.tables.push_back(part);
  return {wire::kOk, std::nullopt, wire::writeLiteModel(block)};
}

}  // namespace tlm::server
