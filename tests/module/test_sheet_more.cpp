// The sheet beside the tree: headings, what a pending edit keeps, the fitting of its columns; own moves.
#include <QScrollBar>
#include <QToolButton>

#include <functional>

#include "ModuleWindow.h"
#include "RecordAccess.h"

namespace tlm::test {
namespace {

class Sheet : public ModuleWindow {
 protected:
  // All texts that the sheet shows.
  QString allTexts() { return treeText(*module->ui->tV_Prop->model()); }
};

TEST_F(Sheet, HeadingOfAGroupTellsItsNameAndNumberOfRows) {
  start();
  click(find("Q-110").parent());
  EXPECT_TRUE(allTexts().contains("Дискретные сигналы")) << allTexts().toStdString();
  EXPECT_TRUE(allTexts().contains("2 Количество объектов")) << allTexts().toStdString();
}

TEST_F(Sheet, HeadingOfSeveralKindsTellsHowManyAreSelected) {
  start();
  click("P Т-1");
  click(find("Q-110"), Qt::ControlModifier);
  click(find("КП-1"), Qt::ControlModifier);
  EXPECT_TRUE(allTexts().contains("3 Количество объектов")) << allTexts().toStdString();
}

TEST_F(Sheet, KeepsWhoseEditIsPendingWhenAnotherObjectIsShown) {
  start();
  click("P Т-1");
  type("Наименование", "P новое");
  module->UpdateTlmPassport(find("Q-110"));
  EXPECT_EQ(module->currentRowName, "1001");
  module->actSave->trigger();
  EXPECT_TRUE(processUntil([&] { return shownName("P Т-1") == "P новое"; }));
  EXPECT_EQ(shownName("Q-110"), "Q-110");
}

TEST_F(Sheet, FitsItsColumnsAfterEachDisplay) {
  start();
  click("P Т-1");
  QHeaderView* header = module->ui->tV_Prop->header();
  for (const QModelIndex& row : {find("Q-110"), find("Q-110").parent()}) {
    header->resizeSection(0, 77);
    click(row);
    EXPECT_NE(header->sectionSize(0), 77) << row.data().toString().toStdString();
  }
}

TEST_F(Sheet, FitsItsColumnsAfterRedisplaysAndForSeveral) {
  start();
  click("P Т-1");
  find("Q Т-1");
  QHeaderView* header = module->ui->tV_Prop->header();
  const std::pair<const char*, std::function<void()>> displays[] = {
      {"redisplay", [&] { module->UpdateTlmPassport(find("P Т-1")); }},
      {"measurement", [&] { module->UpdateTlmPassportMeas(key("P Т-1"), "Analog", false); }},
      {"several", [&] { click(find("Q Т-1"), Qt::ControlModifier); }},
      {"several kinds", [&] { click(find("Q-110"), Qt::ControlModifier); }},
      {"several, the first unknown",
       [&] {
         click(find("P Т-1"));
         app.failures.add("PacketExec LiteModel", Fail::kStatus);
         header->resizeSection(0, 77);
         click(find("Q Т-1"), Qt::ControlModifier);
       }},
  };
  for (const auto& [what, display] : displays) {
    header->resizeSection(0, 77);
    display();
    settle();
    EXPECT_NE(header->sectionSize(0), 77) << what;
  }
}

TEST_F(Sheet, FolderThatTheServerDoesNotGiveIsStillAFolder) {
  start();
  find("ОРУ-110");
  app.failures.add("PacketExec LiteModel", Fail::kStatus);
  click("Подстанция Северная");
  EXPECT_EQ(shown("Наименование"), "Подстанция Северная");
  EXPECT_EQ(field("Наименование").parent().data().toString(), "Папка устройств");
  module->passport.SetDeclare("", 0, "");
  click(find("ОРУ-110"), Qt::ControlModifier);
  EXPECT_EQ(field("Наименование").parent().data().toString(), "Папка устройств") << "of several";
  module->UpdateTlmPassport(find("ОРУ-110"));
  EXPECT_EQ(field("Наименование").parent().data().toString(), "Папка устройств") << "shown anew";
}

TEST_F(Sheet, SelectedRowSetsPathBarAndPaste) {
  start();
  click("P Т-1");
  module->toolBarCfg->clear();
  module->btnPaste->setEnabled(true);
  click("КП-1");
  EXPECT_FALSE(module->toolBarCfg->actions().isEmpty());
  EXPECT_FALSE(module->btnPaste->isEnabled()) << "nothing was copied";
}

TEST_F(Sheet, PressOnARowForgetsTheHitsOfTheSearch) {
  start();
  module->foundIndexes = {find("Q-110")};
  module->foundPos = 0;
  click("P Т-1");
  EXPECT_TRUE(module->foundIndexes.isEmpty());
  EXPECT_EQ(module->foundPos, -1);
}

TEST_F(Sheet, LinkOfAMeasurementIsAnOwnMoveInWhateverCase) {
  start();
  find("P Т-1");
  CMDArray array;
  MDACopy(array.array, module->strMeasurement.array, 0);
  MDRData* record = MDARecNew(array.array);
  const QByteArray measurement = key("P Т-1").toLatin1();
  const QByteArray unit = key("Без папки").toLatin1();
  array.SetVal(record, 0, textVar(measurement));
  array.SetValF(record, MDRFldByName(array.array, "RemoteUnitKey")->number, textVar(unit));
  array.RecPost(record);
  QStringList tables{"Measurement"};
  QList<CMDArray*> arrays{&array};
  ASSERT_TRUE(module->Save(tables, arrays, false));
  EXPECT_EQ(module->ownMoves, QStringList{key("P Т-1")});
}

}  // namespace
}  // namespace tlm::test
