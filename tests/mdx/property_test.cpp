// Random operations against a plain model: a vector in the order of arrival, sorted stably for each look.

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>

#include "support.h"

using namespace test;

namespace {

constexpr unsigned kSeed = 20240611;

int lowerOf(int c) {
  if ((c >= 'A' && c <= 'Z') || (c >= 0xC0 && c <= 0xDF)) return c + 0x20;
  return c == 0xA8 ? 0xB8 : c;
}

// One value of the model: null, a number or a text.
struct Value {
  bool isNull = true;
  double number = 0;
  std::string text;

  friend bool operator==(const Value&, const Value&) = default;
};

int compareTexts(const std::string& a, const std::string& b, bool ignoreCase) {
  const size_t common = std::min(a.size(), b.size());
  for (size_t i = 0; i < common; ++i) {
    int x = static_cast<unsigned char>(a[i]), y = static_cast<unsigned char>(b[i]);
    if (ignoreCase) x = lowerOf(x), y = lowerOf(y);
    if (x != y) return x < y ? -1 : 1;
  }
  return a.size() < b.size() ? -1 : a.size() > b.size();
}

int compareValues(const Value& a, const Value& b, bool ignoreCase) {
  if (a.isNull || b.isNull) return b.isNull - a.isNull;
  if (a.number != b.number) return a.number < b.number ? -1 : 1;
  return compareTexts(a.text, b.text, ignoreCase);
}

struct Row {
  MDRData* record;
  std::vector<Value> values;
};

struct KeySpec {
  std::vector<int> fields;
  bool ignoreCase = false;
};

const std::vector<Field> kFields = {{"number", MDX_INT64}, {"small", MDX_INT32},     {"real", MDX_DOUBLE},
                                    {"flag", MDX_BOOL},    {"key", MDX_TEXT, 32},    {"name", MDX_TEXT, 60},
                                    {"long", MDX_MEMO},    {"folded", MDX_TEXT, 32}, {"foldedLong", MDX_MEMO},
                                    {"single", MDX_FLOAT}};
const std::vector<KeySpec> kKeys = {{{0}},    {{1}},       {{2}},          {{3}},         {{4}},
                                    {{5}},    {{6}},       {{7}, true},    {{8}, true},   {{9}},
                                    {{4, 0}}, {{3, 6, 1}}, {{1, 8}, true}, {{6, 4}, true}};

std::string expression(const KeySpec& key) {
  std::string text;
  for (const int field : key.fields) text += (text.empty() ? "" : ";") + std::string(kFields[field].name);
  return text;
}

class Model {
 public:
  explicit Model(unsigned seed) : random_(seed) {
    for (const Field& field : kFields) addField(table_.array, field.name, field.type, field.size);
    for (const KeySpec& key : kKeys) {
      MDRKeyDesc description{};
      const std::string text = expression(key);
      std::memcpy(description.expression, text.data(), text.size());
      description.flags = key.ignoreCase ? MDX_KEY_NOCASE : 0;
      EXPECT_GE(MDAKeyAdd(table_.array, 1, &description), 0);
    }
  }

  int pick(int below) { return static_cast<int>(random_() % static_cast<unsigned>(below)); }

  std::string randomText(int limit) {
    static const char letters[] = {'a', 'A', 'b', 'B', '0', '\xC0', '\xE0', '\xA8', '\xB8', '\0', '\xff'};
    std::string text(pick(4) == 0 ? 28 : 0, 'k');
    for (int i = pick(6); i > 0; --i) text += letters[pick(sizeof letters)];
    if (static_cast<int>(text.size()) > limit) text.resize(limit);
    return text;
  }

  Value randomValue(int field) {
    Value value;
    if (pick(8) == 0) return value;
    value.isNull = false;
    const int type = kFields[field].type;
    if (type == MDX_BOOL)
      value.number = pick(2);
    else if (type == MDX_INT64 || type == MDX_INT32)
      value.number = pick(60) - 30;
    else if (type == MDX_DOUBLE || type == MDX_FLOAT)
      value.number = (pick(60) - 30) / 4.0;
    else
      value.text = randomText(kFields[field].size ? kFields[field].size : 64);
    return value;
  }

  static MDRVar var(int field, const Value& value) {
    const int type = kFields[field].type;
    if (value.isNull) return null(type);
    switch (type) {
      case MDX_BOOL:
        return boolean(value.number != 0);
      case MDX_INT32:
        return int32(static_cast<int32_t>(value.number));
      case MDX_INT64:
        return int64(static_cast<int64_t>(value.number));
      case MDX_FLOAT:
        return single(static_cast<float>(value.number));
      case MDX_DOUBLE:
        return real(value.number);
      default:
        return text(value.text, type);
    }
  }

