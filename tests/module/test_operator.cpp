// When an operator's tool may open, and the tool that asks for what its panel must know.
#include "CToolMeasParamsConf.h"

#include "OperatorWindow.h"

namespace tlm::test {
namespace {

constexpr char kNoArchive[] =
    "Для данного измерения не задействована система архивирования. Для корректной работы системы архивирования у "
    "измерения должны быть включены свойства : Архивирование";
constexpr char kNoDuplicates[] =
    "Для данного измерения не задействована система дублирования. Для корректной работы системы дублирования  у "
    "измерения должны быть включены свойства : ";

QString refusalBox() {
  CPopMessageBox* const box = waitingBox();
  if (!box) return "none";
  EXPECT_EQ(box->titleText(), "Ошибка");
  EXPECT_EQ(box->icon(), 1);
  EXPECT_EQ(box->type(), 0);
  const QString text = box->messageText();
  QTest::keyClick(box, Qt::Key_Return);
  settle();
  EXPECT_EQ(waitingBox(), nullptr);
  EXPECT_TRUE(box->isHidden());
  return text;
}

// ---- conditions ----

class Conditions : public OperatorWindow {
 protected:
  QString refused(const QString& objectKey, int kind) {
    QString message = "untouched";
    const bool refuses = module->CheckConditions(objectKey, message, kind);
    return refuses ? message : "may open, " + message;
  }
};

TEST_F(Conditions, OfAValueWantTheArchive) {
  EXPECT_EQ(refused(key("Без архива"), 1), kNoArchive);
  EXPECT_EQ(refused(key("Без всего"), 1), kNoArchive);
  EXPECT_EQ(refused(key("Без дублей"), 1), "may open, untouched");
  EXPECT_EQ(refused(key("Всё есть"), 1), "may open, untouched");
}

TEST_F(Conditions, OfDuplicatesWantBothProperties) {
  EXPECT_EQ(refused(key("Всё есть"), 2), "may open, untouched");
  EXPECT_EQ(refused(key("Без дублей"), 2), kNoDuplicates + QString("Использование дублирования"));
  EXPECT_EQ(refused(key("Без архива"), 2), kNoDuplicates + QString("Архивирование"));
  EXPECT_EQ(refused(key("Без всего"), 2), kNoDuplicates + QString("Использование дублирования и Архивирование"));
}

TEST_F(Conditions, AreMetByPropertiesThatAreNotSet) {
  EXPECT_EQ(refused(key("Не задано"), 1), "may open, untouched");
  EXPECT_EQ(refused(key("Не задано"), 2), "may open, untouched");
}

TEST_F(Conditions, AreMetByAnObjectThatCannotBeRead) {
  EXPECT_EQ(refused(QString(), 1), "may open, untouched");
  EXPECT_EQ(refused(key("нигде"), 1), "may open, untouched");
  for (const Fail fail : {Fail::kRefuseToSend, Fail::kTimeOut, Fail::kStatus, Fail::kEmptyPayload}) {
    app.failures.clear();
    app.failures.add("PacketExec RecByKeyLink", fail);
    EXPECT_EQ(refused(key("Без всего"), 1), "may open, untouched");
    EXPECT_EQ(refused(key("Без всего"), 2), "may open, untouched");
  }
}

TEST_F(Conditions, AskNothingForAnEmptyKey) {
  app.log.clear();
  refused(QString(), 1);
  EXPECT_EQ(asked(), QStringList());
}

TEST_F(Conditions, OfNoOtherKindAreLookedAt) { EXPECT_EQ(refused(key("Без всего"), 3), "may open, untouched"); }

TEST_F(Conditions, ThatAreNotMetShowTheBoxForEachTool) {
  choose("Без архива", module->actManual);
  EXPECT_EQ(refusalBox(), kNoArchive);
  EXPECT_EQ(module->popManualInput, nullptr);
  choose("Без архива", module->actDubl);
  EXPECT_EQ(refusalBox(), kNoDuplicates + QString("Архивирование"));
  EXPECT_EQ(module->popDublies, nullptr);
  choose("Q-без архива", module->actRemoteControl);
  EXPECT_EQ(refusalBox(), kNoArchive);
  EXPECT_EQ(module->popRemoteControl, nullptr);
  EXPECT_TRUE(module->pendingTelecontrol.isEmpty());
}

// ---- the tool ----

class ParamsTool : public OperatorWindow {};

TEST_F(ParamsTool, BringsTheTextOfTheReply) {
  CToolMeasParamsConf tool(module.get());
  EXPECT_EQ(tool.objectName(), "measparams");
  tool.locId = 1001;
  tool.Perform(false);
  EXPECT_EQ(tool.state, 2);
  EXPECT_TRUE(tool.params.startsWith("locId=1001\n")) << tool.params.toStdString();
}

TEST_F(ParamsTool, NamesTheNumberInTheBody) {
  CToolMeasParamsConf tool(module.get());
  tool.locId = 77;
  app.log.clear();
  tool.Perform(false);
  EXPECT_EQ(app.log, QStringList("PacketExec MeasParams locId=77"));
  EXPECT_EQ(tool.state, 3);
  EXPECT_TRUE(tool.params.isEmpty());
}

TEST_F(ParamsTool, WaitsWithoutALimit) {
  app.recordWaits = true;
  CTlmCliMod other(&app);
  CToolMeasParamsConf tool(&other);
  tool.locId = 1001;
  app.log.clear();
  tool.Perform(false);
  EXPECT_EQ(app.log, QStringList({"PacketExec MeasParams locId=1001", "WaitResult -1"}));
}

TEST_F(ParamsTool, FailsOnEveryOtherReply) {
  for (const Fail fail :
       {Fail::kRefuseToSend, Fail::kTimeOut, Fail::kNoReply, Fail::kStatus, Fail::kEmptyPayload, Fail::kEmptyText}) {
    app.failures.clear();
    app.failures.add("PacketExec MeasParams", fail);
    CToolMeasParamsConf tool(module.get());
    tool.locId = 1001;
    tool.Perform(false);
    EXPECT_EQ(tool.state, 3) << static_cast<int>(fail);
    EXPECT_TRUE(tool.params.isEmpty());
  }
}

TEST_F(ParamsTool, LoadsOnlyWhileItRuns) {
  CToolMeasParamsConf tool(module.get());
  tool.locId = 1001;
  app.log.clear();
  for (const int state : {0, 2, 3}) {
    tool.state = state;
    tool.LoadMeasParams();
    EXPECT_EQ(tool.state, state);
  }
  EXPECT_EQ(app.log, QStringList());
}

TEST_F(ParamsTool, FailsWithoutASession) {
  CTlmCliMod alone(nullptr);
  CToolMeasParamsConf tool(&alone);
  tool.locId = 1001;
  tool.Perform(false);
  EXPECT_EQ(tool.state, 3);
}

}  // namespace
}  // namespace tlm::test
