// Which numbers a series takes: the bounds one by one, and random ranges against a plain telling of the rule.
#include <climits>
#include <map>
#include <random>
#include <set>
#include <sstream>

#include "SeriesWindow.h"

namespace tlm::test {
namespace {

using Used = std::map<int, QString>;

struct Ask {
  int count;
  int begin;
  int end;
  int step;
};

std::string modelOf(const Used& used) {
  std::ostringstream text;
  text << "unit КП\n";
  for (const auto& [number, name] : used) text << "  analog " << number << ' ' << name.toStdString() << '\n';
  return text.str();
}

// The rule, as one would tell it: candidate after candidate, each free or taken.
QStringList told(const Used& used, const Ask& ask) {
  QStringList rows;
  const auto next = [&](int64_t from) {
    return std::find_if(used.begin(), used.end(), [&](const auto& each) { return each.first >= from; });
  };
  const auto free = [&](int64_t number) { rows += QString("%1 free").arg(number); };
  const auto look = [&](int64_t number) {
    const auto found = next(number);
    if (found != used.end() && found->first == number)
      rows += QString("%1, %2").arg(number).arg(found->second);
    else
      free(number);
    return found != used.end();  // numbers in use remain
  };
  const int64_t begin = ask.begin, step = ask.step;
  bool remain = look(begin);
  int64_t count = 1;
  const auto above = next(begin);
  if (above != used.end() && above->first - begin > step) {
    count = std::min<int64_t>((above->first - begin) / step, ask.count);
    for (int64_t i = 1; i < count; ++i) free(begin + i * step);
  }
  if (count == ask.count) return rows;
  int64_t candidate = begin + count * step;
  for (; remain && count < ask.count && candidate < ask.end; ++count, candidate += step) remain = look(candidate);
  if (remain) return rows;
  for (; count <= ask.count && candidate <= ask.end; ++count, candidate += step) free(candidate);
  return rows;
}

class SeriesNumbers : public testing::Test {
 protected:
  void serve(const Used& used) {
    module.reset();
    host.reset();
    server = std::make_unique<EmbeddedServer>(modelOf(used));
    host = std::make_unique<TestApp>(*server->core());
    module = std::make_unique<CTlmMeasConfig>(host.get());
  }
  QStringList asked(const Ask& ask) {
    QStringList busy;
    module->freeLocIds.clear();
    module->GetCountFreeLocIdAtRange(busy, ask.count, ask.begin, ask.end, ask.step);
    std::map<int, QString> rows;
    for (const QString& each : busy) rows[each.section(',', 0, 0).toInt()] = each;
    for (const int number : module->freeLocIds) {
      EXPECT_NE(number, 0);
      EXPECT_EQ(rows.count(number), 0u) << "both free and taken";
      rows[number] = QString("%1 free").arg(number);
    }
    EXPECT_EQ(int(rows.size()), busy.size() + module->freeLocIds.size()) << "a number twice";
    QStringList sorted;
    for (const auto& [number, text] : rows) sorted += text;
    return sorted;
  }
  QStringList asked(int count, int begin, int end, int step) { return asked(Ask{count, begin, end, step}); }

