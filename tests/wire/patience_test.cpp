// Those who say nothing, or not enough: the server waits as long as its patience lasts and serves others meanwhile.
#include <sys/resource.h>

#include <algorithm>
#include <future>
#include <limits>
#include <memory>
#include <vector>

#include "BadInput.h"

namespace tlm::test {
namespace {

class Impatient : public BadInput {
 protected:
  Impatient() : BadInput(options()) {}
  static server::NetOptions options() {
    server::NetOptions options = quickNet();
    options.patienceMs = 300;
    options.maxSessions = 4;
    return options;
  }
};

TEST_F(Impatient, AThousandConnectionsThatSayNothing) {
  rlimit limit{};
  getrlimit(RLIMIT_NOFILE, &limit);
  limit.rlim_cur = limit.rlim_max;
  setrlimit(RLIMIT_NOFILE, &limit);
  std::vector<int> silent;
  for (int i = 0; i < 1000; ++i) {
    const int handle = connectSilently(network.tcp());
    ASSERT_GE(handle, 0) << i;
    silent.push_back(handle);
  }
  v1::BlockReply reply;
  EXPECT_TRUE(call(oneRequest(v1::PACKET, "SRV_GROUPS_INFO", ""), &reply).ok()) << "while they are there";
  // The server closes them, whatever it has told them before.
  char byte[256];
  for (const int handle : silent) {
    while (recv(handle, byte, sizeof byte, 0) > 0) continue;
    close(handle);
  }
}

TEST_F(Impatient, SessionsOverTheLimitAreRefused) {
  std::vector<std::unique_ptr<grpc::ClientContext>> contexts;
  std::vector<std::unique_ptr<grpc::ClientReaderWriter<v1::Subscription, v1::Delivery>>> streams;
  for (int i = 0; i < 4; ++i) {
    contexts.push_back(std::make_unique<grpc::ClientContext>());
    streams.push_back(stub->Listen(contexts.back().get()));
    streams.back()->Write({});
    v1::Delivery delivery;
    ASSERT_TRUE(streams.back()->Read(&delivery));
    EXPECT_TRUE(delivery.has_subscribed());
  }
  grpc::ClientContext context;
  const auto fifth = stub->Listen(&context);
  v1::Delivery delivery;
  EXPECT_FALSE(fifth->Read(&delivery));
  EXPECT_EQ(fifth->Finish().error_code(), StatusCode::RESOURCE_EXHAUSTED);
  for (size_t i = 0; i < streams.size(); ++i) {
    contexts[i]->TryCancel();
    while (streams[i]->Read(&delivery)) continue;
    EXPECT_EQ(streams[i]->Finish().error_code(), StatusCode::CANCELLED);
  }
}

TEST_F(Impatient, AStreamWithoutASubscriptionIsEnded) {
  grpc::ClientContext context;
  const auto stream = stub->Listen(&context);
  v1::Delivery delivery;
  while (stream->Read(&delivery)) EXPECT_FALSE(delivery.has_position()) << "it has subscribed to nothing";
  EXPECT_EQ(stream->Finish().error_code(), StatusCode::DEADLINE_EXCEEDED);
}

TEST_F(Impatient, AnUploadThatStopsHalfWayIsEnded) {
  v1::BlockPiece piece = announcing(10);
  grpc::ClientContext context;
  v1::BlockReply reply;
  const auto writer = stub->Upload(&context, &reply);
  writer->Write(piece);
  EXPECT_FALSE(writer->Finish().ok());
}

// Bytes that come one by one are no reason to keep a place for ever.
TEST_F(Impatient, AnUploadThatTricklesIsEnded) {
  v1::BlockPiece piece = announcing(size_t{1} << 20);
  grpc::ClientContext context;
  v1::BlockReply reply;
  const auto writer = stub->Upload(&context, &reply);
  ASSERT_TRUE(writer->Write(piece));
  piece.clear_block();
  piece.set_data("x");
  EXPECT_TRUE(eventually([&] { return !writer->Write(piece); }));
  EXPECT_FALSE(writer->Finish().ok());
}

// The library itself would wait for it until the connection ends.
TEST_F(Impatient, ACallWhoseMessageDoesNotComeIsEnded) {
  for (const std::string method : {"Call", "TakePieces"}) {
    EXPECT_EQ(OpenCall(channel, "/tlm.v1.Model/" + method).finish().error_code(), StatusCode::CANCELLED) << method;
  }
  EXPECT_NE(network.logText().find("event=call-given-up"), std::string::npos);
}

class OneCall : public BadInput {
 protected:
  OneCall() : BadInput(options()) {}
  static server::NetOptions options() {
    server::NetOptions options = quickNet();
    options.maxCalls = 1;
    options.patienceMs = 3'600'000;
    return options;
  }
};

TEST_F(OneCall, CallsOverTheLimitAreToldToComeAgain) {
  v1::BlockPiece piece = announcing(1);
  grpc::ClientContext context;
  v1::BlockReply reply;
  const auto writer = stub->Upload(&context, &reply);
  writer->Write(piece);
  Status status;
  do {  // until the upload has begun over there
    status = call(oneRequest(v1::PACKET, "SRV_GROUPS_INFO", ""), &reply);
  } while (status.ok());
  EXPECT_EQ(status.error_code(), StatusCode::UNAVAILABLE);
  context.TryCancel();
  writer->Finish();
}

// What is carried out takes as long as it takes.
class SlowScripts : public BadInput {
 protected:
  explicit SlowScripts(server::NetOptions net = options()) : BadInput(net, slow()) {}
  Status uploadWhole(const v1::Block& block, v1::BlockReply* reply) {
    v1::BlockPiece piece;
    *piece.mutable_block() = block;
    grpc::ClientContext context;
    const auto writer = stub->Upload(&context, reply);
    writer->Write(piece);
    writer->WritesDone();
    return writer->Finish();
  }
  static server::NetOptions options() {
    server::NetOptions options = quickNet();
    options.patienceMs = 250;
    return options;
  }
  static server::CoreOptions slow() {
    server::CoreOptions options = small();
    options.budget.milliseconds = 1500;
    options.budget.steps = std::numeric_limits<int64_t>::max();
    return options;
  }
};

TEST_F(SlowScripts, ACallThatHasComeIsNotEnded) {
  v1::BlockReply reply;
  const Status status = call(oneRequest(v1::SCRIPT, kEndlessScript, ""), &reply);
  ASSERT_TRUE(status.ok()) << status.error_message();
  EXPECT_EQ(reply.each(0).status(), wire::kBudgetSpent);
}

TEST_F(SlowScripts, AnUploadThatHasComeIsNotEnded) {
  v1::BlockReply reply;
  const Status status = uploadWhole(oneRequest(v1::SCRIPT, kEndlessScript, ""), &reply);
  ASSERT_TRUE(status.ok()) << status.error_message();
  EXPECT_EQ(reply.each(0).status(), wire::kBudgetSpent);
}

class TwoPlaces : public SlowScripts {
 protected:
  TwoPlaces() : SlowScripts(options()) {}
  static server::NetOptions options() {
    server::NetOptions options = SlowScripts::options();
    options.maxCalls = 2;
    options.patienceMs = 20'000;
    return options;
  }
  // Until it finds a place.
  Status runScript() {
    v1::BlockReply reply;
    Status status;
    do {
      status = call(oneRequest(v1::SCRIPT, kEndlessScript, ""), &reply);
    } while (status.error_code() == StatusCode::UNAVAILABLE);
    return status;
  }
  // Returns when as many scripts are carried out as may be, and others are refused.
  void takePlaces() {
    for (int i = 0; i < 2; ++i) scripts.push_back(std::async(std::launch::async, [this] { return runScript(); }));
    const auto isRunning = [](const std::future<Status>& script) {
      return script.wait_for(std::chrono::seconds(0)) != std::future_status::ready;
    };
    // The first refusal may come because the scripts themselves are on their way still.
    int refusals = 0;
    while (refusals < 3 && std::any_of(scripts.begin(), scripts.end(), isRunning)) {
      v1::BlockReply reply;
      const Status status = call(oneRequest(v1::PACKET, "SRV_GROUPS_INFO", ""), &reply);
      refusals = status.error_code() == StatusCode::UNAVAILABLE ? refusals + 1 : 0;
    }
    EXPECT_EQ(refusals, 3);
  }

