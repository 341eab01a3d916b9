// Copies by the clipboard: the block of a pasted unit on a server with a store on disk, the document of a folder of
// units that were never opened, and what one object costs in a small paste and in a large one.
#include "paste_bench.h"

#include <TlmClient/CTlmCliSes.h>
#include <TlmMdx/values.h>
#include <TlmServer/Generate.h>
#include <TlmServer/MemoryStore.h>
#include <TlmServer/SampleModel.h>
#include <TlmServer/SqliteStore.h>
#include <bench/Folder.h>
#include <host/embedded/EmbeddedTransport.h>
#include <sqlite3.h>

#include <QCoreApplication>
#include <QDomDocument>

#include <stdexcept>
#include <thread>

#include "Station.h"

namespace tlm::bench {
namespace {

using namespace server;

void check(bool good, const std::string& what) {
  if (!good) throw std::runtime_error(what);
}

// ---- models whose highest number has holes below it for every paste ---------------------------------------

constexpr int kHighest = 2'000'000'000;

void fillWithHoles(int units, int measurements, ModelTables* tables) {
  std::string error;
  GenerateOptions options;
  options.units = units;
  options.measurements = measurements;
  check(generateModel(options, tables, &error), error);
  MDArray* rows = tables->table("Measurement");
  MDRData* last = MDARecEdit(MDARec(rows, 1, MDARecCount(rows) - 1));
  const MDRVar number = mdx::int64Var(kHighest);
  check(MDRSetVal(MDRFldByName(rows, "locId"), last, &number) >= 0 && MDARecPost(last, nullptr) >= 0, "number");
}

std::unique_ptr<Core> opened(std::unique_ptr<Store> store, std::string error) {
  check(store != nullptr, error);
  auto core = Core::open(std::move(store), {}, &error);
  check(core != nullptr, error);
  return core;
}

std::unique_ptr<Store> storeOnDisk(const std::string& path, int units, int measurements) {
  ModelTables tables(Catalogue::builtIn());
  fillWithHoles(units, measurements, &tables);
  std::string error;
  auto store = createSqliteStore(path, Catalogue::builtIn(), tablesToStore(tables), &error);
  check(store != nullptr, error);
  return store;
}

std::unique_ptr<Core> coreInMemory(int units, int measurements) {
  ModelTables tables(Catalogue::builtIn());
  fillWithHoles(units, measurements, &tables);
  auto store = openMemoryStore(makeMemoryStoreData(Catalogue::builtIn()));
  std::string error;
  check(store->import(tablesToStore(tables), &error), error);
  return opened(std::move(store), error);
}

// ---- the line that keeps the block that wrote last, and its time on the server ----------------------------

class KeepingTransport : public ITransport {
 public:
  explicit KeepingTransport(Core& core) : core_(core), rest_(core, Caller{"bench"}) {}
  ~KeepingTransport() override { answered(); }

  wire::Block block;
  double blockSeconds = 0;

  void setListener(TransportListener* listener) override { rest_.setListener(listener_ = listener); }
  bool send(uint64_t id, wire::Block sent) override {
    if (sent.identity.empty()) return rest_.send(id, std::move(sent));
    answered();
    block = std::move(sent);
    wire::BlockReply reply;
    blockSeconds = seconds([&] { reply = core_.execute(block, Caller{"bench"}); });
    check(reply.whole.status == wire::kOk, "the block was refused");
    answer_ = std::thread([this, id, reply = std::move(reply)] { listener_->onReply(id, reply); });
    return true;
  }
  std::optional<wire::BlockReply> carryOut(uint64_t id) override { return rest_.carryOut(id); }
  void subscribeEvents(const std::vector<int>& kinds) override { rest_.subscribeEvents(kinds); }
  void subscribeValues(const std::vector<int>& locIds) override { rest_.subscribeValues(locIds); }
  bool alive() const override { return true; }

 private:
  void answered() {
    if (answer_.joinable()) answer_.join();
  }

