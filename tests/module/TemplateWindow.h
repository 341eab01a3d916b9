// A window whose clipboard holds a template, its dialogs, and keys that fill them in.
#pragma once

#include <QClipboard>
#include <QSpinBox>

#include "SeriesWindow.h"
#include "popCopyByTemlate.h"
#include "popMessageBoxByTemplate.h"
#include "ui_popCopyByTemlate.h"
#include "ui_popMessageBoxByTemplate.h"

namespace tlm::test {

inline constexpr char kAllOccupied[] =
    "Измерения невозможно создать, так как все необходимые номера измерений уже заняты";
inline constexpr char kSomeOccupied[] =
    "Некоторые измерения невозможно создать, так как необходимые номера измерений уже заняты. Продолжить без создания "
    "этих измерений?";
inline constexpr char kTitle[] = "Копирование по шаблону";

inline constexpr char kTemplateModel[] = R"(table MeasurementArchGroup Час {aggregatedData=1}
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
  explicit Template(const char* model = kTemplateModel) : SeriesWindow(model) {
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

}  // namespace tlm::test
