// Parameter texts, and the order of texts.
#include "passport/paramText.h"

#include "passport/values.h"

#include <gtest/gtest.h>

namespace tlm::passport {
namespace {

QString u8(const char* text) { return QString::fromUtf8(text); }

TEST(ParamText, FindsAPartByItsName) {
  EXPECT_EQ(paramPart("UNIT=c;MIN=0;MAX=3", "MAX"), "3");
  EXPECT_EQ(paramPart("min=0", "MIN"), "0");
  EXPECT_EQ(paramPart("XMIN=1", "MIN"), "");
  EXPECT_EQ(paramPart("", "MIN"), "");
}

TEST(ParamText, KeepsSeparatorsInQuotationMarks) {
  EXPECT_EQ(paramPart("ENUM=\"0=a;b,1=c\";MAX=3", "ENUM"), "0=a;b,1=c");
  EXPECT_EQ(paramPart("ENUM=\"0=a;b,1=c\";MAX=3", "MAX"), "3");
  EXPECT_EQ(paramPart("ENUM=\"0=a", "ENUM"), "0=a");
}

TEST(ParamText, ReadsTheEntriesOfAnEnumeration) {
  const auto choices = parseChoices(u8("0=Нет,3=Да, 5 = Иногда"));
  ASSERT_EQ(choices.size(), 3);
  EXPECT_EQ(choiceText(choices, 3), u8("Да"));
  EXPECT_EQ(choiceText(choices, 5), u8("Иногда"));
  EXPECT_TRUE(choiceText(choices, 4).isNull());
}

TEST(ParamText, LeavesCommasInTheTextsOfEntries) {
  const auto choices = parseChoices("0=a, b=c,1=d");
  ASSERT_EQ(choices.size(), 2);
  EXPECT_EQ(choices[0].text, "a, b=c");
}

TEST(ParamText, PassesOverWhatStandsBeforeTheFirstEntry) {
  EXPECT_EQ(parseChoices("x,1=a").size(), 1);
  EXPECT_TRUE(parseChoices("").isEmpty());
}

TEST(SameValue, TakesNullFalseAndTheEmptyTextForOne) {
  EXPECT_TRUE(sameValue({}, false));
  EXPECT_TRUE(sameValue({}, QString()));
  EXPECT_FALSE(sameValue({}, qlonglong(0)));
  EXPECT_FALSE(sameValue(qlonglong(1), qlonglong(2)));
}

}  // namespace
}  // namespace tlm::passport
