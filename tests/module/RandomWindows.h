// Two windows and a colleague without one, who work on one server at random. After each act, when the events are in,
// the trees, the arrays and the server's tables are compared.
//
// Kept out of it, because the module leaves them behind on purpose, and tested one by one elsewhere: a name with a
// comma, a measurement without a unit that another client adds, "CheckTu" of an added discrete, calculations, a
// primary that moves without its aggregated children, a group that is emptied by aggregation; and a measurement that
// another client moves from a unit that is not open here into one that is.
#ifndef TLMTEST_RANDOMWINDOWS_H
#define TLMTEST_RANDOMWINDOWS_H

#include <TlmClient/GenGuid32.h>

#include <QHeaderView>
#include <QRegularExpression>

#include <cstdlib>
#include <random>

#include "Colleague.h"
#include "TreeChecks.h"
#include "TreeMirror.h"
#include "passport/sheetModel.h"

namespace tlm::test {

inline constexpr unsigned kRandomSeed = 20261121;
inline constexpr int kFewest = 12;  // objects below which nothing is removed, and above which nothing is added
inline constexpr int kMost = 90;

inline constexpr char kRandomModel[] = R"(folder Подстанция Северная
  folder ОРУ-110
    unit КП-1
      analog 1001 P Т-1
        analog 1002 P Т-1 макс {MeasurementArchGroupKey=@Часовая}
      analog 1003 Q Т-1
      discrete 1004 Q-110
      discrete 1005 Р-110
    unit КП-2
      analog 1101 I Т-2
      accumulator 1102 Wp Т-2
  unit КП-3
    string 1201 Режим
folder Подстанция Южная
  folder ЗРУ-10
  unit КП-4
    analog 1301 U 10 кВ
unit КП-5
  analog 1401 f
  analog 1402 U 35 кВ
unit КП-6
analog 1501 Без устройства
discrete 1502 Тоже без устройства
table MeasurementArchGroup Часовая {aggregatedData=1}
)";

inline int numberFromEnvironment(const char* name, int otherwise) {
  const char* text = std::getenv(name);
  return text ? std::atoi(text) : otherwise;
}

// One engineer with a window.
struct Window {
  explicit Window(server::Core& core, const char* user) : host(core, user), module(&host) {
    module.ModuleStart();
    mirror = std::make_unique<TreeMirror>(*module.treeModel);
  }
  ~Window() { mirror.reset(); }

  QTreeView* tree() { return module.ui->tV_MeasConfig; }
  bool isPending() const { return module.newObjectInPassport || module.passportEdited; }

  std::vector<QModelIndex> rows() const {
    std::vector<QModelIndex> all;
    collect(QModelIndex(), all);
    return all;
  }
  bool isOpen(const QString& unit) const {
    if (unit.isEmpty()) return true;
    const QModelIndex index = module.treeModel->findByKey(unit);
    return index.isValid() && nodeOf(index)->isLoaded;
  }
  // Where the view and its selection tell of different objects.
  QStringList viewFaults() const {
    const QItemSelectionModel* selection = module.ui->tV_MeasConfig->selectionModel();
    QStringList painted, selected, all;
    for (const QModelIndex& row : rows())
      for (const QModelIndex& cell : {row, row.siblingAtColumn(1)})
        if (selection->isSelected(cell)) painted += cell.siblingAtColumn(0).data().toString();
    for (const QModelIndex& index : selection->selectedIndexes())
      selected += index.siblingAtColumn(0).data().toString();
    painted.sort();
    selected.sort();
    if (painted != selected) all += "painted as selected: " + painted.join(", ") + "; selected: " + selected.join(", ");
    if (selected.size() != 1) return all;
    const QModelIndex only = selection->selectedIndexes().first();
    if (only != selection->currentIndex()) all += "selected, not current: " + selected.first();
    return all;
  }
  // Where the sheet tells of another object than the one selected row. A change that comes by an event is shown in the
  // sheet whatever is selected, so this holds only right after an act of the window's own.
  QStringList sheetFaults() const {
    const QModelIndexList selected = module.ui->tV_MeasConfig->selectionModel()->selectedIndexes();
    if (selected.size() != 1 || !nodeOf(selected[0])->record || keyOf(selected[0]) == module.passport.currentKey)
      return {};
    return {"selected: " + keyOf(selected[0]) + "; in the sheet: " + module.passport.currentKey};
  }
  // Gives a field of the sheet a value, as its editor does.
  bool edit(const char* title, const QVariant& value, const QString& text) {
    QAbstractItemModel* sheet = module.ui->tV_Prop->model();
    if (!sheet) return false;
    const auto hits = sheet->match(sheet->index(0, 0), Qt::DisplayRole, QString(title), 1,
                                   Qt::MatchExactly | Qt::MatchRecursive | Qt::MatchCaseSensitive);
    return !hits.isEmpty() && sheet->setData(hits[0].sibling(hits[0].row(), 1),
                                             QVariant::fromValue(passport::Edit{value, text}), Qt::EditRole);
  }