  Core& core_;
  EmbeddedTransport rest_;
  TransportListener* listener_ = nullptr;
  std::thread answer_;
};

// ---- the same rows in plain SQLite, into tables of the same model ------------------------------------------

class PlainInserts {
 public:
  explicit PlainInserts(const std::string& path) {
    check(sqlite3_open(path.c_str(), &db_) == SQLITE_OK, "plain file");
    run("PRAGMA journal_mode=WAL");
    run("PRAGMA synchronous=FULL");
  }
  ~PlainInserts() { sqlite3_close(db_); }

  // Seconds of the one transaction; the rows are unpacked before.
  double insert(const wire::Block& block) {
    std::vector<Table> tables;
    for (const wire::Request& request : block.requests) tables.push_back(table(request));
    const double taken = seconds([&] {
      run("BEGIN");
      for (Table& each : tables) insertRows(each);
      run("COMMIT");
    });
    for (Table& each : tables) sqlite3_finalize(each.insert);
    return taken;
  }

 private:
  struct Table {
    std::unique_ptr<CMDArray> rows = std::make_unique<CMDArray>();
    sqlite3_stmt* insert = nullptr;
  };

  void run(const std::string& sql) {
    check(sqlite3_exec(db_, sql.c_str(), nullptr, nullptr, nullptr) == SQLITE_OK, sql + ": " + sqlite3_errmsg(db_));
  }

  Table table(const wire::Request& request) {
    Table made;
    check(MDXArrayUnPackN(made.rows->array, request.body.data(), request.body.size(), 0) == 0, request.name);
    std::string columns;
    std::string places;
    for (int i = 0; i < MDAFldCount(made.rows->array); ++i) {
      columns += std::string(i ? "," : "") + '"' + MDAFldName(made.rows->array, i) + '"';
      places += i ? ",?" : "?";
    }
    const std::string sql = "INSERT INTO \"" + request.name + "\"(" + columns + ") VALUES(" + places + ")";
    check(sqlite3_prepare_v2(db_, sql.c_str(), -1, &made.insert, nullptr) == SQLITE_OK, sql);
    return made;
  }

  static void bind(sqlite3_stmt* insert, int place, const MDRVar& value) {
    if (!mdx::hasValue(value))
      sqlite3_bind_null(insert, place);
    else if (mdx::hasTextType(value))
      sqlite3_bind_text(insert, place, value.text.data, static_cast<int>(value.text.length), SQLITE_STATIC);
    else if (value.type == MDX_DOUBLE)
      sqlite3_bind_double(insert, place, value.f64);
    else
      sqlite3_bind_int64(insert, place, value.type == MDX_INT64 ? +value.i64 : +value.i32);
  }

  static void insertRows(Table& each) {
    const MDArray* rows = each.rows->array;
    const int fields = MDAFldCount(rows);
    const int count = MDARecCount(rows);
    for (int row = 0; row < count; ++row) {
      const MDRData* record = MDARec(rows, 0, row);
      for (int i = 0; i < fields; ++i) {
        MDRVar value{};
        MDRGetVal(MDRFldByNum(rows, i), record, &value);
        bind(each.insert, i + 1, value);
      }
      check(sqlite3_step(each.insert) == SQLITE_DONE, "insert");
      sqlite3_reset(each.insert);
    }
  }

