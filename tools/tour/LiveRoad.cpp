#include "LiveRoad.h"

#include <TlmClient/CPopMessageBox.h>

#include <QAbstractButton>
#include <QApplication>
#include <QtTest/QTest>

namespace tlm::tour {
namespace {

constexpr const char* kUnit = "ПС 110 кВ Северная";
constexpr const char* kOtherUnit = "ПС 110 кВ Заречная";
constexpr const char* kOtherFolder = "Гидроэлектростанции";
constexpr QSize kWindow(1060, 760);
constexpr int kTreeWidth = 430;

QString keyOf(const QModelIndex& index) { return index.data(kKeyRole).toString(); }

// The names of the rows above a row, from the top.
QString pathOf(const QModelIndex& index) {
  QStringList names;
  for (QModelIndex above = index.parent(); above.isValid(); above = above.parent())
    names.prepend(above.data().toString());
  return names.join(" / ");
}

void openPath(const Stage& stage, const QString& key) {
  QStringList keys;
  for (QModelIndex at = stage.rowByKey(key); at.isValid(); at = at.parent()) keys.prepend(keyOf(at));
  for (const QString& each : keys) stage.tree()->expand(stage.rowByKey(each));
}

// The rows of a tree, siblings in any order: two trees may be sorted at different moments.
QStringList rowsOf(const Stage& stage) {
  QStringList rows;
  QModelIndexList open{QModelIndex()};
  const QAbstractItemModel& model = *stage.tree()->model();
  while (!open.isEmpty()) {
    const QModelIndex parent = open.takeLast();
    for (int row = 0; row < model.rowCount(parent); ++row) {
      const QModelIndex index = model.index(row, 0, parent);
      rows.append(pathOf(index) + " / " + index.sibling(row, 1).data().toString() + ' ' + index.data().toString());
      open.append(index);
    }
  }
  rows.sort();
  return rows;
}

}  // namespace

LiveRoad::LiveRoad(ModuleLibrary& library, const QDir& scratch, Report& report)
    : library_(library), scratch_(scratch), report_(report), server_(scratch.filePath("live.tlm"), {"--simulate"}) {}

LiveRoad::~LiveRoad() = default;

bool LiveRoad::play() {
  if (!open()) return false;
  openUnits();
  rename("one-renames", "F 1 СШ 110 кВ, новый датчик");
  moveMeasurement();
  moveUnit();
  removeMeasurement();
  removeUnit();
  compare();
  loseServer();
  mine_.reset();
  other_.reset();
  return true;
}

bool LiveRoad::open() {
  if (!server_.start()) return false;
  mine_ = Stage::connect(library_, server_.address(), "engineer", scratch_.filePath("live1.ini"));
  other_ = Stage::connect(library_, server_.address(), "colleague", scratch_.filePath("live2.ini"));
  if (!mine_ || !other_) return false;
  for (const Stage* stage : {mine_.get(), other_.get()}) {
    stage->window()->resize(kWindow);
    QApplication::processEvents();
    stage->dragSplitter(kTreeWidth);
  }
  return true;
}

void LiveRoad::follows(const QString& step, const QString& expected, const std::function<QString(const Stage&)>& seen) {
  Stage::until([&] { return seen(*other_) == expected && seen(*mine_) == expected; });
  const QString own = seen(*mine_);
  const QString others = seen(*other_);
  report_.step(step, expected, own == others ? own : own + " | " + others,
               QVector<QWidget*>{mine_->window(), other_->window()});
}

QModelIndex LiveRoad::measurement(const Stage& stage, int row) const {
  const QModelIndex unit = stage.rowByKey(unit_);
  const QModelIndex group = unit.model()->index(0, 0, unit);
  return unit.model()->index(row, 0, group);
}

void LiveRoad::select(Stage& stage, const QString& key) const {
  openPath(stage, keyOf(stage.rowByKey(key).parent()));
  stage.click(stage.tree(), stage.rowByKey(key));
}

void LiveRoad::edit(const QString& field, const QString& text) {
  mine_->type(field, text);
  mine_->press("Сохранить изменения");
}

// ---- what one does ---------------------------------------------------------------------------------------

// Both look at the same measurement of the same unit; the unit that it will go to is open as well.
void LiveRoad::openUnits() {
  unit_ = keyOf(mine_->row(mine_->tree(), kUnit));
  otherUnit_ = keyOf(mine_->row(mine_->tree(), kOtherUnit));
  for (Stage* stage : {mine_.get(), other_.get()}) {
    openPath(*stage, unit_);
    openPath(*stage, otherUnit_);
    const QModelIndex first = stage->rowByKey(unit_);
    stage->tree()->expand(first.model()->index(0, 0, first));
  }
  measurement_ = keyOf(measurement(*mine_, 0));
  for (Stage* stage : {mine_.get(), other_.get()}) select(*stage, measurement_);
  const QString name = mine_->rowByKey(measurement_).data().toString();
  follows("two-workstations", name, [](const Stage& stage) {
    const QModelIndex shown = stage.row(stage.sheet(), "Наименование");
    return shown.sibling(shown.row(), 1).data().toString();
  });
}

void LiveRoad::rename(const QString& step, const QString& name) {
  edit("Наименование", name);
  follows(step, name, [this](const Stage& stage) { return stage.rowByKey(measurement_).data().toString(); });
  follows(step + "-in-the-passport", name, [](const Stage& stage) {
    const QModelIndex shown = stage.row(stage.sheet(), "Наименование");
    return shown.sibling(shown.row(), 1).data().toString();
  });
}

void LiveRoad::moveMeasurement() {
  edit("Устройство", kOtherUnit);
  follows("one-moves-a-measurement", kOtherUnit,
          [this](const Stage& stage) { return stage.rowByKey(measurement_).parent().parent().data().toString(); });
}

void LiveRoad::moveUnit() {
  select(*mine_, otherUnit_);
  edit("Папка", kOtherFolder);
  follows("one-moves-a-unit", kOtherFolder,
          [this](const Stage& stage) { return stage.rowByKey(otherUnit_).parent().data().toString(); });
}

void LiveRoad::remove(const QString& key) {
  select(*mine_, key);
  mine_->press("Удалить");
  const auto boxes = CPopMessageBox::waitingBoxes();
  if (!boxes.isEmpty()) QTest::mouseClick(boxes.first()->buttons().first(), Qt::LeftButton);
  QApplication::processEvents();
}

// The other one looks at it at that moment.
void LiveRoad::removeMeasurement() {
  const QString key = keyOf(measurement(*mine_, 0));
  select(*other_, key);
  remove(key);
  follows("one-deletes-a-measurement", "gone",
          [&](const Stage& stage) { return QString(stage.rowByKey(key).isValid() ? "there" : "gone"); });
}

void LiveRoad::removeUnit() {
  remove(unit_);
  follows("one-deletes-a-unit", "gone",
          [this](const Stage& stage) { return QString(stage.rowByKey(unit_).isValid() ? "there" : "gone"); });
}

void LiveRoad::compare() {
  const QStringList mine = rowsOf(*mine_);
  const QStringList others = rowsOf(*other_);
  report_.text("tree-of-one.txt", mine.join('\n'));
  report_.text("tree-of-the-other.txt", others.join('\n'));
  report_.step("both-trees-are-the-same", QString("%1 rows").arg(mine.size()),
               mine == others ? QString("%1 rows").arg(others.size()) : QString("they differ"), nullptr);
}

// ---- the line --------------------------------------------------------------------------------------------

void LiveRoad::loseServer() {
  for (Stage* stage : {mine_.get(), other_.get()}) select(*stage, measurement_);
  server_.kill();
  follows("server-killed", QString("Нет связи с сервером %1, идет подключение").arg(server_.address()),
          [](const Stage& stage) { return stage.window()->connectionText(); });
  saveWithoutServer();
  const bool back = server_.start();
  follows("server-back", QString("Сервер: %1").arg(server_.address()),
          [](const Stage& stage) { return stage.window()->connectionText(); });
  if (!back) return;
  for (Stage* stage : {mine_.get(), other_.get()}) select(*stage, measurement_);
  rename("renamed-after-the-break", "F 1 СШ 110 кВ после перерыва");
}

// The edit is refused, the name stays, and the window goes on.
void LiveRoad::saveWithoutServer() {
  const QString name = mine_->rowByKey(measurement_).data().toString();
  edit("Наименование", "F 1 СШ 110 кВ без связи");
  const auto boxes = CPopMessageBox::waitingBoxes();
  report_.step("save-without-a-server",
               "При изменении данных возникла непредвиденная ошибка.\nДанные не были изменены!",
               boxes.isEmpty() ? QString("no message") : boxes.first()->messageText(), mine_->window());
  if (!boxes.isEmpty()) QTest::mouseClick(boxes.first()->buttons().first(), Qt::LeftButton);
  QApplication::processEvents();
  report_.step("the-name-stays", name, mine_->rowByKey(measurement_).data().toString(), mine_->window());
  const QModelIndex above = mine_->rowByKey(measurement_).parent();
  mine_->click(mine_->tree(), above);
  report_.step("the-window-goes-on", keyOf(above), keyOf(mine_->tree()->currentIndex()), mine_->window());
}

}  // namespace tlm::tour
