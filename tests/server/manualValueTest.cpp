// Values entered by hand.
#include "operatorFixture.h"

namespace tlm::server::test {
namespace {

class ManualValueTest : public OperatorTest {};

TEST_F(ManualValueTest, AValueByHandKeepsToTheLimitsOfItsMeasurement) {
  ASSERT_EQ(status({Update("Analog").update(key("A1"), {{"engMin", -5.0}, {"engMax", 10.0}}),
                    Update("Accumulator").update(key("C1"), {{"rollover", number(100)}}),
                    Update("StringMeasurement").update(key("S1"), {{"maxLength", number(3)}})}),
            wire::kOk);
  for (const char* good : {"locId=1001\nvalue=-5", "locId=1001\nvalue=10", "locId=1002\nvalue=1", "locId=1003\nvalue=0",
                           "locId=1003\nvalue=100", "locId=1004\nvalue=abc", "locId=1004\nvalue="})
    EXPECT_EQ(manual(good), "accepted") << good;
  for (const char* bad :
       {"locId=1001\nvalue=-5.01", "locId=1001\nvalue=10.01", "locId=1002\nvalue=2", "locId=1002\nvalue=0.5",
        "locId=1003\nvalue=-1", "locId=1003\nvalue=101", "locId=1003\nvalue=1.5", "locId=1004\nvalue=abcd",
        "locId=1001\nvalue=", "locId=1777\nvalue=1"})
    EXPECT_NE(manual(bad), "accepted") << bad;
}

TEST_F(ManualValueTest, OfACounterKeepsToASmallRolloverToo) {
  ASSERT_EQ(status({Update("Accumulator").update(key("C1"), {{"rollover", number(1)}})}), wire::kOk);
  EXPECT_EQ(manual("locId=1003\nvalue=1"), "accepted");
  EXPECT_EQ(manual("locId=1003\nvalue=2"), "Значение вне пределов измерения.");
}

TEST_F(ManualValueTest, IsLiftedByOneWordAlone) {
  EXPECT_EQ(manual("locId=1001\nauto=0\nvalue=3"), "accepted");
  EXPECT_TRUE(core->live().isManual(1001));
}

TEST_F(ManualValueTest, AValueByHandMayBeForbiddenAndStillLifted) {
  ASSERT_EQ(manual("locId=1001\nvalue=3"), "accepted");
  ASSERT_EQ(status({Update("Measurement").update(key("A1"), {{"manualAllowed", false}})}), wire::kOk);
  EXPECT_EQ(manual("locId=1001\nvalue=4"), "Ручной ввод для этого измерения не разрешен.");
  EXPECT_EQ(manual("locId=1001\nauto=1"), "accepted");
  EXPECT_FALSE(core->live().isManual(1001));
}

TEST_F(ManualValueTest, AValueByHandOutlivesTheServer) {
  ASSERT_EQ(manual("locId=1001\nvalue=3.125"), "accepted");
  ASSERT_EQ(manual("locId=1004\nvalue=" + ru("стоп")), "accepted");
  reopen(options);
  EXPECT_TRUE(core->live().isManual(1001));
  EXPECT_EQ(valueText(*core->live().current(1001)), "3.125");
  EXPECT_EQ(valueText(*core->live().current(1004)), ru("стоп"));
  const auto who = core->live().manual(1001);
  ASSERT_TRUE(who);
  EXPECT_EQ(who->user, "tester");
  EXPECT_EQ(who->time, kNow);
  ASSERT_EQ(manual("locId=1001\nauto=1"), "accepted");
  reopen(options);
  EXPECT_FALSE(core->live().isManual(1001));
  EXPECT_TRUE(core->live().isManual(1004));
}

TEST_F(ManualValueTest, AValueByHandGoesWithItsMeasurementAndItsNumber) {
  ASSERT_EQ(manual("locId=1001\nvalue=3"), "accepted");
  ASSERT_EQ(manual("locId=1002\nvalue=1"), "accepted");
  ASSERT_EQ(status({Update("Measurement").update(key("A1"), {{"locId", number(2001)}})}), wire::kOk);
  EXPECT_FALSE(core->live().isManual(1001));
  ASSERT_EQ(status({Update("IdentifiedObject").remove(key("D1")), Update("Measurement").remove(key("D1")),
                    Update("Discrete").remove(key("D1"))}),
            wire::kOk);
  reopen(options);
  for (const int number : {1001, 1002, 2001}) EXPECT_FALSE(core->live().isManual(number)) << number;
}

TEST_F(ManualValueTest, AValueThatCannotBeKeptDoesNotStand) {
  failCommits(*data, "the disk is full");
  EXPECT_EQ(packet("ManualValue", "locId=1001\nvalue=3").status, wire::kStorage);
  EXPECT_FALSE(core->live().isManual(1001));
  failCommits(*data, "");
}

TEST_F(ManualValueTest, GoesToTheObjectThatWasSeenUnderItsNumber) {
  EXPECT_EQ(manual("locId=1001\nkey=" + key("D1") + "\nvalue=3"), "Этот номер теперь у другого измерения.");
  EXPECT_EQ(manual("locId=1001\nkey=" + key("D1") + "\nauto=1"), "Этот номер теперь у другого измерения.");
  EXPECT_FALSE(core->live().isManual(1001));
  EXPECT_EQ(manual("locId=1001\nkey=" + key("A1") + "\nvalue=3"), "accepted");
}

TEST_F(ManualValueTest, OfATextWithoutABoundHasTheServersOwn) {
  for (const Value& most : {Value(), Value(number(0))}) {
    ASSERT_EQ(status({Update("StringMeasurement").update(key("S1"), {{"maxLength", most}})}), wire::kOk);
    EXPECT_EQ(manual("locId=1004\nvalue=" + std::string(4096, 'a')), "accepted");
    EXPECT_EQ(manual("locId=1004\nvalue=" + std::string(4097, 'a')), "Текст длиннее, чем допускает измерение.");
  }
  ASSERT_EQ(status({Update("StringMeasurement").update(key("S1"), {{"maxLength", number(5000)}})}), wire::kOk);
  EXPECT_EQ(manual("locId=1004\nvalue=" + std::string(4097, 'a')), "Текст длиннее, чем допускает измерение.");
}

TEST_F(ManualValueTest, TellsWhatIsWrong) {
  ASSERT_EQ(status({Update("Analog").update(key("A1"), {{"engMax", 10.0}}),
                    Update("Accumulator").update(key("C1"), {{"rollover", number(0)}})}),
            wire::kOk);
  EXPECT_EQ(manual("locId=1001\nvalue=11"), "Значение вне пределов измерения.");
  EXPECT_EQ(manual("locId=1001\nvalue=-1e300"), "accepted");
  EXPECT_EQ(manual("locId=1002\nvalue=2"), "Состояние сигнала — 0 или 1.");
  EXPECT_EQ(manual("locId=1003\nvalue=1.5"), "Показание счетчика — целое число.");
  EXPECT_EQ(manual("locId=1003\nvalue=-1"), "Значение вне пределов измерения.");
  EXPECT_EQ(manual("locId=1003\nvalue=123456789"), "accepted");
  EXPECT_EQ(manual("locId=1777\nvalue=1"), "Измерения с таким номером нет на сервере.");
  for (const char* text : {"", "nan", "inf", "1,5", "abc"})
    EXPECT_EQ(packet("ManualValue", std::string("locId=1001\nvalue=") + text).status, wire::kMalformed) << text;
}

TEST_F(ManualValueTest, TravelsAlone) {
  const wire::Request value{wire::RequestKind::kPacket, "ManualValue", "locId=1001\nvalue=3"};
  EXPECT_EQ(block({value, value}).whole.status, wire::kMalformed);
  EXPECT_FALSE(core->live().isManual(1001));
}

}  // namespace
}  // namespace tlm::server::test
