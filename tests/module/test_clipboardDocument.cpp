// What cut and copy put on the clipboard.
#include <QAction>

#include "PasteWindow.h"

namespace tlm::test {
namespace {

// The document of the clipboard: each element with its attributes in the order of their names, keys by the names of
// their objects.
class CutCopy : public PasteWindow {
 protected:
  QString elements(const QString& xml) {
    QDomDocument read;
    EXPECT_TRUE(read.setContent(xml));
    EXPECT_EQ(read.documentElement().tagName(), "MyTree");
    EXPECT_EQ(read.documentElement().attributes().size(), 0);
    QString text;
    print(read.documentElement(), 0, &text);
    for (const char* name : {"Север", "Север-110", "КП-1", "P", "P макс", "Q", "Выключатель", "Wp", "Режим", "КП-2",
                             "U", "Юг", "КП-3", "I", "Сам по себе", "Часовая"})
      text.replace(key(name), QString("@") + name);
    return text;
  }
  QString elements() { return elements(document()); }
  static void print(const QDomElement& parent, int depth, QString* text) {
    for (QDomElement each = parent.firstChildElement(); !each.isNull(); each = each.nextSiblingElement()) {
      QStringList attributes;
      for (int i = 0; i < each.attributes().size(); ++i) {
        const QDomAttr attribute = each.attributes().item(i).toAttr();
        attributes += attribute.name() + '=' + attribute.value();
      }
      attributes.sort();
      *text +=
          QString(2 * depth, ' ') + each.tagName() + (attributes.isEmpty() ? "" : ": ") + attributes.join("; ") + '\n';
      print(each, depth + 1, text);
    }
  }
  QModelIndex groupOf(const char* measurement) { return find(measurement).parent(); }
  bool isGrey(const char* name) { return find(name).data(Qt::ForegroundRole).value<QColor>() == QColor(175, 175, 175); }
};

TEST_F(CutCopy, FolderHoldsItsFoldersUnitsAndTheirMeasurements) {
  start();
  openSorted("КП-1");
  copy({"Север"});
  EXPECT_EQ(elements(), picture(R"(
    Folder: ClassName=; KeyLink=@Север; ParentKey=; caption=Север
      Folder: ClassName=; KeyLink=@Север-110; ParentKey=@Север; caption=Север-110
        RemoteUnit: ClassName=RemoteUnit; KeyLink=@КП-1; RemoteUnitFolderKey=@Север-110; name_=КП-1
          Analog: ClassName=Analog; KeyLink=@P; RemoteUnitKey=@КП-1; locId=1001; name_=P
            Analog: ClassName=Analog; KeyLink=@P макс; MeasurementArchGroupKey=@Часовая; RemoteUnitKey=; locId=1002; name_=P макс; primaryLocId=1001
          Analog: ClassName=Analog; KeyLink=@Q; RemoteUnitKey=@КП-1; locId=1003; name_=Q
          Discrete: ClassName=Discrete; KeyLink=@Выключатель; RemoteUnitKey=@КП-1; locId=1004; name_=Выключатель
          StringMeasurement: ClassName=StringMeasurement; KeyLink=@Режим; RemoteUnitKey=@КП-1; locId=1005; name_=Режим
          Accumulator: ClassName=Accumulator; KeyLink=@Wp; RemoteUnitKey=@КП-1; locId=1006; name_=Wp
      RemoteUnit: ClassName=RemoteUnit; KeyLink=@КП-2; RemoteUnitFolderKey=@Север; name_=КП-2
        Analog: ClassName=Analog; KeyLink=@U; RemoteUnitKey=@КП-2; locId=2001; name_=U
  )"));
}

TEST_F(CutCopy, UnitThatWasNeverOpenedComesWithItsMeasurements) {
  start();
  ASSERT_FALSE(nodeOf(find("КП-2"))->isLoaded);
  copy({"КП-2"});
  EXPECT_EQ(elements(), picture(R"(
    RemoteUnit: ClassName=RemoteUnit; KeyLink=@КП-2; RemoteUnitFolderKey=@Север; name_=КП-2
      Analog: ClassName=Analog; KeyLink=@U; RemoteUnitKey=@КП-2; locId=2001; name_=U
  )"));
}

TEST_F(CutCopy, UnitAtTheTopHasNoFolder) {
  start();
  copy({"КП-3"});
  EXPECT_THAT(elements().toStdString(), testing::HasSubstr("RemoteUnitFolderKey=;"));
}

TEST_F(CutCopy, GroupGivesItsMeasurementsAtTheTop) {
  start();
  click(groupOf("P"));
  press(Qt::Key_C);
  EXPECT_EQ(elements(), picture(R"(
    Analog: ClassName=Analog; KeyLink=@P; RemoteUnitKey=@КП-1; locId=1001; name_=P
      Analog: ClassName=Analog; KeyLink=@P макс; MeasurementArchGroupKey=@Часовая; RemoteUnitKey=; locId=1002; name_=P макс; primaryLocId=1001
    Analog: ClassName=Analog; KeyLink=@Q; RemoteUnitKey=@КП-1; locId=1003; name_=Q
  )"));
}

TEST_F(CutCopy, DefaultUnitGivesItsMeasurementsAtTheTop) {
  start();
  click(module->treeModel->defaultUnit());
  press(Qt::Key_C);
  EXPECT_EQ(elements(),
            "Analog: ClassName=Analog; KeyLink=@Сам по себе; RemoteUnitKey=; locId=4001; name_=Сам по себе\n");
}

TEST_F(CutCopy, ElementsStandInTheOrderOfTheSelection) {
  start();
  copy({"Q", "Выключатель", "P"});
  EXPECT_EQ(elements().split('\n').filter(QRegExp("^\\w")).replaceInStrings(QRegExp(":.*name_=([^;]*).*"), " \\1"),
            (QStringList{"Analog Q", "Discrete Выключатель", "Analog P"}));
}

TEST_F(CutCopy, BothCellsOfARowAreOneObject) {
  start();
  click("Q");
  click(find("Q").sibling(find("Q").row(), 1), Qt::ControlModifier);
  press(Qt::Key_C);
  EXPECT_EQ(elements(), "Analog: ClassName=Analog; KeyLink=@Q; RemoteUnitKey=@КП-1; locId=1003; name_=Q\n");
}

TEST_F(CutCopy, SelectedByItsNumberAnObjectKeepsItsName) {
  start();
  click(find("Q").sibling(find("Q").row(), 1));
  press(Qt::Key_C);
  EXPECT_EQ(elements(), "Analog: ClassName=Analog; KeyLink=@Q; RemoteUnitKey=@КП-1; locId=1003; name_=Q\n");
}

TEST_F(CutCopy, OnlyTheTopmostOfTheSelectedRowsAreWritten) {
  start();
  copy({"U", "Север", "КП-2"});
  EXPECT_TRUE(elements().startsWith("Folder: ClassName=; KeyLink=@Север;")) << elements().toStdString();
  EXPECT_EQ(elements().split('\n').filter(QRegExp("^\\w")).size(), 1);
  EXPECT_EQ(elements().count("KeyLink=@U;"), 1);
}

TEST_F(CutCopy, AMeasurementOfASelectedGroupIsWrittenOnce) {
  start();
  find("P");
  click(groupOf("P"));
  click(find("Q"), Qt::ControlModifier);
  press(Qt::Key_C);
  EXPECT_EQ(elements().count("KeyLink=@Q;"), 1);
}

TEST_F(CutCopy, PrimaryIsNamedForAggregatedMeasurementsAlone) {
  start();
  copy({"P", "P макс"});
  EXPECT_EQ(elements().count("primaryLocId"), 1);
  nodeOf(find("P макс"))->isAggregated = false;
  copy({"P"});
  EXPECT_EQ(elements().count("primaryLocId"), 0);
  EXPECT_EQ(elements().count("MeasurementArchGroupKey"), 0);
}

TEST_F(CutCopy, PrimaryNumberOfZeroIsNone) {
  start();
  const myConfNode* node = nodeOf(find("P макс"));
  node->table->SetVal(node->record, "primaryLocId", intVar(0));
  copy({"P"});
  EXPECT_EQ(elements().count("primaryLocId"), 0);
  EXPECT_EQ(elements().count("MeasurementArchGroupKey"), 0);
}

TEST_F(CutCopy, ArchiveGroupIsNamedWhenThereIsOne) {
  start();
  const myConfNode* node = nodeOf(find("P макс"));
  for (const MDRVar& none : {nullTextVar(), textVar(QByteArray(""))}) {
    node->table->SetVal(node->record, "MeasurementArchGroupKey", none);
    copy({"P"});
    EXPECT_EQ(elements().count("primaryLocId=1001"), 1);
    EXPECT_EQ(elements().count("MeasurementArchGroupKey"), 0);
  }
}

TEST_F(CutCopy, GreyTakesACutThatMarks) {
  start();
  for (const auto& [isCut, markCut] : {std::pair{true, false}, {false, true}, {false, false}, {true, true}}) {
    QDomDocument doc;
    QDomElement root = doc.createElement("MyTree");
    module->treeModel->cutKeys.clear();
    module->AddToXmlClipBoard(doc, root, find("P"), isCut, markCut);
    EXPECT_EQ(module->treeModel->cutKeys, isCut && markCut ? QStringList({key("P"), key("P макс")}) : QStringList());
    module->treeModel->cutKeys.clear();
    module->CheckAndAddSubNodes(find("P"), doc, root, isCut, markCut);
    EXPECT_EQ(module->treeModel->cutKeys, isCut && markCut ? QStringList(key("P макс")) : QStringList());
  }
}

TEST_F(CutCopy, BelowNoRowThereIsNothing) {
  start();
  QDomDocument doc;
  QDomElement root = doc.createElement("MyTree");
  module->CheckAndAddSubNodes(QModelIndex(), doc, root, true, true);
  EXPECT_FALSE(root.hasChildNodes());
}

TEST_F(CutCopy, TextIsUtf8WithOneBlankOfIndentation) {
  start();
  copy({"КП-3"});
  EXPECT_EQ(payload().left(1), "1");
  const QStringList lines = document().split('\n');
  EXPECT_EQ(lines[0], "<!DOCTYPE MyTreeCopy>");
  EXPECT_EQ(lines[1], "<MyTree>");
  EXPECT_TRUE(lines[2].startsWith(" <RemoteUnit ")) << lines[2].toStdString();
  EXPECT_TRUE(lines[3].startsWith("  <Analog ")) << lines[3].toStdString();
  EXPECT_TRUE(payload().contains(QString("name_=\"КП-3\"").toUtf8()));
  cut({"КП-3"});
  EXPECT_EQ(payload().left(1), "0");
  EXPECT_TRUE(document().startsWith("<!DOCTYPE MyTreeCut>\n"));
}

TEST_F(CutCopy, NamesMayHoldAnything) {
  start();
  const QString name = QString("a<b & \"c\" 'd' > ") + QChar('\n') + QChar('\t') + "]]>";
  nodeOf(find("I"))->text = name;
  copy({"КП-3"});
  QDomDocument read;
  ASSERT_TRUE(read.setContent(document()));
  EXPECT_EQ(read.documentElement().firstChildElement().firstChildElement().attribute("name_"), name);
}

TEST_F(CutCopy, ClassIsWrittenAsItStandsAndComparedWithoutCase) {
  start();
  const QByteArray name("ANALOG");
  const myConfNode* node = nodeOf(find("I"));
  node->table->SetVal(node->record, "ClassName", textVar(name));
  copy({"КП-3"});
  EXPECT_THAT(elements().toStdString(), testing::HasSubstr("  ANALOG: ClassName=ANALOG; KeyLink=@I; RemoteUnitKey="));
}

TEST_F(CutCopy, UnknownClassHasNoAttributes) {
  start();
  const QByteArray name("Terminal");
  const myConfNode* node = nodeOf(find("I"));
  node->table->SetVal(node->record, "ClassName", textVar(name));
  copy({"КП-3"});
  EXPECT_THAT(elements().toStdString(), testing::EndsWith("  Terminal\n"));
}

TEST_F(CutCopy, KeylessRowBelowTheSelectionIsDroppedWithAllUnderIt) {
  start();
  nodeOf(groupOf("I"))->text = "Прочее";
  copy({"КП-3"});
  EXPECT_EQ(elements(), "RemoteUnit: ClassName=RemoteUnit; KeyLink=@КП-3; RemoteUnitFolderKey=; name_=КП-3\n");
}

TEST_F(CutCopy, AggregatedMeasurementAloneLeavesTheClipboard) {
  start();
  copy({"КП-3"});
  const QByteArray before = payload();
  copy({"P макс"});
  EXPECT_EQ(module->clipText, "");
  EXPECT_EQ(payload(), before);
  cut({"P макс"});
  EXPECT_EQ(module->clipText, "");
  EXPECT_EQ(payload(), before);
  EXPECT_FALSE(isGrey("P макс")) << "it was not cut";
}

TEST_F(CutCopy, AfterWhatCannotBePastedNoPasteIsOffered) {
  start();
  copy({"Q"});
  click("КП-3");
  ASSERT_TRUE(module->btnPaste->isEnabled());
  ASSERT_TRUE(module->actCopyTemplate->isEnabled());
  tree()->clearSelection();
  module->ExecActCopy(QModelIndex());
  EXPECT_FALSE(module->btnPaste->isEnabled()) << "it would paste nothing";
  EXPECT_FALSE(module->pasteMenu->isEnabled());
  EXPECT_FALSE(module->actCopyTemplate->isEnabled());
}

TEST_F(CutCopy, CopyGreysNothing) {
  start();
  copy({"КП-1"});
  EXPECT_EQ(module->treeModel->cutKeys, QStringList());
}

TEST_F(CutCopy, CutGreysTheObjectAndAllBelowIt) {
  start();
  cut({"КП-1"});
  for (const char* name : {"КП-1", "P", "P макс", "Режим"}) EXPECT_TRUE(isGrey(name)) << name;
  EXPECT_FALSE(isGrey("Север-110"));
  EXPECT_EQ(module->treeModel->cutKeys.size(), 7);
}

TEST_F(CutCopy, SecondCutAddsToTheGreyRows) {
  start();
  cut({"Q"});
  cut({"Wp"});
  EXPECT_EQ(module->treeModel->cutKeys, (QStringList{key("Q"), key("Wp")}));
}

TEST_F(CutCopy, DocumentOfADragGreysNothing) {
  start();
  const QString xml = module->makeDocument({find("КП-3")}, true, false);
  EXPECT_TRUE(xml.startsWith("<!DOCTYPE MyTreeCut>"));
  EXPECT_EQ(module->treeModel->cutKeys, QStringList());
}

TEST_F(CutCopy, OnePasteElsewhereTakesTheGreyFromTheOtherWindow) {
  startBoth();
  cut({"Q"});
  other->ExecActPaste(other->treeModel->findByKey(key("КП-2")), true);
  EXPECT_TRUE(bothAreUpToDate());
  EXPECT_EQ(module->treeModel->cutKeys, QStringList());
  EXPECT_FALSE(isGrey("Q"));
}

TEST_F(CutCopy, PasteTakesTheGreyAlsoWithoutAWordOfTheClipboard) {
  start();
  cut({"Q"});
  const QSignalBlocker silent(QGuiApplication::clipboard());
  module->ExecActPaste(find("КП-2"), true);
  EXPECT_EQ(module->treeModel->cutKeys, QStringList());
}

TEST_F(CutCopy, AnotherDocumentLeavesTheGrey) {
  start();
  cut({"Q"});
  putPayload(clipboardPayload("<MyTree><Folder KeyLink='k'/></MyTree>", false));
  EXPECT_EQ(module->treeModel->cutKeys, QStringList{key("Q")});
}

TEST_F(CutCopy, NewCopyBeginsTheNamesAnew) {
  start();
  copy({"Q"});
  module->clipCopyCount = 3;
  module->clipPasteTarget = "x";
  copy({"Q"});
  EXPECT_EQ(module->clipCopyCount, 0);
  EXPECT_EQ(module->clipPasteTarget, "");
}

TEST_F(CutCopy, SameFromTheContextMenu) {
  start();
  click("КП-3");
  module->actCopy->trigger();
  EXPECT_EQ(payload().left(1), "1");
  module->actCut->trigger();
  EXPECT_EQ(payload().left(1), "0");
}

TEST_F(CutCopy, WithoutASelectionNothingIsCopied) {
  start();
  copy({"КП-3"});
  const QByteArray before = payload();
  tree()->clearSelection();
  press(Qt::Key_C);
  EXPECT_EQ(payload(), before);
  EXPECT_EQ(module->clipText, "");
}

// ---- what may be taken together --------------------------------------------------------------------------

struct TogetherCase {
  const char* name;
  std::vector<const char*> rows;  // "#NAME" is the group of that measurement, "" the default unit
  bool offered;
};

void PrintTo(const TogetherCase& row, std::ostream* out) { *out << row.name; }

class Together : public CutCopy, public testing::WithParamInterface<TogetherCase> {
 protected:
  QModelIndex rowOf(const char* name) {
    if (!*name) return module->treeModel->defaultUnit();
    return *name == '#' ? groupOf(name + 1) : find(name);
  }
};

TEST_P(Together, IsOfferedForOneSort) {
  start();
  for (const char* unit : {"КП-1", "КП-2", "КП-3"}) find(unit);
  bool first = true;
  for (const char* name : GetParam().rows) {
    click(rowOf(name), first ? Qt::NoModifier : Qt::ControlModifier);
    first = false;
  }
  for (QAction* action : {module->actCut, module->actCopy}) action->setEnabled(!GetParam().offered);
  QTest::keyRelease(tree(), Qt::Key_Control);
  EXPECT_EQ(module->actCut->isEnabled(), GetParam().offered);
  EXPECT_EQ(module->actCopy->isEnabled(), GetParam().offered);
}

const TogetherCase kTogether[] = {
    {"OneRow", {"Q"}, true},
    {"FolderAndUnit", {"Юг", "КП-3"}, true},
    {"UnitAndFolder", {"КП-3", "Юг"}, true},
    {"MeasurementsOfAllClasses", {"Q", "Выключатель", "Wp", "Режим"}, true},
    {"MeasurementAndGroup", {"Q", "#Выключатель"}, true},
    {"GroupAndMeasurement", {"#Выключатель", "Q"}, true},
    {"UnitAndMeasurementOfAnother", {"КП-3", "Q"}, false},
    {"MeasurementAndUnitOfAnother", {"Q", "КП-3"}, false},
    {"MeasurementAndFolder", {"Q", "Юг"}, false},
    {"FolderAndMeasurement", {"Юг", "Q"}, false},
    {"FolderUnitAndMeasurement", {"Юг", "КП-3", "Q"}, false},
    {"GroupAndFolder", {"#Q", "Юг"}, false},
    {"UnitAndGroupOfAnother", {"КП-3", "#Q"}, false},
    {"UnitAndItsMeasurement", {"КП-1", "Q"}, true},
    {"DefaultUnitAndFolder", {"", "Юг"}, true},
    {"DefaultUnitAndMeasurement", {"", "Q"}, true},
};

INSTANTIATE_TEST_SUITE_P(CutCopy, Together, testing::ValuesIn(kTogether),
                         [](const auto& each) { return std::string(each.param.name); });

TEST_F(CutCopy, WhileControlOrAltIsHeldNothingIsDecided) {
  start();
  select({"КП-3", "Q"});
  module->actCut->setEnabled(true);
  module->CheckEnabledCutCopy(Qt::ControlModifier);
  module->CheckEnabledCutCopy(Qt::AltModifier);
  module->CheckEnabledCutCopy(Qt::ShiftModifier | Qt::ControlModifier);
  EXPECT_TRUE(module->actCut->isEnabled());
  module->CheckEnabledCutCopy(Qt::ShiftModifier);
  EXPECT_FALSE(module->actCut->isEnabled());
}

TEST_F(CutCopy, AMixedRangeIsDecidedWhileShiftIsHeld) {
  start();
  for (const char* unit : {"КП-1", "КП-2", "КП-3"}) find(unit);
  click("КП-3");
  ASSERT_TRUE(module->actCut->isEnabled());
  click(find("Q"), Qt::ShiftModifier);
  EXPECT_FALSE(module->actCut->isEnabled());
  EXPECT_FALSE(module->actCopy->isEnabled());
  module->actCut->setEnabled(true);
  module->OnTV_keysModif(Qt::NoModifier);
  EXPECT_TRUE(module->actCut->isEnabled());
}

TEST_F(CutCopy, OneRowAfterAMixedSelectionIsOfferedAgain) {
  start();
  select({"КП-3", "Q"});
  QTest::keyRelease(tree(), Qt::Key_Control);
  ASSERT_FALSE(module->actCopy->isEnabled());
  click("Q");
  EXPECT_TRUE(module->actCopy->isEnabled());
  EXPECT_TRUE(module->actCut->isEnabled());
}

TEST_F(CutCopy, OpenEditKeepsThemOff) {
  start();
  click("Q");
  module->onPasspChanged();
  ASSERT_FALSE(module->actCopy->isEnabled());
  module->CheckEnabledCutCopy(Qt::NoModifier);
  EXPECT_FALSE(module->actCopy->isEnabled());
  EXPECT_FALSE(module->actCut->isEnabled());
}

TEST_F(CutCopy, NewObjectThatIsNotSavedKeepsThemOff) {
  start();
  click("КП-3");
  module->actAddAnalog->trigger();
  ASSERT_TRUE(module->newObjectInPassport);
  module->passportEdited = false;
  ASSERT_FALSE(module->actCopy->isEnabled());
  module->CheckEnabledCutCopy(Qt::NoModifier);
  EXPECT_FALSE(module->actCopy->isEnabled());
  EXPECT_FALSE(module->actCut->isEnabled());
}

TEST_F(CutCopy, TopmostRowsStayInTheirOrder) {
  start();
  QList<QModelIndex> rows{find("U"), find("Юг"), find("КП-2"), find("P макс"), find("Q")};
  module->CheckDublChildIndex(rows);
  EXPECT_EQ(rows, (QList<QModelIndex>{find("Юг"), find("КП-2"), find("P макс"), find("Q")}));
  rows = {find("P макс"), find("P"), find("КП-1")};
  module->CheckDublChildIndex(rows);
  EXPECT_EQ(rows, QList<QModelIndex>{find("КП-1")});
  rows = {find("P макс"), find("P")};
  module->CheckDublChildIndex(rows);
  EXPECT_EQ(rows, QList<QModelIndex>{find("P")});
}

}  // namespace
}  // namespace tlm::test
