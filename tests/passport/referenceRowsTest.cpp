// The order and the search of a list's rows.
#include "passport/referenceRows.h"

#include "passport/values.h"

#include <gtest/gtest.h>

#include "support/Gui.h"

namespace tlm::passport {
namespace {

std::string key(const char* text) { return sortKey(codePage()->fromUnicode(QString::fromUtf8(text)).toStdString()); }

std::unique_ptr<CMDArray> table(const QStringList& rows) {
  auto out = std::make_unique<CMDArray>();
  MDRFldDesc field{};
  for (const char* name : {"KeyLink", "name_"}) {
    qstrncpy(field.name, name, sizeof field.name);
    field.type = MDX_MEMO;
    MDAFldAdd(out->array, 1, &field);
  }
  for (const QString& row : rows) {
    MDRData* record = MDARecNew(out->array);
    writeValue(MDRFldByNum(out->array, 0), record, row.section('=', 0, 0));
    if (row.contains('=')) writeValue(MDRFldByNum(out->array, 1), record, row.section('=', 1));
    out->RecPost(record);
  }
  return out;
}

QStringList texts(const ReferenceRows& rows) {
  QStringList out;
  for (int i = 0; i < rows.count(); ++i) out << rows.text(i);
  return out;
}

TEST(SortKey, PutsNumbersByTheirValue) {
  EXPECT_LT(key("Т-2"), key("Т-10"));
  EXPECT_EQ(key("7"), key("007"));
  EXPECT_LT(key("0"), key("00001"));
  EXPECT_LT(key("Т-9 а"), key("Т-10"));
}

TEST(SortKey, DisregardsCase) {
  EXPECT_LT(key("а"), key("Б"));
  EXPECT_EQ(key("ВЛ"), key("вл"));
  EXPECT_EQ(key("abc"), key("ABC"));
  EXPECT_EQ(key("Ёлка"), key("ёлка"));
}

TEST(SortKey, PutsYoBesideYe) {
  EXPECT_LT(key("ёж"), key("жук"));
  EXPECT_LT(key("дом"), key("ёж"));
  EXPECT_LE(key("е"), key("ё"));
}

TEST(SortKey, PutsTheShorterFirst) { EXPECT_LT(key("a"), key("ab")); }

TEST(ReferenceRows, AreSortedAndKeepEqualTextsInTheirOrder) {
  const ReferenceRows rows(table({"K3=ВЛ-10", "K1=ВЛ-2", "K9=вл-2", "K5=АТ"}), "name_");
  EXPECT_EQ(texts(rows), (QStringList{"АТ", "ВЛ-2", "вл-2", "ВЛ-10"}));
  EXPECT_EQ(rows.key(1), "K1");
}

TEST(ReferenceRows, ShowTheKeyWhereThereIsNoText) {
  const ReferenceRows rows(table({"K1", "K2="}), "name_");
  EXPECT_EQ(texts(rows), (QStringList{"K1", "K2"}));
  EXPECT_EQ(texts(ReferenceRows(table({"K1=x"}), "absent")), QStringList{"K1"});
}

TEST(ReferenceRows, AreFoundByKey) {
  const ReferenceRows rows(table({"K2=Б", "K1=А"}), "name_");
  EXPECT_EQ(rows.rowOf("K2"), 1);
  EXPECT_EQ(rows.rowOf("K"), -1);
  EXPECT_EQ(rows.rowOf(""), -1);
  EXPECT_EQ(ReferenceRows().rowOf("K"), -1);
}

TEST(ReferenceRows, AreSearchedByAllWordsInWhateverCase) {
  const ReferenceRows rows(table({"K1=ПС Северная ВЛ-110", "K2=ПС Южная ВЛ-110", "K3=ПС Северная Т-1"}), "name_");
  EXPECT_EQ(rows.search("север вл").size(), 1u);
  EXPECT_EQ(rows.search("ПС").size(), 3u);
  EXPECT_EQ(rows.search("запад").size(), 0u);
  EXPECT_EQ(rows.search("日").size(), 0u);
}

}  // namespace
}  // namespace tlm::passport
