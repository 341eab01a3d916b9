// Packed records, and records bound to an image.

#include <gtest/gtest.h>

#include <memory>

#include "support.h"

using namespace test;

namespace {

class Image : public testing::Test {
 protected:
  Image() {
    record = table.add({text(std::string(32, 'k')), int64(1LL << 40), null(), text("a name"), boolean(true),
                        single(0.5f), real(2.5), text("")});
    MDRSetFlags(record, MDX_REC_UPDATE);
    MDRSetUser(table.field(1), record, 1);
    MDRSetUser(table.field(2), record, 1);
    MDRTypInit(&type);
    MDRRecInit(&bound);
  }
  ~Image() override { MDRTypFree(&type); }

  void pack(int withType = 1, int withMarks = 1) {
    ASSERT_EQ(MDRRecPack(table.array, record, withType, withMarks), MDX_OK);
    image.assign(record->packed, record->packed + record->packedLength);
  }
  int bind() {
    MDRRecSet(&bound, image.data(), static_cast<uint32_t>(image.size()));
    return MDRTypGen(&type, "NCI", &bound);
  }
  std::string boundText(int field) const {
    MDRVar value{};
    MDRGetVal(MDRTypFldByNum(&type, field), &bound, &value);
    return value.isNull ? "<null>" : std::string(value.text.data, value.text.length);
  }

  Table table{{{"KeyLink", MDX_TEXT, 32},
               {"locId", MDX_INT64},
               {"empty", MDX_MEMO},
               {"name_", MDX_MEMO},
               {"flag", MDX_BOOL},
               {"f", MDX_FLOAT},
               {"d", MDX_DOUBLE},
               {"t", MDX_TEXT, 8}},
              {"KeyLink"}};
  MDRData* record = nullptr;
  std::vector<unsigned char> image;
  MDRType type;
  MDRData bound;
};

}  // namespace

TEST_F(Image, TheTypeSaysWhatTheRecordHolds) {
  pack();
  ASSERT_EQ(bind(), MDX_OK);
  EXPECT_EQ(type.fieldCount, 8);
  EXPECT_STREQ(type.name, "NCI");
  for (int i = 0; i < 8; ++i) {
    EXPECT_STREQ(type.fields[i].name, table.field(i)->name);
    EXPECT_EQ(type.fields[i].type, table.field(i)->type);
    EXPECT_EQ(type.fields[i].number, i);
    EXPECT_EQ(type.fields[i].size, table.field(i)->size);
  }
  EXPECT_EQ(MDRTypFldByName(&type, "LOCID"), type.fields + 1);
  EXPECT_EQ(MDRTypFldByName(&type, "none"), nullptr);
  EXPECT_EQ(MDRTypFldByName(&type, nullptr), nullptr);
  EXPECT_EQ(MDRTypFldByNum(&type, 8), nullptr);
  EXPECT_EQ(MDRTypFldByNum(&type, -1), nullptr);
  EXPECT_EQ(MDRTypFldByNum(nullptr, 0), nullptr);
}

TEST_F(Image, ValuesNullsAndMarksAreRead) {
  pack();
  ASSERT_EQ(bind(), MDX_OK);
  EXPECT_EQ(boundText(0), std::string(32, 'k'));
  EXPECT_EQ(boundText(2), "<null>");
  EXPECT_EQ(boundText(3), "a name");
  EXPECT_EQ(boundText(7), "");
  MDRVar value{};
  EXPECT_EQ(MDRGetVal(type.fields + 1, &bound, &value), MDX_OK);
  EXPECT_EQ(+value.i64, 1LL << 40);
  MDRGetVal(type.fields + 4, &bound, &value);
  EXPECT_EQ(value.flag, 1);
  double number = 0;
  EXPECT_EQ(MDRGetAsDouble(type.fields + 6, &bound, &number), MDX_OK);
  EXPECT_EQ(number, 2.5);
  int32_t whole = 0;
  EXPECT_EQ(MDRGetAsInt32(type.fields + 4, &bound, &whole), MDX_OK);
  EXPECT_EQ(whole, 1);
  char* pointer = nullptr;
  EXPECT_EQ(MDRGetTextPtr(type.fields + 3, &bound, &pointer), MDX_OK);
  EXPECT_STREQ(pointer, "a name");
  EXPECT_EQ(MDRGetFlags(&bound), MDX_REC_UPDATE);
  EXPECT_EQ(MDROwner(&bound), nullptr);
  int flag = 7;
  EXPECT_EQ(MDRIsNull(type.fields + 2, &bound, &flag), 1);
  EXPECT_EQ(flag, 1);
  for (int i = 0; i < 8; ++i) {
    flag = 7;
    EXPECT_EQ(MDRIsUser(type.fields + i, &bound, &flag), i == 1 || i == 2);
    EXPECT_EQ(flag, i == 1 || i == 2);
  }
}

