#include "EditRoad.h"

#include <TlmClient/CTlmCliMod.h>
#include <TlmServer/ModelTables.h>

#include <QApplication>
#include <QTextCodec>
#include <QtTest/QTest>

#include <atomic>

namespace tlm::tour {
namespace {

constexpr const char* kNewName = "F 1 СШ 220 кВ после ремонта";

// A text of a record as the server holds it.
QString textOf(const MDArray* table, const MDRData* record, const char* field) {
  char* text = nullptr;
  MDRGetTextPtr(MDRFldByName(table, field), record, &text);
  return QTextCodec::codecForName("Windows-1251")->toUnicode(text ? text : "");
}

// How many rows of a table hold a text in a field (an empty text: also null).
int countRows(const MDArray* table, const char* field, const QString& value) {
  int rows = 0;
  for (int i = 0; i < MDARecCount(table); ++i) rows += textOf(table, MDARec(table, 0, i), field) == value;
  return rows;
}

QString enabledText(const Stage& stage) {
  QStringList on;
  for (const char* text : {"Удалить", "Сохранить изменения", "Отменить изменения", "Вырезать", "Копировать (", "Найти"})
    if (const QAction* action = stage.action(text); action && action->isEnabled()) on += text;
  return on.join(", ");
}

// The rows of a unit's groups.
int measurementsUnder(const QModelIndex& unit) {
  int rows = 0;
  const QAbstractItemModel* model = unit.model();
  for (int group = 0; group < model->rowCount(unit); ++group) {
    const QModelIndex index = model->index(group, 0, unit);
    for (int i = 0; i < model->rowCount(index); ++i) rows += 1 + model->rowCount(model->index(i, 0, index));
  }
  return rows;
}

}  // namespace

// Hears what the server publishes; on the server's thread.
struct EditRoad::Listener : server::Subscriber {
  void onEvent(const wire::Event& event) override {
    if (event.kind == 602 && event.param.find("IdentifiedObject,") != std::string::npos) ++renames;
  }
  void onValue(const wire::ParamValue&) override {}
  std::atomic<int> renames{0};
};

EditRoad::EditRoad(ModuleLibrary& library, const QDir& scratch, Report& report)
    : library_(library),
      storeFile_(scratch.filePath("model.tlm")),
      settingsFile_(scratch.filePath("station.ini")),
      report_(report),
      listener_(std::make_unique<Listener>()) {}

EditRoad::~EditRoad() = default;

bool EditRoad::play() {
  if (!open()) return false;
  showWindow();
  showTree();
  const QModelIndex unit = expandUnit("unit-expanded");
  selectMeasurement(unit);
  editName();
  save();
  reopen();
  return true;
}

bool EditRoad::open() {
  stage_ = Stage::open(library_, storeFile_, settingsFile_);
  if (stage_) stage_->core().subscribe(listener_.get(), {602}, -1);
  return stage_ != nullptr;
}

void EditRoad::showWindow() {
  stage_->dragSplitter(700);  // room for the long names of the passport
  report_.step("window-open", "Конфигуратор телеметрии", stage_->window()->module()->windowTitle(), stage_->window());
}

void EditRoad::showTree() {
  int rows = 1;  // the default unit
  stage_->core().read([&](const server::ModelTables& tables) {
    rows += countRows(tables.table("RemoteUnitFolder"), "ParentKey", {}) +
            countRows(tables.table("RemoteUnit"), "RemoteUnitFolderKey", {});
  });
  const QAbstractItemModel* model = stage_->tree()->model();
  report_.text("tree.txt", treeText(*model, 3));
  report_.step("tree-as-text", QString("%1 rows at the top").arg(rows),
               QString("%1 rows at the top").arg(model->rowCount()), nullptr);
}

// Opens the way down to the first unit with the arrow keys, as far as its groups.
QModelIndex EditRoad::expandUnit(const QString& step) {
  QTreeView* tree = stage_->tree();
  QModelIndex at = tree->model()->index(0, 0);
  stage_->click(tree, at);
  while (at.isValid() && at.data(kClassRole).toString() != "RemoteUnit") {
    if (tree->model()->hasChildren(at)) {
      stage_->key(tree, Qt::Key_Right);
      stage_->key(tree, Qt::Key_Right);
    } else {
      stage_->key(tree, Qt::Key_Down);  // an empty folder
    }
    if (tree->currentIndex() == at) return {};
    at = tree->currentIndex();
  }
  stage_->key(tree, Qt::Key_Right);
  unitKey_ = at.data(kKeyRole).toString();
  int expected = 0;
  stage_->core().read([&](const server::ModelTables& tables) {
    expected = countRows(tables.table("Measurement"), "RemoteUnitKey", unitKey_);
  });
  report_.step(step, QString("%1 measurements").arg(expected), QString("%1 measurements").arg(measurementsUnder(at)),
               stage_->window());
  return at;
}

void EditRoad::selectMeasurement(const QModelIndex& unit) {
  QTreeView* tree = stage_->tree();
  const QModelIndex group = unit.model()->index(0, 0, unit);
  tree->expand(group);
  const QModelIndex measurement = unit.model()->index(0, 0, group);
  key_ = measurement.data(kKeyRole).toString();
  const QString name = measurement.data().toString();
  stage_->click(tree, measurement);
  report_.step("measurement-selected", name, tree->currentIndex().data().toString(), stage_->window());

  QTreeView* sheet = stage_->sheet();
  const QModelIndex row = stage_->row(sheet, "Наименование");
  report_.step("passport-shown", name, row.sibling(row.row(), 1).data().toString(), stage_->window());
}

void EditRoad::editName() {
  QTreeView* sheet = stage_->sheet();
  const QModelIndex row = stage_->row(sheet, "Наименование");
  name_ = kNewName;
  stage_->doubleClick(sheet, row.sibling(row.row(), 1));
  QWidget* editor = QApplication::focusWidget();
  QTest::keyClick(editor, Qt::Key_A, Qt::ControlModifier);
  // Letters reach an editor as an input method or a keyboard of that language brings them.
  for (const QChar letter : name_) {
    QKeyEvent press(QEvent::KeyPress, 0, Qt::NoModifier, QString(letter));
    QApplication::sendEvent(editor, &press);
  }
  QApplication::processEvents();
  report_.step("name-being-typed", name_, editor->property("text").toString(), stage_->window());
  stage_->key(editor, Qt::Key_Return);
  report_.step("name-edited", "Сохранить изменения, Отменить изменения", enabledText(*stage_), stage_->window());
}

void EditRoad::save() {
  const int before = listener_->renames;
  stage_->key(stage_->tree(), Qt::Key_S, Qt::ControlModifier);
  const bool published = Stage::until([&] { return listener_->renames > before; });
  report_.step("saved", "Удалить, Вырезать, Копировать (, Найти", enabledText(*stage_), stage_->window());
  report_.step("event-received", "602 IdentifiedObject", published ? "602 IdentifiedObject" : "nothing", nullptr);
  Stage::until([&] { return stage_->rowByKey(key_).data().toString() == name_; });
  report_.step("tree-shows-the-new-name", name_, stage_->rowByKey(key_).data().toString(), stage_->window());
}

void EditRoad::reopen() {
  stage_->core().unsubscribe(listener_.get());
  stage_.reset();
  const bool opened = open();
  report_.step("store-opened-again", "opened", opened ? "opened" : "refused", opened ? stage_->window() : nullptr);
  if (!opened) return;
  expandUnit("unit-expanded-again");
  stage_->tree()->expand(stage_->rowByKey(key_).parent());  // which sorts the group, so the row may move
  stage_->click(stage_->tree(), stage_->rowByKey(key_));
  report_.step("name-still-there", name_, stage_->tree()->currentIndex().data().toString(), stage_->window());
  stage_->core().unsubscribe(listener_.get());
  stage_.reset();
}

}  // namespace tlm::tour
