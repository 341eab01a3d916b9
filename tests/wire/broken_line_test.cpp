// What becomes of requests, writes and events when the line between a session and its server breaks.
#include <TlmServer/LiveValues.h>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <QElapsedTimer>
#include <QTemporaryDir>

#include <cstdlib>
#include <cstring>

#include "support/EmbeddedServer.h"
#include "support/ModelText.h"
#include "support/NetworkServer.h"
#include "support/Peer.h"
#include "support/Proxy.h"

namespace tlm::test {
namespace {

constexpr char kModel[] = R"(
unit КП-1
  analog 1001 P Т-1
  analog 1002 P Т-2
)";

class BrokenLine : public testing::Test {
 protected:
  explicit BrokenLine(server::CoreOptions options = shortScripts())
      : server(kModel, options), network(*server.core()), proxy(network.tcp()) {}

  static server::CoreOptions shortScripts() {
    server::CoreOptions options;
    options.budget.milliseconds = 2000;
    return options;
  }

  // Through the proxy.
  std::unique_ptr<Peer> connect(NetLine line = quickLine({})) {
    line.address = proxy.address();
    return connectPeer(line);
  }
  // Past it.
  std::unique_ptr<Peer> connectDirectly() { return connectPeer(quickLine(network.tcp(), "other")); }

  void breakLine(Peer& peer) {
    proxy.refuse(true);
    proxy.cut();
    ASSERT_TRUE(eventually([&] { return peer.told.contains("down"); }));
  }
  void mendLine(Peer& peer) {
    proxy.refuse(false);
    ASSERT_TRUE(eventually([&] { return peer.told.contains("up"); }));
    ASSERT_TRUE(eventually([&] { return peer.session().alive(); }));
  }

