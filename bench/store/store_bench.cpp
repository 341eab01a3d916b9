// store.commit: a durable block of three records against the bare append of the same bytes.
// store.load: the start of the server core on a million measurements against a SELECT of the same rows that keeps
// nothing.
#include <TlmServer/Core.h>
#include <TlmServer/Generate.h>
#include <TlmServer/SampleModel.h>
#include <TlmServer/SqliteStore.h>
#include <fcntl.h>
#include <malloc.h>
#include <sqlite3.h>
#include <unistd.h>

#include <bench/Folder.h>
#include <bench/bench.h>

#include <cstdio>
#include <fstream>
#include <stdexcept>

namespace tlm::bench {
namespace {

using namespace tlm::server;

std::unique_ptr<Store> made(std::unique_ptr<Store> store, const std::string& error) {
  if (!store) throw std::runtime_error(error);
  return store;
}

// ---- store.commit ----

constexpr int kRounds = 9;
constexpr int kCommits = 400;

// Blocks as a rename writes them: the three rows of a measurement, with an event each.
class Blocks {
 public:
  explicit Blocks(const ModelTables& tables) : tables_(tables) {}

  const Commit& next() {
    commit_ = {};
    char identity[33];
    std::snprintf(identity, sizeof identity, "%032d", ++number_);
    commit_.identity = identity;
    for (const char* name : {"IdentifiedObject", "Measurement", "Analog"}) {
      MDArray* table = tables_.table(name);
      MDRData* record = MDARec(tables_.table("Analog"), 0, number_ % MDARecCount(tables_.table("Analog")));
      MDRVar key{};
      MDRGetVal(MDRFldByNum(tables_.table("Analog"), 0), record, &key);
      record = MDARecSeekV(table, 0, &key, nullptr);
      addChange(name, {key.text.data, key.text.length}, table, record);
    }
    return commit_;
  }

  size_t bytes() const {
    size_t all = commit_.identity.size();
    for (const wire::Event& event : commit_.events) all += event.key.size() + event.param.size() + event.image->size();
    return all;
  }

 private:
  void addChange(const char* name, std::string key, MDArray* table, MDRData* record) {
    MDRRecPack(table, record, 1, 1);
    wire::Event event;
    event.sequence = ++sequence_;
    event.kind = 602;
    event.time = 46000.5;
    event.key = key;
    event.param = std::string("tbl=") + name + ",";
    event.user = "bench";
    event.image.emplace(reinterpret_cast<const char*>(record->packed), record->packedLength);
    commit_.events.push_back(std::move(event));
    commit_.changes.push_back({name, MDX_REC_UPDATE, std::move(key), record});
  }

