// The session over a server in the same process.
#include <TlmMdx/CMDArray.h>

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <thread>

#include "host/embedded/EmbeddedTransport.h"
#include "support/EmbeddedServer.h"
#include "support/Gui.h"
#include "support/ModelText.h"
#include "support/TestApp.h"

namespace tlm::test {
namespace {

constexpr char kModel[] = R"(
folder Подстанция Северная
  unit КП-1
    analog 1001 P Т-1
      analog 1002 P Т-1 макс
    discrete 1003 Q-110 {CheckTu=1}
unit Без папки
)";

class Embedded : public testing::Test {
 protected:
  Embedded() : server(kModel) {}

  std::unique_ptr<TestLine> connect(const std::string& user = "engineer") {
    return std::make_unique<TestLine>(*server.core(), user, &failures, &log);
  }

  // The rows of a table as it stands on the server.
  int rows(TestLine& at, const std::string& table, CMDArray* into) {
    MDXCliParam* reply = nullptr;
    CTlmCliSes& ses = *at.session();
    if (!ses.PacketExec("TableRecords", reinterpret_cast<const unsigned char*>(table.data()),
                        static_cast<int>(table.size()), &reply) ||
        !ses.WaitResult(&reply, -1)) {
      return -1;
    }
    int length = 0;
    void* data = nullptr;
    MDRGetTextRef(MDXParamFld(reply, MDX_REPLY_PAYLOAD), reply, &length, &data);
    const int code = data ? MDXArrayUnPackN(into->array, data, static_cast<size_t>(length), 1) : -1;
    ses.PrmFree(reply);
    return code == 0 ? MDARecCount(into->array) : -1;
  }

  // A change set that gives an object a new name. The structure comes from the server.
  void renameSet(TestLine& at, const std::string& key, const std::string& name, CMDArray* set) {
    CMDArray all;
    ASSERT_GT(rows(at, "IdentifiedObject", &all), 0);
    MDACopy(set->array, all.array, 0);
    MDRData* const record = MDARecNew(set->array);
    write(set, record, "KeyLink", key, false);
    write(set, record, "name_", name, true);
    MDRSetFlags(record, MDX_REC_UPDATE);
    set->RecPost(record);
  }

  static void write(CMDArray* set, MDRData* record, const char* field, const std::string& text, bool changed) {
    MDRVar value{};
    value.type = MDX_TEXT;
    value.text.length = static_cast<uint32_t>(text.size());
    value.text.data = text.data();
    set->SetVal(record, field, value);
    if (changed) MDRSetUser(MDRFldByName(set->array, field), record, 1);
  }

  std::string nameOf(TestLine& at, const std::string& key) {
    CMDArray all;
    rows(at, "IdentifiedObject", &all);
    for (int i = 0; i < MDARecCount(all.array); ++i) {
      const MDRData* const record = MDARec(all.array, 0, i);
      MDRVar found;
      all.GetVal(record, "KeyLink", found);
      if (std::string(found.text.data, found.text.length) != key) continue;
      all.GetVal(record, "name_", found);
      return {found.text.data, found.text.length};
    }
    return "(absent)";
  }

  static int status(const MDXCliParam* reply) {
    int32_t value = -1;
    if (reply) MDRGetAsInt32(MDXParamFld(reply, MDX_REPLY_STATUS), reply, &value);
    return value;
  }