TEST_F(Image, WithoutMarksTheFlagIsLeftAlone) {
  pack(1, 0);
  ASSERT_EQ(bind(), MDX_OK);
  int flag = 1;
  EXPECT_GE(MDRIsUser(type.fields + 0, &bound, &flag), 0);
  EXPECT_EQ(flag, 1);
  flag = 0;
  MDRIsUser(type.fields + 1, &bound, &flag);
  EXPECT_EQ(flag, 0);
}

TEST_F(Image, WithoutATypeThereAreNoNames) {
  pack(0, 1);
  ASSERT_EQ(bind(), MDX_OK);
  EXPECT_EQ(type.fieldCount, 8);
  EXPECT_STREQ(type.fields[0].name, "");
  EXPECT_EQ(boundText(3), "a name");
}

TEST_F(Image, ABoundRecordIsReadOnly) {
  pack();
  ASSERT_EQ(bind(), MDX_OK);
  const MDRVar five = int64(5);
  EXPECT_EQ(MDRSetVal(type.fields + 1, &bound, &five), MDX_E_STATE);
  EXPECT_EQ(MDRSetUser(type.fields + 1, &bound, 1), MDX_E_STATE);
  MDRVar value{};
  EXPECT_EQ(MDRGetVal(table.field(1), &bound, &value), MDX_E_FIELD);
  EXPECT_EQ(value.type, MDX_NONE);
  EXPECT_EQ(MDRGetVal(type.fields + 1, record, &value), MDX_E_FIELD);
}

TEST_F(Image, EveryCutFailsAndLeavesNoFields) {
  pack();
  const std::vector<unsigned char> whole = image;
  for (size_t length = 1; length < whole.size(); ++length) {
    image.assign(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length));
    image.shrink_to_fit();
    ASSERT_EQ(bind(), MDX_E_FORMAT) << length;
    ASSERT_EQ(type.fieldCount, 0);
    ASSERT_EQ(type.fields, nullptr);
    MDRVar value{};
    ASSERT_LT(MDRGetVal(table.field(0), &bound, &value), 0);
  }
  image = whole;
  EXPECT_EQ(bind(), MDX_OK);
}

TEST_F(Image, ANewerFormatSaysSo) {
  pack();
  image[2] = 2;
  EXPECT_EQ(bind(), MDX_E_VERSION);
  EXPECT_EQ(type.fieldCount, 0);
}

TEST_F(Image, BindingChecksItsArguments) {
  pack();
  EXPECT_EQ(MDRRecSet(nullptr, image.data(), 10), MDX_E_ARG);
  EXPECT_EQ(MDRRecSet(&bound, nullptr, 10), MDX_E_ARG);
  EXPECT_EQ(MDRRecSet(&bound, image.data(), 0), MDX_E_ARG);
  EXPECT_EQ(MDRRecSet(record, image.data(), 10), MDX_E_STATE);
  EXPECT_EQ(MDRTypGen(&type, "x", &bound), MDX_E_STATE);
  EXPECT_EQ(MDRTypGen(nullptr, "x", &bound), MDX_E_ARG);
  EXPECT_EQ(MDRTypGen(&type, "x", nullptr), MDX_E_ARG);
  EXPECT_EQ(MDRTypGen(&type, "x", record), MDX_E_STATE);
  EXPECT_EQ(type.fieldCount, 0);
  MDRTypInit(nullptr);
  MDRRecInit(nullptr);
  MDRTypFree(nullptr);
}

TEST_F(Image, TypesEndOnceTwiceOrWithoutABeginning) {
  pack();
  ASSERT_EQ(bind(), MDX_OK);
  ASSERT_EQ(bind(), MDX_OK);
  MDRTypFree(&type);
  EXPECT_EQ(type.fieldCount, 0);
  EXPECT_EQ(type.fields, nullptr);
  MDRTypFree(&type);
}

TEST_F(Image, ALongTypeNameIsCut) {
  pack();
  MDRRecSet(&bound, image.data(), static_cast<uint32_t>(image.size()));
  ASSERT_EQ(MDRTypGen(&type, std::string(100, 'n').c_str(), &bound), MDX_OK);
  EXPECT_EQ(std::string(type.name), std::string(63, 'n'));
  MDRRecSet(&bound, image.data(), static_cast<uint32_t>(image.size()));
  ASSERT_EQ(MDRTypGen(&type, nullptr, &bound), MDX_OK);
  EXPECT_STREQ(type.name, "");
}

