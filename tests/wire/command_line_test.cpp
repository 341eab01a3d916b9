// A telecontrol command on a line that dies: executed once or not at all, and whoever asks is told which.
#include <TlmServer/Device.h>
#include <TlmServer/LiveValues.h>

#include <gtest/gtest.h>

#include <atomic>
#include <mutex>

#include "support/EmbeddedServer.h"
#include "support/NetworkServer.h"
#include "support/Peer.h"
#include "support/Proxy.h"

namespace tlm::test {
namespace {

constexpr char kModel[] = R"(
unit КП-1
  discrete 2001 Q-1 {CheckTu=1;tuPassword=0;tuTimeout=600}
user engineer {password=verysecret;control=1}
)";

// Counts, and keeps its answer back where the test wants that.
class CountingDevice : public server::Device {
 public:
  void execute(const server::DeviceCommand&, Answer answer) override {
    {
      const std::lock_guard lock(mutex_);
      ++count_;
      if (silent) {
        held_ = std::move(answer);
        return;
      }
    }
    answer(server::DeviceAnswer::kDone);
  }
  int count() const {
    const std::lock_guard lock(mutex_);
    return count_;
  }
  void answerNow() {
    Answer answer;
    {
      const std::lock_guard lock(mutex_);
      answer = std::move(held_);
    }
    answer(server::DeviceAnswer::kDone);
  }
  std::atomic<bool> silent{false};

 private:
  mutable std::mutex mutex_;
  int count_ = 0;
  Answer held_;
};

class CommandOnABrokenLine : public testing::Test {
 protected:
  CommandOnABrokenLine() : server(kModel), network(*server.core()), proxy(network.tcp()) {
    server.core()->setDevice(device);
    NetLine line = quickLine(proxy.address());
    std::string problem;
    auto transport = connectToServer(line, &problem);
    if (!transport) ADD_FAILURE() << problem;
    peer = std::make_unique<Peer>(std::move(transport));
  }

  std::string body() const {
    return "locId=2001\nstate=1\nid=" + id + "\nissued=" + std::to_string(server::systemTime()) + "\n";
  }
  Answer command(int timeoutMs = 300) { return peer->ask("RemoteControl", body(), timeoutMs); }
  std::string outcome() {
    const Answer answer =
        peer->ask("CommandOutcome", "id=" + id + "\nissued=" + std::to_string(server::systemTime() + 1), 10'000);
    return answer.came && answer.status == 0 ? answer.text.substr(0, answer.text.find('\n')) : "no answer";
  }
  void breakLine() {
    proxy.refuse(true);
    proxy.cut();
    ASSERT_TRUE(eventually([&] { return peer->told.contains("down"); }));
  }
  void mendLine() {
    proxy.hold(false);
    proxy.holdReplies(false);
    proxy.refuse(false);
    ASSERT_TRUE(eventually([&] { return peer->session().alive(); }));
  }

  const std::string id = "COMMAND0COMMAND0COMMAND0COMMAND0";
  std::shared_ptr<CountingDevice> device = std::make_shared<CountingDevice>();
  EmbeddedServer server;
  NetworkServer network;
  Proxy proxy;
  std::unique_ptr<Peer> peer;
};

TEST_F(CommandOnABrokenLine, IsExecutedOnceWhileTheLineStands) {
  EXPECT_EQ(command(10'000).status, 0);
  EXPECT_EQ(device->count(), 1);
  EXPECT_EQ(outcome(), "state=done");
}

TEST_F(CommandOnABrokenLine, DoesNotGoOutOnALineThatIsDead) {
  breakLine();
  MDXCliParam* reply = nullptr;
  const std::string text = body();
  EXPECT_FALSE(peer->session().PacketExec("RemoteControl", reinterpret_cast<const unsigned char*>(text.data()),
                                          static_cast<int>(text.size()), &reply));
  mendLine();
  EXPECT_EQ(outcome(), "state=none");
  EXPECT_EQ(device->count(), 0);
}

TEST_F(CommandOnABrokenLine, LostOnTheWayThereIsNeverExecuted) {
  proxy.hold(true);
  EXPECT_FALSE(command().came);
  breakLine();
  mendLine();
  EXPECT_EQ(outcome(), "state=none");
  EXPECT_EQ(device->count(), 0);
  EXPECT_NE(command(10'000).status, 0);  // nor when it comes after all
  EXPECT_EQ(device->count(), 0);
}

TEST_F(CommandOnABrokenLine, WhoseAnswerIsLostIsNotRepeated) {
  proxy.holdReplies(true);
  EXPECT_FALSE(command().came);
  ASSERT_TRUE(eventually([&] { return device->count() == 1; }));
  breakLine();
  mendLine();
  EXPECT_EQ(outcome(), "state=done");
  EXPECT_EQ(device->count(), 1);
}

TEST_F(CommandOnABrokenLine, WhoseReceiptIsLostIsToldWhenAsked) {
  device->silent = true;
  EXPECT_EQ(command(10'000).status, 0);
  breakLine();
  device->answerNow();
  mendLine();
  EXPECT_EQ(outcome(), "state=done");
  EXPECT_EQ(device->count(), 1);
}

TEST_F(CommandOnABrokenLine, SentTwiceByItsClientIsExecutedOnce) {
  EXPECT_EQ(command(10'000).status, 0);
  EXPECT_EQ(command(10'000).status, 0);
  EXPECT_EQ(device->count(), 1);
}

}  // namespace
}  // namespace tlm::test
