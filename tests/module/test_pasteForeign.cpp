// Pastes of documents from outside, and of what the server does not take.
#include "PasteSteps.h"

namespace tlm::test {
namespace {

// ---- from outside ----------------------------------------------------------------------------------------

TEST_F(PasteRules, UnreadableTextEndsWithoutAMessage) {
  start();
  const QString before = onServer();
  QString whole = doc(element("Analog", "P", "locId='1001'") + element("RemoteUnit", "КП-3"));
  app.log.clear();
  for (int length = 0; length < whole.size(); length += 3) {
    module->clipText = whole.left(length);
    module->clipIsCopy = true;
    module->CheckEnabledPaste(find("КП-2"));
    EXPECT_FALSE(module->btnPaste->isEnabled()) << length;
    module->ParseUpLevelXml(whole.left(length), find("КП-2"), true, true);
  }
  EXPECT_EQ(calls("BlockEnd"), 0);
  EXPECT_EQ(waitingBox(), nullptr);
  EXPECT_EQ(onServer(), before);
}

TEST_F(PasteRules, HarmfulTextsAreRefusedAtOnce) {
  start();
  click("КП-3");
  QString entity = "<!DOCTYPE MyTree [<!ENTITY a \"" + QString(50'000, 'x') + "\">]><MyTree>";
  while (entity.size() < 300'000) entity += "<Analog KeyLink='&a;&a;&a;'/>";
  const QString deep = "<MyTree>" + QString("<Analog KeyLink='a'>").repeated(40'000) + "</MyTree>";
  for (const QString& text : {entity + "</MyTree>", deep}) {
    putPayload("1" + text.toUtf8());
    EXPECT_EQ(module->clipTopTable, "");
    EXPECT_FALSE(module->btnPaste->isEnabled());
    module->ParseUpLevelXml(text, find("КП-3"), true, true);
  }
  EXPECT_EQ(below(onServer(), "КП-3"), "КП-3\n  3001 I\n");
}

TEST_F(PasteRules, OfAnotherProgramIsNoDocument) {
  start();
  click("КП-3");
  for (const char* bytes : {"1<svg><Analog/></svg2>", "1{\"a\":1}", "1\xff\xfe\x00\x01",
                            "1<html><body>text</body></html>", "1<MyTree/>", "1plain"}) {
    putPayload(bytes);
    EXPECT_FALSE(module->btnPaste->isEnabled()) << bytes;
    module->actPaste->trigger();
  }
  EXPECT_EQ(waitingBox(), nullptr);
  EXPECT_EQ(below(onServer(), "КП-3"), "КП-3\n  3001 I\n");
}

TEST_F(PasteRules, KeysOfAnotherServerArePassedOverInSilence) {
  start();
  click("КП-3");
  putPayload("1<MyTree><Analog ClassName='Analog' KeyLink='00000000000000000000000000000000' locId='7'/></MyTree>");
  press(Qt::Key_V);
  EXPECT_EQ(waitingBox(), nullptr);
  EXPECT_EQ(below(onServer(), "КП-3"), "КП-3\n  3001 I\n");
}

TEST_F(PasteRules, DeletedSourceIsSkippedAndTheRestGoesOn) {
  start();
  copy({"P", "Q", "Режим"});
  Colleague colleague(*server.core());
  ASSERT_TRUE(colleague.remove("Analog", key("Q")).commit());
  ASSERT_TRUE(eventsAreIn());
  pasteOnto("КП-3");
  EXPECT_EQ(waitingBox(), nullptr);
  EXPECT_EQ(below(onServer(), "КП-3"), "КП-3\n  1 P\n  2 P макс < 1\n  3 Режим\n  3001 I\n");
}

TEST_F(PasteRules, UnderADeletedFolderTheRestComesToTheTop) {
  start();
  copy({"Север"});
  Colleague colleague(*server.core());
  ASSERT_TRUE(colleague.change("RemoteUnit", key("КП-1"), {"RemoteUnitFolderKey=" + key("Юг")})
                  .remove("RemoteUnitFolder", key("Север-110"))
                  .commit());
  ASSERT_TRUE(eventsAreIn());
  pasteOnto("Юг");
  EXPECT_FALSE(onServer().contains("(оторвано)"));
  EXPECT_THAT(onServer().toStdString(), testing::HasSubstr("\nКП-1\n  1 P\n"));
  EXPECT_THAT(onServer().toStdString(), testing::HasSubstr("  Север\n    КП-2\n      7 U\n"));
}

TEST_F(PasteRules, KeyThatIsNoKeyIsRefusedWhole) {
  start();
  const QString before = onServer();
  module->ParseUpLevelXml(doc("<Analog ClassName='Analog' KeyLink='#1001' locId='1001'/>" + element("Analog", "Q")),
                          find("КП-3"), false, true);
  ASSERT_NE(waitingBox(), nullptr);
  answerBox(waitingBox(), 0);
  EXPECT_EQ(onServer(), before);
}

TEST_F(PasteRules, ClassThatIsNotTheSourcesIsRefusedWhole) {
  start();
  const QString before = onServer();
  module->ParseUpLevelXml(
      doc(QString("<Discrete ClassName='Discrete' KeyLink='%1' locId='1001'/>").arg(key("P")) + element("Analog", "Q")),
      find("КП-3"), true, true);
  ASSERT_NE(waitingBox(), nullptr);
  answerBox(waitingBox(), 0);
  EXPECT_EQ(onServer(), before);
}

// ---- when the server does not take it --------------------------------------------------------------------

struct FailureCase {
  const char* name;
  const char* call;
  Fail fail;
};
void PrintTo(const FailureCase& row, std::ostream* out) { *out << row.name; }

class PasteFailure : public PasteRules, public testing::WithParamInterface<FailureCase> {};

TEST_P(PasteFailure, IsToldInTheBoxAndACutIsGoneFromTheClipboard) {
  start();
  for (const bool isCopy : {true, false}) {
    isCopy ? copy({"Q"}) : cut({"Q"});
    click("КП-3");
    app.failures.add(GetParam().call, GetParam().fail);
    press(Qt::Key_V);
    app.failures.clear();
    ASSERT_NE(waitingBox(), nullptr);
    EXPECT_EQ(waitingBox()->titleText(), "Ошибка изменения данных");
    EXPECT_EQ(waitingBox()->messageText(),
              "При изменения данных возникла непредвиденная ошибка.\nДанные не были изменены!");
    EXPECT_EQ(waitingBox()->icon(), kBoxError);
    answerBox(waitingBox(), 0);
    settle();
    EXPECT_EQ(module->ownMoves, QStringList());
    EXPECT_EQ(module->treeModel->cutKeys, QStringList());
    EXPECT_EQ(module->clipText.isEmpty(), !isCopy);
    EXPECT_EQ(payload() == "0", !isCopy);
  }
}

const FailureCase kFailures[] = {
    {"RefusedBlock", "BlockEnd", Fail::kStatus},
    {"NoAnswer", "BlockEnd", Fail::kNoReply},
};
INSTANTIATE_TEST_SUITE_P(PasteRules, PasteFailure, testing::ValuesIn(kFailures),
                         [](const auto& each) { return std::string(each.param.name); });

TEST_F(PasteRules, LateAnswerCountsAsSuccess) {
  start();
  copy({"Q"});
  click("КП-3");
  app.failures.add("BlockEnd", Fail::kTimeOut);
  press(Qt::Key_V);
  EXPECT_EQ(waitingBox(), nullptr);
}

TEST_F(PasteRules, ServerAwayMeansNoSourceAndNoHarm) {
  start();
  const QString before = onServer();
  cut({"Q"});
  click("КП-3");
  app.failures.add("PacketExec", Fail::kRefuseToSend);
  app.failures.add("CalcExec", Fail::kRefuseToSend);
  app.failures.add("BlockEnd", Fail::kRefuseToSend);
  press(Qt::Key_V);
  app.failures.clear();
  EXPECT_EQ(waitingBox(), nullptr) << "an answer that does not come is no refusal";
  EXPECT_EQ(onServer(), before);
  EXPECT_EQ(module->treeModel->cutKeys, QStringList());
  EXPECT_EQ(module->ownMoves, QStringList());
}

// 150 measurements without a hole among their numbers: the first hundred free ones follow the highest, and behind them
// the server names none.
const std::string& fullModel() {
  static const std::string text = [] {
    std::string lines = "folder Юг\nunit А\n";
    for (int i = 1; i <= 150; ++i) lines += "  analog " + std::to_string(i) + " m" + std::to_string(i) + "\n";
    return lines + "unit Б\n  analog 151 c\n";
  }();
  return text;
}

class PasteFull : public PasteWindow {
 protected:
  PasteFull() : PasteWindow(fullModel().c_str()) {}
};

TEST_F(PasteFull, NumbersUsedUpRefuseTheWholePaste) {
  startBoth();
  const QString before = onServer();
  copy({"А"});
  click("Юг");
  press(Qt::Key_V);
  ASSERT_NE(waitingBox(), nullptr);
  EXPECT_EQ(waitingBox()->messageText(),
            "При изменения данных возникла непредвиденная ошибка.\nДанные не были изменены!");
  answerBox(waitingBox(), 0);
  EXPECT_EQ(onServer(), before);
  EXPECT_EQ(below(shownHere(), "Юг"), "Юг\n");
}

TEST_F(PasteFull, NumbersBehindTheHighestAreGivenFromTheFirstHundred) {
  startBoth();
  copy({"Б"});
  module->ParseUpLevelXml(module->clipText, QModelIndex(), true, true);
  ASSERT_TRUE(bothAreUpToDate());
  EXPECT_EQ(below(onServer(), "Б-копия"), "Б-копия\n  152 c\n");
}

}  // namespace
}  // namespace tlm::test
