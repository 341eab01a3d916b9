// Series by template: where one may go, the two dialogs, and what is written.
#include <QCheckBox>
#include <QClipboard>
#include <QLabel>
#include <QMimeData>
#include <QPlainTextEdit>
#include <QSpinBox>

#include <climits>

#include "SeriesWindow.h"
#include "popCopyByTemlate.h"
#include "popMessageBoxByTemplate.h"
#include "ui_popCopyByTemlate.h"
#include "ui_popMessageBoxByTemplate.h"

namespace tlm::test {
namespace {

constexpr char kAllOccupied[] = "Измерения невозможно создать, так как все необходимые номера измерений уже заняты";
constexpr char kSomeOccupied[] =
    "Некоторые измерения невозможно создать, так как необходимые номера измерений уже заняты. Продолжить без создания "
    "этих измерений?";
constexpr char kTitle[] = "Копирование по шаблону";

constexpr char kModel[] = R"(table MeasurementArchGroup Час {aggregatedData=1}
table MeasurementArchGroup Сутки {aggregatedData=1}
table PowerSystemResource Т-1
folder Подстанция
  unit КП-4
  unit КП-1
    analog 1001 P Т-1 {PSRKey=@Т-1;work_=0;staleTime=77;decimals=5}
      analog 1002 P Т-1_час_ср {MeasurementArchGroupKey=@Час;ioAddress=9}
      analog 1005 P Т-1 сутки {MeasurementArchGroupKey=@Сутки}
    analog 1010 Q Т-1
    discrete 1020 Q-110
    accumulator 1021 Wp Т-1
    string 1022 Режим
    string 9000 Последний
unit КП-2
  analog 1030 U 10 кВ
unit КП-3
analog 1040 Без КП
)";

class Template : public SeriesWindow {
 protected:
  explicit Template(const char* model = kModel) : SeriesWindow(model) {
    nameKeys({"КП-1", "КП-2", "P Т-1", "Час", "Сутки", "Т-1"});
  }

  CPopCopyByTemlate* dialog() { return module->popCopyByTemlate; }
  Ui_CPopCopyByTemlate* form() { return dialog()->ui; }
  CPopMessageBoxByTemplate* report() { return module->popMessageBoxByTemplate; }

