#include <TlmClient/CPopMessageBox.h>

#include <QLabel>
#include <QRadioButton>
#include <QToolBar>

#include "ModuleWindow.h"
#include "RecordAccess.h"

namespace tlm::test {
namespace {

// Folders come first, then units, by name; groups in the order of the classes.
constexpr char kModel[] = R"(table MeasurementArchGroup Часовая {aggregatedData=1}
folder Альфа
  unit КП-1
    analog 11 Ток фазы А
    analog 12 Ток фазы Б
    analog 13 Частота
    discrete 14 Ток есть
    analog 15 Я ряд
      analog 16 Сумма тока {MeasurementArchGroupKey=@Часовая}
  unit КП-2
    analog 21 Мощность
    string 22 Режим
folder Бета
  unit КП-3
    accumulator 31 Энергия
    accumulator 32 Импульсы
unit КП-4
  analog 41 Давление ЮЖНОЕ
  analog 42 Уровень
)";

class Search : public ModuleWindow {
 protected:
  Search() : ModuleWindow(kModel) {
    start();
    host->log.clear();
  }

  void type(const QString& text) {
    module->ExecActFind(module->treeModel->index(0, 0));
    lineEdit()->setText(text);
    emit lineEdit()->textEdited(text);
  }
  QLineEdit* lineEdit() { return module->lE_Find; }
  void from(const QModelIndex& index) { tree()->setCurrentIndex(index); }
  void fromName(const char* name) { from(find(name)); }
  QModelIndex rowOf(const char* name) { return module->treeModel->findByKey(key(name)); }
  bool isLoaded(const char* unit) { return nodeOf(rowOf(unit))->isLoaded; }
  // As an event would, without telling the tree.
  void rename(const char* object, const char* name) {
    const QByteArray text = module->moduleCodec->fromUnicode(name);
    module->measRecords.SetVal(seekText(module->measRecords, 0, key(object), module->moduleCodec), "name_",
                               textVar(text));
  }
  void load(const char* unit) { module->AddMeasForRTU(rowOf(unit), QString(), false, QString()); }

