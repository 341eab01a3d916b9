#include "testing.h"

#include <limits>

namespace tlm::test {
namespace {

class EventsTest : public StoreTest {
 protected:
  void commitEvents(int64_t from, int64_t to, const std::string& identity = "") {
    Commit block;
    block.identity = identity;
    for (int64_t sequence = from; sequence <= to; ++sequence) block.events.push_back(eventOf(sequence));
    ASSERT_TRUE(store_->commit(block, &error_)) << error_;
  }
  std::vector<int64_t> after(int64_t sequence, int64_t upTo = kAll, size_t most = 1000) {
    std::vector<int64_t> all;
    const auto each = [&](wire::Event&& event) {
      all.push_back(event.sequence);
      return all.size() < most;
    };
    EXPECT_TRUE(store_->events(sequence, upTo, each, &error_));
    return all;
  }
  static constexpr int64_t kAll = std::numeric_limits<int64_t>::max();
};

INSTANTIATE_TEST_SUITE_P(Stores, EventsTest, ::testing::ValuesIn(kPlaces), placeName);

using Numbers = std::vector<int64_t>;

TEST_P(EventsTest, ANewStoreHasNone) {
  EXPECT_EQ(store_->lastSequence(), 0);
  EXPECT_EQ(store_->firstSequence(), 1);
  EXPECT_EQ(after(0), Numbers{});
}

TEST_P(EventsTest, ComeBackWithEveryField) {
  commitEvents(1, 1);
  reopen();
  std::vector<wire::Event> all;
  ASSERT_TRUE(store_->events(
      0, kAll, [&](wire::Event&& event) { return all.push_back(std::move(event)), true; }, &error_));
  ASSERT_EQ(all.size(), 1u);
  const wire::Event wanted = eventOf(1);
  EXPECT_EQ(all[0].sequence, wanted.sequence);
  EXPECT_EQ(all[0].kind, wanted.kind);
  EXPECT_EQ(all[0].time, wanted.time);
  EXPECT_EQ(all[0].key, wanted.key);
  EXPECT_EQ(all[0].param, wanted.param);
  EXPECT_EQ(all[0].user, wanted.user);
  EXPECT_EQ(all[0].image, wanted.image);
}

TEST_P(EventsTest, AMissingImageIsNotAnEmptyOne) {
  Commit block;
  block.events = {eventOf(1), eventOf(2)};
  block.events[0].image.reset();
  block.events[1].image = "";
  ASSERT_TRUE(store_->commit(block, &error_));
  std::vector<std::optional<std::string>> images;
  ASSERT_TRUE(store_->events(
      0, kAll, [&](wire::Event&& event) { return images.push_back(event.image), true; }, &error_));
  EXPECT_EQ(images, (std::vector<std::optional<std::string>>{std::nullopt, std::string()}));
}

TEST_P(EventsTest, CatchUpGivesWhatIsLaterInOrder) {
  commitEvents(1, 3);
  commitEvents(4, 5);
  EXPECT_EQ(after(0), (Numbers{1, 2, 3, 4, 5}));
  EXPECT_EQ(after(3), (Numbers{4, 5}));
  EXPECT_EQ(after(5), Numbers{});
}

TEST_P(EventsTest, CatchUpGivesNothingBeyondItsEnd) {
  commitEvents(1, 5);
  EXPECT_EQ(after(1, 4), (Numbers{2, 3, 4}));
  EXPECT_EQ(after(1, 1), Numbers{});
  EXPECT_EQ(after(3, 2), Numbers{});
}

TEST_P(EventsTest, CatchUpEndsWhenNoMoreIsWanted) {
  commitEvents(1, 5);
  EXPECT_EQ(after(1, kAll, 2), (Numbers{2, 3}));
  commitEvents(6, 6);
  EXPECT_EQ(after(3), (Numbers{4, 5, 6})) << "and the store goes on";
}

TEST_P(EventsTest, ForgottenOnesAreGoneAndTheirNumbersAreNotGivenAgain) {
  commitEvents(1, 5);
  ASSERT_TRUE(store_->forgetEvents(3, &error_)) << error_;
  EXPECT_EQ(store_->firstSequence(), 4);
  EXPECT_EQ(after(0), (Numbers{4, 5}));
  ASSERT_TRUE(store_->forgetEvents(100, &error_)) << error_;
  reopen();
  EXPECT_EQ(store_->lastSequence(), 5);
  EXPECT_EQ(store_->firstSequence(), 6);
}

TEST_P(EventsTest, ForgettingLessThanIsForgottenChangesNothing) {
  commitEvents(1, 5);
  ASSERT_TRUE(store_->forgetEvents(5, &error_));
  ASSERT_TRUE(store_->forgetEvents(2, &error_));
  reopen();
  EXPECT_EQ(store_->lastSequence(), 5);
}

TEST_P(EventsTest, ANumberThatStandsInTheLogIsRefused) {
  commitEvents(1, 2);
  Commit block;
  block.events = {eventOf(2)};
  EXPECT_FALSE(store_->commit(block, &error_));
  EXPECT_EQ(after(0), (Numbers{1, 2}));
}

TEST_P(EventsTest, TheSameNumberTwiceInABlockIsRefused) {
  Commit block;
  block.events = {eventOf(1), eventOf(1)};
  EXPECT_FALSE(store_->commit(block, &error_));
  EXPECT_EQ(after(0), Numbers{});
  EXPECT_EQ(store_->lastSequence(), 0);
}

TEST_P(EventsTest, BlocksAreKnownByTheirIdentityUntilTheirEventsAreForgotten) {
  commitEvents(1, 2, keyOf(1));
  commitEvents(3, 3, keyOf(2));
  reopen();
  EXPECT_TRUE(store_->holdsBlock(keyOf(1)));
  EXPECT_TRUE(store_->holdsBlock(keyOf(2)));
  EXPECT_FALSE(store_->holdsBlock(keyOf(3)));
  ASSERT_TRUE(store_->forgetEvents(2, &error_));
  EXPECT_FALSE(store_->holdsBlock(keyOf(1)));
  EXPECT_TRUE(store_->holdsBlock(keyOf(2)));
}

TEST_P(EventsTest, ABlockIsCommittedOnceOnly) {
  commitEvents(1, 1, keyOf(1));
  Commit again;
  again.identity = keyOf(1);
  again.events = {eventOf(2)};
  EXPECT_FALSE(store_->commit(again, &error_));
  EXPECT_EQ(after(0), Numbers{1});
}

TEST_P(EventsTest, AStoreKeepsItsIdentity) {
  const std::string identity = store_->identity();
  EXPECT_EQ(identity.size(), 32u);
  reopen();
  EXPECT_EQ(store_->identity(), identity);
  EXPECT_NE(GetParam().make()->open()->identity(), identity);
}

}  // namespace
}  // namespace tlm::test
