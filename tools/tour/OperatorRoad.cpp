#include "OperatorRoad.h"

#include <TlmClient/CPopMessageBox.h>
#include <TlmClient/CTlmCliMod.h>
#include <TlmServer/LiveValues.h>
#include <host/src/RetroWindow.h>
#include <host/src/retroChart.h>

#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMouseEvent>
#include <QPushButton>
#include <QRadioButton>
#include <QTableWidget>
#include <QToolButton>
#include <QWheelEvent>
#include <QtTest/QTest>

#include <cmath>

namespace tlm::tour {
namespace {

// In the sample: one signal of each habit of its simulated device.
constexpr int kExecuted = 1007;
constexpr int kRefused = 1015;
constexpr int kSilent = 1025;
// The voltage at the other end of the line of 1001.
constexpr int kNeighbour = 1092;

QString shown(QWidget* panel, const char* label) {
  const auto* text = panel ? panel->findChild<QLabel*>(QLatin1String(label)) : nullptr;
  return text && !text->isHidden() ? text->text() : QString();
}

}  // namespace

OperatorRoad::OperatorRoad(ModuleLibrary& library, const QDir& scratch, Report& report)
    : library_(library),
      storeFile_(scratch.filePath("operator.tlm")),
      settingsFile_(scratch.filePath("operator.ini")),
      report_(report) {}

OperatorRoad::~OperatorRoad() = default;

bool OperatorRoad::play() {
  stage_ = Stage::open(library_, storeFile_, settingsFile_);
  if (!stage_) return false;
  stage_->dragSplitter(700);
  manualInput();
  duplicates();
  wrongPassword();
  command(kExecuted, "control-done", "Команда телеуправления выполнена успешно", "Команда выполнена.");
  command(kRefused, "control-refused", "Команда телеуправления не выполнена",
          "Команда не выполнена: устройство отказало.");
  command(kSilent, "control-timeout", "Команда телеуправления не выполнена по таймауту",
          "Команда не выполнена по таймауту.");
  formsAndRetrospective();
  stage_.reset();
  return true;
}

void OperatorRoad::goTo(int number) {
  stage_->tree()->setFocus();
  stage_->key(stage_->tree(), Qt::Key_F, Qt::ControlModifier);
  QTest::mouseClick(stage_->window()->findChild<QRadioButton*>("radioButton_LocID"), Qt::LeftButton);
  auto* field = stage_->window()->findChild<QLineEdit*>("lE_Find");
  field->selectAll();
  QTest::keyClicks(field, QString::number(number));
  stage_->key(field, Qt::Key_Return);
  stage_->key(field, Qt::Key_Escape);
  reveal(stage_->tree()->currentIndex().siblingAtColumn(0).data(kKeyRole).toString());
}

// Opens what is above a row, from the top down; each opening may sort the rows anew.
void OperatorRoad::reveal(const QString& key) {
  QTreeView* const tree = stage_->tree();
  for (;;) {
    QModelIndex closed;
    for (QModelIndex above = stage_->rowByKey(key).parent(); above.isValid(); above = above.parent())
      if (!tree->isExpanded(above)) closed = above;
    if (!closed.isValid()) break;
    tree->expand(closed);
    QApplication::processEvents();
  }
  stage_->click(tree, stage_->rowByKey(key));
}

QMenu* OperatorRoad::openMenu() {
  QTreeView* const tree = stage_->tree();
  tree->scrollTo(tree->currentIndex());
  QApplication::processEvents();
  const QPoint at = tree->visualRect(tree->currentIndex()).center();
  QContextMenuEvent event(QContextMenuEvent::Mouse, at, tree->viewport()->mapToGlobal(at));
  QApplication::sendEvent(tree->viewport(), &event);
  QApplication::processEvents();
  return qobject_cast<QMenu*>(QApplication::activePopupWidget());
}

void OperatorRoad::choose(const QString& action) {
  QMenu* const menu = openMenu();
  QAction* const entry = stage_->action(action);
  if (!menu || !entry) return;
  QTest::mouseClick(menu, Qt::LeftButton, Qt::NoModifier, menu->actionGeometry(entry).center());
  QApplication::processEvents();
}

QWidget* OperatorRoad::panel(const char* className) const {
  for (QWidget* child : stage_->window()->module()->findChildren<QWidget*>(QString(), Qt::FindDirectChildrenOnly))
    if (qstrcmp(child->metaObject()->className(), className) == 0) return child;
  return nullptr;
}

void OperatorRoad::type(QWidget* panel, const char* field, const QString& text) {
  auto* const edit = panel->findChild<QLineEdit*>(QLatin1String(field));
  edit->setFocus();
  edit->selectAll();
  for (const QChar& letter : text) {  // QTest's own keys know Latin letters alone
    QKeyEvent press(QEvent::KeyPress, 0, Qt::NoModifier, letter);
    QCoreApplication::sendEvent(edit, &press);
  }
  QApplication::processEvents();
}

void OperatorRoad::manualInput() {
  goTo(1001);
  choose("Ручной ввод");
  QWidget* const input = panel("CPopManualInput");
  if (!input) return void(report_.step("manual-input", "a panel", "none", stage_->window()));
  type(input, "le_Value", "999");
  stage_->key(input->findChild<QLineEdit*>("le_Value"), Qt::Key_Return);
  report_.step("manual-input-beyond-limits", "Значение вне пределов: от 0 до 165.", shown(input, "lbl_Problem"),
               stage_->window());
  type(input, "le_Value", "118,5");
  stage_->key(input->findChild<QLineEdit*>("le_Value"), Qt::Key_Return);
  choose("Ручной ввод");
  report_.step("manual-input-stands", "118.5 кВ", shown(input, "lbl_Value"), stage_->window());
  stage_->key(input, Qt::Key_Escape);
  goTo(kExecuted);
  choose("Ручной ввод");
  report_.step("manual-input-state", "open", input->isVisible() ? "open" : "closed", stage_->window());
  stage_->key(input, Qt::Key_Escape);
}

void OperatorRoad::duplicates() {
  goTo(1001);
  choose("Дубли");
  QWidget* const sources = panel("TlmDublies");
  if (!sources) return void(report_.step("duplicates", "a panel", "none", stage_->window()));
  type(sources, "le_Number", QString::number(kNeighbour));
  stage_->key(sources->findChild<QLineEdit*>("le_Number"), Qt::Key_Return);
  QTest::mouseClick(sources->findChild<QToolButton*>("btn_Up"), Qt::LeftButton);
  QApplication::processEvents();
  const auto* table = sources->findChild<QTableWidget*>("tw_Dublies");
  report_.step("duplicates", QString("2 sources, %1 first").arg(kNeighbour),
               QString("%1 sources, %2 first").arg(table->rowCount()).arg(table->item(0, 1)->text()), stage_->window());
  QTest::mouseClick(sources->findChild<QPushButton*>("btn_OK"), Qt::LeftButton);
  QApplication::processEvents();
  report_.step("duplicates-saved", "closed", sources->isVisible() ? shown(sources, "lbl_Problem") : "closed",
               stage_->window());
}

void OperatorRoad::wrongPassword() {
  goTo(kExecuted);
  choose("Телеуправление");
  QWidget* const control = panel("CPopRemoteControl");
  if (!control) return void(report_.step("control", "a panel", "none", stage_->window()));
  type(control, "le_User", "Оператор");
  type(control, "le_Password", "не тот");
  for (int i = 0; i < 2; ++i) QTest::mouseClick(control->findChild<QPushButton*>("btn_OK"), Qt::LeftButton);
  QApplication::processEvents();
  report_.step("control-wrong-password", "Неверное имя оператора или пароль.", shown(control, "lbl_Notice"),
               stage_->window());
  stage_->key(control, Qt::Key_Escape);
}

void OperatorRoad::command(int number, const QString& step, const QString& receipt, const QString& outcome) {
  goTo(number);
  choose("Телеуправление");
  QWidget* const control = panel("CPopRemoteControl");
  if (!control) return void(report_.step(step, "a panel", "none", stage_->window()));
  type(control, "le_User", "Оператор");
  type(control, "le_Password", "оператор");
  QTest::mouseClick(control->findChild<QPushButton*>("btn_OK"), Qt::LeftButton);
  QApplication::processEvents();
  report_.step(step + "-question", "true",
               shown(control, "lbl_Notice").startsWith("Подать команду") ? "true" : shown(control, "lbl_Notice"),
               stage_->window());
  QTest::mouseClick(control->findChild<QPushButton*>("btn_OK"), Qt::LeftButton);
  CTlmCliMod* const module = stage_->window()->module();
  const bool told = Stage::until([&] { return module->popMessageBox && module->popMessageBox->isWaiting(); });
  report_.step(step, receipt, told ? module->popMessageBox->messageText() : QString("no receipt"), stage_->window());
  if (told) stage_->key(module->popMessageBox, Qt::Key_Return);
  Stage::until([&] { return shown(control, "lbl_Notice") == outcome; });
  report_.step(step + "-outcome", outcome, shown(control, "lbl_Notice"), stage_->window());
  stage_->key(control, Qt::Key_Escape);
}

void OperatorRoad::formsAndRetrospective() {
  goTo(1001);
  QMenu* const menu = openMenu();
  QAction* forms = nullptr;
  for (QAction* action : menu ? menu->actions() : QList<QAction*>())
    if (action->menu() && action->text() == "Перейти") forms = action;
  const bool offered = menu && forms && forms->isEnabled() && !forms->menu()->isEmpty();
  if (offered) {
    menu->setActiveAction(forms);
    forms->menu()->popup(menu->mapToGlobal(menu->actionGeometry(forms).topRight()));
    QApplication::processEvents();
  }
  report_.step("forms-offered", "Схема ПС 110 кВ Северная",
               offered ? forms->menu()->actions().first()->text() : QString("no forms"),
               QVector<QWidget*>{menu, offered ? forms->menu() : menu});
  if (offered) {
    QAction* const first = forms->menu()->actions().first();
    QTest::mouseClick(forms->menu(), Qt::LeftButton, Qt::NoModifier, forms->menu()->actionGeometry(first).center());
    QApplication::processEvents();
    QWidget* const form = stage_->station().lastForm();
    report_.step("form", "Схема ПС 110 кВ Северная", form ? form->windowTitle() : QString("no window"),
                 form ? form : stage_->window());
    if (form) form->close();
  }
  choose("Показать ретроспективу");
  RetroWindow* const retro = stage_->station().lastRetro();
  report_.step("retrospective", "Ретроспектива: U 1 СШ 110 кВ", retro ? retro->windowTitle() : QString("no window"),
               retro ? static_cast<QWidget*>(retro) : stage_->window());
  if (retro) lookCloser(retro);
  if (retro) retro->close();
  QApplication::processEvents();
}

// A quarter of an hour of values, of which the wheel shows a part; the cursor stands on one of them.
void OperatorRoad::lookCloser(RetroWindow* retro) {
  constexpr double kSecond = 1.0 / 86'400;
  constexpr int kValues = 100;
  const double now = server::systemTime();
  stage_->core().live().liftManual(1001, now);
  for (int i = kValues; i > 0; --i) {
    const bool doubtful = i > 40 && i < 50;
    stage_->core().live().set(1001,
                              {now - i * 9 * kSecond, doubtful ? server::Quality::kInvalid : server::Quality::kGood,
                               115 + 4 * std::sin(i / 9.0) + 0.3 * (i % 3)});
  }
  retro->refresh();
  auto* const chart = retro->findChild<RetroChart*>();
  const QPoint middle = chart->viewport()->rect().center();
  QWheelEvent closer(middle, chart->viewport()->mapToGlobal(middle), {}, {0, 120}, Qt::NoButton, Qt::NoModifier,
                     Qt::NoScrollPhase, false);
  QApplication::sendEvent(chart->viewport(), &closer);
  QMouseEvent over(QEvent::MouseMove, middle + QPoint(60, 0), Qt::NoButton, Qt::NoButton, Qt::NoModifier);
  QApplication::sendEvent(chart->viewport(), &over);
  QApplication::processEvents();
  report_.step("retrospective-closer", "(недостоверно)", chart->underCursor().section(' ', -1), retro);
}

}  // namespace tlm::tour