  void add() {
    Row row{MDARecNew(table_.array), {}};
    for (size_t i = 0; i < kFields.size(); ++i) {
      row.values.push_back(randomValue(static_cast<int>(i)));
      table_.SetVal(row.record, static_cast<int>(i), var(static_cast<int>(i), row.values.back()));
    }
    ASSERT_EQ(table_.RecPost(row.record), row.record);
    rows_.push_back(row);
  }
  void change() {
    if (rows_.empty()) return;
    Row& row = rows_[pick(static_cast<int>(rows_.size()))];
    const int field = pick(static_cast<int>(kFields.size()));
    row.values[field] = randomValue(field);
    if (pick(2)) {
      ASSERT_EQ(MDARecEdit(row.record), row.record);
    }
    ASSERT_EQ(MDRSetVal(table_.field(field), row.record, &(last_ = var(field, row.values[field]))), MDX_OK);
    if (pick(2)) {
      ASSERT_EQ(table_.RecPost(row.record), row.record);
    }
  }
  void remove() {
    if (rows_.empty()) return;
    const int at = pick(static_cast<int>(rows_.size()));
    ASSERT_EQ(MDARecDel(rows_[at].record), MDX_OK);
    rows_.erase(rows_.begin() + at);
  }
  void step(int addWeight, int removeWeight) {
    const int choice = pick(addWeight + removeWeight + 4);
    if (choice < addWeight)
      add();
    else if (choice < addWeight + removeWeight)
      remove();
    else
      change();
  }

  int compareRows(const KeySpec& key, const std::vector<Value>& a, const std::vector<Value>& b) const {
    for (const int field : key.fields) {
      if (const int order = compareValues(a[field], b[field], key.ignoreCase)) return order;
    }
    return 0;
  }
  std::vector<const Row*> sorted(const KeySpec& key) const {
    std::vector<const Row*> order;
    for (const Row& row : rows_) order.push_back(&row);
    std::stable_sort(order.begin(), order.end(),
                     [&](const Row* a, const Row* b) { return compareRows(key, a->values, b->values) < 0; });
    return order;
  }

  void checkOrder(int k) const {
    const auto order = sorted(kKeys[k]);
    ASSERT_EQ(MDAKeyRecCount(table_.array, k), static_cast<int>(order.size()));
    for (size_t i = 0; i < order.size(); ++i)
      ASSERT_EQ(MDARec(table_.array, k, static_cast<int>(i)), order[i]->record) << "key " << k << " position " << i;
    ASSERT_EQ(MDARec(table_.array, k, static_cast<int>(order.size())), nullptr);
  }
  void checkSeek(int k, const std::vector<Value>& wanted, const std::vector<const Row*>& order) const {
    std::vector<MDRVar> values;
    for (const int field : kKeys[k].fields) values.push_back(var(field, wanted[field]));
    size_t lower = 0;
    while (lower < order.size() && compareRows(kKeys[k], order[lower]->values, wanted) < 0) ++lower;
    const bool found = lower < order.size() && compareRows(kKeys[k], order[lower]->values, wanted) == 0;
    int position = -1;
    const MDRData* hit = MDARecSeekV(table_.array, k, values.data(), &position);
    ASSERT_EQ(position, static_cast<int>(lower)) << "key " << k;
    ASSERT_EQ(hit, found ? order[lower]->record : nullptr) << "key " << k;
  }
  void checkSeeks(int k, int tries) {
    const auto order = sorted(kKeys[k]);
    for (int i = 0; i < tries; ++i) {
      std::vector<Value> wanted;
      for (size_t f = 0; f < kFields.size(); ++f) wanted.push_back(randomValue(static_cast<int>(f)));
      checkSeek(k, wanted, order);
    }
    for (const Row* row : order) checkSeek(k, row->values, order);
  }
  void checkAll() {
    for (int k = 0; k < static_cast<int>(kKeys.size()); ++k) {
      ASSERT_NO_FATAL_FAILURE(checkOrder(k));
      ASSERT_NO_FATAL_FAILURE(checkSeeks(k, 40));
    }
  }

  Table table_;
  std::vector<Row> rows_;

 private:
  std::mt19937 random_;
  MDRVar last_{};
};

class RandomOperations : public testing::TestWithParam<int> {};

}  // namespace

