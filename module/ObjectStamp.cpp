#include "ObjectStamp.h"

#include "ChangeSet.h"
#include "RecordAccess.h"

#include <algorithm>

namespace {

MDRVar ownValue(StampValue what, const StampValues& values) {
  switch (what) {
    case StampValue::kKey:
      return textVar(values.key);
    case StampValue::kNumber:
      return intVar(values.number);
    case StampValue::kPrimaryNumber:
      return intVar(values.primaryNumber);
    case StampValue::kUnitKey:
      return textVar(values.unitKey);
    case StampValue::kName:
      return textVar(values.name);
    case StampValue::kClassName:
      return textVar(values.className);
    case StampValue::kArchGroupKey:
      return textVar(values.archGroupKey);
    default:
      return MDRVar{};
  }
}

}  // namespace

ObjectStamp::ObjectStamp(const QString& table, const MDArray* structure, const MDArray* patternTable,
                         const MDRData* pattern, const std::vector<StampRule>& rules, StampValue others)
    : table_(table),
      structure_(structure),
      patternTable_(patternTable),
      pattern_(pattern),
      rules_(&rules),
      others_(others) {}

// Once for all objects: names are compared for the first one alone.
void ObjectStamp::readFields(const CMDArray& rows) {
  const int count = MDAFldCount(rows.array);
  fields_.reserve(static_cast<size_t>(count));
  for (int number = 0; number < count; ++number) {
    const QByteArray name = fieldName(rows, number);
    const auto rule = std::find_if(rules_->begin(), rules_->end(),
                                   [&](const StampRule& each) { return qstricmp(each.field, name.constData()) == 0; });
    Field field = rule == rules_->end() ? Field{others_, false, {}} : Field{rule->value, rule->marked, {}};
    if (field.value == StampValue::kSource && pattern_)
      if (const MDRField* source = MDRFldByName(patternTable_, name.constData()))
        MDRGetVal(source, pattern_, &field.source);
    fields_.push_back(field);
  }
}

void ObjectStamp::add(QStringList& tables, QList<CMDArray*>& arrays, const StampValues& values) {
  ChangeEntry entry(tables, arrays, table_, structure_);
  MDRData* record = entry.newRecord(MDX_REC_INSERT);
  if (!record) return;
  if (fields_.empty()) readFields(entry.rows());
  for (int number = 0; number < static_cast<int>(fields_.size()); ++number) {
    const Field& field = fields_[static_cast<size_t>(number)];
    if (field.value == StampValue::kEmpty) continue;
    const MDRVar value = field.value == StampValue::kSource ? field.source : ownValue(field.value, values);
    if (field.marked)
      entry.rows().SetValF(record, number, value);
    else
      entry.rows().SetVal(record, number, value);
  }
  entry.post(record);
}
