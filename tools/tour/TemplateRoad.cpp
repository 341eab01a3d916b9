#include "TemplateRoad.h"

#include <TlmClient/CTlmCliMod.h>
#include <TlmServer/ModelTables.h>

#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QToolButton>
#include <QtTest/QTest>

#include <set>

namespace tlm::tour {
namespace {

constexpr char kUnit[] = "ПС 110 кВ Северная";
constexpr char kTarget[] = "ПС 110 кВ Заречная";
constexpr char kMeasurement[] = "P Т-1";
constexpr char kSeries[] = "P фидера";

QString u8(const char* text) { return QString::fromUtf8(text); }

QString joined(const std::set<int>& numbers) {
  QStringList texts;
  for (const int number : numbers) texts += QString::number(number);
  return texts.join(' ');
}

std::set<int> numbersInUse(server::Core& core) {
  std::set<int> taken;
  core.read([&](const server::ModelTables& tables) {
    const MDArray* table = tables.table("Measurement");
    const MDRField* field = MDRFldByName(table, "locId");
    for (int i = 0; i < MDARecCount(table); ++i) {
      int32_t number = 0;
      MDRGetAsInt32(field, MDARec(table, 0, i), &number);
      taken.insert(number);
    }
  });
  return taken;
}

// The first number of a run of `length` numbers that are all taken, or all free, below the highest.
int firstRun(const std::set<int>& taken, int length, bool wantsTaken) {
  int found = 0;
  for (int number = *taken.begin() + 1; number < *taken.rbegin(); ++number) {
    found = (taken.count(number) > 0) == wantsTaken ? found + 1 : 0;
    if (found == length) return number - length + 1;
  }
  return 0;
}

}  // namespace

TemplateRoad::TemplateRoad(ModuleLibrary& library, const QDir& scratch, Report& report)
    : library_(library),
      storeFile_(scratch.filePath("series.tlm")),
      settingsFile_(scratch.filePath("series.ini")),
      report_(report) {}

bool TemplateRoad::play() {
  stage_ = Stage::open(library_, storeFile_, settingsFile_);
  if (!stage_) return false;
  stage_->dragSplitter(700);
  key_ = openUnit(kUnit, kMeasurement);
  unitKey_ = openUnit(kTarget, "");
  aggregated();
  freeSeries();
  partlyOccupied();
  fullyOccupied();
  noneTicked();
  stage_.reset();
  return true;
}

// Opens a unit with its groups; gives the key of one of its measurements, or with no name its own.
QString TemplateRoad::openUnit(const char* unitName, const char* name) {
  const QAbstractItemModel& model = *stage_->tree()->model();
  const auto flags = Qt::MatchFlags(Qt::MatchExactly | Qt::MatchRecursive);
  for (const QModelIndex& hit : model.match(model.index(0, 0), Qt::DisplayRole, u8(unitName), -1, flags)) {
    if (hit.data(kClassRole).toString() != "RemoteUnit") continue;
    const QString unitKey = hit.data(kKeyRole).toString();
    stage_->tree()->scrollTo(hit);
    if (!*name) return unitKey;
    stage_->tree()->expandRecursively(stage_->rowByKey(unitKey));
    const QModelIndex unit = stage_->rowByKey(unitKey);
    return model.match(model.index(0, 0, unit), Qt::DisplayRole, u8(name), 1, flags).value(0).data(kKeyRole).toString();
  }
  return QString();
}

void TemplateRoad::step(const QString& name, const QString& expected, const QString& seen) {
  QApplication::processEvents();
  report_.step(name, expected, seen, stage_->window());
}

QStringList TemplateRoad::namesBelow(const QModelIndex& parent) const {
  QStringList names;
  for (int row = 0; row < parent.model()->rowCount(parent); ++row)
    names += parent.model()->index(row, 0, parent).data().toString();
  names.sort();
  return names;
}

void TemplateRoad::press(const char* action) {
  const QAction* wanted = stage_->action(u8(action));
  for (auto* button : stage_->window()->findChildren<QToolButton*>())
    if (button->defaultAction() == wanted && button->isVisible()) QTest::mouseClick(button, Qt::LeftButton);
  QApplication::processEvents();
}

// ---- aggregated data ---------------------------------------------------------------------------------------

void TemplateRoad::openGroups() {
  stage_->click(stage_->tree(), stage_->rowByKey(key_));
  press("Агрегированные данные");
}

QString TemplateRoad::ticked() const {
  const auto* list = stage_->window()->findChild<QListView*>("listView");
  QStringList texts;
  for (int row = 0; row < list->model()->rowCount(); ++row)
    if (const QModelIndex group = list->model()->index(row, 0); group.data(Qt::CheckStateRole).toInt() == Qt::Checked)
      texts += group.data().toString();
  texts.sort();
  return texts.join("; ");
}

void TemplateRoad::tick(const char* description) {
  auto* list = stage_->window()->findChild<QListView*>("listView");
  for (int row = 0; row < list->model()->rowCount(); ++row) {
    const QModelIndex group = list->model()->index(row, 0);
    if (group.data().toString() != u8(description)) continue;
    const QRect place = list->visualRect(group);
    QTest::mouseClick(list->viewport(), Qt::LeftButton, Qt::NoModifier, QPoint(place.left() + 9, place.center().y()));
  }
  QApplication::processEvents();
}

void TemplateRoad::aggregated() {
  openGroups();
  step("aggregated-opened", "Максимум за час; Среднее за 30 минут", ticked());
  tick("Максимум за час");
  tick("Минимум за час");
  step("aggregated-ticked", "Минимум за час; Среднее за 30 минут", ticked());
  stage_->key(QApplication::focusWidget(), Qt::Key_Return);
  const QStringList wanted{u8("P Т-1_минимум за час"), u8("P Т-1_среднее 30 мин")};
  Stage::until([&] { return namesBelow(stage_->rowByKey(key_)) == wanted; });
  stage_->tree()->expand(stage_->rowByKey(key_));
  stage_->tree()->scrollTo(stage_->rowByKey(key_), QAbstractItemView::PositionAtCenter);
  step("aggregated-saved", wanted.join("; "), namesBelow(stage_->rowByKey(key_)).join("; "));
}

void TemplateRoad::noneTicked() {
  openGroups();
  tick("Минимум за час");
  tick("Среднее за 30 минут");
  step("aggregated-unticked", "", ticked());
  stage_->key(QApplication::focusWidget(), Qt::Key_Return);
  Stage::until([&] { return namesBelow(stage_->rowByKey(key_)).isEmpty(); });
  stage_->tree()->scrollTo(stage_->rowByKey(key_), QAbstractItemView::PositionAtCenter);
  step("aggregated-removed", "", namesBelow(stage_->rowByKey(key_)).join("; "));
}

// ---- series ------------------------------------------------------------------------------------------------

void TemplateRoad::type(const char* field, const QString& text) {
  auto* widget = stage_->window()->findChild<QWidget*>(field);
  auto* line = qobject_cast<QLineEdit*>(widget);
  if (!line) line = widget->findChild<QLineEdit*>();  // inside a spin box
  line->setFocus();
  line->selectAll();
  for (const QChar& letter : text) {  // QTest's own keys know Latin letters alone
    QKeyEvent down(QEvent::KeyPress, 0, Qt::NoModifier, letter);
    QCoreApplication::sendEvent(QApplication::focusWidget(), &down);
  }
}

// Copies the measurement, chooses the unit and fills the dialog.
void TemplateRoad::ask(int begin, int end, int stepWidth, int count) {
  stage_->click(stage_->tree(), stage_->rowByKey(key_));
  stage_->key(stage_->tree(), Qt::Key_C, Qt::ControlModifier);
  stage_->click(stage_->tree(), stage_->rowByKey(unitKey_));
  press("Копировать по шаблону");
  if (begin == 0) return;
  type("lEBegLocId", QString::number(begin));
  type("lEEndLocId", QString::number(end));
  type("spinBox_step", QString::number(stepWidth));
  type("spinBox_count", QString::number(count));
  type("lE_name", u8(kSeries));
}

QString TemplateRoad::made() const {
  const QModelIndex unit = stage_->rowByKey(unitKey_);
  std::set<int> numbers;
  const auto flags = Qt::MatchFlags(Qt::MatchStartsWith | Qt::MatchRecursive);
  const QModelIndexList hits =
      unit.model()->match(unit.model()->index(0, 0, unit), Qt::DisplayRole, u8(kSeries), -1, flags);
  for (const QModelIndex& hit : hits)
    if (const QModelIndex number = hit.siblingAtColumn(1); !hit.data().toString().contains('_'))
      numbers.insert(number.data().toInt());
  return joined(numbers);
}

void TemplateRoad::clickButton(const char* panel, const char* text) {
  for (auto* button : stage_->window()->findChild<QWidget*>(panel)->findChildren<QPushButton*>())
    if (button->text() == u8(text)) QTest::mouseClick(button, Qt::LeftButton);
  QApplication::processEvents();
}

QString TemplateRoad::reportText() const {
  const auto* panel = stage_->window()->findChild<QWidget*>("CPopMessageBoxByTemplate");
  return panel->isVisible() ? panel->findChild<QLabel*>("caption")->text() : QString("no report");
}

void TemplateRoad::freeSeries() {
  ask(0, 0, 0, 0);
  const auto* first = stage_->window()->findChild<QLineEdit*>("lEBegLocId");
  step("series-dialog", QString::number(firstRun(numbersInUse(stage_->core()), 1, false)), first->text());
  stage_->key(QApplication::focusWidget(), Qt::Key_Escape);
  const int begin = firstRun(numbersInUse(stage_->core()), 40, false);
  ask(begin, begin + 39, 10, 3);
  step("series-filled", QString::number(begin), first->text());
  stage_->key(QApplication::focusWidget(), Qt::Key_Return);
  const QString wanted = joined({begin, begin + 10, begin + 20});
  Stage::until([&] { return made() == wanted; });
  stage_->tree()->expandRecursively(stage_->rowByKey(unitKey_));
  const QModelIndex unit = stage_->rowByKey(unitKey_);
  const QModelIndexList hits = unit.model()->match(unit.model()->index(0, 0, unit), Qt::DisplayRole, u8(kSeries), 1,
                                                   Qt::MatchFlags(Qt::MatchStartsWith | Qt::MatchRecursive));
  stage_->tree()->scrollTo(hits.value(0), QAbstractItemView::PositionAtTop);
  step("series-free", wanted, made());
}

void TemplateRoad::partlyOccupied() {
  const std::set<int> taken = numbersInUse(stage_->core());
  const int hole = firstRun(taken, 1, false);
  const int begin = hole - 1;
  const QString before = made();
  ask(begin, begin + 2, 1, 2);
  stage_->key(QApplication::focusWidget(), Qt::Key_Return);
  step("series-partly-occupied",
       u8("Некоторые измерения невозможно создать, так как необходимые номера измерений уже заняты. Продолжить без "
          "создания этих измерений?"),
       reportText());
  clickButton("CPopMessageBoxByTemplate", "Показать подробности");
  const QString details = stage_->window()->findChild<QPlainTextEdit*>("plainTextEdit")->toPlainText();
  step("series-details", QString("%1, ").arg(begin), details.left(details.indexOf(',') + 2));
  clickButton("CPopMessageBoxByTemplate", "ОК");
  std::set<int> numbers{hole};
  for (const QString& each : before.split(' ')) numbers.insert(each.toInt());
  Stage::until([&] { return made() == joined(numbers); });
  step("series-without-the-occupied", joined(numbers), made());
}

void TemplateRoad::fullyOccupied() {
  const int begin = firstRun(numbersInUse(stage_->core()), 4, true);
  const QString before = made();
  ask(begin, begin + 3, 1, 3);
  stage_->key(QApplication::focusWidget(), Qt::Key_Return);
  step("series-fully-occupied", u8("Измерения невозможно создать, так как все необходимые номера измерений уже заняты"),
       reportText());
  clickButton("CPopMessageBoxByTemplate", "ОК");
  step("series-nothing-made", before, made());
}

}  // namespace tlm::tour
