// A tree of a million nodes against one of a thousand: what an add costs, and what each kind of event costs.
#include "treeEvents_bench.h"

#include <RecordAccess.h>
#include <TlmClient/CTlmCliSes.h>
#include <TlmClient/GenGuid32.h>

#include <QAction>
#include <QCoreApplication>

#include <chrono>
#include <random>

#include "Station.h"

namespace tlm::bench {
namespace {

constexpr int kMeasurementsOfAUnit = 100;
constexpr int kLargeUnits = 10'000;
constexpr int kSmallUnits = 10;
constexpr int kRounds = 300;

using Clock = std::chrono::steady_clock;
double since(Clock::time_point start) { return std::chrono::duration<double>(Clock::now() - start).count(); }

// Passes on what the module asks, and adds up how long that took.
class TimedSession : public CTlmCliSes {
 public:
  explicit TimedSession(CTlmCliSes* real) : real_(real) {}

  bool PacketExec(const char* name, const unsigned char* data, int length, MDXCliParam** reply) override {
    return timed(requests, [&] { return real_->PacketExec(name, data, length, reply); });
  }
  bool CalcExec(const char* script, CVar* args, MDXCliParam** reply) override {
    scriptReply_ = reply;
    return timed(scripts, [&] { return real_->CalcExec(script, args, reply); });
  }
  bool ProcExec(const char* procedure, CVar* args, MDXCliParam** reply) override {
    return timed(requests, [&] { return real_->ProcExec(procedure, args, reply); });
  }
  bool SqlUpdate(const char* table, MDArray* records, bool flag, MDXCliParam** reply) override {
    return timed(requests, [&] { return real_->SqlUpdate(table, records, flag, reply); });
  }
  void BlockBeg() override { real_->BlockBeg(); }
  bool BlockEnd(bool send, MDXCliParam** reply) override {
    return timed(requests, [&] { return real_->BlockEnd(send, reply); });
  }
  bool WaitResult(MDXCliParam** reply, int timeoutMs) override {
    return timed(reply == scriptReply_ ? scripts : requests, [&] { return real_->WaitResult(reply, timeoutMs); });
  }
  void PrmFree(MDXCliParam* reply) override { real_->PrmFree(reply); }
  double MdxTimeToSesTime(double time) override { return real_->MdxTimeToSesTime(time); }
  QTextCodec* Codec() const override { return real_->Codec(); }

  double requests = 0;  // seconds
  double scripts = 0;

 private:
  template <typename Call>
  bool timed(double& sum, Call call) {
    const auto start = Clock::now();
    const bool result = call();
    sum += since(start);
    return result;
  }
  CTlmCliSes* real_;
  MDXCliParam** scriptReply_ = nullptr;
};

class TimedAbo : public CTlmCliAbo {
 public:
  TimedAbo(CTlmCliAbo* real, CTlmCliSes* session) : real_(real), session_(session) {}
  void SubEvent(const int*, int) override {}  // the bench brings the events itself
  void SubParam(const int* ids, int count) override { real_->SubParam(ids, count); }
  CTlmCliSes* Session() const override { return session_; }
  MDXCliParam* TakeMessage() override { return real_->TakeMessage(); }
  void SetModule(CTlmCliMod* module) override { real_->SetModule(module); }

 private:
  CTlmCliAbo* real_;
  CTlmCliSes* session_;
};

// A module whose tree holds every measurement.
class Plant : public Station {
 public:
  Plant(server::Core& core, int units) : Station(core), units_(units), realAbo_(module().abo) {
    timed = std::make_unique<TimedSession>(module().session());
    abo_ = std::make_unique<TimedAbo>(realAbo_, timed.get());
    module().abo = abo_.get();
    module().ModuleStart();
    for (int i = 0; i < units; ++i) module().AddMeasForRTU(model().findByKey(unitKey(i)), QString(), false, QString());
  }
  ~Plant() override { module().abo = realAbo_; }

