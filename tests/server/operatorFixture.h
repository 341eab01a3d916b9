// A core with operators, a device that does as the test says, and a listener for receipts.
#ifndef TLMTEST_SERVER_OPERATORFIXTURE_H
#define TLMTEST_SERVER_OPERATORFIXTURE_H

#include <TlmServer/Device.h>
#include <TlmServer/SampleModel.h>
#include <TlmServer/Simulator.h>
#include <TlmServer/Users.h>

#include <atomic>
#include <condition_variable>
#include <functional>
#include <future>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include "fixture.h"

namespace tlm::server::test {

inline constexpr double kSecond = 1.0 / 86400;

inline std::string days(double time) {
  char text[40];
  std::snprintf(text, sizeof text, "%.9f", time);
  return text;
}

class FakeDevice : public Device {
 public:
  void execute(const DeviceCommand& command, Answer answer) override {
    commands.push_back(command);
    held = answer;
    if (habit == DeviceHabit::kExecutes) answer(DeviceAnswer::kDone);
    if (habit == DeviceHabit::kRefuses) answer(DeviceAnswer::kRefused);
  }
  DeviceHabit habit = DeviceHabit::kExecutes;
  std::vector<DeviceCommand> commands;
  Answer held;
};

// Receipts may come from the desk's own thread.
class Receipts : public Subscriber {
 public:
  void onEvent(const wire::Event& event) override {
    const std::lock_guard lock(mutex_);
    events_.push_back(event);
    came_.notify_all();
  }
  void onValue(const wire::ParamValue&) override {}
  std::vector<wire::Event> wait(size_t count) {
    std::unique_lock lock(mutex_);
    came_.wait_for(lock, std::chrono::seconds(20), [&] { return events_.size() >= count; });
    return events_;
  }

 private:
  std::mutex mutex_;
  std::condition_variable came_;
  std::vector<wire::Event> events_;
};

class OperatorTest : public ServerTest {
 protected:
  OperatorTest() {
    core.reset();
    std::string error;
    const auto store = openMemoryStore(data);
    EXPECT_TRUE(addUser(*store, Catalogue::builtIn(), {ru("Петров"), true}, "verysecret", &error)) << error;
    EXPECT_TRUE(addUser(*store, Catalogue::builtIn(), {ru("Гость"), false}, "guest", &error)) << error;
    options.clock = [this] {
      if (countdown_ > 0 && --countdown_ == 0) std::exchange(hook_, {})();
      return now.load();
    };
    reopen(options);
    EXPECT_EQ(status({Update("Discrete").update(key("D1"), {{"CheckTu", true}, {"tuTimeout", number(10)}})}),
              wire::kOk);
    core->setDevice(device);
    core->subscribe(&receipts, {902, 903, 904}, -1);
  }
  ~OperatorTest() override { core->unsubscribe(&receipts); }

  std::string body(const std::string& identity = "1", const std::string& password = "verysecret",
                   const std::string& user = "Петров", double age = 0) const {
    return "locId=1002\nstate=1\nuser=" + ru(user) + "\npassword=" + password + "\nid=" + key(identity) +
           "\nissued=" + days(now - age) + "\n";
  }
  static std::string told(const wire::Reply& reply) {
    return reply.status == wire::kOk ? "accepted" : fromCodePage(reply.payload.value_or(""));
  }
  std::string send(const std::string& text) const { return told(packet("RemoteControl", text)); }
  std::string outcome(const std::string& identity, double issued = 0) const {
    const wire::Reply reply =
        packet("CommandOutcome", "id=" + key(identity) + "\nissued=" + days(issued == 0 ? now.load() : issued));
    return reply.text ? fromCodePage(reply.text->substr(6, reply.text->find('\n') - 6)) : "no answer";
  }
  std::string manual(const std::string& text) const { return told(packet("ManualValue", text)); }

  // Does something when the server asks for the time the nth time from now on.
  void atClock(int nth, std::function<void()> what) {
    hook_ = std::move(what);
    countdown_ = nth;
  }

  // Waits until the desk, with a command under way, has looked at the time that it is now.
  void letTheDeskLook() {
    const auto looked = std::make_shared<std::promise<void>>();
    atClock(2, [looked] { looked->set_value(); });
    EXPECT_EQ(looked->get_future().wait_for(std::chrono::seconds(20)), std::future_status::ready);
  }

  std::atomic<double> now{kNow};
  std::shared_ptr<FakeDevice> device = std::make_shared<FakeDevice>();
  Receipts receipts;

 private:
  std::atomic<int> countdown_{0};
  std::function<void()> hook_;
};

inline constexpr char kWrong[] = "Неверное имя оператора или пароль.";
inline constexpr char kLocked[] = "Слишком много неверных паролей: вход закрыт на минуту.";
inline constexpr char kNoRight[] = "У оператора нет права телеуправления.";
inline constexpr char kTooOld[] = "Команда устарела: она шла к серверу дольше пяти секунд.";

}  // namespace tlm::server::test

#endif