TEST_P(RandomOperations, KeysStayThoseOfThePlainModel) {
  const unsigned seed = kSeed + static_cast<unsigned>(GetParam());
  SCOPED_TRACE("seed " + std::to_string(seed));
  RecordProperty("seed", static_cast<int>(seed));
  Model model(seed);
  for (const auto& [steps, adds, removes] : {std::array{700, 10, 2}, {500, 3, 12}, {600, 9, 1}, {900, 1, 12}}) {
    for (int i = 0; i < steps; ++i) {
      ASSERT_NO_FATAL_FAILURE(model.step(adds, removes));
      if (i % 151 == 0) {
        ASSERT_NO_FATAL_FAILURE(model.checkOrder(model.pick(static_cast<int>(kKeys.size()))));
      }
    }
    ASSERT_NO_FATAL_FAILURE(model.checkAll());
  }
}

TEST_P(RandomOperations, ABuiltKeyEqualsAGrownOne) {
  const unsigned seed = kSeed + 1000 + static_cast<unsigned>(GetParam());
  SCOPED_TRACE("seed " + std::to_string(seed));
  Model model(seed);
  for (int i = 0; i < 600; ++i) model.step(10, 2);
  for (int k = 0; k < static_cast<int>(kKeys.size()); ++k) ASSERT_EQ(MDARecSort(model.table_.array, k), MDX_OK);
  ASSERT_NO_FATAL_FAILURE(model.checkAll());
  for (int i = 0; i < 600; ++i) model.step(5, 5);
  ASSERT_NO_FATAL_FAILURE(model.checkAll());
}

INSTANTIATE_TEST_SUITE_P(Seeds, RandomOperations, testing::Range(0, 4));

// Deep trees: the same against a map, with more records than three levels of nodes hold.
TEST(DeepKeys, HundredThousandNumbersComeAndGo) {
  Table table({{"number", MDX_INT64}}, {"number"});
  std::map<int64_t, MDRData*> model;
  std::mt19937_64 random(kSeed);
  for (int i = 0; i < 150000; ++i) {
    const auto number = static_cast<int64_t>(random());
    if (MDRData* record = table.add({int64(number)})) model[number] = record;
  }
  const auto matches = [&] {
    int position = 0;
    for (const auto& [number, record] : model) {
      if (MDARec(table.array, 0, position++) != record) return false;
    }
    return position == MDARecCount(table.array);
  };
  ASSERT_TRUE(matches());
  for (auto it = model.begin(); it != model.end();) {
    if (random() % 16) {
      ASSERT_EQ(MDARecDel(it->second), MDX_OK);
      it = model.erase(it);
    } else {
      ++it;
    }
  }
  ASSERT_TRUE(matches());
  while (!model.empty()) {
    ASSERT_EQ(MDARecDel(model.rbegin()->second), MDX_OK);
    model.erase(std::prev(model.end()));
  }
  EXPECT_EQ(MDARecCount(table.array), 0);
  EXPECT_EQ(MDARec(table.array, 0, 0), nullptr);
}

TEST(DeepKeys, InnerNodesSplitWhereverRecordsArrive) {
  // Blocks that fill from the back, each in ascending order: splits at every place of the inner nodes.
  Table table({{"number", MDX_INT64}}, {"number"});
  std::vector<MDRData*> model(40000);
  for (int block = 399; block >= 0; --block) {
    for (int i = 0; i < 100; ++i) {
      const int number = (block * 7 % 400) * 100 + i;
      model[static_cast<size_t>(number)] = table.add({int64(number)});
    }
  }
  for (int i = 0; i < 40000; ++i) ASSERT_EQ(MDARec(table.array, 0, i), model[static_cast<size_t>(i)]);
}

TEST(DeepKeys, ManyEqualKeysKeepTheOrderOfArrival) {
  constexpr int kCount = 200000;
  Table table({{"same", MDX_INT32}, {"arrival", MDX_INT32}}, {"same"});
  std::vector<MDRData*> model;
  for (int i = 0; i < kCount; ++i) model.push_back(table.add({int32(7), int32(i)}));
  for (int i = kCount - 1; i >= 0; i -= 3) {
    MDARecDel(model[static_cast<size_t>(i)]);
    model.erase(model.begin() + i);
    if (i % 1000) continue;
    ASSERT_EQ(MDARec(table.array, 0, i), i < static_cast<int>(model.size()) ? model[static_cast<size_t>(i)] : nullptr);
  }
  for (size_t i = 0; i < model.size(); ++i) ASSERT_EQ(MDARec(table.array, 0, static_cast<int>(i)), model[i]);
  int position = -1;
  const MDRVar seven = int32(7);
  EXPECT_EQ(MDARecSeekV(table.array, 0, &seven, &position), model.front());
  EXPECT_EQ(position, 0);
}
