// keys.bulk: tables of 1000 rows on their way: packed, unpacked, copied, keyed. The goal is in rows a second.

#include <bench/bench.h>

#include "rows.h"

namespace tlm::bench {
namespace {

constexpr size_t kRows = 1000;
constexpr int kRounds = 7, kRepeat = 200;
constexpr double kGoal = 1e6;

template <class Work>
double rowsPerSecond(Work work) {
  std::vector<double> rates;
  for (int round = 0; round < kRounds; ++round) {
    const double time = seconds([&] {
      for (int i = 0; i < kRepeat; ++i) work();
    });
    rates.push_back(static_cast<double>(kRows) * kRepeat / time);
  }
  return median(rates);
}

}  // namespace

std::vector<Result> bulkBench() {
  CMDArray plain, keyed;
  addColumns(plain.array);
  addColumns(keyed.array);
  addKeys(keyed);
  for (const RowKeys& row : makeRows(kRows, 5)) {
    addRow(plain, row);
    addRow(keyed, row);
  }
  void* bytes = nullptr;
  uint32_t length = 0;
  MDXArrayPack(keyed.array, &bytes, &length);
  const auto goal = [](const char* name, double rate) { return atLeast(name, rate, kGoal, "rows/s", 1.0); };
  std::vector<Result> results;
  results.push_back(goal("keys.bulk.pack", rowsPerSecond([&] {
                           void* packed = nullptr;
                           uint32_t size = 0;
                           MDXArrayPack(keyed.array, &packed, &size);
                           MDXFree(packed);
                         })));
  results.push_back(goal("keys.bulk.unpack", rowsPerSecond([&] {
                           CMDArray target;
                           MDXArrayUnPackN(target.array, bytes, length, 1);
                         })));
  results.push_back(goal("keys.bulk.copy", rowsPerSecond([&] {
                           CMDArray target;
                           MDACopy(target.array, keyed.array, 3);
                         })));
  results.push_back(goal("keys.bulk.key4", rowsPerSecond([&] {
                           addKeys(plain);
                           while (MDAKeyCount(plain.array) > 1) MDAKeyDel(plain.array, 1);
                         })));
  MDXFree(bytes);
  return results;
}

}  // namespace tlm::bench
