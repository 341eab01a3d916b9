// Foreign bytes: random ones, and good ones with a few bytes changed. Nothing may crash or grow without bound.

#include <gtest/gtest.h>

#include <functional>
#include <random>

#include "support.h"

using namespace test;

namespace {

constexpr unsigned kSeed = 77015;
using Bytes = std::vector<unsigned char>;

void readTable(const Bytes& bytes) {
  Table table;
  if (MDXArrayUnPackN(table.array, bytes.data(), bytes.size(), 1) != MDX_OK) {
    ASSERT_EQ(MDAFldCount(table.array), 0);
    ASSERT_EQ(MDARecCount(table.array), 0);
    return;
  }
  for (int key = 0; key < MDAKeyCount(table.array); ++key) {
    ASSERT_EQ(MDAKeyRecCount(table.array, key), MDARecCount(table.array));
    for (int i = 0; i < MDARecCount(table.array); ++i) ASSERT_NE(MDARec(table.array, key, i), nullptr);
  }
  for (int i = 0; i < MDARecCount(table.array); ++i) {
    for (int f = 0; f < MDAFldCount(table.array); ++f) {
      const MDRVar value = table.value(MDARec(table.array, 0, i), f);
      if (!value.isNull && (value.type == MDX_TEXT || value.type == MDX_MEMO)) {
        ASSERT_EQ(value.text.data[value.text.length], '\0');
      }
    }
  }
  // What was read can be changed, copied and packed.
  ASSERT_FALSE(packed(table.array).empty());
  while (MDARecCount(table.array)) ASSERT_EQ(MDARecDel(MDARec(table.array, 0, 0)), MDX_OK);
}

void readRecord(const Bytes& bytes) {
  MDRType type;
  MDRData record;
  MDRTypInit(&type);
  MDRRecInit(&record);
  MDRRecSet(&record, bytes.data(), static_cast<uint32_t>(bytes.size()));
  if (MDRTypGen(&type, "any", &record) != MDX_OK) {
    ASSERT_EQ(type.fieldCount, 0);
  }
  for (int i = 0; i < type.fieldCount; ++i) {
    MDRVar value{};
    ASSERT_EQ(MDRGetVal(type.fields + i, &record, &value), MDX_OK);
    if (!value.isNull && (value.type == MDX_TEXT || value.type == MDX_MEMO)) {
      ASSERT_EQ(value.text.data[value.text.length], '\0');
    }
  }
  MDRTypFree(&type);
  Table table;
  const int code = MDXRecUnPackN(table.array, bytes.data(), bytes.size());
  ASSERT_EQ(MDARecCount(table.array), code == MDX_OK ? 1 : 0);
}

void readScriptValue(const Bytes& bytes) {
  CVar var;
  CVarInit(&var, 1);
  if (CVarFromBuffN(&var, bytes.data(), bytes.size()) != MDX_OK) {
    ASSERT_EQ(var.type, CVAR_NULL);
  }
  CVarClear(&var, 1);
}

Bytes goodTable() {
  Table table({{"a", MDX_INT32}, {"k", MDX_TEXT, 32}, {"m", MDX_MEMO}, {"b", MDX_BOOL}, {"d", MDX_DOUBLE}},
              {"a", "k", "m;k"});
  for (int i = 0; i < 12; ++i)
    table.add({int32(i), text("key"), text(std::string(static_cast<size_t>(i), 'x')), boolean(true), real(i)});
  return packed(table.array);
}

Bytes goodRecord() {
  Table table({{"a", MDX_INT32}, {"k", MDX_TEXT, 32}, {"m", MDX_MEMO}, {"b", MDX_BOOL}});
  MDRData* record = table.add({int32(1), text("key"), text("some text"), boolean(true)});
  MDRRecPack(table.array, record, 1, 1);
  return Bytes(record->packed, record->packed + record->packedLength);
}

Bytes goodScriptValue() {
  CVar var;
  CVarInit(&var, 1);
  CVarSetArr(&var, 4);
  CVarSetInt(&var.items[0], 5);
  CVarSetStr(&var.items[1], "text", 4);
  CVarSetArr(&var.items[2], 2);
  MDArray* table = nullptr;
  MDACreate(&table, 0);
  addField(table, "a", MDX_INT32);
  CVarSetTable(&var.items[3], table);
  void* bytes = nullptr;
  uint32_t length = 0;
  CVarToBuff(&var, &bytes, &length);
  const auto* first = static_cast<unsigned char*>(bytes);
  Bytes result(first, first + length);
  MDXFree(bytes);
  CVarClear(&var, 1);
  return result;
}

struct Reader {
  const char* name;
  char letter;
  void (*read)(const Bytes&);
  Bytes (*good)();
};
const Reader kReaders[] = {{"Table", 'A', readTable, goodTable},
                           {"Record", 'R', readRecord, goodRecord},
                           {"ScriptValue", 'V', readScriptValue, goodScriptValue}};

class ForeignBytes : public testing::TestWithParam<Reader> {
 protected:
  std::mt19937 random{kSeed};
  int pick(size_t below) { return static_cast<int>(random() % below); }
};

}  // namespace

TEST_P(ForeignBytes, RandomOnes) {
  for (int round = 0; round < 5000; ++round) {
    Bytes bytes(static_cast<size_t>(pick(200)) + 1);
    for (auto& byte : bytes) byte = static_cast<unsigned char>(pick(256));
    ASSERT_NO_FATAL_FAILURE(GetParam().read(bytes)) << "seed " << kSeed << " round " << round;
  }
}

TEST_P(ForeignBytes, RandomOnesBehindAGoodHead) {
  for (int round = 0; round < 20000; ++round) {
    Bytes bytes(static_cast<size_t>(pick(300)) + 20);
    for (auto& byte : bytes) byte = static_cast<unsigned char>(pick(4) ? pick(12) : pick(256));
    bytes[0] = 'M';
    bytes[1] = static_cast<unsigned char>(GetParam().letter);
    bytes[2] = 1;
    const auto length = static_cast<uint32_t>(bytes.size());
    std::memcpy(bytes.data() + 4, &length, 4);
    ASSERT_NO_FATAL_FAILURE(GetParam().read(bytes)) << "seed " << kSeed << " round " << round;
  }
}

TEST_P(ForeignBytes, GoodOnesWithBytesChanged) {
  const Bytes good = GetParam().good();
  ASSERT_FALSE(good.empty());
  for (int round = 0; round < 30000; ++round) {
    Bytes bytes = good;
    for (int changes = 1 + pick(4); changes > 0; --changes) {
      auto& byte = bytes[8 + static_cast<size_t>(pick(bytes.size() - 8))];
      byte = pick(3) ? static_cast<unsigned char>(pick(256)) : static_cast<unsigned char>(byte ^ (1 << pick(8)));
    }
    ASSERT_NO_FATAL_FAILURE(GetParam().read(bytes)) << "seed " << kSeed << " round " << round;
  }
}

TEST_P(ForeignBytes, EveryByteSetToTheLargest) {
  const Bytes good = GetParam().good();
  for (size_t at = 0; at + 4 <= good.size(); ++at) {
    for (const size_t width : {1u, 2u, 4u}) {
      Bytes bytes = good;
      std::fill_n(bytes.begin() + static_cast<std::ptrdiff_t>(at), width, 0xff);
      ASSERT_NO_FATAL_FAILURE(GetParam().read(bytes)) << "at " << at;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Readers, ForeignBytes, testing::ValuesIn(kReaders),
                         [](const auto& reader) { return reader.param.name; });
