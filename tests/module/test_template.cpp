// Series by template: where one may go, and the dialog.
#include <QCheckBox>
#include <QLabel>
#include <QMimeData>

#include <climits>

#include "TemplateWindow.h"

namespace tlm::test {
namespace {

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

}  // namespace
}  // namespace tlm::test