  EmbeddedServer server;
  Failures failures;
  QStringList log;
};

TEST_F(Embedded, AnswersARequest) {
  const auto line = connect();
  CMDArray units;
  EXPECT_EQ(rows(*line, "RemoteUnit", &units), 2);
  EXPECT_EQ(log, QStringList("PacketExec TableRecords RemoteUnit"));
}

TEST_F(Embedded, AnswersABlockWithEachOfItsReplies) {
  const auto line = connect();
  MDXCliParam* replies[3] = {};
  MDXCliParam* whole = nullptr;
  CTlmCliSes& session = *line->session();
  session.BlockBeg();
  const char* const tables[] = {"RemoteUnit", "NoSuchTable", "RemoteUnitFolder"};
  for (int i = 0; i < 3; ++i) {
    ASSERT_TRUE(session.PacketExec("TableRecords", reinterpret_cast<const unsigned char*>(tables[i]),
                                   static_cast<int>(strlen(tables[i])), &replies[i]));
  }
  ASSERT_TRUE(session.BlockEnd(true, &whole));
  ASSERT_TRUE(session.WaitResult(&whole, -1));
  EXPECT_EQ(status(whole), 0);
  EXPECT_EQ(status(replies[0]), 0);
  EXPECT_EQ(status(replies[1]), wire::kUnknownTable);
  EXPECT_EQ(status(replies[2]), 0);
  for (MDXCliParam* reply : replies) session.PrmFree(reply);
  session.PrmFree(whole);
}

TEST_F(Embedded, WritesAndPublishesToEverybody) {
  const auto mine = connect();
  const auto other = connect("somebody");
  const int kinds[] = {602};
  mine->abo()->SubEvent(kinds, 1);
  other->abo()->SubEvent(kinds, 1);
  CMDArray set;
  renameSet(*mine, keyOf("P Т-1"), "new name", &set);
  CTlmCliSes& session = *mine->session();
  MDXCliParam* whole = nullptr;
  session.BlockBeg();
  ASSERT_TRUE(session.SqlUpdate("IdentifiedObject", set.array, true, nullptr));
  ASSERT_TRUE(session.BlockEnd(true, &whole));
  ASSERT_TRUE(session.WaitResult(&whole, 5000));
  EXPECT_EQ(status(whole), 0);
  session.PrmFree(whole);
  EXPECT_EQ(nameOf(*other, keyOf("P Т-1")), "new name");
  for (CTlmCliAbo* abo : {mine->abo(), other->abo()}) {
    MDXCliParam* const event = abo->TakeMessage();
    ASSERT_NE(event, nullptr);
    EXPECT_EQ(event->typeNumber, MDX_TYPE_EVENT);
    char* key = nullptr;
    MDRGetTextPtr(MDXParamFld(event, MDX_EVENT_KEY), event, &key);
    EXPECT_EQ(std::string(key), keyOf("P Т-1"));
    char* user = nullptr;
    MDRGetTextPtr(MDXParamFld(event, MDX_EVENT_USER), event, &user);
    EXPECT_STREQ(user, "engineer");
    MDXParamFree(event);
  }
}

TEST_F(Embedded, TellsOfARefusedWriteThatNobodyWaitsFor) {
  const auto line = connect();
  QStringList refused;
  QObject::connect(&line->real(), &TlmSession::writeRefused,
                   [&](int status, const QString&) { refused.append(QString::number(status)); });
  CMDArray set;
  renameSet(*line, std::string(32, '0'), "nobody", &set);
  line->session()->BlockBeg();
  line->session()->SqlUpdate("IdentifiedObject", set.array, true, nullptr);
  EXPECT_TRUE(line->session()->BlockEnd(true, nullptr));
  EXPECT_TRUE(processUntil([&] { return !refused.isEmpty(); }));
}

TEST_F(Embedded, EndsAWaitWhileAScriptRuns) {
  server::CoreOptions options;
  options.budget.milliseconds = 300;
  EmbeddedServer slow(kModel, options);
  TestLine line(*slow.core(), "engineer", &failures, &log);
  MDXCliParam* script = nullptr;
  ASSERT_TRUE(line.session()->CalcExec(kEndlessScript, nullptr, &script));
  EXPECT_FALSE(line.session()->WaitResult(&script, 1));
  EXPECT_EQ(script, nullptr);
  MDXCliParam* after = nullptr;
  ASSERT_TRUE(line.session()->PacketExec("SRV_GROUPS_INFO", nullptr, 0, &after));
  EXPECT_TRUE(line.session()->WaitResult(&after, -1)) << "requests are answered in order, behind the script";
  line.session()->PrmFree(after);
}

TEST_F(Embedded, WritesWhatWasSentBeforeItsEnd) {
  auto line = connect();
  CMDArray set;
  renameSet(*line, keyOf("P Т-1"), "last word", &set);
  ASSERT_TRUE(line->session()->SqlUpdate("IdentifiedObject", set.array, true, nullptr));
  line.reset();
  const auto later = connect();
  EXPECT_EQ(nameOf(*later, keyOf("P Т-1")), "last word");
}

TEST_F(Embedded, RefusesABlockOverTheLimit) {
  TestLine line(std::make_unique<EmbeddedTransport>(*server.core(), server::Caller{"engineer"}, 100), &failures, &log);
  const std::string body(101, 'x');
  MDXCliParam* reply = nullptr;
  EXPECT_FALSE(line.session()->PacketExec("TableRecords", reinterpret_cast<const unsigned char*>(body.data()),
                                          static_cast<int>(body.size()), &reply));
  CMDArray units;
  EXPECT_EQ(rows(line, "RemoteUnit", &units), 2) << "and goes on";
}

TEST_F(Embedded, DeliversNothingAfterItsSubscriptionEnded) {
  const auto line = connect();
  const int kinds[] = {902};
  line->abo()->SubEvent(kinds, 1);
  line->abo()->SubEvent(nullptr, 0);
  wire::Event event;
  event.kind = 902;
  server.core()->publish(event);
  EXPECT_EQ(line->abo()->TakeMessage(), nullptr);
}

TEST_F(Embedded, GoesWhileOthersPublish) {
  std::atomic<bool> stop{false};
  std::thread publisher([&] {
    wire::Event event;
    event.kind = 902;
    while (!stop) server.core()->publish(event);
  });
  for (int i = 0; i < 50; ++i) {
    const auto line = connect();
    const int kinds[] = {902};
    line->abo()->SubEvent(kinds, 1);
    processUntil([&] {
      MDXCliParam* const message = line->abo()->TakeMessage();
      MDXParamFree(message);
      return message != nullptr;
    });
  }
  stop = true;
  publisher.join();
}

TEST_F(Embedded, ServesTwoSessionsSideBySide) {
  const std::unique_ptr<TestLine> lines[] = {connect(), connect("somebody")};
  for (int i = 0; i < 100; ++i) {
    MDXCliParam* replies[2] = {};
    for (int at = 0; at < 2; ++at) {
      ASSERT_TRUE(lines[at]->session()->PacketExec("SRV_GROUPS_INFO", nullptr, 0, &replies[at]));
    }
    for (int at = 0; at < 2; ++at) {
      EXPECT_TRUE(lines[at]->session()->WaitResult(&replies[at], -1));
      EXPECT_EQ(status(replies[at]), 0);
      lines[at]->session()->PrmFree(replies[at]);
    }
  }
}

// ---- the failing double, on the real server ----

// Each kind of failure.
class Failing : public Embedded, public testing::WithParamInterface<Fail> {};

TEST_P(Failing, SpoilsTheNthCallThatMatches) {
  failures.add("PacketExec TableRecords", GetParam(), 2);
  const auto line = connect();
  CMDArray units;
  EXPECT_EQ(rows(*line, "RemoteUnit", &units), 2);
  MDXCliParam* reply = nullptr;
  CTlmCliSes& session = *line->session();
  const bool sent =
      session.PacketExec("TableRecords", reinterpret_cast<const unsigned char*>("RemoteUnit"), 10, &reply);
  EXPECT_EQ(sent, GetParam() != Fail::kRefuseToSend);
  const bool answered = sent && session.WaitResult(&reply, -1);
  EXPECT_EQ(answered, GetParam() != Fail::kRefuseToSend && GetParam() != Fail::kTimeOut);
  EXPECT_EQ(reply != nullptr, answered && GetParam() != Fail::kNoReply);
  if (reply) {
    EXPECT_EQ(status(reply) == 0, GetParam() != Fail::kStatus);
  }
  if (reply && GetParam() != Fail::kStatus) {
    int length = -1;
    void* data = nullptr;
    MDRGetTextRef(MDXParamFld(reply, MDX_REPLY_PAYLOAD), reply, &length, &data);
    EXPECT_EQ(length, 0);
  }
  session.PrmFree(reply);
  EXPECT_EQ(rows(*line, "RemoteUnit", &units), 2) << "the third is good again";
}

class FailingReply : public Failing {};

TEST_P(FailingReply, IsSpoiledInsideABlock) {
  failures.add("PacketExec TableRecords RemoteUnitFolder", GetParam());
  const auto line = connect();
  CTlmCliSes& session = *line->session();
  MDXCliParam* good = nullptr;
  MDXCliParam* bad = nullptr;
  MDXCliParam* whole = nullptr;
  session.BlockBeg();
  session.PacketExec("TableRecords", reinterpret_cast<const unsigned char*>("RemoteUnit"), 10, &good);
  session.PacketExec("TableRecords", reinterpret_cast<const unsigned char*>("RemoteUnitFolder"), 16, &bad);
  session.BlockEnd(true, &whole);
  EXPECT_TRUE(session.WaitResult(&whole, -1));
  EXPECT_EQ(status(whole), 0);
  EXPECT_EQ(status(good), 0);
  EXPECT_EQ(bad == nullptr, GetParam() == Fail::kTimeOut || GetParam() == Fail::kNoReply);
  for (MDXCliParam* reply : {good, bad, whole}) session.PrmFree(reply);
}

INSTANTIATE_TEST_SUITE_P(Kinds, Failing,
                         testing::Values(Fail::kRefuseToSend, Fail::kTimeOut, Fail::kNoReply, Fail::kStatus,
                                         Fail::kEmptyPayload, Fail::kEmptyText));

INSTANTIATE_TEST_SUITE_P(Kinds, FailingReply,
                         testing::Values(Fail::kTimeOut, Fail::kNoReply, Fail::kStatus, Fail::kEmptyPayload,
                                         Fail::kEmptyText));

TEST_F(Embedded, FailsAWholeBlock) {
  const auto line = connect();
  CTlmCliSes& session = *line->session();
  failures.add("BlockEnd", Fail::kRefuseToSend);
  MDXCliParam* whole = nullptr;
  session.BlockBeg();
  EXPECT_FALSE(session.BlockEnd(true, &whole));
  failures.clear();
  failures.add("BlockEnd", Fail::kStatus);
  session.BlockBeg();
  EXPECT_TRUE(session.BlockEnd(true, &whole));
  EXPECT_TRUE(session.WaitResult(&whole, -1));
  EXPECT_EQ(status(whole), Failures::wireRefused);
  session.PrmFree(whole);
}

// ---- the model text ----

TEST_F(Embedded, HoldsTheObjectsOfTheModelText) {
  const auto line = connect();
  CMDArray meas;
  ASSERT_EQ(rows(*line, "Measurement,KeyLink,locId,primaryLocId,RemoteUnitKey", &meas), 3);
  MDRVar value;
  const MDRData* aggregated = nullptr;
  for (int i = 0; i < 3; ++i) {
    const MDRData* const record = MDARec(meas.array, 0, i);
    int32_t number = 0;
    MDRGetAsInt32(MDRFldByName(meas.array, "locId"), record, &number);
    if (number == 1002) aggregated = record;
    meas.GetVal(record, "RemoteUnitKey", value);
    EXPECT_EQ(std::string(value.text.data, value.text.length), keyOf("КП-1"));
  }
  ASSERT_NE(aggregated, nullptr);
  int32_t primary = 0;
  MDRGetAsInt32(MDRFldByName(meas.array, "primaryLocId"), aggregated, &primary);
  EXPECT_EQ(primary, 1001);
}

TEST(ModelText, RefusesWhatItCannotRead) {
  for (const char* text :
       {"planet Mars", "  unit too deep", " unit odd", "unit x {Field", "unit x {NoField=1}", "analog noNumber"}) {
    std::string error;
    const auto store = server::openMemoryStore(server::makeMemoryStoreData(server::Catalogue::builtIn()));
    EXPECT_FALSE(writeModel(text, *store, &error)) << text;
    EXPECT_FALSE(error.empty());
  }
}

}  // namespace
}  // namespace tlm::test
