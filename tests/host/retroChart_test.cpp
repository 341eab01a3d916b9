// What the chart of the retrospective draws: its pixels, its times, what the cursor says.
#include <QApplication>
#include <QImage>
#include <QMouseEvent>
#include <QTest>
#include <QValueAxis>
#include <QWheelEvent>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>

#include "objectInfo.h"
#include "retroChart.h"

namespace tlm {
namespace {

using server::Quality;

constexpr double kDay = 46'000;
constexpr double kMinute = 1.0 / 1440;

class RetroChartTest : public testing::Test {
 protected:
  RetroChartTest() {
    chart.resize(800, 400);
    chart.show();
    QApplication::processEvents();
  }
  void show(std::vector<ChartPoint> points, bool steps = false) {
    chart.setPoints(std::move(points), steps, "МВт");
    QApplication::processEvents();
  }
  // Smooth edges blend with what is behind them.
  static bool alike(const QColor& a, const QColor& b) {
    return std::abs(a.red() - b.red()) + std::abs(a.green() - b.green()) + std::abs(a.blue() - b.blue()) < 40;
  }
  // How many pixels of about that colour the picture has in the part of its height between two shares.
  int pixels(const QColor& colour, double from = 0, double to = 1) {
    const QImage image = chart.grab().toImage();
    int count = 0;
    for (int y = int(image.height() * from); y < int(image.height() * to); ++y)
      for (int x = 0; x < image.width(); ++x) count += alike(image.pixelColor(x, y), colour) ? 1 : 0;
    return count;
  }
  // In how many columns of that part there is one.
  int columns(const QColor& colour, double from, double to) {
    const QImage image = chart.grab().toImage();
    int count = 0;
    for (int x = 0; x < image.width(); ++x) {
      bool found = false;
      for (int y = int(image.height() * from); y < int(image.height() * to); ++y)
        found = found || alike(image.pixelColor(x, y), colour);
      count += found ? 1 : 0;
    }
    return count;
  }
  void moveTo(double share) {
    const QRectF plot = chart.chart()->plotArea();
    QMouseEvent move(QEvent::MouseMove, QPointF(plot.left() + share * plot.width(), plot.center().y()), Qt::NoButton,
                     Qt::NoButton, Qt::NoModifier);
    QApplication::sendEvent(chart.viewport(), &move);
  }

  void wheel() {
    const QPoint at = chart.viewport()->rect().center();
    QWheelEvent turn(at, chart.viewport()->mapToGlobal(at), {}, {0, 120}, Qt::NoButton, Qt::NoModifier,
                     Qt::NoScrollPhase, false);
    QApplication::sendEvent(chart.viewport(), &turn);
  }
  // Of the axis of values.
  std::pair<double, double> range() const {
    const auto* const axis = qobject_cast<QtCharts::QValueAxis*>(chart.chart()->axes(Qt::Vertical).at(0));
    return {axis->min(), axis->max()};
  }

