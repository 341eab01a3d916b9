// One who was away catches up with what it missed, and nobody waits for it meanwhile.
#include <TlmServer/SqliteStore.h>

#include <atomic>
#include <condition_variable>
#include <filesystem>
#include <future>
#include <mutex>
#include <thread>

#include "fixture.h"

namespace tlm::server::test {
namespace {

constexpr auto kLimit = std::chrono::seconds(60);  // which only a broken server reaches
constexpr int kFar = 3000;                         // events

// Stops at an event of its choice until it is let go on.
class Slow : public Subscriber {
 public:
  explicit Slow(int64_t stopsAt = 0) : stopsAt_(stopsAt) {}

  void onEvent(const wire::Event& event) override {
    std::unique_lock lock(mutex_);
    heard_.push_back(event.sequence);
    if (event.sequence != stopsAt_ || stopsAt_ == 0) return;
    inside_ = true;
    changed_.notify_all();
    changed_.wait(lock, [this] { return goesOn_; });
    inside_ = false;
  }
  void onValue(const wire::ParamValue&) override {}
  bool wantsMore() override {
    ++asked;
    return wants;
  }

  bool waitUntilItStops() {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, kLimit, [this] { return inside_; });
  }
  void goOn() {
    const std::lock_guard lock(mutex_);
    goesOn_ = true;
    changed_.notify_all();
  }
  bool inside() const {
    const std::lock_guard lock(mutex_);
    return inside_;
  }
  std::vector<int64_t> heard() const {
    const std::lock_guard lock(mutex_);
    return heard_;
  }

  std::atomic<bool> wants{true};
  std::atomic<int> asked{0};

 private:
  const int64_t stopsAt_;
  mutable std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<int64_t> heard_;
  bool inside_ = false;
  bool goesOn_ = false;
};

std::vector<int64_t> numbers(int64_t from, int64_t to) {
  std::vector<int64_t> all;
  for (int64_t number = from; number <= to; ++number) all.push_back(number);
  return all;
}

enum class Place { kMemory, kFile };

std::string placeName(const ::testing::TestParamInfo<Place>& info) {
  return info.param == Place::kMemory ? "Memory" : "File";
}

class CatchUp : public ::testing::TestWithParam<Place> {
 protected:
  explicit CatchUp(int64_t keptEvents = 100'000) {
    options.keptEvents = keptEvents;
    folder_ = (std::filesystem::temp_directory_path() / "tlm_catch_up_XXXXXX").string();
    EXPECT_TRUE(mkdtemp(folder_.data()));
    open();
  }
  ~CatchUp() override {
    core.reset();
    std::filesystem::remove_all(folder_);
  }

  void open() {
    std::string error;
    auto store = GetParam() == Place::kMemory ? openMemoryStore(makeMemoryStoreData(Catalogue::builtIn()))
                                              : createSqliteStore(folder_ + "/model.tlm", Catalogue::builtIn(), &error);
    ASSERT_TRUE(store) << error;
    core = Core::open(std::move(store), options, &error);
    ASSERT_TRUE(core) << error;
    Update insert("RemoteUnitFolder");
    insert.insert(key("Folder"), {{"caption", "x"}});
    ASSERT_EQ(status({insert}), wire::kOk);
  }

  int32_t status(std::vector<wire::Request> requests) const {
    return core->execute(wire::Block{{}, std::move(requests)}, {"tester"}).whole.status;
  }
  // So many events in one block.
  int32_t rename(int events, const std::string& caption = "y") {
    const wire::Request one = Update("RemoteUnitFolder").update(key("Folder"), {{"caption", caption}});
    return status(std::vector<wire::Request>(static_cast<size_t>(events), one));
  }
  // On a thread of its own.
  std::future<bool> subscribe(Subscriber& subscriber, int64_t after = 0) {
    return std::async(std::launch::async, [this, &subscriber, after] {
      return core->subscribe(&subscriber, {601, 602}, after);
    });
  }
  bool isAnswered(const std::function<int32_t()>& commit) {
    answer_ = std::async(std::launch::async, commit);
    return answer_.wait_for(kLimit) == std::future_status::ready && answer_.get() == wire::kOk;
  }

