// The window on a model that has something for every operator's tool.
#ifndef TLMTEST_OPERATORWINDOW_H
#define TLMTEST_OPERATORWINDOW_H

#include <TlmClient/CPopManualInput.h>
#include <TlmClient/CPopMessageBox.h>
#include <TlmClient/CPopRemoteControl.h>
#include <TlmClient/TlmDublies.h>
#include <TlmServer/Device.h>
#include <TlmServer/LiveValues.h>

#include <QComboBox>
#include <QLabel>
#include <QPushButton>
#include <QRadioButton>

#include "Colleague.h"
#include "ModuleWindow.h"

namespace tlm::test {

inline constexpr char kOperatorModel[] = R"(unit КП-1
  analog 1001 Всё есть {CheckArch=1;CheckDubl=1;engMin=0;engMax=100;UnitKey=@кВ}
  analog 1002 Без архива {CheckArch=0;CheckDubl=1}
  analog 1003 Без дублей {CheckArch=1;CheckDubl=0}
  analog 1004 Без всего {CheckArch=0;CheckDubl=0}
  analog 1005 Не задано
  analog 1006 Нельзя {manualAllowed=0}
  analog 1007 Наоборот {engMin=100;engMax=0}
  discrete 2001 Q-1 {CheckTu=1;CheckArch=1;tuTimeout=30}
  discrete 2002 Q-2 {CheckArch=1}
  discrete 2003 Q-авто {CheckTu=1;CheckArch=1;tuAuto=1;tuPassword=0}
  discrete 2004 Q-без архива {CheckTu=1;CheckArch=0}
  discrete 2005 Q-3 {CheckTu=1;CheckArch=1}
  discrete 2006 Q-без пароля {CheckTu=1;CheckArch=1;tuPassword=0}
  accumulator 3001 Wp {rollover=1000}
  string 4001 Режим {maxLength=5}
  string 4002 Сводка {maxLength=100}
table MeasurementUnit кВ {KeyLink=@кВ;symbol=кВ}
table ObjectForms Вторая {ObjectKey=@Q-1;file_=b,c.svg;order_=2}
table ObjectForms Первая {ObjectKey=@Q-1;file_=a.svg;order_=1}
table Dublies Д2 {KeyLink=@Д2;MeasurementKey=@Всё есть;dublLocId=1003;priority=2;enabled=0;mode=2}
table Dublies Д1 {KeyLink=@Д1;MeasurementKey=@Всё есть;dublLocId=1002;priority=1;enabled=1;mode=0}
table Dublies Д3 {KeyLink=@Д3;MeasurementKey=@Не задано;dublLocId=777;priority=1;enabled=1}
table Dublies Д4 {KeyLink=@Д4;MeasurementKey=@Не задано;dublLocId=1001;priority=2}
user Петров {password=verysecret;control=1}
user Слава {password=секрет;control=1}
user engineer {password=other;control=1}
user Гость {password=guest;control=0}
)";

// A device that does as the test says, and counts.
class TestDevice : public server::Device {
 public:
  void execute(const server::DeviceCommand& command, Answer answer) override {
    commands.push_back(command);
    if (habit == server::DeviceHabit::kSilent) {
      late = std::move(answer);
      return;
    }
    answer(habit == server::DeviceHabit::kRefuses ? server::DeviceAnswer::kRefused : server::DeviceAnswer::kDone);
  }
  server::DeviceHabit habit = server::DeviceHabit::kExecutes;
  std::vector<server::DeviceCommand> commands;
  Answer late;
};

class OperatorWindow : public ModuleWindow {
 protected:
  explicit OperatorWindow(const char* model = kOperatorModel) : ModuleWindow(model) {}

  void SetUp() override {
    server.core()->setDevice(device);
    for (const int signal : {2001, 2003, 2005, 2006})
      server.core()->live().set(signal, {server::systemTime(), server::Quality::kGood, 0.0});
    server.core()->live().set(1001, {server::systemTime(), server::Quality::kGood, 42.5});
    start();
    module->resize(1000, 700);
    module->activateWindow();
    settle();
  }
  void TearDown() override { server.core()->setDevice(nullptr); }

  // Makes the row current, opens its menu and clicks the action there.
  void choose(const char* name, QAction* action, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
    openMenu(name);
    ASSERT_TRUE(action->isVisible() && action->isEnabled()) << action->text().toStdString();
    clickIn(module->contextMenu, action, modifiers);
  }
  void openMenu(const char* name) {
    click(name);
    app.log.clear();
    emit tree()->customContextMenuRequested(tree()->visualRect(tree()->currentIndex()).center());
    settle();
  }
  void clickIn(QMenu* menu, QAction* action, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
    QTest::mouseClick(menu, Qt::LeftButton, modifiers, menu->actionGeometry(action).center());
    settle();
  }

  template <class Widget>
  static Widget* in(QWidget* panel, const char* name) {
    return panel->findChild<Widget*>(QLatin1String(name));
  }
  static void press(QWidget* panel, const char* button) {
    QTest::mouseClick(in<QPushButton>(panel, button), Qt::LeftButton);
    settle();
  }
  // Types over what an edit holds, letter by letter.
  static void enter(QWidget* panel, const char* edit, const QString& text) {
    auto* const field = in<QLineEdit>(panel, edit);
    field->setFocus();
    field->selectAll();
    QTest::keyClick(field, Qt::Key_Delete);
    for (const QChar& letter : text) {
      QKeyEvent key(QEvent::KeyPress, 0, Qt::NoModifier, letter);
      QCoreApplication::sendEvent(field, &key);
    }
  }
  static QString told(QWidget* panel, const char* label) {
    const auto* const text = in<QLabel>(panel, label);
    return text->isHidden() ? QString() : text->text();
  }

  // Gives the number of one measurement to another, in one block of a colleague's.
  void renumber(const char* from, int old, const char* to) {
    Colleague colleague(*server.core());
    ASSERT_TRUE(colleague.change("Measurement", key(from), {QString("locId=%1").arg(old + 5000)}).commit());
    ASSERT_TRUE(colleague.change("Measurement", key(to), {QString("locId=%1").arg(old)}).commit());
  }

  // What is asked of the session, the look at forms and values left out.
  QStringList asked() {
    QStringList calls;
    for (const QString& call : qAsConst(app.log))
      if (!call.contains("ObjectHint") && !call.contains("LiteModel") && !call.contains("ObjectForms")) calls << call;
    return calls;
  }

  std::shared_ptr<TestDevice> device = std::make_shared<TestDevice>();
};

}  // namespace tlm::test

#endif
