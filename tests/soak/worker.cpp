// A headless process with open configurators that take part in a storm.
//
//   tlm_soak_worker ADDRESS SEED MODULES NAME-PREFIX
//
// Obeys lines on its input: "storm N" carries out N changes, one module after another; "settle SEQUENCE" waits until
// every module has seen that event; "dump FILE" writes the trees and records; "quit". Each is answered by a line.
// A change that the server has acknowledged is told as "acked KIND NAME-OR-KEY".
#include <TlmClient/CTlmCliApp.h>
#include <TlmClient/GenGuid32.h>
#include <TlmClient/NetTransport.h>
#include <TlmServer/Catalogue.h>

#include <QApplication>
#include <QFile>
#include <QTextCodec>

#include <iostream>
#include <random>
#include <set>

#include "CTlmMeasConfig.h"
#include "ModelsTelemetry.h"
#include "support/NetworkServer.h"
#include "support/Peer.h"

namespace tlm::test {
namespace {

constexpr int kCommitMs = 5000;
constexpr int kClassRole = 11;
constexpr int kKeyRole = 12;

QString textOf(const std::string& bytes) { return QTextCodec::codecForName("Windows-1251")->toUnicode(bytes.c_str()); }

// A module that knows which event it saw last.
class StormModule : public CTlmMeasConfig {
 public:
  using CTlmMeasConfig::CTlmMeasConfig;
  int MessageData(MDXCliParam* message) override {
    const int result = CTlmMeasConfig::MessageData(message);
    if (message->typeNumber == MDX_TYPE_EVENT) seen = std::max(seen, numberOf(message, MDX_EVENT_SEQUENCE));
    return result;
  }
  int64_t seen = 0;
};

class Host : public CTlmCliApp {
 public:
  explicit Host(const NetLine& line) {
    std::string problem;
    auto transport = connectToServer(line, &problem);
    if (!transport) {
      std::cerr << "no line: " << problem << '\n';
      std::exit(1);
    }
    session = std::make_unique<TlmSession>(std::move(transport));
    QObject::connect(session.get(), &TlmSession::eventsLost, [](const QString&) { std::cout << "lost\n"; });
    module = std::make_unique<StormModule>(this);
    module->show();
    module->ModuleStart();
    openUnits();
  }
  // Every unit is opened, so that its measurements are fetched.
  void openUnits() {
    QAbstractItemModel& model = *module->treeModel;
    for (const QModelIndex& index :
         model.match(model.index(0, 0), kClassRole, "RemoteUnit", -1, Qt::MatchExactly | Qt::MatchRecursive))
      module->slotExpandedTVMeas(index);
  }
  ~Host() override { module.reset(); }

  CTlmCliAbo* ConnectModule(CTlmCliMod*) override { return session.get(); }
  void DisconnectModule(CTlmCliMod*) override {}
  QLibrary* ModuleLibrary(CTlmCliMod*) override { return nullptr; }
  QString ModuleInstance(CTlmCliMod*) override { return "1"; }
  void ModuleIsEdit(CTlmCliMod*, bool) override {}
  void ModuleTitle(CTlmCliMod*, const QString&, const QString&) override {}
  void ModuleMessage(CTlmCliMod*, const QString&) override {}
  bool ModuleCall(CTlmCliMod*, int, void*) override { return false; }

  std::unique_ptr<TlmSession> session;
  std::unique_ptr<StormModule> module;
};

// One block of changes.
class Changes {
 public:
  explicit Changes(TlmSession& session) : session_(session) {}

  // `fields`: name and value; a value of digits after "#" is a number, "" is null.
  void add(const char* table, int kind, const std::string& key,
           const std::vector<std::pair<const char*, std::string>>& fields) {
    auto rows = std::make_unique<CMDArray>();
    server::Catalogue::makeStructure(*server::Catalogue::builtIn().table(table), rows->array);
    MDRData* const record = MDARecNew(rows->array);
    set(*rows, record, "KeyLink", key);
    for (const auto& [field, value] : fields) {
      set(*rows, record, field, value);
      MDRSetUser(MDRFldByName(rows->array, field), record, 1);
    }
    MDRSetFlags(record, kind);
    rows->RecPost(record);
    tables_.emplace_back(table, std::move(rows));
  }