  sqlite3* db_ = nullptr;
};

// ---- what is pasted ---------------------------------------------------------------------------------------

QModelIndex firstFolder(Station& station) {
  const MeasConfTreeModel& model = station.model();
  for (int row = 0; row < model.rowCount(); ++row)
    if (model.nodeFromIndex(model.index(row, 0))->isFolder) return model.index(row, 0);
  throw std::runtime_error("no folder");
}

// Pastes a unit into a folder as a copy, and waits until the tree shows all of it.
double secondsOfPaste(Station& station, const QString& document) {
  const QModelIndex folder = firstFolder(station);
  return seconds([&] {
    station.module().ParseUpLevelXml(document, folder, true, true);
    QCoreApplication::processEvents();
  });
}

QString documentOf(Station& station, const QModelIndex& unit) {
  return station.module().makeDocument({unit}, false, false);
}

// ---- paste.unit -------------------------------------------------------------------------------------------

constexpr int kPasteUnits = 100;
constexpr int kPasteMeasurements = 100'000;

std::vector<Result> unitBench() {
  const Folder folder;
  storeOnDisk(folder.file("plain.tlm"), kPasteUnits, kPasteMeasurements);
  const auto core = opened(storeOnDisk(folder.file("paste.tlm"), kPasteUnits, kPasteMeasurements), {});
  auto line = std::make_unique<KeepingTransport>(*core);
  KeepingTransport& kept = *line;
  Station station(std::move(line));
  station.module().ModuleStart();
  const QString document = documentOf(station, station.unit(0));
  PlainInserts plain(folder.file("plain.tlm"));
  const auto [ours, bare] = inTurn(
      11,
      [&] {
        secondsOfPaste(station, document);
        return kept.blockSeconds;
      },
      [&] { return plain.insert(kept.block); });
  return {atMost("paste.unit", ours * 1e3, bare * 1e3, "ms", 3)};
}

// ---- copy.folder ------------------------------------------------------------------------------------------

QDomElement copyOf(const QDomElement& element, QDomDocument& document) {
  QDomElement made = document.createElement(element.tagName());
  const QDomNamedNodeMap attributes = element.attributes();
  for (int i = 0; i < attributes.size(); ++i) {
    const QDomAttr attribute = attributes.item(i).toAttr();
    made.setAttribute(attribute.name(), attribute.value());
  }
  for (QDomElement child = element.firstChildElement(); !child.isNull(); child = child.nextSiblingElement())
    made.appendChild(copyOf(child, document));
  return made;
}

// The same units by bare requests, the same document built and read once.
double secondsOfBareCopy(Station& station, const QStringList& units, const QDomDocument& pattern) {
  return seconds([&] {
    for (const QString& unit : units) {
      QStringList keys;
      station.module().GetMeasurementsForRTU(unit, &keys, false, QString());
      keep(keys.size());
    }
    QDomDocument document(QStringLiteral("MyTreeCopy"));
    document.appendChild(copyOf(pattern.documentElement(), document));
    QDomDocument read;
    check(read.setContent(document.toString(1)), "document");
  });
}

std::vector<Result> folderBench() {
  const auto core = coreInMemory(100, 10'000);
  QStringList units;
  QDomDocument pattern;
  const auto ours = [&] {
    Station station(*core);
    CTlmMeasConfig& module = station.module();
    module.ModuleStart();
    station.view().selectAll();
    QCoreApplication::processEvents();
    const double taken = seconds([&] { module.ExecActCopy(QModelIndex()); });
    check(MDARecCount(module.measRecords.array) == 10'000 && pattern.setContent(module.clipText), "copy");
    units = module.loadedRemoteUnits;
    return taken;
  };
  Station bare(*core);
  bare.module().ModuleStart();
  const auto [mine, plain] = inTurn(9, ours, [&] { return secondsOfBareCopy(bare, units, pattern); });
  check(units.size() == 100, "units");
  return {atMost("copy.folder", mine * 1e3, plain * 1e3, "ms", 2)};
}

// ---- paste.scale ------------------------------------------------------------------------------------------

// Seconds for each object of a paste of one unit with all its measurements.
double secondsAnObject(int objects, int pastes) {
  const auto core = coreInMemory(2, 2 * (objects - 1));
  Station station(*core);
  station.module().ModuleStart();
  const QString document = documentOf(station, station.unit(0));
  std::vector<double> taken;
  for (int i = 0; i < pastes; ++i) taken.push_back(secondsOfPaste(station, document) / objects);
  return median(taken);
}

std::vector<Result> scaleBench() {
  const auto [large, small] = inTurn(
      5, [] { return secondsAnObject(10'000, 1); }, [] { return secondsAnObject(10, 50); });
  return {atMost("paste.scale", large * 1e6, small * 1e6, "us/object", 1.5)};
}

}  // namespace

void addPasteBenches(Registry& registry) {
  registry.add("paste.unit", unitBench);
  registry.add("copy.folder", folderBench);
  registry.add("paste.scale", scaleBench);
}

}  // namespace tlm::bench
