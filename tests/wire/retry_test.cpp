// Blocks that a server turns away while the line stands: sent again in their place, or never.
#include "Doorkeeper.h"

namespace tlm::test {
namespace {

class Retry : public AtTheDoor {
 protected:
  static wire::Block write(const std::string& name) {
    wire::Block block;
    block.identity = std::string(32, name.front());
    block.requests.push_back({wire::RequestKind::kUpdate, name, {}});
    return block;
  }
};

TEST_F(Retry, AWaitDoesNotOvertakeAWriteThatIsTriedAgain) {
  door.refuse["first"] = 4;
  ASSERT_TRUE(transport->send(1, write("first")));
  transport->nudge();
  ASSERT_TRUE(eventually([&] { return door.calls("first") > 0; }));
  ASSERT_TRUE(transport->send(2, write("second")));
  std::optional<wire::BlockReply> second;
  // Again and again, so that it meets every moment between two attempts of the other.
  ASSERT_TRUE(eventually([&] { return (second = transport->carryOut(2)) || wasTold("reply 2"); }));
  EXPECT_EQ(door.done(), (std::vector<std::string>{"first", "second"}));
}

TEST_F(Retry, TheEndWaitsForAWriteThatIsTriedAgain) {
  door.refuse["first"] = 4;
  ASSERT_TRUE(transport->send(1, write("first")));
  transport->nudge();
  ASSERT_TRUE(eventually([&] { return door.calls("first") > 0; }));
  transport.reset();
  EXPECT_EQ(door.done(), std::vector<std::string>{"first"});
}

TEST_F(Retry, AWriteIsLostWhenItsTimeIsOverThoughACallMayTakeLonger) {
  NetLine line;
  line.writeMs = 200;
  connect(line);
  door.silent = true;
  ASSERT_TRUE(transport->send(1, write("first")));
  transport->nudge();
  EXPECT_TRUE(eventually([&] { return wasTold("lost 1"); }));
}

TEST_F(Retry, ACommandThatIsTurnedAwayIsNeverSentAgain) {
  door.refuse[wire::kCommandRequest] = 1;
  wire::Block block;
  block.requests.push_back({wire::RequestKind::kPacket, wire::kCommandRequest, "id=1"});
  ASSERT_TRUE(transport->send(1, block));
  transport->nudge();
  EXPECT_TRUE(eventually([&] { return wasTold("lost 1"); }));
  EXPECT_EQ(door.calls(wire::kCommandRequest), 1);
  EXPECT_TRUE(door.done().empty());
}

class Pieces : public Retry {
 protected:
  // Asks for a payload that comes by itself, and is told of the answer or that there is none.
  bool isAnswered(int callMs = 300) {
    NetLine line;
    line.callMs = callMs;
    connect(line);
    wire::Block block;
    block.requests.push_back({wire::RequestKind::kPacket, "Read", {}});
    EXPECT_TRUE(transport->send(1, block));
    transport->nudge();
    EXPECT_TRUE(eventually([&] { return wasTold("lost 1") || wasTold("reply 1"); }));
    return wasTold("reply 1");
  }
};

TEST_F(Pieces, ThatMakeAWholeAreAnAnswer) {
  door.pieces = Doorkeeper::kPayload;
  EXPECT_TRUE(isAnswered(60'000));
}

TEST_F(Pieces, ThatAreTooFewAreNone) {
  door.pieces = Doorkeeper::kPayload - 1;
  EXPECT_FALSE(isAnswered());
}

TEST_F(Pieces, ThatAreTooManyAreNone) {
  door.pieces = Doorkeeper::kPayload + 1;
  EXPECT_FALSE(isAnswered());
}

TEST_F(Pieces, WithoutAnEndAreWaitedForNoLongerThanACall) {
  door.pieces = Doorkeeper::kPayload;
  door.endless = true;
  EXPECT_FALSE(isAnswered());
}

TEST_F(Retry, ARequestThatReadsIsSentAgain) {
  door.refuse["Read"] = 2;
  wire::Block block;
  block.requests.push_back({wire::RequestKind::kPacket, "Read", {}});
  ASSERT_TRUE(transport->send(1, block));
  transport->nudge();
  EXPECT_TRUE(eventually([&] { return wasTold("reply 1"); }));
  EXPECT_EQ(door.calls("Read"), 3);
}

}  // namespace
}  // namespace tlm::test