  EmbeddedServer server;
  NetworkServer network;
  Proxy proxy;
  const std::string key = keyOf("P Т-1");
};

TEST_F(BrokenLine, TellsThatItDiedAndCameBack) {
  const auto peer = connect();
  breakLine(*peer);
  EXPECT_FALSE(peer->session().alive());
  mendLine(*peer);
  EXPECT_EQ(peer->told, QStringList({"down", "up"}));
}

TEST_F(BrokenLine, RefusesARequestWhileItIsKnownToBeDead) {
  const auto peer = connect();
  breakLine(*peer);
  MDXCliParam* reply = nullptr;
  EXPECT_FALSE(peer->session().PacketExec("SRV_GROUPS_INFO", nullptr, 0, &reply));
  EXPECT_FALSE(peer->session().WaitResult(&reply, -1));
}

TEST_F(BrokenLine, ServesAgainWhenItIsBack) {
  const auto peer = connect();
  breakLine(*peer);
  mendLine(*peer);
  EXPECT_EQ(peer->ask("SRV_GROUPS_INFO", "").status, 0);
}

TEST_F(BrokenLine, EndsAWaitWithoutLimit) {
  const auto peer = connect();
  MDXCliParam* script = nullptr;
  ASSERT_TRUE(peer->session().CalcExec(kEndlessScript, nullptr, &script));
  proxy.refuse(true);
  proxy.cut();
  EXPECT_FALSE(peer->session().WaitResult(&script, -1));
  EXPECT_EQ(script, nullptr);
}

TEST_F(BrokenLine, IsNoticedWhenNothingComesAnyMore) {
  const auto peer = connect();
  proxy.hold(true);
  QElapsedTimer waited;
  waited.start();
  EXPECT_FALSE(peer->ask("SRV_GROUPS_INFO", "").came) << "a wait without limit ends";
  EXPECT_LT(waited.elapsed(), 10'000) << "by the beats, which are missed long before a ping is";
  EXPECT_FALSE(peer->session().alive());
  proxy.hold(false);
  EXPECT_TRUE(eventually([&] { return peer->session().alive(); }));
  EXPECT_EQ(peer->ask("SRV_GROUPS_INFO", "").status, 0);
}

TEST_F(BrokenLine, StaysUpWhenTheLineIsOnlySlow) {
  proxy.delay(std::chrono::milliseconds(60));
  const auto peer = connect();
  peer->listen({602});
  for (int i = 0; i < 5; ++i) EXPECT_EQ(peer->rename(key, "name " + std::to_string(i)), 0);
  EXPECT_TRUE(peer->waitForMessages(5));
  EXPECT_EQ(peer->told, QStringList());
}

TEST_F(BrokenLine, EndsATimedWaitInItsTime) {
  const auto peer = connect();
  proxy.hold(true);
  MDXCliParam* reply = nullptr;
  ASSERT_TRUE(peer->session().PacketExec("SRV_GROUPS_INFO", nullptr, 0, &reply));
  EXPECT_FALSE(peer->session().WaitResult(&reply, 1));
}

TEST_F(BrokenLine, FailsToConnectInTime) {
  proxy.hold(true);
  NetLine line = quickLine(proxy.address());
  line.connectMs = 200;
  std::string problem;
  EXPECT_EQ(connectToServer(line, &problem), nullptr);
  EXPECT_FALSE(problem.empty());
}

TEST_F(BrokenLine, FailsToConnectWhereNobodyListens) {
  NetLine line = quickLine("unix:/nowhere/at/all.sock");
  line.connectMs = 300;
  std::string problem;
  EXPECT_EQ(connectToServer(line, &problem), nullptr);
  EXPECT_FALSE(problem.empty());
}

TEST_F(BrokenLine, IsTriedAgainLessAndLessOften) {
  NetLine line = quickLine({});
  line.longestRetryMs = 10'000;
  const auto peer = connect(line);
  breakLine(*peer);
  const size_t before = proxy.accepted();
  ASSERT_TRUE(eventually([&] { return proxy.accepted() >= before + 5; }));
  eventually([] { return false; }, 1500);
  EXPECT_LT(proxy.accepted() - before, 40u) << "every 10 ms it would have been a hundred and more";
}

// ---- events ----

TEST_F(BrokenLine, CatchesUpWithWhatWasMissedEachOnceAndInOrder) {
  const auto peer = connect();
  const auto other = connectDirectly();
  peer->listen({602});
  ASSERT_EQ(other->rename(key, "one"), 0);
  ASSERT_TRUE(peer->waitForMessages(1));
  breakLine(*peer);
  for (int i = 0; i < 20; ++i) ASSERT_EQ(other->rename(key, "away " + std::to_string(i)), 0);
  mendLine(*peer);
  ASSERT_EQ(other->rename(key, "last"), 0);
  ASSERT_TRUE(peer->waitForMessages(22));
  for (int i = 0; i < 22; ++i) EXPECT_EQ(peer->messages().at(i), QString("602 %1 ").arg(i + 1) + key.c_str());
  EXPECT_EQ(peer->messages().size(), 22);
  EXPECT_EQ(peer->told, QStringList({"down", "up"}));
}

TEST_F(BrokenLine, CatchesUpThoughNothingHadComeBefore) {
  const auto peer = connect();
  const auto other = connectDirectly();
  ASSERT_EQ(other->rename(key, "before"), 0);
  peer->listen({602});
  breakLine(*peer);
  ASSERT_EQ(other->rename(key, "missed"), 0);
  mendLine(*peer);
  ASSERT_TRUE(peer->waitForMessages(1));
  EXPECT_EQ(peer->messages(), QStringList(QString("602 2 ") + key.c_str()));
}

// Cut at moments that nobody chose, while events flow.
TEST_F(BrokenLine, DeliversEveryEventOnceThroughManyBreaks) {
  const auto peer = connect();
  const auto other = connectDirectly();
  peer->listen({602});
  constexpr int kWrites = 200;
  for (int i = 0; i < kWrites; ++i) {
    if (i % 20 == 5) proxy.cut();
    ASSERT_EQ(other->rename(key, "name " + std::to_string(i)), 0);
    if (i % 20 == 15) {
      ASSERT_TRUE(eventually([&] { return peer->told.count("up") == i / 20 + 1; }));
    }
  }
  ASSERT_TRUE(peer->waitForMessages(kWrites));
  for (int i = 0; i < kWrites; ++i) {
    ASSERT_EQ(peer->messages().at(i), QString("602 %1 ").arg(i + 1) + key.c_str());
  }
  EXPECT_EQ(peer->told.count("down"), kWrites / 20);
  EXPECT_FALSE(peer->told.contains("lost"));
}

TEST_F(BrokenLine, TakesTheSubscriptionThatWasMadeWhileItWasDead) {
  const auto peer = connect();
  breakLine(*peer);
  peer->listen({602});
  peer->listenValues({1001});
  mendLine(*peer);
  // The lists go with the new connection, so both are in effect when the line stands.
  ASSERT_EQ(connectDirectly()->rename(key, "heard"), 0);
  server.core()->live().set(1001, {1, server::Quality::kGood, 3.0});
  ASSERT_TRUE(peer->waitForMessages(2));
  EXPECT_TRUE(peer->messages().contains("value 1001 3"));
}

class ShortLog : public BrokenLine {
 protected:
  ShortLog() : BrokenLine(few()) {}
  static server::CoreOptions few() {
    server::CoreOptions options;
    options.keptEvents = 10;
    return options;
  }
};

TEST_F(ShortLog, TellsThatEventsAreLostAndGoesOn) {
  const auto peer = connect();
  peer->listen({602});
  breakLine(*peer);
  // The log is looked at every few thousand events.
  wire::Block block;
  CMDArray set;
  peer->fillName(key, "many", &set);
  for (int i = 0; i < 5000; ++i) block.requests.push_back({wire::RequestKind::kUpdate, "IdentifiedObject", {}});
  const std::string body = wire::packArray(set.array);
  for (wire::Request& request : block.requests) request.body = body;
  ASSERT_EQ(server.core()->execute(block, {"other"}).whole.status, 0);
  mendLine(*peer);
  EXPECT_TRUE(eventually([&] { return peer->told.contains("lost"); }));
  EXPECT_EQ(peer->messages().size(), 0) << "nothing of what can only be told in part";
  ASSERT_EQ(connectDirectly()->rename(key, "later"), 0);
  ASSERT_TRUE(peer->waitForMessages(1));
  EXPECT_EQ(peer->messages().size(), 1);
}

TEST_F(BrokenLine, TellsThatEventsAreLostWhenTheServerNeverGaveAsHighANumber) {
  EmbeddedServer otherModel(kModel);
  const auto peer = connect();
  const auto other = connectDirectly();
  peer->listen({602});
  for (int i = 0; i < 5; ++i) ASSERT_EQ(other->rename(key, "name " + std::to_string(i)), 0);
  ASSERT_TRUE(peer->waitForMessages(5));
  breakLine(*peer);
  // As after a store was set back to its beginning: numbers as high were never given there.
  NetworkServer second(*otherModel.core());
  proxy.retarget(second.tcp());
  mendLine(*peer);
  EXPECT_TRUE(eventually([&] { return peer->told.contains("lost"); }));
  const auto fresh = connectPeer(quickLine(second.tcp()));
  ASSERT_EQ(fresh->rename(key, "first there"), 0);
  ASSERT_TRUE(peer->waitForMessages(6));
  EXPECT_EQ(peer->messages().last(), QString("602 1 ") + key.c_str()) << "low numbers count again";
}

TEST_F(BrokenLine, TellsThatEventsAreLostWhenTheServerHasAnotherStore) {
  EmbeddedServer otherModel(kModel);
  const auto peer = connect();
  peer->listen({602});
  ASSERT_EQ(peer->rename(key, "here"), 0);
  ASSERT_TRUE(peer->waitForMessages(1));
  breakLine(*peer);
  // It has given higher numbers, which are of other changes.
  NetworkServer second(*otherModel.core());
  const auto other = connectPeer(quickLine(second.tcp()));
  for (int i = 0; i < 5; ++i) ASSERT_EQ(other->rename(key, "there " + std::to_string(i)), 0);
  proxy.retarget(second.tcp());
  mendLine(*peer);
  EXPECT_TRUE(eventually([&] { return peer->told.contains("lost"); }));
  ASSERT_EQ(other->rename(key, "later"), 0);
  ASSERT_TRUE(peer->waitForMessages(2));
  EXPECT_EQ(peer->messages().last(), QString("602 6 ") + key.c_str());
  EXPECT_EQ(peer->messages().size(), 2);
}

// ---- writes ----

// The server has carried it out, and the answer does not come through.
TEST_F(BrokenLine, AppliesAWriteWhoseAnswerWasLostOnce) {
  const auto peer = connect();
  const auto other = connectDirectly();
  other->listen({602});
  peer->listen({602});
  proxy.holdReplies(true);
  ASSERT_TRUE(peer->renameUnwaited(key, "written once"));
  ASSERT_TRUE(other->waitForMessages(1)) << "it is committed";
  ASSERT_TRUE(eventually([&] { return proxy.heldReplies() > 0; }));
  proxy.cut();
  proxy.holdReplies(false);
  ASSERT_TRUE(eventually([&] { return peer->told.contains("up"); }));
  // The next request of the session is answered behind the block that is sent again.
  EXPECT_EQ(peer->nameOf(key), "written once");
  EXPECT_EQ(server.core()->lastSequence(), 1) << "and not twice";
  ASSERT_TRUE(peer->waitForMessages(1));
  EXPECT_EQ(peer->messages().size(), 1);
  EXPECT_EQ(peer->told, QStringList({"down", "up"})) << "nobody is told of a refusal";
}

TEST_F(BrokenLine, AnswersATimedWaitForAWriteThroughAShortBreak) {
  const auto peer = connect();
  proxy.holdReplies(true);
  MDXCliParam* whole = nullptr;
  CMDArray set;
  peer->fillName(key, "through", &set);
  peer->session().BlockBeg();
  peer->session().SqlUpdate("IdentifiedObject", set.array, true, nullptr);
  ASSERT_TRUE(peer->session().BlockEnd(true, &whole));
  ASSERT_TRUE(eventually([&] { return server.core()->lastSequence() == 1; }));
  proxy.cut();
  proxy.holdReplies(false);
  EXPECT_EQ(peer->collect(&whole, 10'000).status, 0);
  EXPECT_EQ(server.core()->lastSequence(), 1);
}

TEST_F(BrokenLine, SendsAWriteThatTheServerNeverGot) {
  const auto peer = connect();
  proxy.hold(true);
  ASSERT_TRUE(peer->renameUnwaited(key, "late"));
  proxy.cut();
  proxy.hold(false);
  EXPECT_TRUE(eventually([&] { return server.core()->lastSequence() == 1; }));
  EXPECT_EQ(connectDirectly()->nameOf(key), "late");
}

TEST_F(BrokenLine, KeepsTheOrderOfWritesThroughABreak) {
  const auto peer = connect();
  proxy.holdReplies(true);
  for (int i = 0; i < 10; ++i) ASSERT_TRUE(peer->renameUnwaited(key, "name " + std::to_string(i)));
  proxy.cut();
  proxy.holdReplies(false);
  ASSERT_TRUE(eventually([&] { return peer->told.contains("up"); }));
  EXPECT_EQ(peer->nameOf(key), "name 9");
  EXPECT_EQ(server.core()->lastSequence(), 10);
}

TEST_F(BrokenLine, TellsOfAWriteThatCouldNotBeSentInItsTime) {
  NetLine line = quickLine({});
  line.writeMs = 300;
  const auto peer = connect(line);
  proxy.hold(true);
  ASSERT_TRUE(peer->renameUnwaited(key, "never"));
  proxy.refuse(true);
  proxy.cut();
  EXPECT_TRUE(eventually([&] { return peer->told.contains(QString("refused %1").arg(wire::kUnavailable)); }));
}

TEST_F(BrokenLine, DropsARequestThatOnlyReads) {
  const auto peer = connect();
  proxy.holdReplies(true);
  MDXCliParam* reply = nullptr;
  ASSERT_TRUE(peer->session().PacketExec("SRV_GROUPS_INFO", nullptr, 0, &reply));
  breakLine(*peer);
  EXPECT_FALSE(peer->session().WaitResult(&reply, 10'000)) << "and does not wait for its time";
  proxy.holdReplies(false);
}

// ---- a real server that is killed ----

class Killed : public testing::Test {
 protected:
  std::unique_ptr<Peer> connect() { return connectPeer(quickLine(server.address())); }
  std::string someKey(Peer& peer) {
    CMDArray rows;
    EXPECT_GT(peer.rows("Measurement", &rows), 0);
    MDRVar found{};
    rows.GetVal(MDARec(rows.array, 0, 0), "KeyLink", found);
    return {found.text.data, found.text.length};
  }
  ServerProcess server;
};

TEST_F(Killed, HoldsEveryAcknowledgedWriteAndItsEvents) {
  ASSERT_TRUE(server.start()) << server.logText();
  const auto peer = connect();
  const std::string key = someKey(*peer);
  peer->listen({602});
  for (int round = 0; round < 3; ++round) {
    ASSERT_EQ(peer->rename(key, "round " + std::to_string(round)), 0);
    server.kill();
    ASSERT_TRUE(eventually([&] { return peer->told.count("down") > round; }));
    ASSERT_TRUE(server.start()) << server.logText();
    ASSERT_TRUE(eventually([&] { return peer->told.count("up") > round && peer->session().alive(); }));
    EXPECT_EQ(peer->nameOf(key), "round " + std::to_string(round));
  }
  ASSERT_TRUE(peer->waitForMessages(3));
  EXPECT_EQ(peer->messages().size(), 3);
  EXPECT_FALSE(peer->told.contains("lost"));
}

TEST_F(Killed, AppliesOnceWhatWasAnsweredToNobody) {
  ASSERT_TRUE(server.start()) << server.logText();
  Proxy proxy(server.address());
  const auto peer = connectPeer(quickLine(proxy.address()));
  const std::string key = someKey(*peer);
  const auto other = connect();
  other->listen({602});
  proxy.holdReplies(true);
  ASSERT_TRUE(peer->renameUnwaited(key, "once"));
  ASSERT_TRUE(other->waitForMessages(1));
  server.kill();
  proxy.cut();
  proxy.holdReplies(false);
  ASSERT_TRUE(server.start()) << server.logText();
  ASSERT_TRUE(eventually([&] { return peer->told.contains("up") && peer->session().alive(); }));
  EXPECT_EQ(peer->nameOf(key), "once");
  ASSERT_EQ(peer->rename(key, "twice"), 0);
  ASSERT_TRUE(other->waitForMessages(2));
  EXPECT_EQ(other->messages().last().section(' ', 1, 1), "2") << "the identity was kept with the log";
}

TEST_F(Killed, StopsInOrderOnATermSignalWithNothingLost) {
  ASSERT_TRUE(server.start()) << server.logText();
  const auto peer = connect();
  const std::string key = someKey(*peer);
  for (int i = 0; i < 20; ++i) ASSERT_TRUE(peer->renameUnwaited(key, "name " + std::to_string(i)));
  ASSERT_EQ(peer->nameOf(key), "name 19");
  EXPECT_EQ(server.terminate(), 0);
  EXPECT_NE(server.logText().find("event=stopped sequence=20"), std::string::npos) << server.logText();
  ASSERT_TRUE(server.start()) << server.logText();
  ASSERT_TRUE(eventually([&] { return peer->told.contains("up") && peer->session().alive(); }));
  EXPECT_EQ(peer->nameOf(key), "name 19");
}

// As a service manager does, on a socket that it names.
TEST_F(Killed, TellsTheServiceManagerWhenItIsReadyAndWhenItStops) {
  const QTemporaryDir folder;
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  const std::string path = folder.filePath("notify").toStdString();
  ASSERT_LT(path.size(), sizeof address.sun_path);
  std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
  const int handle = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  ASSERT_EQ(bind(handle, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
  timeval limit{20, 0};
  setsockopt(handle, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
  const auto told = [&] {
    char text[64];
    const ssize_t length = recv(handle, text, sizeof text, 0);
    return std::string(text, length > 0 ? static_cast<size_t>(length) : 0);
  };
  setenv("NOTIFY_SOCKET", path.c_str(), 1);
  ASSERT_TRUE(server.start()) << server.logText();
  unsetenv("NOTIFY_SOCKET");
  EXPECT_EQ(told(), "READY=1");
  EXPECT_EQ(server.terminate(), 0);
  EXPECT_EQ(told(), "STOPPING=1");
  close(handle);
}

}  // namespace
}  // namespace tlm::test
