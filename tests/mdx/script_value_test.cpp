// Script values.

#include <gtest/gtest.h>

#include "support.h"

using namespace test;

namespace {

class ScriptValue : public testing::Test {
 protected:
  ScriptValue() {
    CVarInit(&var, 1);
    CVarInit(&read, 1);
  }
  ~ScriptValue() override {
    CVarClear(&var, 1);
    CVarClear(&read, 1);
  }
  // Packs `var` and reads it back into `read`.
  void trip() {
    void* bytes = nullptr;
    uint32_t length = 0;
    ASSERT_EQ(CVarToBuff(&var, &bytes, &length), MDX_OK);
    buffer.assign(static_cast<char*>(bytes), static_cast<char*>(bytes) + length);
    MDXFree(bytes);
    ASSERT_EQ(CVarFromBuffN(&read, buffer.data(), buffer.size()), MDX_OK);
  }
  CVar var, read;
  std::vector<char> buffer;
};

}  // namespace

TEST_F(ScriptValue, StartsAsNull) {
  CVar many[3];
  CVarInit(many, 3);
  for (const CVar& one : many) EXPECT_EQ(one.type, CVAR_NULL);
  CVarClear(many, 3);
  CVarInit(nullptr, 3);
  CVarClear(nullptr, 3);
}

TEST_F(ScriptValue, HoldsANumber) {
  EXPECT_EQ(CVarSetInt(&var, INT64_MIN), MDX_OK);
  trip();
  EXPECT_EQ(read.type, CVAR_INT);
  EXPECT_EQ(+read.i64, INT64_MIN);
  EXPECT_EQ(CVarSetDouble(&var, 0.25), MDX_OK);
  trip();
  EXPECT_EQ(read.type, CVAR_DOUBLE);
  EXPECT_EQ(+read.f64, 0.25);
}

TEST_F(ScriptValue, HoldsACopyOfAText) {
  char source[] = "abc\0def";
  EXPECT_EQ(CVarSetStr(&var, source, 7), MDX_OK);
  source[0] = 'X';
  EXPECT_EQ(var.type, CVAR_TEXT);
  EXPECT_EQ(var.length, 7u);
  EXPECT_EQ(std::string(var.text, 8), std::string("abc\0def\0", 8));
  trip();
  EXPECT_EQ(read.length, 7u);
  EXPECT_EQ(std::string(read.text, 8), std::string("abc\0def\0", 8));
  EXPECT_EQ(CVarSetStr(&var, var.text, 2), MDX_OK);
  EXPECT_STREQ(var.text, "ab");
  EXPECT_EQ(CVarSetStr(&var, nullptr, 0), MDX_OK);
  EXPECT_STREQ(var.text, "");
}

TEST_F(ScriptValue, HoldsAnArrayOfAnything) {
  EXPECT_EQ(CVarSetArr(&var, 3), MDX_OK);
  EXPECT_EQ(var.type, CVAR_ARRAY);
  EXPECT_EQ(var.length, 3u);
  CVarSetInt(&var.items[0], 7);
  CVarSetArr(&var.items[1], 1);
  CVarSetStr(&var.items[1].items[0], "deep", 4);
  trip();
  ASSERT_EQ(read.type, CVAR_ARRAY);
  ASSERT_EQ(read.length, 3u);
  EXPECT_EQ(read.items[0].i64, 7);
  EXPECT_STREQ(read.items[1].items[0].text, "deep");
  EXPECT_EQ(read.items[2].type, CVAR_NULL);
  EXPECT_EQ(CVarSetArr(&var, 0), MDX_OK);
  trip();
  EXPECT_EQ(read.type, CVAR_ARRAY);
  EXPECT_EQ(read.length, 0u);
}

TEST_F(ScriptValue, HoldsATableInACell) {
  MDArray* array = nullptr;
  MDACreate(&array, 0);
  addField(array, "locId", MDX_INT64);
  MDRData* record = MDARecNew(array);
  const MDRVar number = int64(12);
  MDRSetVal(MDRFldByNum(array, 0), record, &number);
  MDARecPost(record, nullptr);
  EXPECT_EQ(CVarSetTable(&var, array), MDX_OK);
  ASSERT_EQ(var.type, CVAR_TABLE);
  EXPECT_EQ(*var.table, array);
  trip();
  ASSERT_EQ(read.type, CVAR_TABLE);
  ASSERT_NE(*read.table, nullptr);
  EXPECT_EQ(MDARecCount(*read.table), 1);
  int32_t value = 0;
  EXPECT_EQ(MDRGetAsInt32(MDRFldByName(*read.table, "locid"), MDARec(*read.table, 0, 0), &value), MDX_OK);
  EXPECT_EQ(value, 12);
}

