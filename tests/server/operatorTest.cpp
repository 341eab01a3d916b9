// Users, commands, values entered by hand: what operators ask of the server.
#include <TlmServer/Device.h>
#include <TlmServer/SampleModel.h>
#include <TlmServer/Simulator.h>
#include <TlmServer/Users.h>

#include <atomic>
#include <condition_variable>
#include <mutex>

#include "fixture.h"

namespace tlm::server::test {
namespace {

constexpr double kSecond = 1.0 / 86400;

std::string days(double time) {
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
    options.clock = [this] { return now.load(); };
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

  std::atomic<double> now{kNow};
  std::shared_ptr<FakeDevice> device = std::make_shared<FakeDevice>();
  Receipts receipts;
};

constexpr char kWrong[] = "Неверное имя оператора или пароль.";
constexpr char kLocked[] = "Слишком много неверных паролей: вход закрыт на минуту.";
constexpr char kNoRight[] = "У оператора нет права телеуправления.";
constexpr char kTooOld[] = "Команда устарела: она шла к серверу дольше пяти секунд.";

TEST_F(OperatorTest, ACommandGoesToTheDeviceAndItsReceiptToEverybody) {
  EXPECT_EQ(send(body()), "accepted");
  ASSERT_EQ(device->commands.size(), 1u);
  EXPECT_EQ(device->commands[0].locId, 1002);
  EXPECT_EQ(device->commands[0].state, 1);
  const auto events = receipts.wait(1);
  ASSERT_EQ(events.size(), 1u);
  EXPECT_EQ(events[0].kind, 903);
  EXPECT_EQ(events[0].key, key("D1"));
  EXPECT_EQ(events[0].param, "id=1002,cmd=1");
  EXPECT_EQ(events[0].user, "Петров");
  EXPECT_EQ(events[0].sequence, 0);
  EXPECT_EQ(outcome("1"), "done");
}

TEST_F(OperatorTest, ARefusalOfTheDeviceIsAReceipt) {
  device->habit = DeviceHabit::kRefuses;
  EXPECT_EQ(send(body()), "accepted");
  EXPECT_EQ(receipts.wait(1).at(0).kind, 902);
  EXPECT_EQ(outcome("1"), "refused");
}

TEST_F(OperatorTest, ASilentDeviceTimesOutAfterItsTime) {
  device->habit = DeviceHabit::kSilent;
  EXPECT_EQ(send(body()), "accepted");
  now = now + 9.9 * kSecond;
  EXPECT_EQ(outcome("1"), "running");
  now = now + 0.2 * kSecond;
  EXPECT_EQ(receipts.wait(1).at(0).kind, 904);
  EXPECT_EQ(outcome("1"), "timeout");
  device->held(DeviceAnswer::kDone);  // too late
  EXPECT_EQ(outcome("1"), "timeout");
  EXPECT_EQ(receipts.wait(1).size(), 1u);
}

TEST_F(OperatorTest, ASecondAnswerOfTheDeviceCountsForNothing) {
  device->habit = DeviceHabit::kSilent;
  send(body());
  device->held(DeviceAnswer::kRefused);
  device->held(DeviceAnswer::kDone);
  EXPECT_EQ(outcome("1"), "refused");
  EXPECT_EQ(receipts.wait(1).size(), 1u);
}

TEST_F(OperatorTest, ACommandSentAgainIsAnsweredAgainAndNotExecutedAgain) {
  EXPECT_EQ(send(body()), "accepted");
  EXPECT_EQ(send(body()), "accepted");
  EXPECT_EQ(device->commands.size(), 1u);
  EXPECT_EQ(send(body("2", "wrong")), kWrong);
  EXPECT_EQ(send(body("2")), kWrong);  // the same command, whatever it says now
  EXPECT_EQ(device->commands.size(), 1u);
}

TEST_F(OperatorTest, ACommandOlderThanFiveSecondsIsRefused) {
  EXPECT_EQ(send(body("1", "verysecret", "Петров", 5.01 * kSecond)), kTooOld);
  EXPECT_TRUE(device->commands.empty());
  EXPECT_EQ(send(body("2", "verysecret", "Петров", 4.99 * kSecond)), "accepted");
  EXPECT_EQ(send(body("3", "verysecret", "Петров", -5.01 * kSecond)), "Время команды опережает часы сервера.");
  EXPECT_EQ(device->commands.size(), 1u);
}

TEST_F(OperatorTest, WhatWasAskedForAsUnknownIsNeverExecuted) {
  EXPECT_EQ(outcome("1"), "none");
  EXPECT_NE(send(body()), "accepted");
  EXPECT_TRUE(device->commands.empty());
  EXPECT_EQ(outcome("1"), "none");
}

TEST_F(OperatorTest, WhatWasIssuedBeforeTheServerStartedIsForgotten) {
  EXPECT_EQ(outcome("1", kNow - kSecond), "forgotten");
  EXPECT_EQ(outcome("2", kNow), "none");
}

TEST_F(OperatorTest, ARejectedCommandTellsWhy) {
  send(body("1", "wrong"));
  EXPECT_EQ(outcome("1"), "rejected");
}

TEST_F(OperatorTest, TwoCommandsForOneSignalAreOneTooMany) {
  device->habit = DeviceHabit::kSilent;
  EXPECT_EQ(send(body("1")), "accepted");
  EXPECT_EQ(send(body("2")), "Для этого объекта уже выполняется команда.");
  device->held(DeviceAnswer::kDone);
  EXPECT_EQ(send(body("3")), "accepted");
}

TEST_F(OperatorTest, WithoutADeviceNothingIsAccepted) {
  core->setDevice(nullptr);
  EXPECT_EQ(send(body()), "Нет устройства, которое выполнило бы команду.");
}

TEST_F(OperatorTest, OnlyADiscreteThatMayBeCommandedIs) {
  ASSERT_EQ(status({Update("Discrete").update(key("D1"), {{"CheckTu", false}})}), wire::kOk);
  EXPECT_EQ(send(body()), "Этим объектом нельзя управлять: телеуправление для него не включено.");
  std::string analog = body("2");
  analog.replace(analog.find("1002"), 4, "1001");
  EXPECT_EQ(send(analog), "Этим объектом нельзя управлять: телеуправление для него не включено.");
  std::string nobody = body("3");
  nobody.replace(nobody.find("1002"), 4, "1777");
  EXPECT_EQ(send(nobody), "Измерения с таким номером нет на сервере.");
  EXPECT_TRUE(device->commands.empty());
}

TEST_F(OperatorTest, ABlockingSignalForbids) {
  ASSERT_EQ(status({Update("Discrete").update(key("D1"), {{"blockLocId", number(1001)}})}), wire::kOk);
  EXPECT_EQ(send(body("1")), "Команда запрещена блокирующим сигналом.");  // its state is not known
  core->live().set(1001, {kNow, Quality::kGood, 1.0});
  EXPECT_EQ(send(body("2")), "Команда запрещена блокирующим сигналом.");
  core->live().set(1001, {kNow, Quality::kGood, 0.0});
  EXPECT_EQ(send(body("3")), "accepted");
}

TEST_F(OperatorTest, NameRightAndPasswordAreChecked) {
  EXPECT_EQ(send(body("1", "VerySecret")), kWrong);
  EXPECT_EQ(send(body("2", "")), kWrong);
  EXPECT_EQ(send(body("3", "verysecret", "Никто")), kWrong);
  EXPECT_EQ(send(body("4", "guest", "Гость")), kNoRight);
  EXPECT_TRUE(device->commands.empty());
}

TEST_F(OperatorTest, ASignalWithoutAPasswordStillWantsTheRight) {
  ASSERT_EQ(status({Update("Discrete").update(key("D1"), {{"tuPassword", false}})}), wire::kOk);
  EXPECT_EQ(send(body("1", "", "Гость")), kNoRight);
  EXPECT_EQ(send(body("2", "", "Никто")), kNoRight);
  EXPECT_EQ(send(body("3", "", "")), kNoRight);  // who calls is "tester"
  EXPECT_EQ(send(body("4", "wrong")), kWrong);   // who gives one is asked for the right one
  EXPECT_EQ(send(body("5", "")), "accepted");
}

TEST_F(OperatorTest, TenWrongPasswordsLockTheNameForAMinute) {
  for (int i = 0; i < 10; ++i) EXPECT_EQ(send(body("w" + std::to_string(i), "wrong")), kWrong);
  EXPECT_EQ(send(body("1")), kLocked);
  EXPECT_EQ(send(body("2", "guest", "Гость")), kNoRight);  // another name is not locked
  now = now + 59.9 * kSecond;
  EXPECT_EQ(send(body("3")), kLocked);
  now = now + 0.2 * kSecond;
  EXPECT_EQ(send(body("4")), "accepted");
}

TEST_F(OperatorTest, ARightPasswordForgetsTheWrongOnes) {
  for (int i = 0; i < 9; ++i) EXPECT_EQ(send(body("w" + std::to_string(i), "wrong")), kWrong);
  EXPECT_EQ(send(body("1")), "accepted");
  EXPECT_EQ(send(body("2", "wrong")), kWrong);
  EXPECT_EQ(send(body("3")), "accepted");
}

TEST_F(OperatorTest, ANameThatIsNotThereIsLockedToo) {
  for (int i = 0; i < 10; ++i) EXPECT_EQ(send(body("w" + std::to_string(i), "x", "Никто")), kWrong);
  EXPECT_EQ(send(body("1", "x", "Никто")), kLocked);
}

TEST_F(OperatorTest, MalformedCommandsAreRefused) {
  for (const char* part : {"locId=1002\n", "state=1\n", "issued="}) {
    std::string text = body();
    text.erase(text.find(part), std::string(part).size());
    EXPECT_EQ(packet("RemoteControl", text).status, wire::kMalformed) << part;
  }
  std::string text = body();
  text.replace(text.find("state=1"), 7, "state=2");
  EXPECT_EQ(packet("RemoteControl", text).status, wire::kMalformed);
  text = body();
  text.erase(text.find("id=" + key("1")) + 4, 3);
  EXPECT_EQ(packet("RemoteControl", text).status, wire::kMalformed);
  EXPECT_EQ(packet("RemoteControl", "").status, wire::kMalformed);
  EXPECT_EQ(packet("CommandOutcome", "id=short\nissued=1").status, wire::kMalformed);
  EXPECT_TRUE(device->commands.empty());
}

TEST_F(OperatorTest, ACommandTravelsAlone) {
  const wire::Request command{wire::RequestKind::kPacket, "RemoteControl", body()};
  const wire::Request other{wire::RequestKind::kPacket, "SRV_GROUPS_INFO", ""};
  EXPECT_EQ(block({command, other}).whole.status, wire::kMalformed);
  EXPECT_EQ(block({command, command}).whole.status, wire::kMalformed);
  EXPECT_TRUE(device->commands.empty());
  const wire::BlockReply alone = block({command});
  EXPECT_EQ(alone.whole.status, wire::kOk);
  ASSERT_EQ(alone.each.size(), 1u);
  EXPECT_EQ(alone.each[0].status, wire::kOk);
  EXPECT_EQ(device->commands.size(), 1u);
}

// ---- users ----

TEST_F(OperatorTest, NoRequestReachesTheServersOwnTables) {
  for (const char* name : {"Users", "ManualValues"}) {
    EXPECT_EQ(packet("TableRecords", name).status, wire::kUnknownTable);
    EXPECT_EQ(packet("TableStructure", name).status, wire::kUnknownTable);
    EXPECT_EQ(Catalogue::builtIn().table(name), nullptr);
    EXPECT_NE(Catalogue::builtIn().storedTable(name), nullptr);
  }
  EXPECT_EQ(packet("TableRecords", "Tables").payload->find("Users"), std::string::npos);
}

TEST_F(OperatorTest, UsersAreListedReplacedAndRemoved) {
  core->unsubscribe(&receipts);
  core.reset();
  const auto store = openMemoryStore(data);
  const Catalogue& catalogue = Catalogue::builtIn();
  std::string error;
  EXPECT_TRUE(addUser(*store, catalogue, {ru("Гость"), true}, "another", &error));
  std::vector<User> users;
  ASSERT_TRUE(listUsers(*store, catalogue, &users, &error));
  ASSERT_EQ(users.size(), 2u);
  for (const User& user : users) EXPECT_TRUE(user.control);
  EXPECT_TRUE(removeUser(*store, catalogue, ru("Петров"), &error));
  EXPECT_FALSE(removeUser(*store, catalogue, ru("Петров"), &error));
  ASSERT_TRUE(listUsers(*store, catalogue, &users, &error));
  ASSERT_EQ(users.size(), 1u);
  EXPECT_EQ(users[0].name, ru("Гость"));
  reopen(options);
  core->setDevice(device);
  core->subscribe(&receipts, {902, 903, 904}, -1);
  EXPECT_EQ(send(body("1", "guest", "Гость")), kWrong);
  EXPECT_EQ(send(body("2", "another", "Гость")), "accepted");
  EXPECT_EQ(send(body("3")), kWrong);
}

TEST_F(OperatorTest, TheRightToHandInValuesIsOneOfItsOwn) {
  core->unsubscribe(&receipts);
  core.reset();
  std::string error;
  const auto store = openMemoryStore(data);
  ASSERT_TRUE(addUser(*store, Catalogue::builtIn(), {ru("сбор"), false, true}, "collects", &error)) << error;
  std::vector<User> users;
  ASSERT_TRUE(listUsers(*store, Catalogue::builtIn(), &users, &error));
  for (const User& user : users) EXPECT_EQ(user.values, user.name == ru("сбор"));
  reopen(options);
  core->setDevice(device);
  core->subscribe(&receipts, {902, 903, 904}, -1);
  EXPECT_EQ(core->admitValues(ru("сбор"), "collects"), Verdict::kGranted);
  EXPECT_EQ(core->admitValues(ru("сбор"), "collect"), Verdict::kWrong);
  EXPECT_EQ(core->admitValues(ru("Петров"), "verysecret"), Verdict::kNoRight);
  EXPECT_EQ(core->admitValues(ru("никто"), "collects"), Verdict::kWrong);
  EXPECT_EQ(core->admitValues("", ""), Verdict::kWrong);
  EXPECT_EQ(send(body("1", "collects", "сбор")), kNoRight);
  for (int i = 0; i < 9; ++i) EXPECT_EQ(core->admitValues(ru("сбор"), "wrong"), Verdict::kWrong);
  EXPECT_EQ(core->admitValues(ru("сбор"), "collects"), Verdict::kGranted);
  for (int i = 0; i < 10; ++i) EXPECT_EQ(core->admitValues(ru("сбор"), "wrong"), Verdict::kWrong);
  EXPECT_EQ(core->admitValues(ru("сбор"), "collects"), Verdict::kLocked);
  now = now + 61 * kSecond;
  EXPECT_EQ(core->admitValues(ru("сбор"), "collects"), Verdict::kGranted);
}

TEST_F(OperatorTest, NamesAndPasswordsHaveBounds) {
  const auto store = openMemoryStore(makeMemoryStoreData(Catalogue::builtIn()));
  std::string error;
  const auto adds = [&](size_t name, size_t password) {
    return addUser(*store, Catalogue::builtIn(), {std::string(name, 'a'), true}, std::string(password, 'b'), &error);
  };
  EXPECT_FALSE(adds(0, 5));
  EXPECT_FALSE(adds(61, 5));
  EXPECT_FALSE(adds(5, 0));
  EXPECT_FALSE(adds(5, 129));
  EXPECT_TRUE(adds(60, 128));
}

// ---- values by hand ----

TEST_F(OperatorTest, AValueByHandKeepsToTheLimitsOfItsMeasurement) {
  ASSERT_EQ(status({Update("Analog").update(key("A1"), {{"engMin", -5.0}, {"engMax", 10.0}}),
                    Update("Accumulator").update(key("C1"), {{"rollover", number(100)}}),
                    Update("StringMeasurement").update(key("S1"), {{"maxLength", number(3)}})}),
            wire::kOk);
  for (const char* good : {"locId=1001\nvalue=-5", "locId=1001\nvalue=10", "locId=1002\nvalue=1", "locId=1003\nvalue=0",
                           "locId=1003\nvalue=100", "locId=1004\nvalue=abc", "locId=1004\nvalue="})
    EXPECT_EQ(manual(good), "accepted") << good;
  for (const char* bad :
       {"locId=1001\nvalue=-5.01", "locId=1001\nvalue=10.01", "locId=1002\nvalue=2", "locId=1002\nvalue=0.5",
        "locId=1003\nvalue=-1", "locId=1003\nvalue=101", "locId=1003\nvalue=1.5", "locId=1004\nvalue=abcd",
        "locId=1001\nvalue=", "locId=1777\nvalue=1"})
    EXPECT_NE(manual(bad), "accepted") << bad;
}

TEST_F(OperatorTest, AValueByHandMayBeForbiddenAndStillLifted) {
  ASSERT_EQ(manual("locId=1001\nvalue=3"), "accepted");
  ASSERT_EQ(status({Update("Measurement").update(key("A1"), {{"manualAllowed", false}})}), wire::kOk);
  EXPECT_EQ(manual("locId=1001\nvalue=4"), "Ручной ввод для этого измерения не разрешён.");
  EXPECT_EQ(manual("locId=1001\nauto=1"), "accepted");
  EXPECT_FALSE(core->live().isManual(1001));
}

TEST_F(OperatorTest, AValueByHandOutlivesTheServer) {
  ASSERT_EQ(manual("locId=1001\nvalue=3.125"), "accepted");
  ASSERT_EQ(manual("locId=1004\nvalue=" + ru("стоп")), "accepted");
  reopen(options);
  EXPECT_TRUE(core->live().isManual(1001));
  EXPECT_EQ(valueText(*core->live().current(1001)), "3.125");
  EXPECT_EQ(valueText(*core->live().current(1004)), ru("стоп"));
  const auto who = core->live().manual(1001);
  ASSERT_TRUE(who);
  EXPECT_EQ(who->user, "tester");
  EXPECT_EQ(who->time, kNow);
  ASSERT_EQ(manual("locId=1001\nauto=1"), "accepted");
  reopen(options);
  EXPECT_FALSE(core->live().isManual(1001));
  EXPECT_TRUE(core->live().isManual(1004));
}

TEST_F(OperatorTest, AValueByHandGoesWithItsMeasurementAndItsNumber) {
  ASSERT_EQ(manual("locId=1001\nvalue=3"), "accepted");
  ASSERT_EQ(manual("locId=1002\nvalue=1"), "accepted");
  ASSERT_EQ(status({Update("Measurement").update(key("A1"), {{"locId", number(2001)}})}), wire::kOk);
  EXPECT_FALSE(core->live().isManual(1001));
  ASSERT_EQ(status({Update("IdentifiedObject").remove(key("D1")), Update("Measurement").remove(key("D1")),
                    Update("Discrete").remove(key("D1"))}),
            wire::kOk);
  reopen(options);
  for (const int number : {1001, 1002, 2001}) EXPECT_FALSE(core->live().isManual(number)) << number;
}

TEST_F(OperatorTest, AValueThatCannotBeKeptDoesNotStand) {
  failCommits(*data, "the disk is full");
  EXPECT_EQ(packet("ManualValue", "locId=1001\nvalue=3").status, wire::kStorage);
  EXPECT_FALSE(core->live().isManual(1001));
  failCommits(*data, "");
}

// ---- the simulator as the device ----

TEST_F(OperatorTest, TheSimulatorDoesAsItIsToldToAndKeepsTheState) {
  Simulator simulator(*core, 7, kMostSimulated, {{1003, DeviceHabit::kRefuses}});
  simulator.tick(kNow);
  for (const char* state : {"1", "0", "1"}) {
    std::string text = body(std::string("s") + std::to_string(receipts.wait(0).size()));
    text.replace(text.find("state=1") + 6, 1, state);
    ASSERT_EQ(send(text), "accepted");
    for (const double later : {0.0, 0.3, 0.7}) {
      simulator.tick(kNow + later);
      EXPECT_EQ(valueText(*core->live().current(1002)), state);
    }
  }
  EXPECT_EQ(receipts.wait(3).back().kind, 903);
}

TEST_F(OperatorTest, TheSimulatorRefusesOrStaysSilentWhereItsConfigurationSaysSo) {
  {
    Simulator refusing(*core, 7, kMostSimulated, {{1002, DeviceHabit::kRefuses}});
    EXPECT_EQ(send(body("1")), "accepted");
    EXPECT_EQ(outcome("1"), "refused");
  }
  Simulator silent(*core, 7, kMostSimulated, {{1002, DeviceHabit::kSilent}});
  EXPECT_EQ(send(body("2")), "accepted");
  EXPECT_EQ(outcome("2"), "running");
}

TEST(SampleDevice, HasAHabitOfEachKind) {
  const DeviceHabits habits = sampleHabits();
  EXPECT_EQ(habits, (DeviceHabits{{1015, DeviceHabit::kRefuses}, {1025, DeviceHabit::kSilent}}));
}

}  // namespace
}  // namespace tlm::server::test