  void copy(const char* name) {
    click(name);
    QTest::keyClick(tree(), Qt::Key_C, Qt::ControlModifier);
    settle();
    ASSERT_TRUE(module->clipIsCopy);
  }
  // Copies the one and opens the dialog at the other.
  void open(const char* from, const char* at) {
    copy(from);
    click(at);
    app.log.clear();
    press(module->actCopyTemplate);
    ASSERT_TRUE(dialog()->isVisible());
  }
  void fill(QLineEdit* field, const QString& text) {
    field->setFocus();
    field->selectAll();
    key(Qt::Key_Delete);
    typeText(text);
  }
  void fill(QSpinBox* field, int value) {
    field->setFocus();
    field->selectAll();
    typeText(QString::number(value));
  }
  // Fills the numbers in and accepts by Enter.
  void series(const QString& begin, const QString& end, int step, int count, const QString& name = "Ряд") {
    fill(form()->lEBegLocId, begin);
    fill(form()->lEEndLocId, end);
    fill(form()->spinBox_step, step);
    fill(form()->spinBox_count, count);
    fill(form()->lE_name, name);
    key(Qt::Key_Return);
    ASSERT_FALSE(dialog()->isVisible());
    ASSERT_TRUE(eventsAreIn());
  }
  QStringList made() { return serverRows().filter("Ряд"); }
};

// ---- where a template may go -----------------------------------------------------------------------------

TEST_F(Template, AGroupTakesItsClassAlone) {
  start();
  find("P Т-1");
  const struct {
    const char* member;
    const char* className;
  } groups[] = {{"P Т-1", "Analog"}, {"Q-110", "Discrete"}, {"Wp Т-1", "Accumulator"}, {"Режим", "StringMeasurement"}};
  for (const auto& group : groups)
    for (const auto& each : groups) {
      const bool same = &group == &each;
      const QModelIndex at = find(group.member).parent();
      EXPECT_EQ(module->CheckIndexTemplatePaste(at, each.className), same) << group.className << " " << each.className;
      EXPECT_EQ(module->CheckIndexTemplatePaste(at, QString(each.className).toUpper()), same);
    }
}

TEST_F(Template, AUnitTakesAllFour) {
  start();
  for (const char* className : {"Analog", "Discrete", "Accumulator", "StringMeasurement", "stringMEASUREMENT"})
    EXPECT_TRUE(module->CheckIndexTemplatePaste(find("КП-3"), className)) << className;
}

TEST_F(Template, EverythingElseIsRefused) {
  start();
  const QModelIndex defaultUnit = module->treeModel->defaultUnit();
  ASSERT_TRUE(defaultUnit.isValid());
  for (const QModelIndex& index : {find("Подстанция"), find("P Т-1"), defaultUnit, QModelIndex()})
    EXPECT_FALSE(module->CheckIndexTemplatePaste(index, "Analog")) << index.data().toString().toStdString();
  for (const char* className : {"", "RemoteUnit", "Folder", "Measurement"}) {
    EXPECT_FALSE(module->CheckIndexTemplatePaste(find("КП-3"), className)) << className;
    EXPECT_FALSE(module->CheckIndexTemplatePaste(find("P Т-1").parent(), className)) << className;
  }
}

TEST_F(Template, TheCommandFollowsClipboardAndRow) {
  start();
  click("КП-1");
  EXPECT_FALSE(module->actCopyTemplate->isEnabled()) << "nothing was copied";
  copy("Wp Т-1");
  EXPECT_FALSE(module->actCopyTemplate->isEnabled()) << "a measurement takes none";
  click("КП-2");
  EXPECT_TRUE(module->actCopyTemplate->isEnabled());
  EXPECT_EQ(module->clipTemplateTable, "Accumulator");
  click(find("Wp Т-1").parent());
  EXPECT_TRUE(module->actCopyTemplate->isEnabled());
  click(find("P Т-1").parent());
  EXPECT_FALSE(module->actCopyTemplate->isEnabled());
  click("Подстанция");
  EXPECT_FALSE(module->actCopyTemplate->isEnabled());
}

TEST_F(Template, ACutNeverOffersIt) {
  start();
  click("P Т-1");
  QTest::keyClick(tree(), Qt::Key_X, Qt::ControlModifier);
  settle();
  ASSERT_FALSE(module->clipText.isEmpty());
  click("КП-2");
  EXPECT_FALSE(module->actCopyTemplate->isEnabled());
}

// ---- the dialog ------------------------------------------------------------------------------------------

TEST_F(Template, TheFormStandsAsTold) {
  start();
  EXPECT_EQ(dialog()->windowTitle(), "Копировать по шаблону");
  EXPECT_EQ(dialog()->panelTitle(), "Копировать по шаблону");
  open("P Т-1", "КП-2");
  EXPECT_EQ(form()->label_range->text(), "Диапазон номеров");
  EXPECT_EQ(form()->label_dash->text(), " - ");
  EXPECT_EQ(form()->label_step->text(), "Шаг");
  EXPECT_EQ(form()->label_count->text(), "Количество");
  EXPECT_EQ(form()->label_name->text(), "Наименование");
  EXPECT_EQ(form()->checkBox_flds->text(), "Копировать значения полей");
  EXPECT_EQ(form()->checkBox_agregData->text(), "Копировать агрегированные данные");
  EXPECT_EQ(form()->buttonBox->button(QDialogButtonBox::Cancel)->text(), "Отмена");
  EXPECT_NE(form()->buttonBox->button(QDialogButtonBox::Ok), nullptr);
  EXPECT_EQ(form()->lEBegLocId->width(), 70);
  EXPECT_EQ(form()->lEEndLocId->width(), 70);
  for (const QSpinBox* spin : {form()->spinBox_step, form()->spinBox_count}) {
    EXPECT_EQ(spin->width(), 50);
    EXPECT_EQ(spin->minimum(), 1);
    EXPECT_EQ(spin->maximum(), 999999999);
    EXPECT_EQ(spin->value(), 1);
  }
  EXPECT_TRUE(form()->checkBox_flds->isChecked());
  EXPECT_TRUE(form()->checkBox_agregData->isChecked());
  EXPECT_TRUE(dialog()->copyFields);
  EXPECT_TRUE(dialog()->copyAggregated);
}

TEST_F(Template, ALongNumberIsShownWhole) {
  start();
  open("P Т-1", "КП-2");
  fill(form()->spinBox_count, 999999999);
  fill(form()->lEBegLocId, "2147483647");
  settle();
  const auto room = [](const QWidget* field, int around) { return field->width() - around; };
  EXPECT_GE(room(form()->spinBox_count, 20), form()->spinBox_count->fontMetrics().horizontalAdvance("999999999"));
  EXPECT_GE(room(form()->lEBegLocId, 6), form()->lEBegLocId->fontMetrics().horizontalAdvance("2147483647"));
  form()->lEBegLocId->setText(QString(300, '7'));
  form()->lEEndLocId->setText(QString(300, '7'));
  settle();
  EXPECT_TRUE(module->rect().contains(dialog()->geometry())) << "what no number needs is scrolled";
  fill(form()->spinBox_count, 1);
  settle();
  EXPECT_EQ(form()->spinBox_count->width(), 50);
}

TEST_F(Template, OffersTheFirstFreeNumberAndAThousand) {
  start();
  open("P Т-1", "КП-2");
  EXPECT_EQ(form()->lEBegLocId->text(), "1003");
  EXPECT_EQ(form()->lEEndLocId->text(), "2002");
  EXPECT_EQ(form()->lE_name->text(), "Новое аналоговое измерение");
  EXPECT_EQ(app.log.filter("CalcExec"), QStringList{"CalcExec f*()"});
}

TEST_F(Template, TheNameFollowsTheClass) {
  start();
  const struct {
    const char* className;
    const char* name;
  } cases[] = {{"Analog", "Новое аналоговое измерение"},
               {"Discrete", "Новый дискретный сигнал"},
               {"Accumulator", "Новый счетчик"},
               {"StringMeasurement", "Новая строковая величина"},
               {"RemoteUnit", ""},
               {"", ""}};
  for (const auto& each : cases) {
    form()->lE_name->setText("прежнее");
    dialog()->Init(each.className);
    EXPECT_EQ(form()->lE_name->text(), each.name) << each.className;
  }
}

TEST_F(Template, ANameWithTheLongestNumberIsShortEnoughForTheServer) {
  start();
  open("Q Т-1", "КП-2");
  series("2147483647", "2147483647", 1, 1, QString("Ряд") + QString(300, 'x'));
  ASSERT_EQ(made().size(), 1);
  EXPECT_EQ(serverField("IdentifiedObject", keyOfNumber(INT_MAX), "name_").size(), 200);
}

TEST_F(Template, StepCountAndTicksStayFromTheLastUse) {
  start();
  open("P Т-1", "КП-2");
  fill(form()->spinBox_step, 4);
  fill(form()->spinBox_count, 6);
  form()->checkBox_agregData->setFocus();
  key(Qt::Key_Space);
  dialog()->Clear();
  key(Qt::Key_Escape);
  open("Wp Т-1", "КП-2");
  EXPECT_EQ(form()->spinBox_step->value(), 4);
  EXPECT_EQ(form()->spinBox_count->value(), 6);
  EXPECT_FALSE(form()->checkBox_agregData->isChecked());
  EXPECT_EQ(form()->lE_name->text(), "Новый счетчик");
}

class NoHole : public Template {
 protected:
  explicit NoHole(const char* model = "unit КП-1\n  analog 7 A\n  analog 8 B\n") : Template(model) {}
};

TEST_F(NoHole, LeavesTheDialogAsItWas) {
  start();
  form()->lEBegLocId->setText("11");
  form()->lEEndLocId->setText("12");
  form()->lE_name->setText("прежнее");
  dialog()->Init("Analog");
  EXPECT_EQ(form()->lEBegLocId->text(), "11");
  EXPECT_EQ(form()->lEEndLocId->text(), "12");
  EXPECT_EQ(form()->lE_name->text(), "прежнее");
}

class HighHole : public Template {
 protected:
  HighHole() : Template("unit КП-1\n  analog 2147483640 A\n  analog 2147483642 B\n") {}
};

TEST_F(HighHole, TheRangeEndsWithTheHighestNumber) {
  start();
  dialog()->Init("Analog");
  EXPECT_EQ(form()->lEBegLocId->text(), "2147483641");
  EXPECT_EQ(form()->lEEndLocId->text(), QString::number(INT_MAX));
}

TEST_F(Template, IsACentredFramelessPanelWithoutCutTexts) {
  start();
  open("P Т-1", "КП-2");
  EXPECT_TRUE(isCentred(*dialog()));
  EXPECT_FALSE(dialog()->isWindow());
  EXPECT_EQ(cutTexts(*dialog()), QStringList());
}

TEST_F(Template, TypingReplacesTheFirstNumber) {
  start();
  open("P Т-1", "КП-2");
  typeText("7");
  EXPECT_EQ(form()->lEBegLocId->text(), "7");
}

TEST_F(Template, TabGoesFromFieldToField) {
  start();
  open("P Т-1", "КП-2");
  EXPECT_EQ(tabRound(), (QStringList{"lEBegLocId", "lEEndLocId", "spinBox_step", "spinBox_count", "lE_name",
                                     "checkBox_flds", "checkBox_agregData", "ОК", "Отмена"}));
}

TEST_F(Template, ADialogThatGoesLeavesTheKeyboardWhereItIsByThen) {
  start();
  open("P Т-1", "КП-2");
  module->ui->tV_Prop->setFocus();
  dialog()->On_Reject();
  EXPECT_TRUE(module->ui->tV_Prop->hasFocus());
}

TEST_F(Template, AcceptGivesTheTextsAsTheyStand) {
  start();
  open("P Т-1", "КП-2");
  QObject::disconnect(dialog(), nullptr, module.get(), nullptr);
  QStringList given;
  QObject::connect(dialog(), &CPopCopyByTemlate::SignOK,
                   [&](const QString& begin, const QString& end, int step, int count, const QString& name) {
                     given += QString("%1|%2|%3|%4|%5").arg(begin, end).arg(step).arg(count).arg(name);
                   });
  form()->checkBox_flds->setChecked(false);
  form()->checkBox_agregData->setChecked(false);
  fill(form()->lEBegLocId, "abc");
  fill(form()->lEEndLocId, " 7x ");
  fill(form()->spinBox_step, 3);
  fill(form()->spinBox_count, 9);
  fill(form()->lE_name, "Имя");
  clickButton(form()->buttonBox, QDialogButtonBox::Ok);
  EXPECT_EQ(given, QStringList{"abc| 7x |3|9|Имя"});
  EXPECT_EQ(dialog()->name, "Имя");
  EXPECT_FALSE(dialog()->copyFields);
  EXPECT_FALSE(dialog()->copyAggregated);
  EXPECT_FALSE(dialog()->isVisible());
}

TEST_F(Template, EscapeAndCancelWriteNothing) {
  start();
  open("P Т-1", "КП-2");
  key(Qt::Key_Escape);
  EXPECT_FALSE(dialog()->isVisible());
  EXPECT_TRUE(tree()->hasFocus());
  press(module->actCopyTemplate);
  clickButton(form()->buttonBox, QDialogButtonBox::Cancel);
  EXPECT_FALSE(dialog()->isVisible());
  EXPECT_EQ(writes(), QStringList());
  EXPECT_TRUE(module->actCopyTemplate->isEnabled()) << "the copy is not used up";
}

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

// ---- the change set --------------------------------------------------------------------------------------

class TemplateSet : public Template {
 protected:
  explicit TemplateSet(const char* model = kModel) : Template(model) {}
  bool prepare(const QString& source, const QString& className, const QList<int>& numbers,
               const QStringList& children = {}, bool withChildren = true, const QString& unit = "КП-2") {
    const bool ready = module->PrepareSaveGroupTemplate(changes.tables, changes.arrays, source, className,
                                                        unit.isEmpty() ? unit : key(unit.toUtf8()), numbers, "Ряд",
                                                        true, withChildren, children);
    for (int i = 0; i < changes.tables.size(); ++i)
      for (int j = 0; changes.tables[i] == "IdentifiedObject" && j < MDARecCount(changes.arrays[i]->array); ++j)
        names[fieldText(*changes.arrays[i], MDARec(changes.arrays[i]->array, 0, j), 0, module->moduleCodec)] =
            QString("new%1").arg(j + 1);
    return ready;
  }
  ChangeSet changes;
};

TEST_F(TemplateSet, HoldsTheTemplatesRecordsForEachNumber) {
  start();
  EXPECT_TRUE(prepare(key("P Т-1"), "Analog", {21, 22}));
  EXPECT_EQ(changeText(changes),
            (QStringList{"IdentifiedObject 1: KeyLink=new1 ClassName=Analog name_=Ряд 21",
                         "IdentifiedObject 1: KeyLink=new2 ClassName=Analog name_=Ряд 22",
                         "Measurement 1: KeyLink=new1 locId=21 work_=0 RemoteUnitKey=КП-2* PSRKey=Т-1 staleTime=77",
                         "Measurement 1: KeyLink=new2 locId=22 work_=0 RemoteUnitKey=КП-2* PSRKey=Т-1 staleTime=77",
                         "Analog 1: KeyLink=new1 decimals=5", "Analog 1: KeyLink=new2 decimals=5"}));
}

TEST_F(TemplateSet, HoldsTheChildrenBehindTheirCopy) {
  start();
  module->agregLocIds = QList<int>{31, 32, 33};
  EXPECT_TRUE(prepare(key("P Т-1"), "Analog", {21}, {key("P Т-1_час_ср"), key("P Т-1 сутки")}));
  const QStringList lines = changeText(changes);
  EXPECT_EQ(lines.filter("IdentifiedObject"),
            (QStringList{"IdentifiedObject 1: KeyLink=new1 ClassName=Analog name_=Ряд 21",
                         "IdentifiedObject 1: KeyLink=new2 ClassName=Analog name_=Ряд 21_ср",
                         "IdentifiedObject 1: KeyLink=new3 ClassName=Analog name_=Ряд 21"}));
  EXPECT_EQ(lines.filter("Measurement 1").mid(1),
            (QStringList{"Measurement 1: KeyLink=new2 locId=31 primaryLocId=21 work_=1 RemoteUnitKey=КП-2* "
                         "MeasurementArchGroupKey=Час ioAddress=9",
                         "Measurement 1: KeyLink=new3 locId=32 primaryLocId=21 work_=1 RemoteUnitKey=КП-2* "
                         "MeasurementArchGroupKey=Сутки"}));
  EXPECT_EQ(lines.filter("Analog 1").size(), 3);
  EXPECT_EQ(module->agregLocIds, QList<int>{33});
}

TEST_F(TemplateSet, ChildrenEndWithTheirNumbers) {
  start();
  module->agregLocIds = QList<int>{31};
  EXPECT_TRUE(prepare(key("P Т-1"), "Analog", {21, 22}, {key("P Т-1_час_ср"), key("P Т-1 сутки")}));
  for (int i = 0; i < 3; ++i) EXPECT_EQ(MDARecCount(changes.arrays[i]->array), 3) << "whole objects alone";
}

TEST_F(TemplateSet, ChildrenStayBehindWithoutTheFlag) {
  start();
  module->agregLocIds = QList<int>{31};
  EXPECT_TRUE(prepare(key("P Т-1"), "Analog", {21}, {key("P Т-1_час_ср")}, false));
  EXPECT_EQ(changeText(changes).size(), 3);
}

TEST_F(TemplateSet, AChildThatIsGoneIsLeftOut) {
  start();
  module->agregLocIds = QList<int>{31, 32};
  EXPECT_TRUE(prepare(key("P Т-1"), "Analog", {21}, {QString(32, '0'), key("P Т-1 сутки")}));
  EXPECT_EQ(changeText(changes).size(), 6);
  EXPECT_EQ(module->agregLocIds, QList<int>{32});
}

TEST_F(TemplateSet, AUnitHasItsOwnChain) {
  start();
  EXPECT_TRUE(prepare(key("КП-1"), "RemoteUnit", {21}));
  EXPECT_EQ(changes.tables, (QStringList{"IdentifiedObject", "RemoteUnit"}));
}

TEST_F(TemplateSet, AnEmptyClassIsAFolder) {
  start();
  EXPECT_TRUE(prepare(key("Подстанция"), "", {21}));
  EXPECT_EQ(changes.tables, QStringList{"RemoteUnitFolder"});
}

TEST_F(TemplateSet, NothingIsReadyWithoutKeyUnitClassOrRecord) {
  start();
  EXPECT_FALSE(prepare("", "Analog", {21}));
  EXPECT_FALSE(prepare(key("P Т-1"), "Analog", {21}, {}, true, ""));
  EXPECT_FALSE(prepare(QString(32, '0'), "Analog", {21}));
  EXPECT_FALSE(prepare(key("P Т-1"), "analog", {21})) << "classes are known with case";
  EXPECT_EQ(changes.tables, QStringList());
}

QStringList* lines = nullptr;

TEST_F(TemplateSet, AnUnknownClassIsToldToTheDevelopers) {
  start();
  QStringList told;
  lines = &told;
  const QtMessageHandler before =
      qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString& text) { *lines += text; });
  EXPECT_FALSE(prepare(key("P Т-1"), "Unknown", {21}));
  qInstallMessageHandler(before);
  EXPECT_EQ(told, QStringList{"Unknown(ind = SavedClasses.indexOf(ClassNameSrc))==-1 !!!"});
}

