// The property sheet: an object shown, a list of references opened, many objects merged, one step through the tree.
// Times of requests are taken apart: they are the server's.
#include <bench/bench.h>

#include <CTlmMeasConfig.h>
#include <ModelsTelemetry.h>
#include <RecordAccess.h>
#include <TMultiPasp.h>
#include <TlmClient/CLiteModel.h>
#include <TlmClient/CTlmCliApp.h>
#include <TlmClient/TlmSession.h>
#include <TlmServer/Core.h>
#include <TlmServer/Generate.h>
#include <TlmServer/MemoryStore.h>
#include <WorkWithData.h>
#include <bench/module/Station.h>
#include <host/embedded/EmbeddedTransport.h>

#include <QCoreApplication>
#include <QLineEdit>
#include <QListView>
#include <QStandardItemModel>
#include <QStringListModel>
#include <QTabWidget>
#include <QTreeView>
#include <QtTest/QTest>

#include <cstdio>
#include <cstring>
#include <memory>
#include <stdexcept>

#include "TimedSession.h"

namespace tlm::bench {
namespace {

constexpr int kUnits = 2;
constexpr int kMeasurements = 6'000;
constexpr int kMerged = 1'000;
constexpr int kListRows = 50'000;

// A module whose requests are timed.
class Desk : public CTlmCliApp {
 public:
  explicit Desk(server::Core& core)
      : real_(std::make_unique<EmbeddedTransport>(core, server::Caller{"bench"})),
        session(real_),
        module_(std::make_unique<CTlmMeasConfig>(this)) {
    module_->resize(1280, 800);
    module_->show();
    module_->ModuleStart();
    QCoreApplication::processEvents();
  }
  ~Desk() override { module_.reset(); }

  CTlmMeasConfig& module() { return *module_; }
  QTreeView& tree() { return *module_->findChild<QTreeView*>("tV_MeasConfig"); }
  QTreeView& sheet() { return *module_->findChild<QTreeView*>("tV_Prop"); }

  // The rows of the first group of a unit, which is opened for them.
  QModelIndex group(int unit, const char* className) {
    const MDRData* row = MDARec(module_->tblRemoteUnit.array, 0, unit);
    const QString key = fieldText(module_->tblRemoteUnit, row, 0, module_->moduleCodec);
    tree().expand(module_->treeModel->findByKey(key));
    const QModelIndex at = module_->treeModel->findByKey(key);
    for (int i = 0; i < module_->treeModel->rowCount(at); ++i) {
      QModelIndex found = module_->treeModel->index(i, 0, at);
      for (QModelIndex above = found; above.isValid(); above = above.parent()) tree().expand(above);
      if (module_->treeModel->index(0, 0, found).data(kClassRole) == className) return found;
    }
    return {};
  }

  CTlmCliAbo* ConnectModule(CTlmCliMod*) override { return &session; }
  void DisconnectModule(CTlmCliMod*) override {}
  QLibrary* ModuleLibrary(CTlmCliMod*) override { return nullptr; }
  QString ModuleInstance(CTlmCliMod*) override { return "1"; }
  void ModuleIsEdit(CTlmCliMod*, bool) override {}
  void ModuleTitle(CTlmCliMod*, const QString&, const QString&) override {}
  void ModuleMessage(CTlmCliMod*, const QString&) override {}
  bool ModuleCall(CTlmCliMod*, int, void*) override { return false; }

 private:
  TlmSession real_;

 public:
  TimedSession session;

