#include "PastedRecord.h"

#include "ChangeSet.h"
#include "RecordAccess.h"

#include <algorithm>
#include <iterator>

namespace {

// What decides about a field; every other field is taken from the source.
enum class Role { Source, Key, Number, Primary, ArchGroup, UnitLink, Name, FolderLink };

struct FieldRole {
  const char* name;  // compared without case
  Role role;
};

constexpr FieldRole kFieldRoles[] = {
    {"Keylink", Role::Key},
    {"locid", Role::Number},
    {"primaryLocId", Role::Primary},
    {"MeasurementArchGroupKey", Role::ArchGroup},
    {"RemoteUnitKey", Role::UnitLink},
    {"name_", Role::Name},
    {"caption", Role::Name},
    {"ParentKey", Role::FolderLink},
    {"RemoteUnitFolderKey", Role::FolderLink},
};

Role roleOf(const QByteArray& field) {
  const auto found = std::find_if(std::begin(kFieldRoles), std::end(kFieldRoles),
                                  [&](const FieldRole& each) { return qstricmp(field.constData(), each.name) == 0; });
  return found == std::end(kFieldRoles) ? Role::Source : found->role;
}

}  // namespace

PastedRecord::PastedRecord(const CMDArray& source, QTextCodec* codec)
    : source_(source), from_(MDARec(source.array, 0, 0)), codec_(codec) {}

bool PastedRecord::addTo(QStringList& tables, QList<CMDArray*>& arrays, const QString& table,
                         const CMDArray* structure) {
  ChangeEntry entry(tables, arrays, table, structure ? structure->array : nullptr);
  MDRData* record = entry.newRecord(isCopy ? MDX_REC_INSERT : MDX_REC_UPDATE);
  if (!record) return true;
  const int count = MDAFldCount(entry.rows().array);
  for (int field = 0; field < count; ++field) {
    if (fill(entry.rows(), record, field)) continue;
    MDARecDel(record);
    return false;
  }
  entry.post(record);
  return true;
}

// A link carries the changed mark, also where it becomes null.
bool PastedRecord::fill(CMDArray& rows, MDRData* record, int field) {
  const QByteArray name = fieldName(rows, field);
  const Role role = roleOf(name);
  MDRVar value{};
  source_.GetVal(from_, name.constData(), value);
  const bool isAggregated = primaryLocId != 0;
  switch (role) {
    case Role::Key:
      value = textVar(key);
      break;
    case Role::Number: {
      if (!isCopy) break;
      const int number = nextNumber();
      if (number == 0) return false;
      value = mdx::int64Var(number);
      break;
    }
    case Role::Primary:
      if (isAggregated) value = mdx::int64Var(primaryLocId);
      break;
    case Role::ArchGroup:
      if (isAggregated) value = textVar(archGroupKey);
      break;
    case Role::UnitLink:
      if (!targetKey.isEmpty()) rows.SetValF(record, field, textVar(targetKey));
      return true;
    case Role::Name:
      setName(rows, record, field, value);
      return true;
    case Role::FolderLink:
      rows.SetValF(record, field, targetKey.isEmpty() ? nullTextVar() : textVar(targetKey));
      return true;
    case Role::Source:
      break;
  }
  if (value.type != MDX_NONE) rows.SetVal(record, field, value);
  return true;
}

void PastedRecord::setName(CMDArray& rows, MDRData* record, int field, const MDRVar& value) {
  if (!rename || !isCopy) {
    if (value.type != MDX_NONE) rows.SetVal(record, field, value);
    return;
  }
  QString name = decodeVar(value, codec_);
  rename(name);
  const QByteArray bytes = codec_->fromUnicode(name);
  rows.SetVal(record, field, textVar(bytes));
}
