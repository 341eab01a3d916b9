// Key-value texts and fresh keys.
#include <TlmClient/CStringParams.h>
#include <TlmClient/GenGuid32.h>

#include <QRegularExpression>
#include <QSet>

#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace {

QString roundTrip(const QString& value, QChar separator = ',') {
  CStringParams written;
  written.setValue("before", "1");
  written.setValue("key", value);
  written.setValue("after", "2");
  CStringParams read;
  read.setParams(written.getParams(separator), separator);
  EXPECT_EQ(read.getValue("before", ""), "1");
  EXPECT_EQ(read.getValue("after", ""), "2");
  return read.getValue("key", "(absent)");
}

TEST(StringParams, StartsWithTheDoubleQuotationMark) { EXPECT_EQ(CStringParams().quote, QChar('"')); }

class RoundTrip : public testing::TestWithParam<const char*> {};
TEST_P(RoundTrip, GivesTheValueBack) {
  const QString value = QString::fromUtf8(GetParam());
  EXPECT_EQ(roundTrip(value), value);
  EXPECT_EQ(roundTrip(value, ';'), value);
}
INSTANTIATE_TEST_SUITE_P(Values, RoundTrip,
                         testing::Values("", "plain", "AAAA/wAA+AB=", "a==", "a,b", ",", "=", "\"", "a\"b", "\"\"",
                                         "\"a\"", " a ", " ", "Подстанция «Северная», 110 кВ", "a;b", "a\r\nb", "tail,",
                                         "key=value,other=\"x\""));

TEST(StringParams, ReadsPlainPairs) {
  CStringParams params;
  params.setParams("a=1,b=two,c=", ',');
  QStringList keys;
  params.getKeys(keys);
  EXPECT_EQ(keys, QStringList({"a", "b", "c"}));
  EXPECT_EQ(params.getValue("b", "x"), "two");
  EXPECT_EQ(params.getValue("c", "x"), "");
}

TEST(StringParams, ReadsBase64WithoutQuotes) {
  CStringParams params;
  params.setParams("splitter=AAAA/wAA+AB==,next=1", ',');
  EXPECT_EQ(params.getValue("splitter", ""), "AAAA/wAA+AB==");
  EXPECT_EQ(params.getValue("next", ""), "1");
}

TEST(StringParams, GivesTheDefaultForAnUnknownKey) { EXPECT_EQ(CStringParams().getValue("no", "default"), "default"); }

TEST(StringParams, RespectsCaseOfKeys) {
  CStringParams params;
  params.setParams("Key=1", ',');
  EXPECT_EQ(params.getValue("key", "absent"), "absent");
}

TEST(StringParams, ReplacesAValueInItsPlace) {
  CStringParams params;
  params.setParams("a=1,b=2", ',');
  params.setValue("a", "3");
  EXPECT_EQ(params.getParams(','), "a=3,b=2");
}

TEST(StringParams, ForgetsWhatItHeldWhenItReads) {
  CStringParams params;
  params.setParams("a=1", ',');
  params.setParams("b=2", ',');
  QStringList keys;
  params.getKeys(keys);
  EXPECT_EQ(keys, QStringList("b"));
}

TEST(StringParams, PassesOverMalformedPieces) {
  for (const char* text : {"", ",", ",,,", "a", "a,b", "=1", "\"", "\"a", ",=,\"\"=,"}) {
    CStringParams params;
    params.setParams(text, ',');
    QStringList keys;
    params.getKeys(keys);
    EXPECT_TRUE(keys.isEmpty()) << text;
  }
}

TEST(StringParams, ReadsWhatStandsBesideAMalformedPiece) {
  CStringParams params;
  params.setParams("bad,a=1, b = 2 ,c", ',');
  EXPECT_EQ(params.getValue("a", ""), "1");
  EXPECT_EQ(params.getValue("b", ""), "2");
}

TEST(Guid, HasThirtyTwoUpperCaseHexadecimalCharacters) {
  const QRegularExpression form("^[0-9A-F]{32}$");
  for (int i = 0; i < 1000; ++i) {
    const QByteArray key = GenGuid32();
    EXPECT_TRUE(form.match(QString::fromLatin1(key)).hasMatch()) << key.constData();
  }
}

// Rows that are made together are written together.
TEST(Guid, AscendsAndEndsAtRandom) {
  QByteArray before = GenGuid32();
  QSet<QByteArray> ends;
  for (int i = 0; i < 200'000; ++i) {  // more than the count of one millisecond holds
    const QByteArray key = GenGuid32();
    ASSERT_LT(before, key);
    ends.insert(key.mid(16));
    before = key;
  }
  EXPECT_EQ(ends.size(), 200'000);
}

TEST(Guid, NeverRepeatsInAnyThread) {
  constexpr int kThreads = 4;
  constexpr int kEach = 50'000;
  std::vector<std::vector<QByteArray>> made(kThreads);
  std::vector<std::thread> threads;
  for (auto& keys : made) {
    threads.emplace_back([&keys] {
      for (int i = 0; i < kEach; ++i) keys.push_back(GenGuid32());
    });
  }
  for (std::thread& thread : threads) thread.join();
  QSet<QByteArray> all;
  for (const auto& keys : made) {
    for (const QByteArray& key : keys) all.insert(key);
  }
  EXPECT_EQ(all.size(), kThreads * kEach);
}

}  // namespace