  std::unique_ptr<EmbeddedServer> server;
  std::unique_ptr<TestApp> host;
  std::unique_ptr<CTlmMeasConfig> module;
};

QStringList freeOnes(std::initializer_list<int> numbers) {
  QStringList rows;
  for (const int each : numbers) rows += QString("%1 free").arg(each);
  return rows;
}

TEST_F(SeriesNumbers, AFreeRangeBelowTheNextNumberIsTakenWithoutLooking) {
  serve({{100, "A"}});
  EXPECT_EQ(asked(3, 10, 20, 5), freeOnes({10, 15, 20}));
  EXPECT_EQ(asked(4, 10, 12, 5), freeOnes({10, 15, 20, 25})) << "the end is not looked at here";
}

TEST_F(SeriesNumbers, TheFreeOnesEndBelowTheNextNumber) {
  serve({{20, "A"}, {90, "B"}});
  // 10 in front of 20: two steps of 4 fit, 10 and 14; the rest is looked up.
  EXPECT_EQ(asked(4, 10, 100, 4), freeOnes({10, 14, 18, 22}));
  EXPECT_EQ(asked(4, 10, 100, 5), (QStringList{"10 free", "15 free", "20, A", "25 free"}));
}

TEST_F(SeriesNumbers, TheNextNumberOneStepAboveIsNoGap) {
  serve({{15, "A"}, {90, "B"}});
  EXPECT_EQ(asked(2, 10, 100, 5), (QStringList{"10 free", "15, A"}));
  EXPECT_EQ(asked(1, 10, 100, 5), freeOnes({10}));
}

TEST_F(SeriesNumbers, TakenNumbersUseUpTheCount) {
  serve({{10, "A"}, {11, "B"}, {13, "C"}, {90, "D"}});
  EXPECT_EQ(asked(4, 10, 50, 1), (QStringList{"10, A", "11, B", "12 free", "13, C"}));
}

TEST_F(SeriesNumbers, WhileNumbersRemainTheEndIsNotReached) {
  serve({{10, "A"}, {90, "B"}});
  EXPECT_EQ(asked(9, 10, 13, 1), (QStringList{"10, A", "11 free", "12 free"}));
}

TEST_F(SeriesNumbers, BehindTheLastNumberTheEndIsReached) {
  serve({{10, "A"}});
  EXPECT_EQ(asked(9, 10, 13, 1), (QStringList{"10, A", "11 free", "12 free", "13 free"}));
}

TEST_F(SeriesNumbers, BehindTheLastNumberOneMoreThanAskedForCanCome) {
  serve({{10, "A"}});
  EXPECT_EQ(asked(3, 10, 50, 1), (QStringList{"10, A", "11 free", "12 free", "13 free"}));
  EXPECT_EQ(asked(3, 20, 50, 2), freeOnes({20, 22, 24, 26}));
}

TEST_F(SeriesNumbers, OneNumberBehindTheLastIsOneNumber) {
  serve({{10, "A"}});
  EXPECT_EQ(asked(1, 20, 50, 1), freeOnes({20}));
  EXPECT_EQ(asked(1, 10, 50, 1), QStringList{"10, A"});
}

TEST_F(SeriesNumbers, ZeroIsNoNumber) {
  serve({{100, "A"}});
  EXPECT_EQ(asked(3, 0, 50, 1), freeOnes({1, 2}));
}

TEST_F(SeriesNumbers, AMeasurementWithoutANameIsTakenAllTheSame) {
  serve({{10, "A"}, {11, "Без имени {name_=}"}, {90, "B"}});
  EXPECT_EQ(asked(2, 10, 50, 1), (QStringList{"10, A", "11, "}));
}

TEST_F(SeriesNumbers, TheRowsComeInTheOrderOfTheNumbers) {
  serve({{12, "A"}, {14, "B"}, {90, "C"}});
  QStringList busy;
  module->GetCountFreeLocIdAtRange(busy, 6, 10, 50, 1);
  EXPECT_EQ(busy, (QStringList{"12, A", "14, B"}));
  EXPECT_EQ(module->freeLocIds, (QList<int>{10, 11, 13, 15}));
}

TEST_F(SeriesNumbers, HighNumbersDoNotOverflow) {
  serve({{INT_MAX, "A"}});
  EXPECT_EQ(asked(5, INT_MAX - 2, INT_MAX, 1), freeOnes({INT_MAX - 2, INT_MAX - 1}));
  EXPECT_EQ(asked(5, INT_MAX, INT_MAX, 999999999), QStringList{QString("%1, A").arg(INT_MAX)});
}

class SeriesNumbersProperty : public SeriesNumbers, public testing::WithParamInterface<unsigned> {};

TEST_P(SeriesNumbersProperty, AgreeWithThePlainTelling) {
  const unsigned seed = GetParam();
  std::mt19937 random(seed);
  const auto below = [&random](int bound) { return int(random() % unsigned(bound)); };
  const auto span = 5 + below(120);
  Used used;
  for (int i = 0, wanted = 1 + below(span); i < wanted; ++i) used[1 + below(span)] = QString("N%1").arg(i);
  if (below(3) == 0) used[INT_MAX - below(40)] = "high";
  serve(used);
  for (int i = 0; i < 120; ++i) {
    Ask ask{1 + below(below(2) ? 6 : 60), below(span + 20) - 5, 0, 1 + below(below(2) ? 4 : 30)};
    ask.end = ask.begin + below(150) - 20;
    if (below(12) == 0) ask.step = 999999999;
    if (below(12) == 0) ask.end = INT_MAX;
    if (below(12) == 0) ask = {ask.count, INT_MAX - below(60), INT_MAX - below(30), ask.step};
    QStringList expected = told(used, ask).filter(QRegularExpression("^(?!0 free)"));
    ASSERT_EQ(asked(ask), expected) << "seed " << seed << ", ask " << i << ": count " << ask.count << ", " << ask.begin
                                    << " to " << ask.end << " by " << ask.step << "\n"
                                    << modelOf(used);
  }
}

INSTANTIATE_TEST_SUITE_P(Seeds, SeriesNumbersProperty, testing::Range(1u, 25u));

}  // namespace
}  // namespace tlm::test