  // One press: the number and name of the row that is current then, or "-" for the message.
  QString press(bool forward = true) {
    const bool hit = module->FindValue(forward);
    settle();
    CPopMessageBox* box = waitingBox();
    EXPECT_EQ(box == nullptr, hit);
    if (box) {
      answerBox(box, 0);
      return "-";
    }
    const QModelIndex row = tree()->currentIndex();
    return (numberOf(row) + " " + row.siblingAtColumn(0).data().toString()).trimmed();
  }
  QStringList presses(int count, bool forward = true) {
    QStringList all;
    for (int i = 0; i < count; ++i) all += press(forward);
    return all;
  }
  int asked() { return host->log.filter("CalcExec f*(rtu, val)").size(); }
  int fetched() { return host->log.filter("CalcExec f*(rtu)").size(); }
  void byKey() { module->radioButton_KeyLink->setChecked(true); }
  void byNumber() { module->radioButton_LocID->setChecked(true); }
};

// ---- the bar

TEST_F(Search, OpensByCtrlFWithTheCursorInTheField) {
  from(rowOf("Альфа"));
  QTest::keyClick(tree(), Qt::Key_F, Qt::ControlModifier);
  EXPECT_TRUE(module->toolBarFind->isVisible());
  EXPECT_TRUE(lineEdit()->hasFocus());
  lineEdit()->setText("прежнее");
  QTest::keyClick(tree(), Qt::Key_F, Qt::ControlModifier);
  EXPECT_EQ(lineEdit()->selectedText(), "прежнее");
}

TEST_F(Search, BarStaysShutWithoutARow) {
  module->ExecActFind(QModelIndex());
  EXPECT_FALSE(module->toolBarFind->isVisible());
}

TEST_F(Search, EscapeClosesTheBarAndReturnsToTheTree) {
  type("Ток");
  QTest::keyClick(lineEdit(), Qt::Key_Escape);
  EXPECT_FALSE(module->toolBarFind->isVisible());
  EXPECT_TRUE(tree()->hasFocus());
}

TEST_F(Search, CloseHidesTheBar) {
  type("Ток");
  module->actFindClose->trigger();
  EXPECT_FALSE(module->toolBarFind->isVisible());
}

TEST_F(Search, ReturnGoesForward) {
  type("Мощность");
  QTest::keyClick(lineEdit(), Qt::Key_Return);
  EXPECT_EQ(tree()->currentIndex().data().toString(), "Мощность");
}

TEST_F(Search, ArrowsGoForwardAndBackward) {
  from(rowOf("КП-2"));
  type("КП");
  module->actFindNext->trigger();
  EXPECT_EQ(tree()->currentIndex().data().toString(), "КП-3");
  module->actFindPrev->trigger();
  EXPECT_EQ(tree()->currentIndex().data().toString(), "КП-2");
}

TEST_F(Search, AnyOtherActionGoesBackward) {
  from(rowOf("КП-2"));
  type("КП");
  module->ExecFindActGroup(nullptr);
  EXPECT_EQ(tree()->currentIndex().data().toString(), "КП-1");
}

TEST_F(Search, WithoutAModeNothingIsSearched) {
  const QList<QRadioButton*> modes = {module->radioButton_Name, module->radioButton_KeyLink, module->radioButton_LocID};
  for (QRadioButton* mode : modes) mode->setAutoExclusive(false);
  for (QRadioButton* mode : modes) mode->setChecked(false);
  type("КП");
  host->log.clear();
  EXPECT_EQ(press(), "-");
  EXPECT_EQ(host->log, QStringList());
}

TEST_F(Search, TheHitIsSelectedAloneWhateverKeyIsHeld) {
  for (const auto modifiers : {Qt::ShiftModifier, Qt::ControlModifier}) {
    fromName("Ток фазы А");
    type("Мощность");
    QTest::keyClick(lineEdit(), Qt::Key_Return, modifiers);
    settle();
    EXPECT_EQ(tree()->currentIndex().data().toString(), "Мощность");
    EXPECT_EQ(tree()->selectionModel()->selectedIndexes(), QModelIndexList{tree()->currentIndex()});
  }
}

TEST_F(Search, TellsThatNothingWasFound) {
  type("нет такого");
  EXPECT_FALSE(module->FindValue(true));
  settle();
  CPopMessageBox* box = waitingBox();
  ASSERT_NE(box, nullptr);
  EXPECT_EQ(box->titleText(), "Результат поиска");
  EXPECT_EQ(box->icon(), kBoxError);
  EXPECT_EQ(box->type(), kBoxOk);
  QStringList texts;
  for (const QLabel* each : box->findChildren<QLabel*>()) texts += each->text();
  EXPECT_TRUE(texts.contains("Искомый элемент не найден")) << texts.join("|").toStdString();
  answerBox(box, 0);
}

TEST_F(Search, FailureLeavesSelectionAndTree) {
  fromName("Мощность");
  const QString before = treeText(*module->treeModel);
  type("нет такого");
  EXPECT_EQ(press(), "-");
  EXPECT_EQ(tree()->currentIndex().data().toString(), "Мощность");
  EXPECT_EQ(treeText(*module->treeModel), before);
}

TEST_F(Search, ShowsAWaitCursorOnlyWhileItAsks) {
  int shapes = 0;
  QObject::connect(module->treeModel, &QAbstractItemModel::rowsInserted, [&] {
    const QCursor* cursor = QGuiApplication::overrideCursor();
    ASSERT_NE(cursor, nullptr);
    EXPECT_EQ(cursor->shape(), Qt::WaitCursor);
    ++shapes;
  });
  type("Частота");
  EXPECT_EQ(press(), "13 Частота");
  EXPECT_GT(shapes, 0);
  EXPECT_EQ(QGuiApplication::overrideCursor(), nullptr);
  type("нет такого");
  EXPECT_EQ(press(), "-");
  EXPECT_EQ(QGuiApplication::overrideCursor(), nullptr);
}

// ---- by name

TEST_F(Search, FindsAnyPartOfANameWithoutRegardToCase) {
  type("южн");
  EXPECT_EQ(press(), "41 Давление ЮЖНОЕ");
}

TEST_F(Search, FindsNothingForAnEmptyTextWithoutAWalk) {
  type("");
  host->log.clear();
  EXPECT_EQ(press(), "-");
  EXPECT_EQ(host->log.filter("CalcExec").size(), 0);
}

TEST_F(Search, WithoutACurrentRowTheFirstRowIsLookedAt) {
  from(QModelIndex());
  type("Альфа");
  EXPECT_EQ(press(), "Альфа");
}

TEST_F(Search, BackwardWithoutACurrentRowFindsNothing) {
  from(QModelIndex());
  type("КП");
  EXPECT_EQ(press(false), "-");
}

TEST_F(Search, DoesNotLookAtTheStartItself) {
  from(rowOf("Альфа"));
  type("Альфа");
  EXPECT_EQ(press(), "-");
}

TEST_F(Search, FetchesNothingOfAUnitWithoutAHit) {
  from(rowOf("Альфа"));
  type("Импульсы");
  EXPECT_EQ(press(), "32 Импульсы");
  EXPECT_FALSE(isLoaded("КП-1"));
  EXPECT_FALSE(isLoaded("КП-2"));
  EXPECT_TRUE(isLoaded("КП-3"));
  EXPECT_EQ(asked(), 3);
  EXPECT_EQ(fetched(), 1);
}

TEST_F(Search, OpensAUnitThatHoldsTheTextAndSelectsTheHit) {
  from(rowOf("Альфа"));
  type("Частота");
  EXPECT_EQ(press(), "13 Частота");
  EXPECT_TRUE(nodeOf(rowOf("КП-1"))->isExpanded);
  EXPECT_TRUE(tree()->isExpanded(rowOf("КП-1")));
  EXPECT_EQ(asked(), 1);
}

TEST_F(Search, LooksIntoTheUnitItStartsFrom) {
  from(rowOf("КП-1"));
  type("Частота");
  EXPECT_EQ(press(), "13 Частота");
  EXPECT_TRUE(tree()->isExpanded(rowOf("КП-1")));
}

TEST_F(Search, DoesNotAskForAnOpenUnitItStartsFrom) {
  load("КП-1");
  from(rowOf("КП-1"));
  type("Частота");
  EXPECT_EQ(press(), "13 Частота");
  EXPECT_EQ(asked(), 0);
}

TEST_F(Search, AsksOnceForTheUnitItStartsFromAndGoesOn) {
  from(rowOf("КП-3"));
  type("Уровень");
  EXPECT_EQ(press(), "42 Уровень");
  EXPECT_EQ(asked(), 1);
  EXPECT_FALSE(isLoaded("КП-3"));
}

TEST_F(Search, BackwardLooksIntoTheUnitBeforeTheOneItStartsFrom) {
  from(rowOf("КП-2"));
  type("фазы");
  EXPECT_EQ(press(false), "12 Ток фазы Б");
  EXPECT_TRUE(isLoaded("КП-1"));
  EXPECT_FALSE(isLoaded("КП-2"));
}

TEST_F(Search, BackwardFromAUnitBehindAFolderAsksForNoFolder) {
  from(rowOf("КП-3"));
  type("Альфа");
  EXPECT_EQ(press(false), "Альфа");
  EXPECT_EQ(asked(), 2);  // the two units in it
}

TEST_F(Search, StepsThroughTheHitsOfOneUnit) {
  from(rowOf("Альфа"));
  type("ток");
  EXPECT_EQ(presses(4), (QStringList{"11 Ток фазы А", "12 Ток фазы Б", "16 Сумма тока", "14 Ток есть"}));
  EXPECT_EQ(module->foundPos, 3);
  EXPECT_EQ(module->foundIndexes.size(), 4);
  EXPECT_EQ(asked(), 1);
}

TEST_F(Search, StepsBackThroughTheHits) {
  from(rowOf("Альфа"));
  type("ток");
  presses(3);
  EXPECT_EQ(press(false), "12 Ток фазы Б");
  EXPECT_EQ(press(false), "11 Ток фазы А");
}

TEST_F(Search, PassesOverAHitThatWasDeletedMeanwhile) {
  from(rowOf("Альфа"));
  type("ток");
  EXPECT_EQ(press(), "11 Ток фазы А");
  module->treeModel->DelNode(rowOf("Ток фазы Б"), nullptr);
  EXPECT_EQ(press(), "16 Сумма тока");
}

TEST_F(Search, StepsBackOverAHitThatWasDeletedMeanwhile) {
  from(rowOf("Альфа"));
  type("ток");
  EXPECT_EQ(presses(3).last(), "16 Сумма тока");
  module->treeModel->DelNode(rowOf("Ток фазы Б"), nullptr);
  EXPECT_EQ(press(false), "11 Ток фазы А");
  EXPECT_EQ(module->foundPos, 0);
}

TEST_F(Search, FindsAHitAgainWhereASortHasPutIt) {
  from(rowOf("Альфа"));
  type("ток");
  EXPECT_EQ(press(), "11 Ток фазы А");
  module->treeModel->sort(0, Qt::DescendingOrder);
  EXPECT_EQ(press(), "12 Ток фазы Б");
}

TEST_F(Search, GroupsAreHitsToo) {
  load("КП-1");
  from(rowOf("Альфа"));
  type("аналоговые");
  EXPECT_EQ(press(), "Аналоговые измерения");
  EXPECT_EQ(module->foundPos, 0);
  module->treeModel->sort(0, Qt::DescendingOrder);
  EXPECT_EQ(module->foundIndexes.size(), 1);
}

TEST_F(Search, StepsFromAnObjectToAGroupAndBackAfterASort) {
  from(rowOf("КП-1"));
  load("КП-1");
  from(rowOf("Альфа"));
  type("и");  // "Аналоговые измерения", "Дискретные сигналы"
  const QStringList hits = presses(2);
  EXPECT_EQ(hits, (QStringList{"Аналоговые измерения", "Дискретные сигналы"}));
  module->treeModel->sort(0, Qt::DescendingOrder);
  EXPECT_EQ(press(false), "Аналоговые измерения");
}

TEST_F(Search, BackwardTakesTheLastHitOfAFetchedUnit) {
  from(rowOf("КП-2"));
  type("ток");
  // From the unit's last row on, walking up: the row before the group, then what the groups hold.
  EXPECT_EQ(press(false), "14 Ток есть");
}

TEST_F(Search, BackwardPassesOverTheFirstHitOfAGroup) {
  load("КП-1");
  tree()->expand(rowOf("КП-1"));
  fromName("Я ряд");
  type("Ток фазы");
  EXPECT_EQ(press(false), "12 Ток фазы Б");
  // The second press steps through the list, which holds the first one.
  EXPECT_EQ(press(false), "11 Ток фазы А");
}

TEST_F(Search, BackwardWithOneHitInAGroupMissesIt) {
  load("КП-1");
  tree()->expand(rowOf("КП-1"));
  fromName("Частота");
  type("фазы А");
  EXPECT_EQ(press(false), "-");
}

TEST_F(Search, BackwardLeavesAUnitWithoutLookingAtItAgain) {
  load("КП-2");
  tree()->expand(rowOf("КП-2"));
  fromName("Мощность");
  type("Режим");  // stands behind the start, in the unit that the walk leaves
  EXPECT_EQ(press(false), "-");
}

TEST_F(Search, ForwardPassesFromGroupToGroup) {
  load("КП-1");
  tree()->expand(rowOf("КП-1"));
  fromName("Частота");
  type("есть");
  EXPECT_EQ(press(), "14 Ток есть");
  EXPECT_EQ(module->foundPos, 0);
}

TEST_F(Search, ForwardGoesOnBehindAGroupWithoutHits) {
  load("КП-2");
  tree()->expand(rowOf("КП-2"));
  fromName("Мощность");
  type("Энергия");
  EXPECT_EQ(press(), "31 Энергия");
}

TEST_F(Search, WalksTheDefaultUnitRowByRow) {
  // Taken out of every unit by a colleague's hand: its rows stand under the default unit.
  EmbeddedServer loose("unit КП-1\n  analog 11 Ток\nanalog 5 Ничья {RemoteUnitKey=}\n");
  TestApp other(*loose.core());
  CTlmMeasConfig window(&other);
  window.show();
  settle();
  window.ModuleStart();
  settle();
  QModelIndex found;
  window.findFromStart = true;
  EXPECT_TRUE(window.FindName("Ничья", QModelIndex(), found, true));
  EXPECT_EQ(found.data().toString(), "Ничья");
}

// ---- round the tree

TEST_F(Search, FirstPassOverANewTextDoesNotGoRound) {
  from(rowOf("КП-4"));
  type("КП-2");
  EXPECT_EQ(press(), "-");
  EXPECT_TRUE(module->findFromStart);
}

TEST_F(Search, GoesRoundOnceTheTextHasGivenAHit) {
  from(rowOf("КП-2"));
  type("КП");
  EXPECT_EQ(presses(4), (QStringList{"КП-3", "КП-4", "КП-1", "КП-2"}));
}

TEST_F(Search, GoesRoundBackward) {
  from(rowOf("КП-2"));
  type("КП");
  EXPECT_EQ(press(false), "КП-1");
  EXPECT_EQ(press(false), "КП-4");  // up from its last measurement
}

TEST_F(Search, GoesRoundOnlyOnceForEachPress) {
  from(rowOf("КП-2"));
  type("КП-3");
  EXPECT_EQ(press(), "КП-3");
  module->treeModel->DelNode(rowOf("КП-3"), nullptr);
  EXPECT_EQ(press(), "-");
}

TEST_F(Search, DoesNotLookAtTheRowWhereItGoesRound) {
  from(rowOf("КП-1"));
  type("Альфа");
  module->findFromStart = false;
  EXPECT_EQ(press(), "-");
}

TEST_F(Search, EditingTheTextStartsAnewAtTheCurrentRow) {
  from(rowOf("Альфа"));
  type("ток");
  presses(2);
  type("ток");
  EXPECT_EQ(module->foundPos, -1);
  EXPECT_TRUE(module->findFromStart);
  EXPECT_EQ(press(), "16 Сумма тока");
}

TEST_F(Search, AClickStartsAnewAtTheClickedRow) {
  from(rowOf("Альфа"));
  type("ток");
  presses(4);
  click("Ток фазы А");
  EXPECT_EQ(module->foundPos, -1);
  EXPECT_FALSE(module->findFromStart);
  EXPECT_EQ(press(), "12 Ток фазы Б");
}

// ---- by key

TEST_F(Search, FindsAKeyInTheTreeWithoutAsking) {
  byKey();
  type(key("КП-2").toUpper());
  host->log.clear();
  EXPECT_EQ(press(), "КП-2");
  EXPECT_EQ(host->log.filter("RecByKeyLink").size(), 0);
}

TEST_F(Search, FindsAKeyInAClosedUnitByFetchingIt) {
  byKey();
  type(key("Мощность"));
  EXPECT_EQ(press(), "21 Мощность");
  EXPECT_EQ(fetched(), 1);
  const QModelIndex group = rowOf("Мощность").parent();
  EXPECT_TRUE(tree()->isExpanded(group));
  EXPECT_TRUE(tree()->isExpanded(group.parent()));
  EXPECT_TRUE(tree()->isExpanded(group.siblingAtRow(1)));
}

TEST_F(Search, FindsAKeyInSmallLettersInAClosedUnit) {
  byKey();
  ASSERT_NE(key("Мощность").toLower(), key("Мощность"));
  type(key("Мощность").toLower());
  EXPECT_EQ(press(), "21 Мощность");
}

TEST_F(Search, ARecordOutsideTheUnitsIsNotFound) {
  load("КП-1");  // its groups have no key
  byKey();
  type(key("Часовая"));
  EXPECT_EQ(press(), "-");
}

TEST_F(Search, AUnitThatDoesNotShowTheObjectIsTheResultOfItsKeyAlone) {
  host->failures.add("CalcExec f*(rtu)", Fail::kTimeOut, 1);
  byKey();
  type(key("Мощность"));
  press();
  ASSERT_TRUE(isLoaded("КП-2"));
  ASSERT_FALSE(rowOf("Мощность").isValid());
  EXPECT_EQ(press(), "КП-2");
  byNumber();
  type("21");
  EXPECT_EQ(press(), "-");
}

TEST_F(Search, UnknownKeysAreNotFound) {
  byKey();
  for (const QString& text : {QString("1234"), QString(10'000, 'x'), QString("☃")}) {
    type(text);
    EXPECT_EQ(press(), "-");
  }
  EXPECT_EQ(fetched(), 0);
}

// ---- by number

TEST_F(Search, FindsANumberInTheTreeInItsColumn) {
  load("КП-1");
  byNumber();
  type("14");
  EXPECT_EQ(press(), "14 Ток есть");
  EXPECT_EQ(tree()->currentIndex().column(), 1);
  EXPECT_EQ(host->log.filter("RecByKeyLink").size(), 0);
}

TEST_F(Search, FindsANumberInAClosedUnitByFetchingIt) {
  byNumber();
  type("32");
  EXPECT_EQ(press(), "32 Импульсы");
  EXPECT_EQ(tree()->currentIndex().column(), 1);
  EXPECT_TRUE(tree()->isExpanded(rowOf("Импульсы").parent()));
}

TEST_F(Search, FindsANumberWrittenOtherwiseByItsKey) {
  byNumber();
  type("0032");
  EXPECT_EQ(press(), "32 Импульсы");
  EXPECT_EQ(host->log.filter("RecByKeyLink"), QStringList{"PacketExec RecByKeyLink #32"});
  EXPECT_EQ(tree()->currentIndex().column(), 0);
}

TEST_F(Search, OfSeveralWithOneNumberTheFirstShownIsTaken) {
  fromName("Частота");  // opened, so its group is sorted by name
  MDRData* first = seekText(module->measRecords, 0, key("Ток фазы А"), module->moduleCodec);
  module->measRecords.SetVal(first, "locId", intVar(13));
  byNumber();
  type("13");
  EXPECT_EQ(press(), "13 Ток фазы А");
}

TEST_F(Search, NumbersAreWholeNotParts) {
  byNumber();
  type("1");
  EXPECT_EQ(press(), "-");
}

TEST_F(Search, WhatIsNoNumberIsNotAskedFor) {
  byNumber();
  for (const char* text : {"", "12a", "0x10", "99999999999", "1.5"}) {
    type(text);
    host->log.clear();
    EXPECT_EQ(press(), "-") << text;
    EXPECT_EQ(host->log, QStringList()) << text;
  }
}

TEST_F(Search, NameSearchGoesOnFromANumber) {
  byNumber();
  type("12");
  press();
  module->radioButton_Name->setChecked(true);
  type("Частота");
  EXPECT_EQ(press(), "13 Частота");
}

constexpr char kDeepModel[] = R"(folder А
  folder Б
    folder В
      unit КП
        analog 77 Ток
folder Г
)";

// Three folders deep, everything shut, the window on the screen.
class DeepSearch : public ModuleWindow {
 protected:
  DeepSearch() : ModuleWindow(kDeepModel) {
    start();
    module->resize(1000, 700);
    module->show();
    settle();
    tree()->collapseAll();
    module->ExecActFind(module->treeModel->index(0, 0));
  }
  // The rows above the current one that are shut, and whether it can be seen.
  QStringList hidden() {
    QStringList shut;
    const QModelIndex current = tree()->currentIndex().siblingAtColumn(0);
    for (QModelIndex above = current.parent(); above.isValid(); above = above.parent())
      if (!tree()->isExpanded(above)) shut += nameOf(above);
    if (!tree()->viewport()->rect().intersects(tree()->visualRect(current))) shut += "out of sight";
    return shut;
  }
  static QString nameOf(const QModelIndex& index) { return index.siblingAtColumn(0).data().toString(); }
};

TEST_F(DeepSearch, AHitIsInSightUnderFoldersThatWereShut) {
  const std::pair<QRadioButton*, QString> searches[] = {
      {module->radioButton_LocID, "77"}, {module->radioButton_KeyLink, key("Ток")}, {module->radioButton_Name, "ток"}};
  for (const auto& [mode, text] : searches) {
    mode->setChecked(true);
    module->lE_Find->setText(text);
    tree()->setCurrentIndex(module->treeModel->index(0, 0));
    EXPECT_TRUE(module->FindValue(true));
    settle();
    EXPECT_EQ(nameOf(tree()->currentIndex()), "Ток");
    EXPECT_EQ(hidden(), QStringList()) << text.toStdString();
    tree()->collapseAll();
  }
}

// ---- a row that is brought into view

TEST_F(Search, AShownRowOpensWhatItLiesInAndIsFoundAgainAfterTheSort) {
  load("КП-1");
  const QModelIndex before = rowOf("Ток фазы А");
  ASSERT_FALSE(tree()->isExpanded(before.parent()));
  module->OnSetFocusRow(before);
  EXPECT_TRUE(tree()->isExpanded(rowOf("Ток фазы А").parent()));
  EXPECT_EQ(tree()->currentIndex(), rowOf("Ток фазы А"));
  EXPECT_EQ(tree()->selectionModel()->selectedIndexes(), QModelIndexList{rowOf("Ток фазы А")});
  EXPECT_NE(rowOf("Ток фазы А").row(), before.row());
}

TEST_F(Search, AShownRowIsSortedIntoWhatIsOpen) {
  fromName("Ток фазы А");
  rename("Ток фазы А", "Яя");
  ASSERT_EQ(rowOf("Ток фазы А").row(), 0);
  module->OnSetFocusRow(rowOf("Ток фазы А"));
  EXPECT_EQ(rowOf("Ток фазы А").row(), 3);
  EXPECT_EQ(tree()->currentIndex(), rowOf("Ток фазы А"));
}

TEST_F(Search, NoRowIsShownForAnInvalidIndex) {
  fromName("Частота");
  module->OnSetFocusRow(QModelIndex());
  EXPECT_EQ(tree()->currentIndex(), rowOf("Частота"));
}

// ---- what cannot be found

TEST_F(Search, TextsThatNoNameCanHoldAskAndFetchNothing) {
  for (const QString& text : {QString("☃"), QString("Ток 漢")}) {
    type(text);
    host->log.clear();
    EXPECT_EQ(press(), "-");
    EXPECT_EQ(host->log.filter("CalcExec").size(), 0);
  }
}

TEST_F(Search, VeryLongTextsAreNotFound) {
  type(QString(10'000, QChar(0x0442)));
  EXPECT_EQ(press(), "-");
  EXPECT_EQ(fetched(), 0);
}

TEST_F(Search, AServerThatIsAwayFindsNothing) {
  host->failures.add("CalcExec", Fail::kTimeOut);
  host->failures.add("PacketExec RecByKeyLink", Fail::kTimeOut);
  type("Частота");
  EXPECT_EQ(press(), "-");
  byKey();
  type(key("Частота"));
  EXPECT_EQ(press(), "-");
  byNumber();
  type("13");
  EXPECT_EQ(press(), "-");
  EXPECT_FALSE(isLoaded("КП-1"));
}

}  // namespace
}  // namespace tlm::test