  QString unitKey(int number) {
    const CMDArray& table = module().tblRemoteUnit;
    return fieldText(table, MDARec(table.array, 0, number), 0, module().moduleCodec);
  }
  QString anyUnit() { return unitKey(std::uniform_int_distribution<int>(0, units_ - 1)(random)); }
  // A measurement of a unit.
  QString anyMeasurement(const QString& unit) {
    const QModelIndex group = model().index(0, 0, model().findByKey(unit));
    const int row = std::uniform_int_distribution<int>(0, model().rowCount(group) - 1)(random);
    return model().index(row, 0, group).data(kKeyRole).toString();
  }
  std::mt19937 random{7};
  std::unique_ptr<TimedSession> timed;

 private:
  int units_;
  CTlmCliAbo* realAbo_;
  std::unique_ptr<TimedAbo> abo_;
};

struct Both {
  std::unique_ptr<server::Core> largeCore = generatedCore(kLargeUnits, kLargeUnits* kMeasurementsOfAUnit);
  std::unique_ptr<server::Core> smallCore = generatedCore(kSmallUnits, kSmallUnits* kMeasurementsOfAUnit);
  Plant large{*largeCore, kLargeUnits};
  Plant small{*smallCore, kSmallUnits};
};

// ---- add.scale -------------------------------------------------------------------------------------------

// Seconds of one add without the question for a number. The new object is taken back.
double addOnce(Plant& plant) {
  CTlmMeasConfig& module = plant.module();
  const QModelIndex unit = plant.model().findByKey(plant.anyUnit());
  plant.view().setCurrentIndex(unit);
  QCoreApplication::processEvents();
  plant.timed->scripts = 0;
  const double whole = seconds([&] { module.actAddAnalog->trigger(); });
  const double questions = plant.timed->scripts;
  module.onActCancel_Triggered();
  plant.view().collapseAll();
  return whole - questions;
}

std::vector<Result> addScaleBench() {
  Both pair;
  const auto [large, small] = inTurn(
      kRounds / 3, [&] { return addOnce(pair.large); }, [&] { return addOnce(pair.small); });
  return {atMost("add.scale", large * 1e6, small * 1e6, "us", 1.3)};
}

// ---- event.scale -----------------------------------------------------------------------------------------

// One message of the server, its image made from fields of a structure.
class Message {
 public:
  Message(int kind, const QString& key, const char* table) {
    const uint8_t types[] = {MDX_INT64, MDX_INT32, MDX_DOUBLE, MDX_INT32, MDX_MEMO, MDX_MEMO, MDX_MEMO, MDX_MEMO};
    message_ = MDXParamNew(MDX_TYPE_EVENT, types, 8);
    set(MDX_EVENT_KIND, intVar(kind));
    const QByteArray keyBytes = key.toLatin1();
    set(MDX_EVENT_KEY, textVar(keyBytes));
    const QByteArray param = QByteArray("tbl=") + table + ",seq=1";
    set(MDX_EVENT_PARAM, textVar(param));
  }
  ~Message() { MDXParamFree(message_); }
  Message(const Message&) = delete;

  using Fields = std::vector<std::pair<const char*, QByteArray>>;  // a value that is null: a null
  void carry(const CMDArray& structure, const Fields& fields) {
    CMDArray image;
    MDACopy(image.array, structure.array, 0);
    MDRData* record = MDARecNew(image.array);
    for (const auto& [name, value] : fields) {
      const MDRField* field = MDRFldByName(image.array, name);
      const bool isText = field->type == MDX_TEXT || field->type == MDX_MEMO;
      const MDRVar var = value.isNull() ? nullTextVar() : isText ? textVar(value) : intVar(value.toInt());
      MDRSetVal(field, record, &var);
      MDRSetUser(field, record, 1);
    }
    record = image.RecPost(record);
    MDRRecPack(image.array, record, 1, 1);
    const QByteArray bytes(reinterpret_cast<char*>(record->packed), static_cast<int>(record->packedLength));
    set(MDX_EVENT_IMAGE, textVar(bytes));
  }
  MDXCliParam* get() { return message_; }

 private:
  void set(int position, const MDRVar& value) { MDRSetVal(MDXParamFld(message_, position), message_, &value); }
  MDXCliParam* message_;
};

// Plays events on one plant and keeps, for each kind, the seconds without the requests.
class Player {
 public:
  explicit Player(Plant& plant) : plant_(plant), module_(plant.module()) {}

