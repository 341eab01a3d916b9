#include "MeasRows.h"

#include "RecordAccess.h"

#include <TlmMdx/bulk.h>

#include <vector>

namespace {

constexpr const char* kKeys[] = {"KeyLink", "RemoteUnitKey", "locId", "primaryLocId"};

void takeFirstRows(CMDArray& held, MDArray* rows) {
  held.code = MDACopy(held.array, rows, 1);
  for (const char* key : kKeys) held.KeyAdd(key, 0);
  while (MDAKeyCount(held.array) > static_cast<int>(std::size(kKeys))) MDAKeyDel(held.array, 0);
}

// Calls `each(row, key)` for the rows that have a key.
template <typename Each>
void forKeyedRows(const MDArray* rows, Each each) {
  const MDRField* keyField = MDRFldByNum(rows, 0);
  const int count = MDARecCount(rows);
  for (int i = 0; i < count; ++i) {
    MDRData* row = MDARec(rows, 0, i);
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
  std::vector<MDRData*> fresh;
  fresh.reserve(static_cast<size_t>(MDARecCount(rows)));
  forKeyedRows(rows, [&](MDRData* row, const MDRVar& key) {
    if (rules.except.isEmpty() || !holds(key, rules.except)) fresh.push_back(row);
  });
  const auto add = rules.leaveOutHeld ? MDXRecsAddNew : MDXRecsAdd;
  held.code = add(held.array, fresh.data(), static_cast<int>(fresh.size()), MDX_REC_INSERT);
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
