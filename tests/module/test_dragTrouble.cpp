// Drags whose rows, targets or server go away, drags beside unsaved edits, and a second window that looks on.
#include <QClipboard>
#include <QGuiApplication>

#include "DragWindow.h"
#include "SaveTexts.h"

namespace tlm::test {
namespace {

class DragTrouble : public DragWindow {
 protected:
  std::unique_ptr<QMimeData> dragOf(const char* name) {
    return std::unique_ptr<QMimeData>(module->treeModel->mimeData({find(name)}));
  }
  bool drop(const QMimeData* data, const QModelIndex& at) {
    return module->treeModel->dropMimeData(data, Qt::MoveAction, -1, -1, at);
  }
  QStringList writes() { return app.log.filter("SqlUpdate"); }
  QString rowsText() {
    const RowTexts rows = serverRows(*server.core());
    return (rows.folders.values() + rows.units.values() + rows.measurements.values()).join('\n');
  }
  // The message that the write was refused, which is answered.
  QString refusal() {
    CPopMessageBox* box = waitingBox();
    const QString text = box ? box->messageText() : QString();
    if (box) answerBox(box, 0);
    return text;
  }

  Colleague colleague{*server.core()};
};

// ---- a folder under its own descendant ----------------------------------------------------------------

TEST_F(DragTrouble, FolderUnderItsDescendantIsRefusedAndTheTreeStays) {
  startOpen();
  const auto data = dragOf("Север");
  const QString tree = treeText(*module->treeModel);
  const QString rows = rowsText();
  EXPECT_TRUE(drop(data.get(), find("ОРУ-110")));
  EXPECT_EQ(refusal(), QString(kCommitFailed));
  EXPECT_EQ(rowsText(), rows);
  ASSERT_TRUE(eventsAreIn());
  EXPECT_EQ(treeText(*module->treeModel), tree);
  EXPECT_EQ(module->ownMoves, QStringList());
}

// The view itself refuses a drop on what hangs under a selected cell; the cell of the number has nothing under it.
TEST_F(DragTrouble, FolderDraggedByItsNumberCellIsRefusedByTheServer) {
  startOpen();
  const QString rows = rowsText();
  ASSERT_TRUE(mouse.drag(find("Север").siblingAtColumn(1), [&] { mouse.dropOn(find("ОРУ-110")); }));
  EXPECT_EQ(refusal(), QString(kCommitFailed));
  EXPECT_EQ(rowsText(), rows);
  ASSERT_TRUE(eventsAreIn());
  EXPECT_FALSE(rowOf("Север").parent().isValid());
  EXPECT_EQ(rowOf("ОРУ-110").parent(), rowOf("Север"));
}

TEST_F(DragTrouble, ViewRefusesADropOnWhatHangsUnderTheRow) {
  if (!DragMouse::isReal()) GTEST_SKIP() << "the platform has no drags, so the view does not know whose this is";
  startOpen();
  ASSERT_TRUE(mouse.drag(find("Север"), [&] {
    mouse.over(find("ОРУ-110"));
    EXPECT_FALSE(mouse.isAllowed());
    mouse.over(find("Север"));
    EXPECT_FALSE(mouse.isAllowed());
    mouse.over(find("Юг"));
    EXPECT_TRUE(mouse.isAllowed());
  }));
}

// ---- what others do meanwhile ---------------------------------------------------------------------------

TEST_F(DragTrouble, DropInAFolderThatAColleagueDeletedIsRefused) {
  startOpen();
  const auto data = dragOf("КП-3");
  const QModelIndex target = find("Юг");
  ASSERT_TRUE(colleague.remove("RemoteUnitFolder", key("Юг")).commit());
  EXPECT_TRUE(drop(data.get(), target));
  EXPECT_EQ(refusal(), QString(kCommitFailed));
  ASSERT_TRUE(eventsAreIn());
  EXPECT_FALSE(rowOf("Юг").isValid());
  EXPECT_EQ(rowOf("КП-3").parent(), rowOf("Север"));
}

TEST_F(DragTrouble, DropInAUnitThatAColleagueDeletedIsRefused) {
  startOpen();
  const auto data = dragOf("I Т-2");
  const QModelIndex target = find("КП-3");
  ASSERT_TRUE(colleague.remove("RemoteUnit", key("КП-3")).commit());
  EXPECT_TRUE(drop(data.get(), target));
  EXPECT_EQ(refusal(), QString(kCommitFailed));
  ASSERT_TRUE(eventsAreIn());
  EXPECT_EQ(rowOf("I Т-2").parent().parent(), rowOf("КП-2"));
}

TEST_F(DragTrouble, WhatAColleagueDeletedIsLeftOutOfTheDrop) {
  startOpen();
  const std::unique_ptr<QMimeData> data(module->treeModel->mimeData({find("КП-3"), find("КП-4")}));
  ASSERT_TRUE(colleague.remove("RemoteUnit", key("КП-3")).commit());
  EXPECT_TRUE(drop(data.get(), find("Юг")));
  EXPECT_EQ(waitingBox(), nullptr);
  ASSERT_TRUE(eventsAreIn());
  EXPECT_FALSE(rowOf("КП-3").isValid());
  EXPECT_EQ(rowOf("КП-4").parent(), rowOf("Юг"));
}

TEST_F(DragTrouble, RowThatGoesWhileTheMouseMovesIsNotMoved) {
  startOpen();
  ASSERT_TRUE(mouse.drag(find("КП-3"), [&] {
    mouse.over(find("Юг"));
    ASSERT_TRUE(colleague.remove("RemoteUnit", key("КП-3")).commit());
    ASSERT_TRUE(eventsAreIn());
    ASSERT_FALSE(rowOf("КП-3").isValid());
    mouse.dropOn(find("Юг"));
  }));
  EXPECT_EQ(module->treeModel->rowCount(rowOf("Юг")), 0);
  EXPECT_EQ(module->dragTableName, "");
}

TEST_F(DragTrouble, TargetThatGoesWhileTheMouseMovesTakesNothing) {
  startOpen();
  QPoint place;
  ASSERT_TRUE(mouse.drag(find("КП-3"), [&] {
    mouse.over(find("Юг"));
    ASSERT_TRUE(mouse.isAllowed());
    place = rectOf(find("Юг")).center();
    ASSERT_TRUE(colleague.remove("RemoteUnitFolder", key("Юг")).commit());
    ASSERT_TRUE(eventsAreIn());
    mouse.drop();
  }));
  ASSERT_TRUE(eventsAreIn());
  EXPECT_EQ(waitingBox(), nullptr);
  EXPECT_TRUE(rowOf("КП-3").isValid());
  EXPECT_EQ(arrayFaults(*module, moduleRows(*module), serverRows(*server.core())), QStringList());
}

TEST_F(DragTrouble, MoveOfAnotherAfterARefusedDropDoesNotTakeTheSelection) {
  startOpen();
  EXPECT_TRUE(drop(dragOf("Север").get(), find("ОРУ-110")));
  EXPECT_EQ(refusal(), QString(kCommitFailed));
  click("КП-4");
  ASSERT_TRUE(colleague.change("RemoteUnitFolder", key("Север"), {"ParentKey=" + key("Юг")}).commit());
  ASSERT_TRUE(movedTo("Север", "Юг"));
  EXPECT_EQ(tree()->currentIndex(), rowOf("КП-4"));
}

// ---- without the server ----------------------------------------------------------------------------------

// A write that gets no answer is not taken for a refused one: the tree waits for the events.
TEST_F(DragTrouble, DropThatCannotBeSentChangesNothing) {
  startOpen();
  const QString tree = treeText(*module->treeModel);
  const auto data = dragOf("КП-3");
  app.failures.add("BlockEnd", Fail::kRefuseToSend);
  EXPECT_TRUE(drop(data.get(), find("Юг")));
  app.failures.clear();
  EXPECT_EQ(waitingBox(), nullptr);
  EXPECT_EQ(module->dragTableName, "");
  EXPECT_EQ(treeText(*module->treeModel), tree);
}

TEST_F(DragTrouble, ServerThatIsAwayFromTheStartLeavesTheTreeAsItIs) {
  startOpen();
  const QString tree = treeText(*module->treeModel);
  app.failures.add("PacketExec", Fail::kRefuseToSend);
  app.failures.add("CalcExec", Fail::kRefuseToSend);
  app.failures.add("BlockEnd", Fail::kRefuseToSend);
  const auto data = dragOf("КП-1");
  ASSERT_NE(data, nullptr);
  EXPECT_EQ(module->dragTableName, "RemoteUnit");
  EXPECT_TRUE(drop(data.get(), find("Юг")));
  app.failures.clear();
  refusal();
  EXPECT_EQ(treeText(*module->treeModel), tree);
  EXPECT_EQ(writes(), QStringList());
}

// ---- unsaved edits ----------------------------------------------------------------------------------------

TEST_F(DragTrouble, PressOnAnotherRowSavesTheEditAndTheDropMovesTheRow) {
  startOpen();
  click("КП-4");
  type("Наименование", "КП-4 новое");
  ASSERT_TRUE(module->passportEdited);
  ASSERT_TRUE(mouse.drag(find("КП-3"), [&] { mouse.dropOn(find("Юг")); }));
  EXPECT_TRUE(movedTo("КП-3", "Юг"));
  EXPECT_FALSE(module->passportEdited);
  EXPECT_TRUE(processUntil([&] { return rowOf("КП-4").data().toString() == "КП-4 новое"; }));
}

TEST_F(DragTrouble, EditOfTheDraggedObjectIsNotLost) {
  startOpen();
  click("КП-3");
  type("Наименование", "КП-3 новое");
  ASSERT_TRUE(mouse.drag(find("КП-3"), [&] { mouse.dropOn(find("Юг")); }));
  EXPECT_TRUE(movedTo("КП-3", "Юг"));
  if (module->passportEdited) module->actSave->trigger();
  EXPECT_TRUE(processUntil([&] { return rowOf("КП-3").data().toString() == "КП-3 новое"; }));
}

TEST_F(DragTrouble, EditThatMayNotBeSavedKeepsTheMouseFromDragging) {
  startOpen();
  click("КП-4");
  type("Наименование", "");
  mouse.press(find("КП-3"));
  EXPECT_FALSE(mouse.pull(QApplication::startDragDistance() + 1, [] {}));
  EXPECT_EQ(module->dragTableName, "");
  EXPECT_EQ(refusal(), QString(kNoName));
  module->actCancel->trigger();
  EXPECT_TRUE(mouse.drag(find("КП-3"), [&] { mouse.dropOn(find("Юг")); }));
  EXPECT_TRUE(movedTo("КП-3", "Юг"));
}

// ---- two windows ------------------------------------------------------------------------------------------

class DragBeside : public DragTrouble {
 protected:
  DragBeside() : otherHost_(*server.core(), "colleague"), other_(&otherHost_) {}

