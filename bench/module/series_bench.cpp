// A series of 1 000 measurements with two aggregated ones each, into a model of a million: the block alone on the
// server against the bare insert of its rows, and the search for its numbers against the same search in C++.
#include "series_bench.h"

#include <ChangeSet.h>
#include <MeasScripts.h>
#include <RecordAccess.h>
#include <TlmServer/Generate.h>
#include <TlmServer/SampleModel.h>
#include <TlmServer/Script.h>
#include <TlmServer/SqliteStore.h>
#include <sqlite3.h>

#include <QTemporaryDir>

#include <algorithm>
#include <memory>
#include <stdexcept>
#include <string>

#include "Station.h"

namespace tlm::bench {
namespace {

using namespace server;

constexpr int kUnits = 10'000;
constexpr int kMany = 1'000'000;
constexpr int kCopies = 1'000;
constexpr int kChildren = 2;
constexpr int kNumbersForChildren = (kCopies + 1) * 7;  // as the command asks for
constexpr int kRounds = 5;

void require(bool right, const std::string& what) {
  if (!right) throw std::runtime_error("series: " + what);
}

// Two equal files on a real disk: one for the server, one for bare inserts.
struct Files {
  Files()
      : folder((std::getenv("TLM_BENCH_DIR") ? std::getenv("TLM_BENCH_DIR") : "/var/tmp") +
               QString("/tlm_series_XXXXXX")) {
    ModelTables tables(Catalogue::builtIn(), ModelTables::Keys::kLater);
    std::string error;
    GenerateOptions options;
    options.units = kUnits;
    options.measurements = kMany;
    require(generateModel(options, &tables, &error), error);
    for (const char* name : {"served", "bare"})
      require(createSqliteStore(path(name), Catalogue::builtIn(), tablesToStore(tables), &error) != nullptr, error);
  }
  std::string path(const char* name) const { return folder.filePath(name).toStdString(); }
  QTemporaryDir folder;
};

struct Served {
  Served() {
    std::string error;
    auto store = openSqliteStore(files.path("served"), Catalogue::builtIn(), &error);
    require(store != nullptr, error);
    core = Core::open(std::move(store), {}, &error);
    require(core != nullptr, error);
  }
  Files files;
  std::unique_ptr<Core> core;
};

Served& served() {
  static Served one;
  return one;
}

// ---- the block ---------------------------------------------------------------------------------------------

// An analog measurement, and two others that stand for its aggregated ones: their records are alike.
struct Pattern {
  QString key;
  QStringList children;
  QString unitKey;
};

Pattern patternIn(CTlmMeasConfig& module) {
  Pattern pattern;
  pattern.unitKey = fieldText(module.tblRemoteUnit, MDARec(module.tblRemoteUnit.array, 0, 0), 0, module.moduleCodec);
  QStringList keys;
  module.GetMeasurementsForRTU(pattern.unitKey, &keys, false, QString());
  for (const QString& each : keys)
    if (each.endsWith(",Analog")) pattern.children += each.section(',', 0, 0);
  require(pattern.children.size() > kChildren, "a unit with too few measurements");
  pattern.key = pattern.children.takeFirst();
  pattern.children = pattern.children.mid(0, kChildren);
  return pattern;
}

// A change set as the command makes it and the save sends it: every field marked.
void makeSeries(CTlmMeasConfig& module, const Pattern& pattern, ChangeSet& sent) {
  module.freeLocIds.clear();
  module.agregLocIds.clear();
  QList<int> numbers;
  module.GetCountFreeLocIdFromGiven(numbers, kCopies * (kChildren + 1), 1);
  require(numbers.size() == kCopies * (kChildren + 1), "too few holes");
  module.agregLocIds = numbers.mid(kCopies);
  ChangeSet made;
  require(module.PrepareSaveGroupTemplate(made.tables, made.arrays, pattern.key, "Analog", pattern.unitKey,
                                          numbers.mid(0, kCopies), "Series", true, true, pattern.children),
          "no change set");
  sent.tables = made.tables;
  for (const CMDArray* array : made.arrays) {
    auto* copy = new CMDArray;
    MDACopy(copy->array, array->array, 0);
    for (int i = 0; i < MDARecCount(array->array); ++i) {
      MDRData* record = copyRecord(*array, MDARec(array->array, 0, i), *copy, true);
      MDRSetFlags(record, MDX_REC_INSERT);
      copy->RecPost(record);
    }
    require(MDARecCount(copy->array) == kCopies * (kChildren + 1), "a short table");
    sent.arrays.append(copy);
  }
}

wire::Block blockOf(const ChangeSet& changes, int round) {
  wire::Block block;
  char identity[33];
  std::snprintf(identity, sizeof identity, "%032d", round + 1);
  block.identity = identity;
  for (int i = 0; i < changes.tables.size(); ++i)
    block.requests.push_back(
        {wire::RequestKind::kUpdate, changes.tables[i].toStdString(), wire::packArray(changes.arrays[i]->array)});
  return block;
}

class BareFile {
 public:
  explicit BareFile(const std::string& path) {
    require(sqlite3_open_v2(path.c_str(), &db_, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr) == SQLITE_OK,
            "bare file");
    run("PRAGMA locking_mode = EXCLUSIVE; PRAGMA journal_mode = WAL; PRAGMA synchronous = FULL;"
        "PRAGMA cache_size = -65536; PRAGMA temp_store = MEMORY");
  }
  ~BareFile() { sqlite3_close(db_); }
  BareFile(const BareFile&) = delete;
  BareFile& operator=(const BareFile&) = delete;