 private:
  std::unique_ptr<CTlmMeasConfig> module_;
};

server::Core& core() {
  static const auto core = generatedCore(kUnits, kMeasurements);
  return *core;
}

void paint(QWidget& widget) { keep(widget.grab().width()); }

QStringList texts(const QModelIndex& row) {
  return {row.data().toString(), row.sibling(row.row(), 1).data().toString()};
}

// ---- passport.show ----

// The rows of a view as texts: those at the top, and below each of them.
using Rows = std::vector<std::pair<QStringList, std::vector<QStringList>>>;

Rows rowsOf(const QAbstractItemModel& model) {
  Rows out;
  for (int i = 0; i < model.rowCount(); ++i) {
    const QModelIndex top = model.index(i, 0);
    out.emplace_back(texts(top), std::vector<QStringList>());
    for (int j = 0; j < model.rowCount(top); ++j) out.back().second.push_back(texts(model.index(j, 0, top)));
  }
  return out;
}

QList<QStandardItem*> items(const QStringList& texts) {
  return {new QStandardItem(texts.value(0)), new QStandardItem(texts.value(1))};
}

double showItems(QTreeView& view, QStandardItemModel& model, const Rows& rows) {
  return seconds([&] {
    model.removeRows(0, model.rowCount());
    for (const auto& [top, below] : rows) {
      const QList<QStandardItem*> group = items(top);
      for (const QStringList& row : below) group.first()->appendRow(items(row));
      model.appendRow(group);
    }
    view.expandAll();
    paint(view);
  });
}

// Shows an object out of a model that was asked for before.
double showObject(Desk& desk, const QString& key, CLiteModel& model) {
  const double before = desk.session.requestSeconds;
  const double all = seconds([&] {
    QByteArray live("12.5");
    desk.module().passport.SetObject(key, &model, &desk.session, live.data(), nullptr, true, false);
    paint(desk.sheet());
  });
  return all - (desk.session.requestSeconds - before);
}

std::vector<Result> showBench() {
  Desk desk(core());
  const QModelIndex analogs = desk.group(0, "Analog");
  const QModelIndex discretes = desk.group(0, "Discrete");
  struct Object {
    QString key;
    CLiteModel model;
    Object(CTlmMeasConfig& module, const QModelIndex& row) : key(row.data(kKeyRole).toString()), model(nullptr) {
      module.getLiteModel(key, model);
    }
  };
  MeasConfTreeModel& model = *desk.module().treeModel;
  Object first(desk.module(), model.index(0, 0, analogs)), second(desk.module(), model.index(1, 0, analogs));
  Object other(desk.module(), model.index(0, 0, discretes));
  showObject(desk, first.key, first.model);
  const Rows rows = rowsOf(*desk.sheet().model());

  QTreeView bare;
  QStandardItemModel bareModel(0, 2);
  bare.setModel(&bareModel);
  bare.resize(desk.sheet().size());
  bare.setUniformRowHeights(true);
  bare.setColumnWidth(0, desk.sheet().columnWidth(0));
  bare.show();
  QCoreApplication::processEvents();
  const auto baseline = [&] { return showItems(bare, bareModel, rows); };
  const auto [anew, items] = inTurn(
      31,
      [&] {
        showObject(desk, other.key, other.model);
        return showObject(desk, first.key, first.model);
      },
      baseline);
  const auto [same, itemsAgain] = inTurn(
      31,
      [&] {
        showObject(desk, second.key, second.model);
        return showObject(desk, first.key, first.model);
      },
      baseline);
  return {atMost("passport.show", anew * 1e3, items * 1e3, "ms", 3),
          atMost("passport.show.same", same * 1e3, itemsAgain * 1e3, "ms", 3)};
}

// ---- passport.list ----

constexpr const char* kListTable = "PowerSystemResource";

// A generated model with that many rows of equipment.
std::unique_ptr<server::Core> coreWithEquipment() {
  using namespace server;
  std::string error;
  const auto data = makeMemoryStoreData(Catalogue::builtIn());
  auto store = openMemoryStore(data);
  ModelTables tables(Catalogue::builtIn(), ModelTables::Keys::kLater);
  GenerateOptions options;
  options.units = 1;
  options.measurements = 8;
  if (!generateModel(options, &tables, &error)) throw std::runtime_error(error);
  MDArray* equipment = tables.table(kListTable);
  QTextCodec* codec = QTextCodec::codecForName("Windows-1251");
  for (int i = MDARecCount(equipment); i < kListRows; ++i) {
    MDRData* record = MDARecNew(equipment);
    const QByteArray key = QByteArray::number(i).rightJustified(32, 'E');
    const QByteArray name =
        codec->fromUnicode(QString::fromUtf8("Присоединение %1 секции %2").arg((i * 7919) % kListRows).arg(i % 4));
    const MDRVar keyValue = textVar(key), nameValue = textVar(name);
    MDRSetVal(MDRFldByName(equipment, "KeyLink"), record, &keyValue);
    MDRSetVal(MDRFldByName(equipment, "name_"), record, &nameValue);
    MDARecPost(record, nullptr);
  }
  std::vector<std::pair<std::string, const MDArray*>> all;
  for (const TableDef& table : Catalogue::builtIn().tables())
    if (MDARecCount(tables.table(table.name)) > 0 && !Catalogue::describesItself(table.name))
      all.emplace_back(table.name, tables.table(table.name));
  if (!store->import(all, &error)) throw std::runtime_error(error);
  auto core = Core::open(std::move(store), {}, &error);
  if (!core) throw std::runtime_error(error);
  return core;
}

// The same rows, from the same request, in a bare list.
double openBareList(CTlmCliSes& session, QListView& view) {
  MDXCliParam* reply = nullptr;
  const QByteArray body = QByteArray(kListTable) + ",KeyLink,name_";
  session.PacketExec("TableRecords", reinterpret_cast<const unsigned char*>(body.constData()), body.size(), &reply);
  session.WaitResult(&reply, -1);
  QStringListModel model;
  const double taken = seconds([&] {
    int length = 0;
    void* bytes = nullptr;
    MDRGetTextRef(MDXParamFld(reply, MDX_REPLY_PAYLOAD), reply, &length, &bytes);
    CMDArray rows;
    MDXArrayUnPackN(rows.array, bytes, static_cast<size_t>(length), 1);
    QStringList names;
    names.reserve(MDARecCount(rows.array));
    for (int i = 0; i < MDARecCount(rows.array); ++i)
      names.append(fieldText(rows, MDARec(rows.array, 0, i), 1, session.Codec()));
    names.sort();
    model.setStringList(names);
    view.setModel(&model);
    view.show();
    paint(view);
  });
  view.hide();
  view.setModel(nullptr);
  session.PrmFree(reply);
  return taken;
}

// The list of the field "Оборудование", from the key that opens it to its picture.
double openReferenceList(Desk& desk) {
  QTreeView& sheet = desk.sheet();
  QAbstractItemModel& model = *sheet.model();
  const QModelIndex row = model
                              .match(model.index(0, 0), Qt::DisplayRole, QString::fromUtf8("Оборудование"), 1,
                                     Qt::MatchExactly | Qt::MatchRecursive)
                              .value(0);
  sheet.setCurrentIndex(row.sibling(row.row(), 1));
  sheet.edit(row.sibling(row.row(), 1));
  auto* editor = sheet.viewport()->findChild<QLineEdit*>();
  if (!editor) throw std::runtime_error("no editor for the list");
  const double before = desk.session.requestSeconds;
  double taken = seconds([&] {
    QTest::keyClick(editor, Qt::Key_Down);
    paint(*desk.module().findChild<QListView*>("referenceList"));
  });
  taken -= desk.session.requestSeconds - before;
  QTest::keyClick(editor, Qt::Key_Escape);
  QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
  QCoreApplication::processEvents();
  return taken;
}

std::vector<Result> listBench() {
  const auto large = coreWithEquipment();
  Desk desk(*large);
  const QModelIndex group = desk.group(0, "Analog");
  desk.tree().setCurrentIndex(desk.module().treeModel->index(0, 0, group));
  QListView bare;
  bare.setUniformItemSizes(true);
  bare.resize(240, 300);
  const auto [ours, plain] = inTurn(
      9, [&] { return openReferenceList(desk); }, [&] { return openBareList(desk.session, bare); });
  return {atMost("passport.list", ours * 1e3, plain * 1e3, "ms", 2)};
}

// ---- passport.merge ----

// Each value read once and compared with that of the first object.
double comparePlainly(const CMDArray& records, const std::vector<const MDRData*>& rows, const QStringList& fields) {
  int differing = 0;
  const double taken = seconds([&] {
    for (const QString& field : fields) {
      const MDRField* handle = MDRFldByName(records.array, field.section('.', 1).toLatin1().constData());
      MDRVar first{};
      MDRGetVal(handle, rows.front(), &first);
      bool agree = true;
      for (const MDRData* row : rows) {
        MDRVar value{};
        MDRGetVal(handle, row, &value);
        const bool isText = value.type == MDX_TEXT || value.type == MDX_MEMO;
        agree &= value.isNull == first.isNull &&
                 (isText ? value.text.length == first.text.length &&
                               std::memcmp(value.text.data, first.text.data, value.text.length) == 0
                         : value.i64 == first.i64);
      }
      differing += !agree;
    }
  });
  keep(differing);
  return taken;
}

std::vector<Result> mergeBench() {
  Desk desk(core());
  const QModelIndex group = desk.group(0, "Analog");
  MeasConfTreeModel& model = *desk.module().treeModel;
  const int count = std::min(kMerged, model.rowCount(group));
  if (count < kMerged) throw std::runtime_error("too few measurements to merge");
  QItemSelectionModel& selection = *desk.tree().selectionModel();
  desk.tree().setCurrentIndex(model.index(0, 0, group));
  TimedSession& session = desk.session;
  session.requests = session.liteModels = 0;
  selection.select(QItemSelection(model.index(0, 0, group), model.index(kMerged - 1, 0, group)),
                   QItemSelectionModel::ClearAndSelect);
  const int asked = session.requests;

  QStringList fields;
  desk.module().passport.GetPassportFields(fields);
  QStringList keys;
  for (const QModelIndex& row : selection.selectedIndexes()) keys.append(row.data(kKeyRole).toString());
  CMDArray records;
  if (!GetRecByKey(&session, keys.join(',').toStdString(), &records)) throw std::runtime_error("no records");
  std::vector<const MDRData*> rows;
  for (int i = 0; i < MDARecCount(records.array); ++i) rows.push_back(MDARec(records.array, 0, i));
  int agreeing = 0;
  const auto merge = [&] {
    TMultiPasp callback(&desk.module(), &desk.tree(), records);
    const double before = session.requestSeconds;
    session.liteModels = 0;
    const double all = seconds([&] {
      QString value;
      for (const QString& field : fields) callback.func(field, value);
    });
    agreeing = session.liteModels;
    return all - (session.requestSeconds - before);
  };
  const auto [ours, plain] = inTurn(15, merge, [&] { return comparePlainly(records, rows, fields); });
  std::printf("  %d objects, %d fields, %d of them alike\n", count, static_cast<int>(fields.size()), agreeing);
  return {atMost("passport.merge", ours * 1e3, plain * 1e3, "ms", 3),
          // One model for the sheet, the records at once, one model for each field that all have in common.
          atMost("passport.merge.requests", asked, 2 + agreeing, "requests", 1)};
}

// ---- passport.step ----

// The down key held in the tree: one step, requests included, against a frame of a 60 Hz screen.
std::vector<Result> stepBench() {
  Desk desk(core());
  const QModelIndex group = desk.group(0, "Analog");
  QTreeView& tree = desk.tree();
  tree.setCurrentIndex(desk.module().treeModel->index(0, 0, group));
  QCoreApplication::processEvents();
  std::vector<double> steps;
  for (int i = 0; i < 100; ++i)
    steps.push_back(seconds([&] {
      QTest::keyPress(&tree, Qt::Key_Down);
      paint(*desk.module().centralWidget());
      QCoreApplication::processEvents();
    }));
  std::sort(steps.begin(), steps.end());
  return {atMost("passport.step", median(steps) * 1e3, 1e3 / 60, "ms", 1),
          atMost("passport.step.slow", steps[steps.size() * 95 / 100] * 1e3, 1e3 / 60, "ms", 2)};
}

}  // namespace

void addPassportBenches(Registry& registry);
void addPassportBenches(Registry& registry) {
  registry.add("passport.show", showBench);
  registry.add("passport.list", listBench);
  registry.add("passport.merge", mergeBench);
  registry.add("passport.step", stepBench);
}

}  // namespace tlm::bench
