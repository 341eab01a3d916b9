// Every value of every type comes back as it went in.
#include <cmath>
#include <limits>

#include "testing.h"

namespace tlm::test {
namespace {

const Catalogue& typesCatalogue() {
  static const auto catalogue = [] {
    std::string error;
    auto parsed = Catalogue::parse(
        "table Every \"Все\"\n  keys KeyLink\n  field KeyLink GUID \"Ключ\"\n  field flag BOOLEAN \"а\"\n"
        "  field small INTEGER \"б\"\n  field large INT64 \"в\"\n  field single DOUBLE:float \"г\"\n"
        "  field real DOUBLE \"д\"\n  field fixed TEXT:40 \"е\"\n  field memo MEMO \"ж\"\n",
        &error);
    EXPECT_TRUE(parsed) << error;
    return parsed;
  }();
  return *catalogue;
}

enum Column { kFlag = 1, kSmall, kLarge, kSingle, kReal, kFixed, kMemo };

class ValuesTest : public ::testing::Test {
 protected:
  // Stores one row with that value, and reads it from the file again.
  MDRVar through(int column, const MDRVar& value) {
    std::string error;
    Rows rows(typesCatalogue(), "Every");
    MDRData* record = rows.add(keyOf(1));
    EXPECT_EQ(MDRSetVal(MDRFldByNum(rows.array().array, column), record, &value), 0);
    const Folder folder;
    const std::string path = folder.file("values.tlm");
    auto store = createSqliteStore(path, typesCatalogue(), &error);
    Commit commit;
    commit.changes.push_back(rows.change(MDX_REC_INSERT, record));
    EXPECT_TRUE(store->commit(commit, &error)) << error;
    store.reset();
    store = openSqliteStore(path, typesCatalogue(), &error);
    MDAClearAll(read_.array);
    EXPECT_TRUE(store && store->load("Every", read_.array, &error)) << error;
    MDRVar out{};
    read_.GetVal(MDARec(read_.array, 0, 0), column, out);
    return out;
  }
  std::string textThrough(int column, const std::string& text) {
    const MDRVar out = through(column, textVar(text));
    EXPECT_FALSE(out.isNull);
    return {out.text.data, out.text.length};
  }
  void SetUp() override { Catalogue::makeFields(*typesCatalogue().table("Every"), read_.array); }

  CMDArray read_;
};

MDRVar realVar(double number) {
  MDRVar v{};
  v.type = MDX_DOUBLE;
  v.f64 = number;
  return v;
}

TEST_F(ValuesTest, Booleans) {
  for (const int64_t flag : {0, 1}) EXPECT_EQ(through(kFlag, intVar(flag)).flag, flag);
}

TEST_F(ValuesTest, Int32) {
  for (const int64_t number : {INT32_MIN, -1, 0, 1, INT32_MAX})
    EXPECT_EQ(int32_t{through(kSmall, intVar(number)).i32}, number);
}

TEST_F(ValuesTest, Int64) {
  for (const int64_t number : {INT64_MIN, int64_t{-1}, int64_t{0}, int64_t{1} << 53 | 1, INT64_MAX})
    EXPECT_EQ(int64_t{through(kLarge, intVar(number)).i64}, number);
}

TEST_F(ValuesTest, Doubles) {
  for (const double number : {0.1, -1e308, 5e-324, 1e15, 3.0, HUGE_VAL, -HUGE_VAL})
    EXPECT_EQ(double{through(kReal, realVar(number)).f64}, number);
  EXPECT_TRUE(std::isnan(through(kReal, realVar(std::nan(""))).f64));
}

TEST_F(ValuesTest, Floats) {
  for (const float number : {0.1f, -3.4e38f, 1e-45f, 16777217.0f})
    EXPECT_EQ(float{through(kSingle, realVar(static_cast<double>(number))).f32}, number);
}

TEST_F(ValuesTest, NullIsNotZeroAndNotTheEmptyText) {
  for (int column = kFlag; column <= kMemo; ++column) {
    MDRVar null{};
    null.type = MDRFldByNum(read_.array, column)->type;
    null.isNull = 1;
    EXPECT_TRUE(through(column, null).isNull) << column;
  }
  EXPECT_EQ(textThrough(kMemo, ""), "");
  EXPECT_EQ(textThrough(kFixed, ""), "");
  EXPECT_FALSE(through(kSmall, intVar(0)).isNull);
}

TEST_F(ValuesTest, EveryByteOfATextAndOfABlock) {
  std::string all;
  for (int byte = 0; byte < 256; ++byte) all += static_cast<char>(byte);
  EXPECT_EQ(textThrough(kMemo, all), all);
  for (int byte = 1; byte < 256; ++byte) {
    const std::string one(5, static_cast<char>(byte));
    EXPECT_EQ(textThrough(kFixed, one), one) << byte;
  }
}

TEST_F(ValuesTest, TextsAreReadableInTheFile) {
  const Folder folder;
  std::string error;
  auto store = createSqliteStore(folder.file("model.tlm"), smallCatalogue(), &error);
  ASSERT_TRUE(commitThing(*store, 1, "\xCF\xD1 \xD1\xE5\xE2\xE5\xF0\xED\xE0\xFF"));
  store.reset();
  EXPECT_NE(readFile(folder.file("model.tlm")).find("ПС Северная"), std::string::npos);
}

TEST_F(ValuesTest, ALargeBlock) {
  std::string large(3 << 20, 'x');
  for (size_t i = 0; i < large.size(); i += 7) large[i] = static_cast<char>(i);
  EXPECT_EQ(textThrough(kMemo, large), large);
}

}  // namespace
}  // namespace tlm::test
