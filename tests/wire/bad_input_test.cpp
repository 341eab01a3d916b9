// What a server does with bytes that make no sense. It refuses them and serves others.
#include <random>

#include "BadInput.h"

namespace tlm::test {
namespace {

TEST_F(BadInput, AMethodThatIsNoneIsRefused) {
  EXPECT_EQ(callRaw("/tlm.v1.Model/Nothing", "").error_code(), StatusCode::UNIMPLEMENTED);
  EXPECT_EQ(callRaw("/other.Service/Call", "").error_code(), StatusCode::UNIMPLEMENTED);
}

TEST_F(BadInput, AMessageThatIsNoneIsRefused) {
  for (const std::string& bytes : {std::string("\xff\xff\xff"), std::string("\x1a\x7f"), std::string(100, '\x0b')}) {
    EXPECT_FALSE(callRaw("/tlm.v1.Model/Call", bytes).ok());
  }
}

TEST_F(BadInput, ATruncatedMessageIsRefusedOrAnsweredAtEveryLength) {
  const std::string whole = oneRequest(v1::PACKET, "TableRecords", "RemoteUnit").SerializeAsString();
  for (size_t length = 0; length < whole.size(); ++length) {
    const Status status = callRaw("/tlm.v1.Model/Call", whole.substr(0, length));
    EXPECT_TRUE(status.ok() || status.error_code() == StatusCode::INVALID_ARGUMENT)
        << length << ' ' << status.error_message();
  }
}

TEST_F(BadInput, ARequestThatIsNoneGetsAStatus) {
  v1::BlockReply reply;
  ASSERT_TRUE(call(oneRequest(v1::PACKET, "NoSuchRequest", ""), &reply).ok());
  EXPECT_EQ(reply.each(0).status(), wire::kUnknownRequest);
}

TEST_F(BadInput, AKindOfRequestThatIsNoneIsRefused) {
  v1::BlockReply reply;
  for (const int kind : {4, 99, -1}) {
    EXPECT_EQ(call(oneRequest(static_cast<v1::RequestKind>(kind), "x", ""), &reply).error_code(),
              StatusCode::INVALID_ARGUMENT);
  }
}

TEST_F(BadInput, BodiesOfNoiseGetAStatus) {
  std::mt19937 random(7);
  const char* const names[] = {"TableRecords", "RecByKey", "LiteModel", "MeasParams", "ManualValue", "ValueHistory"};
  for (int i = 0; i < 300; ++i) {
    std::string body(random() % 200, '\0');
    for (char& byte : body) byte = static_cast<char>(random());
    v1::BlockReply reply;
    ASSERT_TRUE(call(oneRequest(v1::PACKET, names[i % std::size(names)], body), &reply).ok());
    ASSERT_TRUE(call(oneRequest(v1::UPDATE, "Measurement", body), &reply).ok());
    EXPECT_NE(reply.whole().status(), 0);
    ASSERT_TRUE(call(oneRequest(v1::SCRIPT, "f(a)\n{\n}\n", "x" + body), &reply).ok());
    EXPECT_NE(reply.each(0).status(), 0);
  }
}

TEST_F(BadInput, AnIdentityOfAnotherLengthIsRefused) {
  CMDArray set;
  v1::Block block = oneRequest(v1::UPDATE, "IdentifiedObject", wire::packArray(set.array));
  block.set_identity("short");
  v1::BlockReply reply;
  ASSERT_TRUE(call(block, &reply).ok());
  EXPECT_EQ(reply.whole().status(), wire::kMalformed);
}

TEST_F(BadInput, ARefusedBlockStandsInTheLogWithWhoSentIt) {
  v1::Block block = oneRequest(v1::UPDATE, "NoSuchTable", wire::packArray(CMDArray().array));
  block.set_user("stranger");
  v1::BlockReply reply;
  ASSERT_TRUE(call(block, &reply).ok());
  ASSERT_NE(reply.whole().status(), wire::kOk);
  const std::string status = std::to_string(reply.whole().status());
  EXPECT_TRUE(eventually([&] {
    return network.logText().find(" user=stranger status=" + status + "\n") != std::string::npos;
  })) << network.logText();
}

TEST_F(BadInput, AMessageOfAHundredMegabytesIsRefused) {
  v1::BlockReply reply;
  const Status status = call(oneRequest(v1::PACKET, "TableRecords", std::string(100'000'000, 'x')), &reply);
  EXPECT_EQ(status.error_code(), StatusCode::RESOURCE_EXHAUSTED) << status.error_message();
}

TEST_F(BadInput, AMessageJustOverTheLimitIsRefused) {
  v1::BlockReply reply;
  EXPECT_EQ(call(oneRequest(v1::PACKET, "x", std::string(wire::kMessageBytes, 'x')), &reply).error_code(),
            StatusCode::RESOURCE_EXHAUSTED);
  EXPECT_TRUE(call(oneRequest(v1::PACKET, "x", std::string(wire::kMessageBytes - 100, 'x')), &reply).ok());
}

// ---- the plain form ----

TEST_F(BadInput, APlainTableThatMakesNoSenseIsRefused) {
  struct Case {
    const char* name;
    std::function<void(v1::Table&)> make;
  };
  const auto field = [](v1::Table& table, const char* name, int type) {
    v1::Field* const one = table.add_fields();
    one->set_name(name);
    one->set_type(type);
  };
  const Case cases[] = {
      {"no field", [](v1::Table&) {}},
      {"no name", [&](v1::Table& table) { field(table, "", 5); }},
      {"a name that is too long", [&](v1::Table& table) { field(table, std::string(64, 'n').c_str(), 5); }},
      {"no such type", [&](v1::Table& table) { field(table, "a", 77); }},
      {"a negative type", [&](v1::Table& table) { field(table, "a", -1); }},
      {"a size of no text", [&](v1::Table& table) { field(table, "a", 9), table.mutable_fields(0)->set_size(-5); }},
      {"too few values", [&](v1::Table& table) { field(table, "a", 5), table.add_rows(); }},
      {"too many values",
       [&](v1::Table& table) {
         field(table, "a", 5);
         v1::Row* const row = table.add_rows();
         row->add_values();
         row->add_values();
       }},
      {"a text for a number",
       [&](v1::Table& table) { field(table, "a", 5), table.add_rows()->add_values()->set_text("x"); }},
      {"a number for a text",
       [&](v1::Table& table) { field(table, "a", 10), table.add_rows()->add_values()->set_integer(1); }},
      {"a list", [&](v1::Table& table) { field(table, "a", 10), table.add_rows()->add_values()->mutable_list(); }},
  };
  for (const Case& one : cases) {
    v1::Block block = oneRequest(v1::UPDATE, "IdentifiedObject", "");
    one.make(*block.mutable_requests(0)->mutable_table());
    v1::BlockReply reply;
    EXPECT_EQ(call(block, &reply).error_code(), StatusCode::INVALID_ARGUMENT) << one.name;
  }
}

TEST_F(BadInput, ListsTooDeepWithinOneAnotherAreRefused) {
  v1::Block block = oneRequest(v1::SCRIPT, "f(a)\n{\n}\n", "");
  v1::Value* value = block.mutable_requests(0)->mutable_argument();
  for (int i = 0; i < 30; ++i) value = value->mutable_list()->add_values();
  v1::BlockReply reply;
  EXPECT_EQ(call(block, &reply).error_code(), StatusCode::INVALID_ARGUMENT);
}

// ---- pieces ----

TEST_F(BadInput, LengthsBeyondReasonAreRefusedAtOnce) {
  for (const uint64_t length : {uint64_t{9} << 20, uint64_t{1} << 62, ~uint64_t{0}}) {
    v1::BlockPiece piece;
    *piece.mutable_block() = oneRequest(v1::PACKET, "TableRecords", "");
    piece.mutable_block()->mutable_requests(0)->set_body_bytes(length);
    grpc::ClientContext context;
    v1::BlockReply reply;
    const auto writer = stub->Upload(&context, &reply);
    writer->Write(piece);
    EXPECT_EQ(writer->Finish().error_code(), StatusCode::RESOURCE_EXHAUSTED) << length;
  }
}

TEST_F(BadInput, LengthsThatAddUpBeyondReasonAreRefused) {
  v1::BlockPiece piece;
  for (int i = 0; i < 3; ++i) {
    piece.mutable_block()->add_requests()->set_body_bytes(~uint64_t{0} / 2);
  }
  grpc::ClientContext context;
  v1::BlockReply reply;
  const auto writer = stub->Upload(&context, &reply);
  writer->Write(piece);
  EXPECT_EQ(writer->Finish().error_code(), StatusCode::RESOURCE_EXHAUSTED);
}

TEST_F(BadInput, MoreOrFewerBytesThanToldAreRefused) {
  for (const size_t sent : {size_t{9}, size_t{11}}) {
    v1::BlockPiece piece;
    *piece.mutable_block() = oneRequest(v1::PACKET, "TableRecords", "");
    piece.mutable_block()->mutable_requests(0)->set_body_bytes(10);
    grpc::ClientContext context;
    v1::BlockReply reply;
    const auto writer = stub->Upload(&context, &reply);
    writer->Write(piece);
    piece.clear_block();
    piece.set_data(std::string(sent, 'x'));
    writer->Write(piece);
    writer->WritesDone();
    EXPECT_EQ(writer->Finish().error_code(), StatusCode::INVALID_ARGUMENT) << sent;
  }
}

TEST_F(BadInput, AnUploadWithoutABlockIsRefused) {
  grpc::ClientContext context;
  v1::BlockReply reply;
  const auto writer = stub->Upload(&context, &reply);
  writer->WritesDone();
  EXPECT_EQ(writer->Finish().error_code(), StatusCode::INVALID_ARGUMENT);
}

TEST_F(BadInput, PiecesOfNoReplyAreNotThere) {
  for (const std::string& name : {std::string(), std::string("guess"), std::string(1000, 'x')}) {
    grpc::ClientContext context;
    v1::PiecesRequest request;
    request.set_rest(name);
    v1::Piece piece;
    const auto reader = stub->TakePieces(&context, request);
    EXPECT_FALSE(reader->Read(&piece));
    EXPECT_EQ(reader->Finish().error_code(), StatusCode::NOT_FOUND);
  }
}

// ---- bytes that are no protocol ----

void sendAndWaitForTheEnd(const std::string& address, const std::string& bytes) {
  const int handle = connectSilently(address);
  ASSERT_GE(handle, 0);
  timeval limit{20, 0};
  setsockopt(handle, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
  for (size_t at = 0; at < bytes.size();) {
    const ssize_t sent = send(handle, bytes.data() + at, bytes.size() - at, MSG_NOSIGNAL);
    if (sent <= 0) break;  // it has closed already
    at += static_cast<size_t>(sent);
  }
  char buffer[4096];
  ssize_t length = 0;
  while ((length = recv(handle, buffer, sizeof buffer, 0)) > 0) continue;
  EXPECT_TRUE(length == 0 || errno == ECONNRESET) << "the server keeps the connection";
  close(handle);
}

TEST_F(BadInput, NoiseInsteadOfTheProtocolIsSentAway) {
  std::mt19937 random(5);
  std::string noise(65536, '\0');
  for (char& byte : noise) byte = static_cast<char>(random());
  sendAndWaitForTheEnd(network.tcp(), noise);
  sendAndWaitForTheEnd(network.tcp(), "GET / HTTP/1.1\r\nHost: localhost\r\n\r\n");
}

TEST_F(BadInput, AFrameOfAnAbsurdLengthIsSentAway) {
  const std::string preface = "PRI * HTTP/2.0\r\n\r\nSM\r\n\r\n";
  const std::string settings(9, '\0');
  std::string frame("\xff\xff\xff\0\0\0\0\0\1", 9);  // 16 MB of data for a stream that was never opened
  frame.append(100'000, 'x');
  sendAndWaitForTheEnd(network.tcp(), preface + std::string("\0\0\0\4", 4) + settings.substr(4) + frame);
}

// ---- more than it takes ----

class Narrow : public BadInput {
 protected:
  Narrow() : BadInput(options()) {}
  static server::NetOptions options() {
    server::NetOptions options = quickNet();
    options.queueBytes = size_t{1} << 20;
    return options;
  }
};

// One that does not read is cut off, the events that stand in its queue are not lost for it when it comes back.
TEST_F(Narrow, AClientThatDoesNotKeepUpIsEndedAndMayComeBack) {
  grpc::ClientContext context;
  const auto stream = listen(&context);
  const auto writer = connectPeer();
  ASSERT_NE(writer, nullptr);
  constexpr int kWrites = 60;
  for (int i = 0; i < kWrites; ++i) writeLarge(*writer, 200'000);
  v1::Delivery delivery;
  int64_t position = 0;
  const auto follow = [&](Stream& from) {
    while (position < kWrites && from.Read(&delivery)) {
      for (const v1::Event& event : delivery.events()) {
        EXPECT_EQ(event.sequence(), position + 1);
        position = event.sequence();
      }
    }
  };
  follow(*stream);
  EXPECT_LT(position, kWrites);
  EXPECT_EQ(stream->Finish().error_code(), StatusCode::RESOURCE_EXHAUSTED);
  for (int i = 0; i < kWrites && position < kWrites; ++i) {
    grpc::ClientContext again;
    const auto next = listen(&again, position);
    follow(*next);
    again.TryCancel();
    next->Finish();
  }
  EXPECT_EQ(position, kWrites);
}

// It would meet the event again and again, however often it came back.
TEST_F(Narrow, AnEventThatIsLargerThanTheQueueIsTold) {
  grpc::ClientContext context;
  const auto stream = listen(&context);
  const auto writer = connectPeer();
  ASSERT_NE(writer, nullptr);
  writeLarge(*writer, 2'000'000);
  v1::Delivery delivery;
  do {
    ASSERT_TRUE(stream->Read(&delivery)) << stream->Finish().error_message();
  } while (delivery.events_size() == 0);
  EXPECT_EQ(delivery.events(0).sequence(), 1);
  context.TryCancel();
  stream->Finish();
}

// ---- more than it says ----

TEST_F(BadInput, AMessageThatIsBlownUpIsRefused) {
  v1::BlockReply reply;
  grpc::ClientContext context;
  context.set_compression_algorithm(GRPC_COMPRESS_GZIP);
  const Status status =
      stub->Call(&context, oneRequest(v1::PACKET, "TableRecords", std::string(30'000'000, 'x')), &reply);
  EXPECT_EQ(status.error_code(), StatusCode::UNIMPLEMENTED) << status.error_message();
}

TEST_F(BadInput, TooManyRequestsInABlockAreRefused) {
  v1::BlockReply reply;
  v1::Block block;
  for (int i = 0; i < 65'536; ++i) block.add_requests();
  EXPECT_TRUE(call(block, &reply).ok());
  block.add_requests();
  EXPECT_EQ(call(block, &reply).error_code(), StatusCode::RESOURCE_EXHAUSTED);
}

TEST_F(BadInput, ANameOfAUserThatIsTooLongIsRefused) {
  v1::BlockReply reply;
  v1::Block block = oneRequest(v1::PACKET, "SRV_GROUPS_INFO", "");
  block.set_user(std::string(256, 'u'));
  EXPECT_TRUE(call(block, &reply).ok());
  block.set_user(std::string(257, 'u'));
  EXPECT_EQ(call(block, &reply).error_code(), StatusCode::INVALID_ARGUMENT);
}

// Each block is within its limit; the record would not be.
TEST_F(BadInput, ARecordThatNoEventCouldCarryIsRefused) {
  const auto peer = connectPeer();
  ASSERT_NE(peer, nullptr);
  const std::string half(size_t{5} << 20, 'x');
  ASSERT_EQ(peer->write("Archives", keyOf("Склад"), "location", half), 0);
  EXPECT_EQ(peer->write("Archives", keyOf("Склад"), "name_", half), wire::kTooLarge);
  EXPECT_EQ(peer->field("Archives", keyOf("Склад"), "location"), half);
}

// ---- whose word a status is ----

class Verdicts : public BadInput {
 protected:
  // With the server's mark that nothing was carried out?
  bool isMarked(const v1::Block& block, StatusCode code) {
    grpc::ClientContext context;
    v1::BlockReply reply;
    EXPECT_EQ(stub->Call(&context, block, &reply).error_code(), code);
    return isMarked(context);
  }
  static bool isMarked(const grpc::ClientContext& context) {
    return context.GetServerTrailingMetadata().count("tlm-verdict") == 1;
  }
};

TEST_F(Verdicts, AreMarkedWhenNothingWasCarriedOut) {
  v1::Block tooMany;
  for (int i = 0; i <= 65'536; ++i) tooMany.add_requests();
  EXPECT_TRUE(isMarked(tooMany, StatusCode::RESOURCE_EXHAUSTED));
  EXPECT_TRUE(isMarked(oneRequest(static_cast<v1::RequestKind>(99), "x", ""), StatusCode::INVALID_ARGUMENT));
}

TEST_F(Verdicts, AreMarkedOfAnUploadToo) {
  v1::BlockPiece piece = announcing(uint64_t{9} << 20);
  grpc::ClientContext context;
  v1::BlockReply reply;
  const auto writer = stub->Upload(&context, &reply);
  writer->Write(piece);
  EXPECT_EQ(writer->Finish().error_code(), StatusCode::RESOURCE_EXHAUSTED);
  EXPECT_TRUE(isMarked(context));
}

TEST_F(Verdicts, OfTheNetworkAloneAreNotMarked) {
  const auto large = oneRequest(v1::PACKET, "x", std::string(wire::kMessageBytes, 'x'));
  EXPECT_FALSE(isMarked(large, StatusCode::RESOURCE_EXHAUSTED));
}

class NoRoom : public BadInput {
 protected:
  NoRoom() : BadInput(options()) {}
  static server::NetOptions options() {
    server::NetOptions options = quickNet();
    options.heldBytes = size_t{5} << 20;
    return options;
  }
  // A change, and the whole table as it is then.
  v1::Block writeAndRead(size_t bytes) {
    CMDArray set;
    Peer::fillSet("Archives", keyOf("Склад"), "location", std::string(bytes, 'x'), &set);
    v1::Block block = oneRequest(v1::UPDATE, "Archives", wire::packArray(set.array));
    block.set_identity("BLOCK000BLOCK000BLOCK000BLOCK000");
    for (int i = 0; i < 2; ++i) {
      block.add_requests()->set_name("TableRecords");
      block.mutable_requests(i + 1)->set_body("Archives");
    }
    return block;
  }
};

// Whoever is told that the block is too large would write it again.
TEST_F(NoRoom, AWriteIsAcknowledgedThoughItsAnswersDoNotFit) {
  for (const bool plain : {false, true}) {
    v1::Block block = writeAndRead(size_t{3'000'000});
    block.set_plain(plain);
    v1::BlockReply reply;
    const Status status = call(block, &reply);
    ASSERT_TRUE(status.ok()) << status.error_message();
    EXPECT_EQ(reply.whole().status(), 0);
    ASSERT_EQ(reply.each_size(), 3);
    EXPECT_EQ(reply.each(0).status(), 0);
    EXPECT_EQ(reply.each(1).status(), wire::kTooLarge);
    EXPECT_EQ(reply.each(2).status(), wire::kTooLarge);
    EXPECT_EQ(server.core()->lastSequence(), 1);
  }
}

TEST_F(NoRoom, AReplyThatFindsNoPlaceIsWorthAnotherTry) {
  v1::BlockReply reply;
  ASSERT_TRUE(call(writeAndRead(2'000'000), &reply).ok());
  ASSERT_FALSE(reply.rest().empty());
  grpc::ClientContext context;
  EXPECT_EQ(stub->Call(&context, writeAndRead(2'000'000), &reply).error_code(), StatusCode::UNAVAILABLE);
  EXPECT_EQ(context.GetServerTrailingMetadata().count("tlm-verdict"), 0u) << "it has written";
  EXPECT_EQ(server.core()->lastSequence(), 1) << "and is not written again";
}

}  // namespace
}  // namespace tlm::test
