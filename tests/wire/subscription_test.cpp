// What a client asks for when its line comes back, and what it makes of what it is told.
#include "Doorkeeper.h"

#include <future>

namespace tlm::test {
namespace {

class Subscriptions : public AtTheDoor {
 protected:
  static v1::Delivery events(const std::vector<int64_t>& sequences) {
    v1::Delivery delivery;
    for (const int64_t sequence : sequences) {
      delivery.add_events()->set_sequence(sequence);
      delivery.mutable_events()->rbegin()->set_kind(602);
    }
    return delivery;
  }
  // The first subscription of the connection that follows.
  v1::Subscription afterACut() {
    const size_t before = door.subscriptions().size();
    door.cut();
    EXPECT_TRUE(eventually([&] { return door.subscriptions().size() > before; }));
    return door.subscriptions().at(before);
  }
};

TEST_F(Subscriptions, TellEachEventOnceWhateverTheServerRepeats) {
  transport->subscribeEvents({602});
  door.say(events({1, 2, 2, 1, 3}));
  door.say(events({3, 4}));
  EXPECT_TRUE(eventually([&] { return wasTold("event 4"); }));
  EXPECT_EQ(told(), (std::vector<std::string>{"event 1", "event 2", "event 3", "event 4"}));
}

TEST_F(Subscriptions, TellEveryReceipt) {
  transport->subscribeEvents({902});
  door.say(events({7, 0, 0, 8}));
  EXPECT_TRUE(eventually([&] { return wasTold("event 8"); }));
  EXPECT_EQ(told(), (std::vector<std::string>{"event 7", "event 0", "event 0", "event 8"}));
}

TEST_F(Subscriptions, ComeBackAfterTheLastEvent) {
  transport->subscribeEvents({602});
  door.say(events({5}));
  EXPECT_TRUE(eventually([&] { return wasTold("event 5"); }));
  EXPECT_EQ(afterACut().after(), 5);
}

TEST_F(Subscriptions, ComeBackAfterThePositionThatABeatTold) {
  transport->subscribeEvents({602});
  v1::Delivery beat = events({5});
  beat.set_position(9);
  door.say(beat);
  door.say(events({10, 11}));
  EXPECT_TRUE(eventually([&] { return wasTold("event 11"); }));
  v1::Delivery last;
  last.set_position(40);
  door.say(last);
  door.say(events({0}));
  EXPECT_TRUE(eventually([&] { return wasTold("event 0"); }));
  EXPECT_EQ(afterACut().after(), 40);
}

TEST_F(Subscriptions, AskForNoEventsOfTheTimeWithoutASubscription) {
  transport->subscribeEvents({602});
  door.say(events({5}));
  EXPECT_TRUE(eventually([&] { return wasTold("event 5"); }));
  transport->subscribeEvents({});
  EXPECT_FALSE(afterACut().has_after());
}

// The server has much to tell, or others before it: that is no reason to begin again from the start.
TEST_F(Subscriptions, AreWaitedForAsLongAsTheServerIsHeard) {
  NetLine line;
  line.connectMs = 300;
  connect(line);
  door.answer(0);
  afterACut();
  const size_t attempts = door.subscriptions().size();
  for (int i = 0; i < 20; ++i) {
    door.say({});
    eventually([] { return false; }, 50);  // the beat of the server
  }
  EXPECT_EQ(door.subscriptions().size(), attempts);
  EXPECT_TRUE(eventually([&] { return door.subscriptions().size() > attempts; })) << "silence ends the attempt";
}

TEST_F(Subscriptions, AreWaitedForInTheSameWayByTheFirstConnection) {
  door.answer(0);
  NetLine line = quickLine(door.address());
  line.connectMs = 300;
  const size_t before = door.subscriptions().size();
  auto connected = std::async(std::launch::async, [&] {
    std::string problem;
    return connectToServer(line, &problem);
  });
  ASSERT_TRUE(eventually([&] { return door.subscriptions().size() > before; }));
  for (int i = 0; i < 20; ++i) {
    door.say({});
    eventually([] { return false; }, 50);
  }
  door.answer(1000);
  EXPECT_NE(connected.get(), nullptr);
}

// A change between what is read and the subscription would be missed.
TEST_F(Subscriptions, AreInEffectBeforeAnythingIsSentThoughTheyChangedDuringTheReconnection) {
  door.answer(0);
  afterACut();
  transport->subscribeEvents({602});
  const size_t before = door.subscriptions().size();
  door.answer(1);
  ASSERT_TRUE(eventually([&] { return door.subscriptions().size() > before; }));
  EXPECT_EQ(door.subscriptions().back().kinds_size(), 1);
  EXPECT_FALSE(transport->alive());
  EXPECT_FALSE(transport->send(1, {}));
  door.answer(1);
  EXPECT_TRUE(eventually([&] { return transport->alive(); }));
}

}  // namespace
}  // namespace tlm::test