  void round() {
    const QString unit = plant_.anyUnit();
    const QString other = plant_.anyUnit();
    const QByteArray unitBytes = unit.toLatin1();
    const QByteArray otherBytes = other.toLatin1();
    const QByteArray key = GenGuid32();
    const QByteArray unitOfNone = GenGuid32();
    const QByteArray folder = GenGuid32();
    const QString present = plant_.anyMeasurement(unit);

    play("change.object", 602, present, "IdentifiedObject", module_.strIdentifiedObject, {{"shortName", "x"}});
    play("change.measurement", 602, present, "Measurement", module_.strMeasurement, {{"comment", "x"}});
    play("change.class", 602, present, "Discrete", module_.strDiscrete, {{"CheckTu", "1"}});
    play("", 601, key, "IdentifiedObject", module_.strIdentifiedObject, {{"ClassName", "Analog"}, {"name_", "x"}});
    play("add.measurement", 601, key, "Measurement", module_.strMeasurement,
         {{"KeyLink", key}, {"RemoteUnitKey", unitBytes}});
    play("move.measurement", 602, key, "Measurement", module_.strMeasurement, {{"RemoteUnitKey", otherBytes}});
    play("move.toNoUnit", 602, key, "Measurement", module_.strMeasurement, {{"RemoteUnitKey", QByteArray()}});
    play("delete.measurement", 603, key, "Measurement");

    play("add.folder", 601, folder, "RemoteUnitFolder", module_.strRemoteUnitFolder,
         {{"KeyLink", folder}, {"caption", "x"}, {"ParentKey", folderOf(unit)}});
    play("", 601, unitOfNone, "IdentifiedObject", module_.strIdentifiedObject,
         {{"ClassName", "RemoteUnit"}, {"name_", "x"}});
    play("add.unit", 601, unitOfNone, "RemoteUnit", module_.strRemoteUnit,
         {{"KeyLink", unitOfNone}, {"RemoteUnitFolderKey", folderOf(unit)}});
    play("move.unit", 602, unitOfNone, "RemoteUnit", module_.strRemoteUnit, {{"RemoteUnitFolderKey", folder}});
    play("change.folder", 602, folder, "RemoteUnitFolder", module_.strRemoteUnitFolder, {{"caption", "y"}});
    play("delete.unit", 603, unitOfNone, "RemoteUnit");
    play("delete.folder", 603, folder, "RemoteUnitFolder");
  }
  const std::vector<std::pair<std::string, std::vector<double>>>& times() const { return times_; }

 private:
  QByteArray folderOf(const QString& unit) {
    const QModelIndex index = plant_.model().findByKey(unit);
    return index.parent().data(kKeyRole).toString().toLatin1();
  }
  void play(const char* name, int kind, const QString& key, const char* table) {
    Message message(kind, key, table);
    measure(name, message);
  }
  void play(const char* name, int kind, const QString& key, const char* table, const CMDArray& structure,
            const Message::Fields& fields) {
    Message message(kind, key, table);
    message.carry(structure, fields);
    measure(name, message);
  }
  void measure(const char* name, Message& message) {
    TimedSession& session = *plant_.timed;
    session.requests = session.scripts = 0;
    const double whole = seconds([&] { module_.MessageData(message.get()); });
    if (*name) timesOf(name).push_back(whole - session.requests - session.scripts);
  }
  std::vector<double>& timesOf(const char* name) {
    for (auto& [known, list] : times_)
      if (known == name) return list;
    times_.emplace_back(name, std::vector<double>());
    return times_.back().second;
  }

  Plant& plant_;
  CTlmMeasConfig& module_;
  std::vector<std::pair<std::string, std::vector<double>>> times_;
};

std::vector<Result> eventScaleBench() {
  Both pair;
  Player large(pair.large);
  Player small(pair.small);
  for (int i = 0; i < kRounds; ++i) {
    large.round();
    small.round();
  }
  std::vector<Result> results;
  for (size_t i = 0; i < large.times().size(); ++i)
    results.push_back(atMost("event.scale." + large.times()[i].first, median(large.times()[i].second) * 1e6,
                             median(small.times()[i].second) * 1e6, "us", 1.5));
  return results;
}

}  // namespace

void addTreeEventBenches(Registry& registry) {
  registry.add("add.scale", addScaleBench);
  registry.add("event.scale", eventScaleBench);
}

}  // namespace tlm::bench
