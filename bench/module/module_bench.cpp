// The configurator at work on large models: start, opening of units, search by key, painting.
#include <bench/bench.h>

#include <QCoreApplication>
#include <QHash>
#include <QHeaderView>
#include <QPixmap>
#include <QScrollBar>

#include <malloc.h>
#include <unistd.h>
#include <fstream>
#include <random>

#include "StandardTree.h"
#include "Station.h"
#include "paste_bench.h"
#include "search_bench.h"
#include "series_bench.h"
#include "treeEvents_bench.h"
#include "tree_bench.h"

namespace tlm::bench {
namespace {

constexpr int kUnits = 10'000;
constexpr int kMany = 1'000'000;
constexpr int kFew = 10'000;

server::Core& largeCore() {
  static const auto core = generatedCore(kUnits, kMany);
  return *core;
}

void paint(QWidget& widget) { keep(widget.grab().width()); }

// ---- start ----

double startOf(server::Core& core) {
  Station station(core);
  return seconds([&] {
    station.module().ModuleStart();
    paint(station.view());
  });
}

double startOfItems(const QTreeView& like, const QStringList& names) {
  const auto view = viewLike(like);
  QStandardItemModel model;
  return seconds([&] {
    for (const QString& name : names)
      model.invisibleRootItem()->appendRow({new QStandardItem(name), new QStandardItem()});
    view->setModel(&model);
    paint(*view);
  });
}

std::vector<Result> startBench() {
  const auto small = generatedCore(kUnits, kFew);
  Station shown(*small);
  QStringList names;
  for (int i = 0; i < kUnits; ++i) names.append(QString("КП-%1 Подстанция").arg(i));
  const auto [many, few] = inTurn(
      5, [&] { return startOf(largeCore()); }, [&] { return startOf(*small); });
  const auto [ours, items] = inTurn(
      5, [&] { return startOf(largeCore()); }, [&] { return startOfItems(shown.view(), names); });
  return {atMost("start.measurements", many * 1e3, few * 1e3, "ms", 1.3),
          atMost("start.items", ours * 1e3, items * 1e3, "ms", 3)};
}

// ---- expand ----

void openWithGroups(QTreeView& view, const QModelIndex& unit) {
  view.expand(unit);
  for (int row = 0; row < view.model()->rowCount(unit); ++row) view.expand(view.model()->index(row, 0, unit));
  view.scrollTo(unit, QAbstractItemView::PositionAtTop);
  paint(view);
}

double openItems(const QTreeView& like, const QModelIndex& source) {
  const auto view = viewLike(like);
  QStandardItemModel model;
  auto* unit = new QStandardItem(source.data().toString());
  model.appendRow({unit, new QStandardItem()});
  view->setModel(&model);
  paint(*view);
  return seconds([&] {
    copyRows(source, unit, Copy::kTexts);
    openWithGroups(*view, unit->index());
  });
}

std::vector<Result> expandBench() {
  const auto core = generatedCore(100, 100'000);
  Station station(*core);
  station.module().ModuleStart();
  std::vector<double> ours;
  std::vector<double> items;
  for (int i = 0; i < 21; ++i) {
    const QModelIndex unit = station.unit(i);
    QCoreApplication::processEvents();
    paint(station.view());
    ours.push_back(seconds([&] { openWithGroups(station.view(), unit); }));
    items.push_back(openItems(station.view(), unit));
    station.view().collapse(unit);
  }
  return {atMost("expand", median(ours) * 1e3, median(items) * 1e3, "ms", 1)};
}

// ---- expand.all, find.key ----

double residentBytes() {
  std::ifstream status("/proc/self/statm");
  double size = 0, resident = 0;
  status >> size >> resident;
  return resident * static_cast<double>(sysconf(_SC_PAGESIZE));
}

// A module with every unit of the large model opened.
struct Opened {
  Opened() : station(largeCore()) {
    station.module().ModuleStart();
    std::vector<QModelIndex> units;
    for (int i = 0; i < kUnits; ++i) units.push_back(station.unit(i));
    malloc_trim(0);
    const double before = residentBytes();
    for (const QModelIndex& unit : units) times.push_back(seconds([&] { station.view().expand(unit); }));
    malloc_trim(0);
    bytesEach = (residentBytes() - before) / kMany;
  }
  Station station;
  std::vector<double> times;
  double bytesEach;
};

std::vector<Result> expandAllBench() {
  const Opened all;
  const std::vector<double>& times = all.times;
  const double first = median({times.begin(), times.begin() + 100});
  const double last = median({times.end() - 100, times.end()});
  return {atMost("expand.all", last * 1e3, first * 1e3, "ms", 1.5),
          atMost("expand.all.memory", all.bytesEach, 600, "bytes", 1)};
}

std::vector<Result> findKeyBench() {
  Opened all;
  Station& station = all.station;
  const CMDArray& rows = station.module().measRecords;
  QHash<QString, const MDRData*> hash;
  std::vector<QString> keys;
  for (int i = 0; i < MDARecCount(rows.array); ++i) {
    const MDRData* row = MDARec(rows.array, 0, i);
    MDRVar key{};
    rows.GetVal(row, 0, key);
    keys.push_back(QString::fromLatin1(key.text.data, static_cast<int>(key.text.length)));
    // With a text of its own: a key that is looked up comes from a row or an event, not out of the hash.
    hash.insert(QString(keys.back().constData(), keys.back().size()), row);
  }
  std::shuffle(keys.begin(), keys.end(), std::mt19937(3));
  const int count = std::min<int>(200'000, static_cast<int>(keys.size()));
  const auto perCall = [&](auto&& look) {
    return seconds([&] {
             for (int i = 0; i < count; ++i) look(keys[i]);
           }) /
           count * 1e9;
  };
  const auto [ours, plain] = inTurn(
      5, [&] { return perCall([&](const QString& key) { keep(station.model().findByKey(key).row()); }); },
      [&] { return perCall([&](const QString& key) { keep(hash.value(key)); }); });
  return {atMost("find.key", ours, plain, "ns", 5)};
}

// ---- repaint ----

constexpr int kPageRows = 50;

void fitPage(QTreeView& view, int rowHeight) {
  view.setMinimumSize(600, rowHeight * kPageRows + view.header()->height() + 2 * view.frameWidth());
  view.resize(view.minimumSize());
}

double secondsAPage(QTreeView& view) {
  QScrollBar& bar = *view.verticalScrollBar();
  const int pages = 18;
  return seconds([&] {
           for (int page = 0; page < pages; ++page) {
             bar.setValue(bar.minimum() + (bar.maximum() - bar.minimum()) * page / (pages - 1));
             keep(view.viewport()->grab().width());
           }
         }) /
         pages;
}

std::vector<Result> repaintBench() {
  const auto core = generatedCore(10, 10'000);
  Station station(*core);
  station.module().ModuleStart();
  station.unit(0);
  station.view().expandToDepth(1);
  const QModelIndex unit = station.unit(0);
  openWithGroups(station.view(), unit);
  // Both in views that are alike: the tree's own model, and a copy of its rows with texts, icons and colours.
  const auto ours = viewLike(station.view());
  const auto theirs = viewLike(station.view());
  QStandardItemModel model;
  copyRows(unit, model.invisibleRootItem(), Copy::kTextsIconsColours);
  ours->setModel(&station.model());
  ours->setRootIndex(unit);
  theirs->setModel(&model);
  for (QTreeView* view : {ours.get(), theirs.get()}) {
    view->expandAll();
    fitPage(*view, view->visualRect(view->model()->index(0, 0, view->rootIndex())).height());
    QCoreApplication::processEvents();
  }
  const auto [own, items] = inTurn(
      11, [&] { return secondsAPage(*ours); }, [&] { return secondsAPage(*theirs); });
  return {atMost("repaint", own * 1e3, items * 1e3, "ms", 1.3)};
}

}  // namespace

void addModuleBenches(Registry& registry);
void addModuleBenches(Registry& registry) {
  registry.add("start", startBench);
  registry.add("expand", expandBench);
  registry.add("expand.all", expandAllBench);
  registry.add("find.key", findKeyBench);
  registry.add("repaint", repaintBench);
  addTreeEventBenches(registry);
  addTreeBenches(registry);
  addSearchBenches(registry);
  addPasteBenches(registry);
  addSeriesBenches(registry);
}

}  // namespace tlm::bench
