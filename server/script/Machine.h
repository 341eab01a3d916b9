// Runs a program once.
#ifndef TLMSERVER_SCRIPT_MACHINE_H
#define TLMSERVER_SCRIPT_MACHINE_H

#include "Meter.h"
#include "Program.h"
#include "Tables.h"

#include <memory_resource>
#include <vector>

namespace tlm::script {

class Machine {
 public:
  // Resolves the program's tables, fields and keys. Fails where one is not there.
  Machine(const Program& program, const server::TableSource& source, const server::ScriptBudget& budget);

  // Fails when the arguments are not those that the function takes.
  void setArguments(const CVar* arguments);
  void execute();
  // What the script returned, into a value that holds nothing.
  void giveResult(CVar* out);

  int64_t stepsTaken() const { return meter_.stepsTaken(); }

 private:
  using Function = void (Machine::*)(const Instruction&);
  static const Function kFunctions[];

  // Functions of the language: Machine_functions.cpp.
  void modelTable(const Instruction& in);
  void newTable(const Instruction& in);
  void addField(const Instruction& in);
  void count(const Instruction& in);
  void seek(const Instruction& in);
  void find(const Instruction& in);
  MDRData* seekRecord(const Instruction& in, int* position);
  void recordAt(const Instruction& in) {
    const uint16_t table = tableOperand(registers_[in.b], in.at).table;
    const int64_t key = intOperand(registers_[in.c], in.at);
    const int64_t position = intOperand(registers_[in.d], in.at);
    Walk& walk = tables_.walks[in.e + 1];
    if (walk.table != table || walk.key != key) tables_.bind(&walk, table, key, in.at);
    registers_[in.a] = Value::ofRecord(table, uint32_t{in.e} + 1, walk.at(position));
  }
  void newRecord(const Instruction& in);
  void postRecord(const Instruction& in);
  // The way of a loop over a key; the others are in getOtherField.
  void getField(const Instruction& in) {
    const Value& record = registers_[in.b];
    const FieldCache& cache = tables_.fields[in.d];
    const bool cached = record.kind == Kind::kRecord && cache.table == record.table;
    if (cached && tables_.walks[record.extra].tells(record.record, cache.field))
      registers_[in.a] = tables_.walks[record.extra].keyValue();
    else
      getOtherField(in);
  }
  void getOtherField(const Instruction& in);
  void putField(const Instruction& in);
  void typeOf(const Instruction& in);
  void toInt(const Instruction& in) {
    if (registers_[in.b].isInt())
      registers_[in.a] = Value::of(registers_[in.b].integer);
    else
      convertToInt(in);
  }
  void convertToInt(const Instruction& in);
  void compareTexts(const Instruction& in);
  void findText(const Instruction& in);
  MDRVar keyValue(const Value& value, const MDRField* field, Offset at) const;
  MDRVar fieldValue(const Value& value, Offset at) const;
  Value read(const MDRField* field, const Value& record, Offset at);
  Value valueOf(const MDRVar& var, const Value& record, Offset at);

  // Operators: Machine.cpp.
  void arithmetic(const Instruction& in);
  void fractions(const Instruction& in, double a, double b);
  void divide(const Instruction& in, int64_t a, int64_t b);
  void negate(const Instruction& in);
  void index(const Instruction& in);
  void returnScalar(const Instruction& in);
  void returnTable(const Instruction& in);
  bool equal(const Instruction& in) {
    const Value& a = registers_[in.b];
    const Value& b = registers_[in.c];
    return a.isInt() && b.isInt() ? a.integer == b.integer : equalOther(in);
  }
  bool equalOther(const Instruction& in);
  int order(const Instruction& in);
  void payForTexts(const Value& a, const Value& b, Offset at);
  bool truth(const Value& value) const;

  static const Value& tableOperand(const Value& value, Offset at) {
    if (value.kind != Kind::kTable) notA("a table", value, at);
    return value;
  }
  static const Value& recordOperand(const Value& value, Offset at) {
    if (value.kind != Kind::kRecord) notA("a record", value, at);
    return value;
  }
  static int64_t intOperand(const Value& value, Offset at) {
    if (!value.isInt()) notA("a whole number", value, at);
    return value.integer;
  }
  static std::string_view textOperand(const Value& value, Offset at) {
    if (value.kind != Kind::kText) notA("a text", value, at);
    return value.text();
  }
  [[noreturn]] static void notA(const char* wanted, const Value& value, Offset at);

  const Program& program_;
  Meter meter_;
  Tables tables_;
  std::pmr::monotonic_buffer_resource texts_;  // copies of texts that may change under the script's hands
  std::vector<Value> registers_;
  const Value* returned_ = nullptr;
};

}  // namespace tlm::script

#endif
