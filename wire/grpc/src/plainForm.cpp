#include <TlmMdx/CMDArray.h>
#include <TlmWireGrpc/plainForm.h>

#include <cstring>
#include <limits>
#include <utility>

namespace tlm::wire {
namespace {

constexpr int kMostFields = 255;
constexpr int kDeepest = 16;  // lists within lists

bool fail(std::string* why, const std::string& text) {
  *why = text;
  return false;
}

// Bytes that the library gave, freed with it.
struct Packed {
  Packed() = default;
  ~Packed() { MDXFree(bytes); }
  Packed(const Packed&) = delete;
  Packed& operator=(const Packed&) = delete;
  std::string take() const { return {static_cast<const char*>(bytes), length}; }
  void* bytes = nullptr;
  uint32_t length = 0;
};

class ScriptValue {
 public:
  ScriptValue() { CVarInit(&value, 1); }
  ~ScriptValue() { CVarClear(&value, 1); }
  ScriptValue(const ScriptValue&) = delete;
  ScriptValue& operator=(const ScriptValue&) = delete;
  CVar value;
};

// ---- packed to plain ----

void plainValue(const MDRField* field, const MDRData* record, v1::Value* value) {
  MDRVar from;
  std::memset(&from, 0, sizeof from);
  MDRGetVal(field, record, &from);
  if (MDRIsUser(field, record, nullptr) == 1) value->set_marked(true);
  if (from.isNull) return;
  switch (from.type) {
    case MDX_BOOL:
      return value->set_flag(from.flag != 0);
    case MDX_INT32:
      return value->set_integer(from.i32);
    case MDX_INT64:
      return value->set_integer(from.i64);
    case MDX_FLOAT:
      return value->set_number(static_cast<double>(from.f32));
    case MDX_DOUBLE:
      return value->set_number(from.f64);
    case MDX_TEXT:
    case MDX_MEMO:
      // The members of a value are not aligned, so they are read before anything binds to them.
      return value->set_text(std::string(+from.text.data, +from.text.length));
    default:
      return;
  }
}

void plainRows(const MDArray* array, v1::Table* table) {
  std::vector<const MDRField*> fields;
  for (int i = 0; i < MDAFldCount(array); ++i) {
    const MDRField* const field = MDRFldByNum(array, i);
    fields.push_back(field);
    v1::Field* const one = table->add_fields();
    one->set_name(field->name);
    one->set_type(field->type);
    one->set_size(field->size);
  }
  for (int at = 0; at < MDARecCount(array); ++at) {
    const MDRData* const record = MDARec(array, 0, at);
    v1::Row* const row = table->add_rows();
    row->set_change(MDRGetFlags(record));
    for (const MDRField* field : fields) plainValue(field, record, row->add_values());
  }
}

void plainScript(const CVar& from, v1::Value* value) {
  switch (from.type) {
    case CVAR_INT:
      return value->set_integer(from.i64);
    case CVAR_DOUBLE:
      return value->set_number(from.f64);
    case CVAR_TEXT:
      return value->set_text(from.text, from.length);
    case CVAR_ARRAY:
      value->mutable_list();
      for (uint32_t i = 0; i < from.length; ++i) plainScript(from.items[i], value->mutable_list()->add_values());
      return;
    case CVAR_TABLE:
      return plainRows(*from.table, value->mutable_table());
    default:
      return;
  }
}

// ---- plain to packed ----

bool makeFields(const v1::Table& table, MDArray* array, std::string* why) {
  if (table.fields_size() == 0 || table.fields_size() > kMostFields) return fail(why, "a table of 1 to 255 fields");
  for (const v1::Field& field : table.fields()) {
    MDRFldDesc desc{};
    if (field.name().empty() || field.name().size() >= sizeof desc.name) return fail(why, "a field without a name");
    std::memcpy(desc.name, field.name().data(), field.name().size());
    if (field.size() < 0 || field.size() > std::numeric_limits<uint8_t>::max())
      return fail(why, "a size of no text: " + field.name());
    desc.size = static_cast<uint8_t>(field.size());
    desc.type = static_cast<uint8_t>(field.type());
    if (field.type() < MDX_BOOL || field.type() > MDX_MEMO || MDAFldAdd(array, 1, &desc) < 0)
      return fail(why, "no field of that type: " + field.name());
  }
  return true;
}

// The value as the library takes it; texts stay where they are. False for a value of another kind.
bool varOf(const v1::Value& from, uint8_t type, MDRVar* to) {
  std::memset(to, 0, sizeof *to);
  to->type = type;
  const bool text = type == MDX_TEXT || type == MDX_MEMO;
  switch (from.kind_case()) {
    case v1::Value::KIND_NOT_SET:
      to->isNull = 1;
      return true;
    case v1::Value::kFlag:
      to->flag = from.flag() ? 1 : 0;
      return type == MDX_BOOL;
    case v1::Value::kInteger:
      to->type = MDX_INT64;
      to->i64 = from.integer();
      return !text && type != MDX_BOOL;
    case v1::Value::kNumber:
      to->type = MDX_DOUBLE;
      to->f64 = from.number();
      return type == MDX_FLOAT || type == MDX_DOUBLE;
    case v1::Value::kText:
      to->text.length = static_cast<uint32_t>(from.text().size());
      to->text.data = from.text().data();
      return text;
    default:
      return false;
  }
}

bool addRow(const v1::Row& row, MDArray* array, std::string* why) {
  if (row.values_size() != MDAFldCount(array)) return fail(why, "a row has one value for each field");
  MDRData* const record = MDARecNew(array);
  if (!record) return fail(why, "no memory");
  MDRData* posted = nullptr;
  bool good = true;
  for (int i = 0; i < row.values_size() && good; ++i) {
    const MDRField* const field = MDRFldByNum(array, i);
    MDRVar value;
    good = varOf(row.values(i), field->type, &value) && MDRSetVal(field, record, &value) >= 0;
    if (good && row.values(i).marked()) MDRSetUser(field, record, 1);
    if (!good) *why = std::string("a value that is none of ") + field->name;
  }
  MDRSetFlags(record, row.change());
  MDARecPost(record, &posted);
  return good;
}

bool makeTable(const v1::Table& table, CMDArray* array, std::string* why) {
  if (!makeFields(table, array->array, why)) return false;
  for (const v1::Row& row : table.rows()) {
    if (!addRow(row, array->array, why)) return false;
  }
  return true;
}

bool scriptOf(const v1::Value& from, CVar* to, int depth, std::string* why) {
  if (depth > kDeepest) return fail(why, "lists too deep within one another");
  switch (from.kind_case()) {
    case v1::Value::KIND_NOT_SET:
      return true;
    case v1::Value::kFlag:
      return CVarSetInt(to, from.flag() ? 1 : 0) >= 0;
    case v1::Value::kInteger:
      return CVarSetInt(to, from.integer()) >= 0;
    case v1::Value::kNumber:
      return CVarSetDouble(to, from.number()) >= 0;
    case v1::Value::kText:
      return CVarSetStr(to, from.text().data(), static_cast<int>(from.text().size())) >= 0;
    case v1::Value::kList:
      if (CVarSetArr(to, from.list().values_size()) < 0) return fail(why, "no memory");
      for (int i = 0; i < from.list().values_size(); ++i) {
        if (!scriptOf(from.list().values(i), &to->items[i], depth + 1, why)) return false;
      }
      return true;
    case v1::Value::kTable: {
      CMDArray table;
      if (!makeTable(from.table(), &table, why)) return false;
      return CVarSetTable(to, std::exchange(table.array, nullptr)) >= 0;
    }
  }
  return false;
}

void makePlain(const Request& request, Reply& reply, v1::Reply* message) {
  if (reply.status != kOk || !reply.payload || reply.payload->empty()) return;
  const bool script = request.kind == RequestKind::kScript || request.kind == RequestKind::kProcedure;
  const bool plain = script ? plainScriptValue(*reply.payload, message->mutable_plain())
                            : plainTable(*reply.payload, message->mutable_plain()->mutable_table());
  if (plain)
    reply.payload.reset();
  else
    message->clear_plain();
}

}  // namespace

bool plainTable(const std::string& packed, v1::Table* table) {
  CMDArray array;
  if (MDXArrayUnPackN(array.array, packed.data(), packed.size(), 1) != 0) return false;
  plainRows(array.array, table);
  return true;
}

bool plainRecord(const std::string& image, v1::Table* table) {
  CMDArray array;
  if (MDXRecUnPackN(array.array, image.data(), image.size()) != 0) return false;
  plainRows(array.array, table);
  return true;
}

bool plainScriptValue(const std::string& packed, v1::Value* value) {
  ScriptValue script;
  if (CVarFromBuffN(&script.value, packed.data(), packed.size()) < 0) return false;
  plainScript(script.value, value);
  return true;
}

bool packTable(const v1::Table& table, std::string* packed, std::string* why) {
  CMDArray array;
  if (!makeTable(table, &array, why)) return false;
  *packed = packArray(array.array);
  return !packed->empty() || fail(why, "no memory");
}

bool packRecord(const v1::Table& table, std::string* image, std::string* why) {
  CMDArray array;
  if (table.rows_size() != 1) return fail(why, "a record is a table of one row");
  if (!makeTable(table, &array, why)) return false;
  MDRData* const record = MDARec(array.array, 0, 0);
  if (MDRRecPack(array.array, record, 1, 1) < 0) return fail(why, "no memory");
  image->assign(reinterpret_cast<const char*>(record->packed), record->packedLength);
  return true;
}

bool packScriptValue(const v1::Value& value, std::string* packed, std::string* why) {
  ScriptValue script;
  Packed bytes;
  if (!scriptOf(value, &script.value, 0, why)) return false;
  if (CVarToBuff(&script.value, &bytes.bytes, &bytes.length) < 0) return fail(why, "no memory");
  *packed = bytes.take();
  return true;
}

void makePlain(const Block& block, BlockReply& reply, v1::BlockReply* message) {
  for (size_t i = 0; i < reply.each.size() && i < block.requests.size(); ++i) {
    makePlain(block.requests[i], reply.each[i], message->add_each());
  }
}

}  // namespace tlm::wire