TEST_F(TemplateSet, NoNumbersAreReadyWithNothing) {
  start();
  EXPECT_TRUE(prepare(key("P Т-1"), "Analog", {}));
  EXPECT_EQ(changes.tables, QStringList());
}

// ---- bad input -------------------------------------------------------------------------------------------

class TemplateBadInput : public Template {
 protected:
  explicit TemplateBadInput(const char* model = kModel) : Template(model) {}
  void expectNothing(const char* message) {
    EXPECT_EQ(made(), QStringList());
    expectBox(kTitle, message, kBoxWarning);
  }
};

TEST_F(TemplateBadInput, TextsThatAreNoNumbersReadAsZero) {
  start();
  open("Q Т-1", "КП-2");
  series("abc", "12x", 1, 3);
  EXPECT_EQ(made(), (QStringList{"1 Ряд 1", "2 Ряд 2"})) << "from 0 on, which is no number itself";
}

class NoNumberFree : public TemplateBadInput {
 protected:
  NoNumberFree() : TemplateBadInput("unit КП-1\n  analog 1 A\n  analog 3 B\nunit КП-2\n") {}
};

TEST_F(NoNumberFree, ASeriesWithoutAnyNumberIsTold) {
  start();
  for (const char* wrong : {"", "abc", "99999999999"}) {
    open("A", "КП-2");
    series(wrong, wrong, 1, 3);
    expectNothing("В заданном диапазоне нет номеров, измерения не созданы");
    EXPECT_EQ(writes(), (QStringList{"BlockBeg", "BlockEnd"}));
    EXPECT_FALSE(module->templatePasteOn);
  }
}

