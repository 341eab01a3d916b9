// Blocks that a server turns away while the line stands: sent again in their place, or never.
#include <grpcpp/grpcpp.h>
#include <gtest/gtest.h>

#include <condition_variable>
#include <map>
#include <mutex>
#include <vector>

#include <tlm/v1/model.grpc.pb.h>

#include "support/NetworkServer.h"
#include "support/Peer.h"

namespace tlm::test {
namespace {

// Has no model: it notes what comes, by the name of the first request, and turns away what the test says.
class Doorkeeper final : public v1::Model::Service {
 public:
  grpc::Status Call(grpc::ServerContext*, const v1::Block* request, v1::BlockReply* response) override {
    const std::string name = request->requests(0).name();
    const std::lock_guard lock(mutex_);
    ++calls_[name];
    changed_.notify_all();
    if (refuse[name] != 0) return --refuse[name], grpc::Status(grpc::StatusCode::UNAVAILABLE, "come again");
    done_.push_back(name);
    response->mutable_whole();
    response->add_each();
    return grpc::Status::OK;
  }

  grpc::Status Listen(grpc::ServerContext*, grpc::ServerReaderWriter<v1::Delivery, v1::Subscription>* stream) override {
    v1::Subscription subscription;
    while (stream->Read(&subscription)) {
      v1::Delivery delivery;
      delivery.mutable_subscribed()->set_serial(subscription.serial());
      delivery.mutable_subscribed()->set_beat_ms(60'000);
      stream->Write(delivery);
    }
    return grpc::Status::OK;
  }

  int calls(const std::string& name) {
    const std::lock_guard lock(mutex_);
    return calls_[name];
  }
  std::vector<std::string> done() {
    const std::lock_guard lock(mutex_);
    return done_;
  }

  std::map<std::string, int> refuse;  // how often; set before anything is sent

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  std::map<std::string, int> calls_;
  std::vector<std::string> done_;
};

class Retry : public testing::Test, public TransportListener {
 protected:
  Retry() {
    grpc::ServerBuilder builder;
    int port = 0;
    builder.AddListeningPort("127.0.0.1:0", grpc::InsecureServerCredentials(), &port);
    builder.RegisterService(&service);
    server = builder.BuildAndStart();
    std::string problem;
    transport = connectToServer(quickLine("127.0.0.1:" + std::to_string(port)), &problem);
    if (!transport) ADD_FAILURE() << problem;
    if (transport) transport->setListener(this);
  }
  ~Retry() override {
    transport.reset();
    server->Shutdown(std::chrono::system_clock::now());
  }

  static wire::Block write(const std::string& name) {
    wire::Block block;
    block.identity = std::string(32, name.front());
    block.requests.push_back({wire::RequestKind::kUpdate, name, {}});
    return block;
  }

  void onReply(uint64_t id, wire::BlockReply) override { told("reply " + std::to_string(id)); }
  void onLost(uint64_t id, const std::string&) override { told("lost " + std::to_string(id)); }
  void onEvent(wire::Event) override {}
  void onValue(wire::ParamValue) override {}
  void onLine(bool, const std::string&) override {}
  void onEventsLost(const std::string&) override {}

  void told(const std::string& what) {
    const std::lock_guard lock(mutex);
    tellings.push_back(what);
  }
  bool wasTold(const std::string& what) {
    const std::lock_guard lock(mutex);
    return std::find(tellings.begin(), tellings.end(), what) != tellings.end();
  }

  Doorkeeper service;
  std::unique_ptr<grpc::Server> server;
  std::mutex mutex;
  std::vector<std::string> tellings;
  std::unique_ptr<ITransport> transport;
};

TEST_F(Retry, AWaitDoesNotOvertakeAWriteThatIsTriedAgain) {
  service.refuse["first"] = 4;
  ASSERT_TRUE(transport->send(1, write("first")));
  transport->nudge();
  ASSERT_TRUE(eventually([&] { return service.calls("first") > 0; }));
  ASSERT_TRUE(transport->send(2, write("second")));
  std::optional<wire::BlockReply> second;
  // Again and again, so that it meets every moment between two attempts of the other.
  ASSERT_TRUE(eventually([&] { return (second = transport->carryOut(2)) || wasTold("reply 2"); }));
  EXPECT_EQ(service.done(), (std::vector<std::string>{"first", "second"}));
}

TEST_F(Retry, TheEndWaitsForAWriteThatIsTriedAgain) {
  service.refuse["first"] = 4;
  ASSERT_TRUE(transport->send(1, write("first")));
  transport->nudge();
  ASSERT_TRUE(eventually([&] { return service.calls("first") > 0; }));
  transport.reset();
  EXPECT_EQ(service.done(), std::vector<std::string>{"first"});
}

TEST_F(Retry, ACommandThatIsTurnedAwayIsNeverSentAgain) {
  service.refuse[wire::kCommandRequest] = 1;
  wire::Block block;
  block.requests.push_back({wire::RequestKind::kPacket, wire::kCommandRequest, "id=1"});
  ASSERT_TRUE(transport->send(1, block));
  transport->nudge();
  EXPECT_TRUE(eventually([&] { return wasTold("lost 1"); }));
  EXPECT_EQ(service.calls(wire::kCommandRequest), 1);
  EXPECT_TRUE(service.done().empty());
}

TEST_F(Retry, ARequestThatReadsIsSentAgain) {
  service.refuse["Read"] = 2;
  wire::Block block;
  block.requests.push_back({wire::RequestKind::kPacket, "Read", {}});
  ASSERT_TRUE(transport->send(1, block));
  transport->nudge();
  EXPECT_TRUE(eventually([&] { return wasTold("reply 1"); }));
  EXPECT_EQ(service.calls("Read"), 3);
}

}  // namespace
}  // namespace tlm::test
