#include "Functions.h"

#include <iterator>

namespace tlm::script {
namespace {

constexpr int64_t number(Kind kind) { return static_cast<int64_t>(kind); }

constexpr Function kFunctions[] = {
    {"CRecFldGet", Op::kFieldGet, 2, true},
    {"CRecFldPut", Op::kFieldPut, 3, false},
    {"type", Op::kType, 1, true},
    {"CTblRecSeek", Op::kSeek, 3, true},
    {"CTblRec", Op::kRecord, 3, true},
    {"cmp", Op::kCompareTexts, 2, true},
    {"int", Op::kToInt, 1, true},
    {"posi", Op::kFindText, 2, true},
    {"CTblFldAdd", Op::kFieldAdd, 4, false},
    {"CTblRecNew", Op::kRecordNew, 1, true},
    {"CTblRecPost", Op::kRecordPost, 1, false},
    {"CTblRecCount", Op::kCount, 1, true},
    {"CTblNew", Op::kTableNew, 0, true},
    {"_ModelTableByName", Op::kModelTable, 1, true},
};

constexpr NamedNumber kNumbers[] = {
    {"var_Rec", number(Kind::kRecord)}, {"var_Int", number(Kind::kInt)}, {"var_Str", number(Kind::kText)},
    {"var_Dbl", number(Kind::kDouble)}, {"fld_Char", MDX_TEXT},          {"fld_Memo", MDX_MEMO},
    {"fld_Int64", MDX_INT64},           {"fld_Int32", MDX_INT32},        {"fld_Bool", MDX_BOOL},
    {"fld_Double", MDX_DOUBLE},
};

}  // namespace

int findFunction(std::string_view name) {
  for (int row = 0; row < static_cast<int>(std::size(kFunctions)); ++row)
    if (kFunctions[row].name == name) return row;
  return -1;
}

const Function& functionAt(int row) { return kFunctions[row]; }

const NamedNumber* findNumber(std::string_view name) {
  if (name.size() < 7 || name[3] != '_') return nullptr;  // all are of the forms var_... and fld_...
  for (const NamedNumber& row : kNumbers)
    if (row.name == name) return &row;
  return nullptr;
}

}  // namespace tlm::script
