#include "ModuleFixture.h"
#include "RecordAccess.h"

#include <functional>
#include <set>
#include <vector>

namespace tlm::test {
namespace {

// Passes everything on, and keeps account of the replies that were handed out and not freed.
class CountingSession : public CTlmCliSes {
 public:
  explicit CountingSession(CTlmCliSes* real) : real_(real) {}

  bool PacketExec(const char* name, const unsigned char* data, int length, MDXCliParam** reply) override {
    return sent(real_->PacketExec(name, data, length, reply), reply);
  }
  bool CalcExec(const char* script, CVar* args, MDXCliParam** reply) override {
    return sent(real_->CalcExec(script, args, reply), reply);
  }
  bool ProcExec(const char* procedure, CVar* args, MDXCliParam** reply) override {
    return sent(real_->ProcExec(procedure, args, reply), reply);
  }
  bool SqlUpdate(const char* table, MDArray* records, bool flag, MDXCliParam** reply) override {
    return sent(real_->SqlUpdate(table, records, flag, reply), reply);
  }
  void BlockBeg() override {
    pointers_.clear();
    real_->BlockBeg();
  }
  bool BlockEnd(bool send, MDXCliParam** reply) override {
    if (!send) pointers_.clear();
    return sent(real_->BlockEnd(send, reply), reply);
  }
  bool WaitResult(MDXCliParam** reply, int timeoutMs) override {
    const bool answered = real_->WaitResult(reply, timeoutMs);
    for (MDXCliParam** pointer : pointers_) {
      if (*pointer && open.insert(*pointer).second) ++handedOut;
    }
    pointers_.clear();
    return answered;
  }
  void PrmFree(MDXCliParam* reply) override {
    if (open.erase(reply) == 0) ++freedTwice;
    real_->PrmFree(reply);
  }
  double MdxTimeToSesTime(double time) override { return real_->MdxTimeToSesTime(time); }
  QTextCodec* Codec() const override { return real_->Codec(); }

  std::set<MDXCliParam*> open;
  int handedOut = 0;
  int freedTwice = 0;

 private:
  bool sent(bool good, MDXCliParam** reply) {
    if (good && reply) pointers_.push_back(reply);
    return good;
  }

  CTlmCliSes* real_;
  std::vector<MDXCliParam**> pointers_;  // of what is under way
};

class CountingAbo : public CTlmCliAbo {
 public:
  explicit CountingAbo(CTlmCliAbo* real) : session(real->Session()), real_(real) {}

  void SubEvent(const int* ids, int count) override { real_->SubEvent(ids, count); }
  void SubParam(const int* ids, int count) override { real_->SubParam(ids, count); }
  CTlmCliSes* Session() const override { return const_cast<CountingSession*>(&session); }
  MDXCliParam* TakeMessage() override { return real_->TakeMessage(); }
  void SetModule(CTlmCliMod* module) override { real_->SetModule(module); }

  CountingSession session;

 private:
  CTlmCliAbo* real_;
};

class CountingApp : public TestApp {
 public:
  using TestApp::TestApp;
  CTlmCliAbo* ConnectModule(CTlmCliMod* connected) override {
    abo = std::make_unique<CountingAbo>(TestApp::ConnectModule(connected));
    return abo.get();
  }
  std::unique_ptr<CountingAbo> abo;
};

constexpr const char* kModel = R"(
    folder Папка
      unit КП {prefName=1}
        analog 1001 P
    analog 7 Ничей
)";

// Everything that this folder asks of a server, once.
void askEverything(CTlmMeasConfig& module, CTlmCliSes* session, const QString& unit, const QString& measurement) {
  module.loadMdxTables();
  module.GetStructTables();
  CMDArray rows;
  GetRecByKey(session, measurement.toStdString(), &rows);
  const char* table = "Measurement";
  GetToolRecByKey1(session, &table, KEY_MEAS_LOCID, {intVar(1001)}, &rows);
  char* text = nullptr;
  GetValue(session, measurement, text);
  delete[] text;
  GetPrefix(session, unit);
  QStringList texts;
  GetSrvGroup(session, &texts);
  module.getLiteModel(measurement, module.liteModel);
  int locId = 0;
  bool flag = false;
  QList<int> numbers;
  module.GetFreeLocId(locId);
  module.LocIdIsBusy(1001, flag);
  module.IsValueAtMeasurementsOfRTU(unit, "P", flag);
  module.GetMeasurementsForRTU(unit, &texts, false, QString());
  module.GetMeasurementsForEmptyRTU();
  module.GetCountFreeLocIdFromGiven(numbers, 2, 1);
  module.GetCountFreeLocIdAtRange(texts, 2, 1, 9, 1);
}

struct ReplyReleaseTest : ModuleFixture {
  void SetUp() override {
    serve(kModel);
    module.reset();
    auto counting = std::make_unique<CountingApp>(*server->core());
    module = std::make_unique<CTlmMeasConfig>(counting.get());
    counted = &counting->abo->session;
    app = std::move(counting);
  }
  void ask() { askEverything(*module, counted, key("КП"), key("P")); }
  void expectAllFreed(const char* when) {
    EXPECT_TRUE(counted->open.empty()) << counted->open.size() << " replies are left " << when;
    EXPECT_EQ(counted->freedTwice, 0) << when;
  }

  CountingSession* counted = nullptr;
};

TEST_F(ReplyReleaseTest, EveryReplyIsFreedOnce) {
  ask();
  EXPECT_EQ(counted->handedOut, 9 + 8 + 6 + 7);  // the block, the structures, single requests, scripts
  expectAllFreed("after good answers");
}

TEST_F(ReplyReleaseTest, RepliesThatAreOfNoUseAreFreedToo) {
  const std::pair<const char*, Fail> rows[] = {{"PacketExec", Fail::kStatus},     {"PacketExec", Fail::kEmptyPayload},
                                               {"PacketExec", Fail::kEmptyText},  {"CalcExec", Fail::kStatus},
                                               {"CalcExec", Fail::kEmptyPayload}, {"BlockEnd", Fail::kStatus}};
  for (const auto& [call, fail] : rows) {
    app->failures.clear();
    app->failures.add(call, fail);
    const int before = counted->handedOut;
    ask();
    EXPECT_GT(counted->handedOut, before) << call;
    expectAllFreed(call);
  }
}

}  // namespace
}  // namespace tlm::test
