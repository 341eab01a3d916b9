// What a session promises, over every transport the same.
#include <TlmServer/LiveValues.h>

#include <gtest/gtest.h>

#include <algorithm>

#include "host/embedded/EmbeddedTransport.h"
#include "support/EmbeddedServer.h"
#include "support/Gui.h"
#include "support/ModelText.h"
#include "support/NetworkServer.h"
#include "support/Peer.h"

namespace tlm::test {
namespace {

constexpr char kModel[] = R"(
folder Подстанция Северная
  unit КП-1
    analog 1001 P Т-1
      analog 1002 P Т-1 макс
    discrete 1003 Q-110 {CheckTu=1}
unit Без папки
table Archives Склад
)";

enum class Line { kEmbedded, kTcp, kUnixSocket };

std::string nameOfLine(const testing::TestParamInfo<Line>& info) {
  return info.param == Line::kEmbedded ? "Embedded" : info.param == Line::kTcp ? "Tcp" : "UnixSocket";
}

class Session : public testing::TestWithParam<Line> {
 protected:
  explicit Session(server::CoreOptions options = {}) : server(kModel, options), network(*server.core()) {}

  std::unique_ptr<ITransport> transport(const std::string& user, size_t maxBlockBytes) {
    if (GetParam() == Line::kEmbedded)
      return std::make_unique<EmbeddedTransport>(*server.core(), server::Caller{user}, maxBlockBytes);
    NetLine line = quickLine(GetParam() == Line::kTcp ? network.tcp() : network.unixSocket(), user);
    line.maxBlockBytes = maxBlockBytes;
    std::string problem;
    auto made = connectToServer(line, &problem);
    EXPECT_NE(made, nullptr) << problem;
    return made;
  }

  std::unique_ptr<Peer> connect(const std::string& user = "engineer", size_t maxBlockBytes = size_t{64} << 20) {
    return std::make_unique<Peer>(transport(user, maxBlockBytes));
  }