TEST_F(TemplateBadInput, ARangeThatEndsBeforeItBeginsIsLookedAtAsFarAsTheRuleGoes) {
  start();
  open("Q Т-1", "КП-2");
  series("1009", "1000", 1, 3);
  EXPECT_EQ(made(), QStringList{"1009 Ряд 1009"}) << "1010 is taken, and the end has passed";
  open("Q Т-1", "КП-2");
  series("1500", "1400", 1, 3);
  EXPECT_EQ(made().size(), 4) << "in front of the next number in use the end is not looked at";
}

TEST_F(TemplateBadInput, AnEnormousStepMakesOneObject) {
  start();
  open("Q Т-1", "КП-2");
  series("1500", "2147483647", 999999999, 3);
  EXPECT_EQ(made(), (QStringList{"1500 Ряд 1500", "1000001499 Ряд 1000001499", "2000001498 Ряд 2000001498"}));
}

TEST_F(TemplateBadInput, ACountBeyondAllBoundsEndsWithAMessage) {
  start();
  open("P Т-1", "КП-2");
  series("9001", "2147483647", 1, 999999999);
  expectNothing("В заданном диапазоне нет номеров, измерения не созданы");
  open("P Т-1", "КП-2");
  series("9001", "9002", 1, 999999999);
  EXPECT_TRUE(waitingBox() == nullptr);
  EXPECT_EQ(made().size(), 2) << "no numbers could be had for the aggregated ones, which stay behind whole";
}

