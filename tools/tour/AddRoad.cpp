#include "AddRoad.h"

#include <TlmClient/CTlmCliMod.h>
#include <TlmServer/ModelTables.h>

#include <QApplication>
#include <QMenu>
#include <QToolBar>
#include <QToolButton>
#include <QtTest/QTest>

#include <set>

namespace tlm::tour {
namespace {

QString u8(const char* text) { return QString::fromUtf8(text); }

struct Kind {
  const char* action;
  const char* step;
  const char* name;
  const char* table;
};
constexpr Kind kKinds[] = {
    {"Аналоговое измерение", "add-analog", "P ВЛ-1", "Analog"},
    {"Дискретный сигнал", "add-discrete", "В-110 ВЛ-1", "Discrete"},
    {"Строковую величину", "add-string", "Режим ВЛ-1", "StringMeasurement"},
    {"Счетчик", "add-accumulator", "Wp ВЛ-1", "Accumulator"},
};

QString keyOf(const QModelIndex& index) { return index.data(kKeyRole).toString(); }
QString numberOf(const QModelIndex& index) { return index.sibling(index.row(), 1).data().toString(); }

}  // namespace

AddRoad::AddRoad(ModuleLibrary& library, const QDir& scratch, Report& report)
    : library_(library),
      storeFile_(scratch.filePath("adding.tlm")),
      settingsFile_(scratch.filePath("adding.ini")),
      report_(report) {}

AddRoad::~AddRoad() = default;

bool AddRoad::play() {
  stage_ = Stage::open(library_, storeFile_, settingsFile_);
  if (!stage_) return false;
  stage_->dragSplitter(560);
  addFolders();
  addUnit();
  addMeasurements();
  cancelOne();
  stage_.reset();
  return true;
}

void AddRoad::step(const QString& name, const QString& expected, const QString& seen) {
  report_.step(name, expected, seen, stage_->window());
}

// Opens the menu by its button, chooses an action with the mouse, and gives the new object's key.
QString AddRoad::add(const QString& stepName, const char* action) {
  QToolButton* button = nullptr;
  for (auto* each : stage_->window()->findChildren<QToolButton*>())
    if (each->toolTip() == u8("Добавить") && each->menu()) button = each;
  if (!button) return QString();
  QTest::mouseClick(button, Qt::LeftButton, Qt::NoModifier, button->rect().center());
  QMenu* menu = button->menu();
  Stage::until([&] { return menu->isVisible(); });
  for (QAction* each : menu->actions()) {
    if (each->text() != u8(action)) continue;
    menu->setActiveAction(each);
    report_.step(stepName + "-menu", "offered", each->isVisible() ? "offered" : "hidden", menu);
    QTest::mouseClick(menu, Qt::LeftButton, Qt::NoModifier, menu->actionGeometry(each).center());
  }
  QApplication::processEvents();
  return keyOf(stage_->tree()->currentIndex());
}

void AddRoad::chooseServerGroup() {
  QTreeView* sheet = stage_->sheet();
  const QModelIndex row = stage_->row(sheet, u8("Серверная группа"));
  stage_->doubleClick(sheet, row.sibling(row.row(), 1));
  QWidget* editor = QApplication::focusWidget();
  stage_->key(editor, Qt::Key_Home);
  stage_->key(editor, Qt::Key_Down);
  stage_->key(editor, Qt::Key_Return);
}

void AddRoad::save(const QString& stepName, const QString& key, const char* table) {
  step(stepName + "-filled", "not on the server", serverHas(table, key) ? "on the server" : "not on the server");
  stage_->key(stage_->tree(), Qt::Key_S, Qt::ControlModifier);
  step(stepName + "-saved", "on the server", serverHas(table, key) ? "on the server" : "not on the server");
}

void AddRoad::addFolders() {
  const QString root = add("add-root-folder", "Корневую папку");
  step("add-root-folder", u8("Новая папка"), stage_->tree()->currentIndex().data().toString());
  stage_->type(u8("Наименование"), u8("ПС 110 кВ Новая"));
  save("add-root-folder", root, "RemoteUnitFolder");

  stage_->click(stage_->tree(), stage_->rowByKey(root));
  folderKey_ = add("add-folder", "Папку");
  stage_->type(u8("Наименование"), u8("ОРУ-110"));
  save("add-folder", folderKey_, "RemoteUnitFolder");
  step("add-folder", root, keyOf(stage_->rowByKey(folderKey_).parent()));
}

void AddRoad::addUnit() {
  stage_->click(stage_->tree(), stage_->rowByKey(folderKey_));
  unitKey_ = add("add-unit", "Устройство");
  stage_->type(u8("Наименование"), u8("КП ВЛ-110"));
  chooseServerGroup();
  save("add-unit", unitKey_, "RemoteUnit");
  step("add-unit", folderKey_, keyOf(stage_->rowByKey(unitKey_).parent()));
}

void AddRoad::addMeasurements() {
  for (const Kind& kind : kKinds) {
    stage_->click(stage_->tree(), stage_->rowByKey(unitKey_));
    const int hole = firstHole();
    const QString key = add(kind.step, kind.action);
    step(kind.step, QString::number(hole), numberOf(stage_->rowByKey(key)));
    stage_->type(u8("Наименование"), u8(kind.name));
    save(kind.step, key, kind.table);
  }
  stage_->tree()->expandRecursively(stage_->rowByKey(unitKey_));
  QModelIndex top = stage_->rowByKey(unitKey_);
  while (top.parent().isValid()) top = top.parent();
  report_.text("tree-after-adding.txt", top.data().toString() + '\n' + treeText(*top.model(), 9, top, 1));
  step("tree-after-adding", "4 groups", QString("%1 groups").arg(top.model()->rowCount(stage_->rowByKey(unitKey_))));
}

// A new object that is given up leaves no trace.
void AddRoad::cancelOne() {
  stage_->click(stage_->tree(), stage_->rowByKey(unitKey_));
  const QString key = add("add-cancelled", "Счетчик");
  QAction* cancel = stage_->action(u8("Отменить изменения"));
  for (auto* bar : stage_->window()->findChildren<QToolBar*>())
    if (QWidget* button = bar->widgetForAction(cancel)) QTest::mouseClick(button, Qt::LeftButton);
  QApplication::processEvents();
  step("add-cancelled", "gone", stage_->rowByKey(key).isValid() ? "in the tree" : "gone");
}

// The lowest number that is free between two that are taken.
int AddRoad::firstHole() const {
  std::set<int> taken;
  stage_->core().read([&](const server::ModelTables& tables) {
    const MDArray* table = tables.table("Measurement");
    const MDRField* field = MDRFldByName(table, "locId");
    for (int i = 0; i < MDARecCount(table); ++i) {
      int32_t number = 0;
      MDRGetAsInt32(field, MDARec(table, 0, i), &number);
      taken.insert(number);
    }
  });
  int hole = *taken.begin() + 1;
  while (taken.count(hole)) ++hole;
  return hole;
}

bool AddRoad::serverHas(const char* table, const QString& key) const {
  bool found = false;
  const QByteArray bytes = key.toLatin1();
  stage_->core().read([&](const server::ModelTables& tables) {
    MDRVar value{};
    value.type = MDX_TEXT;
    value.text.length = static_cast<uint32_t>(bytes.size());
    value.text.data = bytes.constData();
    found = MDARecSeekV(tables.table(table), 0, &value, nullptr) != nullptr;
  });
  return found;
}

}  // namespace tlm::tour
