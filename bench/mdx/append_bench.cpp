// keys.append: a row more in a table with the four keys of the measurements, and what a row takes.

#include <bench/bench.h>

#include <boost/multi_index/member.hpp>
#include <boost/multi_index/ranked_index.hpp>
#include <boost/multi_index_container.hpp>

#include "rows.h"

namespace tlm::bench {
namespace {

namespace mi = boost::multi_index;

constexpr size_t kLarge = 1000000, kSmall = 10000;
constexpr size_t kMany = 20000, kFew = 2500;  // appended at a time
constexpr int kRounds = 7;

struct TextLess {
  bool operator()(const KeyText& a, const KeyText& b) const { return std::memcmp(a.data(), b.data(), 32) < 0; }
};
template <auto Member, class Key, class Less>
using Index = mi::ranked_non_unique<mi::member<RowKeys, Key, Member>, Less>;
using FourKeys = mi::multi_index_container<
    RowKeys, mi::indexed_by<Index<&RowKeys::keyLink, KeyText, TextLess>, Index<&RowKeys::unit, KeyText, TextLess>,
                            Index<&RowKeys::locId, int64_t, std::less<int64_t>>,
                            Index<&RowKeys::primaryLocId, int64_t, std::less<int64_t>>>>;

// Appends `count` rows from `from` on; nanoseconds for each.
template <class Append>
double append(const std::vector<RowKeys>& rows, size_t from, size_t count, Append add) {
  return seconds([&] {
           for (size_t i = from; i < from + count; ++i) add(rows[i]);
         }) *
         1e9 / static_cast<double>(count);
}

double appendToSmall(const std::vector<RowKeys>& rows, size_t from) {
  CMDArray table;
  addColumns(table.array);
  addKeys(table);
  const auto add = [&](const RowKeys& row) { addRow(table, row); };
  append(rows, from, kSmall, add);
  return append(rows, from + kSmall, kFew, add);
}

}  // namespace

std::vector<Result> appendBench() {
  const auto rows = makeRows(kLarge + kRounds * kMany, 3);
  CMDArray table;
  addColumns(table.array);
  addKeys(table);
  FourKeys ranked;
  for (size_t i = 0; i < kLarge; ++i) {
    addRow(table, rows[i]);
    ranked.insert(rows[i]);
  }
  const double bytes = static_cast<double>(MDAMemory(table.array)) / kLarge;
  std::vector<double> ours, baseline, small;
  for (int round = 0; round < kRounds; ++round) {
    const size_t from = kLarge + static_cast<size_t>(round) * kMany;
    ours.push_back(append(rows, from, kMany, [&](const RowKeys& row) { addRow(table, row); }));
    baseline.push_back(append(rows, from, kMany, [&](const RowKeys& row) { ranked.insert(row); }));
    small.push_back(appendToSmall(rows, static_cast<size_t>(round) * kMany));
  }
  const double large = median(ours);
  return {atMost("keys.append", large, median(baseline), "ns", 1.0),
          atLeast("keys.append.rate", 1e9 / large, 500000, "records/s", 1.0),
          atMost("keys.append.growth", large, median(small), "ns", 1.5),
          atMost("keys.append.memory", bytes, 430, "bytes", 1.0)};
}

}  // namespace tlm::bench
