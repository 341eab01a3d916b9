// The search bar over 10 000 units that were not fetched, with 1 000 000 measurements.
#include "search_bench.h"

#include <RecordAccess.h>
#include <TlmClient/CTlmCliSes.h>
#include <TlmClient/NetTransport.h>
#include <bench/wire/bare.h>
#include <host/embedded/EmbeddedTransport.h>
#include <server/daemon/Log.h>
#include <server/daemon/NetServer.h>
#include <sqlite3.h>

#include <QCoreApplication>
#include <QTemporaryDir>
#include <QTextCodec>

#include <array>
#include <memory>
#include <stdexcept>
#include <string>

#include "Station.h"

namespace tlm::bench {
namespace {

constexpr int kUnits = 10'000;
constexpr int kMany = 1'000'000;
const QString kRareName = QStringLiteral("Единственное измерение");

QModelIndex lastUnfetchedUnit(CTlmMeasConfig& module) {
  QModelIndex last;
  const MeasConfTreeModel& model = *module.treeModel;
  for (QModelIndex at = model.index(0, 0); at.isValid(); at = module.GetNextIndex(at)) {
    const auto* node = static_cast<const myConfNode*>(at.data(Qt::UserRole).value<void*>());
    if (model.hasChildren(at) && !node->isLoaded) last = at;
  }
  return last;
}

QStringList keysOf(CTlmMeasConfig& module, const QModelIndex& unit) {
  QStringList keys;
  module.GetMeasurementsForRTU(unit.data(kKeyRole).toString(), &keys, false, QString());
  for (QString& key : keys) key = key.section(',', 0, 0);
  return keys;
}

void rename(CTlmMeasConfig& module, const QString& key, const QString& name) {
  CMDArray rows;
  rows.code = MDACopy(rows.array, module.strIdentifiedObject.array, 0);
  MDRData* row = MDARecNew(rows.array);
  const auto put = [&](const char* field, const QString& text) {
    const QByteArray bytes = module.moduleCodec->fromUnicode(text);
    MDRVar value = textVar(bytes);
    MDRSetVal(MDRFldByName(rows.array, field), row, &value);
    MDRSetUser(MDRFldByName(rows.array, field), row, 1);
  };
  put("KeyLink", key);
  put("name_", name);
  MDRSetFlags(row, 2);
  MDARecPost(row, nullptr);
  CTlmCliSes* session = module.session();
  MDXCliParam* reply = nullptr;
  session->BlockBeg();
  session->SqlUpdate("IdentifiedObject", rows.array, true, nullptr);
  if (!session->BlockEnd(true, &reply) || !session->WaitResult(&reply, -1)) throw std::runtime_error("rename");
  session->PrmFree(reply);
}

// The names as the server holds them, and the search for a part of one in a plain loop.
class PlainNames {
 public:
  explicit PlainNames(CTlmMeasConfig& module) {
    QTextCodec* codec = module.moduleCodec;
    for (int i = 0; i < 256; ++i) {
      const char letter = static_cast<char>(i);
      fold_[size_t(i)] = codec->fromUnicode(codec->toUnicode(&letter, 1).toLower()).at(0);
    }
    for (int i = 0; i < MDARecCount(module.measRecords.array); ++i)
      names_.push_back(
          codec->fromUnicode(fieldText(module.measRecords, MDARec(module.measRecords.array, 0, i), "name_", codec))
              .toStdString());
  }

  int find(const std::string& part) const {
    std::string wanted;
    for (const char c : part) wanted += folded(c);
    int hits = 0;
    for (const std::string& name : names_)
      hits += std::search(name.begin(), name.end(), wanted.begin(), wanted.end(),
                          [this](char a, char b) { return folded(a) == b; }) != name.end();
    return hits;
  }

  // The same by SQLite, which folds Latin letters alone.
  void fill(sqlite3* base) const {
    sqlite3_exec(base, "CREATE TABLE names(name TEXT); BEGIN", nullptr, nullptr, nullptr);
    sqlite3_stmt* insert = nullptr;
    sqlite3_prepare_v2(base, "INSERT INTO names VALUES(?)", -1, &insert, nullptr);
    const QTextCodec* codec = QTextCodec::codecForName("Windows-1251");
    for (const std::string& name : names_) {
      const QByteArray text = codec->toUnicode(QByteArray::fromStdString(name)).toUtf8();
      sqlite3_bind_text(insert, 1, text.constData(), text.size(), SQLITE_TRANSIENT);
      sqlite3_step(insert);
      sqlite3_reset(insert);
    }
    sqlite3_finalize(insert);
    sqlite3_exec(base, "COMMIT", nullptr, nullptr, nullptr);
  }