  TestApp host;
  WatchedModule module;
  std::unique_ptr<TreeMirror> mirror;

 private:
  void collect(const QModelIndex& parent, std::vector<QModelIndex>& all) const {
    for (int i = 0; i < module.treeModel->rowCount(parent); ++i) {
      const QModelIndex row = module.treeModel->index(i, 0, parent);
      all.push_back(row);
      collect(row, all);
    }
  }
};

class RandomWindows : public testing::Test {
 protected:
  // Plays that many acts unless the environment says another number.
  explicit RandomWindows(int actsByDefault)
      : seed(static_cast<unsigned>(numberFromEnvironment("TLM_RANDOM_SEED", kRandomSeed))),
        acts(numberFromEnvironment("TLM_RANDOM_ACTS", actsByDefault)),
        server(kRandomModel),
        random(seed),
        colleague(*server.core()) {
    for (const char* user : {"first", "second"}) windows.push_back(std::make_unique<Window>(*server.core(), user));
  }

  // ---- chance ----
  int upTo(int count) { return std::uniform_int_distribution<int>(0, count - 1)(random); }
  bool oneIn(int count) { return upTo(count) == 0; }
  template <typename List>
  auto& any(List& list) {
    return list[static_cast<size_t>(upTo(static_cast<int>(list.size())))];
  }
  QString newName() { return QString("Имя %1").arg(++names); }

  // Keys in the order in which they were seen first: the keys themselves are random, and a seed is to give the
  // same acts again.
  QStringList ordered(QStringList keys) {
    std::sort(keys.begin(), keys.end(), [this](const QString& a, const QString& b) { return seen[a] < seen[b]; });
    return keys;
  }
  void noteKeys() {
    const RowTexts rows = serverRows(*server.core());
    for (const QString& key : rows.folders.keys() + rows.units.keys() + rows.measurements.keys())
      if (!seen.contains(key)) seen[key] = seen.size() + 1;
  }

  // ---- what the server holds ----
  static QString part(const QString& text, const char* field) {
    return text.section(QString(field) + "=", 1).section(';', 0, 0);
  }
  QStringList folderKeys() { return ordered(serverRows(*server.core()).folders.keys()); }
  QStringList unitKeys() { return ordered(serverRows(*server.core()).units.keys()); }
  QString anyFolderOrNone() {
    const QStringList keys = folderKeys();
    return keys.isEmpty() || oneIn(4) ? QString() : any(keys);
  }
  int objects() {
    const RowTexts rows = serverRows(*server.core());
    return rows.folders.size() + rows.units.size() + rows.measurements.size();
  }

  bool hasAggregated(const RowTexts& rows, const QString& key) {
    const QString number = part(rows.measurements[key], "locId");
    for (const QString& text : rows.measurements)
      if (part(text, "primaryLocId") == number) return true;
    return false;
  }
  // Whether every window can follow that move; one that has none of the first unit's rows has not the measurement.
  bool canFollow(const QString& from, const QString& to) {
    for (const auto& window : windows)
      if (!window->isOpen(from) && window->isOpen(to)) return false;
    return true;
  }
  // A measurement that may move, and the unit it may go to (empty: none).
  bool chooseMove(const CTlmMeasConfig* holder, QString& key, QString& to) {
    const RowTexts rows = serverRows(*server.core());
    QStringList keys = ordered(rows.measurements.keys());
    if (keys.isEmpty()) return false;
    key = any(keys);
    const QString text = rows.measurements[key];
    const QString from = part(text, "RemoteUnitKey");
    QStringList units = ordered(rows.units.keys());
    to = units.isEmpty() || oneIn(6) ? QString() : any(units);
    if (!from.isEmpty() && !rows.units.contains(from)) return false;
    if (!part(text, "primaryLocId").isEmpty() || hasAggregated(rows, key) || !canFollow(from, to)) return false;
    return !holder || seekText(holder->measRecords, 0, key, holder->moduleCodec);
  }

