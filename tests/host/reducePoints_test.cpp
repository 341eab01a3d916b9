// Which points of a long history a chart draws.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "reducePoints.h"

namespace tlm {
namespace {

using server::Quality;
using Points = std::vector<ChartPoint>;

std::vector<double> timesOf(const Points& points) {
  std::vector<double> times;
  for (const ChartPoint& point : points) times.push_back(point.time);
  return times;
}

TEST(ReducePoints, KeepsFirstLastLowestAndHighestOfAColumnInTheOrderOfTime) {
  const Points points{{0, 5}, {1, 6}, {2, 9}, {3, 6}, {4, 1}, {5, 4}, {6, 5}};
  EXPECT_EQ(timesOf(reducePoints(points, 0, 10, 1)), (std::vector<double>{0, 2, 4, 6}));
}

TEST(ReducePoints, KeepsAPointThatIsSeveralOfThemOnce) {
  EXPECT_EQ(timesOf(reducePoints({{0, 1}, {1, 5}, {2, 9}}, 0, 10, 1)), (std::vector<double>{0, 2}));
  EXPECT_EQ(timesOf(reducePoints({{3, 1}}, 0, 10, 1)), (std::vector<double>{3}));
  EXPECT_EQ(timesOf(reducePoints({{0, 1}, {1, 1}, {2, 1}}, 0, 10, 1)), (std::vector<double>{0, 2}));
}

TEST(ReducePoints, LooksAtEachColumnByItself) {
  Points points;
  for (int i = 0; i < 12; ++i) points.push_back({double(i), double(i % 4 == 1 ? 9 : i % 4 == 2 ? -9 : 0)});
  EXPECT_EQ(reducePoints(points, 0, 12, 3), points);
  EXPECT_EQ(timesOf(reducePoints(points, 0, 12, 1)), (std::vector<double>{0, 1, 2, 11}));
}

TEST(ReducePoints, KeepsThoseBesideThePictureToWhichTheLineRuns) {
  const Points points{{0, 1}, {1, 2}, {2, 3}, {3, 4}, {4, 5}, {5, 6}};
  EXPECT_EQ(timesOf(reducePoints(points, 2, 3, 10)), (std::vector<double>{1, 2, 3, 4}));
  EXPECT_EQ(timesOf(reducePoints(points, 2.2, 2.8, 10)), (std::vector<double>{2, 3}));
  EXPECT_EQ(timesOf(reducePoints(points, 0, 5, 10)), (std::vector<double>{0, 1, 2, 3, 4, 5}));
  EXPECT_EQ(timesOf(reducePoints(points, -9, -1, 10)), (std::vector<double>{0}));
  EXPECT_EQ(timesOf(reducePoints(points, 9, 10, 10)), (std::vector<double>{5}));
}

TEST(ReducePoints, KeepsTheFirstOfEachQualityThatIsNotGood) {
  Points points;
  for (int i = 0; i < 20; ++i) points.push_back({double(i), 0});
  points[5].quality = points[6].quality = Quality::kManual;
  points[9].quality = Quality::kInvalid;
  points[12].quality = Quality::kOld;
  EXPECT_EQ(timesOf(reducePoints(points, 0, 20, 1)), (std::vector<double>{0, 5, 9, 12, 19}));
}

TEST(ReducePoints, OfNothingIsNothing) {
  EXPECT_TRUE(reducePoints({}, 0, 1, 100).empty());
  EXPECT_TRUE(reducePoints({{0, 1}}, 0, 1, 0).empty());
  EXPECT_TRUE(reducePoints({{0, 1}}, 1, 1, 10).empty());
  EXPECT_TRUE(reducePoints({{0, 1}}, 2, 1, 10).empty());
}

TEST(ReducePoints, OfManyKeepsAtMostSevenForAColumnAndEveryPeak) {
  constexpr int kColumns = 200;
  std::mt19937 random(7);
  std::uniform_real_distribution<double> values(-100, 100);
  Points points;
  for (int i = 0; i < 100'000; ++i) points.push_back({double(i), values(random), Quality(random() % 4)});
  const Points chosen = reducePoints(points, 0, 100'000, kColumns);
  EXPECT_LE(chosen.size(), size_t{kColumns} * 7);
  EXPECT_TRUE(std::is_sorted(chosen.begin(), chosen.end(), [](auto& a, auto& b) { return a.time < b.time; }));
  const auto byValue = [](const ChartPoint& a, const ChartPoint& b) { return a.value < b.value; };
  for (int column = 0; column < kColumns; ++column) {
    const auto inColumn = [&](const ChartPoint& p) { return int(p.time / 500) == column; };
    Points kept;
    std::copy_if(chosen.begin(), chosen.end(), std::back_inserter(kept), inColumn);
    const auto first = points.begin() + column * 500;
    ASSERT_EQ(std::max_element(kept.begin(), kept.end(), byValue)->value,
              std::max_element(first, first + 500, byValue)->value);
    ASSERT_EQ(std::min_element(kept.begin(), kept.end(), byValue)->value,
              std::min_element(first, first + 500, byValue)->value);
    ASSERT_EQ(kept.front(), *first);
    ASSERT_EQ(kept.back(), *(first + 499));
  }
}

}  // namespace
}  // namespace tlm