  void startBoth() {
    startOpen();
    other_.move(1000, 0);
    other_.show();
    other_.ModuleStart();
    QApplication::setActiveWindow(module.get());
    settle();
  }
  QModelIndex otherRow(const char* name) { return other_.treeModel->findByKey(key(name)); }
  // Below units that one of them has not opened nothing is compared.
  bool bothAgree() {
    QStringList open;
    for (const QString& unit : openUnits(*module))
      if (openUnits(other_).contains(unit)) open += unit;
    return canonicalTree(*module, {}, open) == canonicalTree(other_, {}, open);
  }

  TestApp otherHost_;
  CTlmMeasConfig other_;
};

TEST_F(DragBeside, OtherWindowFollowsFoldersAndUnits) {
  startBoth();
  const QModelIndex current = other_.ui->tV_MeasConfig->currentIndex();
  const QString currentKey = ::keyOf(current);
  ASSERT_TRUE(mouse.drag(find("КП-3"), [&] { mouse.dropOn(find("Юг")); }));
  ASSERT_TRUE(processUntil([&] { return otherRow("КП-3").parent() == otherRow("Юг"); }));
  EXPECT_TRUE(bothAgree());
  ASSERT_TRUE(mouse.drag(find("ОРУ-110"), [&] {
    mouse.over(module->headerView->viewport(), QPoint(5, 5));
    mouse.drop();
  }));
  ASSERT_TRUE(processUntil([&] { return otherRow("ОРУ-110").isValid() && !otherRow("ОРУ-110").parent().isValid(); }));
  EXPECT_TRUE(bothAgree());
  EXPECT_EQ(::keyOf(other_.ui->tV_MeasConfig->currentIndex()), currentKey);
}

TEST_F(DragBeside, OtherWindowFollowsAMeasurementWhereBothUnitsAreOpen) {
  startBoth();
  for (const char* unit : {"КП-1", "КП-2"}) {
    open(unit);
    other_.ui->tV_MeasConfig->expand(otherRow(unit));
  }
  ASSERT_TRUE(mouse.drag(find("P Т-1"), [&] { mouse.dropOn(find("I Т-2")); }));
  ASSERT_TRUE(processUntil([&] { return otherRow("P Т-1").parent().parent() == otherRow("КП-2"); }));
  EXPECT_TRUE(bothAgree());
}

TEST_F(DragBeside, OtherWindowForgetsAMeasurementThatGoesToAUnitClosedThere) {
  startBoth();
  open("КП-1");
  other_.ui->tV_MeasConfig->expand(otherRow("КП-1"));
  ASSERT_TRUE(otherRow("P Т-1").isValid());
  ASSERT_TRUE(mouse.drag(find("P Т-1"), [&] { mouse.dropOn(find("КП-2")); }));
  EXPECT_TRUE(processUntil([&] { return !otherRow("P Т-1").isValid(); }));
  other_.ui->tV_MeasConfig->expand(otherRow("КП-2"));
  EXPECT_EQ(otherRow("P Т-1").parent().parent(), otherRow("КП-2"));
}

// The block tells of the copied folders before the units in them, whatever was selected first.
TEST_F(DragBeside, CopyOfAUnitAndAFolderHangsTheUnitsWhereTheyBelong) {
  startBoth();
  click("КП-4");
  QTest::mouseClick(tree()->viewport(), Qt::LeftButton, Qt::ControlModifier, rectOf(find("Север")).center());
  module->actCopy->trigger();
  ASSERT_TRUE(module->clipText.indexOf("<RemoteUnit ") < module->clipText.indexOf("<Folder "));
  click("Юг");
  module->actPaste->trigger();
  ASSERT_TRUE(processUntil([&] { return module->treeModel->rowCount(rowOf("Юг")) == 2; }));
  ASSERT_TRUE(eventsAreIn());
  ASSERT_TRUE(processUntil([&] { return other_.treeModel->rowCount(otherRow("Юг")) == 2; }));
  for (const CTlmMeasConfig* each : {static_cast<const CTlmMeasConfig*>(module.get()), &std::as_const(other_)})
    EXPECT_EQ(treeFaults(*each, {}), QStringList());
  EXPECT_EQ(module->treeModel->rowCount(), 3);
  EXPECT_TRUE(bothAgree());
  QGuiApplication::clipboard()->clear();
}

TEST_F(DragBeside, WindowThatBeganNoDragTakesNone) {
  startBoth();
  const auto data = dragOf("КП-3");
  EXPECT_EQ(other_.treeModel->flags(QModelIndex()), Qt::NoItemFlags);
  EXPECT_FALSE(other_.treeModel->flags(otherRow("Юг")) & Qt::ItemIsDropEnabled);
  EXPECT_FALSE(other_.treeModel->dropMimeData(data.get(), Qt::MoveAction, -1, -1, otherRow("Юг")));
  EXPECT_EQ(otherHost_.log.filter("SqlUpdate"), QStringList());
}

}  // namespace
}  // namespace tlm::test
