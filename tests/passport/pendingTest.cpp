// The life of pending edits: other objects, new objects, ClearChanges, table tabs, lists of references.
#include "fixture.h"

#include <QLineEdit>
#include <QListView>
#include <QTableView>

namespace tlm::test {
namespace {

QString u8(const char* text) { return QString::fromUtf8(text); }

class Pending : public PassportTest {
 protected:
  QListView* list() const { return window_.findChild<QListView*>("referenceList"); }
  QTableView* page() const { return tabs_->widget(1) ? tabs_->widget(1)->findChild<QTableView*>() : nullptr; }
};

TEST_F(Pending, OutlivesTheDisplayOfAnotherObject) {
  show("P Т-1");
  type("IdentifiedObject.name_", u8("Новое"));
  show("Q Т-1");
  EXPECT_FALSE(isMarked("IdentifiedObject.name_"));
  const ChangeSet set = handOver();
  EXPECT_EQ(set.marked("IdentifiedObject"), u8("name_=Новое"));
  EXPECT_EQ(set.value("IdentifiedObject", "KeyLink"), key("P Т-1"));
}

TEST_F(Pending, IsCoveredByTheServersValueButStaysMarked) {
  show("P Т-1");
  type("IdentifiedObject.name_", u8("Новое"));
  show("P Т-1");
  EXPECT_EQ(text("IdentifiedObject.name_"), u8("P Т-1"));
  EXPECT_TRUE(isMarked("IdentifiedObject.name_"));
  EXPECT_TRUE(cell("IdentifiedObject.name_").data(Qt::ToolTipRole).toString().contains(u8("Новое")));
  EXPECT_EQ(handOver().marked("IdentifiedObject"), u8("name_=Новое"));
}

TEST_F(Pending, HoldsEditsOfTwoObjectsAtOnce) {
  show("P Т-1");
  type("Analog.engMax", "200");
  show("В-110");
  type("Discrete.tuTimeout", "5");
  const ChangeSet set = handOver();
  EXPECT_EQ(set.tables, QStringList({"IdentifiedObject", "Measurement", "Analog", "Discrete"}));
  EXPECT_EQ(set.marked("Analog"), "engMax=200");
  EXPECT_EQ(set.marked("Discrete"), "tuTimeout=5");
  QStringList numbers{*set.value("Measurement", "locId", 0), *set.value("Measurement", "locId", 1)};
  numbers.sort();
  EXPECT_EQ(numbers, QStringList({"1001", "1003"}));
}

TEST_F(Pending, GoesWithClearChangesAndTheOldValueReturns) {
  show("P Т-1");
  type("IdentifiedObject.name_", u8("Новое"));
  passport_->ClearChanges();
  EXPECT_FALSE(passport_->HasChanges());
  EXPECT_EQ(text("IdentifiedObject.name_"), u8("P Т-1"));
  EXPECT_FALSE(isMarked("IdentifiedObject.name_"));
  EXPECT_TRUE(handOver().tables.isEmpty());
}

TEST_F(Pending, StaysOnTheScreenOnceItWasHandedOver) {
  show("P Т-1");
  type("IdentifiedObject.name_", u8("Новое"));
  handOver();
  passport_->ClearChanges();
  EXPECT_EQ(text("IdentifiedObject.name_"), u8("Новое"));
  EXPECT_FALSE(isMarked("IdentifiedObject.name_"));
  EXPECT_TRUE(handOver().tables.isEmpty());
}

TEST_F(Pending, InsertsANewObjectWithARowInEachTable) {
  showNew("Analog", QString(32, 'A'), key("ПС Северная"), 1005);
  EXPECT_TRUE(passport_->HasChanges());
  type("Analog.engMax", "10");
  const ChangeSet set = handOver();
  EXPECT_EQ(set.tables, QStringList({"IdentifiedObject", "Measurement", "Analog"}));
  for (const QString& table : set.tables) EXPECT_EQ(set.kind(table), 1) << table.toStdString();
  EXPECT_EQ(set.marked("IdentifiedObject"), "KeyLink=" + QString(32, 'A') + u8(", ClassName=Analog, name_=Новое"));
  EXPECT_EQ(set.marked("Analog"), "KeyLink=" + QString(32, 'A') + ", engMax=10");
}

TEST_F(Pending, InsertsANewObjectWithoutAnyEdit) {
  showNew("Discrete", QString(32, 'A'), key("ПС Северная"), 1005);
  EXPECT_EQ(handOver().tables, QStringList({"IdentifiedObject", "Measurement", "Discrete"}));
}

TEST_F(Pending, KeepsWhatWasTypedWhenANewObjectIsShownAgain) {
  showNew("Analog", QString(32, 'A'), key("ПС Северная"), 1005);
  type("IdentifiedObject.name_", u8("Имя"));
  showNew("Analog", QString(32, 'A'), key("ПС Северная"), 1005);
  EXPECT_EQ(text("IdentifiedObject.name_"), u8("Имя"));
  EXPECT_EQ(handOver().arrays.size(), 3);
}

TEST_F(Pending, LocksOtherObjectsWhileANewOneWaits) {
  showNew("Analog", QString(32, 'A'), key("ПС Северная"), 1005);
  show("P Т-1");
  EXPECT_TRUE(isLocked("IdentifiedObject.name_"));
  EXPECT_EQ(handOver().value("IdentifiedObject", "KeyLink"), QString(32, 'A'));
  passport_->ClearChanges();
  show("P Т-1");
  EXPECT_FALSE(isLocked("IdentifiedObject.name_"));
}

TEST_F(Pending, UpdatesANewObjectOnceItWasSaved) {
  showNew("Analog", QString(32, 'A'), key("ПС Северная"), 1005);
  handOver();
  passport_->ClearChanges();
  EXPECT_FALSE(passport_->HasChanges());
  type("Analog.engMax", "10");
  const ChangeSet set = handOver();
  EXPECT_EQ(set.kind("Analog"), 2);
  EXPECT_EQ(set.marked("Analog"), "engMax=10");
  EXPECT_EQ(set.marked("Measurement"), "");
}

TEST_F(Pending, LoadsAListOnlyWhenItOpens) {
  show("P Т-1");
  log_.clear();
  openEditor("Measurement.MeasurementArchGroupKey");
  EXPECT_TRUE(log_.filter("MeasurementArchGroup").isEmpty());
  press(Qt::Key_Down);
  EXPECT_EQ(log_.filter("TableRecords MeasurementArchGroup").size(), 1);
  ASSERT_TRUE(list());
  EXPECT_TRUE(list()->isVisible());
  EXPECT_EQ(list()->model()->index(0, 0).data().toString(), u8("(нет)"));
  EXPECT_EQ(list()->model()->index(1, 0).data().toString(), u8("Суточные значения"));
  EXPECT_EQ(list()->currentIndex().data().toString(), u8("Часовые значения"));
}

TEST_F(Pending, TellsOfAnOpenListAndOfItsEnd) {
  QSignalSpy visible(passport_.get(), &TlmPassport::SelectValuesVisible);
  QSignalSpy closed(passport_.get(), &TlmPassport::SelectValuesClosed);
  show("P Т-1");
  openEditor("Measurement.MeasurementArchGroupKey");
  EXPECT_EQ(visible.count(), 0);
  press(Qt::Key_Down);
  ASSERT_EQ(visible.count(), 1);
  EXPECT_EQ(visible.at(0).at(0).toString(), "MeasurementArchGroup");
  EXPECT_EQ(visible.at(0).at(1).toString(), "REF=MeasurementArchGroup");
  EXPECT_EQ(visible.at(0).at(2).toString(), "DISPLAY=description");
  press(Qt::Key_Escape);
  EXPECT_EQ(closed.count(), 1);
  EXPECT_FALSE(passport_->HasChanges());
}

TEST_F(Pending, PicksFromAListByTyping) {
  show("P Т-1");
  type("Measurement.MeasurementArchGroupKey", u8("суточ"));
  EXPECT_EQ(text("Measurement.MeasurementArchGroupKey"), u8("Суточные значения"));
  EXPECT_EQ(handOver().marked("Measurement"), "MeasurementArchGroupKey=" + key("Суточная"));
  EXPECT_EQ(changes_->count(), 1);
}

TEST_F(Pending, PicksFromAListByTheMouse) {
  show("P Т-1");
  openEditor("Measurement.UnitKey");
  press(Qt::Key_Down);
  ASSERT_TRUE(list());
  const QModelIndex row = list()->model()->index(1, 0);
  QTest::mouseClick(list()->viewport(), Qt::LeftButton, Qt::NoModifier, list()->visualRect(row).center());
  settle();
  EXPECT_EQ(text("Measurement.UnitKey"), u8("Мвар"));
  EXPECT_EQ(editor(), nullptr);
}

TEST_F(Pending, ClearsAReferenceToNull) {
  show("P Т-1");
  openEditor("Measurement.UnitKey");
  press(Qt::Key_Down);
  press(Qt::Key_PageUp);
  press(Qt::Key_Enter);
  EXPECT_EQ(text("Measurement.UnitKey"), u8("(нет)"));
  EXPECT_EQ(handOver().marked("Measurement"), "UnitKey=null");
}

TEST_F(Pending, RefusesATypedTextThatNoRowHolds) {
  show("P Т-1");
  type("Measurement.UnitKey", "qqq");
  EXPECT_EQ(messages_->count(), 1);
  EXPECT_FALSE(passport_->HasChanges());
  press(Qt::Key_Escape);
}

TEST_F(Pending, ReloadsAnOpenListOfThatTableOnly) {
  show("P Т-1");
  openEditor("Measurement.UnitKey");
  press(Qt::Key_Down);
  log_.clear();
  passport_->UpdateSelectValues("Archives", "", "", "", "");
  EXPECT_TRUE(log_.isEmpty());
  passport_->UpdateSelectValues("MeasurementUnit", "", "", "", "");
  EXPECT_EQ(log_.filter("TableRecords MeasurementUnit").size(), 1);
  EXPECT_EQ(list()->currentIndex().data().toString(), u8("МВт"));
}

TEST_F(Pending, SaysWhenAListCannotBeLoaded) {
  show("P Т-1");
  failures_.add("PacketExec TableRecords MeasurementUnit", Fail::kStatus);
  openEditor("Measurement.UnitKey");
  press(Qt::Key_Down);
  EXPECT_EQ(messages_->count(), 1);
  press(Qt::Key_Escape);
}

TEST_F(Pending, FallsBackOnItsOwnTableWhenAListCannotBeLoaded) {
  ASSERT_TRUE(passport_->FillCMDArray(session(), "MeasurementUnit"));
  show("P Т-1");
  failures_.add("PacketExec TableRecords MeasurementUnit", Fail::kStatus);
  type("Measurement.UnitKey", u8("Мвар"));
  EXPECT_EQ(messages_->count(), 0);
  EXPECT_EQ(text("Measurement.UnitKey"), u8("Мвар"));
}

TEST_F(Pending, ShowsTheCalculationOfAMeasurementInATab) {
  EXPECT_TRUE(passport_->FillCMDArray(session(), "Calculations"));
  show("P Т-1");
  ASSERT_TRUE(page());
  EXPECT_EQ(tabs_->tabText(1), u8("Расчеты"));
  EXPECT_EQ(page()->model()->rowCount(), 1);
  EXPECT_EQ(page()->model()->index(0, 0).data().toString(), "RES1001");
  show("ПС Северная", nullptr);
  EXPECT_EQ(tabs_->count(), 1);
}

TEST_F(Pending, FailsToFillFromATableThatDoesNotExist) { EXPECT_FALSE(passport_->FillCMDArray(session(), "Nothing")); }

TEST_F(Pending, WritesAnEditOfATabWithTheKeyOfItsRow) {
  passport_->FillCMDArray(session(), "Calculations");
  show("P Т-1");
  tabs_->setCurrentIndex(1);
  const QModelIndex period = page()->model()->index(0, 3);
  page()->setCurrentIndex(period);
  page()->edit(period);
  auto* field = page()->viewport()->findChild<QLineEdit*>();
  ASSERT_TRUE(field);
  QTest::keyClicks(field, "25");
  QTest::keyClick(field, Qt::Key_Enter);
  const ChangeSet set = handOver();
  EXPECT_EQ(set.tables.last(), "Calculations");
  EXPECT_EQ(set.marked("Calculations"), "period=25");
  EXPECT_EQ(set.value("Calculations", "KeyLink"), key("RES1001"));
}

TEST_F(Pending, OffersAnEmptyRowWhereThereIsNoCalculation) {
  passport_->FillCMDArray(session(), "Calculations");
  show("Q Т-1");
  ASSERT_EQ(page()->model()->rowCount(), 1);
  page()->model()->setData(page()->model()->index(0, 2), Qt::Checked, Qt::CheckStateRole);
  const ChangeSet set = handOver();
  EXPECT_EQ(set.value("Calculations", "fname"), "RES1002");
  EXPECT_EQ(set.value("Calculations", "KeyLink")->size(), 32);
  EXPECT_TRUE(set.marked("Calculations").contains("fname=RES1002"));
  EXPECT_TRUE(set.marked("Calculations").contains("enabled=true"));
}

TEST_F(Pending, FollowsChangesOfATabsRows) {
  passport_->FillCMDArray(session(), "Calculations");
  show("P Т-1");
  const ChangeSet set = [&] {
    page()->model()->setData(page()->model()->index(0, 2), Qt::Unchecked, Qt::CheckStateRole);
    return handOver();
  }();
  passport_->ClearChanges();
  passport_->UpdateTable("Calculations", key("RES1001"), set.array("Calculations"), true);
  EXPECT_EQ(page()->model()->index(0, 2).data(Qt::CheckStateRole).toInt(), Qt::Unchecked);
  passport_->DelRecTable("Calculations", key("RES1001"));
  EXPECT_EQ(page()->model()->index(0, 4).data().toString(), "");  // the row to fill in is left
  EXPECT_FALSE(passport_->HasChanges());
}

}  // namespace
}  // namespace tlm::test
