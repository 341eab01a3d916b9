// The server's end of a stream: subscriptions that take their time, and clients that take theirs.
#include <TlmServer/Catalogue.h>
#include <TlmServer/LiveValues.h>
#include <TlmServer/MemoryStore.h>
#include <TlmWireGrpc/convert.h>

#include <pthread.h>

#include <grpcpp/grpcpp.h>
#include <gtest/gtest.h>

#include <condition_variable>
#include <future>
#include <mutex>
#include <thread>

#include <tlm/v1/model.grpc.pb.h>

#include "support/ModelText.h"
#include "support/NetworkServer.h"
#include "support/Peer.h"
#include "support/StoreAround.h"

namespace tlm::test {
namespace {

constexpr char kModel[] = R"(
unit КП-1
  analog 1001 P Т-1
table Archives А-1
table Archives А-2
table Archives А-3
table Archives А-4
table Archives А-5
table Archives А-6
)";
constexpr const char* kArchives[] = {"А-1", "А-2", "А-3", "А-4", "А-5", "А-6"};

// Its log of events is read when the test lets it.
class HeldLog : public StoreAround {
 public:
  struct Gate {
    std::mutex mutex;
    std::condition_variable changed;
    bool closed = false;
    int reads = 0;

    void close(bool on) {
      const std::lock_guard lock(mutex);
      closed = on;
      changed.notify_all();
    }
    bool isRead(int times = 1) {
      const std::lock_guard lock(mutex);
      return reads >= times;
    }
  };

  HeldLog(std::unique_ptr<server::Store> below, Gate& gate) : StoreAround(std::move(below)), gate_(gate) {}

  bool events(int64_t after, int64_t upTo, const std::function<bool(wire::Event&&)>& each,
              std::string* error) override {
    {
      std::unique_lock lock(gate_.mutex);
      ++gate_.reads;
      gate_.changed.wait(lock, [this] { return !gate_.closed; });
    }
    return StoreAround::events(after, upTo, each, error);
  }

 private:
  Gate& gate_;
};

using Stream = grpc::ClientReaderWriter<v1::Subscription, v1::Delivery>;

class Listening : public testing::Test {
 protected:
  explicit Listening(server::NetOptions options = quickNet()) {
    std::string error;
    auto data = server::makeMemoryStoreData(server::Catalogue::builtIn());
    EXPECT_TRUE(writeModel(kModel, *server::openMemoryStore(data), &error)) << error;
    core = server::Core::open(std::make_unique<HeldLog>(server::openMemoryStore(data), gate), {}, &error);
    EXPECT_NE(core, nullptr) << error;
    network = std::make_unique<NetworkServer>(*core, options);
    connect();
  }
  ~Listening() override { gate.close(false); }

  void connect() {
    grpc::ChannelArguments arguments;
    arguments.SetInt(GRPC_ARG_USE_LOCAL_SUBCHANNEL_POOL, 1);
    arguments.SetInt(GRPC_ARG_ENABLE_HTTP_PROXY, 0);
    stub = v1::Model::NewStub(grpc::CreateCustomChannel(network->tcp(), grpc::InsecureChannelCredentials(), arguments));
  }
  // One event.
  int32_t write(const std::string& archive, size_t bytes) {
    CMDArray set;
    Peer::fillSet("Archives", keyOf(archive), "location", std::string(bytes, 'x'), &set);
    const wire::Request request{wire::RequestKind::kUpdate, "Archives", wire::packArray(set.array)};
    return core->execute(wire::Block{{}, {request}}, {"engineer"}).whole.status;
  }
  static v1::Subscription after(int64_t position, uint32_t serial = 1) {
    v1::Subscription subscription;
    subscription.set_serial(serial);
    subscription.add_kinds(602);
    subscription.set_after(position);
    return subscription;
  }
  static bool readUntilSubscribed(Stream& stream, uint32_t serial) {
    v1::Delivery delivery;
    while (stream.Read(&delivery)) {
      if (delivery.has_subscribed() && delivery.subscribed().serial() == serial) return true;
    }
    return false;
  }
  static void end(grpc::ClientContext& context, Stream& stream) {
    context.TryCancel();
    v1::Delivery delivery;
    while (stream.Read(&delivery)) continue;
    stream.Finish();
  }

