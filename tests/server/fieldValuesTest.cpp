// The entrance for values from the field: each kind, each refusal, and what stands afterwards.
#include <TlmServer/FieldValues.h>

#include <cmath>
#include <limits>

#include "fixture.h"

namespace tlm::server::test {
namespace {

constexpr int64_t kNowMs = 1'765'281'600'000;  // kNow: 46000.5
constexpr double kMs = 1.0 / 86'400'000;
const double kNoNumber = std::numeric_limits<double>::quiet_NaN();

FieldValue number(int32_t locId, double value) { return {{}, locId, value, 0, 0}; }
FieldValue text(int32_t locId, std::string_view value) { return {{}, locId, value, 0, 0}; }
FieldValue written(int32_t locId, std::string_view value) { return {{}, locId, WrittenValue{value}, 0, 0}; }

class FieldValues : public ServerTest {
 protected:
  FieldAnswer take(const std::vector<FieldValue>& values) { return takeValues(*core, values, kNow, &places); }
  // Why the one value is refused; 0 when it is taken.
  int why(const FieldValue& value) {
    const FieldAnswer answer = take({value});
    return answer.refused.empty() ? 0 : static_cast<int>(answer.refused[0].why);
  }
  std::string shown(int32_t locId) const {
    const auto value = core->live().current(locId);
    return value ? valueText(*value) : "none";
  }