TEST_F(TemplateBadInput, ATemplateThatIsGoneIsTold) {
  start();
  open("Q Т-1", "КП-2");
  ASSERT_TRUE(Colleague(*server.core()).remove("Analog", key("Q Т-1")).commit());
  ASSERT_TRUE(eventsAreIn());
  series("1100", "1200", 1, 3);
  expectNothing("Шаблон не найден на сервере, измерения не созданы");
  EXPECT_EQ(writes(), QStringList());
  EXPECT_TRUE(module->templatePasteOn);
}

TEST_F(TemplateBadInput, AUnitThatIsGoneIsTold) {
  start();
  open("Q Т-1", "КП-3");
  ASSERT_TRUE(Colleague(*server.core()).remove("RemoteUnit", key("КП-3")).commit());
  ASSERT_TRUE(eventsAreIn());
  series("1100", "1200", 1, 3);
  expectNothing("Устройство не найдено, измерения не созданы");
  EXPECT_EQ(writes(), QStringList());
}

TEST_F(TemplateBadInput, AUnitThatGoesBehindTheReportIsToldToo) {
  start();
  open("Q Т-1", "КП-3");
  series("1020", "1100", 1, 4);
  ASSERT_TRUE(Colleague(*server.core()).remove("RemoteUnit", key("КП-3")).commit());
  ASSERT_TRUE(eventsAreIn());
  report()->On_Accept();
  expectNothing("Устройство не найдено, измерения не созданы");
}

