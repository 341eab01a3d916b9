#include "fixture.h"

#include <cstring>

namespace tlm::server::test {
namespace {

MDRVar varOf(const Value& value) {
  MDRVar v{};
  if (const auto* number = std::get_if<int64_t>(&value)) {
    v.type = MDX_INT64;
    v.i64 = *number;
  } else if (const auto* real = std::get_if<double>(&value)) {
    v.type = MDX_DOUBLE;
    v.f64 = *real;
  } else if (const auto* flag = std::get_if<bool>(&value)) {
    v.type = MDX_BOOL;
    v.flag = *flag;
  } else if (const auto* text = std::get_if<std::string>(&value)) {
    v.type = MDX_TEXT;
    v.text.length = static_cast<uint32_t>(text->size());
    v.text.data = text->data();
  } else {
    v.isNull = 1;
  }
  return v;
}

}  // namespace

std::string key(const std::string& name) { return name + std::string(kKeyLength - name.size(), '0'); }

Update::Update(std::string table) : table_(std::move(table)) {
  if (const TableDef* def = Catalogue::builtIn().table(table_)) Catalogue::makeFields(*def, rows_->array);
}

Update& Update::addField(const std::string& name, uint8_t type, uint8_t size) {
  MDRFldDesc desc{};
  name.copy(desc.name, sizeof desc.name - 1);
  desc.type = type;
  desc.size = size;
  MDAFldAdd(rows_->array, 1, &desc);
  return *this;
}

Update& Update::record(const std::string& recordKey, int flags, const Fields& fields, bool marked) {
  MDRData* record = MDARecNew(rows_->array);
  MDRSetFlags(record, flags);
  set(record, {{"KeyLink", recordKey}}, marked && flags != MDX_REC_UPDATE);
  set(record, fields, marked);
  rows_->RecPost(record);
  return *this;
}

Update& Update::insert(const std::string& recordKey, const Fields& fields) {
  return record(recordKey, MDX_REC_INSERT, fields, true);
}

Update& Update::update(const std::string& recordKey, const Fields& marked, const Fields& unmarked) {
  MDRData* record = MDARecNew(rows_->array);
  MDRSetFlags(record, MDX_REC_UPDATE);
  set(record, {{"KeyLink", recordKey}}, false);
  set(record, marked, true);
  set(record, unmarked, false);
  rows_->RecPost(record);
  return *this;
}

Update& Update::remove(const std::string& recordKey) { return record(recordKey, MDX_REC_DELETE, {}, true); }

void Update::set(MDRData* record, const Fields& fields, bool marked) {
  for (const auto& [name, value] : fields) {
    const MDRField* field = MDRFldByName(rows_->array, name.c_str());
    const MDRVar v = varOf(value);
    if (!v.isNull) {
      ASSERT_GE(MDRSetVal(field, record, &v), 0) << name;
    }
    if (marked) MDRSetUser(field, record, 1);
  }
}

wire::Request Update::request() const { return {wire::RequestKind::kUpdate, table_, wire::packArray(rows_->array)}; }

std::string textOfValue(const MDRVar& value) {
  if (value.type == MDX_NONE) return "?";
  if (value.isNull) return "-";
  switch (value.type) {
    case MDX_BOOL:
      return value.flag ? "true" : "false";
    case MDX_INT32:
      return std::to_string(value.i32);
    case MDX_INT64:
      return std::to_string(value.i64);
    case MDX_DOUBLE:
      return valueText({0, Quality::kGood, double{value.f64}});
    default:
      return {value.text.data, value.text.length};
  }
}

Table tableOf(const MDArray* array) {
  Table table;
  for (int i = 0; i < MDAFldCount(array); ++i) table.columns.emplace_back(MDAFldName(array, i));
  for (int r = 0; r < MDARecCount(array); ++r) {
    Row row;
    for (int i = 0; i < MDAFldCount(array); ++i) {
      MDRVar value{};
      MDRGetVal(MDRFldByNum(array, i), MDARec(array, 0, r), &value);
      row[table.columns[static_cast<size_t>(i)]] = textOfValue(value);
    }
    table.rows.push_back(std::move(row));
  }
  return table;
}

Table tableOf(const wire::Reply& reply) {
  EXPECT_EQ(reply.status, wire::kOk) << reply.payload.value_or("");
  const CMDArray array;
  if (!reply.payload) return {};
  EXPECT_EQ(MDXArrayUnPackN(array.array, reply.payload->data(), reply.payload->size(), 1), 0);
  return tableOf(array.array);
}

std::vector<ImageField> imageOf(const wire::Event& event) {
  std::vector<ImageField> fields;
  if (!event.image) return fields;
  MDRType type;
  MDRData record;
  MDRTypInit(&type);
  MDRRecInit(&record);
  EXPECT_GE(MDRRecSet(&record, event.image->data(), static_cast<uint32_t>(event.image->size())), 0);
  EXPECT_GE(MDRTypGen(&type, "NCI", &record), 0);
  for (int i = 0; i < type.fieldCount; ++i) {
    const MDRField* field = MDRTypFldByNum(&type, i);
    MDRVar value{};
    MDRGetVal(field, &record, &value);
    int marked = 1;
    MDRIsUser(field, &record, &marked);
    fields.push_back({field->name, textOfValue(value), marked != 0});
  }
  MDRTypFree(&type);
  return fields;
}

const ImageField* imageField(const std::vector<ImageField>& image, const std::string& name) {
  for (const ImageField& field : image) {
    if (field.name == name) return &field;
  }
  return nullptr;
}

std::string Recorder::story() const {
  std::string text;
  for (const wire::Event& event : events) {
    const size_t comma = event.param.find(',');
    if (!text.empty()) text += "; ";
    text += std::to_string(event.kind) + " " + event.param.substr(4, comma - 4) + " " +
            event.key.substr(0, event.key.find('0'));
  }
  return text;
}

std::vector<wire::Request> ServerTest::newMeasurement(const std::string& name, const std::string& className,
                                                      int locId) {
  return {Update("IdentifiedObject").insert(key(name), {{"ClassName", className}, {"name_", "name " + name}}),
          Update("Measurement")
              .insert(key(name), {{"locId", number(locId)},
                                  {"work_", true},
                                  {"RemoteUnitKey", key("Unit")},
                                  {"UnitKey", key("MW")},
                                  {"CheckArch", true}}),
          Update(className).insert(key(name))};
}

ServerTest::ServerTest() : data(makeMemoryStoreData(Catalogue::builtIn())) {
  options.clock = [] { return kNow; };
  reopen(options);
  EXPECT_EQ(
      status(
          {Update("RemoteUnitFolder")
               .insert(key("Root"), {{"caption", ru("Сети")}})
               .insert(key("Sub"), {{"caption", ru("Север")}, {"ParentKey", key("Root")}}),
           Update("MeasurementUnit").insert(key("MW"), {{"symbol", ru("МВт")}, {"name_", ru("Мегаватт")}}),
           Update("StateTexts").insert(key("Texts"), {{"text0", ru("ОТКЛ")}, {"text1", ru("ВКЛ")}}),
           Update("IdentifiedObject").insert(key("Unit"), {{"ClassName", "RemoteUnit"}, {"name_", ru("ПС Северная")}}),
           Update("RemoteUnit")
               .insert(key("Unit"), {{"RemoteUnitFolderKey", key("Root")},
                                     {"SrvGroup", number(1)},
                                     {"StateRtu", true},
                                     {"prefName", true}})}),
      wire::kOk);
  int locId = 1001;
  for (const auto& [name, className] : {std::pair("A1", "Analog"), std::pair("D1", "Discrete"),
                                        std::pair("C1", "Accumulator"), std::pair("S1", "StringMeasurement")})
    EXPECT_EQ(status(newMeasurement(name, className, locId++)), wire::kOk);
}

void ServerTest::reopen(const CoreOptions& with) {
  core.reset();
  std::string error;
  core = Core::open(openMemoryStore(data), with, &error);
  ASSERT_TRUE(core) << error;
}

wire::Reply ServerTest::packet(const std::string& name, const std::string& body) const {
  return core->execute(wire::Request{wire::RequestKind::kPacket, name, body}, {"tester"});
}

wire::BlockReply ServerTest::block(std::vector<wire::Request> requests, const std::string& identity) const {
  return core->execute(wire::Block{identity, std::move(requests)}, {"tester"});
}

std::string ServerTest::reason(std::vector<wire::Request> requests) const {
  return fromCodePage(block(std::move(requests)).whole.payload.value_or(""));
}

std::string ServerTest::field(const std::string& table, const std::string& recordKey, const char* name) const {
  std::string found = "no record";
  core->read([&](const ModelTables& tables) {
    const MDArray* array = tables.table(table);
    MDRVar seek{};
    seek.type = MDX_TEXT;
    seek.text.length = static_cast<uint32_t>(recordKey.size());
    seek.text.data = recordKey.data();
    const MDRData* record = MDARecSeekV(array, 0, &seek, nullptr);
    if (!record) return;
    MDRVar value{};
    MDRGetVal(MDRFldByName(array, name), record, &value);
    found = textOfValue(value);
  });
  return found;
}

bool ServerTest::has(const std::string& table, const std::string& recordKey) const {
  return field(table, recordKey, "KeyLink") == recordKey;
}

int ServerTest::count(const std::string& table) const {
  int records = -1;
  core->read([&](const ModelTables& tables) { records = MDARecCount(tables.table(table)); });
  return records;
}

}  // namespace tlm::server::test
