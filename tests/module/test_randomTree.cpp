// Objects come, go, move and change their names at random.
#include <QMenu>

#include "RandomWindows.h"

namespace tlm::test {
namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr int kActs = 1500;
#else
constexpr int kActs = 4000;
#endif
class RandomTree : public RandomWindows {
 protected:
  RandomTree() : RandomWindows(kActs) {}

  void turn() override {
    if (oneIn(4))
      actOfColleague();
    else
      act(*any(windows));
  }

  // ---- acts of a window ----
  void act(Window& window) {
    using Act = QString (RandomTree::*)(Window&);
    static constexpr Act kActsOfAWindow[] = {&RandomTree::expand,  &RandomTree::expand,        &RandomTree::collapse,
                                             &RandomTree::select,  &RandomTree::select,        &RandomTree::add,
                                             &RandomTree::add,     &RandomTree::add,           &RandomTree::add,
                                             &RandomTree::remove,  &RandomTree::rename,        &RandomTree::finish,
                                             &RandomTree::finish,  &RandomTree::finish,        &RandomTree::ownMove,
                                             &RandomTree::ownMove, &RandomTree::ownFolderMove, &RandomTree::sort};
    const Act chosen = kActsOfAWindow[upTo(std::size(kActsOfAWindow))];
    const QModelIndexList before = window.tree()->selectionModel()->selectedIndexes();
    told += (windows[0].get() == &window ? "first: " : "second: ") + (this->*chosen)(window);
    const bool chose = told.last().contains(": select ") || told.last().contains(": add ");
    if (chose && window.tree()->selectionModel()->selectedIndexes() != before) sheetFaults = window.sheetFaults();
  }
  QStringList moreFaults() override { return std::exchange(sheetFaults, {}); }
  QString add(Window& window) {
    if (window.isPending()) return finish(window);
    if (objects() > kMost) return remove(window);
    QModelIndex top = window.tree()->currentIndex();
    while (top.parent().isValid()) top = top.parent();
    // What is added there has no unit.
    const bool inDefaultUnit = top.isValid() && nodeOf(top)->text == defaultUnitText();
    if (oneIn(5) || inDefaultUnit) window.tree()->setCurrentIndex(QModelIndex());
    emit window.module.addMenu->aboutToShow();
    QList<QAction*> offered;
    for (QAction* action : window.module.addActGroup->actions())
      if (action->isVisible()) offered += action;
    if (offered.isEmpty()) return "nothing to add";
    QAction* action = any(offered);
    action->trigger();
    return "add " + action->text() + " " + ::keyOf(window.tree()->currentIndex());
  }
  QString remove(Window& window) {
    if (window.isPending() || objects() < kFewest) return finish(window);
    const auto rows = window.rows();
    if (rows.empty()) return "nothing to remove";
    QItemSelectionModel* selection = window.tree()->selectionModel();
    const QModelIndex row = deep(rows);
    QString what = row.data().toString() + " " + ::keyOf(row);
    window.tree()->setCurrentIndex(row);
    if (oneIn(3)) {
      const QModelIndex second = deep(window.rows());
      what += ", " + second.data().toString();
      selection->select(second, QItemSelectionModel::Select);
    }
    window.module.actDel->trigger();
    const int role = oneIn(6) ? 1 : 0;
    answerBox(window.module.popMessageBox, role);
    return (role == 0 ? "remove " : "do not remove ") + what;
  }
  // Rather a measurement than a folder with all below it.
  QModelIndex deep(const std::vector<QModelIndex>& rows) {
    QModelIndex row = rows[upTo(int(rows.size()))];
    for (int i = 0; i < 3 && row.model()->rowCount(row) > 1; ++i) row = rows[upTo(int(rows.size()))];
    return row;
  }
  QString ownMove(Window& window) {
    QString key, to;
    if (window.isPending() || !chooseMove(&window.module, key, to)) return expand(window);
    saveLink(window, window.module.strMeasurement, "Measurement", "RemoteUnitKey", key, to);
    return "move " + key + " to " + to;
  }
  QString ownFolderMove(Window& window) {
    if (window.isPending()) return finish(window);
    const bool isFolder = oneIn(2);
    QStringList keys = isFolder ? folderKeys() : unitKeys();
    if (keys.isEmpty()) return "nothing to move";
    const QString key = any(keys);
    const QString to = anyFolderOrNone();
    if (isFolder)
      saveLink(window, window.module.strRemoteUnitFolder, "RemoteUnitFolder", "ParentKey", key, to);
    else
      saveLink(window, window.module.strRemoteUnit, "RemoteUnit", "RemoteUnitFolderKey", key, to);
    return "move " + key + " to " + to;
  }
  void saveLink(Window& window, const CMDArray& structure, const char* table, const char* field, const QString& key,
                const QString& to) {
    CMDArray array;
    MDACopy(array.array, structure.array, 0);
    MDRData* record = MDARecNew(array.array);
    const QByteArray keyBytes = key.toLatin1();
    const QByteArray toBytes = to.toLatin1();
    array.SetVal(record, 0, textVar(keyBytes));
    array.SetValF(record, MDRFldByName(array.array, field)->number, to.isEmpty() ? nullTextVar() : textVar(toBytes));
    array.RecPost(record);
    QStringList tables{table};
    QList<CMDArray*> arrays{&array};
    if (!window.module.Save(tables, arrays, false)) window.module.ownMoves.removeAll(key);
  }

  QStringList sheetFaults;
};

TEST_F(RandomTree, TreesArraysAndTablesAgreeAfterEveryAct) { play(); }

}  // namespace
}  // namespace tlm::test
