// The road of one edit, on real widgets and a real server core.
#include <QLineEdit>
#include <QToolButton>

#include "ModuleWindow.h"

namespace tlm::test {
namespace {

class Road : public ModuleWindow {
 protected:
  void save() {
    module->activateWindow();
    tree()->setFocus();
    QTest::keyClick(tree(), Qt::Key_S, Qt::ControlModifier);
    settle();
  }
};

TEST_F(Road, RenamedMeasurementIsSavedAndSeenAgain) {
  start();
  const QModelIndex unit = find("КП-1");
  EXPECT_EQ(module->treeModel->rowCount(unit), 0);
  tree()->expandRecursively(unit);
  EXPECT_EQ(treeText(*module->treeModel, unit), picture(R"(
      Аналоговые измерения
        1001 P Т-1
        1002 Q Т-1
      Дискретные сигналы
        1003 Q-110
        1006 Р-110
      Строковые величины
        1005 Режим
      Счетчики
        1004 Wp Т-1
  )"));

  click("P Т-1");
  EXPECT_EQ(shown("Наименование"), "P Т-1");
  EXPECT_FALSE(module->actSave->isEnabled());

  type("Наименование", "Мощность Т-1");
  EXPECT_TRUE(module->actSave->isEnabled());
  EXPECT_TRUE(module->actCancel->isEnabled());
  EXPECT_FALSE(module->actDel->isEnabled());
  EXPECT_FALSE(module->btnAdd->isEnabled());
  EXPECT_TRUE(app.edited);

  save();
  EXPECT_TRUE(processUntil([&] { return shownName("P Т-1") == "Мощность Т-1"; }));
  EXPECT_FALSE(module->actSave->isEnabled());
  EXPECT_FALSE(app.edited);
  EXPECT_EQ(shown("Наименование"), "Мощность Т-1");
  EXPECT_EQ(waitingBox(), nullptr);
}

TEST_F(Road, SurvivesARestartOfTheServer) {
  start();
  click("P Т-1");
  type("Наименование", "Мощность Т-1");
  save();
  ASSERT_TRUE(processUntil([&] { return shownName("P Т-1") == "Мощность Т-1"; }));
  module.reset();
  host.reset();
  server.restart();
  TestApp second(*server.core());
  CTlmMeasConfig again(&second);
  again.ModuleStart();
  QModelIndex row;
  ASSERT_TRUE(again.FindKeyLink(key("P Т-1"), row));
  EXPECT_EQ(row.data().toString(), "Мощность Т-1");
}

TEST_F(Road, EveryOpenWindowSeesTheNewName) {
  start();
  TestApp colleague(*server.core(), "colleague");
  CTlmMeasConfig other(&colleague);
  other.ModuleStart();
  QModelIndex row;
  ASSERT_TRUE(other.FindKeyLink(key("P Т-1"), row));
  click("P Т-1");
  type("Наименование", "Мощность Т-1");
  save();
  EXPECT_TRUE(processUntil([&] { return row.data().toString() == "Мощность Т-1"; }));
}

TEST_F(Road, NewNumberIsSavedAndSeen) {
  start();
  click("P Т-1");
  type("Номер", "1777");
  save();
  EXPECT_TRUE(processUntil([&] { return numberOf(find("P Т-1")) == "1777"; }));
}

TEST_F(Road, FolderIsRenamed) {
  start();
  click("ОРУ-110");
  type("Наименование", "ОРУ-220");
  save();
  EXPECT_TRUE(processUntil([&] { return shownName("ОРУ-110") == "ОРУ-220"; }));
}

}  // namespace
}  // namespace tlm::test