  void insert(const ChangeSet& changes) {
    run("BEGIN IMMEDIATE");
    for (int i = 0; i < changes.tables.size(); ++i) insert(changes.tables[i].toStdString(), changes.arrays[i]->array);
    run("COMMIT");
  }

 private:
  void run(const char* sql) {
    require(sqlite3_exec(db_, sql, nullptr, nullptr, nullptr) == SQLITE_OK, sqlite3_errmsg(db_));
  }

  void insert(const std::string& table, const MDArray* rows) {
    const int fields = MDAFldCount(rows);
    std::string columns, marks;
    for (int i = 0; i < fields; ++i) {
      columns += std::string(i ? ", \"" : "\"") + MDAFldName(rows, i) + '"';
      marks += i ? ", ?" : "?";
    }
    sqlite3_stmt* statement = nullptr;
    const std::string sql = "INSERT INTO \"" + table + "\" (" + columns + ") VALUES (" + marks + ")";
    require(sqlite3_prepare_v2(db_, sql.c_str(), -1, &statement, nullptr) == SQLITE_OK, sqlite3_errmsg(db_));
    for (int i = 0; i < MDARecCount(rows); ++i) {
      for (int field = 0; field < fields; ++field)
        bind(statement, field + 1, MDRFldByNum(rows, field), MDARec(rows, 0, i));
      require(sqlite3_step(statement) == SQLITE_DONE, sqlite3_errmsg(db_));
      sqlite3_reset(statement);
    }
    sqlite3_finalize(statement);
  }

  static void bind(sqlite3_stmt* statement, int column, const MDRField* field, const MDRData* record) {
    MDRVar value{};
    MDRGetVal(field, record, &value);
    double real = 0;
    if (!hasValue(value))
      sqlite3_bind_null(statement, column);
    else if (isText(value))
      sqlite3_bind_text(statement, column, value.text.data, static_cast<int>(value.text.length), SQLITE_STATIC);
    else if (value.type == MDX_DOUBLE || value.type == MDX_FLOAT)
      MDRGetAsDouble(field, record, &real), sqlite3_bind_double(statement, column, real);
    else
      MDRGetAsDouble(field, record, &real), sqlite3_bind_int64(statement, column, static_cast<int64_t>(real));
  }

  sqlite3* db_ = nullptr;
};

std::vector<Result> seriesBench() {
  Core& core = *served().core;
  Station station(core);
  CTlmMeasConfig& module = station.module();
  module.ModuleStart();
  const Pattern pattern = patternIn(module);
  BareFile bare(served().files.path("bare"));
  std::vector<double> ours, plain, prepared;
  for (int round = 0; round < kRounds; ++round) {
    ChangeSet series;
    prepared.push_back(seconds([&] { makeSeries(module, pattern, series); }));
    const wire::Block block = blockOf(series, round);
    ours.push_back(seconds([&] {
      const wire::BlockReply reply = core.execute(block, Caller{"bench"});
      require(reply.whole.status == wire::kOk, reply.whole.text.value_or("refused"));
    }));
    plain.push_back(seconds([&] { bare.insert(series); }));
  }
  return {atMost("series", median(ours) * 1e3, median(plain) * 1e3, "ms", 3),
          {"series.prepared", median(prepared) * 1e3, median(plain) * 1e3, "ms", median(prepared) / median(plain),
           "beside", true}};
}

// ---- the numbers -------------------------------------------------------------------------------------------

struct Var : CVar {
  Var() { CVarInit(this, 1); }
  ~Var() { CVarClear(this, 1); }
  Var(const Var&) = delete;
  Var& operator=(const Var&) = delete;
};

struct Numbers {
  const char* name;
  const char* script;
  std::vector<int> arguments;
  int rows;  // found
};

int scriptRows(const Script& script, const ModelTables& tables, const std::vector<int>& arguments) {
  Var given, result;
  CVarSetArr(&given, static_cast<int>(arguments.size()));
  for (size_t i = 0; i < arguments.size(); ++i) CVarSetInt(&given.items[i], arguments[i]);
  const auto outcome = script.run(tables, &given, {}, &result);
  require(outcome.status == wire::kOk && result.type == CVAR_TABLE, outcome.error);
  return MDARecCount(*result.table);
}

// The same on the tables, as a C++ programmer writes it: fields looked up once.
class Native {
 public:
  explicit Native(const ModelTables& tables)
      : measurements_(tables.table("Measurement")),
        objects_(tables.table("IdentifiedObject")),
        number_(MDRFldByName(measurements_, "locId")),
        key_(MDRFldByName(measurements_, "KeyLink")),
        name_(MDRFldByName(objects_, "name_")),
        count_(MDARecCount(measurements_)) {}