  std::vector<std::future<Status>> scripts;
};

TEST_F(TwoPlaces, TakenByScriptsKeepOthersFromBeingCarriedOut) {
  takePlaces();
  for (std::future<Status>& script : scripts) EXPECT_TRUE(script.get().ok());
}

// It would have to come again as a whole.
TEST_F(TwoPlaces, TakenByScriptsAreWaitedForByAnUpload) {
  takePlaces();
  v1::BlockReply reply;
  const Status status = uploadWhole(oneRequest(v1::PACKET, "SRV_GROUPS_INFO", ""), &reply);
  EXPECT_TRUE(status.ok()) << status.error_message();
  for (std::future<Status>& script : scripts) EXPECT_TRUE(script.get().ok());
}

class FewPlaces : public BadInput {
 protected:
  FewPlaces() : BadInput(options()) {}
  StatusCode ask() {
    v1::BlockReply reply;
    return call(oneRequest(v1::PACKET, "SRV_GROUPS_INFO", ""), &reply).error_code();
  }
  void waitUntilOneGivesWay() {
    EXPECT_TRUE(eventually([&] { return ask() == StatusCode::UNAVAILABLE; })) << "when all have begun over there";
    EXPECT_TRUE(eventually([&] { return ask() == StatusCode::OK; }, 10'000));
  }
  static server::NetOptions options() {
    server::NetOptions options = quickNet();
    options.maxCalls = 3;
    options.patienceMs = 12'000;
    return options;
  }
};

// Nobody waits until the server's patience with them is over.
TEST_F(FewPlaces, OfThoseWhoSayNothingOneGivesWay) {
  std::vector<std::unique_ptr<OpenCall>> silent;
  for (int i = 0; i < 3; ++i) silent.push_back(std::make_unique<OpenCall>(channel, "/tlm.v1.Model/Call"));
  waitUntilOneGivesWay();
  EXPECT_NE(network.logText().find("event=call-gave-way"), std::string::npos);
  int cancelled = 0;
  for (const auto& one : silent) {
    one->send(oneRequest(v1::PACKET, "SRV_GROUPS_INFO", "").SerializeAsString());
    const Status end = one->finish();
    EXPECT_TRUE(end.ok() || end.error_code() == StatusCode::CANCELLED) << end.error_message();
    cancelled += end.ok() ? 0 : 1;
  }
  EXPECT_EQ(cancelled, 1);
}

TEST_F(FewPlaces, OneThatHasBegunToComeKeepsItsPlace) {
  constexpr size_t kPieces = 3;
  v1::BlockPiece piece = announcing(kPieces * wire::kPieceBytes);
  grpc::ClientContext context;
  v1::BlockReply reply;
  const auto upload = stub->Upload(&context, &reply);
  ASSERT_TRUE(upload->Write(piece));
  piece.clear_block();
  piece.set_data(std::string(wire::kPieceBytes, 'x'));
  for (size_t i = 0; i + 1 < kPieces; ++i) ASSERT_TRUE(upload->Write(piece));
  std::vector<std::unique_ptr<OpenCall>> silent;
  for (int i = 0; i < 2; ++i) silent.push_back(std::make_unique<OpenCall>(channel, "/tlm.v1.Model/Call"));
  waitUntilOneGivesWay();
  EXPECT_TRUE(upload->Write(piece));
  upload->WritesDone();
  const Status status = upload->Finish();
  EXPECT_TRUE(status.ok()) << status.error_message();
}

// It still answers pings, and would keep its queue and its place for ever.
class Stuck : public BadInput {
 protected:
  Stuck() : BadInput(options()) {}
  static server::NetOptions options() {
    server::NetOptions options = quickNet();
    options.queueBytes = size_t{1} << 20;
    options.patienceMs = 2000;
    return options;
  }
};

TEST_F(Stuck, AClientThatTakesNothingIsEnded) {
  grpc::ClientContext context;
  const auto stream = listen(&context);
  const auto writer = connectPeer();
  ASSERT_NE(writer, nullptr);
  for (int i = 0; i < 60; ++i) writeLarge(*writer, 200'000);
  EXPECT_TRUE(eventually([&] { return network.logText().find("event=session-closed") != std::string::npos; }));
  v1::Delivery delivery;
  while (stream->Read(&delivery)) continue;
  EXPECT_FALSE(stream->Finish().ok());
}

// Slower than the server's patience as a whole, and never as slow between two pieces.
TEST_F(Stuck, AnUploadThatGoesOnIsWaitedFor) {
  constexpr size_t kPieces = 7;
  v1::BlockPiece piece = announcing(kPieces * wire::kPieceBytes);
  grpc::ClientContext context;
  v1::BlockReply reply;
  const auto writer = stub->Upload(&context, &reply);
  ASSERT_TRUE(writer->Write(piece));
  piece.clear_block();
  piece.set_data(std::string(wire::kPieceBytes, 'x'));
  for (size_t i = 0; i < kPieces; ++i) {
    eventually([] { return false; }, 400);  // the line is slow
    ASSERT_TRUE(writer->Write(piece)) << i;
  }
  writer->WritesDone();
  const Status status = writer->Finish();
  EXPECT_TRUE(status.ok()) << status.error_message();
}

// A message may be as long as four pieces, and nobody sees how much of it has come.
TEST_F(Stuck, ACallMayComeAsSlowlyAsAnUpload) {
  OpenCall slow(channel, "/tlm.v1.Model/Call");
  eventually([] { return false; }, 3000);
  ASSERT_TRUE(slow.send(oneRequest(v1::PACKET, "SRV_GROUPS_INFO", "").SerializeAsString()));
  const Status status = slow.finish();
  EXPECT_TRUE(status.ok()) << status.error_message();
}

}  // namespace
}  // namespace tlm::test