  RetroChart chart;
  const QColor line{"#2f6db5"};
  const QColor text{"#3c4652"};
  const QColor cursor{"#a85a00"};
  const QColor manual{"#7a3fa0"};
  const QColor invalid{"#c62828"};
};

TEST_F(RetroChartTest, DrawsNothingWithoutNumbers) {
  chart.setSeries({{kDay, Quality::kGood, std::string("text")}}, false, "");
  EXPECT_EQ(chart.points(), 0u);
  EXPECT_EQ(pixels(line), 0);
  EXPECT_EQ(chart.underCursor(), "");
  moveTo(0.5);
  EXPECT_EQ(chart.underCursor(), "");
}

TEST_F(RetroChartTest, DrawsALineThroughThePoints) {
  show({{kDay, 0}, {kDay + kMinute, 10}});
  EXPECT_GT(pixels(line), 100);
}

TEST_F(RetroChartTest, HoldsAStateUntilTheNextOne) {
  show({{kDay, 0}, {kDay + kMinute, 1}, {kDay + 2 * kMinute, 1}}, true);
  EXPECT_LE(columns(line, 0.4, 0.6), 4);
  show({{kDay, 0}, {kDay + kMinute, 1}, {kDay + 2 * kMinute, 1}}, false);
  EXPECT_GT(columns(line, 0.4, 0.6), 40);
}

TEST_F(RetroChartTest, WhatIsNotToBeTrustedIsGreyAndMarked) {
  show({{kDay, 5}, {kDay + kMinute, 5}, {kDay + 2 * kMinute, 5}, {kDay + 3 * kMinute, 5}});
  const int good = pixels(line);
  show({{kDay, 5},
        {kDay + kMinute, 5, Quality::kInvalid},
        {kDay + 2 * kMinute, 5, Quality::kInvalid},
        {kDay + 3 * kMinute, 5}});
  EXPECT_EQ(pixels(manual), 0);
  EXPECT_GT(pixels(invalid), 10);
  EXPECT_LT(pixels(line), good / 2);
}

TEST_F(RetroChartTest, AValueByHandIsMarkedAndItsLineTrusted) {
  show({{kDay, 5}, {kDay + kMinute, 5}, {kDay + 2 * kMinute, 5}});
  const int good = pixels(line);
  show({{kDay, 5}, {kDay + kMinute, 5, Quality::kManual}, {kDay + 2 * kMinute, 5}});
  EXPECT_GT(pixels(manual), 10);
  EXPECT_GT(pixels(line), good * 9 / 10);
  EXPECT_EQ(pixels(invalid), 0);
}

TEST_F(RetroChartTest, TellsTheValueUnderTheCursorAndItsQuality) {
  show({{kDay, 1.5}, {kDay + kMinute, 2.5, Quality::kManual}});
  moveTo(0.1);
  EXPECT_EQ(chart.underCursor(), localTime(kDay).toString("dd.MM.yyyy hh:mm:ss") + "   1.5 МВт");
  moveTo(0.9);
  EXPECT_TRUE(chart.underCursor().endsWith("2.5 МВт (ручной ввод)")) << chart.underCursor().toStdString();
  QEvent leave(QEvent::Leave);
  QApplication::sendEvent(chart.viewport(), &leave);
  EXPECT_EQ(chart.underCursor(), "");
}

TEST_F(RetroChartTest, WritesTheValueUnderTheCursorAsItIsTold) {
  chart.setValueText([](double value) { return QString("<%1>").arg(value, 0, 'f', 2); });
  show({{kDay, 1.23456}, {kDay + kMinute, 2.5}});
  moveTo(0.1);
  EXPECT_TRUE(chart.underCursor().endsWith("   <1.23>")) << chart.underCursor().toStdString();
}

TEST_F(RetroChartTest, DrawsNoMoreThanThePictureCanShow) {
  std::vector<ChartPoint> points;
  for (int i = 0; i < 100'000; ++i) points.push_back({kDay + i * kMinute / 60, double(i * 7919 % 1000)});
  show(points);
  EXPECT_EQ(chart.points(), 100'000u);
  EXPECT_LE(chart.drawn().size(), size_t(chart.width()) * 4);
  EXPECT_GT(chart.drawn().size(), 1000u);
  chart.showTimes(kDay, kDay + kMinute);
  EXPECT_LE(chart.drawn().size(), 63u);
  chart.showAll();
  EXPECT_GT(chart.drawn().size(), 1000u);
}

TEST_F(RetroChartTest, ShowsNoTimesBeyondWhatThereIs) {
  show({{kDay, 1}, {kDay + 60 * kMinute, 2}});
  chart.showTimes(kDay - 5, kDay - 4);
  EXPECT_NEAR(chart.shownFrom(), kDay, 1e-9);
  EXPECT_NEAR(chart.shownTo(), kDay + 60 * kMinute, 1e-9);
  chart.showTimes(kDay + 50 * kMinute, kDay + 70 * kMinute);
  EXPECT_NEAR(chart.shownFrom(), kDay + 40 * kMinute, 1e-9);
  chart.showTimes(kDay + kMinute, kDay + kMinute);
  EXPECT_NEAR((chart.shownTo() - chart.shownFrom()) / kMinute * 60, 10, 1e-3);
}

TEST_F(RetroChartTest, OfNothingCannotBeLookedAtCloser) {
  show({});
  wheel();
  chart.showTimes(1, 2);
  EXPECT_EQ(chart.shownFrom(), 0);
  EXPECT_EQ(chart.shownTo(), 0);
}

TEST_F(RetroChartTest, LeavesOutWhatIsNoNumber) {
  chart.setSeries({{kDay, Quality::kGood, 1.0},
                   {kDay + kMinute, Quality::kGood, std::nan("")},
                   {kDay + 2 * kMinute, Quality::kGood, HUGE_VAL},
                   {kDay + 3 * kMinute, Quality::kGood, 3.0}},
                  false, "");
  EXPECT_EQ(chart.points(), 2u);
}

TEST_F(RetroChartTest, AStateThatNeverChangedStandsBetweenBothStates) {
  for (const double state : {0.0, 1.0}) {
    show({{kDay, state}, {kDay + kMinute, state}}, true);
    EXPECT_LT(range().first, 0) << state;
    EXPECT_GT(range().second, 1) << state;
  }
}

TEST_F(RetroChartTest, AValueThatNeverChangedStandsOffTheFrame) {
  show({{kDay, 5}, {kDay + kMinute, 5}});
  EXPECT_LT(range().first, 5);
  EXPECT_GT(range().second, 5);
}

TEST_F(RetroChartTest, TheLineToWhatIsNotTrustedIsGrey) {
  show({{kDay, 5}, {kDay + kMinute, 5, Quality::kInvalid}});
  EXPECT_LT(columns(line, 0.2, 0.9), 20);
  show({{kDay, 5}, {kDay + kMinute, 5, Quality::kInvalid}}, true);  // a state holds until then
  EXPECT_GT(columns(line, 0.08, 0.9), 200);
}

TEST_F(RetroChartTest, ADenseLineHasNoDotsButThoseThatTellSomething) {
  std::vector<ChartPoint> points;
  for (int i = 0; i < 400; ++i) points.push_back({kDay + i * kMinute, 5});
  show(points);
  EXPECT_LE(pixels(line), chart.width() * 3);
  points[200].quality = Quality::kInvalid;
  show(points);
  EXPECT_GT(pixels(invalid, 0.1), 5);
}

TEST_F(RetroChartTest, TellsAboveWhatItsMarksMean) {
  const double above = 0.06;
  show({{kDay, 5}, {kDay + kMinute, 5}});
  EXPECT_EQ(pixels(manual, 0, above), 0);
  show({{kDay, 5}, {kDay + kMinute, 5, Quality::kManual}});
  EXPECT_GT(pixels(manual, 0, above), 10);
  EXPECT_EQ(pixels(invalid, 0, above), 0);
}

TEST_F(RetroChartTest, TellsTheUnitAndTheTimes) {
  show({{kDay, 5}, {kDay + kMinute, 5}});
  const int withUnit = pixels(text, 0, 0.06);
  EXPECT_GT(columns(text, 0.93, 1), 50);
  chart.setPoints({{kDay, 5}, {kDay + kMinute, 5}}, false, "");
  EXPECT_LT(pixels(text, 0, 0.06), withUnit);
}

TEST_F(RetroChartTest, MarksNoMoreTimesThanHaveRoom) {
  const auto ticks = [this](double span) {
    show({{kDay, 5}, {kDay + span, 5}});
    const auto* const axis = qobject_cast<QtCharts::QValueAxis*>(chart.chart()->axes(Qt::Horizontal).at(0));
    return (axis->max() - axis->min()) / axis->tickInterval();
  };
  for (const double minutes : {1.0, 9.0, 60.0, 700.0, 1440.0}) {
    EXPECT_LE(ticks(minutes * kMinute), 8.001) << minutes;
    EXPECT_GE(ticks(minutes * kMinute), 2) << minutes;
  }
}

TEST_F(RetroChartTest, ShowsTheCursorAndAllOfItsText) {
  show({{kDay, 1.5}, {kDay + kMinute / 2, 1.5}, {kDay + kMinute, 1.5}});
  const int without = pixels(text, 0.08, 0.2);
  EXPECT_EQ(columns(cursor, 0.3, 0.4), 0);
  moveTo(0.5);
  EXPECT_GT(columns(cursor, 0.3, 0.4), 0);
  const int inTheMiddle = pixels(text, 0.08, 0.2) - without;
  EXPECT_GT(inTheMiddle, 50);
  moveTo(0.99);  // where the text has no room on the right
  EXPECT_GT(pixels(text, 0.08, 0.2) - without, inTheMiddle * 8 / 10);
}

}  // namespace
}  // namespace tlm
