#include "MeasRows.h"

#include "RecordAccess.h"

#include <vector>

namespace {

constexpr const char* kKeys[] = {"KeyLink", "RemoteUnitKey", "locId", "primaryLocId"};

void takeFirstRows(CMDArray& held, MDArray* rows) {
  held.code = MDACopy(held.array, rows, 1);
  for (const char* key : kKeys) held.KeyAdd(key, 0);
  while (MDAKeyCount(held.array) > static_cast<int>(std::size(kKeys))) MDAKeyDel(held.array, 0);
}

// A field of the rows that come and the one of the same number here.
struct FieldPair {
  const MDRField* from;
  const MDRField* to;
};

std::vector<FieldPair> fieldPairs(const CMDArray& held, const MDArray* rows) {
  std::vector<FieldPair> pairs;
  for (int i = 0; i < MDAFldCount(rows); ++i) {
    const MDRField* to = MDRFldByNum(held.array, i);
    if (to) pairs.push_back({MDRFldByNum(rows, i), to});
  }
  return pairs;
}

void addRow(CMDArray& held, const MDRData* row, const std::vector<FieldPair>& fields) {
  MDRData* record = MDARecNew(held.array);
  MDRSetFlags(record, MDX_REC_INSERT);
  for (const FieldPair& field : fields) {
    MDRVar value{};
    MDRGetVal(field.from, row, &value);
    MDRSetVal(field.to, record, &value);
  }
  held.RecPost(record);
}

// Calls `each(row, key)` for the rows that have a key.
template <typename Each>
void forKeyedRows(const MDArray* rows, Each each) {
  const MDRField* keyField = MDRFldByNum(rows, 0);
  const int count = MDARecCount(rows);
  for (int i = 0; i < count; ++i) {
    const MDRData* row = MDARec(rows, 0, i);
    MDRVar key{};
    MDRGetVal(keyField, row, &key);
    if (isText(key) && key.text.length > 0) each(row, key);
  }
}

bool holds(const MDRVar& value, const QByteArray& bytes) {
  return QByteArray::fromRawData(value.text.data, static_cast<int>(value.text.length)) == bytes;
}

}  // namespace

void mergeMeasurements(CMDArray& held, MDArray* rows, const MergeRules& rules) {
  if (MDARecCount(held.array) == 0) return takeFirstRows(held, rows);
  const std::vector<FieldPair> fields = fieldPairs(held, rows);
  forKeyedRows(rows, [&](const MDRData* row, const MDRVar& key) {
    if (!rules.except.isEmpty() && holds(key, rules.except)) return;
    if (rules.leaveOutHeld && MDARecSeekV(held.array, 0, &key, nullptr)) return;
    addRow(held, row, fields);
  });
}

void listMeasurements(MDArray* rows, QTextCodec* codec, QStringList* keys) {
  const MDRField* classField = MDRFldByName(rows, "ClassName");
  forKeyedRows(rows, [&](const MDRData* row, const MDRVar& key) {
    MDRVar className{};
    MDRGetVal(classField, row, &className);
    QString text = decodeVar(key, codec);
    if (isText(className) && className.text.length > 0) text += ',' + decodeVar(className, codec);
    keys->append(text);
  });
}
