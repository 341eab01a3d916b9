#include "Machine.h"
#include "Texts.h"

#include <algorithm>
#include <cmath>

namespace tlm::script {
namespace {

bool isNumber(const Value& value) { return value.kind == Kind::kInt || value.kind == Kind::kDouble; }

double fractionOf(const Value& value) { return value.isInt() ? static_cast<double>(value.integer) : value.fraction; }

// Holds every int64 and every double.
long double exactly(const Value& value) {
  return value.isInt() ? static_cast<long double>(value.integer) : static_cast<long double>(value.fraction);
}

const char* signOf(Op op) {
  switch (op) {
    case Op::kAdd:
      return "+";
    case Op::kSubtract:
      return "-";
    case Op::kMultiply:
      return "*";
    default:
      return "/";
  }
}

}  // namespace

const char* describe(Kind kind) {
  switch (kind) {
    case Kind::kNull:
      return "null";
    case Kind::kInt:
    case Kind::kDouble:
      return "a number";
    case Kind::kText:
      return "a text";
    case Kind::kPair:
      return "the pair of a seek";
    case Kind::kRecord:
      return "a record";
    case Kind::kTable:
      return "a table";
  }
  return "";
}

Machine::Machine(const Program& program, const server::TableSource& source, const server::ScriptBudget& budget)
    : program_(program), meter_(budget), tables_(program, source, &meter_), registers_(program.registers) {
  std::copy(program.constants.begin(), program.constants.end(), registers_.begin() + program.variables);
}

void Machine::setArguments(const CVar* arguments) {
  const bool list = arguments && arguments->type == CVAR_ARRAY;
  if (arguments && !list && arguments->type != CVAR_NULL) fail(0, "the arguments are not a list");
  const uint32_t given = list ? arguments->length : 0;
  if (given != static_cast<uint32_t>(program_.parameters))
    fail(0, program_.name + " takes " + std::to_string(program_.parameters) + " arguments, " + std::to_string(given) +
                " given");
  for (uint32_t i = 0; i < given; ++i) {
    const CVar& argument = arguments->items[i];
    Value& target = registers_[i];
    switch (argument.type) {
      case CVAR_NULL:
        break;
      case CVAR_INT:
        target = Value::of(argument.i64);
        break;
      case CVAR_DOUBLE:
        target = Value::of(argument.f64);
        break;
      case CVAR_TEXT:
        target = Value::of(std::string_view(argument.text, argument.length));
        break;
      default:
        fail(0, "argument " + std::to_string(i + 1) + " is neither a number nor a text nor null");
    }
  }
}

void Machine::giveResult(CVar* out) {
  if (!returned_) return;
  switch (returned_->kind) {
    case Kind::kInt:
      CVarSetInt(out, returned_->integer);
      break;
    case Kind::kDouble:
      CVarSetDouble(out, returned_->fraction);
      break;
    case Kind::kText:
      CVarSetStr(out, returned_->bytes, static_cast<int>(returned_->extra));
      break;
    case Kind::kTable:
      CVarSetTable(out, tables_.release(returned_->table).release());
      break;
    default:
      break;
  }
}

// The functions of the language by their instructions, from Op::kModelTable on.
constexpr Machine::Function Machine::kFunctions[] = {
    &Machine::modelTable, &Machine::newTable,  &Machine::addField,     &Machine::count,    &Machine::seek,
    &Machine::recordAt,   &Machine::newRecord, &Machine::postRecord,   &Machine::getField, &Machine::putField,
    &Machine::typeOf,     &Machine::toInt,     &Machine::compareTexts, &Machine::findText, &Machine::find};

void Machine::execute() {
  const Instruction* const code = program_.code.data();
  Value* const r = registers_.data();
  const Instruction* next = code;
  for (;;) {
    const Instruction& in = *next++;
    const auto ints = [&] { return r[in.b].isInt() && r[in.c].isInt(); };
    const auto less = [&] { return ints() ? r[in.b].integer < r[in.c].integer : order(in) < 0; };
    const auto lessEqual = [&] { return ints() ? r[in.b].integer <= r[in.c].integer : order(in) <= 0; };
    const auto jumpWhen = [&](bool taken) {
      if (taken) next = code + in.e;
    };
    int64_t result;
    // clang-format off
    switch (in.op) {
      case Op::kExit: return;
      case Op::kMove:
        r[in.a] = r[in.b].isInt() ? Value::of(r[in.b].integer) : r[in.b];
        break;
      case Op::kAdd:
        if (ints() && !__builtin_add_overflow(r[in.b].integer, r[in.c].integer, &result)) r[in.a] = Value::of(result);
        else arithmetic(in);
        break;
      case Op::kSubtract:
        if (ints() && !__builtin_sub_overflow(r[in.b].integer, r[in.c].integer, &result)) r[in.a] = Value::of(result);
        else arithmetic(in);
        break;
      case Op::kTruth: r[in.a] = Value::of(int64_t{in.b}); break;
      case Op::kMultiply:
      case Op::kDivide: arithmetic(in); break;
      case Op::kNegate: negate(in); break;
      case Op::kIndex: index(in); break;
      case Op::kReturnScalar: returnScalar(in); break;
      case Op::kReturnTable: returnTable(in); break;
      case Op::kLoop: meter_.steps(in.d, in.at); [[fallthrough]];
      case Op::kJump: next = code + in.e; break;
      case Op::kJumpIfTrue: jumpWhen(truth(r[in.b])); break;
      case Op::kJumpIfFalse: jumpWhen(!truth(r[in.b])); break;
      case Op::kJumpIfEqual: jumpWhen(equal(in)); break;
      case Op::kJumpIfNotEqual: jumpWhen(!equal(in)); break;
      case Op::kJumpIfLess: jumpWhen(less()); break;
      case Op::kJumpIfNotLess: jumpWhen(!less()); break;
      case Op::kJumpIfLessEqual: jumpWhen(lessEqual()); break;
      case Op::kJumpIfNotLessEqual: jumpWhen(!lessEqual()); break;
      case Op::kJumpIfType: jumpWhen(static_cast<uint16_t>(r[in.b].kind) == in.c); break;
      case Op::kJumpIfNotType: jumpWhen(static_cast<uint16_t>(r[in.b].kind) != in.c); break;
      case Op::kKnownTable: r[in.a] = Value::ofTable(in.b); break;
      // The functions that a loop is most likely made of, and the others.
      case Op::kRecord: recordAt(in); break;
      case Op::kFieldGet: getField(in); break;
      case Op::kToInt: toInt(in); break;
      default:
        (this->*kFunctions[static_cast<size_t>(in.op) - static_cast<size_t>(Op::kModelTable)])(in);
    }
    // clang-format on
  }
}

// ---- numbers --------------------------------------------------------------------------------------

void Machine::arithmetic(const Instruction& in) {
  const Value& a = registers_[in.b];
  const Value& b = registers_[in.c];
  for (const Value* value : {&a, &b})
    if (!isNumber(*value))
      fail(in.at, std::string("'") + signOf(in.op) + "' wants numbers, this is " + describe(value->kind));
  if (!a.isInt() || !b.isInt()) return fractions(in, fractionOf(a), fractionOf(b));
  if (in.op == Op::kDivide) return divide(in, a.integer, b.integer);
  int64_t result = 0;
  const bool overflow = in.op == Op::kAdd        ? __builtin_add_overflow(a.integer, b.integer, &result)
                        : in.op == Op::kSubtract ? __builtin_sub_overflow(a.integer, b.integer, &result)
                                                 : __builtin_mul_overflow(a.integer, b.integer, &result);
  if (overflow) fail(in.at, "the number grows beyond 64 bits");
  registers_[in.a] = Value::of(result);
}

void Machine::fractions(const Instruction& in, double a, double b) {
  if (in.op == Op::kDivide && b == 0) fail(in.at, "division by zero");
  const double result = in.op == Op::kAdd        ? a + b
                        : in.op == Op::kSubtract ? a - b
                        : in.op == Op::kMultiply ? a * b
                                                 : a / b;
  if (!std::isfinite(result)) fail(in.at, "the number is too large");
  registers_[in.a] = Value::of(result);
}

void Machine::divide(const Instruction& in, int64_t a, int64_t b) {
  if (b == 0) fail(in.at, "division by zero");
  if (a == INT64_MIN && b == -1) fail(in.at, "the number grows beyond 64 bits");
  registers_[in.a] = a % b == 0 ? Value::of(a / b) : Value::of(static_cast<double>(a) / static_cast<double>(b));
}

void Machine::negate(const Instruction& in) {
  const Value& value = registers_[in.b];
  if (!isNumber(value)) fail(in.at, std::string("'-' wants a number, this is ") + describe(value.kind));
  if (value.isInt() && value.integer == INT64_MIN) fail(in.at, "the number grows beyond 64 bits");
  registers_[in.a] = value.isInt() ? Value::of(-value.integer) : Value::of(-value.fraction);
}

// ---- comparisons ----------------------------------------------------------------------------------

bool Machine::equalOther(const Instruction& in) {
  const Value& a = registers_[in.b];
  const Value& b = registers_[in.c];
  if (isNumber(a) && isNumber(b)) return exactly(a) == exactly(b);
  if (a.kind != b.kind) return false;
  switch (a.kind) {
    case Kind::kText:
      payForTexts(a, b, in.at);
      return a.text() == b.text();
    case Kind::kTable:
      return a.table == b.table;
    case Kind::kRecord:
      return a.record == b.record;
    case Kind::kPair:
      return a.record == b.record && a.extra == b.extra && a.table == b.table;
    default:
      return true;
  }
}

// Null stands before every value, as in a key.
int Machine::order(const Instruction& in) {
  const Value& a = registers_[in.b];
  const Value& b = registers_[in.c];
  if (isNumber(a) && isNumber(b)) return exactly(a) < exactly(b) ? -1 : exactly(a) > exactly(b);
  if (a.kind == Kind::kText && b.kind == Kind::kText) {
    payForTexts(a, b, in.at);
    return script::compareTexts(a.text(), b.text());
  }
  const bool aNull = a.kind == Kind::kNull, bNull = b.kind == Kind::kNull;
  if ((aNull && (bNull || isNumber(b) || b.kind == Kind::kText)) || (bNull && (isNumber(a) || a.kind == Kind::kText)))
    return static_cast<int>(bNull) - static_cast<int>(aNull);
  fail(in.at, std::string("no order between ") + describe(a.kind) + " and " + describe(b.kind));
}

// Long texts cost steps, so that a run looks at the clock in time.
void Machine::payForTexts(const Value& a, const Value& b, Offset at) {
  meter_.steps(std::min(a.extra, b.extra) / Meter::kBytesPerStep, at);
}

bool Machine::truth(const Value& value) const {
  switch (value.kind) {
    case Kind::kNull:
      return false;
    case Kind::kInt:
      return value.integer != 0;
    case Kind::kDouble:
      return value.fraction != 0;
    case Kind::kText:
      return value.extra != 0;
    default:
      return true;
  }
}

// ---- pairs and results ----------------------------------------------------------------------------

void Machine::index(const Instruction& in) {
  const Value pair = registers_[in.b];
  const Value& part = registers_[in.c];
  if (pair.kind != Kind::kPair)
    fail(in.at, std::string("only the pair of a seek has parts, this is ") + describe(pair.kind));
  if (!part.isInt() || part.integer < 0 || part.integer > 1) fail(in.at, "a pair has the parts 0 and 1");
  registers_[in.a] =
      part.integer == 1 ? Value::of(int64_t{pair.extra}) : Value::ofRecord(pair.table, kNoWalk, pair.record);
}

void Machine::returnScalar(const Instruction& in) {
  const Value& value = registers_[in.b];
  if (value.kind > Kind::kText)
    fail(in.at, std::string("Result takes a number, a text or null, not ") + describe(value.kind));
  returned_ = &value;
}

void Machine::returnTable(const Instruction& in) {
  const Value& value = registers_[in.b];
  const bool own = value.kind == Kind::kTable && !tables_[value.table].isModel();
  if (!own && value.kind != Kind::kNull) fail(in.at, "result takes a table made by CTblNew");
  returned_ = &value;
}

// ---- operands -------------------------------------------------------------------------------------

void Machine::notA(const char* wanted, const Value& value, Offset at) {
  fail(at, std::string(wanted) + " is wanted, this is " +
               (value.kind == Kind::kDouble ? "a fraction" : describe(value.kind)));
}

}  // namespace tlm::script
