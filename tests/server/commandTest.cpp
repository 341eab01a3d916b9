// Telecontrol commands: who may give them, when, and what becomes of each.
#include "operatorFixture.h"

namespace tlm::server::test {
namespace {

class CommandTest : public OperatorTest {};

TEST_F(CommandTest, ACommandGoesToTheDeviceAndItsReceiptToEverybody) {
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

TEST_F(CommandTest, ARefusalOfTheDeviceIsAReceipt) {
  device->habit = DeviceHabit::kRefuses;
  EXPECT_EQ(send(body()), "accepted");
  EXPECT_EQ(receipts.wait(1).at(0).kind, 902);
  EXPECT_EQ(outcome("1"), "refused");
}

TEST_F(CommandTest, ASilentDeviceTimesOutAfterItsTime) {
  device->habit = DeviceHabit::kSilent;
  EXPECT_EQ(send(body()), "accepted");
  now = now + 9.9 * kSecond;
  letTheDeskLook();
  EXPECT_EQ(outcome("1"), "running");
  now = now + 0.2 * kSecond;
  EXPECT_EQ(receipts.wait(1).at(0).kind, 904);
  EXPECT_EQ(outcome("1"), "timeout");
  device->held(DeviceAnswer::kDone);  // too late
  EXPECT_EQ(outcome("1"), "timeout");
  EXPECT_EQ(receipts.wait(1).size(), 1u);
}

TEST_F(CommandTest, ASecondAnswerOfTheDeviceCountsForNothing) {
  device->habit = DeviceHabit::kSilent;
  send(body());
  device->held(DeviceAnswer::kRefused);
  device->held(DeviceAnswer::kDone);
  EXPECT_EQ(outcome("1"), "refused");
  EXPECT_EQ(receipts.wait(1).size(), 1u);
}

TEST_F(CommandTest, ACommandSentAgainIsAnsweredAgainAndNotExecutedAgain) {
  EXPECT_EQ(send(body()), "accepted");
  EXPECT_EQ(send(body()), "accepted");
  EXPECT_EQ(device->commands.size(), 1u);
  EXPECT_EQ(send(body("2", "wrong")), kWrong);
  EXPECT_EQ(send(body("2")), kWrong);  // the same command, whatever it says now
  EXPECT_EQ(device->commands.size(), 1u);
}

TEST_F(CommandTest, ACommandOlderThanFiveSecondsIsRefused) {
  EXPECT_EQ(send(body("1", "verysecret", "Петров", 5.01 * kSecond)), kTooOld);
  EXPECT_TRUE(device->commands.empty());
  EXPECT_EQ(send(body("2", "verysecret", "Петров", 4.99 * kSecond)), "accepted");
  EXPECT_EQ(send(body("3", "verysecret", "Петров", -5.01 * kSecond)), "Время команды опережает часы сервера.");
  EXPECT_EQ(device->commands.size(), 1u);
}

TEST_F(CommandTest, WhatWasAskedForAsUnknownIsNeverExecuted) {
  EXPECT_EQ(outcome("1"), "none");
  EXPECT_NE(send(body()), "accepted");
  EXPECT_TRUE(device->commands.empty());
  EXPECT_EQ(outcome("1"), "none");
}

TEST_F(CommandTest, WhatWasIssuedBeforeTheServerStartedIsForgotten) {
  EXPECT_EQ(outcome("1", kNow - kSecond), "forgotten");
  EXPECT_EQ(outcome("2", kNow), "none");
}

TEST_F(CommandTest, ARejectedCommandTellsWhy) {
  send(body("1", "wrong"));
  EXPECT_EQ(outcome("1"), "rejected");
}

TEST_F(CommandTest, TwoCommandsForOneSignalAreOneTooMany) {
  device->habit = DeviceHabit::kSilent;
  EXPECT_EQ(send(body("1")), "accepted");
  EXPECT_EQ(send(body("2")), "Для этого объекта уже выполняется команда.");
  device->held(DeviceAnswer::kDone);
  EXPECT_EQ(send(body("3")), "accepted");
}

TEST_F(CommandTest, AnOldCommandForABusySignalIsToldThatItIsOld) {
  device->habit = DeviceHabit::kSilent;
  EXPECT_EQ(send(body("1")), "accepted");
  EXPECT_EQ(send(body("2", "verysecret", "Петров", 6 * kSecond)), kTooOld);
}

TEST_F(CommandTest, WithoutADeviceNothingIsAccepted) {
  core->setDevice(nullptr);
  EXPECT_EQ(send(body()), "Нет устройства, которое выполнило бы команду.");
}

TEST_F(CommandTest, OnlyADiscreteThatMayBeCommandedIs) {
  for (const Value& off : {Value(false), Value()}) {
    ASSERT_EQ(status({Update("Discrete").update(key("D1"), {{"CheckTu", off}})}), wire::kOk);
    EXPECT_EQ(send(body(std::holds_alternative<bool>(off) ? "off" : "null")),
              "Этим объектом нельзя управлять: телеуправление для него не включено.");
  }
  std::string analog = body("2");
  analog.replace(analog.find("1002"), 4, "1001");
  EXPECT_EQ(send(analog), "Этим объектом нельзя управлять: телеуправление для него не включено.");
  std::string nobody = body("3");
  nobody.replace(nobody.find("1002"), 4, "1777");
  EXPECT_EQ(send(nobody), "Измерения с таким номером нет на сервере.");
  EXPECT_TRUE(device->commands.empty());
}

TEST_F(CommandTest, ABlockingSignalForbids) {
  ASSERT_EQ(status({Update("Discrete").update(key("D1"), {{"blockLocId", number(1001)}})}), wire::kOk);
  EXPECT_EQ(send(body("1")), "Команда запрещена блокирующим сигналом.");  // its state is not known
  core->live().set(1001, {kNow, Quality::kGood, 1.0});
  EXPECT_EQ(send(body("2")), "Команда запрещена блокирующим сигналом.");
  core->live().set(1001, {kNow, Quality::kGood, 0.0});
  EXPECT_EQ(send(body("3")), "accepted");
}

TEST_F(CommandTest, NameRightAndPasswordAreChecked) {
  EXPECT_EQ(send(body("1", "VerySecret")), kWrong);
  EXPECT_EQ(send(body("2", "")), kWrong);
  EXPECT_EQ(send(body("3", "verysecret", "Никто")), kWrong);
  EXPECT_EQ(send(body("5", "nobody has this password", "Никто")), kWrong);
  EXPECT_EQ(send(body("4", "guest", "Гость")), kNoRight);
  EXPECT_TRUE(device->commands.empty());
}

TEST_F(CommandTest, ASignalWithoutAPasswordStillWantsTheRight) {
  ASSERT_EQ(status({Update("Discrete").update(key("D1"), {{"tuPassword", false}})}), wire::kOk);
  EXPECT_EQ(send(body("1", "", "Гость")), kNoRight);
  EXPECT_EQ(send(body("2", "", "Никто")), kNoRight);
  EXPECT_EQ(send(body("3", "", "")), kNoRight);  // who calls is "tester"
  EXPECT_EQ(send(body("4", "wrong")), kWrong);   // who gives one is asked for the right one
  EXPECT_EQ(send(body("5", "")), "accepted");
}

TEST_F(CommandTest, TenWrongPasswordsLockTheNameForAMinute) {
  for (int i = 0; i < 10; ++i) EXPECT_EQ(send(body("w" + std::to_string(i), "wrong")), kWrong);
  EXPECT_EQ(send(body("1")), kLocked);
  EXPECT_EQ(send(body("2", "guest", "Гость")), kNoRight);  // another name is not locked
  now = now + 59.9 * kSecond;
  EXPECT_EQ(send(body("3")), kLocked);
  now = now + 0.2 * kSecond;
  EXPECT_EQ(send(body("4")), "accepted");
}

TEST_F(CommandTest, AfterTheMinuteTheWrongOnesAreCountedAnew) {
  for (int i = 0; i < 10; ++i) send(body("w" + std::to_string(i), "wrong"));
  now = now + 60.1 * kSecond;
  EXPECT_EQ(send(body("1", "wrong")), kWrong);
  EXPECT_EQ(send(body("2")), "accepted");
}

TEST_F(CommandTest, ARightPasswordForgetsTheWrongOnes) {
  for (int i = 0; i < 9; ++i) EXPECT_EQ(send(body("w" + std::to_string(i), "wrong")), kWrong);
  EXPECT_EQ(send(body("1")), "accepted");
  EXPECT_EQ(send(body("2", "wrong")), kWrong);
  EXPECT_EQ(send(body("3")), "accepted");
}

TEST_F(CommandTest, ANameThatIsNotThereIsLockedToo) {
  for (int i = 0; i < 10; ++i) EXPECT_EQ(send(body("w" + std::to_string(i), "x", "Никто")), kWrong);
  EXPECT_EQ(send(body("1", "x", "Никто")), kLocked);
}

TEST_F(CommandTest, MalformedCommandsAreRefused) {
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

TEST_F(CommandTest, ACommandTravelsAlone) {
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

// ---- the simulator as the device ----

TEST_F(CommandTest, TheSimulatorDoesAsItIsToldToAndKeepsTheState) {
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

TEST_F(CommandTest, TheSimulatorShowsTheCommandedStateAtOnceAndKeepsTheHistory) {
  Simulator simulator(*core, 7);
  simulator.tick(kNow);
  core->live().simulate(1002, {kNow + kSecond, Quality::kGood, 0.0});
  ASSERT_EQ(send(body()), "accepted");
  EXPECT_EQ(valueText(*core->live().current(1002)), "1");
  EXPECT_EQ(core->live().history(1002, 0, 1e9).size(), 3u);
}

TEST_F(CommandTest, TheSimulatorMovesNoSignalThatTheFieldTellsOf) {
  Simulator simulator(*core, 7);
  core->live().set(1002, {kNow, Quality::kGood, 0.0});
  ASSERT_EQ(send(body()), "accepted");
  EXPECT_EQ(outcome("1"), "refused");
  EXPECT_EQ(valueText(*core->live().current(1002)), "0");
}

TEST_F(CommandTest, TheSimulatorRefusesOrStaysSilentWhereItsConfigurationSaysSo) {
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

// ---- tries, times and what is remembered ----

TEST_F(CommandTest, WrongPasswordsThatComeTogetherAreCountedOneByOne) {
  std::atomic<int> wrong{0};
  std::atomic<int> locked{0};
  std::vector<std::thread> tries;
  for (int i = 0; i < 14; ++i)
    tries.emplace_back([this, i, &wrong, &locked] {
      const std::string answer = send(body("w" + std::to_string(i), "wrong"));
      ++(answer == kWrong ? wrong : locked);
    });
  for (std::thread& each : tries) each.join();
  EXPECT_EQ(wrong, 10);
  EXPECT_EQ(locked, 4);
}

TEST_F(CommandTest, GoesToTheObjectThatWasSeenUnderItsNumber) {
  EXPECT_EQ(send(body("1") + "key=" + key("A1") + "\n"), "Этот номер теперь у другого измерения.");
  EXPECT_TRUE(device->commands.empty());
  EXPECT_EQ(send(body("2") + "key=" + key("D1") + "\n"), "accepted");
  EXPECT_EQ(device->commands.size(), 1u);
}

TEST_F(CommandTest, IsForbiddenByABlockingSignalThatIsNotKnownNow) {
  ASSERT_EQ(status({Update("Discrete").update(key("D1"), {{"blockLocId", number(1001)}})}), wire::kOk);
  const std::pair<Quality, const char*> rows[] = {{Quality::kInvalid, "Команда запрещена блокирующим сигналом."},
                                                  {Quality::kOld, "Команда запрещена блокирующим сигналом."},
                                                  {Quality::kManual, "accepted"}};
  for (const auto& [quality, answer] : rows) {
    core->live().set(1001, {kNow, quality, 0.0});
    EXPECT_EQ(send(body("q" + std::to_string(static_cast<int>(quality)))), answer);
  }
  ASSERT_EQ(status({Update("Discrete").update(key("D1"), {{"blockLocId", number(0)}})}), wire::kOk);
  EXPECT_EQ(send(body("none")), "accepted");
}

// The clock is asked when a command is entered, and again for the password.
TEST_F(CommandTest, IsLookedAtAgainAfterThePassword) {
  ASSERT_EQ(status({Update("Discrete").update(key("D1"), {{"blockLocId", number(1001)}})}), wire::kOk);
  core->live().set(1001, {kNow, Quality::kGood, 0.0});
  atClock(2, [this] { core->live().set(1001, {kNow, Quality::kGood, 1.0}); });
  EXPECT_EQ(send(body()), "Команда запрещена блокирующим сигналом.");
  EXPECT_TRUE(device->commands.empty());
}

TEST_F(CommandTest, ThatIsBeingCheckedIsNotCheckedTwice) {
  std::string again;
  std::string state;
  atClock(2, [&] {
    again = send(body());
    state = outcome("1");
  });
  EXPECT_EQ(send(body()), "accepted");
  EXPECT_EQ(again, "Эта команда уже проверяется.");
  EXPECT_EQ(state, "running");
  EXPECT_EQ(device->commands.size(), 1u);
}

TEST_F(CommandTest, IsRememberedForTenMinutesAfterItsEnd) {
  const double issued = now;
  ASSERT_EQ(status({Update("Discrete").update(key("D1"), {{"tuTimeout", number(600)}})}), wire::kOk);
  device->habit = DeviceHabit::kSilent;
  EXPECT_EQ(send(body("1")), "accepted");
  now = now + 590 * kSecond;
  device->held(DeviceAnswer::kDone);
  now = now + 599 * kSecond;
  outcome("other");
  EXPECT_EQ(outcome("1", issued), "done");
  now = now + 2 * kSecond;
  EXPECT_EQ(outcome("1", issued), "forgotten");
}

TEST_F(CommandTest, ARefusalIsRememberedForTenMinutes) {
  const double issued = now;
  EXPECT_EQ(send(body("1", "wrong")), kWrong);
  now = now + 590 * kSecond;
  EXPECT_EQ(outcome("1", issued), "rejected");
  now = now + 11 * kSecond;
  EXPECT_EQ(outcome("1", issued), "forgotten");
}

TEST_F(CommandTest, WhatMayHaveBeenForgottenIsNotSaidToHaveNeverCome) {
  now = now + 2000 * kSecond;
  EXPECT_EQ(outcome("1", now - 590 * kSecond), "none");
  EXPECT_EQ(outcome("2", now - 596 * kSecond), "forgotten");
}

TEST_F(CommandTest, WhatIsRememberedHasABound) {
  for (int i = 0; i < 4'000; ++i) outcome("x" + std::to_string(10'000 + i));
  EXPECT_EQ(outcome("one more"), "forgotten");
  EXPECT_EQ(send(body()), "Слишком много команд за последние минуты.");
  EXPECT_TRUE(device->commands.empty());
  now = now + 601 * kSecond;
  EXPECT_EQ(send(body("later")), "accepted");
}

TEST_F(CommandTest, OutcomeOfARefusalTellsWhy) {
  send(body("1", "wrong"));
  const wire::Reply reply = packet("CommandOutcome", "id=" + key("1") + "\nissued=" + days(now));
  EXPECT_EQ(fromCodePage(reply.text.value_or("")), std::string("state=rejected\nwhy=") + kWrong + "\n");
}

TEST_F(CommandTest, WithoutATimeOfItsOwnIsAwaitedHalfAMinute) {
  device->habit = DeviceHabit::kSilent;
  for (const char* identity : {"1", "2"}) {
    const bool zero = *identity == '2';
    ASSERT_EQ(status({Update("Discrete").update(key("D1"), {{"tuTimeout", zero ? number(0) : Value()}})}), wire::kOk);
    EXPECT_EQ(send(body(identity)), "accepted");
    now = now + 29.9 * kSecond;
    letTheDeskLook();
    EXPECT_EQ(outcome(identity), "running");
    now = now + 0.2 * kSecond;
    receipts.wait(zero ? 2 : 1);
    EXPECT_EQ(outcome(identity), "timeout");
  }
}

TEST_F(CommandTest, ReceiptTellsTheTimeOfTheEnd) {
  device->habit = DeviceHabit::kSilent;
  send(body());
  now = now + 3 * kSecond;
  device->held(DeviceAnswer::kDone);
  EXPECT_EQ(receipts.wait(1).at(0).time, now);
}

TEST_F(CommandTest, AnAnswerAfterTheServersEndReachesNobody) {
  device->habit = DeviceHabit::kSilent;
  send(body());
  core->unsubscribe(&receipts);
  core.reset();
  device->held(DeviceAnswer::kDone);
  EXPECT_TRUE(receipts.wait(0).empty());
  reopen(options);
  EXPECT_EQ(outcome("1", kNow - kSecond), "forgotten");
}

TEST_F(CommandTest, NumbersOutOfRangeAreMalformed) {
  for (const char* locId : {"0", "-1", "2147483648", "1002x", "99999999999999999999"}) {
    std::string text = body();
    text.replace(text.find("1002"), 4, locId);
    EXPECT_EQ(packet("RemoteControl", text).status, wire::kMalformed) << locId;
  }
  for (const char* issued : {"nan", "inf", "-inf", "now"}) {
    std::string text = body();
    text.erase(text.find("issued=") + 7);
    EXPECT_EQ(packet("RemoteControl", text + issued).status, wire::kMalformed) << issued;
  }
  EXPECT_TRUE(device->commands.empty());
}

TEST_F(CommandTest, TwoSignalsMayBeCommandedAtATime) {
  ASSERT_EQ(status(newMeasurement("D2", "Discrete", 1009)), wire::kOk);
  ASSERT_EQ(status({Update("Discrete").update(key("D2"), {{"CheckTu", true}})}), wire::kOk);
  device->habit = DeviceHabit::kSilent;
  EXPECT_EQ(send(body("1")), "accepted");
  std::string other = body("2");
  other.replace(other.find("1002"), 4, "1009");
  EXPECT_EQ(send(other), "accepted");
  EXPECT_EQ(device->commands.size(), 2u);
}

TEST_F(CommandTest, IsAPacketAndNothingElse) {
  for (const wire::RequestKind kind :
       {wire::RequestKind::kScript, wire::RequestKind::kUpdate, wire::RequestKind::kProcedure})
    EXPECT_NE(core->execute({kind, "RemoteControl", body()}, {"tester"}).status, wire::kOk);
  EXPECT_TRUE(device->commands.empty());
}

}  // namespace
}  // namespace tlm::server::test