TEST_F(ScriptValue, SettingReleasesWhatWasThere) {
  MDArray* array = nullptr;
  MDACreate(&array, 0);
  EXPECT_EQ(CVarSetTable(&var, array), MDX_OK);
  EXPECT_EQ(CVarSetTable(&var, array), MDX_OK);  // the same table stays
  EXPECT_EQ(*var.table, array);
  CVarSetArr(&var, 2);
  CVarSetStr(&var.items[0], "x", 1);
  CVarSetInt(&var, 1);
  CVarSetStr(&var, "y", 1);
  CVarSetDouble(&var, 1);
  EXPECT_EQ(var.type, CVAR_DOUBLE);
}

TEST_F(ScriptValue, ClearedOnesAreNullAgain) {
  CVarSetStr(&var, "text", 4);
  CVarClear(&var, 1);
  EXPECT_EQ(var.type, CVAR_NULL);
  CVarClear(&var, 1);
  trip();
  EXPECT_EQ(read.type, CVAR_NULL);
}

TEST_F(ScriptValue, ArgumentsAreChecked) {
  EXPECT_EQ(CVarSetInt(nullptr, 1), MDX_E_ARG);
  EXPECT_EQ(CVarSetDouble(nullptr, 1), MDX_E_ARG);
  EXPECT_EQ(CVarSetStr(nullptr, "x", 1), MDX_E_ARG);
  EXPECT_EQ(CVarSetStr(&var, nullptr, 1), MDX_E_ARG);
  EXPECT_EQ(CVarSetStr(&var, "x", -1), MDX_E_ARG);
  EXPECT_EQ(CVarSetArr(nullptr, 1), MDX_E_ARG);
  EXPECT_EQ(CVarSetArr(&var, -1), MDX_E_ARG);
  EXPECT_EQ(CVarSetTable(nullptr, nullptr), MDX_E_ARG);
  EXPECT_EQ(CVarSetTable(&var, nullptr), MDX_E_ARG);
  void* bytes = nullptr;
  uint32_t length = 0;
  EXPECT_EQ(CVarToBuff(nullptr, &bytes, &length), MDX_E_ARG);
  EXPECT_EQ(CVarToBuff(&var, nullptr, &length), MDX_E_ARG);
  EXPECT_EQ(CVarToBuff(&var, &bytes, nullptr), MDX_E_ARG);
  EXPECT_EQ(CVarFromBuff(nullptr, "x"), MDX_E_ARG);
  EXPECT_EQ(CVarFromBuff(&var, nullptr), MDX_E_ARG);
}

TEST_F(ScriptValue, FailuresLeaveNull) {
  CVarSetArr(&var, 2);
  CVarSetStr(&var.items[0], "some text", 9);
  trip();
  for (size_t length = 0; length < buffer.size(); ++length) {
    const std::vector<char> cut(buffer.begin(), buffer.begin() + static_cast<std::ptrdiff_t>(length));
    CVarSetInt(&read, 5);
    ASSERT_NE(CVarFromBuffN(&read, cut.data(), cut.size()), MDX_OK);
    ASSERT_EQ(read.type, CVAR_NULL);
  }
  EXPECT_EQ(CVarFromBuff(&read, buffer.data()), MDX_OK);
  buffer[2] = 9;
  EXPECT_EQ(CVarFromBuff(&read, buffer.data()), MDX_E_VERSION);
  EXPECT_EQ(CVarFromBuff(&read, ""), MDX_E_FORMAT);
}

TEST_F(ScriptValue, DepthIsBounded) {
  CVar* inner = &var;
  for (int i = 0; i < 100; ++i) {
    CVarSetArr(inner, 1);
    inner = inner->items;
  }
  void* bytes = nullptr;
  uint32_t length = 0;
  EXPECT_EQ(CVarToBuff(&var, &bytes, &length), MDX_E_SIZE);
  EXPECT_EQ(bytes, nullptr);
  // The same as bytes: 100 arrays of one array each.
  std::vector<unsigned char> deep = {'M', 'V', 1, 0, 0, 0, 0, 0};
  for (int i = 0; i < 100; ++i) deep.insert(deep.end(), {CVAR_ARRAY, 1, 0, 0, 0});
  deep.push_back(CVAR_NULL);
  const auto all = static_cast<uint32_t>(deep.size());
  std::memcpy(deep.data() + 4, &all, 4);
  EXPECT_EQ(CVarFromBuffN(&read, deep.data(), deep.size()), MDX_E_FORMAT);
}