TEST_F(TemplateBadInput, TheSeriesGoesWhereItWasAskedFor) {
  start();
  open("Q Т-1", "КП-3");
  tree()->setCurrentIndex(find("КП-2"));
  form()->lE_name->setFocus();
  series("1020", "1100", 1, 4);
  tree()->setCurrentIndex(find("Подстанция"));
  report()->On_Accept();
  ASSERT_TRUE(eventsAreIn());
  EXPECT_EQ(below("КП-3"), "Аналоговые измерения\n  1023 Ряд 1023\n");
}

TEST_F(TemplateBadInput, ATemplateThatACutReplacedIsTold) {
  start();
  open("Q Т-1", "КП-3");
  click("Wp Т-1");
  QTest::keyClick(tree(), Qt::Key_X, Qt::ControlModifier);
  settle();
  dialog()->On_Accept();
  expectNothing("Шаблона больше нет в буфере обмена, измерения не созданы");
  EXPECT_EQ(writes(), QStringList());
}

TEST_F(TemplateBadInput, WithoutADialogTheSeriesGoesToTheCurrentRow) {
  start();
  open("Q Т-1", "КП-3");
  series("1100", "1200", 1, 1);
  copy("Q Т-1");
  click("КП-2");
  module->OnCopyByTemplate_SignOK("1101", "1200", 1, 1, "Ряд");
  ASSERT_TRUE(eventsAreIn());
  EXPECT_EQ(serverField("Measurement", keyOfNumber(1101), "RemoteUnitKey"), "КП-2");
}

