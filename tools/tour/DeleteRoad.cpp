#include "DeleteRoad.h"

#include <TlmClient/CPopMessageBox.h>
#include <TlmClient/CTlmCliMod.h>

#include <QAbstractButton>
#include <QApplication>
#include <QItemSelectionModel>
#include <QtTest/QTest>

namespace tlm::tour {
namespace {

QString keyOf(const QModelIndex& index) { return index.data(kKeyRole).toString(); }

// The first row of a class in display order, in what the model holds.
QModelIndex firstOfClass(const QAbstractItemModel& model, const QString& className, const QModelIndex& parent = {}) {
  for (int row = 0; row < model.rowCount(parent); ++row) {
    const QModelIndex index = model.index(row, 0, parent);
    if (index.data(kClassRole).toString() == className) return index;
    const QModelIndex below = firstOfClass(model, className, index);
    if (below.isValid()) return below;
  }
  return QModelIndex();
}

}  // namespace

DeleteRoad::DeleteRoad(ModuleLibrary& library, const QDir& scratch, Report& report)
    : library_(library),
      storeFile_(scratch.filePath("deleting.tlm")),
      settingsFile_(scratch.filePath("deleting.ini")),
      report_(report) {}

DeleteRoad::~DeleteRoad() = default;

bool DeleteRoad::play() {
  stage_ = Stage::open(library_, storeFile_, settingsFile_);
  if (!stage_) return false;
  stage_->dragSplitter(560);
  removeMeasurementAndGroup();
  removeUnits();
  removeFolder();
  stage_.reset();
  return true;
}

void DeleteRoad::remove(const QString& step, const char* question, bool yes) {
  stage_->press(QString::fromUtf8("Удалить"));
  const CPopMessageBox* box = stage_->window()->module()->popMessageBox;
  const bool asked = box && box->isWaiting();
  report_.step(step + "-question", QString::fromUtf8(question), asked ? box->messageText() : QString("no question"),
               stage_->window());
  if (asked) QTest::mouseClick(yes ? box->buttons().first() : box->buttons().last(), Qt::LeftButton);
  QApplication::processEvents();
}

QModelIndex DeleteRoad::unit() const {
  const QModelIndex index = firstOfClass(*stage_->tree()->model(), "RemoteUnit");
  const QString key = keyOf(index);
  stage_->tree()->scrollTo(index);
  stage_->tree()->expandRecursively(stage_->rowByKey(key));
  return stage_->rowByKey(key);
}

void DeleteRoad::removeMeasurementAndGroup() {
  const QString unitKey = keyOf(unit());
  const QModelIndex group = stage_->tree()->model()->index(0, 0, stage_->rowByKey(unitKey));
  const QModelIndex measurement = group.model()->index(0, 0, group);
  const QString key = keyOf(measurement);
  const QString caption = group.data().toString();
  stage_->click(stage_->tree(), measurement);
  remove("delete-declined", "Вы действительно хотите удалить измерение?", false);
  report_.step("delete-declined", "there", stage_->rowByKey(key).isValid() ? "there" : "gone", stage_->window());
  remove("delete-measurement", "Вы действительно хотите удалить измерение?");
  report_.step("delete-measurement", "gone", stage_->rowByKey(key).isValid() ? "there" : "gone", stage_->window());

  stage_->click(stage_->tree(), stage_->tree()->model()->index(0, 0, stage_->rowByKey(unitKey)));
  remove("delete-group", "Вы действительно хотите удалить все измерения группы?");
  const QModelIndex first = stage_->tree()->model()->index(0, 0, stage_->rowByKey(unitKey));
  report_.step("delete-group", "gone", first.data().toString() == caption ? "there" : "gone", stage_->window());
}

void DeleteRoad::removeUnits() {
  const QString key = keyOf(unit());
  stage_->click(stage_->tree(), stage_->rowByKey(key));
  remove("delete-unit", "Вы действительно хотите удалить устройство и все содержащиеся в нем сигналы?");
  report_.step("delete-unit", "gone", stage_->rowByKey(key).isValid() ? "there" : "gone", stage_->window());

  // A unit and the row below it, the second by a Control-click.
  const QModelIndex first = unit();
  stage_->tree()->collapse(first);
  const QStringList keys = {keyOf(first), keyOf(stage_->tree()->indexBelow(first))};
  stage_->click(stage_->tree(), first);
  const QModelIndex second = stage_->tree()->indexBelow(stage_->rowByKey(keys[0]));
  QTest::mouseClick(stage_->tree()->viewport(), Qt::LeftButton, Qt::ControlModifier,
                    stage_->tree()->visualRect(second).center());
  QApplication::processEvents();
  remove("delete-several", "Вы действительно хотите удалить выделенные элементы?");
  int left = 0;
  for (const QString& each : keys) left += stage_->rowByKey(each).isValid();
  report_.step("delete-several", "0 left", QString("%1 left").arg(left), stage_->window());
}

void DeleteRoad::removeFolder() {
  const QModelIndex top = stage_->tree()->model()->index(0, 0);
  const QString key = keyOf(top);
  stage_->tree()->scrollTo(top);
  stage_->click(stage_->tree(), top);
  remove("delete-folder", "Вы действительно хотите удалить папку и все ее дочерние элементы?");
  report_.step("delete-folder", "gone", stage_->rowByKey(key).isValid() ? "there" : "gone", stage_->window());
  report_.text("tree-after-deleting.txt", treeText(*stage_->tree()->model(), 9));
}

}  // namespace tlm::tour