  // True when the server has acknowledged it.
  bool commit() {
    MDXCliParam* whole = nullptr;
    session_.BlockBeg();
    for (const auto& [table, rows] : tables_) session_.SqlUpdate(table, rows->array, true, nullptr);
    if (!session_.BlockEnd(true, &whole)) return false;
    const bool came = session_.WaitResult(&whole, kCommitMs);
    const bool good = came && numberOf(whole, MDX_REPLY_STATUS) == 0;
    session_.PrmFree(whole);
    return good;
  }

 private:
  static void set(CMDArray& rows, MDRData* record, const char* field, const std::string& value) {
    MDRVar var{};
    if (value.empty()) {
      var.type = MDX_TEXT;
      var.isNull = 1;
    } else if (value[0] == '#') {
      var.type = MDX_INT64;
      var.i64 = std::stoll(value.substr(1));
    } else {
      var.type = MDX_TEXT;
      var.text.length = static_cast<uint32_t>(value.size());
      var.text.data = value.data();
    }
    rows.SetVal(record, field, var);
  }

  TlmSession& session_;
  std::vector<std::pair<const char*, std::unique_ptr<CMDArray>>> tables_;
};

class Storm {
 public:
  Storm(const NetLine& line, unsigned seed, int modules, std::string prefix)
      : random_(seed), prefix_(std::move(prefix)) {
    for (int i = 0; i < modules; ++i) hosts_.push_back(std::make_unique<Host>(line));
    numbers_ = 1'000'000 + static_cast<int>(std::hash<std::string>()(prefix_) % 900) * 1'000'000;
    readMeasurements();
    readKeys("RemoteUnit", &units_);
    readKeys("RemoteUnitFolder", &folders_);
  }