 private:
  char folded(char c) const { return fold_[static_cast<unsigned char>(c)]; }
  std::array<char, 256> fold_{};
  std::vector<std::string> names_;
};

struct LargeModel {
  LargeModel() : core(generatedCore(kUnits, kMany)) {
    Station all(*core);
    CTlmMeasConfig& module = all.module();
    module.ModuleStart();
    const QModelIndex unit = lastUnfetchedUnit(module);
    keys = keysOf(module, unit);
    rename(module, keys.last(), kRareName);
    for (QModelIndex at = module.treeModel->index(0, 0); at.isValid(); at = module.GetNextIndex(at))
      module.GetMeasurementsForRTU(at.data(kKeyRole).toString(), nullptr, false, QString());
    names = std::make_unique<PlainNames>(module);
    sqlite3_open(":memory:", &base);
    names->fill(base);
  }
  ~LargeModel() { sqlite3_close(base); }
  std::unique_ptr<server::Core> core;
  QStringList keys;  // of the measurements in the last unit
  std::unique_ptr<PlainNames> names;
  sqlite3* base = nullptr;
};

LargeModel& largeModel() {
  static LargeModel model;
  return model;
}

int fetchedUnits(const CTlmMeasConfig& module) { return module.loadedRemoteUnits.size(); }

// One search in a fresh window; throws unless it found its object with one unit fetched.
template <typename Search>
double secondsOfSearch(Search&& search, std::unique_ptr<ITransport> line = nullptr) {
  if (!line) line = std::make_unique<EmbeddedTransport>(*largeModel().core, server::Caller{"bench"});
  Station station(std::move(line));
  CTlmMeasConfig& module = station.module();
  module.ModuleStart();
  QCoreApplication::processEvents();
  const int before = fetchedUnits(module);
  QModelIndex found;
  bool hit = false;
  const double time = seconds([&] { hit = search(module, found); });
  if (!hit || fetchedUnits(module) != before + 1) throw std::runtime_error("the search went astray");
  return time;
}

double secondsOfFetch() {
  Station station(*largeModel().core);
  CTlmMeasConfig& module = station.module();
  module.ModuleStart();
  QCoreApplication::processEvents();
  const QModelIndex unit = lastUnfetchedUnit(module);
  return seconds([&] { module.AddMeasForRTU(unit, QString(), false, QString()); });
}

double secondsOfLike(const std::string& part) {
  sqlite3_stmt* query = nullptr;
  sqlite3_prepare_v2(largeModel().base, "SELECT count(*) FROM names WHERE name LIKE ?", -1, &query, nullptr);
  const std::string pattern = "%" + part + "%";
  sqlite3_bind_text(query, 1, pattern.c_str(), -1, SQLITE_TRANSIENT);
  const double time = seconds([&] {
    if (sqlite3_step(query) != SQLITE_ROW || sqlite3_column_int(query, 0) != 1) throw std::runtime_error("LIKE");
  });
  sqlite3_finalize(query);
  return time;
}

const QString kPart = kRareName.mid(2);

bool findPart(CTlmMeasConfig& module, QModelIndex& found) {
  return module.FindName(kPart, module.treeModel->index(0, 0), found, true);
}

std::vector<Result> searchNameBench() {
  const std::string bytes = QTextCodec::codecForName("Windows-1251")->fromUnicode(kPart).toStdString();
  const auto [ours, plain] = inTurn(
      3, [&] { return secondsOfSearch(findPart); },
      [&] {
        return seconds([&] {
          if (largeModel().names->find(bytes) != 1) throw std::runtime_error("the plain loop went astray");
        });
      });
  const double like = secondsOfLike(kPart.toStdString());
  return {atMost("search.name", ours * 1e3, plain * 1e3, "ms", 4),
          {"search.name.like", ours * 1e3, like * 1e3, "ms", ours / like, "beside", true}};
}

// ---- over the Unix socket ----

struct Questions {
  int count = 0;
  size_t bytes = 0;
  size_t answered = 0;  // bytes
};

// A line that counts what is asked on it.
class Counting : public ITransport {
 public:
  Counting(std::unique_ptr<ITransport> line, Questions* questions) : line_(std::move(line)), questions_(*questions) {}

