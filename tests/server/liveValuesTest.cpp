#include "fixture.h"

#include <TlmServer/CodePage.h>
#include <TlmServer/Simulator.h>

#include <set>

namespace tlm::server::test {
namespace {

LiveValue value(double number, double time = kNow) { return {time, Quality::kGood, number}; }
double numberOf(const LiveValues& values, int locId) { return std::get<double>(values.current(locId)->value); }

TEST(LiveValues, GiveTheLastValue) {
  LiveValues values;
  EXPECT_FALSE(values.current(5));
  values.set(5, value(1));
  values.set(5, value(2, kNow + 1));
  EXPECT_EQ(values.current(5), value(2, kNow + 1));
}

TEST(LiveValues, AManualValueCoversThoseOfTheField) {
  LiveValues values;
  values.set(5, value(1));
  values.setManual(5, value(9));
  values.set(5, value(2));
  EXPECT_TRUE(values.isManual(5));
  EXPECT_EQ(numberOf(values, 5), 9);
  EXPECT_EQ(values.current(5)->quality, Quality::kManual);
}

TEST(LiveValues, LiftingBringsTheLastValueOfTheFieldBack) {
  LiveValues values;
  values.setManual(5, value(9));
  values.set(5, value(2));
  EXPECT_TRUE(values.liftManual(5, kNow + 3));
  EXPECT_FALSE(values.isManual(5));
  EXPECT_EQ(numberOf(values, 5), 2);
  EXPECT_EQ(values.current(5)->time, kNow + 3);
}

TEST(LiveValues, ASecondManualValueDoesNotHideTheFieldForGood) {
  LiveValues values;
  values.set(5, value(1));
  values.setManual(5, value(8));
  values.setManual(5, value(9));
  values.liftManual(5, kNow);
  EXPECT_EQ(numberOf(values, 5), 1);
}

TEST(LiveValues, LiftingWithoutAValueOfTheFieldMakesItInvalid) {
  LiveValues values;
  values.setManual(5, value(9));
  EXPECT_TRUE(values.liftManual(5, kNow));
  EXPECT_EQ(values.current(5)->quality, Quality::kInvalid);
}

TEST(LiveValues, LiftingWhatIsNotManualIsFalse) {
  LiveValues values;
  EXPECT_FALSE(values.liftManual(5, kNow));
  values.set(5, value(1));
  EXPECT_FALSE(values.liftManual(5, kNow));
}

TEST(LiveValues, TheHistoryKeepsTheNewestValues) {
  LiveValues values(3);
  for (int i = 0; i < 5; ++i) values.set(5, value(i, i));
  const auto history = values.history(5, 0, 100);
  ASSERT_EQ(history.size(), 3u);
  EXPECT_EQ(history.front(), value(2, 2));
  EXPECT_EQ(history.back(), value(4, 4));
}

TEST(LiveValues, TheHistoryIsCutToItsTimes) {
  LiveValues values;
  for (int i = 0; i < 5; ++i) values.set(5, value(i, i));
  EXPECT_EQ(values.history(5, 1, 2).size(), 2u);
  EXPECT_TRUE(values.history(6, 0, 9).empty());
}

TEST(LiveValues, AForgottenNumberHasNoValue) {
  LiveValues values;
  values.set(5, value(1));
  values.forget(5);
  EXPECT_FALSE(values.current(5));
}

TEST(LiveValues, AValueOlderThanOneThatCameBeforeTakesItsPlaceInTheHistory) {
  LiveValues values;
  values.set(5, value(1, 10));
  values.set(5, value(3, 30));
  int told = 0;
  values.setListener([&](std::span<const Shown> shown) { told += static_cast<int>(shown.size()); });
  EXPECT_EQ(values.set(5, value(2, 20)), Taken::kLate);
  EXPECT_EQ(told, 0);
  EXPECT_EQ(values.current(5), value(3, 30));
  EXPECT_EQ(values.history(5, 0, 100), (std::vector<LiveValue>{value(1, 10), value(2, 20), value(3, 30)}));
  EXPECT_EQ(values.set(5, value(4, 30)), Taken::kShown);
  EXPECT_EQ(values.current(5), value(4, 30));
  EXPECT_EQ(values.history(5, 30, 100), (std::vector<LiveValue>{value(3, 30), value(4, 30)}));
}

TEST(LiveValues, AValueOlderThanAFullHistoryHasNoPlace) {
  LiveValues values(2);
  values.set(5, value(1, 10));
  EXPECT_EQ(values.set(5, value(0, 5)), Taken::kLate);
  EXPECT_EQ(values.set(5, value(9, 4)), Taken::kTooLate);
  EXPECT_EQ(values.set(5, value(2, 7)), Taken::kLate);
  EXPECT_EQ(values.history(5, 0, 100), (std::vector<LiveValue>{value(2, 7), value(1, 10)}));
}

TEST(LiveValues, ALateValueBeneathAManualOneShowsNowhere) {
  LiveValues values;
  values.set(5, value(1, 10));
  values.setManual(5, value(9, 20));
  EXPECT_EQ(values.set(5, value(2, 30)), Taken::kBeneath);
  EXPECT_EQ(values.set(5, value(3, 25)), Taken::kBeneath);
  EXPECT_EQ(values.set(5, value(3, 20)), Taken::kBeneath);
  EXPECT_EQ(values.set(5, value(4, 5)), Taken::kLate);
  EXPECT_EQ(values.history(5, 0, 100).size(), 3u);
  values.liftManual(5, 40);
  EXPECT_EQ(numberOf(values, 5), 2);
}

TEST(LiveValues, ANewQualityKeepsTheLastValueOfTheField) {
  LiveValues values;
  EXPECT_EQ(values.setQuality(5, Quality::kInvalid, kNow), Taken::kNothing);
  values.simulate(5, value(7));
  EXPECT_EQ(values.setQuality(5, Quality::kInvalid, kNow), Taken::kNothing);
  values.set(5, value(1));
  EXPECT_EQ(values.setQuality(5, Quality::kInvalid, kNow + 1), Taken::kShown);
  EXPECT_EQ(values.current(5), (LiveValue{kNow + 1, Quality::kInvalid, 1.0}));
  values.setManual(5, value(9, kNow + 2));
  EXPECT_EQ(values.setQuality(5, Quality::kOld, kNow + 3), Taken::kBeneath);
  EXPECT_EQ(numberOf(values, 5), 9);
  values.liftManual(5, kNow + 3);
  EXPECT_EQ(values.current(5), (LiveValue{kNow + 3, Quality::kOld, 1.0}));
}

TEST(LiveValues, AValueFromTheFieldEndsTheSimulatedOnes) {
  LiveValues values;
  EXPECT_TRUE(values.simulate(5, value(7, kNow + 5)));
  EXPECT_EQ(values.set(5, value(1, kNow)), Taken::kShown);
  EXPECT_EQ(values.current(5), value(1, kNow));
  EXPECT_EQ(values.history(5, 0, 1e9), std::vector<LiveValue>{value(1, kNow)});
  EXPECT_FALSE(values.simulate(5, value(8, kNow + 9)));
  EXPECT_EQ(numberOf(values, 5), 1);
  values.forget(5);
  EXPECT_TRUE(values.simulate(5, value(8)));
}

TEST(LiveValues, TheManualValueStaysInAHistoryThatLosesTheSimulatedOnes) {
  LiveValues values;
  values.simulate(5, value(7, kNow));
  values.setManual(5, value(9, kNow + 1));
  EXPECT_EQ(values.set(5, value(1, kNow + 2)), Taken::kBeneath);
  ASSERT_EQ(values.history(5, 0, 1e9).size(), 1u);
  EXPECT_EQ(values.history(5, 0, 1e9)[0].quality, Quality::kManual);
}

TEST(LiveValues, NumbersAreWrittenInDecimal) {
  EXPECT_EQ(valueText(value(123456789012.0)), "123456789012");
  EXPECT_EQ(valueText(value(-0.0)), "0");
  EXPECT_EQ(valueText(value(0.1 + 0.2)), "0.3");
  EXPECT_EQ(valueText(value(112.5)), "112.5");
  EXPECT_EQ(valueText(value(3)), "3");
  EXPECT_EQ(valueText(value(1.005), 1), "1");
  EXPECT_EQ(valueText(value(112.4), 0), "112");
  EXPECT_EQ(valueText(value(0.125), 3), "0.125");
  EXPECT_EQ(valueText(value(0.5), 1000), "0.5");
  EXPECT_EQ(valueText(value(-0.001), 2), "0");
  EXPECT_EQ(valueText({0, Quality::kGood, std::string("text")}, 2), "text");
}

class LiveValueServerTest : public ServerTest {
 protected:
  ~LiveValueServerTest() override { core->unsubscribe(&recorder); }
  Recorder recorder;
};

TEST_F(LiveValueServerTest, ASubscriberHearsTheNumbersItAskedFor) {
  core->subscribeValues(&recorder, {1001});
  core->live().set(1001, value(2.5));
  core->live().set(1002, value(1));
  ASSERT_EQ(recorder.values.size(), 1u);
  EXPECT_EQ(recorder.values[0].locId, 1001);
  EXPECT_EQ(recorder.values[0].value, "2.5");
  EXPECT_EQ(recorder.values[0].time, kNow);
}

TEST_F(LiveValueServerTest, ASecondListReplacesTheFirst) {
  core->subscribeValues(&recorder, {1001});
  core->subscribeValues(&recorder, {1002});
  core->live().set(1001, value(2.5));
  EXPECT_TRUE(recorder.values.empty());
}

TEST_F(LiveValueServerTest, ADeletedMeasurementLosesItsValue) {
  core->live().set(1001, value(2.5));
  ASSERT_EQ(status({Update("IdentifiedObject").remove(key("A1")), Update("Measurement").remove(key("A1")),
                    Update("Analog").remove(key("A1"))}),
            wire::kOk);
  EXPECT_FALSE(core->live().current(1001));
}

TEST_F(LiveValueServerTest, AMeasurementThatChangesItsNumberLeavesTheValueOfTheOldOne) {
  core->live().set(1001, value(2.5));
  ASSERT_EQ(status({Update("Measurement").update(key("A1"), {{"locId", number(7)}})}), wire::kOk);
  EXPECT_FALSE(core->live().current(1001));
}

TEST_F(LiveValueServerTest, TwoRunsOfTheSimulatorAgree) {
  EXPECT_EQ(Simulator(*core, 42).tick(kNow), 4u);
  const auto analog = core->live().current(1001);
  const auto text = core->live().current(1004);
  reopen(options);
  Simulator second(*core, 42);
  second.tick(kNow);
  EXPECT_EQ(core->live().current(1001), analog);
  EXPECT_EQ(core->live().current(1004), text);
}

TEST_F(LiveValueServerTest, SimulatedTextsAreRussianInTheCodePage) {
  Simulator simulator(*core, 42);
  std::set<std::string> texts;
  for (int i = 0; i < 100; ++i) {
    simulator.tick(kNow + i * 0.01);
    texts.insert(fromCodePage(std::get<std::string>(core->live().current(1004)->value)));
  }
  EXPECT_EQ(texts, (std::set<std::string>{"норма", "проверка", "резерв", "без изменений"}));
}

TEST_F(LiveValueServerTest, TheSimulatorMovesValuesWithTheTime) {
  Simulator simulator(*core, 42);
  simulator.tick(kNow);
  const auto before = core->live().current(1001);
  simulator.tick(kNow + 0.01);
  EXPECT_NE(core->live().current(1001)->value, before->value);
}

TEST_F(LiveValueServerTest, ASimulatedAccumulatorNeverFalls) {
  Simulator simulator(*core, 42);
  double last = 0;
  for (int i = 0; i < 100; ++i) {
    simulator.tick(kNow + i * 0.01);
    const double now = std::get<double>(core->live().current(1003)->value);
    EXPECT_GE(now, last);
    last = now;
  }
}

TEST_F(LiveValueServerTest, ASimulatedAnalogStaysInItsRange) {
  ASSERT_EQ(status({Update("Analog").update(key("A1"), {{"engMin", -5.0}, {"engMax", 5.0}})}), wire::kOk);
  Simulator simulator(*core, 42);
  for (int i = 0; i < 1000; ++i) {
    simulator.tick(kNow + i * 0.001);
    EXPECT_LE(std::abs(std::get<double>(core->live().current(1001)->value)), 5.0);
  }
}

TEST_F(LiveValueServerTest, ASimulatedAnalogMovesAboutItsWarningLimits) {
  ASSERT_EQ(status({Update("Analog").update(key("A1"), {{"engMin", 45.0},
                                                        {"engMax", 55.0},
                                                        {"lowWarnOn", true},
                                                        {"lowWarn", 49.5},
                                                        {"highWarnOn", true},
                                                        {"highWarn", 50.5}})}),
            wire::kOk);
  Simulator simulator(*core, 42);
  for (int i = 0; i < 1000; ++i) {
    simulator.tick(kNow + i * 0.001);
    EXPECT_NEAR(std::get<double>(core->live().current(1001)->value), 50.0, 0.9);
  }
}

TEST_F(LiveValueServerTest, ASimulatedAnalogKeepsToItsScaleWhereItsWarningLimitsReachIt) {
  ASSERT_EQ(status({Update("Analog").update(key("A1"), {{"engMin", 45.0},
                                                        {"engMax", 55.0},
                                                        {"lowWarnOn", true},
                                                        {"lowWarn", 45.0},
                                                        {"highWarnOn", true},
                                                        {"highWarn", 55.0}})}),
            wire::kOk);
  Simulator simulator(*core, 42);
  for (int i = 0; i < 1000; ++i) {
    simulator.tick(kNow + i * 0.001);
    EXPECT_NEAR(std::get<double>(core->live().current(1001)->value), 50.0, 3.0);
  }
}

TEST_F(LiveValueServerTest, ASimulatedAnalogWithReversedWarningLimitsMovesOverItsScale) {
  ASSERT_EQ(status({Update("Analog").update(key("A1"), {{"engMin", 45.0},
                                                        {"engMax", 55.0},
                                                        {"lowWarnOn", true},
                                                        {"lowWarn", 50.5},
                                                        {"highWarnOn", true},
                                                        {"highWarn", 49.5}})}),
            wire::kOk);
  Simulator simulator(*core, 42);
  double furthest = 0;
  for (int i = 0; i < 1000; ++i) {
    simulator.tick(kNow + i * 0.001);
    furthest = std::max(furthest, std::abs(std::get<double>(core->live().current(1001)->value) - 50));
  }
  EXPECT_GT(furthest, 2.0);
  EXPECT_LE(furthest, 5.0);
}

TEST_F(LiveValueServerTest, AMeasurementOutOfOperationIsNotSimulated) {
  for (const Value& work : {Value(false), Value()}) {
    ASSERT_EQ(status({Update("Measurement").update(key("A1"), {{"work_", work}})}), wire::kOk);
    Simulator simulator(*core, 42);
    EXPECT_EQ(simulator.tick(kNow), 3u);
    EXPECT_FALSE(core->live().current(1001));
  }
}

TEST_F(LiveValueServerTest, TheSimulatorMovesThoseWithTheLowestNumbers) {
  Simulator simulator(*core, 42, 2);
  EXPECT_EQ(simulator.tick(kNow), 2u);
  EXPECT_TRUE(core->live().current(1002));
  EXPECT_FALSE(core->live().current(1003));
}

TEST_F(LiveValueServerTest, TheSimulatorLeavesAMeasurementWithAValueFromTheField) {
  Simulator simulator(*core, 42);
  EXPECT_EQ(simulator.tick(kNow), 4u);
  core->live().set(1001, value(2.5));
  EXPECT_EQ(simulator.tick(kNow + 0.01), 3u);
  EXPECT_EQ(core->live().current(1001), value(2.5));
}

TEST_F(LiveValueServerTest, TheSimulatorSeesAMeasurementThatIsAdded) {
  Simulator simulator(*core, 42);
  simulator.tick(kNow);
  ASSERT_EQ(status(newMeasurement("A2", "Analog", 2001)), wire::kOk);
  EXPECT_EQ(simulator.tick(kNow), 5u);
  EXPECT_TRUE(core->live().current(2001));
}

}  // namespace
}  // namespace tlm::server::test
