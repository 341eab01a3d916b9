#include "ClipboardRoad.h"

#include <TlmClient/CTlmCliMod.h>

#include <QHeaderView>
#include <QtTest/QTest>

#include "DragMouse.h"

namespace tlm::tour {
namespace {

const QString kSource = QStringLiteral("ПС 110 кВ Березовка");
const QString kTarget = QStringLiteral("ПС 110 кВ Вокзальная");
const QString kFolder = QStringLiteral("Гидроэлектростанции");

QString keyOf(const QModelIndex& index) { return index.data(kKeyRole).toString(); }
// Moves there, and lets the window show it.
void over(DragMouse& mouse, const QModelIndex& row, int edge = 0) {
  mouse.over(row, edge);
  QApplication::processEvents();
}

QString yes(bool is) { return is ? QStringLiteral("yes") : QStringLiteral("no"); }

}  // namespace

ClipboardRoad::ClipboardRoad(ModuleLibrary& library, const QDir& scratch, Report& report)
    : library_(library),
      storeFile_(scratch.filePath("clipboard.tlm")),
      settingsFile_(scratch.filePath("clipboard.ini")),
      report_(report) {}

bool ClipboardRoad::play() {
  stage_ = Stage::open(library_, storeFile_, settingsFile_);
  if (!stage_) return false;
  stage_->dragSplitter(560);
  copyUnit();
  cutMeasurement();
  dragMeasurement();
  dragFolder();
  stage_.reset();
  return true;
}

QModelIndex ClipboardRoad::shown(const QString& text) const {
  const QString key = keyOf(stage_->row(stage_->tree(), text));
  stage_->tree()->scrollTo(stage_->rowByKey(key));
  QApplication::processEvents();
  return stage_->rowByKey(key);
}

QString ClipboardRoad::unitOf(const QString& key) const {
  return stage_->rowByKey(key).parent().parent().data().toString();
}

// Ctrl+C on a unit, Ctrl+V on the folder that it lies in.
void ClipboardRoad::copyUnit() {
  stage_->click(stage_->tree(), shown(kSource));
  stage_->key(stage_->tree(), Qt::Key_C, Qt::ControlModifier);
  stage_->click(stage_->tree(), stage_->row(stage_->tree(), kSource).parent());
  report_.step("copy-unit", "yes", yes(stage_->action("Вставить")->isEnabled()), stage_->window());
  stage_->key(stage_->tree(), Qt::Key_V, Qt::ControlModifier);
  const QString copy = kSource + "-копия";
  Stage::until([&] { return stage_->row(stage_->tree(), copy).isValid(); });
  const QModelIndex row = shown(copy);
  const QString key = keyOf(row);
  if (row.isValid()) stage_->tree()->expandRecursively(row);
  report_.step("paste-unit", "yes", yes(stage_->tree()->model()->rowCount(stage_->rowByKey(key)) > 0),
               stage_->window());
  stage_->tree()->collapse(stage_->rowByKey(key));
}

// Ctrl+X turns the row grey; Ctrl+V moves it.
void ClipboardRoad::cutMeasurement() {
  stage_->tree()->expandRecursively(shown(kSource));
  const QModelIndex unit = shown(kSource);
  const QModelIndex group = unit.model()->index(0, 0, unit);
  const QModelIndex row = group.model()->index(0, 0, group);
  const QString key = keyOf(row);
  stage_->click(stage_->tree(), row);
  stage_->key(stage_->tree(), Qt::Key_X, Qt::ControlModifier);
  report_.step(
      "cut-measurement", "grey",
      stage_->rowByKey(key).data(Qt::ForegroundRole).value<QColor>() == QColor(175, 175, 175) ? "grey" : "black",
      stage_->window());
  stage_->click(stage_->tree(), shown(kTarget));
  stage_->key(stage_->tree(), Qt::Key_V, Qt::ControlModifier);
  Stage::until([&] { return unitOf(key) == kTarget; });
  report_.step("paste-measurement", kTarget, unitOf(key), stage_->window());
  stage_->tree()->collapse(stage_->row(stage_->tree(), kTarget));
}

// Over rows that take no measurement the cursor says so; a closed unit has a frame, takes it and opens.
void ClipboardRoad::dragMeasurement() {
  const QString target = QStringLiteral("ПС 110 кВ Водозабор");
  const QModelIndex unit = shown(kSource);
  const QAbstractItemModel& model = *stage_->tree()->model();
  for (int row = 0; row < model.rowCount(unit); ++row) stage_->tree()->collapse(model.index(row, 0, unit));
  const QModelIndex group = model.index(model.rowCount(unit) - 1, 0, unit);
  stage_->tree()->expand(group);
  const QString key = keyOf(model.index(0, 0, group));
  // The rows of the drag keep away from the edge, where a view under the mouse scrolls by itself.
  stage_->tree()->scrollTo(stage_->row(stage_->tree(), kSource).parent().parent(), QAbstractItemView::PositionAtTop);
  DragMouse mouse(stage_->tree());
  const bool began = mouse.drag(stage_->rowByKey(key), [&] {
    const QModelIndex folder = stage_->row(stage_->tree(), kSource).parent();
    over(mouse, folder);
    report_.step("drag-measurement-over-a-folder", "no", yes(mouse.isAllowed()), stage_->window());
    over(mouse, stage_->row(stage_->tree(), target));
    report_.step("drag-measurement-over-a-closed-unit", "yes", yes(mouse.isAllowed()), stage_->window());
    mouse.drop();
  });
  Stage::until([&] { return !began || unitOf(key) == target; });
  report_.step("drop-measurement", target, unitOf(key), stage_->window());
}

// Between rows a line tells the place; over the header the drop goes to the top.
void ClipboardRoad::dragFolder() {
  const QString key = keyOf(shown(kFolder));
  stage_->tree()->scrollTo(stage_->rowByKey(key), QAbstractItemView::PositionAtCenter);
  QHeaderView* header = stage_->tree()->header();
  DragMouse mouse(stage_->tree());
  const bool began = mouse.drag(stage_->rowByKey(key), [&] {
    const QModelIndex below = stage_->tree()->indexBelow(stage_->rowByKey(key));
    over(mouse, below, 1);
    report_.step("drag-folder-beside-a-row", "yes", yes(mouse.isAllowed()), stage_->window());
    mouse.over(header->viewport(), header->viewport()->rect().center());
    QApplication::processEvents();
    report_.step("drag-folder-over-the-header", "yes", yes(mouse.isAllowed()), stage_->window());
    mouse.drop();
  });
  Stage::until([&] { return !began || !stage_->rowByKey(key).parent().isValid(); });
  report_.step("drop-folder-on-the-header", "top", stage_->rowByKey(key).parent().isValid() ? "below" : "top",
               stage_->window());
}

}  // namespace tlm::tour
