#include "fixture.h"

#include <TlmServer/CodePage.h>

namespace tlm::server::test {
namespace {

class TextRequestTest : public ServerTest {
 protected:
  std::string hint(const std::string& name) const {
    const wire::Reply reply = packet("ObjectHint", key(name));
    EXPECT_EQ(reply.status, wire::kOk);
    std::string text = reply.payload.value_or("no payload");
    EXPECT_EQ(text.back(), '\0');
    text.pop_back();
    return fromCodePage(text);
  }

  std::string params(int locId) const {
    const wire::Reply reply = packet("MeasParams", "locId=" + std::to_string(locId));
    EXPECT_EQ(reply.status, wire::kOk);
    EXPECT_FALSE(reply.payload);
    return fromCodePage(reply.text.value_or("no text"));
  }

  static bool holds(const std::string& text, const std::string& line) {
    return ("\n" + text).find("\n" + line + "\n") != std::string::npos;
  }
};

TEST_F(TextRequestTest, AHintTellsValueUnitQualityAndTime) {
  core->live().set(1001, {kNow, Quality::kGood, 112.5});
  EXPECT_EQ(hint("A1"), "112.5 МВт; достоверно; 09.12.2025 12:00:00");
}

TEST_F(TextRequestTest, AHintHonoursTheDecimalsOfAnAnalog) {
  ASSERT_EQ(status({Update("Analog").update(key("A1"), {{"decimals", number(2)}})}), wire::kOk);
  core->live().set(1001, {kNow, Quality::kOld, 1.23456});
  EXPECT_EQ(hint("A1"), "1.23 МВт; устарело; 09.12.2025 12:00:00");
}

TEST_F(TextRequestTest, AHintOfADiscreteShowsItsStateInItsOwnTexts) {
  core->live().set(1002, {kNow, Quality::kGood, 1.0});
  EXPECT_EQ(hint("D1"), "Включено; достоверно; 09.12.2025 12:00:00");
  ASSERT_EQ(status({Update("Discrete").update(key("D1"), {{"StateTextsKey", key("Texts")}})}), wire::kOk);
  EXPECT_EQ(hint("D1"), "ВКЛ; достоверно; 09.12.2025 12:00:00");
}

TEST_F(TextRequestTest, AHintOfAManualValueSaysSo) {
  core->live().setManual(1001, {kNow, Quality::kGood, 5.0});
  EXPECT_EQ(hint("A1"), "5 МВт; ручной ввод; 09.12.2025 12:00:00");
}

TEST_F(TextRequestTest, AHintWithoutAValueSaysSo) { EXPECT_EQ(hint("A1"), "нет данных"); }

TEST_F(TextRequestTest, AHintOfAUnitTellsWhetherItIsInOperation) {
  EXPECT_EQ(hint("Unit"), "в работе");
  ASSERT_EQ(status({Update("RemoteUnit").update(key("Unit"), {{"StateRtu", false}})}), wire::kOk);
  EXPECT_EQ(hint("Unit"), "выведено из работы");
}

TEST_F(TextRequestTest, AHintOfAFolderIsEmpty) { EXPECT_EQ(hint("Root"), ""); }

TEST_F(TextRequestTest, AHintOfAnUnknownObjectHasAStatus) {
  EXPECT_EQ(packet("ObjectHint", key("absent")).status, wire::kNotFound);
  EXPECT_EQ(packet("ObjectHint", "").status, wire::kNotFound);
}

TEST_F(TextRequestTest, AKeyMayEndInAZero) {
  EXPECT_EQ(packet("ObjectHint", key("A1") + std::string(1, '\0')).status, wire::kOk);
}

TEST_F(TextRequestTest, ServerGroupsStandInTheirTwoSections) {
  ASSERT_EQ(
      status({Update("ServerGroups")
                  .insert(key("G2"), {{"number", number(2)}, {"name_", ru("Резерв")}})
                  .insert(key("G1"), {{"number", number(1)}, {"name_", ru("Основная [1]")}, {"current_", true}})}),
      wire::kOk);
  const wire::Reply reply = packet("SRV_GROUPS_INFO", "");
  EXPECT_EQ(fromCodePage(reply.payload.value_or("")),
            "[CurSrvGroup]\r\nCurGroup=1\r\n[Groups]\r\nGroup 1=Основная (1)\r\nGroup 2=Резерв\r\n");
}

TEST_F(TextRequestTest, WithoutACurrentServerGroupItsNumberIsZero) {
  EXPECT_EQ(packet("SRV_GROUPS_INFO", "").payload, "[CurSrvGroup]\r\nCurGroup=0\r\n[Groups]\r\n");
}

TEST_F(TextRequestTest, ParametersOfAnAnalogTellItsRangeAndValue) {
  ASSERT_EQ(status({Update("Analog").update(key("A1"), {{"engMin", -10.0}, {"engMax", 10.5}})}), wire::kOk);
  core->live().set(1001, {kNow, Quality::kGood, 2.5});
  const std::string text = params(1001);
  for (const char* line :
       {"locId=1001", "class=Analog", "name=name A1", "unitName=ПС Северная", "unit=МВт", "engMin=-10", "engMax=10.5",
        "value=2.5", "text=2.5 МВт", "quality=0", "manual=0", "time=46000.500000000"})
    EXPECT_TRUE(holds(text, line)) << line << " in\n" << text;
  EXPECT_TRUE(holds(text, "key=" + key("A1")));
}

TEST_F(TextRequestTest, ParametersOfADiscreteTellItsStatesAndCommands) {
  ASSERT_EQ(status({Update("Discrete").update(key("D1"), {{"CheckTu", true}, {"StateTextsKey", key("Texts")}})}),
            wire::kOk);
  const std::string text = params(1002);
  for (const char* line : {"CheckTu=1", "text0=ОТКЛ", "text1=ВКЛ", "command0=Отключить", "command1=Включить"})
    EXPECT_TRUE(holds(text, line)) << line << " in\n" << text;
}

TEST_F(TextRequestTest, AParameterHoldsNoLineBreak) {
  ASSERT_EQ(status({Update("IdentifiedObject").update(key("A1"), {{"name_", "two\nlines"}})}), wire::kOk);
  EXPECT_TRUE(holds(params(1001), "name=two lines"));
}

TEST_F(TextRequestTest, ParametersOfAnUnknownNumberHaveAStatus) {
  EXPECT_EQ(packet("MeasParams", "locId=7").status, wire::kNotFound);
  EXPECT_EQ(packet("MeasParams", "locId=").status, wire::kNotFound);
  EXPECT_EQ(packet("MeasParams", "").status, wire::kNotFound);
}

TEST_F(TextRequestTest, AManualValueStandsUntilItIsLifted) {
  core->live().set(1001, {kNow - 1, Quality::kGood, 1.0});
  EXPECT_EQ(packet("ManualValue", "locId=1001\nvalue=7.25").status, wire::kOk);
  EXPECT_TRUE(holds(params(1001), "manual=1"));
  EXPECT_TRUE(holds(params(1001), "value=7.25"));
  EXPECT_EQ(packet("ManualValue", "locId=1001\nauto=1").status, wire::kOk);
  EXPECT_TRUE(holds(params(1001), "manual=0"));
  EXPECT_TRUE(holds(params(1001), "value=1"));
}

TEST_F(TextRequestTest, AManualValueOfAStringMeasurementIsAText) {
  EXPECT_EQ(packet("ManualValue", "locId=1004\nvalue=" + ru("ремонт")).status, wire::kOk);
  EXPECT_TRUE(holds(params(1004), "value=ремонт"));
}

TEST_F(TextRequestTest, AManualValueThatIsNoNumberIsMalformed) {
  EXPECT_EQ(packet("ManualValue", "locId=1001\nvalue=abc").status, wire::kMalformed);
  EXPECT_EQ(packet("ManualValue", "locId=1001\nvalue=inf").status, wire::kMalformed);
  EXPECT_EQ(packet("ManualValue", "locId=1001").status, wire::kMalformed);
  EXPECT_EQ(packet("ManualValue", "locId=7\nvalue=1").status, wire::kNotFound);
}

TEST_F(TextRequestTest, TheHistoryBringsTheValuesOfATimeSpan) {
  for (int i = 0; i < 5; ++i) core->live().set(1001, {kNow + i, Quality::kGood, i * 1.5});
  const Table table = tableOf(packet("ValueHistory", "locId=1001\nfrom=46001\nto=46003.6"));
  EXPECT_EQ(table.columns, (std::vector<std::string>{"time", "value", "text", "quality"}));
  ASSERT_EQ(table.rows.size(), 3u);
  EXPECT_EQ(table.rows[0].at("value"), "1.5");
  EXPECT_EQ(table.rows[2].at("text"), "4.5");
}

}  // namespace
}  // namespace tlm::server::test