TEST_F(Image, ARecordOfAnotherTableIsNotPacked) {
  Table other({{"x", MDX_INT32}});
  EXPECT_EQ(MDRRecPack(other.array, record, 1, 1), MDX_E_FOREIGN);
  EXPECT_EQ(MDRRecPack(nullptr, record, 1, 1), MDX_E_ARG);
  EXPECT_EQ(MDRRecPack(table.array, nullptr, 1, 1), MDX_E_ARG);
  EXPECT_EQ(record->packed, nullptr);
}

TEST_F(Image, PackingAgainReplacesTheBytes) {
  pack();
  const size_t length = record->packedLength;
  table.SetVal(record, 3, text(std::string(5000, 'x')));
  pack();
  EXPECT_EQ(record->packedLength, length + 5000 - 6);
  table.SetVal(record, 3, null());
  pack();
  EXPECT_LT(record->packedLength, length);
  EXPECT_EQ(MDARecDel(record), MDX_OK);
}

TEST_F(Image, UnpostedRecordsPackToo) {
  record = MDARecNew(table.array);
  pack();
  ASSERT_EQ(bind(), MDX_OK);
  EXPECT_EQ(boundText(0), "<null>");
}

TEST_F(Image, BecomesATableOfOneRecord) {
  pack();
  Table target({{"old", MDX_INT32}}, {"old"});
  target.add({int32(1)});
  ASSERT_EQ(MDXRecUnPackN(target.array, image.data(), image.size()), MDX_OK);
  ASSERT_EQ(MDARecCount(target.array), 1);
  EXPECT_EQ(MDAFldCount(target.array), 8);
  const MDRData* read = MDARec(target.array, 0, 0);
  EXPECT_EQ(target.textOf(read, 0), std::string(32, 'k'));
  EXPECT_EQ(target.integer(read, 1), 1LL << 40);
  EXPECT_EQ(target.textOf(read, 2), "<null>");
  EXPECT_EQ(MDRIsUser(target.field(2), read, nullptr), 1);
  EXPECT_EQ(MDRIsUser(target.field(3), read, nullptr), 0);
  EXPECT_EQ(MDRGetFlags(read), MDX_REC_UPDATE);
  EXPECT_EQ(target.field(0)->size, 32);
}

TEST_F(Image, BecomesATableWithoutItsNamesToo) {
  pack(0, 0);
  Table target;
  ASSERT_EQ(MDXRecUnPackN(target.array, image.data(), image.size()), MDX_OK);
  EXPECT_STREQ(MDAFldName(target.array, 3), "f3");
  EXPECT_EQ(target.textOf(MDARec(target.array, 0, 0), 3), "a name");
}

TEST_F(Image, ThatIsNoneGivesAnEmptyTable) {
  pack();
  Table target({{"old", MDX_INT32}});
  target.add({int32(1)});
  EXPECT_EQ(MDXRecUnPackN(target.array, image.data(), image.size() - 1), MDX_E_FORMAT);
  EXPECT_EQ(MDAFldCount(target.array), 0);
  EXPECT_EQ(MDARecCount(target.array), 0);
  EXPECT_EQ(MDXRecUnPackN(nullptr, image.data(), image.size()), MDX_E_ARG);
  EXPECT_EQ(MDXRecUnPackN(target.array, nullptr, 10), MDX_E_ARG);
}

TEST_F(Image, OfARequestByKeyHoldsItsFields) {
  Table request({{"tblname", MDX_TEXT, 32}, {"idxnum", MDX_INT32}, {"fld_0", MDX_MEMO}, {"fld_1", MDX_INT32}});
  MDRData* body = request.add({text("Measurement"), int32(1), text("KEY", MDX_TEXT), int32(17)});
  ASSERT_EQ(MDRRecPack(request.array, body, 1, 1), MDX_OK);
  Table read;
  ASSERT_EQ(MDXRecUnPackN(read.array, body->packed, body->packedLength), MDX_OK);
  const MDRData* first = MDARec(read.array, 0, 0);
  EXPECT_EQ(read.textOf(first, 0), "Measurement");
  EXPECT_EQ(read.integer(first, 1), 1);
  EXPECT_EQ(read.textOf(first, 2), "KEY");
  EXPECT_STREQ(MDAFldName(read.array, 3), "fld_1");
}