  // ---- acts of a window ----
  QString expand(Window& window) {
    const auto rows = window.rows();
    if (rows.empty()) return "nothing to expand";
    const QModelIndex row = rows[upTo(int(rows.size()))];
    window.tree()->expand(row);
    return "expand " + row.data().toString();
  }
  QString collapse(Window& window) {
    const auto rows = window.rows();
    if (rows.empty()) return "nothing to collapse";
    const QModelIndex row = rows[upTo(int(rows.size()))];
    window.tree()->collapse(row);
    return "collapse " + row.data().toString();
  }
  QString select(Window& window) {
    const auto rows = window.rows();
    if (rows.empty()) return "nothing to select";
    const QModelIndex row = rows[upTo(int(rows.size()))];
    const QString name = row.data().toString();
    window.tree()->setCurrentIndex(row.sibling(row.row(), upTo(2)));
    return "select " + name;
  }
  // As a click on the header does.
  QString sort(Window& window) {
    const int column = upTo(2);
    window.tree()->header()->setSortIndicator(column, oneIn(2) ? Qt::AscendingOrder : Qt::DescendingOrder);
    return "sort by " + QString::number(column);
  }
  // Saves or cancels what is pending.
  QString finish(Window& window) {
    if (!window.isPending()) return select(window);
    const QString key = window.module.passport.currentKey;
    if (oneIn(3)) {
      window.module.actCancel->trigger();
      return "cancel " + key;
    }
    if (!oneIn(8)) window.edit("Серверная группа", 1, "1");  // a unit is refused without one
    window.module.actSave->trigger();
    return "save " + key;
  }
  QString rename(Window& window) {
    const QString name = newName();
    if (!window.edit("Наименование", name, name)) return "nothing to rename";
    return "edit the name of " + window.module.passport.currentKey;
  }
  // ---- acts of the colleague ----
  void actOfColleague() {
    using Act = QString (RandomWindows::*)();
    static constexpr Act kActsOfTheColleague[] = {&RandomWindows::theirAdd,   &RandomWindows::theirAdd,
                                                  &RandomWindows::theirName,  &RandomWindows::theirMove,
                                                  &RandomWindows::theirMove,  &RandomWindows::theirFolderMove,
                                                  &RandomWindows::theirRemove};
    told += "colleague: " + (this->*kActsOfTheColleague[upTo(std::size(kActsOfTheColleague))])();
  }
  int freeNumber() {
    int number = 0;
    windows[0]->module.GetFreeLocId(number);
    return oneIn(2) ? number : number + 1 + upTo(5000);
  }
  QString theirAdd() {
    if (objects() > kMost) return theirRemove();
    const QString key = GenGuid32();
    const QString name = newName();
    const QString folder = anyFolderOrNone();
    const QStringList units = unitKeys();
    if (oneIn(4)) {
      colleague.add("RemoteUnitFolder", key, {"caption=" + name, link("ParentKey", folder)});
    } else if (units.isEmpty() || oneIn(3)) {
      colleague.add("RemoteUnit", key, {"name_=" + name, "SrvGroup=1", link("RemoteUnitFolderKey", folder)});
    } else {
      QStringList fields{"name_=" + name, "locId=" + QString::number(freeNumber()), "RemoteUnitKey=" + any(units)};
      const char* const className = kMeasClasses[upTo(4)].className;
      colleague.add(oneIn(4) && aggregate(fields) ? "Analog" : className, key, fields);
    }
    colleague.commit();  // refused when the number is taken
    return "add " + key + " " + name;
  }
  static QString link(const char* field, const QString& key) {
    return key.isEmpty() ? QString(field) : QString("%1=%2").arg(field, key);
  }
  // Makes it the aggregated data of an analog measurement that is not aggregated itself.
  bool aggregate(QStringList& fields) {
    const RowTexts rows = serverRows(*server.core());
    for (const QString& key : ordered(rows.measurements.keys())) {
      const QString text = rows.measurements[key];
      const QString unit = part(text, "RemoteUnitKey");
      if (part(text, "ClassName") != "Analog" || !part(text, "primaryLocId").isEmpty() || !rows.units.contains(unit))
        continue;
      fields[2] = "RemoteUnitKey=" + unit;
      fields += "primaryLocId=" + part(text, "locId");
      fields += "MeasurementArchGroupKey=" + QString::fromStdString(tlm::test::keyOf("Часовая"));
      if (oneIn(3)) return true;
      fields = fields.mid(0, 3);
    }
    return false;
  }
  QString theirMove() {
    QString key, to;
    if (!chooseMove(nullptr, key, to)) return "nothing to move";
    colleague.change("Measurement", key, {link("RemoteUnitKey", to)});
    EXPECT_TRUE(colleague.commit());
    return "move " + key + " to " + to;
  }
  QString theirFolderMove() {
    const bool isFolder = oneIn(2);
    const QStringList keys = isFolder ? folderKeys() : unitKeys();
    if (keys.isEmpty()) return "nothing to move";
    const QString key = any(keys);
    const QString to = anyFolderOrNone();
    if (isFolder)
      colleague.change("RemoteUnitFolder", key, {link("ParentKey", to)});
    else
      colleague.change("RemoteUnit", key, {link("RemoteUnitFolderKey", to)});
    colleague.commit();  // refused below itself
    return "move " + key + " to " + to;
  }
  // An object with all that hangs under it.
  QString theirRemove() {
    const RowTexts rows = serverRows(*server.core());
    if (objects() < kFewest) return "nothing to remove";
    const QStringList measurements = ordered(rows.measurements.keys());
    const QStringList keys =
        ordered(rows.folders.keys()) + ordered(rows.units.keys()) + measurements + measurements + measurements;
    const QString key = any(keys);
    removeTree(rows, key);
    EXPECT_TRUE(colleague.commit());
    return "remove " + key;
  }
  QString theirName() {
    const RowTexts rows = serverRows(*server.core());
    const QStringList keys = ordered(rows.units.keys() + rows.measurements.keys());
    if (keys.isEmpty()) return "nothing to rename";
    const QString key = any(keys);
    colleague.change("IdentifiedObject", key, {"name_=" + newName()});
    EXPECT_TRUE(colleague.commit());
    return "rename " + key;
  }
  void removeTree(const RowTexts& rows, const QString& key) {
    if (rows.measurements.contains(key)) return removeMeasurement(rows, key);
    if (rows.units.contains(key)) {
      for (auto row = rows.measurements.begin(); row != rows.measurements.end(); ++row)
        if (part(row.value(), "RemoteUnitKey") == key) removeMeasurement(rows, row.key());
      colleague.remove("RemoteUnit", key);
      return;
    }
    for (auto row = rows.units.begin(); row != rows.units.end(); ++row)
      if (part(row.value(), "RemoteUnitFolderKey") == key) removeTree(rows, row.key());
    for (auto row = rows.folders.begin(); row != rows.folders.end(); ++row)
      if (part(row.value(), "ParentKey") == key) removeTree(rows, row.key());
    colleague.remove("RemoteUnitFolder", key);
  }
  void removeMeasurement(const RowTexts& rows, const QString& key) {
    const QString number = part(rows.measurements[key], "locId");
    for (auto row = rows.measurements.begin(); row != rows.measurements.end(); ++row)
      if (part(row.value(), "primaryLocId") == number)
        colleague.remove(part(row.value(), "ClassName").toLatin1(), row.key());
    colleague.remove(part(rows.measurements[key], "ClassName").toLatin1(), key);
  }

