// The daemon's parts: what it is told, what it logs, what it keeps for others, and its health.
#include <TlmWireGrpc/convert.h>
#include <grpcpp/generic/generic_stub.h>
#include <grpcpp/grpcpp.h>
#include <gtest/gtest.h>

#include <server/daemon/Log.h>
#include <server/daemon/PieceShelf.h>
#include <server/daemon/daemonOptions.h>
#include <tlm/v1/model.grpc.pb.h>

#include <atomic>
#include <thread>

#include "support/EmbeddedServer.h"
#include "support/ModelText.h"
#include "support/NetworkServer.h"
#include "support/Peer.h"

namespace tlm::test {
namespace {

using server::DaemonOptions;

bool configure(const std::string& text, DaemonOptions* options, std::string* error) {
  return server::readConfiguration(text, "a.conf", options, error);
}

TEST(DaemonOptions, HaveALoopbackAddress) {
  DaemonOptions options;
  std::string error;
  ASSERT_TRUE(server::readDaemonOptions({}, &options, &error));
  EXPECT_EQ(options.net.addresses, std::vector<std::string>{"127.0.0.1:4860"});
}

TEST(DaemonOptions, BoundTheMemoryOfTheNetwork) {
  DaemonOptions options;
  std::string error;
  ASSERT_TRUE(server::readDaemonOptions({}, &options, &error));
  EXPECT_EQ(options.net.memoryBytes, size_t{1} << 30);
  ASSERT_TRUE(configure("memory-bytes = 33554432", &options, &error)) << error;
  EXPECT_EQ(options.net.memoryBytes, size_t{32} << 20);
  EXPECT_FALSE(configure("memory-bytes = 1000000", &options, &error)) << "no message would fit";
}

TEST(DaemonOptions, LetNoMoreAnswersBeGatheredThanMayWait) {
  const auto gathered = [](const std::vector<std::string>& flags) {
    DaemonOptions options;
    std::string error;
    EXPECT_TRUE(server::readDaemonOptions(flags, &options, &error)) << error;
    return options.core.maxReplyBytes;
  };
  EXPECT_EQ(gathered({}), size_t{256} << 20);
  EXPECT_EQ(gathered({"--max-reply-bytes", "2048"}), 2048u);
  EXPECT_EQ(gathered({"--held-bytes", "1024"}), wire::kWholeBytes) << "what travels whole need not wait";
}

// A record may become as large as a block, and travels as one event that every client has to be able to receive.
TEST(DaemonOptions, LetNoBlockBecomeLargerThanAClientReceives) {
  DaemonOptions options;
  std::string error;
  ASSERT_TRUE(configure("max-request-bytes = 67108864", &options, &error)) << error;
  EXPECT_FALSE(configure("max-request-bytes = 67108865", &options, &error));
  ASSERT_TRUE(server::readDaemonOptions({"--max-request-bytes", "67108864"}, &options, &error)) << error;
  EXPECT_EQ(options.net.maxRequestBytes, size_t{64} << 20);
  EXPECT_FALSE(server::readDaemonOptions({"--max-request-bytes", "67108865"}, &options, &error));
}

TEST(DaemonOptions, AreReadFromFlags) {
  DaemonOptions options;
  std::string error;
  ASSERT_TRUE(server::readDaemonOptions({"--store", "m.tlm", "--listen", "a:1", "--listen", "unix:b", "--sample",
                                         "--max-request-bytes", "2048", "--script-ms", "77", "--log-level", "debug"},
                                        &options, &error))
      << error;
  EXPECT_EQ(options.store, "m.tlm");
  EXPECT_EQ(options.net.addresses, (std::vector<std::string>{"a:1", "unix:b"}));
  EXPECT_TRUE(options.sample);
  EXPECT_FALSE(options.simulate);
  EXPECT_EQ(options.core.maxRequestBytes, 2048u);
  EXPECT_EQ(options.net.maxRequestBytes, 2048u) << "the network's limit is the core's";
  EXPECT_EQ(options.core.budget.milliseconds, 77);
  EXPECT_EQ(options.logLevel, server::LogLevel::kDebug);
}

TEST(DaemonOptions, AreReadFromAFile) {
  DaemonOptions options;
  std::string error;
  ASSERT_TRUE(configure("# a comment\n\n  store = m.tlm \nlisten=a:1\nlisten = b:2\nsimulate = yes\nsample = no\n",
                        &options, &error))
      << error;
  EXPECT_EQ(options.store, "m.tlm");
  EXPECT_EQ(options.net.addresses, (std::vector<std::string>{"a:1", "b:2"}));
  EXPECT_TRUE(options.simulate);
  EXPECT_FALSE(options.sample);
}

TEST(DaemonOptions, TellTheLineOfAFileThatIsWrong) {
  for (const char* line : {"nonsense", "unknown = 1", "max-calls = 0", "max-calls = many", "store =", "help = yes",
                           "sample = perhaps", "log-level = loud", "config = b.conf"}) {
    DaemonOptions options;
    std::string error;
    EXPECT_FALSE(configure(std::string("store = m\n") + line, &options, &error)) << line;
    EXPECT_EQ(error.substr(0, 9), "a.conf:2:") << error;
  }
}

TEST(DaemonOptions, RefuseFlagsThatAreWrong) {
  for (const std::vector<std::string>& flags : {std::vector<std::string>{"--nothing"},
                                                {"store"},
                                                {"--store"},
                                                {"--max-calls", "0"},
                                                {"--config", "/nowhere"}}) {
    DaemonOptions options;
    std::string error;
    EXPECT_FALSE(server::readDaemonOptions(flags, &options, &error)) << flags.front();
    EXPECT_FALSE(error.empty());
  }
}

TEST(DaemonOptions, ShippedConfigurationIsRead) {
  DaemonOptions options;
  std::string error;
  EXPECT_TRUE(server::readDaemonOptions({"--config", TLM_SOURCE_DIR "/packaging/tlmserver.conf", "--listen", "x:1"},
                                        &options, &error))
      << error;
  EXPECT_EQ(options.store, "/var/lib/tlm/model.tlm");
  EXPECT_EQ(options.net.addresses, std::vector<std::string>{"x:1"}) << "flags go before the file";
}

TEST(Log, WritesALineOfNamesAndValues) {
  std::string text;
  server::Log log(server::LogLevel::kInfo, [&](const std::string& line) { text += line; });
  log.info("opened", {{"peer", "a:1"}, {"why", "a \"b\"\nc=d\\"}, {"none", ""}});
  EXPECT_EQ(text.substr(0, 5), "time=");
  EXPECT_EQ(text.substr(text.find(" level")),
            " level=info event=opened peer=a:1 why=\"a \\\"b\\\"\\nc=d\\\\\" none=\"\"\n");
}

TEST(Log, NeitherEndsALineNorSteersATerminalByWhatAClientSays) {
  std::string text;
  server::Log log(server::LogLevel::kInfo, [&](const std::string& line) { text += line; });
  log.info("refused", {{"user", "\x1b[2Jroot"}, {"why", std::string("a\r\tb\0\x7f", 6)}});
  EXPECT_EQ(text.substr(text.find(" event")), " event=refused user=\"\\x1b[2Jroot\" why=\"a\\x0d\\x09b\\x00\\x7f\"\n");
}

TEST(Log, LeavesOutWhatIsBelowItsLevel) {
  std::string text;
  server::Log log(server::LogLevel::kWarning, [&](const std::string& line) { text += line; });
  log.debug("a");
  log.info("b");
  EXPECT_EQ(text, "");
  log.warning("c");
  log.error("d");
  EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 2);
}

wire::BlockReply replyOf(size_t bytes) { return {wire::Reply{0, std::string(bytes, 'x'), std::nullopt}, {}}; }

TEST(PieceShelf, GivesAReplyOnce) {
  server::PieceShelf shelf(1000, std::chrono::seconds(30));
  const std::string name = shelf.put(replyOf(100));
  EXPECT_EQ(name.size(), 32u);
  const auto taken = shelf.take(name);
  ASSERT_TRUE(taken);
  EXPECT_EQ(taken->whole.payload->size(), 100u);
  EXPECT_FALSE(shelf.take(name));
}

TEST(PieceShelf, HasRoomForItsBytesAndGetsItBack) {
  server::PieceShelf shelf(100, std::chrono::seconds(30));
  const std::string name = shelf.put(replyOf(60));
  EXPECT_EQ(shelf.put(replyOf(41)), "");
  EXPECT_NE(shelf.put(replyOf(40)), "");
  shelf.take(name);
  EXPECT_NE(shelf.put(replyOf(60)), "");
}

TEST(PieceShelf, DropsWhatNobodyTakesInTime) {
  const auto now = server::PieceShelf::Clock::now();
  server::PieceShelf shelf(100, std::chrono::seconds(30));
  const std::string name = shelf.put(replyOf(100), now);
  EXPECT_TRUE(shelf.put(replyOf(1), now + std::chrono::seconds(29)).empty());
  EXPECT_FALSE(shelf.take(name, now + std::chrono::seconds(30)));
  EXPECT_FALSE(shelf.put(replyOf(100), now + std::chrono::seconds(30)).empty());
}

TEST(PieceShelf, DropsWhenItIsToldWhatIsOverByThen) {
  const auto now = server::PieceShelf::Clock::now();
  server::PieceShelf shelf(100, std::chrono::seconds(30));
  shelf.put(replyOf(50), now);
  const std::string later = shelf.put(replyOf(50), now + std::chrono::seconds(10));
  EXPECT_EQ(shelf.dropOld(now + std::chrono::seconds(29)), 0u);
  EXPECT_EQ(shelf.dropOld(now + std::chrono::seconds(30)), 1u);
  EXPECT_TRUE(shelf.take(later, now + std::chrono::seconds(30)));
}

// What the standard health service answers for a name: 1 is serving.
int health(const std::string& address, const std::string& service, grpc::Status* status) {
  grpc::ChannelArguments arguments;
  arguments.SetInt(GRPC_ARG_ENABLE_HTTP_PROXY, 0);
  grpc::GenericStub stub(grpc::CreateCustomChannel(address, grpc::InsecureChannelCredentials(), arguments));
  const grpc::Slice slice(std::string("\x0a") + static_cast<char>(service.size()) + service);
  grpc::ClientContext context;
  grpc::CompletionQueue queue;
  const auto call =
      stub.PrepareUnaryCall(&context, "/grpc.health.v1.Health/Check", grpc::ByteBuffer(&slice, 1), &queue);
  grpc::ByteBuffer reply;
  call->StartCall();
  call->Finish(&reply, status, nullptr);
  void* tag = nullptr;
  bool ok = false;
  queue.Next(&tag, &ok);
  queue.Shutdown();
  while (queue.Next(&tag, &ok)) continue;
  std::vector<grpc::Slice> slices;
  if (!status->ok() || !reply.Dump(&slices).ok() || slices.empty() || slices[0].size() != 2) return -1;
  return slices[0].begin()[1];
}

TEST(Health, SaysThatTheModelIsServed) {
  EmbeddedServer model("unit КП-1\n");
  NetworkServer network(*model.core());
  grpc::Status status;
  EXPECT_EQ(health(network.tcp(), "tlm.v1.Model", &status), 1) << status.error_message();
  EXPECT_EQ(health(network.tcp(), "other", &status), -1);
  EXPECT_EQ(status.error_code(), grpc::StatusCode::NOT_FOUND);
}

TEST(NetServer, SendsAReplyWholeAsLongAsAMessageHoldsIt) {
  EmbeddedServer model("unit КП-1\ntable Archives Склад\n");
  NetworkServer network(*model.core());
  std::string problem;
  Peer peer(connectToServer(quickLine(network.tcp()), &problem));
  grpc::ChannelArguments arguments;
  arguments.SetInt(GRPC_ARG_ENABLE_HTTP_PROXY, 0);
  const auto stub =
      v1::Model::NewStub(grpc::CreateCustomChannel(network.tcp(), grpc::InsecureChannelCredentials(), arguments));
  v1::Block block;
  block.add_requests()->set_name("TableRecords");
  block.mutable_requests(0)->set_body("Archives");
  for (const size_t megabytes : {2, 3}) {
    ASSERT_EQ(peer.write("Archives", keyOf("Склад"), "location", std::string(megabytes << 20, 'x')), 0);
    grpc::ClientContext context;
    v1::BlockReply reply;
    ASSERT_TRUE(stub->Call(&context, block, &reply).ok());
    EXPECT_EQ(reply.rest().empty(), megabytes == 2);
    EXPECT_EQ(reply.each(0).payload().empty(), megabytes == 3);
  }
}

// Small replies, and large ones that wait on the shelf, at once.
TEST(NetServer, ServesManyCallersAtOnce) {
  EmbeddedServer model("unit КП-1\ntable Archives Склад\n");
  NetworkServer network(*model.core());
  std::string problem;
  Peer peer(connectToServer(quickLine(network.tcp()), &problem));
  ASSERT_EQ(peer.write("Archives", keyOf("Склад"), "location", std::string(size_t{3} << 20, 'x')), 0);
  constexpr int kCallers = 8;
  constexpr int kCalls = 10;
  std::atomic<int> good{0};
  std::vector<std::thread> callers;
  for (int i = 0; i < kCallers; ++i) {
    callers.emplace_back([&, table = i % 2 == 0 ? "Archives" : "RemoteUnit"] {
      grpc::ChannelArguments arguments;
      arguments.SetInt(GRPC_ARG_USE_LOCAL_SUBCHANNEL_POOL, 1);
      arguments.SetInt(GRPC_ARG_ENABLE_HTTP_PROXY, 0);
      const auto stub =
          v1::Model::NewStub(grpc::CreateCustomChannel(network.tcp(), grpc::InsecureChannelCredentials(), arguments));
      v1::Block block;
      block.add_requests()->set_name("TableRecords");
      block.mutable_requests(0)->set_body(table);
      for (int call = 0; call < kCalls; ++call) {
        // A first attempt to connect may fail inside the library when many begin at once: the call waits for the next.
        grpc::ClientContext context;
        context.set_wait_for_ready(true);
        context.set_deadline(std::chrono::system_clock::now() + std::chrono::seconds(30));
        v1::BlockReply reply;
        if (!stub->Call(&context, block, &reply).ok() || reply.whole().status() != 0) continue;
        grpc::ClientContext more;
        v1::PiecesRequest request;
        v1::Piece piece;
        request.set_rest(reply.rest());
        size_t bytes = reply.each(0).payload().size();
        const auto reader = reply.rest().empty() ? nullptr : stub->TakePieces(&more, request);
        while (reader && reader->Read(&piece)) bytes += piece.data().size();
        if (bytes > 0 && bytes >= reply.each(0).payload_bytes()) ++good;
      }
    });
  }
  for (std::thread& caller : callers) caller.join();
  EXPECT_EQ(good, kCallers * kCalls);
}

TEST(NetServer, SaysWhichAddressItCannotUse) {
  EmbeddedServer model("unit КП-1\n");
  NetworkServer first(*model.core());
  server::Log log(server::LogLevel::kError);
  server::NetOptions options;
  options.addresses = {first.tcp()};
  std::string error;
  EXPECT_EQ(server::NetServer::start(*model.core(), options, log, &error), nullptr) << "the port is taken";
  EXPECT_NE(error.find(first.tcp()), std::string::npos);
}

TEST(NetServer, TellsStreamsThatItStops) {
  EmbeddedServer model("unit КП-1\n");
  NetworkServer network(*model.core());
  grpc::ChannelArguments arguments;
  arguments.SetInt(GRPC_ARG_ENABLE_HTTP_PROXY, 0);
  const auto stub =
      v1::Model::NewStub(grpc::CreateCustomChannel(network.tcp(), grpc::InsecureChannelCredentials(), arguments));
  grpc::ClientContext context;
  const auto stream = stub->Listen(&context);
  stream->Write({});
  v1::Delivery delivery;
  ASSERT_TRUE(stream->Read(&delivery));
  network.stop();
  while (stream->Read(&delivery)) continue;
  const grpc::Status status = stream->Finish();
  EXPECT_EQ(status.error_code(), grpc::StatusCode::UNAVAILABLE);
  EXPECT_EQ(status.error_message(), "the server is stopping");
}

TEST(NetServer, LeavesASocketToTheServerThatAnswersThere) {
  EmbeddedServer model("unit КП-1\n");
  NetworkServer first(*model.core());
  server::Log log(server::LogLevel::kError);
  server::NetOptions options;
  options.addresses = {first.unixSocket()};
  std::string error;
  EXPECT_EQ(server::NetServer::start(*model.core(), options, log, &error), nullptr);
  EXPECT_NE(error.find(first.unixSocket()), std::string::npos) << error;
  const auto transport = connectToServer(quickLine(first.unixSocket()), &error);
  EXPECT_NE(transport, nullptr) << error;
}

}  // namespace
}  // namespace tlm::test