  // The free numbers from `begin` on.
  int fromGiven(int needed, int begin) {
    start(false);
    int64_t next = begin;
    int found = 0;
    for (int at = 0; found < needed;) {
      if (seek(next, &at)) {
        ++next;
        continue;
      }
      const int64_t end = at < count_ ? numberAt(at) : next + needed;
      for (; next < end && found < needed; ++next, ++found) add(next, nullptr);
      if (at >= count_) break;
    }
    return finish();
  }

  // The numbers of a range, each free or with its name.
  int atRange(int needed, int begin, int end, int step) {
    start(true);
    int at = 0;
    look(begin, &at);
    int64_t count = 1;
    if (at < count_ && numberAt(at) - begin > step) {
      count = std::min<int64_t>((numberAt(at) - begin) / step, needed);
      for (int64_t i = 1; i < count; ++i) add(begin + i * step, nullptr);
    }
    int64_t next = begin + count * step;
    if (count == needed) return finish();
    for (; at < count_ && count < needed && next < end; ++count, next += step) look(next, &at);
    for (; at >= count_ && count <= needed && next <= end; ++count, next += step) add(next, nullptr);
    return finish();
  }

 private:
  void start(bool named) {
    MDACreate(&rows_, 0);
    addField("locId", MDX_INT32);
    if (named) addField("name_", MDX_MEMO);
    rowNumber_ = MDRFldByNum(rows_, 0);
    rowName_ = named ? MDRFldByNum(rows_, 1) : nullptr;
  }
  void addField(const char* name, uint8_t type) {
    MDRFldDesc field{};
    std::snprintf(field.name, sizeof field.name, "%s", name);
    field.type = type;
    MDAFldAdd(rows_, 1, &field);
  }
  int finish() {
    const int count = MDARecCount(rows_);
    MDADestroy(rows_);
    return count;
  }
  MDRData* seek(int64_t number, int* at) const {
    const MDRVar value = mdx::int64Var(number);
    return MDARecSeekV(measurements_, 1, &value, at);
  }
  int64_t numberAt(int at) const {
    MDRVar value{};
    MDRGetVal(number_, MDARec(measurements_, 1, at), &value);
    return value.i64;
  }
  void look(int64_t number, int* at) { add(number, seek(number, at)); }
  void add(int64_t number, const MDRData* taken) {
    MDRData* row = MDARecNew(rows_);
    const MDRVar value = mdx::int64Var(number);
    MDRSetVal(rowNumber_, row, &value);
    if (rowName_) {
      MDRVar text = mdx::textVar("FreeLocId");
      if (taken) {
        MDRGetVal(key_, taken, &text);
        const MDRData* object = MDARecSeekV(objects_, 0, &text, nullptr);
        if (object) MDRGetVal(name_, object, &text);
      }
      MDRSetVal(rowName_, row, &text);
    }
    MDARecPost(row, nullptr);
  }

  MDArray* measurements_;
  MDArray* objects_;
  const MDRField* number_;
  const MDRField* key_;
  const MDRField* name_;
  const int count_;
  MDArray* rows_ = nullptr;
  const MDRField* rowNumber_ = nullptr;
  const MDRField* rowName_ = nullptr;
};

int nativeRows(const ModelTables& tables, const std::vector<int>& a) {
  Native native(tables);
  return a.size() == 2 ? native.fromGiven(a[0], a[1]) : native.atRange(a[0], a[1], a[2], a[3]);
}

// Both searches of one series: a range of numbers in steps, and what the children need from number 1 on.
std::vector<Result> numbersBench() {
  std::vector<Result> results;
  served().core->read([&](const ModelTables& tables) {
    Numbers asks[] = {{"series.numbers.range", kScriptFreeInRange, {20 * kCopies, 1'000, kMany, 7}, 20 * kCopies},
                      {"series.numbers", kScriptFreeFromGiven, {kNumbersForChildren, 1}, kNumbersForChildren}};
    for (Numbers& ask : asks) {
      std::string text = ask.script;
      std::string error;
      text.replace(text.find("%1"), 2, "0123456789ABCDEF0123456789ABCDEF");
      const auto script = Script::compile(text, &error);
      require(script != nullptr, error);
      require(scriptRows(*script, tables, ask.arguments) == ask.rows, std::string(ask.name) + ": wrong rows");
      require(nativeRows(tables, ask.arguments) == ask.rows, std::string(ask.name) + ": wrong native rows");
      const auto [mine, theirs] = inTurn(
          kRounds, [&] { return seconds([&] { keep(scriptRows(*script, tables, ask.arguments)); }) * 1e3; },
          [&] { return seconds([&] { keep(nativeRows(tables, ask.arguments)); }) * 1e3; });
      results.push_back(atMost(ask.name, mine, theirs, "ms", 2));
    }
  });
  return results;
}

}  // namespace

void addSeriesBenches(Registry& registry) {
  registry.add("series", seriesBench);
  registry.add("series.numbers", numbersBench);
}

}  // namespace tlm::bench