  // ---- between the acts ----
  // Writes that nobody waited for are carried out before a question that waits. An event may cause a write: a row
  // that goes moves the selection, and that saves what is pending.
  void letEventsIn() {
    int64_t last = -1;
    for (const auto& window : windows) carryOut(window->module);
    while (last != server.core()->lastSequence()) {
      last = server.core()->lastSequence();
      ASSERT_TRUE(processUntil([&] {
        return windows[0]->module.lastEvent >= last && windows[1]->module.lastEvent >= last;
      })) << "events do not arrive";
      for (const auto& window : windows) {
        answer(window->module.popMessageBox);
        carryOut(window->module);
      }
    }
  }
  static void carryOut(CTlmMeasConfig& module) {
    bool busy = false;
    module.LocIdIsBusy(1, busy);
  }
  void answer(CPopMessageBox* box) {
    if (!box || !box->isWaiting()) return;
    boxes[box->messageText()]++;
    answerBox(box, 0);
  }
  QStringList faults() {
    const RowTexts rows = serverRows(*server.core());
    QStringList all;
    QStringList unsaved;
    QStringList bothOpen = openUnits(windows[0]->module);
    const QStringList second = openUnits(windows[1]->module);
    bothOpen.erase(
        std::remove_if(bothOpen.begin(), bothOpen.end(), [&](const QString& unit) { return !second.contains(unit); }),
        bothOpen.end());
    for (const auto& window : windows) {
      const RowTexts held = moduleRows(window->module);
      const QString who = window == windows[0] ? "first: " : "second: ";
      for (const QString& each : treeFaults(window->module, unsavedKeys(held, rows))) all += who + "tree: " + each;
      for (const QString& each : arrayFaults(window->module, held, rows)) all += who + "arrays: " + each;
      for (const QString& each : window->mirror->faults()) all += who + "notifications: " + each;
      for (const QString& each : window->viewFaults()) all += who + "view: " + each;
      unsaved += unsavedKeys(held, rows);
    }
    const QString one = canonicalTree(windows[0]->module, unsaved, bothOpen);
    const QString other = canonicalTree(windows[1]->module, unsaved, bothOpen);
    if (one != other) all += "the trees differ:\n" + one + "\n" + other;
    return all;
  }