  void run(int changes) {
    for (int i = 0; i < changes; ++i) {
      Host& host = *hosts_[static_cast<size_t>(i) % hosts_.size()];
      // Who has no line waits for it; the window lives on meanwhile.
      eventually([&] { return host.session->alive(); }, 60'000);
      change(*host.session);
      QApplication::processEvents();
    }
  }

  bool settle(int64_t sequence) {
    return eventually(
        [&] {
          for (const auto& host : hosts_) {
            if (host->module->seen < sequence) return false;
          }
          return true;
        },
        60'000);
  }

  void dump(const QString& file) {
    for (size_t i = 0; i < hosts_.size(); ++i) {
      hosts_[i]->openUnits();
      QFile out(file + QString::number(i));
      if (!out.open(QIODevice::WriteOnly)) std::exit(1);
      out.write(text(*hosts_[i]->module).toUtf8());
    }
  }

 private:
  // The columns of a table: "KeyLink" and numbers in whatever follows it.
  CMDArray& read(const std::string& body, CMDArray& rows) {
    MDXCliParam* reply = nullptr;
    TlmSession& session = *hosts_.front()->session;
    if (!session.PacketExec("TableRecords", reinterpret_cast<const unsigned char*>(body.data()),
                            static_cast<int>(body.size()), &reply) ||
        !session.WaitResult(&reply, -1))
      std::exit(1);
    const std::string payload = bytesOf(reply, MDX_REPLY_PAYLOAD);
    session.PrmFree(reply);
    MDXArrayUnPackN(rows.array, payload.data(), payload.size(), 1);
    return rows;
  }

  static std::string keyAt(const CMDArray& rows, int at) {
    MDRVar value{};
    rows.GetVal(MDARec(rows.array, 0, at), "KeyLink", value);
    return {value.text.data, value.text.length};
  }

  void readKeys(const char* table, std::vector<std::string>* keys) {
    CMDArray rows;
    read(std::string(table) + ",KeyLink", rows);
    for (int i = 0; i < MDARecCount(rows.array); ++i) keys->push_back(keyAt(rows, i));
  }

  // Aggregated measurements stand below their own in a tree that is loaded, and stay where they stand when they or
  // their own move to another unit alone: only free ones are moved and deleted.
  void readMeasurements() {
    CMDArray rows;
    read("Measurement,KeyLink,locId,primaryLocId", rows);
    const auto number = [&](int at, const char* field) {
      int32_t value = 0;
      MDRGetAsInt32(MDRFldByName(rows.array, field), MDARec(rows.array, 0, at), &value);
      return value;
    };
    std::set<int32_t> primaries;
    for (int i = 0; i < MDARecCount(rows.array); ++i) primaries.insert(number(i, "primaryLocId"));
    for (int i = 0; i < MDARecCount(rows.array); ++i) {
      measurements_.push_back(keyAt(rows, i));
      if (number(i, "primaryLocId") == 0 && primaries.count(number(i, "locId")) == 0) free_.push_back(keyAt(rows, i));
    }
  }

  const std::string& any(const std::vector<std::string>& keys) { return keys[random_() % keys.size()]; }
  std::string newName() { return prefix_ + std::to_string(++count_) + "."; }
  static void tell(const char* kind, const std::string& what) { std::cout << "acked " << kind << ' ' << what << '\n'; }

  void change(TlmSession& session) {
    Changes changes(session);
    const std::string name = newName();
    const unsigned dice = random_() % 100;
    if (dice < 40) return rename(changes, name);
    if (dice < 60) return move(changes, name);
    if (dice < 80) return add(changes, name);
    if (dice < 85) return addFolder(changes, name);
    return remove(changes);
  }

  void rename(Changes& changes, const std::string& name) {
    const bool unit = random_() % 4 == 0;
    changes.add("IdentifiedObject", MDX_REC_UPDATE, any(unit ? units_ : measurements_), {{"name_", name}});
    if (changes.commit()) tell("name", name);
  }

  // The new name goes in the same block, so that the move can be found again.
  void move(Changes& changes, const std::string& name) {
    const std::string key = any(free_);
    changes.add("IdentifiedObject", MDX_REC_UPDATE, key, {{"name_", name}});
    changes.add("Measurement", MDX_REC_UPDATE, key, {{"RemoteUnitKey", any(units_)}});
    if (changes.commit()) tell("name", name);
  }

  void add(Changes& changes, const std::string& name) {
    const std::string key = GenGuid32().toStdString();
    changes.add("IdentifiedObject", MDX_REC_INSERT, key, {{"ClassName", "Analog"}, {"name_", name}});
    changes.add("Measurement", MDX_REC_INSERT, key,
                {{"locId", "#" + std::to_string(++numbers_)}, {"RemoteUnitKey", any(units_)}});
    changes.add("Analog", MDX_REC_INSERT, key, {});
    if (!changes.commit()) return;
    tell("name", name);
    free_.push_back(key);
  }

  void addFolder(Changes& changes, const std::string& name) {
    const std::string key = GenGuid32().toStdString();
    changes.add("RemoteUnitFolder", MDX_REC_INSERT, key, {{"caption", name}, {"ParentKey", any(folders_)}});
    if (changes.commit()) tell("name", name);
  }

  void remove(Changes& changes) {
    if (free_.size() < 50) return;
    const size_t at = random_() % free_.size();
    const std::string key = free_[at];
    for (const char* table :
         {"Analog", "Discrete", "Accumulator", "StringMeasurement", "Measurement", "IdentifiedObject"})
      changes.add(table, MDX_REC_DELETE, key, {});
    if (!changes.commit()) return;
    tell("gone", key);
    free_.erase(free_.begin() + static_cast<std::ptrdiff_t>(at));
  }

  // ---- what a module shows ----

  static QString branch(QAbstractItemModel& model, const QModelIndex& parent, int level) {
    QStringList rows;
    for (int i = 0; i < model.rowCount(parent); ++i) {
      const QModelIndex index = model.index(i, 0, parent);
      const QString line = QString(level * 2, ' ') + index.data(kClassRole).toString() + ' ' +
                           index.data(kKeyRole).toString() + ' ' + index.data().toString() + ' ' +
                           model.index(i, 1, parent).data().toString() + '\n';
      rows.append(line + branch(model, index, level + 1));
    }
    rows.sort();
    return rows.join(QString());
  }

  static QString value(const CMDArray& rows, const MDRData* record, int field) {
    MDRVar var{};
    rows.GetVal(record, field, var);
    // Rows that were fetched have a 0 there, those that came by event nothing, and both mean the same.
    if (std::string_view(MDAFldName(rows.array, field)) == "CheckTu") return var.flag && !var.isNull ? "1" : "0";
    if (var.isNull || var.type == MDX_NONE) return "-";
    if (var.type == MDX_TEXT || var.type == MDX_MEMO)
      return '"' + textOf(std::string(var.text.data, var.text.length)) + '"';
    double number = 0;
    MDRGetAsDouble(MDRFldByNum(rows.array, field), record, &number);
    return var.type == MDX_BOOL ? QString::number(var.flag) : QString::number(number, 'g', 17);
  }

  static QString records(const char* title, const CMDArray& rows) {
    QStringList lines;
    for (int i = 0; i < MDARecCount(rows.array); ++i) {
      QStringList values;
      for (int field = 0; field < MDAFldCount(rows.array); ++field)
        values.append(
            QString("%1=%2").arg(MDAFldName(rows.array, field), value(rows, MDARec(rows.array, 0, i), field)));
      lines.append(QString(title) + ' ' + values.join(' '));
    }
    lines.sort();
    return lines.join('\n') + '\n';
  }

  static QString text(CTlmMeasConfig& module) {
    const QString tree = branch(*module.treeModel, {}, 0);
    return tree + records("measurement", module.measRecords) + records("unit", module.tblRemoteUnit) +
           records("folder", module.tblRemoteUnitFolder);
  }

  std::mt19937 random_;
  const std::string prefix_;
  int count_ = 0;
  int numbers_ = 0;
  std::vector<std::unique_ptr<Host>> hosts_;
  std::vector<std::string> measurements_;
  std::vector<std::string> free_;  // neither aggregated nor with aggregated ones
  std::vector<std::string> units_;
  std::vector<std::string> folders_;
};

int work(const QStringList& arguments) {
  NetLine line = quickLine(arguments.at(1).toStdString(), "storm");
  Storm storm(line, arguments.at(2).toUInt(), arguments.at(3).toInt(), arguments.at(4).toStdString());
  std::cout << "ready" << std::endl;
  for (std::string command; std::cin >> command && command != "quit";) {
    if (command == "storm") {
      int changes = 0;
      std::cin >> changes;
      storm.run(changes);
      std::cout << "stormed" << std::endl;
    } else if (command == "settle") {
      int64_t sequence = 0;
      std::cin >> sequence;
      std::cout << (storm.settle(sequence) ? "settled" : "unsettled") << std::endl;
    } else if (command == "dump") {
      std::string file;
      std::cin >> file;
      storm.dump(QString::fromStdString(file));
      std::cout << "dumped" << std::endl;
    }
  }
  return 0;
}

}  // namespace
}  // namespace tlm::test

int main(int argc, char** argv) {
  qputenv("QT_QPA_PLATFORM", "offscreen");
  QApplication app(argc, argv);
  if (argc == 5) return tlm::test::work(QApplication::arguments());
  std::cerr << "usage: tlm_soak_worker ADDRESS SEED MODULES NAME-PREFIX\n";
  return 2;
}
