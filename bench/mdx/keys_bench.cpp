// keys.seek, keys.rank: one key of a table of 1 000 000 records against a ranked index with the key inline.

#include <bench/bench.h>

#include <boost/multi_index/identity.hpp>
#include <boost/multi_index/member.hpp>
#include <boost/multi_index/ranked_index.hpp>
#include <boost/multi_index_container.hpp>

#include "rows.h"

namespace tlm::bench {

std::vector<Result> appendBench();
std::vector<Result> bulkBench();

namespace {

namespace mi = boost::multi_index;

constexpr size_t kRecords = 1000000;
constexpr size_t kQueries = 300000;
constexpr int kRounds = 5;

struct TextLess {
  bool operator()(const KeyText& a, const KeyText& b) const { return std::memcmp(a.data(), b.data(), 32) < 0; }
};

template <class Key>
struct Node {
  Key key;
  const void* record;
};

template <class Key, class Less>
using Ranked =
    mi::multi_index_container<Node<Key>,
                              mi::indexed_by<mi::ranked_non_unique<mi::member<Node<Key>, Key, &Node<Key>::key>, Less>>>;

MDRVar valueOf(int64_t key) { return intValue(key); }
MDRVar valueOf(const KeyText& key) { return textValue(key); }

template <class Key, class Less>
class Pair {
 public:
  Pair(const std::vector<Key>& keys, int type, int size) : keys_(keys) {
    addField(table_.array, "key", type, size);
    table_.KeyAdd("key", 0);
    for (const Key& key : keys) {
      MDRData* record = MDARecNew(table_.array);
      table_.SetVal(record, 0, valueOf(key));
      table_.RecPost(record);
      ranked_.insert({key, record});
    }
    std::mt19937_64 random(7);
    for (size_t i = 0; i < kQueries; ++i) picks_.push_back(static_cast<size_t>(random() % keys.size()));
  }

  Result seek(const char* name) {
    const auto ours = [&] {
      return each([&](size_t pick) {
        const MDRVar value = valueOf(keys_[pick]);
        int position;
        keep(MDARecSeekV(table_.array, 0, &value, &position));
      });
    };
    const auto baseline = [&] { return each([&](size_t pick) { keep(ranked_.find(keys_[pick])->record); }); };
    const auto [a, b] = inTurn(kRounds, ours, baseline);
    return atMost(name, a, b, "ns", 1.0 / 3);
  }
  Result rank(const char* name) {
    const auto ours = [&] { return each([&](size_t pick) { keep(MDARec(table_.array, 0, static_cast<int>(pick))); }); };
    const auto baseline = [&] { return each([&](size_t pick) { keep(ranked_.nth(pick)->record); }); };
    const auto [a, b] = inTurn(kRounds, ours, baseline);
    return atMost(name, a, b, "ns", 1.0 / 5);
  }

 private:
  template <class Work>
  double each(Work work) const {
    return seconds([&] {
             for (const size_t pick : picks_) work(pick);
           }) *
           1e9 / static_cast<double>(kQueries);
  }

  const std::vector<Key>& keys_;
  CMDArray table_;
  Ranked<Key, Less> ranked_;
  std::vector<size_t> picks_;
};

std::vector<int64_t> numbers() {
  std::vector<int64_t> keys(kRecords);
  for (size_t i = 0; i < kRecords; ++i) keys[i] = static_cast<int64_t>(i) * 3;
  std::shuffle(keys.begin(), keys.end(), std::mt19937_64(1));
  return keys;
}

std::vector<KeyText> texts() {
  std::mt19937_64 random(2);
  std::vector<KeyText> keys(kRecords);
  for (KeyText& key : keys) key = randomKey(random);
  return keys;
}

template <class Measure>
std::vector<Result> bothKeys(Measure measure) {
  std::vector<Result> results;
  {
    const auto keys = numbers();
    Pair<int64_t, std::less<int64_t>> pair(keys, MDX_INT64, 0);
    results.push_back(measure(pair, "int"));
  }
  const auto keys = texts();
  Pair<KeyText, TextLess> pair(keys, MDX_TEXT, 32);
  results.push_back(measure(pair, "text32"));
  return results;
}

}  // namespace

void addMdxBenches(Registry& registry) {
  registry.add("keys.seek", [] {
    return bothKeys([](auto& pair, const char* kind) { return pair.seek((std::string("keys.seek.") + kind).c_str()); });
  });
  registry.add("keys.rank", [] {
    return bothKeys([](auto& pair, const char* kind) { return pair.rank((std::string("keys.rank.") + kind).c_str()); });
  });
  registry.add("keys.append", appendBench);
  registry.add("keys.bulk", bulkBench);
}

}  // namespace tlm::bench