  // The acts that name a key that stands in one of the texts.
  QString actsOn(const QStringList& texts) {
    QStringList keys;
    const QRegularExpression key("[0-9A-F]{32}");
    for (auto hits = key.globalMatch(texts.join(' ').left(2000)); hits.hasNext();) keys += hits.next().captured();
    QStringList found;
    for (int i = 0; i < told.size(); ++i)
      for (const QString& each : qAsConst(keys))
        if (told[i].contains(each)) found += QString("%1: %2").arg(i).arg(told[i]);
    found.removeDuplicates();
    return found.join('\n');
  }

  // One act of one of them, written down in `told`.
  virtual void turn() = 0;
  // What is wrong after an act beside the trees.
  virtual QStringList moreFaults() { return {}; }

  void play() {
    std::printf("seed %u, %d acts (TLM_RANDOM_SEED, TLM_RANDOM_ACTS)\n", seed, acts);
    ASSERT_EQ(faults(), QStringList());
    noteKeys();
    QMap<QString, int> kinds;
    for (int i = 0; i < acts; ++i) {
      turn();
      kinds[told.last().section(' ', 0, 1)]++;
      letEventsIn();
      noteKeys();
      const QStringList wrong = faults() + moreFaults();
      ASSERT_TRUE(wrong.isEmpty()) << "seed " << seed << ", act " << i << "\n"
                                   << told.mid(std::max(0, told.size() - 12)).join('\n').toStdString() << "\n--\n"
                                   << actsOn(wrong).toStdString() << "\n--\n"
                                   << wrong.join('\n').toStdString();
    }
    for (auto kind = kinds.begin(); kind != kinds.end(); ++kind)
      std::printf("%6d %s\n", kind.value(), kind.key().toUtf8().constData());
    for (auto box = boxes.begin(); box != boxes.end(); ++box)
      std::printf("%6d box: %s\n", box.value(), box.key().toUtf8().constData());
  }

  const unsigned seed;
  const int acts;
  EmbeddedServer server;
  std::mt19937 random;
  Colleague colleague;
  std::vector<std::unique_ptr<Window>> windows;
  QStringList told;
  QHash<QString, int> seen;
  QMap<QString, int> boxes;
  int names = 0;
};

}  // namespace tlm::test

#endif