  void setListener(TransportListener* listener) override { line_->setListener(listener); }
  bool send(uint64_t id, wire::Block block) override {
    ++questions_.count;
    for (const wire::Request& request : block.requests) questions_.bytes += request.name.size() + request.body.size();
    return line_->send(id, std::move(block));
  }
  std::optional<wire::BlockReply> carryOut(uint64_t id) override {
    auto reply = line_->carryOut(id);
    if (!reply) return reply;
    for (const wire::Reply& each : reply->each) questions_.answered += each.payload ? each.payload->size() : 0;
    return reply;
  }
  void nudge() override { line_->nudge(); }
  void subscribeEvents(const std::vector<int>& kinds) override { line_->subscribeEvents(kinds); }
  void subscribeValues(const std::vector<int>& locIds) override { line_->subscribeValues(locIds); }
  bool alive() const override { return line_->alive(); }

 private:
  std::unique_ptr<ITransport> line_;
  Questions& questions_;
};

// The large model on a Unix socket, and a bare server on another.
struct Socket {
  Socket() : log(server::LogLevel::kError), bare("unix:" + folder.filePath("bare").toStdString()) {
    server::NetOptions options;
    options.addresses = {"unix:" + folder.filePath("model").toStdString()};
    line.address = options.addresses.front();
    std::string problem;
    server = server::NetServer::start(*largeModel().core, options, log, &problem);
    if (!server) throw std::runtime_error("search: " + problem);
  }
  std::unique_ptr<ITransport> connect() const {
    std::string problem;
    auto transport = connectToServer(line, &problem);
    if (!transport) throw std::runtime_error("search: " + problem);
    return transport;
  }
  QTemporaryDir folder;
  server::Log log;
  BareEcho bare;
  NetLine line;
  std::unique_ptr<server::NetServer> server;
};

// What the socket adds to the search, against a bare echo of the usual size for each question.
std::vector<Result> searchNameWireBench() {
  Socket socket;
  Questions questions;
  const auto search = [&](CTlmMeasConfig& module, QModelIndex& found) {
    questions = {};
    return findPart(module, found);
  };
  std::vector<double> added;
  std::vector<double> echoes;
  for (int round = 0; round < 3; ++round) {
    const double over = secondsOfSearch(search, std::make_unique<Counting>(socket.connect(), &questions));
    added.push_back(over - secondsOfSearch(findPart));
    const auto count = static_cast<size_t>(questions.count);
    echoes.push_back(seconds([&] {
      for (size_t i = 0; i < count; ++i) socket.bare.call(questions.bytes / count, questions.answered / count);
    }));
  }
  return {atMost("search.name.wire", median(added) * 1e3, median(echoes) * 1e3, "ms", 1.5)};
}

std::vector<Result> searchKeyBench() {
  const QString key = largeModel().keys.last();
  const auto [ours, fetch] = inTurn(
      9,
      [&] {
        return secondsOfSearch(
            [&](CTlmMeasConfig& module, QModelIndex& found) { return module.FindKeyLink(key, found); });
      },
      secondsOfFetch);
  return {atMost("search.key", ours * 1e3, fetch * 1e3, "ms", 3)};
}

std::vector<Result> searchNumberBench() {
  QString number;
  secondsOfSearch([&](CTlmMeasConfig& module, QModelIndex& found) {
    const bool hit = module.FindKeyLink(largeModel().keys.last(), found);
    number = found.siblingAtColumn(1).data().toString();
    return hit;
  });
  const auto [ours, fetch] = inTurn(
      9,
      [&] {
        return secondsOfSearch(
            [&](CTlmMeasConfig& module, QModelIndex& found) { return module.FindLocId(number, found); });
      },
      secondsOfFetch);
  return {atMost("search.number", ours * 1e3, fetch * 1e3, "ms", 3)};
}

}  // namespace

void addSearchBenches(Registry& registry) {
  registry.add("search.name", searchNameBench);
  registry.add("search.name.wire", searchNameWireBench);
  registry.add("search.key", searchKeyBench);
  registry.add("search.number", searchNumberBench);
}

}  // namespace tlm::bench