  CoreOptions options;
  std::unique_ptr<Core> core;

 private:
  std::string folder_;
  std::future<int32_t> answer_;  // waited for last
};

INSTANTIATE_TEST_SUITE_P(Stores, CatchUp, ::testing::Values(Place::kMemory, Place::kFile), placeName);

TEST_P(CatchUp, CommitsAreAnsweredMeanwhile) {
  ASSERT_EQ(rename(kFar), wire::kOk);
  Slow slow(kFar / 2);
  auto subscribed = subscribe(slow);
  ASSERT_TRUE(slow.waitUntilItStops());
  EXPECT_TRUE(isAnswered([this] { return rename(1); }));
  slow.goOn();
  EXPECT_TRUE(subscribed.get());
  EXPECT_EQ(rename(1), wire::kOk);
  EXPECT_EQ(slow.heard(), numbers(1, core->lastSequence())) << "what came meanwhile and later is told too";
  core->unsubscribe(&slow);
}

TEST_P(CatchUp, OthersHearMeanwhileWhatHappensAndMayCatchUpToo) {
  ASSERT_EQ(rename(kFar), wire::kOk);
  Slow slow(kFar / 2);
  Slow there;
  Slow quick;
  ASSERT_TRUE(core->subscribe(&there, {602}, -1));
  auto subscribed = subscribe(slow);
  ASSERT_TRUE(slow.waitUntilItStops());
  EXPECT_EQ(subscribe(quick).wait_for(kLimit), std::future_status::ready);
  EXPECT_TRUE(isAnswered([this] { return rename(1); }));
  EXPECT_EQ(quick.heard(), numbers(1, core->lastSequence()));
  EXPECT_EQ(there.heard(), numbers(core->lastSequence(), core->lastSequence()));
  slow.goOn();
  EXPECT_TRUE(subscribed.get());
  for (Slow* one : {&slow, &there, &quick}) core->unsubscribe(one);
}

TEST_P(CatchUp, EveryEventIsToldOnceAndInOrderWhileOthersCommit) {
  ASSERT_EQ(rename(1000), wire::kOk);
  std::atomic<bool> going{true};
  std::thread writer([&] {
    while (going) rename(7);
  });
  for (int round = 0; round < 20; ++round) {
    Slow newcomer;
    ASSERT_TRUE(core->subscribe(&newcomer, {601, 602}, round * 10));
    const int64_t behind = core->lastSequence();
    while (core->publishedSequence() < behind + 20) std::this_thread::yield();
    core->unsubscribe(&newcomer);
    const std::vector<int64_t> heard = newcomer.heard();
    ASSERT_GE(heard.back(), behind + 20);
    ASSERT_EQ(heard, numbers(round * 10 + 1, heard.back()));
  }
  going = false;
  writer.join();
}

TEST_P(CatchUp, OnlyTheKindsThatAreWantedAreTold) {
  ASSERT_EQ(rename(kFar), wire::kOk);
  Slow newcomer;
  ASSERT_TRUE(core->subscribe(&newcomer, {601}, 0));
  EXPECT_EQ(newcomer.heard(), numbers(1, 1));
  core->unsubscribe(&newcomer);
}

TEST_P(CatchUp, ComesInPortionsOfFewEvents) {
  ASSERT_EQ(rename(kFar), wire::kOk);
  Slow newcomer;
  ASSERT_TRUE(core->subscribe(&newcomer, {602}, 0));
  EXPECT_EQ(newcomer.asked, kFar / 256);
  core->unsubscribe(&newcomer);
}

TEST_P(CatchUp, ComesInPortionsOfFewBytes) {
  for (int i = 0; i < 7; ++i) {
    Update large("Archives");
    large.insert(key("Archive" + std::to_string(i)), {{"location", std::string(200'000, 'x')}});
    ASSERT_EQ(status({large}), wire::kOk);
  }
  Slow newcomer;
  ASSERT_TRUE(core->subscribe(&newcomer, {601}, core->lastSequence() - 7));
  EXPECT_EQ(newcomer.asked, 3) << "two events fill a portion, the last one is told as it joins";
  EXPECT_EQ(newcomer.heard().size(), 7u);
  core->unsubscribe(&newcomer);
}

TEST_P(CatchUp, EndsForOneThatWantsNoMore) {
  ASSERT_EQ(rename(kFar), wire::kOk);
  Slow newcomer;
  newcomer.wants = false;
  EXPECT_FALSE(core->subscribe(&newcomer, {601, 602}, 0));
  EXPECT_EQ(newcomer.asked, 1);
  const size_t told = newcomer.heard().size();
  EXPECT_EQ(rename(1), wire::kOk);
  EXPECT_EQ(newcomer.heard().size(), told);
  EXPECT_EQ(core->subscribers(), 0u);
}

TEST_P(CatchUp, EndsWhenItIsUnsubscribedMeanwhile) {
  ASSERT_EQ(rename(kFar), wire::kOk);
  Slow slow(kFar / 2);
  core->subscribeValues(&slow, {1001});
  auto subscribed = subscribe(slow);
  ASSERT_TRUE(slow.waitUntilItStops());
  auto unsubscribed = std::async(std::launch::async, [&] {
    core->unsubscribe(&slow);
    return !slow.inside();
  });
  while (core->subscribers() > 0) std::this_thread::yield();  // until it is under way
  slow.goOn();
  EXPECT_TRUE(unsubscribed.get()) << "no call is under way when it returns";
  EXPECT_FALSE(subscribed.get());
  EXPECT_LT(slow.heard().size(), static_cast<size_t>(kFar));
  EXPECT_EQ(core->subscribers(), 0u);
}

TEST_P(CatchUp, TheEndOfOneDoesNotConcernAnother) {
  ASSERT_EQ(rename(kFar), wire::kOk);
  Slow slow(kFar / 2);
  auto subscribed = subscribe(slow);
  ASSERT_TRUE(slow.waitUntilItStops());
  Slow other;
  ASSERT_TRUE(core->subscribe(&other, {602}, -1));
  core->unsubscribe(&other);
  slow.goOn();
  EXPECT_TRUE(subscribed.get());
  EXPECT_EQ(slow.heard(), numbers(1, core->lastSequence()));
  core->unsubscribe(&slow);
}

TEST_P(CatchUp, ReceiptsComeFromItsEndOn) {
  ASSERT_EQ(rename(kFar), wire::kOk);
  Slow slow(kFar / 2);
  auto subscribed = std::async(std::launch::async, [&] { return core->subscribe(&slow, {601, 602, 902}, 0); });
  ASSERT_TRUE(slow.waitUntilItStops());
  core->publish({0, 902, 0, key("Folder"), "id=1", "tester", std::nullopt});
  slow.goOn();
  ASSERT_TRUE(subscribed.get());
  EXPECT_EQ(slow.heard(), numbers(1, core->lastSequence()));
  core->publish({0, 902, 0, key("Folder"), "id=2", "tester", std::nullopt});
  EXPECT_EQ(slow.heard().back(), 0);
  core->unsubscribe(&slow);
}

class ShortLog : public CatchUp {
 protected:
  ShortLog() : CatchUp(10) {}
};

INSTANTIATE_TEST_SUITE_P(Stores, ShortLog, ::testing::Values(Place::kMemory, Place::kFile), placeName);

TEST_P(ShortLog, IsRefusedWhenTheLogIsForgottenMeanwhile) {
  ASSERT_EQ(rename(kFar), wire::kOk);
  Slow slow(kFar / 2);
  auto subscribed = subscribe(slow);
  ASSERT_TRUE(slow.waitUntilItStops());
  EXPECT_TRUE(isAnswered([this] { return rename(5000); }));
  slow.goOn();
  EXPECT_FALSE(subscribed.get()) << "it missed some";
  EXPECT_EQ(core->subscribers(), 0u);
}

}  // namespace
}  // namespace tlm::server::test
