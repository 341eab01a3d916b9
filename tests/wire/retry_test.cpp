// Blocks that a server turns away while the line stands: sent again in their place, or never.
#include "Doorkeeper.h"
#include "client/src/grpcCalls.h"

namespace tlm::test {
namespace {

class Retry : public AtTheDoor {
 protected:
  static wire::Block read() {
    wire::Block block;
    block.requests.push_back({wire::RequestKind::kPacket, "Read", {}});
    return block;
  }
  static wire::Block write(const std::string& name) {
    wire::Block block;
    block.identity = std::string(32, name.front());
    block.requests.push_back({wire::RequestKind::kUpdate, name, {}});
    return block;
  }
  // One that the door turns away: it is told as lost, and comes no second time.
  void loseACommand() {
    door.turnAway(wire::kCommandRequest, 1);
    wire::Block block;
    block.requests.push_back({wire::RequestKind::kPacket, wire::kCommandRequest, "id=1"});
    ASSERT_TRUE(transport->send(1, block));
    transport->nudge();
    EXPECT_TRUE(eventually([&] { return wasTold("lost 1"); }));
    EXPECT_EQ(door.calls(wire::kCommandRequest), 1);
  }
};

TEST_F(Retry, AWaitDoesNotOvertakeAWriteThatIsTriedAgain) {
  door.turnAway("first", 4);
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
  door.turnAway("first", 4);
  ASSERT_TRUE(transport->send(1, write("first")));
  transport->nudge();
  ASSERT_TRUE(eventually([&] { return door.calls("first") > 0; }));
  transport.reset();
  EXPECT_EQ(door.done(), std::vector<std::string>{"first"});
}

TEST_F(Retry, TheEndTellsOfAWriteWhoseTimeIsOver) {
  NetLine line;
  line.writeMs = 300;
  connect(line);
  door.turnAway("first", -1);
  ASSERT_TRUE(transport->send(1, write("first")));
  transport.reset();
  EXPECT_TRUE(wasTold("lost 1"));
  EXPECT_GT(door.calls("first"), 1) << "it was tried for as long";
}

TEST_F(Retry, TheEndTellsOfAWriteThatWaitsForADeadLine) {
  NetLine line;
  line.writeMs = 300;
  connect(line);
  door.turnAway("first", -1);
  door.answer(0);
  ASSERT_TRUE(transport->send(1, write("first")));
  door.cut();
  ASSERT_TRUE(eventually([&] { return wasTold("down"); }));
  transport.reset();
  EXPECT_TRUE(wasTold("lost 1"));
}

TEST_F(Retry, TheEndDropsWhatOnlyReads) {
  door.turnAway("first", 2);
  ASSERT_TRUE(transport->send(1, write("first")));
  ASSERT_TRUE(transport->send(2, read()));
  ASSERT_TRUE(transport->send(3, write("last")));
  transport.reset();
  EXPECT_EQ(door.done(), (std::vector<std::string>{"first", "last"}));
  EXPECT_EQ(door.calls("Read"), 0);
}

// Its answer, that is: nobody waits for it any more.
TEST_F(Retry, TheEndDoesNotWaitForAReadThatIsUnderWay) {
  door.silent = true;
  ASSERT_TRUE(transport->send(1, read()));
  transport->nudge();
  ASSERT_TRUE(eventually([&] { return door.calls("Read") > 0; }));
  const auto start = std::chrono::steady_clock::now();
  transport.reset();
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
}

// The server answers no call, and would keep it for as long as a call may take.
TEST_F(Retry, ACallThatIsUnderWayEndsWithTheLine) {
  door.silent = true;
  ASSERT_TRUE(transport->send(1, read()));
  transport->nudge();
  ASSERT_TRUE(eventually([&] { return door.calls("Read") > 0; }));
  door.cut();
  EXPECT_TRUE(eventually([&] { return wasTold("lost 1"); }));
}

TEST_F(Retry, AWriteThatIsUnderWayWhenTheLineDiesIsSentAgain) {
  door.silent = true;
  ASSERT_TRUE(transport->send(1, write("first")));
  transport->nudge();
  ASSERT_TRUE(eventually([&] { return door.calls("first") > 0; }));
  door.cut();
  EXPECT_TRUE(eventually([&] { return door.calls("first") > 1; }));
  EXPECT_FALSE(wasTold("lost 1"));
  door.speak();
  EXPECT_TRUE(eventually([&] { return wasTold("reply 1"); }));
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
  loseACommand();
  EXPECT_TRUE(door.done().empty());
}

// gRPC ends a call so when it is short of memory, and that may be behind the commit.
TEST_F(Retry, AnExhaustionThatIsNotTheServersWordIsNoVerdict) {
  door.code = grpc::StatusCode::RESOURCE_EXHAUSTED;
  door.turnAway("first", 1);
  ASSERT_TRUE(transport->send(1, write("first")));
  transport->nudge();
  EXPECT_TRUE(eventually([&] { return wasTold("reply 1"); })) << "it has come again";
  EXPECT_EQ(door.identities("first"), std::vector<std::string>(2, std::string(32, 'f')));
}

TEST_F(Retry, AnExhaustionThatTheServerTellsIsAVerdict) {
  door.code = grpc::StatusCode::RESOURCE_EXHAUSTED;
  door.verdict = true;
  door.turnAway("first", -1);
  ASSERT_TRUE(transport->send(1, write("first")));
  transport->nudge();
  EXPECT_TRUE(eventually([&] { return wasTold("reply 1 status " + std::to_string(wire::kTooLarge)); }));
  EXPECT_EQ(door.calls("first"), 1);
}

TEST_F(Retry, AMethodThatAServerDoesNotHaveIsAVerdictWithoutAMark) {
  door.code = grpc::StatusCode::UNIMPLEMENTED;
  door.turnAway("first", -1);
  ASSERT_TRUE(transport->send(1, write("first")));
  transport->nudge();
  EXPECT_TRUE(eventually([&] { return wasTold("reply 1 status " + std::to_string(wire::kUnknownRequest)); }));
  EXPECT_EQ(door.calls("first"), 1);
}

// As everywhere when nothing is known of a command: who asks has to ask for its outcome.
TEST_F(Retry, ACommandIsLostWithAnExhaustionThatIsNotTheServersWord) {
  door.code = grpc::StatusCode::RESOURCE_EXHAUSTED;
  loseACommand();
}

class Pieces : public Retry {
 protected:
  // Asks for a payload that comes by itself, and is told of the answer or that there is none.
  bool isAnswered(int callMs = 300) {
    NetLine line;
    line.callMs = callMs;
    connect(line);
    EXPECT_TRUE(transport->send(1, read()));
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

// Whatever is said there, the block itself was carried out.
TEST_F(Pieces, ThatAreRefusedAreAskedForWithTheBlockAgain) {
  door.pieces = Doorkeeper::kPayload;
  door.code = grpc::StatusCode::INVALID_ARGUMENT;
  door.piecesRefused = 1;
  EXPECT_TRUE(isAnswered(60'000));
  EXPECT_EQ(door.calls("Read"), 2);
}

TEST_F(Retry, ARequestThatReadsIsSentAgain) {
  door.turnAway("Read", 2);
  ASSERT_TRUE(transport->send(1, read()));
  transport->nudge();
  EXPECT_TRUE(eventually([&] { return wasTold("reply 1"); }));
  EXPECT_EQ(door.calls("Read"), 3);
}

// ---- one attempt at a call ----

class Attempt : public Retry {
 protected:
  // What a block comes to when the line lets calls begin, or does not.
  GrpcOutcome carryOut(bool entered, const wire::Block& block = read()) {
    const auto stub = v1::Model::NewStub(grpc::CreateChannel(door.address(), grpc::InsecureChannelCredentials()));
    const std::string user = "engineer";
    const auto deadline = std::chrono::system_clock::now() + std::chrono::seconds(20);
    const GrpcCalls calls{*stub, user, deadline, [&](grpc::ClientContext&) { return ++asked_, entered; },
                          [&] { ++left_; }};
    return calls.carryOut(block);
  }
  int asked_ = 0;
  int left_ = 0;
};

TEST_F(Attempt, AsksBeforeEachCallAndTellsWhenItIsOver) {
  door.pieces = Doorkeeper::kPayload;
  EXPECT_TRUE(carryOut(true).reply);
  EXPECT_EQ(asked_, 2) << "the call and the pieces of its answer";
  EXPECT_EQ(left_, 2);
}

TEST_F(Attempt, SendsNothingOnALineThatIsDead) {
  EXPECT_FALSE(carryOut(false).reply);
  EXPECT_EQ(asked_, 1);
  EXPECT_EQ(left_, 0);
  EXPECT_EQ(door.calls("Read"), 0);
}

// A name is not cut into pieces, and a message over the limit would be turned away for ever.
TEST_F(Attempt, RefusesNamesThatDoNotFitIntoAMessage) {
  wire::Block block = read();
  block.requests[0].name = std::string(wire::kMessageBytes - 60, 'n');
  GrpcOutcome outcome = carryOut(true, block);
  ASSERT_TRUE(outcome.reply) << outcome.why;
  EXPECT_EQ(outcome.reply->whole.status, wire::kUnknownRequest) << "it went there, where nobody takes pieces";
  EXPECT_EQ(left_, 1);
  block.requests[0].name = std::string(wire::kMessageBytes, 'n');
  outcome = carryOut(true, block);
  ASSERT_TRUE(outcome.reply) << outcome.why;
  EXPECT_EQ(outcome.reply->whole.status, wire::kTooLarge);
  EXPECT_EQ(left_, 1);
}

// A message may be up to 4 MiB whatever the client sends itself, and it may tell of what was written.
class Modest : public Retry {};

TEST_F(Modest, ClientsReceiveEveryMessageAllTheSame) {
  NetLine line;
  line.maxBlockBytes = 100;
  connect(line);
  door.whole = size_t{4'000'000};
  ASSERT_TRUE(transport->send(1, write("first")));
  transport->nudge();
  EXPECT_TRUE(eventually([&] { return wasTold("reply 1"); }));
  EXPECT_EQ(door.calls("first"), 1);
}

}  // namespace
}  // namespace tlm::test