  HeldLog::Gate gate;
  std::unique_ptr<server::Core> core;
  std::unique_ptr<NetworkServer> network;
  std::unique_ptr<v1::Model::Stub> stub;
};

// Whoever broke off there would come back behind what was never told.
TEST_F(Listening, NoBeatTellsAPositionBeforeTheSubscriptionIsInEffect) {
  for (int i = 0; i < 3; ++i) ASSERT_EQ(write("А-1", 10), 0);
  gate.close(true);
  grpc::ClientContext context;
  const auto stream = stub->Listen(&context);
  stream->Write(after(0));
  v1::Delivery delivery;
  for (int beats = 0; beats < 4; ++beats) {
    ASSERT_TRUE(stream->Read(&delivery));
    EXPECT_FALSE(delivery.has_position());
    EXPECT_EQ(delivery.events_size(), 0);
  }
  gate.close(false);
  ASSERT_TRUE(readUntilSubscribed(*stream, 1));
  do {
    ASSERT_TRUE(stream->Read(&delivery));
  } while (!delivery.has_position());
  EXPECT_EQ(delivery.position(), 3);
  end(context, *stream);
}

TEST_F(Listening, SubscriptionsThatWaitAreCarriedOutInTheirOrder) {
  ASSERT_EQ(write("А-1", 10), 0);
  gate.close(true);
  grpc::ClientContext context;
  const auto stream = stub->Listen(&context);
  for (uint32_t serial = 1; serial <= 32; ++serial) ASSERT_TRUE(stream->Write(after(0, serial)));
  ASSERT_TRUE(eventually([&] { return gate.isRead(); }));
  gate.close(false);
  std::vector<uint32_t> answered;
  v1::Delivery delivery;
  while (answered.size() < 32 && stream->Read(&delivery)) {
    if (delivery.has_subscribed()) answered.push_back(delivery.subscribed().serial());
  }
  ASSERT_EQ(answered.size(), 32u) << stream->Finish().error_message();
  for (uint32_t i = 0; i < 32; ++i) EXPECT_EQ(answered[i], i + 1);
  end(context, *stream);
}

TEST_F(Listening, MoreSubscriptionsAtOnceEndTheStream) {
  ASSERT_EQ(write("А-1", 10), 0);
  gate.close(true);
  grpc::ClientContext context;
  const auto stream = stub->Listen(&context);
  for (uint32_t serial = 1; serial <= 33; ++serial) stream->Write(after(0, serial));
  v1::Delivery delivery;
  while (stream->Read(&delivery)) EXPECT_FALSE(delivery.has_subscribed());
  const grpc::Status status = stream->Finish();
  EXPECT_EQ(status.error_code(), grpc::StatusCode::RESOURCE_EXHAUSTED) << status.error_message();
  gate.close(false);
}

// Each costs the server memory of its own, and everybody time with each value.
TEST_F(Listening, ASubscriptionOfAllThatItMayAskForIsAnswered) {
  grpc::ClientContext context;
  const auto stream = stub->Listen(&context);
  v1::Subscription subscription;
  for (int32_t i = 0; i < 64; ++i) subscription.add_kinds(i);
  for (int32_t i = 0; i < 65'536; ++i) subscription.add_loc_ids(i);
  stream->Write(subscription);
  EXPECT_TRUE(readUntilSubscribed(*stream, 0));
  end(context, *stream);
}

TEST_F(Listening, ASubscriptionOfMoreEndsTheStream) {
  v1::Subscription kinds;
  for (int32_t i = 0; i <= 64; ++i) kinds.add_kinds(i);
  v1::Subscription numbers;
  for (int32_t i = 0; i <= 65'536; ++i) numbers.add_loc_ids(i);
  for (const v1::Subscription& subscription : {kinds, numbers}) {
    grpc::ClientContext context;
    context.set_deadline(std::chrono::system_clock::now() + std::chrono::seconds(20));
    const auto stream = stub->Listen(&context);
    stream->Write(subscription);
    EXPECT_FALSE(readUntilSubscribed(*stream, 0)) << subscription.kinds_size();
    EXPECT_EQ(stream->Finish().error_code(), grpc::StatusCode::RESOURCE_EXHAUSTED) << subscription.kinds_size();
  }
}

TEST_F(Listening, AStreamThatEndsBeforeItsSubscriptionIsInEffectLeavesNothingBehind) {
  ASSERT_EQ(write("А-1", 10), 0);
  gate.close(true);
  grpc::ClientContext context;
  const auto stream = stub->Listen(&context);
  stream->Write(after(0));
  ASSERT_TRUE(eventually([&] { return gate.isRead(); }));
  end(context, *stream);
  ASSERT_TRUE(eventually([&] { return network->logText().find("event=session-closed") != std::string::npos; }));
  gate.close(false);
  network.reset();  // by then all work is done
  EXPECT_EQ(core->subscribers(), 0u);
}

TEST_F(Listening, AStreamThatEndsLeavesNothingBehind) {
  grpc::ClientContext context;
  const auto stream = stub->Listen(&context);
  stream->Write(after(0));
  ASSERT_TRUE(readUntilSubscribed(*stream, 1));
  EXPECT_EQ(core->subscribers(), 1u);
  end(context, *stream);
  EXPECT_TRUE(eventually([&] { return core->subscribers() == 0; }));
}

// What is told behind an answer is told in another message: a client reads the events of a message first, and those
// behind lost ones may have numbers that it has heard before.
TEST_F(Listening, EventsBehindAnAnswerAreNotToldWithIt) {
  grpc::ClientContext context;
  const auto stream = stub->Listen(&context);
  stream->Write(after(0, 1));
  ASSERT_TRUE(readUntilSubscribed(*stream, 1));
  for (int i = 0; i < 60; ++i) ASSERT_EQ(write("А-1", 200'000), 0);  // the client takes none of it yet
  v1::Subscription other = after(0, 2);
  other.set_store("another one");
  stream->Write(other);
  eventually([] { return false; }, 200);
  ASSERT_EQ(write("А-2", 10), 0);
  const int64_t last = core->lastSequence();
  int64_t position = 0;
  bool answered = false;
  v1::Delivery delivery;
  while (position < last && stream->Read(&delivery)) {
    for (const v1::Event& event : delivery.events()) position = event.sequence();
    if (!delivery.has_subscribed() || delivery.subscribed().serial() != 2) continue;
    answered = true;
    EXPECT_TRUE(delivery.subscribed().lost());
    EXPECT_LE(position, delivery.subscribed().position()) << "it is told with what comes later";
  }
  EXPECT_TRUE(answered);
  EXPECT_EQ(position, last);
  end(context, *stream);
}

// While it lives no thread can be started in this process: its stack would be larger than any memory.
class NoThreads {
 public:
  NoThreads() {
    pthread_attr_t attributes;
    EXPECT_EQ(pthread_getattr_default_np(&before_), 0);
    EXPECT_EQ(pthread_attr_init(&attributes), 0);
    EXPECT_EQ(pthread_attr_setstacksize(&attributes, size_t{1} << 47), 0);
    EXPECT_EQ(pthread_setattr_default_np(&attributes), 0);
    pthread_attr_destroy(&attributes);
  }
  ~NoThreads() {
    pthread_setattr_default_np(&before_);
    pthread_attr_destroy(&before_);
  }
  NoThreads(const NoThreads&) = delete;
  NoThreads& operator=(const NoThreads&) = delete;

 private:
  pthread_attr_t before_;
};

TEST_F(Listening, AStreamIsToldToComeLaterWhenNoThreadCanBeStarted) {
  grpc::ClientContext context;
  context.set_deadline(std::chrono::system_clock::now() + std::chrono::seconds(20));
  const auto stream = stub->Listen(&context);
  v1::Delivery delivery;
  ASSERT_TRUE(stream->Read(&delivery));  // a beat: it stands
  {
    const NoThreads none;
    stream->Write(after(-1));
    while (stream->Read(&delivery)) EXPECT_FALSE(delivery.has_subscribed());
  }
  EXPECT_EQ(stream->Finish().error_code(), grpc::StatusCode::UNAVAILABLE);
}

TEST_F(Listening, AStreamWaitsForAThreadThatIsThereWhenNoOtherCanBeStarted) {
  ASSERT_EQ(write("А-1", 10), 0);
  gate.close(true);
  grpc::ClientContext first;
  const auto busy = stub->Listen(&first);
  busy->Write(after(0));
  ASSERT_TRUE(eventually([&] { return gate.isRead(); }));
  grpc::ClientContext second;
  second.set_deadline(std::chrono::system_clock::now() + std::chrono::seconds(20));
  const auto waiting = stub->Listen(&second);
  v1::Delivery delivery;
  ASSERT_TRUE(waiting->Read(&delivery));
  {
    const NoThreads none;
    waiting->Write(after(-1));
    EXPECT_TRUE(eventually([&] { return network->logText().find("event=no-thread") != std::string::npos; }));
  }
  gate.close(false);
  EXPECT_TRUE(readUntilSubscribed(*waiting, 1));
  end(second, *waiting);
  end(first, *busy);
}

// Hears a value for as long as the test wants, and nobody's subscription to values can change meanwhile.
struct SlowHearer : server::Subscriber {
  void onEvent(const wire::Event&) override {}
  void onValue(const wire::ParamValue&) override {
    std::unique_lock lock(gate.mutex);
    ++gate.reads;
    gate.changed.wait(lock, [this] { return !gate.closed; });
  }
  HeldLog::Gate gate;
};

// What happens behind the answer is told: whoever has read the values by then misses none.
TEST_F(Listening, TheAnswerComesWhenTheValuesAreInEffect) {
  SlowHearer hearer;
  hearer.gate.close(true);
  core->subscribeValues(&hearer, {1001});
  std::thread setter([&] { core->live().set(1001, {1, server::Quality::kGood, 1.0}); });
  ASSERT_TRUE(eventually([&] { return hearer.gate.isRead(); }));
  grpc::ClientContext context;
  const auto stream = stub->Listen(&context);
  v1::Subscription subscription;
  subscription.set_serial(1);
  subscription.set_store("another one");  // so that the answer waits for no events
  subscription.add_loc_ids(1001);
  stream->Write(subscription);
  auto answered = std::async(std::launch::async, [&] { return readUntilSubscribed(*stream, 1); });
  EXPECT_EQ(answered.wait_for(std::chrono::milliseconds(300)), std::future_status::timeout);
  hearer.gate.close(false);
  setter.join();
  ASSERT_TRUE(answered.get());
  core->unsubscribe(&hearer);
  core->live().set(1001, {1, server::Quality::kGood, 2.0});
  v1::Delivery delivery;
  do {
    ASSERT_TRUE(stream->Read(&delivery));
  } while (delivery.values_size() == 0);
  EXPECT_EQ(delivery.values(0).loc_id(), 1001);
  end(context, *stream);
}

// A line that needs a second for each 64 KiB still brings a delivery in time.
TEST_F(Listening, EventsThatWaitAreToldInSmallDeliveries) {
  constexpr int64_t kSmall = 2000;
  for (int i = 0; i < kSmall; ++i) ASSERT_EQ(write("А-1", 10'000), 0);
  ASSERT_EQ(write("А-1", 200'000), 0);
  grpc::ClientContext context;
  const auto stream = stub->Listen(&context);
  stream->Write(after(0));
  ASSERT_TRUE(eventually([&] { return gate.isRead(3); }));  // portions of it wait, and the client has taken none
  size_t largest = 0;
  int most = 0;
  int64_t position = 0;
  v1::Delivery delivery;
  while (position <= kSmall && stream->Read(&delivery)) {
    if (delivery.events_size() == 0) continue;
    position = delivery.events().rbegin()->sequence();
    most = std::max(most, delivery.events_size());
    if (position <= kSmall)
      largest = std::max(largest, delivery.ByteSizeLong());
    else
      EXPECT_EQ(delivery.events_size(), 1) << "one that is larger by itself comes alone";
  }
  EXPECT_EQ(position, kSmall + 1);
  EXPECT_LE(largest, size_t{64} << 10);
  EXPECT_GE(most, 5) << "but they are put together";
  end(context, *stream);
}

// ---- one who has much to catch up with ----

class NarrowQueue : public Listening {
 protected:
  NarrowQueue() : Listening(options()) {
    for (int i = 0; i < kWrites; ++i) EXPECT_EQ(write("А-1", 200'000), 0);
  }
  static server::NetOptions options() {
    server::NetOptions options = quickNet();
    options.queueBytes = size_t{1} << 20;
    return options;
  }
  static constexpr int kWrites = 100;
};

TEST_F(NarrowQueue, WhatWasMissedComesAsFastAsTheClientTakesIt) {
  grpc::ClientContext context;
  const auto stream = stub->Listen(&context);
  stream->Write(after(0));
  int64_t position = 0;
  v1::Delivery delivery;
  for (bool subscribed = false; !subscribed;) {
    if (position % 20 == 0) eventually([] { return false; }, 100);  // it is slow
    ASSERT_TRUE(stream->Read(&delivery)) << stream->Finish().error_message();
    for (const v1::Event& event : delivery.events()) ASSERT_EQ(event.sequence(), ++position);
    subscribed = delivery.has_subscribed();
  }
  EXPECT_EQ(position, kWrites);
  end(context, *stream);
}

class PatientQueue : public NarrowQueue {
 protected:
  PatientQueue() {
    server::NetOptions options = NarrowQueue::options();
    options.patienceMs = 600'000;  // longer than any test: nobody is sent away
    network = std::make_unique<NetworkServer>(*core, options);
    connect();
  }
};

TEST_F(PatientQueue, OneWhoTakesNothingOfItKeepsNobodyWaiting) {
  grpc::ClientContext context;
  const auto stuck = stub->Listen(&context);
  stuck->Write(after(0));
  ASSERT_TRUE(eventually([&] { return gate.isRead(); }));
  for (int i = 0; i < 3; ++i) {
    grpc::ClientContext another;
    another.set_deadline(std::chrono::system_clock::now() + std::chrono::seconds(20));
    const auto quick = stub->Listen(&another);
    quick->Write(after(kWrites - 1));
    EXPECT_TRUE(readUntilSubscribed(*quick, 1));
    end(another, *quick);
  }
  EXPECT_EQ(write("А-2", 10), 0);
  end(context, *stuck);
}

// ---- one who takes a large answer ----

class LargeAnswer : public Listening {
 protected:
  LargeAnswer() : Listening(options()) {
    for (const char* archive : kArchives) EXPECT_EQ(write(archive, size_t{5} << 20), 0);
  }
  static server::NetOptions options() {
    server::NetOptions options = quickNet();
    options.patienceMs = 3000;
    options.maxCalls = 1;
    return options;
  }
  grpc::Status call(const std::string& name, const std::string& body, v1::BlockReply* reply) {
    v1::Block block;
    block.add_requests()->set_name(name);
    block.mutable_requests(0)->set_body(body);
    grpc::ClientContext context;
    return stub->Call(&context, block, reply);
  }
  std::unique_ptr<grpc::ClientReader<v1::Piece>> take(grpc::ClientContext& context) {
    v1::BlockReply reply;
    EXPECT_TRUE(call("TableRecords", "Archives", &reply).ok());
    v1::PiecesRequest request;
    request.set_rest(reply.rest());
    auto reader = stub->TakePieces(&context, request);
    reader->WaitForInitialMetadata();  // it has begun over there before anything else takes its place
    return reader;
  }
};

TEST_F(LargeAnswer, IsWithdrawnFromAClientThatDoesNotTakeIt) {
  grpc::ClientContext context;
  const auto reader = take(context);
  v1::BlockReply reply;
  ASSERT_TRUE(eventually([&] {  // it is the one call that there may be
    return call("SRV_GROUPS_INFO", "", &reply).error_code() == grpc::StatusCode::UNAVAILABLE;
  }));
  EXPECT_TRUE(eventually([&] { return call("SRV_GROUPS_INFO", "", &reply).ok(); }));
  v1::Piece piece;
  while (reader->Read(&piece)) continue;
  EXPECT_FALSE(reader->Finish().ok());
}

// As a whole it takes longer than the server's patience, and never as long between two pieces.
TEST_F(LargeAnswer, IsWaitedForAsLongAsItIsTaken) {
  grpc::ClientContext context;
  const auto reader = take(context);
  v1::Piece piece;
  size_t bytes = 0;
  for (; reader->Read(&piece); bytes += piece.data().size()) eventually([] { return false; }, 150);
  const grpc::Status status = reader->Finish();
  EXPECT_TRUE(status.ok()) << status.error_message();
  EXPECT_GT(bytes, std::size(kArchives) * (size_t{5} << 20));
}

class ForgottenAnswer : public LargeAnswer {
 protected:
  ForgottenAnswer() {
    server::NetOptions options = quickNet();
    options.replyKeptMs = 300;
    network = std::make_unique<NetworkServer>(*core, options);
    connect();
  }
};

// Nobody else asks for anything meanwhile.
TEST_F(ForgottenAnswer, IsDroppedByTheServerItself) {
  v1::BlockReply reply;
  ASSERT_TRUE(call("TableRecords", "Archives", &reply).ok());
  ASSERT_FALSE(reply.rest().empty());
  EXPECT_TRUE(eventually([&] {
    return network->logText().find("event=replies-dropped replies=1\n") != std::string::npos;
  })) << network->logText();
}

class LeastMemory : public LargeAnswer {
 protected:
  LeastMemory() {
    server::NetOptions options = quickNet();
    options.memoryBytes = size_t{16} << 20;
    network = std::make_unique<NetworkServer>(*core, options);
  }
};

TEST_F(LeastMemory, IsEnoughForLargeAnswersAndLargeBlocks) {
  std::string problem;
  auto transport = connectToServer(quickLine(network->tcp()), &problem);
  ASSERT_NE(transport, nullptr) << problem;
  Peer peer(std::move(transport));
  CMDArray rows;
  EXPECT_EQ(peer.rows("Archives", &rows), static_cast<int>(std::size(kArchives)));
  EXPECT_EQ(peer.write("Archives", keyOf("А-1"), "location", std::string(size_t{20} << 20, 'x'), 60'000), 0);
}

}  // namespace
}  // namespace tlm::test