TEST_F(TemplateBadInput, ADeclinedDialogLeavesNoTargetBehind) {
  start();
  open("Q Т-1", "КП-3");
  key(Qt::Key_Escape);
  click("КП-2");
  module->OnCopyByTemplate_SignOK("1101", "1200", 1, 1, "Ряд");
  ASSERT_TRUE(eventsAreIn());
  EXPECT_EQ(serverField("Measurement", keyOfNumber(1101), "RemoteUnitKey"), "КП-2");
  open("Q Т-1", "КП-3");
  series("1020", "1100", 1, 4);
  key(Qt::Key_Escape);
  click("КП-2");
  module->OnMessageBoxByTemplate_SignOK();
  ASSERT_TRUE(eventsAreIn());
  EXPECT_EQ(serverField("Measurement", keyOfNumber(1023), "RemoteUnitKey"), "КП-2");
}

TEST_F(TemplateBadInput, ANewSeriesTakesTheOldQuestionBack) {
  start();
  open("Q Т-1", "КП-3");
  series("1020", "1100", 1, 4);
  ASSERT_TRUE(report()->isVisible());
  press(module->actCopyTemplate);
  series("1200", "1300", 1, 1);
  EXPECT_FALSE(report()->isVisible());
  EXPECT_EQ(made(), QStringList{"1200 Ряд 1200"});
}