  const ModelTables& tables_;
  Commit commit_;
  int number_ = 0;
  int64_t sequence_ = 0;
};

double appendAndSync(int fd, const std::string& bytes) {
  return seconds([&] {
           for (int i = 0; i < kCommits; ++i)
             if (write(fd, bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size()) || fdatasync(fd) != 0)
               throw std::runtime_error("the plain file cannot be written");
         }) /
         kCommits;
}

std::vector<Result> commitBench() {
  const Folder folder;
  ModelTables tables(Catalogue::builtIn());
  std::string error;
  GenerateOptions options;
  options.measurements = 100'000;
  options.units = 1000;
  if (!generateModel(options, &tables, &error)) throw std::runtime_error(error);
  const auto store =
      made(createSqliteStore(folder.file("commit.tlm"), Catalogue::builtIn(), tablesToStore(tables), &error), error);
  Blocks blocks(tables);
  blocks.next();
  const std::string bytes(blocks.bytes(), 'x');
  const int fd = open(folder.file("plain").c_str(), O_CREAT | O_WRONLY | O_APPEND | O_CLOEXEC, 0600);
  const auto ours = [&] {
    return seconds([&] {
             for (int i = 0; i < kCommits; ++i)
               if (!store->commit(blocks.next(), &error)) throw std::runtime_error(error);
           }) /
           kCommits;
  };
  const auto [mine, plain] = inTurn(kRounds, ours, [&] { return appendAndSync(fd, bytes); });
  close(fd);
  return {atLeast("store.commit", 1 / mine, 1 / plain, "blocks/s", 0.5)};
}

// ---- store.load ----

constexpr int kMeasurements = 1'000'000;
constexpr int kUnits = 10'000;

double residentMegabytes() {
  std::ifstream status("/proc/self/statm");
  size_t size = 0, resident = 0;
  status >> size >> resident;
  return static_cast<double>(resident) * static_cast<double>(sysconf(_SC_PAGESIZE)) / (1 << 20);
}

void makeLarge(const std::string& path) {
  ModelTables tables(Catalogue::builtIn(), ModelTables::Keys::kLater);
  std::string error;
  GenerateOptions options;
  options.units = kUnits;
  options.measurements = kMeasurements;
  if (!generateModel(options, &tables, &error)) throw std::runtime_error(error);
  made(createSqliteStore(path, Catalogue::builtIn(), tablesToStore(tables), &error), error);
}

double loadAll(const std::string& path, double* memory) {
  malloc_trim(0);
  const double before = residentMegabytes();
  std::unique_ptr<Core> core;
  const double taken = seconds([&] {
    std::string error;
    auto store = made(openSqliteStore(path, Catalogue::builtIn(), &error), error);
    core = Core::open(std::move(store), {}, &error);
    if (!core) throw std::runtime_error(error);
  });
  *memory = residentMegabytes() - before;
  return taken;
}

// Every value of every row through the C interface, the texts by pointer and length.
int64_t readRows(sqlite3* db, const std::string& table) {
  sqlite3_stmt* rows = nullptr;
  if (sqlite3_prepare_v2(db, ("SELECT * FROM \"" + table + "\"").c_str(), -1, &rows, nullptr) != SQLITE_OK)
    throw std::runtime_error(sqlite3_errmsg(db));
  int64_t sum = 0;
  const int columns = sqlite3_column_count(rows);
  while (sqlite3_step(rows) == SQLITE_ROW) {
    for (int i = 0; i < columns; ++i) {
      switch (sqlite3_column_type(rows, i)) {
        case SQLITE_INTEGER:
          sum += sqlite3_column_int64(rows, i);
          break;
        case SQLITE_FLOAT:
          sum += static_cast<int64_t>(sqlite3_column_double(rows, i));
          break;
        case SQLITE_TEXT:
          sum += sqlite3_column_text(rows, i)[0] + sqlite3_column_bytes(rows, i);
          break;
        default:
          break;
      }
    }
  }
  sqlite3_finalize(rows);
  return sum;
}

double selectAll(const std::string& path) {
  return seconds([&] {
    sqlite3* db = nullptr;
    if (sqlite3_open_v2(path.c_str(), &db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr) != SQLITE_OK)
      throw std::runtime_error("the store cannot be opened");
    for (const TableDef& table : Catalogue::builtIn().tables())
      if (!Catalogue::describesItself(table.name)) keep(readRows(db, table.name));
    sqlite3_close(db);
  });
}

std::vector<Result> loadBench() {
  const Folder folder;
  const std::string path = folder.file("load.tlm");
  makeLarge(path);
  double memory = 0;
  double most = 0;
  const auto ours = [&] {
    const double taken = loadAll(path, &memory);
    most = std::max(most, memory);
    return taken;
  };
  const auto [mine, bare] = inTurn(3, ours, [&] { return selectAll(path); });
  return {atMost("store.load", mine, bare, "s", 2), atMost("store.load.memory", most, 4096, "MiB", 1)};
}

}  // namespace

void addStoreBenches(Registry& registry) {
  registry.add("store.commit", commitBench);
  registry.add("store.load", loadBench);
}

}  // namespace tlm::bench
