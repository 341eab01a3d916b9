// The index of whole texts beside a key: answers stay those of the tree.

#include <TlmMdx/bulk.h>
#include <gtest/gtest.h>

#include <random>

#include "support.h"

using namespace test;

namespace {

std::string keyText(unsigned number) {
  std::string digits = std::to_string(number);
  return std::string(32 - digits.size(), 'k') + digits;
}

class ExactKey : public testing::Test {
 protected:
  MDRData* found(const std::string& wanted) {
    const MDRVar value = text(wanted);
    return MDARecSeekV(table.array, 0, &value, nullptr);
  }
  // What the tree says, which is asked for a position.
  MDRData* foundByTree(const std::string& wanted) {
    const MDRVar value = text(wanted);
    int position = 0;
    return MDARecSeekV(table.array, 0, &value, &position);
  }
  MDRData* add(const std::string& key) { return table.add({text(key)}); }

  Table table{{{"k", MDX_TEXT, 32}}, {"k"}};
};

}  // namespace

TEST_F(ExactKey, IsForKeysOverOneTextOf32CharactersThatRespectCase) {
  EXPECT_EQ(MDXKeyExact(table.array, 0), MDX_OK);
  EXPECT_EQ(MDXKeyExact(table.array, 1), MDX_E_KEY);
  EXPECT_EQ(MDXKeyExact(nullptr, 0), MDX_E_ARG);
  Table numbers{{{"n", MDX_INT32}}, {"n"}};
  EXPECT_EQ(MDXKeyExact(numbers.array, 0), MDX_E_KEY);
  Table shorter{{{"k", MDX_TEXT, 31}}, {"k"}};
  EXPECT_EQ(MDXKeyExact(shorter.array, 0), MDX_E_KEY);
  Table two{{{"k", MDX_TEXT, 32}, {"n", MDX_INT32}}, {"k;n"}};
  EXPECT_EQ(MDXKeyExact(two.array, 0), MDX_E_KEY);
}

TEST_F(ExactKey, KnowsTheRowsThatWereThereAndThoseThatCome) {
  MDRData* const before = add(keyText(1));
  ASSERT_EQ(MDXKeyExact(table.array, 0), MDX_OK);
  MDRData* const after = add(keyText(2));
  EXPECT_EQ(found(keyText(1)), before);
  EXPECT_EQ(found(keyText(2)), after);
  EXPECT_EQ(found(keyText(3)), nullptr);
}

TEST_F(ExactKey, FollowsAChangedTextAndADeletedRow) {
  ASSERT_EQ(MDXKeyExact(table.array, 0), MDX_OK);
  MDRData* const row = add(keyText(1));
  const std::string ninth = keyText(9);
  const MDRVar other = text(ninth);
  ASSERT_EQ(MDRSetVal(table.field(0), row, &other), MDX_OK);
  EXPECT_EQ(found(keyText(1)), nullptr);
  EXPECT_EQ(found(keyText(9)), row);
  MDARecDel(row);
  EXPECT_EQ(found(keyText(9)), nullptr);
  add(keyText(9));
  MDAClearAll(table.array);
  EXPECT_EQ(found(keyText(9)), nullptr);
}

TEST_F(ExactKey, LeavesShortTextsNullsAndFillingToTheTree) {
  ASSERT_EQ(MDXKeyExact(table.array, 0), MDX_OK);
  MDRData* const shortOne = add("short");
  MDRData* const filled = add(std::string(31, 'f') + '\0');
  MDRData* const fewer = add(std::string(31, 'f'));
  MDRData* const null = table.add({MDRVar{}});
  EXPECT_EQ(found("short"), shortOne);
  EXPECT_EQ(found(std::string(31, 'f') + '\0'), filled);
  EXPECT_EQ(found(std::string(31, 'f')), fewer);
  MDRVar nothing = text("");
  nothing.isNull = 1;
  EXPECT_EQ(MDARecSeekV(table.array, 0, &nothing, nullptr), null);
  EXPECT_EQ(found(keyText(1) + "longer"), nullptr);
}

TEST_F(ExactKey, GivesTheFirstToArriveOfEqualTexts) {
  ASSERT_EQ(MDXKeyExact(table.array, 0), MDX_OK);
  MDRData* const first = add(keyText(1));
  add(keyText(1));
  EXPECT_EQ(found(keyText(1)), first);
  MDARecDel(first);
  EXPECT_NE(found(keyText(1)), nullptr);
  Table twice{{{"k", MDX_TEXT, 32}}, {"k"}};
  MDRData* const early = twice.add({text(keyText(1))});
  twice.add({text(keyText(1))});
  ASSERT_EQ(MDXKeyExact(twice.array, 0), MDX_OK);
  const std::string key = keyText(1);
  const MDRVar value = text(key);
  EXPECT_EQ(MDARecSeekV(twice.array, 0, &value, nullptr), early);
}

TEST_F(ExactKey, AgreesWithTheTreeOverRandomChanges) {
  ASSERT_EQ(MDXKeyExact(table.array, 0), MDX_OK);
  std::mt19937 random(20261);
  std::vector<MDRData*> rows;
  for (int step = 0; step < 20000; ++step) {
    const std::string key = keyText(random() % 4000);
    const unsigned act = random() % 8;
    if (act < 4) {
      if (!foundByTree(key)) rows.push_back(add(key));
    } else if (act < 6 && !rows.empty()) {
      const size_t at = random() % rows.size();
      MDARecDel(rows[at]);
      rows.erase(rows.begin() + static_cast<std::ptrdiff_t>(at));
    } else if (!rows.empty() && !foundByTree(key)) {
      const MDRVar value = text(key);
      ASSERT_EQ(MDRSetVal(table.field(0), rows[random() % rows.size()], &value), MDX_OK);
    }
    ASSERT_EQ(found(key), foundByTree(key)) << step;
  }
  ASSERT_GT(rows.size(), 500u);
  std::vector<std::string> texts;
  for (unsigned i = 0; i < 4000; ++i) texts.push_back(keyText(i));
  std::vector<MDRVar> values;
  for (const std::string& key : texts) values.push_back(text(key));
  std::vector<MDRData*> together(values.size());
  ASSERT_EQ(MDXRecsSeek(table.array, 0, values.data(), static_cast<int>(values.size()), together.data()), MDX_OK);
  for (size_t i = 0; i < texts.size(); ++i) ASSERT_EQ(together[i], foundByTree(texts[i])) << i;
}