  EmbeddedServer server;
  NetworkServer network;
  const std::string key = keyOf("P Т-1");
  const std::string archive = keyOf("Склад");  // whose texts have no limit
};

INSTANTIATE_TEST_SUITE_P(Over, Session, testing::Values(Line::kEmbedded, Line::kTcp, Line::kUnixSocket), nameOfLine);

TEST_P(Session, IsAlive) { EXPECT_TRUE(connect()->session().alive()); }

TEST_P(Session, AnswersARequest) {
  const auto peer = connect();
  CMDArray units;
  EXPECT_EQ(peer->rows("RemoteUnit", &units), 2);
}

TEST_P(Session, AnswersWithStatusAndReason) {
  const auto peer = connect();
  const Answer answer = peer->ask("NoSuchRequest", "");
  EXPECT_TRUE(answer.came);
  EXPECT_EQ(answer.status, wire::kUnknownRequest);
  EXPECT_EQ(answer.payload, "no request NoSuchRequest");
}

TEST_P(Session, KeepsTextApartFromPayload) {
  const Answer answer = connect()->ask("MeasParams", "locId=1001");
  EXPECT_EQ(answer.status, 0);
  EXPECT_FALSE(answer.hasPayload);
  EXPECT_NE(answer.text.find("locId=1001"), std::string::npos);
}

TEST_P(Session, CarriesBodiesWithZerosAndEveryByte) {
  std::string body;
  for (int i = 0; i < 256; ++i) body += static_cast<char>(i);
  const Answer direct = [&] {
    const wire::Reply reply = server.core()->execute(wire::Request{wire::RequestKind::kPacket, "RecByKey", body}, {});
    return Answer{true, reply.status, true, *reply.payload, false, {}};
  }();
  const Answer answer = connect()->ask("RecByKey", body);
  EXPECT_EQ(answer.status, direct.status);
  EXPECT_EQ(answer.payload, direct.payload);
}

TEST_P(Session, RunsAScriptWithArguments) {
  CVar arguments;
  CVarInit(&arguments, 1);
  CVarSetArr(&arguments, 1);
  CVarSetInt(&arguments.items[0], 41);
  const Answer answer = connect()->script("f(n)\n{\n  Result = n + 1;\n}\n", &arguments);
  CVarClear(&arguments, 1);
  ASSERT_EQ(answer.status, 0) << answer.payload;
  CVar result;
  CVarInit(&result, 1);
  ASSERT_GE(CVarFromBuffN(&result, answer.payload.data(), answer.payload.size()), 0);
  EXPECT_EQ(result.i64, 42);
  CVarClear(&result, 1);
}

TEST_P(Session, TellsWhereAScriptIsWrong) {
  const Answer answer = connect()->script("f()\n{\n  Result = (;\n}\n");
  EXPECT_EQ(answer.status, wire::kScriptError);
  EXPECT_NE(answer.payload.find('3'), std::string::npos) << answer.payload;
}

TEST_P(Session, CallsAProcedure) {
  const auto peer = connect();
  CVar argument;
  CVarInit(&argument, 1);
  CVarSetStr(&argument, key.data(), static_cast<int>(key.size()));
  MDXCliParam* reply = nullptr;
  ASSERT_TRUE(peer->session().ProcExec("SrvReq_ObjectForms", &argument, &reply));
  CVarClear(&argument, 1);
  const Answer answer = peer->collect(&reply, -1);
  EXPECT_EQ(answer.status, 0);
  EXPECT_TRUE(answer.hasPayload);
}

// ---- blocks ----

TEST_P(Session, AnswersABlockWithEachOfItsReplies) {
  const auto peer = connect();
  MDXCliParam* replies[3] = {};
  MDXCliParam* whole = nullptr;
  TlmSession& session = peer->session();
  session.BlockBeg();
  const std::string tables[] = {"RemoteUnit", "NoSuchTable", "RemoteUnitFolder"};
  for (int i = 0; i < 3; ++i) {
    ASSERT_TRUE(session.PacketExec("TableRecords", reinterpret_cast<const unsigned char*>(tables[i].data()),
                                   static_cast<int>(tables[i].size()), &replies[i]));
  }
  ASSERT_TRUE(session.BlockEnd(true, &whole));
  ASSERT_TRUE(session.WaitResult(&whole, -1));
  EXPECT_EQ(peer->collect(&replies[0], 0).status, 0);
  EXPECT_EQ(peer->collect(&replies[1], 0).status, wire::kUnknownTable);
  EXPECT_EQ(peer->collect(&replies[2], 0).status, 0);
  EXPECT_EQ(peer->collect(&whole, 0).status, 0);
}

TEST_P(Session, AnswersAnEmptyBlock) {
  const auto peer = connect();
  MDXCliParam* whole = nullptr;
  peer->session().BlockBeg();
  ASSERT_TRUE(peer->session().BlockEnd(true, &whole));
  EXPECT_EQ(peer->collect(&whole, -1).status, 0);
}

TEST_P(Session, WritesABlock) {
  const auto peer = connect();
  EXPECT_EQ(peer->rename(key, "new name"), 0);
  EXPECT_EQ(peer->nameOf(key), "new name");
}

TEST_P(Session, WritesNothingOfARefusedBlock) {
  const auto peer = connect();
  CMDArray good;
  CMDArray bad;
  peer->fillName(key, "half", &good);
  peer->fillName(std::string(32, '0'), "nobody", &bad);
  MDXCliParam* single = nullptr;
  MDXCliParam* whole = nullptr;
  TlmSession& session = peer->session();
  session.BlockBeg();
  session.SqlUpdate("IdentifiedObject", good.array, true, &single);
  session.SqlUpdate("IdentifiedObject", bad.array, true, nullptr);
  ASSERT_TRUE(session.BlockEnd(true, &whole));
  const Answer answer = peer->collect(&whole, -1);
  EXPECT_EQ(answer.status, wire::kRefused);
  EXPECT_FALSE(answer.payload.empty());
  EXPECT_EQ(single, nullptr);
  EXPECT_NE(peer->nameOf(key), "half");
}

TEST_P(Session, TellsOfARefusedBlockThatNobodyWaitsFor) {
  const auto peer = connect();
  EXPECT_TRUE(peer->renameUnwaited(std::string(32, '0'), "nobody"));
  EXPECT_TRUE(processUntil([&] { return !peer->told.isEmpty(); }));
  EXPECT_EQ(peer->told, QStringList(QString("refused %1").arg(wire::kRefused)));
}

TEST_P(Session, CarriesOutBlocksInTheOrderOfSending) {
  const auto peer = connect();
  for (int i = 0; i < 50; ++i) ASSERT_TRUE(peer->renameUnwaited(key, "name " + std::to_string(i)));
  EXPECT_EQ(peer->nameOf(key), "name 49");
}

TEST_P(Session, WritesWhatWasSentBeforeItsEnd) {
  auto peer = connect();
  ASSERT_TRUE(peer->renameUnwaited(key, "last word"));
  peer.reset();
  EXPECT_EQ(connect()->nameOf(key), "last word");
}

TEST_P(Session, RefusesABlockOverTheLimitAndGoesOn) {
  const auto peer = connect("engineer", 100);
  EXPECT_FALSE(peer->ask("TableRecords", std::string(101, 'x')).came);
  CMDArray units;
  EXPECT_EQ(peer->rows("RemoteUnit", &units), 2);
}

// Over the size of one message, about the most that travels whole, whole pieces, and less.
TEST_P(Session, CarriesLargeBlocksAndLargeReplies) {
  const auto peer = connect();
  for (const size_t bytes :
       {(size_t{9} << 20) + 7, size_t{4} << 20, (size_t{3} << 20) + 1, size_t{3} << 20, size_t{1} << 20}) {
    std::string text(bytes, 'a');
    for (size_t i = 0; i < text.size(); i += 1000) text[i] = static_cast<char>('b' + i / 1000 % 20);
    ASSERT_EQ(peer->write("Archives", archive, "location", text), 0) << bytes;
    EXPECT_TRUE(peer->field("Archives", archive, "location") == text) << bytes;
  }
}

TEST_P(Session, CarriesSeveralLargeRepliesOfOneBlock) {
  const auto peer = connect();
  ASSERT_EQ(peer->write("Archives", archive, "location", std::string(size_t{3} << 20, 'd')), 0);
  MDXCliParam* replies[3] = {};
  MDXCliParam* whole = nullptr;
  const std::string bodies[] = {"Archives", "RemoteUnit", "Archives"};
  peer->session().BlockBeg();
  for (int i = 0; i < 3; ++i) {
    peer->session().PacketExec("TableRecords", reinterpret_cast<const unsigned char*>(bodies[i].data()),
                               static_cast<int>(bodies[i].size()), &replies[i]);
  }
  ASSERT_TRUE(peer->session().BlockEnd(true, &whole));
  ASSERT_EQ(peer->collect(&whole, -1).status, 0);
  const Answer first = peer->collect(&replies[0], 0);
  const Answer second = peer->collect(&replies[1], 0);
  const Answer third = peer->collect(&replies[2], 0);
  EXPECT_GT(first.payload.size(), size_t{3} << 20);
  EXPECT_TRUE(first.payload == third.payload);
  CMDArray units;
  EXPECT_EQ(MDXArrayUnPackN(units.array, second.payload.data(), second.payload.size(), 1), 0);
  EXPECT_EQ(MDARecCount(units.array), 2);
}

// The reply is wanted, but nobody waits for it: the event loop sends it on its way.
TEST_P(Session, CarriesOutWhatNobodyWaitsForYet) {
  const auto peer = connect();
  const auto other = connect("colleague");
  CMDArray set;
  Peer::fillName(key, "unwaited", &set);
  MDXCliParam* reply = nullptr;
  ASSERT_TRUE(peer->session().SqlUpdate("IdentifiedObject", set.array, true, &reply));
  EXPECT_TRUE(eventually([&] { return other->nameOf(key) == "unwaited"; }));
  EXPECT_EQ(peer->collect(&reply, -1).status, 0);
}

TEST_P(Session, CarriesOutInOrderWhatIsWaitedForOutOfOrder) {
  const auto peer = connect();
  CMDArray set;
  Peer::fillName(key, "first", &set);
  MDXCliParam* reply = nullptr;
  ASSERT_TRUE(peer->session().SqlUpdate("IdentifiedObject", set.array, true, &reply));
  EXPECT_EQ(peer->nameOf(key), "first") << "what was asked later sees what was written before";
  EXPECT_EQ(peer->collect(&reply, 0).status, 0);
}

TEST_P(Session, CarriesTextsThatAreLargeTogether) {
  const auto peer = connect();
  constexpr size_t kTimes = 400;
  std::vector<MDXCliParam*> replies(kTimes, nullptr);
  MDXCliParam* whole = nullptr;
  const std::string body = "obj=" + key;
  const std::string one = peer->ask("LiteModel", body).text;
  ASSERT_GT(one.size() * kTimes, size_t{3} << 20);
  peer->session().BlockBeg();
  for (MDXCliParam*& reply : replies) {
    peer->session().PacketExec("LiteModel", reinterpret_cast<const unsigned char*>(body.data()),
                               static_cast<int>(body.size()), &reply);
  }
  ASSERT_TRUE(peer->session().BlockEnd(true, &whole));
  ASSERT_EQ(peer->collect(&whole, -1).status, 0);
  for (MDXCliParam*& reply : replies) EXPECT_TRUE(peer->collect(&reply, 0).text == one);
}

// ---- waiting ----

class SlowSession : public Session {
 protected:
  SlowSession() : Session(shortBudget()) {}
  static server::CoreOptions shortBudget() {
    server::CoreOptions options;
    options.budget.milliseconds = 300;
    return options;
  }
};
INSTANTIATE_TEST_SUITE_P(Over, SlowSession, testing::Values(Line::kEmbedded, Line::kTcp, Line::kUnixSocket),
                         nameOfLine);

TEST_P(SlowSession, EndsAWaitInTimeAndAnswersLaterRequestsBehindTheScript) {
  const auto peer = connect();
  MDXCliParam* script = nullptr;
  ASSERT_TRUE(peer->session().CalcExec(kEndlessScript, nullptr, &script));
  EXPECT_FALSE(peer->session().WaitResult(&script, 1));
  EXPECT_EQ(script, nullptr);
  EXPECT_EQ(peer->ask("SRV_GROUPS_INFO", "").status, 0);
}

TEST_P(SlowSession, AnswersAScriptThatUsesUpItsBudget) {
  EXPECT_EQ(connect()->script(kEndlessScript).status, wire::kBudgetSpent);
}

TEST_P(SlowSession, ServesOthersWhileAScriptRuns) {
  const auto busy = connect();
  const auto other = connect();
  MDXCliParam* script = nullptr;
  ASSERT_TRUE(busy->session().CalcExec(kEndlessScript, nullptr, &script));
  EXPECT_EQ(other->ask("SRV_GROUPS_INFO", "").status, 0);
  EXPECT_EQ(busy->collect(&script, -1).status, wire::kBudgetSpent);
}

// ---- events ----

TEST_P(Session, TellsEverybodyOfAWriteThatWasMadeAfterTheSubscription) {
  const auto mine = connect("writer");
  const auto other = connect("somebody");
  ASSERT_EQ(mine->rename(key, "before"), 0);
  mine->listen({602});
  other->listen({602});
  ASSERT_EQ(mine->rename(key, "after"), 0);
  for (Peer* peer : {mine.get(), other.get()}) {
    ASSERT_TRUE(peer->waitForMessages(1));
    EXPECT_EQ(peer->messages(), QStringList(QString("602 2 ") + key.c_str()));
  }
}

TEST_P(Session, CarriesEveryFieldOfAnEvent) {
  const auto peer = connect("Иван");
  struct Watch : server::Subscriber {
    void onEvent(const wire::Event& event) override { seen.push_back(event); }
    void onValue(const wire::ParamValue&) override {}
    std::vector<wire::Event> seen;
  } watch;
  server.core()->subscribe(&watch, {602}, -1);
  peer->listen({602});
  ASSERT_EQ(peer->rename(key, "named"), 0);
  MDXCliParam* message = nullptr;
  ASSERT_TRUE(processUntil([&] { return (message = peer->session().TakeMessage()) != nullptr; }));
  server.core()->unsubscribe(&watch);
  const wire::Event& event = watch.seen.at(0);
  EXPECT_EQ(message->typeNumber, MDX_TYPE_EVENT);
  EXPECT_EQ(numberOf(message, MDX_EVENT_SEQUENCE), event.sequence);
  EXPECT_EQ(numberOf(message, MDX_EVENT_KIND), 602);
  double time = 0;
  MDRGetAsDouble(MDXParamFld(message, MDX_EVENT_TIME), message, &time);
  EXPECT_EQ(time, event.time);
  EXPECT_EQ(bytesOf(message, MDX_EVENT_KEY), key);
  EXPECT_EQ(bytesOf(message, MDX_EVENT_PARAM), "tbl=IdentifiedObject,seq=1");
  EXPECT_EQ(bytesOf(message, MDX_EVENT_USER), "Иван");
  EXPECT_EQ(bytesOf(message, MDX_EVENT_IMAGE), *event.image);
  MDXParamFree(message);
}

TEST_P(Session, DeliversEventsInOrder) {
  const auto peer = connect();
  peer->listen({601, 602, 603});
  for (int i = 0; i < 200; ++i) ASSERT_TRUE(peer->renameUnwaited(key, "name " + std::to_string(i)));
  ASSERT_TRUE(peer->waitForMessages(200));
  for (int i = 0; i < 200; ++i) {
    EXPECT_EQ(peer->messages().at(i), QString("602 %1 ").arg(i + 1) + key.c_str());
  }
}

TEST_P(Session, ReplacesTheListOfKinds) {
  const auto peer = connect();
  peer->listen({602});
  peer->listen({903});
  ASSERT_EQ(peer->rename(key, "unheard"), 0);
  wire::Event receipt;
  receipt.kind = 903;
  receipt.key = key;
  server.core()->publish(receipt);
  ASSERT_TRUE(peer->waitForMessages(1));
  EXPECT_EQ(peer->messages(), QStringList(QString("903 0 ") + key.c_str()));
}

TEST_P(Session, DeliversNothingAfterItsSubscriptionEnded) {
  const auto peer = connect();
  peer->listen({602});
  peer->listen({});
  ASSERT_EQ(peer->rename(key, "unheard"), 0);
  peer->listen({902});
  wire::Event receipt;
  receipt.kind = 902;
  server.core()->publish(receipt);
  ASSERT_TRUE(peer->waitForMessages(1));
  EXPECT_EQ(peer->messages(), QStringList("902 0 "));
}

TEST_P(Session, DeliversValuesOfTheNumbersAskedForLast) {
  const auto peer = connect();
  peer->listenValues({1001});
  peer->listenValues({1002});
  server.core()->live().set(1001, {1, server::Quality::kGood, 1.0});
  server.core()->live().set(1002, {1, server::Quality::kGood, 1e6});
  ASSERT_TRUE(eventually([&] { return peer->messages().contains("value 1002 1000000"); }))
      << peer->messages().join('|').toStdString();
  EXPECT_TRUE(peer->messages().filter("value 1001").isEmpty());
}

TEST_P(Session, ServesTwoSessionsSideBySide) {
  const std::unique_ptr<Peer> peers[] = {connect(), connect("somebody")};
  for (int i = 0; i < 100; ++i) {
    MDXCliParam* replies[2] = {};
    for (int at = 0; at < 2; ++at) {
      ASSERT_TRUE(peers[at]->session().PacketExec("SRV_GROUPS_INFO", nullptr, 0, &replies[at]));
    }
    for (int at = 0; at < 2; ++at) EXPECT_EQ(peers[at]->collect(&replies[at], -1).status, 0);
  }
}

}  // namespace
}  // namespace tlm::test
