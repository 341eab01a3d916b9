// Series by template: what is written, the report of occupied numbers, and what the save looks at.
#include <QCheckBox>
#include <QLabel>
#include <QMimeData>
#include <QPlainTextEdit>

#include "TemplateWindow.h"

namespace tlm::test {
namespace {

// ---- a series --------------------------------------------------------------------------------------------

TEST_F(Template, AFreeRangeMakesTheSeriesInOneBlockWithoutAQuestion) {
  start();
  open("Q Т-1", "КП-2");
  series("1100", "1200", 5, 3);
  EXPECT_FALSE(report()->isVisible());
  EXPECT_EQ(waitingBox(), nullptr);
  EXPECT_EQ(made(), (QStringList{"1100 Ряд 1100", "1105 Ряд 1105", "1110 Ряд 1110"}));
  EXPECT_EQ(writes(), (QStringList{"BlockBeg", "SqlUpdate IdentifiedObject 3 records",
                                   "SqlUpdate Measurement 3 records", "SqlUpdate Analog 3 records", "BlockEnd"}));
  EXPECT_EQ(below("КП-2"), picture(R"(
    Аналоговые измерения
      1030 U 10 кВ
      1100 Ряд 1100
      1105 Ряд 1105
      1110 Ряд 1110
  )"));
}

TEST_F(Template, AGroupGivesTheSeriesToItsUnit) {
  start();
  copy("Wp Т-1");
  click(find("Wp Т-1").parent());
  press(module->actCopyTemplate);
  series("1100", "1200", 1, 1);
  EXPECT_EQ(serverField("Measurement", keyOfNumber(1100), "RemoteUnitKey"), "КП-1");
  EXPECT_EQ(serverField("Accumulator", keyOfNumber(1100), "KeyLink"), keyOfNumber(1100));
}

TEST_F(Template, OneCopyGivesOneSeries) {
  start();
  open("Q Т-1", "КП-2");
  series("1100", "1200", 1, 1);
  EXPECT_FALSE(module->templatePasteOn);
  EXPECT_FALSE(module->actCopyTemplate->isEnabled());
  click("КП-1");
  EXPECT_FALSE(module->actCopyTemplate->isEnabled());
  copy("Q Т-1");
  click("КП-1");
  EXPECT_TRUE(module->actCopyTemplate->isEnabled());
}

TEST_F(Template, ValuesAreCopiedWhateverIsTicked) {
  start();
  open("P Т-1", "КП-2");
  form()->checkBox_flds->setChecked(false);
  series("1100", "1200", 1, 1);
  EXPECT_EQ(serverField("Measurement", keyOfNumber(1100), "PSRKey"), "Т-1");
  EXPECT_EQ(serverField("Measurement", keyOfNumber(1100), "staleTime"), "77");
  EXPECT_EQ(serverField("Measurement", keyOfNumber(1100), "work_"), "0");
}

TEST_F(Template, AggregatedMeasurementsComeAlong) {
  start();
  open("P Т-1", "КП-2");
  series("1003", "1100", 1, 2);
  EXPECT_EQ(made(),
            (QStringList{"1 Ряд 1003 (of 1003, Сутки)", "2 Ряд 1003_ср (of 1003, Час)", "3 Ряд 1004 (of 1004, Сутки)",
                         "4 Ряд 1004_ср (of 1004, Час)", "1003 Ряд 1003", "1004 Ряд 1004"}));
  EXPECT_EQ(serverField("Measurement", keyOfNumber(2), "ioAddress"), "9");
  EXPECT_EQ(serverField("Measurement", keyOfNumber(2), "RemoteUnitKey"), "КП-2");
  EXPECT_EQ(writes().size(), 5) << "one block";
  EXPECT_EQ(below("КП-2"), picture(R"(
    Аналоговые измерения
      1030 U 10 кВ
      1003 Ряд 1003
        1 Ряд 1003
        2 Ряд 1003_ср
      1004 Ряд 1004
        3 Ряд 1004
        4 Ряд 1004_ср
  )"));
}

TEST_F(Template, WithoutTheTickTheyStayBehind) {
  start();
  open("P Т-1", "КП-2");
  module->agregLocIds = QList<int>{5};
  form()->checkBox_agregData->setChecked(false);
  series("1100", "1200", 1, 1);
  EXPECT_EQ(made(), QStringList{"1100 Ряд 1100"});
  EXPECT_EQ(module->agregLocIds, QList<int>{5}) << "their numbers are not asked for";
  EXPECT_EQ(app.log.filter("CalcExec f*(countNeed, locidBeg)"), QStringList());
}

TEST_F(Template, AsksSevenNumbersForEachCopyAndSevenMore) {
  start();
  open("Q Т-1", "КП-2");
  series("3", "100", 2, 4);
  EXPECT_EQ(module->freeLocIds, (QList<int>{3, 5, 7, 9}));
  EXPECT_EQ(module->agregLocIds.size(), (4 + 1) * 7 - 4);
  EXPECT_EQ(module->agregLocIds.mid(0, 6), (QList<int>{1, 2, 4, 6, 8, 10}));
  EXPECT_EQ(module->agregLocIds.last(), 35);
}

TEST_F(Template, ATemplateWithoutRowInTheTreeIsCopiedAlone) {
  start();
  copy("P Т-1");
  WatchedModule other(&app);  // has not opened that unit
  other.show();
  other.ModuleStart();
  settle();
  ASSERT_FALSE(other.treeModel->findByKey(key("P Т-1")).isValid());
  other.onDataChanged_clipboard();
  other.ui->tV_MeasConfig->setCurrentIndex(other.treeModel->findByKey(key("КП-2")));
  other.popCopyByTemlate->name = "Ряд";
  other.OnCopyByTemplate_SignOK("1100", "1200", 1, 1, "Ряд");
  EXPECT_EQ(made(), QStringList{"1100 Ряд 1100"});
}

TEST_F(Template, TheSecondWindowFollows) {
  start();
  const auto second = openSecond();
  QModelIndex unit;
  ASSERT_TRUE(second->FindKeyLink(key("U 10 кВ"), unit));
  open("P Т-1", "КП-2");
  series("1100", "1200", 1, 2);
  EXPECT_EQ(belowIn(*second, "КП-2"), below("КП-2"));
  EXPECT_EQ(made().size(), 6);
}

TEST_F(Template, ATargetThatIsNotOpenIsOpened) {
  start();
  open("Q Т-1", "КП-4");
  ASSERT_FALSE(nodeOf(module->treeModel->findByKey(key("КП-4")))->isLoaded);
  series("1100", "1200", 1, 1);
  EXPECT_EQ(below("КП-4"), "Аналоговые измерения\n  1100 Ряд 1100\n");
}

// ---- occupied numbers ------------------------------------------------------------------------------------

TEST_F(Template, SomeOccupiedNumbersAreAskedAbout) {
  start();
  open("Q Т-1", "КП-2");
  series("1020", "1100", 1, 4);
  ASSERT_TRUE(report()->isVisible());
  EXPECT_EQ(report()->ui->caption->text(), kSomeOccupied);
  EXPECT_EQ(writes(), QStringList());
  EXPECT_EQ(report()->ui->plainTextEdit->toPlainText(), "1020, Q-110\n1021, Wp Т-1\n1022, Режим\n");
  key(Qt::Key_Return);
  ASSERT_TRUE(eventsAreIn());
  EXPECT_FALSE(report()->isVisible());
  EXPECT_EQ(made(), QStringList{"1023 Ряд 1023"}) << "fewer, not later ones";
  EXPECT_FALSE(module->templatePasteOn);
}

TEST_F(Template, AFullyOccupiedRangeCreatesNothing) {
  start();
  const QStringList before = serverRows();
  open("Q Т-1", "КП-2");
  series("1020", "1022", 1, 2);
  ASSERT_TRUE(report()->isVisible());
  EXPECT_EQ(report()->ui->caption->text(), kAllOccupied);
  clickButton(report()->ui->buttonBox, QDialogButtonBox::Ok);
  EXPECT_EQ(writes(), (QStringList{"BlockBeg", "BlockEnd"}));
  EXPECT_EQ(serverRows(), before);
  EXPECT_FALSE(module->templatePasteOn);
  EXPECT_EQ(waitingBox(), nullptr);
}

TEST_F(Template, TheReportCanBeDeclined) {
  start();
  const QStringList before = serverRows();
  open("Q Т-1", "КП-2");
  series("1020", "1100", 1, 4);
  key(Qt::Key_Escape);
  EXPECT_FALSE(report()->isVisible());
  press(module->actCopyTemplate);
  series("1020", "1100", 1, 4);
  clickButton(report()->ui->buttonBox, QDialogButtonBox::Cancel);
  EXPECT_EQ(serverRows(), before);
  EXPECT_EQ(writes(), QStringList());
  EXPECT_TRUE(module->templatePasteOn);
}

TEST_F(Template, TheReportShowsAndHidesItsDetails) {
  start();
  open("Q Т-1", "КП-2");
  series("1020", "1100", 1, 4);
  EXPECT_EQ(report()->windowTitle(), "Копирование по шаблону");
  EXPECT_EQ(report()->panelTitle(), "Копирование по шаблону");
  EXPECT_EQ(report()->ui->groupBox_details->title(), "Существующие измерения");
  EXPECT_EQ(report()->ui->buttonBox->button(QDialogButtonBox::Cancel)->text(), "Отмена");
  EXPECT_EQ(report()->ui->icon->pixmap(Qt::ReturnByValue).size(), QSize(32, 32));
  EXPECT_TRUE(isCentred(*report()));
  EXPECT_EQ(cutTexts(*report()), QStringList());
  QPushButton* button = report()->ui->pushButton;
  EXPECT_TRUE(report()->ui->groupBox_details->isHidden());
  EXPECT_EQ(button->text(), "Показать подробности");
  QTest::mouseClick(button, Qt::LeftButton);
  EXPECT_TRUE(report()->ui->groupBox_details->isVisible());
  EXPECT_EQ(button->text(), "Скрыть подробности");
  EXPECT_TRUE(isCentred(*report()));
  EXPECT_EQ(cutTexts(*report()), QStringList());
  EXPECT_TRUE(report()->rect().contains(report()->ui->groupBox_details->geometry()));
  QTest::mouseClick(button, Qt::LeftButton);
  EXPECT_TRUE(report()->ui->groupBox_details->isHidden());
  EXPECT_EQ(button->text(), "Показать подробности");
  QTest::mouseClick(button, Qt::LeftButton);
  key(Qt::Key_Escape);
  press(module->actCopyTemplate);
  series("1020", "1100", 1, 4);
  EXPECT_TRUE(report()->ui->groupBox_details->isHidden()) << "hidden at each opening";
  EXPECT_EQ(button->text(), "Показать подробности");
  EXPECT_EQ(tabRound(), (QStringList{"ОК", "Отмена", "pushButton"}).replaceInStrings("pushButton", button->text()));
}

// ---- what the save looks at ------------------------------------------------------------------------------

TEST_F(Template, SavesNothingWithoutDocumentClipboardOrCopy) {
  start();
  copy("Q Т-1");
  app.log.clear();
  const QModelIndex unit = find("КП-2");
  module->freeLocIds = QList<int>{1100};
  const QString document = std::exchange(module->clipText, QString());
  module->SaveCopyByTemplate(unit);
  module->clipText = document;
  QClipboard* clipboard = std::exchange(module->clipboard, nullptr);
  module->SaveCopyByTemplate(unit);
  module->clipboard = clipboard;
  module->clipIsCopy = false;
  module->SaveCopyByTemplate(unit);
  EXPECT_EQ(writes(), QStringList());
  expectBox(kTitle, "Шаблона больше нет в буфере обмена, измерения не созданы", kBoxWarning);
  module->clipIsCopy = true;
  module->SaveCopyByTemplate(unit);
  EXPECT_EQ(writes().size(), 5);
}

TEST_F(Template, TakesTheFirstMeasurementOfTheDocument) {
  start();
  find("Q Т-1");
  module->freeLocIds = QList<int>{1100};
  const QString text = QString(
                           "<MyTree><Other KeyLink='x'/><Discrete ClassName='Discrete' KeyLink='%1'/>"
                           "<Analog ClassName='Analog' KeyLink='%2'/></MyTree>")
                           .arg(key("Q-110"), key("Q Т-1"));
  module->ParseAndSaveXmlTemplate(text, find("КП-2"));
  EXPECT_EQ(serverField("IdentifiedObject", keyOfNumber(1100), "ClassName"), "Discrete");
}

TEST_F(Template, LeavesForeignDocumentsAndTargetsAlone) {
  start();
  find("Q Т-1");
  app.log.clear();
  module->freeLocIds = QList<int>{1100};
  const QString text = QString("<MyTree><Analog ClassName='Analog' KeyLink='%1'/></MyTree>").arg(key("Q Т-1"));
  for (const char* wrong : {"", "<MyTree><Analog", "<MyTree/>", "<MyTree><Folder KeyLink='1'/></MyTree>",
                            "<MyTree><analog ClassName='Analog' KeyLink='1'/></MyTree>"})
    module->ParseAndSaveXmlTemplate(wrong, find("КП-2"));
  for (const QModelIndex& target : {QModelIndex(), find("Подстанция"), find("Q Т-1"), module->treeModel->defaultUnit()})
    module->ParseAndSaveXmlTemplate(text, target);
  EXPECT_EQ(writes(), QStringList());
  EXPECT_EQ(waitingBox(), nullptr);
}

TEST_F(Template, ListsTheChildrenOfATemplateOfItsClassAlone) {
  start();
  find("P Т-1");
  dialog()->name = "Ряд";
  const QString text = QString("<MyTree><Analog ClassName='%2' KeyLink='%1'/></MyTree>").arg(key("P Т-1"));
  const auto childrenRead = [&](const char* className, int number) {
    module->freeLocIds = QList<int>{number};
    module->agregLocIds = QList<int>{1, 2, 3};
    app.log.clear();
    module->ParseAndSaveXmlTemplate(text.arg(className), find("КП-2"));
    return app.log.filter("PacketExec LiteModel")
        .filter(QRegularExpression(key("P Т-1_час_ср") + '|' + key("P Т-1 сутки")))
        .size();
  };
  EXPECT_EQ(childrenRead("Accumulator", 1100), 0) << "the row is no accumulator";
  if (CPopMessageBox* box = waitingBox()) answerBox(box, 0);
  EXPECT_EQ(childrenRead("Analog", 1101), 2);
  EXPECT_EQ(made().filter("1101").size(), 3);
}

}  // namespace
}  // namespace tlm::test