  FieldPlaces places;
};

TEST_F(FieldValues, EachKindTakesItsOwn) {
  const FieldAnswer answer =
      take({number(1001, -2.5), number(1002, 1), number(1003, 12'345'678'901), text(1004, "abc")});
  EXPECT_EQ(answer.taken, 4u);
  EXPECT_EQ(answer.beneath, 0u);
  EXPECT_TRUE(answer.refused.empty());
  EXPECT_EQ(shown(1001), "-2.5");
  EXPECT_EQ(shown(1002), "1");
  EXPECT_EQ(shown(1003), "12345678901");
  EXPECT_EQ(shown(1004), "abc");
}

TEST_F(FieldValues, AMeasurementIsNamedByItsKeyToo) {
  const std::string a1 = key("A1");
  EXPECT_EQ(why({a1, 0, 7.0, 0, 0}), 0);
  EXPECT_EQ(shown(1001), "7");
}

TEST_F(FieldValues, WhatIsWrongWithOneConcernsNoOther) {
  const std::string nobody = key("none");
  const FieldAnswer answer = take({number(1001, 1), {nobody, 0, 1.0, 0, 0}, number(1002, 0.5), number(1003, 3)});
  EXPECT_EQ(answer.taken, 2u);
  ASSERT_EQ(answer.refused.size(), 2u);
  EXPECT_EQ(answer.refused[0].index, 1u);
  EXPECT_EQ(answer.refused[0].why, FieldRefusal::kUnknown);
  EXPECT_EQ(answer.refused[1].index, 2u);
  EXPECT_EQ(answer.refused[1].why, FieldRefusal::kRange);
  EXPECT_EQ(shown(1002), "none");
  EXPECT_EQ(shown(1003), "3");
}

TEST_F(FieldValues, AMeasurementThatIsNotThereIsUnknown) {
  const std::string unit = key("U1");
  for (const FieldValue& value : {number(0, 1), number(-5, 1), number(4711, 1), FieldValue{"short", 1001, 1.0, 0, 0},
                                  FieldValue{unit, 0, 1.0, 0, 0}})
    EXPECT_EQ(why(value), 1);
  ASSERT_EQ(status({Update("IdentifiedObject").remove(key("A1")), Update("Measurement").remove(key("A1")),
                    Update("Analog").remove(key("A1"))}),
            wire::kOk);
  EXPECT_EQ(why(number(1001, 1)), 1);
}

TEST_F(FieldValues, AMeasurementOutOfOperationTakesNone) {
  ASSERT_EQ(status({Update("Measurement").update(key("A1"), {{"work_", false}})}), wire::kOk);
  EXPECT_EQ(why(number(1001, 1)), 2);
  ASSERT_EQ(status({Update("Measurement").update(key("A1"), {{"work_", Null{}}})}), wire::kOk);
  EXPECT_EQ(why(number(1001, 1)), 0);
}

TEST_F(FieldValues, TheKindsAreNotMixedUp) {
  for (const int locId : {1001, 1002, 1003}) EXPECT_EQ(why(text(locId, "1")), 3) << locId;
  EXPECT_EQ(why(number(1004, 1)), 3);
  EXPECT_EQ(shown(1004), "none");
}

TEST_F(FieldValues, AWrittenValueIsReadByItsKind) {
  EXPECT_EQ(take({written(1001, "-1.5e2"), written(1002, "1"), written(1003, "42"), written(1004, "1")}).taken, 4u);
  EXPECT_EQ(shown(1001), "-150");
  EXPECT_EQ(shown(1004), "1");
  for (const char* wrong : {"", "abc", "1x", "1,5", " 1", "nan", "inf"})
    EXPECT_EQ(why(written(1001, wrong)), 3) << wrong;
  EXPECT_EQ(why(written(1002, "2")), 4);
}

TEST_F(FieldValues, ANumberThatCannotBeIsRefused) {
  for (const double wrong : {kNoNumber, HUGE_VAL, -HUGE_VAL})
    for (const int locId : {1001, 1002, 1003}) EXPECT_EQ(why(number(locId, wrong)), 4) << wrong;
  for (const double wrong : {-1.0, 2.0, 0.5}) EXPECT_EQ(why(number(1002, wrong)), 4) << wrong;
  for (const double wrong : {-1.0, 1.5, 9'007'199'254'740'994.0}) EXPECT_EQ(why(number(1003, wrong)), 4) << wrong;
  for (const double right : {0.0, 9'007'199'254'740'992.0}) EXPECT_EQ(why(number(1003, right)), 0) << right;
}

TEST_F(FieldValues, AValueBeyondTheScaleIsTaken) {
  ASSERT_EQ(status({Update("Analog").update(key("A1"), {{"engMin", -5.0}, {"engMax", 10.0}})}), wire::kOk);
  EXPECT_EQ(why(number(1001, 99)), 0);
}

TEST_F(FieldValues, ATextKeepsToItsLength) {
  EXPECT_EQ(why(text(1004, std::string(4096, 'x'))), 0);
  EXPECT_EQ(why(text(1004, std::string(4097, 'x'))), 5);
  ASSERT_EQ(status({Update("StringMeasurement").update(key("S1"), {{"maxLength", test::number(3)}})}), wire::kOk);
  EXPECT_EQ(why(text(1004, "abc")), 0);
  EXPECT_EQ(why(text(1004, "abcd")), 5);
  EXPECT_EQ(why(text(1004, "")), 0);
  for (const char* wrong : {"a\nb", "\t", "\x1b", "\x1f"}) EXPECT_EQ(why(text(1004, wrong)), 5);
  EXPECT_EQ(why(text(1004, std::string(1, '\0'))), 5);
}

TEST_F(FieldValues, ATextWithoutABoundOrBeyondTheServersHasTheServersOwn) {
  for (const int64_t most : {0, 5000}) {
    ASSERT_EQ(status({Update("StringMeasurement").update(key("S1"), {{"maxLength", test::number(most)}})}), wire::kOk);
    EXPECT_EQ(why(text(1004, std::string(4096, 'x'))), 0) << most;
    EXPECT_EQ(why(text(1004, std::string(4097, 'x'))), 5) << most;
  }
}

TEST_F(FieldValues, ATextMayBeInRussian) {
  const std::string local = ru("Местное");
  EXPECT_EQ(why(text(1004, local)), 0);
  EXPECT_EQ(shown(1004), local);
}

TEST_F(FieldValues, EachRefusalHasThePlaceOfItsValue) {
  const FieldAnswer answer = take({number(4711, 1), number(1001, 1), {{}, 1002, {}, 3, 0}});
  ASSERT_EQ(answer.refused.size(), 2u);
  EXPECT_EQ(answer.refused[0].index, 0u);
  EXPECT_EQ(answer.refused[1].index, 2u);
}

TEST_F(FieldValues, QualityAndTimeAreKept) {
  for (const int quality : {0, 2, 3}) {
    EXPECT_EQ(why({{}, 1001, 1.0, quality, kNowMs - 1500 + quality}), 0);
    const auto value = core->live().current(1001);
    EXPECT_EQ(static_cast<int>(value->quality), quality);
    EXPECT_NEAR(value->time, kNow - (1500 - quality) * kMs, kMs / 100);
  }
}

TEST_F(FieldValues, NobodyFromTheFieldSpeaksByHand) {
  for (const int quality : {1, 4, -1, 1000}) EXPECT_EQ(why({{}, 1001, 1.0, quality, 0}), 6) << quality;
}

TEST_F(FieldValues, WithoutATimeItIsNow) {
  take({number(1001, 1)});
  EXPECT_EQ(core->live().current(1001)->time, kNow);
}

TEST_F(FieldValues, ATimeThatCannotBeIsRefused) {
  EXPECT_EQ(why({{}, 1001, 1.0, 0, -1}), 7);
  EXPECT_EQ(why({{}, 1001, 1.0, 0, std::numeric_limits<int64_t>::min()}), 7);
  EXPECT_EQ(why({{}, 1001, 1.0, 0, std::numeric_limits<int64_t>::max()}), 7);
  EXPECT_EQ(why({{}, 1001, 1.0, 0, kNowMs + 60'010}), 7);
  EXPECT_EQ(why({{}, 1001, 1.0, 0, kNowMs + 59'990}), 0);
}

TEST_F(FieldValues, WhatIsOlderThanAFullHistoryIsRefused) {
  for (int i = 0; i < 128; ++i) ASSERT_EQ(why({{}, 1001, 1.0, 0, kNowMs - 1000 + i}), 0);
  EXPECT_EQ(why({{}, 1001, 1.0, 0, kNowMs - 1001}), 8);
  EXPECT_EQ(why({{}, 1001, 1.0, 0, kNowMs - 900}), 0);
}

TEST_F(FieldValues, AQualityAloneMarksTheLastValue) {
  EXPECT_EQ(why({{}, 1001, {}, 3, 0}), 9);
  take({number(1001, 5)});
  EXPECT_EQ(why({{}, 1001, {}, 0, 0}), 9);
  EXPECT_EQ(why({{}, 1001, {}, 3, 0}), 0);
  EXPECT_EQ(core->live().current(1001), (LiveValue{kNow, Quality::kInvalid, 5.0}));
}

TEST_F(FieldValues, AChangeOfTheModelIsSeenByTheNextValue) {
  EXPECT_EQ(why(number(1001, 1)), 0);
  EXPECT_EQ(why(number(2001, 1)), 1);
  ASSERT_EQ(status({Update("Measurement").update(key("A1"), {{"locId", test::number(2001)}})}), wire::kOk);
  EXPECT_EQ(why(number(1001, 1)), 1);
  EXPECT_EQ(why(number(2001, 2)), 0);
  EXPECT_EQ(shown(1001), "none");
  EXPECT_EQ(shown(2001), "2");
}

TEST_F(FieldValues, MoreMeasurementsThanAreRememberedAreTakenAllTheSame) {
  for (int locId = 0; locId < 100'000; ++locId) {
    const bool there = locId >= 1001 && locId <= 1003;
    ASSERT_EQ(why(number(locId, 1)), there ? 0 : locId == 1004 ? 3 : 1) << locId;
  }
  EXPECT_EQ(why(number(1001, 2)), 0);
  EXPECT_EQ(shown(1001), "2");
}

TEST_F(FieldValues, AValueByHandStaysOnTop) {
  take({number(1001, 5)});
  core->live().setManual(1001, {kNow, Quality::kManual, 9.0}, "me");
  const FieldAnswer answer = take({number(1001, 6), number(1002, 1)});
  EXPECT_EQ(answer.taken, 2u);
  EXPECT_EQ(answer.beneath, 1u);
  EXPECT_EQ(shown(1001), "9");
  core->live().liftManual(1001, kNow);
  EXPECT_EQ(shown(1001), "6");
}

TEST_F(FieldValues, SubscribersHearThemInOrder) {
  Recorder recorder;
  core->subscribeValues(&recorder, {1001});
  take({number(1001, 1), number(1002, 1), number(1001, 2)});
  core->unsubscribe(&recorder);
  ASSERT_EQ(recorder.values.size(), 2u);
  EXPECT_EQ(recorder.values[0].value, "1");
  EXPECT_EQ(recorder.values[1].value, "2");
}

}  // namespace
}  // namespace tlm::server::test
