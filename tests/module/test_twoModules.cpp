// Two windows on one model: what one engineer does, the other sees.
#include <QLineEdit>

#include "ModuleWindow.h"

namespace tlm::test {
namespace {

class TwoWindows : public ModuleWindow {
 protected:
  TwoWindows()
      : colleagueHost_(*server.core(), "colleague"), other_(std::make_unique<CTlmMeasConfig>(&colleagueHost_)) {}

  void startBoth() {
    start();
    other_->show();
    other_->ModuleStart();
    bringUp(*module);
  }
  QModelIndex otherRow(const char* name) {
    QModelIndex row;
    EXPECT_TRUE(other_->FindKeyLink(key(name), row)) << name;
    return row;
  }
  void otherSelects(const char* name) {
    otherRow(name);
    other_->ui->tV_MeasConfig->selectionModel()->setCurrentIndex(otherRow(name), QItemSelectionModel::ClearAndSelect);
    bringUp(*module);
  }
  static void bringUp(CTlmMeasConfig& window) {
    QApplication::setActiveWindow(&window);
    settle();
  }
  // What the other engineer types into a field.
  void otherTypes(const char* title, const char* text) {
    bringUp(*other_);
    QTreeView* sheet = other_->ui->tV_Prop;
    sheet->setFocus();
    sheet->setCurrentIndex(otherField(title));
    sheet->edit(otherField(title));
    auto* editor = qobject_cast<QLineEdit*>(QApplication::focusWidget());
    ASSERT_NE(editor, nullptr) << title;
    editor->selectAll();
    QTest::keyClicks(editor, text);
    QTest::keyClick(editor, Qt::Key_Return);
    settle();
    bringUp(*module);
  }
  QModelIndex otherField(const char* title) {
    QAbstractItemModel* sheet = other_->ui->tV_Prop->model();
    const QModelIndexList hits = sheet->match(sheet->index(0, 0), Qt::DisplayRole, QString(title), 1,
                                              Qt::MatchExactly | Qt::MatchRecursive | Qt::MatchCaseSensitive);
    return hits.isEmpty() ? QModelIndex() : hits.first().sibling(hits.first().row(), 1);
  }
  QString otherShows(const char* title) { return otherField(title).data().toString(); }

  TestApp colleagueHost_;
  std::unique_ptr<CTlmMeasConfig> other_;
};

TEST_F(TwoWindows, ARenameShowsInTreeAndPassportOfTheOther) {
  startBoth();
  otherSelects("P Т-1");
  EXPECT_EQ(otherShows("Наименование"), "P Т-1");
  click("P Т-1");
  type("Наименование", "Мощность");
  module->actSave->trigger();
  EXPECT_TRUE(processUntil([&] { return otherRow("P Т-1").data().toString() == "Мощность"; }));
  EXPECT_TRUE(processUntil([&] { return otherShows("Наименование") == "Мощность"; }));
  EXPECT_EQ(otherRow("P Т-1").data().toString(), shownName("P Т-1"));
}

TEST_F(TwoWindows, ARenamedUnitShowsInTheOther) {
  startBoth();
  otherSelects("КП-1");
  click("КП-1");
  type("Наименование", "КП-1 новое");
  module->actSave->trigger();
  EXPECT_TRUE(processUntil([&] { return otherRow("КП-1").data().toString() == "КП-1 новое"; }));
  EXPECT_TRUE(processUntil([&] { return otherShows("Наименование") == "КП-1 новое"; }));
}

TEST_F(TwoWindows, AFieldOfTheClassTableShowsInTheOthersPassport) {
  startBoth();
  otherSelects("P Т-1");
  click("P Т-1");
  type("Знаков после запятой", "4");
  module->actSave->trigger();
  EXPECT_TRUE(processUntil([&] { return otherShows("Знаков после запятой") == "4"; }));
}

TEST_F(TwoWindows, AnEditOfTheOtherWaitsWhileItsObjectIsRenamed) {
  startBoth();
  otherSelects("P Т-1");
  otherTypes("Примечание", "ok");
  ASSERT_TRUE(other_->passport.HasChanges());
  click("P Т-1");
  type("Наименование", "Мощность");
  module->actSave->trigger();
  ASSERT_TRUE(processUntil([&] { return otherShows("Наименование") == "Мощность"; }));
  EXPECT_TRUE(other_->passport.HasChanges());
  EXPECT_TRUE(other_->passportEdited);
  other_->onActSave_Triggered();
  EXPECT_TRUE(processUntil([&] { return shown("Примечание") == "ok"; }));
}

TEST_F(TwoWindows, AChangeOfTheOtherMovesAMergedSheetToTheObject) {
  startBoth();
  click("P Т-1");
  click(find("Q Т-1"), Qt::ControlModifier);
  EXPECT_EQ(shown("Наименование"), "");
  otherSelects("P Т-1");
  otherTypes("Знаков после запятой", "3");
  other_->onActSave_Triggered();
  EXPECT_TRUE(processUntil([&] { return shown("Знаков после запятой") == "3"; }));
  EXPECT_EQ(shown("Наименование"), "P Т-1");
  EXPECT_EQ(tree()->selectionModel()->selectedIndexes().size(), 2) << "the selection stays where it was";
}

}  // namespace
}  // namespace tlm::test