TEST_F(TemplateBadInput, MeasurementsWithoutAUnitTakeNoSeries) {
  start();
  copy("Q Т-1");
  click(find("Без КП").parent());
  press(module->actCopyTemplate);
  series("1100", "1200", 1, 3);
  expectNothing("Шаблон копируется только в устройство, измерения не созданы");
}

TEST_F(TemplateBadInput, ARefusedBlockLeavesNothingBehind) {
  start();
  open("P Т-1", "КП-2");
  const QStringList before = serverRows();
  // A colleague takes a number between the search and the write.
  series("1020", "1100", 1, 4);
  ASSERT_TRUE(Colleague(*server.core())
                  .add("Analog", QString(32, 'A'), {"name_=Чужое", "locId=1023", "RemoteUnitKey=" + key("КП-1")})
                  .commit());
  ASSERT_TRUE(eventsAreIn());
  report()->On_Accept();
  EXPECT_EQ(serverRows().size(), before.size() + 1);
  EXPECT_EQ(made(), QStringList());
  expectBox("Ошибка изменения данных", "При изменения данных возникла непредвиденная ошибка.\nДанные не были изменены!",
            kBoxError);
  EXPECT_FALSE(module->templatePasteOn) << "whatever the save gave";
  EXPECT_FALSE(module->actCopyTemplate->isEnabled());
}

TEST_F(TemplateBadInput, AServerThatIsAwayIsTold) {
  start();
  open("Q Т-1", "КП-2");
  app.failures.add("CalcExec", Fail::kRefuseToSend);
  app.failures.add("PacketExec", Fail::kRefuseToSend);
  app.failures.add("BlockEnd", Fail::kRefuseToSend);
  series("1100", "1200", 1, 3);
  app.failures.clear();
  expectNothing("Шаблон не найден на сервере, измерения не созданы");
  EXPECT_EQ(writes(), QStringList());
}

TEST_F(TemplateBadInput, FailedScriptsLeaveTheListsEmpty) {
  start();
  for (const Fail fail : {Fail::kTimeOut, Fail::kNoReply, Fail::kStatus, Fail::kEmptyPayload, Fail::kEmptyText}) {
    open("Q Т-1", "КП-2");
    module->freeLocIds = QList<int>{1, 2};
    module->agregLocIds = QList<int>{3};
    app.failures.add("CalcExec", fail);
    series("1100", "1200", 1, 3);
    app.failures.clear();
    EXPECT_EQ(module->freeLocIds, QList<int>());
    EXPECT_EQ(module->agregLocIds, QList<int>());
    expectNothing("В заданном диапазоне нет номеров, измерения не созданы");
  }
}

}  // namespace
}  // namespace tlm::test
