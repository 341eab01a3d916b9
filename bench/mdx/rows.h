// The rows of the benches: measurements as the module holds them.
#ifndef TLM_BENCH_MDX_ROWS_H
#define TLM_BENCH_MDX_ROWS_H

#include <TlmMdx/CMDArray.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

namespace tlm::bench {

using KeyText = std::array<char, 32>;

struct RowKeys {
  KeyText keyLink;
  KeyText unit;
  int64_t locId;
  int64_t primaryLocId;
};

inline KeyText randomKey(std::mt19937_64& random) {
  static const char digits[] = "0123456789ABCDEF";
  KeyText key;
  for (int half = 0; half < 2; ++half) {
    uint64_t bits = random();
    for (int i = 0; i < 16; ++i, bits >>= 4) key[static_cast<size_t>(half * 16 + i)] = digits[bits & 15];
  }
  return key;
}

// Units of a hundred measurements, one after another; numbers mostly ascend.
inline std::vector<RowKeys> makeRows(size_t count, unsigned seed) {
  std::mt19937_64 random(seed);
  std::vector<RowKeys> rows(count);
  KeyText unit{};
  for (size_t i = 0; i < count; ++i) {
    if (i % 100 == 0) unit = randomKey(random);
    rows[i] = {randomKey(random), unit, static_cast<int64_t>(i), static_cast<int64_t>(random() % (count + 1))};
  }
  return rows;
}

inline MDRVar textValue(const char* bytes, size_t length) {
  MDRVar value{};
  value.type = MDX_TEXT;
  value.text.length = static_cast<uint32_t>(length);
  value.text.data = bytes;
  return value;
}
inline MDRVar textValue(const KeyText& key) { return textValue(key.data(), key.size()); }
inline MDRVar intValue(int64_t number) {
  MDRVar value{};
  value.type = MDX_INT64;
  value.i64 = number;
  return value;
}

inline void addField(MDArray* array, const char* name, int type, int size) {
  MDRFldDesc description{};
  std::strcpy(description.name, name);
  description.type = static_cast<uint8_t>(type);
  description.size = static_cast<uint8_t>(size);
  MDAFldAdd(array, 1, &description);
}

// A table of all ten columns of a measurement; the keys are added by the caller.
inline void addColumns(MDArray* array) {
  addField(array, "KeyLink", MDX_TEXT, 32);
  addField(array, "ClassName", MDX_MEMO, 0);
  addField(array, "name_", MDX_MEMO, 0);
  addField(array, "locId", MDX_INT64, 0);
  addField(array, "work_", MDX_BOOL, 0);
  addField(array, "MeasurementCategoryKey", MDX_TEXT, 32);
  addField(array, "RemoteUnitKey", MDX_TEXT, 32);
  addField(array, "MeasurementArchGroupKey", MDX_TEXT, 32);
  addField(array, "primaryLocId", MDX_INT64, 0);
  addField(array, "CheckTu", MDX_BOOL, 0);
}

inline void addKeys(CMDArray& table) {
  for (const char* key : {"KeyLink", "RemoteUnitKey", "locId", "primaryLocId"}) table.KeyAdd(key, 0);
}

inline void addRow(CMDArray& table, const RowKeys& row) {
  MDRData* record = MDARecNew(table.array);
  MDRVar flag{};
  flag.type = MDX_BOOL;
  flag.flag = 1;
  table.SetVal(record, 0, textValue(row.keyLink));
  table.SetVal(record, 1, textValue("Discrete", 8));
  table.SetVal(record, 2, textValue("\xCD\xE0\xEF\xF0\xFF\xE6\xE5\xED\xE8\xE5 \xD8-110 \xEA\xC2 \xD2-1 \xF4. A", 25));
  table.SetVal(record, 3, intValue(row.locId));
  table.SetVal(record, 4, flag);
  table.SetVal(record, 5, textValue(row.unit));
  table.SetVal(record, 6, textValue(row.unit));
  table.SetVal(record, 7, textValue(row.unit));
  table.SetVal(record, 8, intValue(row.primaryLocId));
  table.SetVal(record, 9, flag);
  table.RecPost(record);
}

}  // namespace tlm::bench

#endif
