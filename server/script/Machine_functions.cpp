// The functions of the language, each one instruction.
#include "Machine.h"
#include "Texts.h"

#include <TlmMdx/values.h>

#include <charconv>
#include <cstring>

namespace tlm::script {
namespace {

// What a function costs beside its instruction, in steps.
constexpr int64_t kSeekSteps = 8;
constexpr int64_t kRecordSteps = 8;

using mdx::boolVar;
using mdx::doubleVar;
using mdx::nullVar;
using mdx::textVar;

MDRVar intVar(int64_t integer) { return mdx::int64Var(integer); }

bool holdsText(uint8_t type) { return type == MDX_TEXT || type == MDX_MEMO; }
bool holdsFraction(uint8_t type) { return type == MDX_FLOAT || type == MDX_DOUBLE; }

}  // namespace

// ---- tables ---------------------------------------------------------------------------------------

void Machine::modelTable(const Instruction& in) {
  registers_[in.a] = tables_.modelTable(textOperand(registers_[in.b], in.at), in.at);
}

void Machine::newTable(const Instruction& in) { registers_[in.a] = tables_.newTable(in.at); }

void Machine::addField(const Instruction& in) {
  const Value& table = tableOperand(registers_[in.b], in.at);
  tables_.addField(table.table, textOperand(registers_[in.c], in.at), intOperand(registers_[in.d], in.at),
                   intOperand(registers_[in.e], in.at), in.at);
}

void Machine::count(const Instruction& in) {
  const Value& table = tableOperand(registers_[in.b], in.at);
  registers_[in.a] = Value::of(int64_t{MDARecCount(tables_[table.table].array)});
}

// ---- records --------------------------------------------------------------------------------------

void Machine::seek(const Instruction& in) {
  int position = 0;
  MDRData* const record = seekRecord(in, &position);
  registers_[in.a] = Value::ofPair(registers_[in.b].table, position, record);
}

void Machine::find(const Instruction& in) {
  MDRData* const record = seekRecord(in, nullptr);
  registers_[in.a] = Value::ofPair(registers_[in.b].table, 0, record);
}

MDRData* Machine::seekRecord(const Instruction& in, int* position) {
  const Value& table = tableOperand(registers_[in.b], in.at);
  const int64_t key = intOperand(registers_[in.c], in.at);
  Walk& walk = tables_.walks[in.e + 1];
  if (walk.table != table.table || walk.key != key) tables_.bindSeek(&walk, table.table, key, in.at);
  meter_.steps(kSeekSteps, in.at);
  const MDRVar sought = keyValue(registers_[in.d], walk.seekField, in.at);
  return position ? MDARecSeekV(tables_[table.table].array, static_cast<int>(key), &sought, position)
                  : walk.find(sought);
}

MDRVar Machine::keyValue(const Value& value, const MDRField* field, Offset at) const {
  if (value.kind == Kind::kNull) return nullVar(field->type);
  if (holdsText(field->type)) {
    if (value.kind == Kind::kText) return textVar(value.text());
    fail(at, "the key holds texts, this is " + std::string(describe(value.kind)));
  }
  if (value.kind != Kind::kInt && value.kind != Kind::kDouble)
    fail(at, "the key holds numbers, this is " + std::string(describe(value.kind)));
  if (holdsFraction(field->type)) return doubleVar(value.isInt() ? static_cast<double>(value.integer) : value.fraction);
  const int64_t integer = intOperand(value, at);
  return field->type == MDX_BOOL ? boolVar(integer != 0) : intVar(integer);
}

void Machine::newRecord(const Instruction& in) {
  const Value& table = tableOperand(registers_[in.b], in.at);
  meter_.steps(kRecordSteps, in.at);
  registers_[in.a] = tables_.newRecord(table.table, in.at);
}

void Machine::postRecord(const Instruction& in) {
  const Value& record = recordOperand(registers_[in.b], in.at);
  if (tables_[record.table].isModel()) fail(in.at, "the model tables are read only");
  meter_.steps(kRecordSteps, in.at);
  if (MDARecPost(record.record, nullptr) < 0) fail(in.at, "the record cannot be posted");
}

// ---- fields ---------------------------------------------------------------------------------------

void Machine::getOtherField(const Instruction& in) {
  if (registers_[in.b].kind == Kind::kNull) {  // a place past the end has no values
    registers_[in.a] = Value();
    return;
  }
  const Value& record = recordOperand(registers_[in.b], in.at);
  tables_.walks[record.extra].fetchAhead();
  FieldCache& cache = tables_.fields[in.d];
  const MDRField* field = cache.field;
  if (cache.table != record.table) {
    field = tables_.field(record.table, textOperand(registers_[in.c], in.at), in.at);
    // A name that is computed may be another one the next time.
    if (!program_.fields[in.d].name.empty()) cache = {record.table, field};
  }
  registers_[in.a] = read(field, record, in.at);
}

Value Machine::read(const MDRField* field, const Value& record, Offset at) {
  MDRVar var{};
  MDRGetVal(field, record.record, &var);
  return valueOf(var, record, at);
}

Value Machine::valueOf(const MDRVar& var, const Value& record, Offset at) {
  if (var.isNull) return {};
  switch (var.type) {
    case MDX_BOOL:
      return Value::of(int64_t{var.flag != 0});
    case MDX_INT32:
      return Value::of(int64_t{var.i32});
    case MDX_INT64:
      return Value::of(int64_t{var.i64});
    case MDX_FLOAT:
      return Value::of(double{var.f32});
    case MDX_DOUBLE:
      return Value::of(double{var.f64});
    case MDX_TEXT:
    case MDX_MEMO:
      break;
    default:
      return {};
  }
  const std::string_view text(var.text.data, var.text.length);
  if (tables_[record.table].isModel() || text.empty()) return Value::of(text);
  // A text of the script's own table may be written over while the script still holds it.
  meter_.bytes(text.size(), at);
  auto* const copy = static_cast<char*>(texts_.allocate(text.size(), 1));
  std::memcpy(copy, text.data(), text.size());
  return Value::of(std::string_view(copy, text.size()));
}

void Machine::putField(const Instruction& in) {
  const Value& record = recordOperand(registers_[in.b], in.at);
  const RunTable& table = tables_[record.table];
  if (table.isModel()) fail(in.at, "the model tables are read only");
  const int64_t number = intOperand(registers_[in.c], in.at);
  if (number < 0 || number >= static_cast<int64_t>(table.fields.size()))
    fail(in.at, "the table has no column " + std::to_string(number));
  const MDRField* const field = table.fields[number];
  const Value& value = registers_[in.d];
  const MDRVar var = value.kind == Kind::kNull ? nullVar(field->type) : fieldValue(value, in.at);
  if (value.kind == Kind::kText) {
    meter_.bytes(value.extra, in.at);
    meter_.steps(value.extra / Meter::kBytesPerStep, in.at);
  }
  const int code = MDRSetVal(field, record.record, &var);
  if (code == MDX_E_SIZE) fail(in.at, "the text is longer than column " + quoted(field->name));
  if (code < 0) fail(in.at, std::string(describe(value.kind)) + " does not fit column " + quoted(field->name));
}

MDRVar Machine::fieldValue(const Value& value, Offset at) const {
  switch (value.kind) {
    case Kind::kInt:
      return intVar(value.integer);
    case Kind::kDouble:
      return doubleVar(value.fraction);
    case Kind::kText:
      return textVar(value.text());
    default:
      fail(at, std::string("a column takes no ") + (value.kind == Kind::kTable ? "table" : "record"));
  }
}

// ---- values ---------------------------------------------------------------------------------------

void Machine::typeOf(const Instruction& in) {
  registers_[in.a] = Value::of(static_cast<int64_t>(registers_[in.b].kind));
}

// Null stands before every text, as in a key.
void Machine::compareTexts(const Instruction& in) {
  const Value& a = registers_[in.b];
  const Value& b = registers_[in.c];
  const bool aNull = a.kind == Kind::kNull, bNull = b.kind == Kind::kNull;
  int result = static_cast<int>(bNull) - static_cast<int>(aNull);
  if (!aNull && !bNull) {
    result = script::compareTexts(textOperand(a, in.at), textOperand(b, in.at));
    payForTexts(a, b, in.at);
  }
  registers_[in.a] = Value::of(int64_t{result});
}

void Machine::findText(const Instruction& in) {
  const Value& text = registers_[in.b];
  const Value& part = registers_[in.c];
  const bool absent = text.kind == Kind::kNull || part.kind == Kind::kNull;
  const int64_t position =
      absent ? -1 : findIgnoringCase(textOperand(text, in.at), textOperand(part, in.at), &meter_, in.at);
  registers_[in.a] = Value::of(position);
}

void Machine::convertToInt(const Instruction& in) {
  const Value& value = registers_[in.b];
  if (value.kind == Kind::kDouble) {
    // 2^63 is exact as a double, and the first one that does not fit.
    constexpr double kLimit = 9223372036854775808.0;
    if (!(value.fraction >= -kLimit && value.fraction < kLimit)) fail(in.at, "the number does not fit 64 bits");
    registers_[in.a] = Value::of(static_cast<int64_t>(value.fraction));
    return;
  }
  if (value.kind != Kind::kText) fail(in.at, std::string("int wants a number, this is ") + describe(value.kind));
  const std::string_view text = value.text();
  meter_.steps(static_cast<int64_t>(text.size()) / Meter::kBytesPerStep, in.at);
  int64_t number = 0;
  const auto read = std::from_chars(text.data(), text.data() + text.size(), number);
  if (read.ec != std::errc() || read.ptr != text.data() + text.size())
    fail(in.at, quoted(text) + " is no whole number");
  registers_[in.a] = Value::of(number);
}

}  // namespace tlm::script
