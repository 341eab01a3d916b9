// The entrance for values from the field, over a real line: who may use it, what is answered, who hears of it.
#include <TlmServer/CodePage.h>
#include <TlmServer/LiveValues.h>

#include <grpcpp/grpcpp.h>
#include <gtest/gtest.h>

#include <chrono>

#include <tlm/v1/model.grpc.pb.h>

#include "support/EmbeddedServer.h"
#include "support/ModelText.h"
#include "support/NetworkServer.h"
#include "support/Peer.h"

namespace tlm::test {
namespace {

using grpc::Status;
using grpc::StatusCode;

const std::string kLongest(128, 'x');  // the longest password that a user may have

const std::string kModel = R"(
unit КП-1
  analog 1001 Т-1
  discrete 1002 В-1
user сбор {password=verysecret;values=1}
user Петров {password=verysecret;control=1}
user длинный {values=1;password=)" +
                           kLongest + "}\n";

// One collector's stream.
class Feed {
 public:
  explicit Feed(v1::Model::Stub& stub) {
    context_.set_deadline(std::chrono::system_clock::now() + std::chrono::seconds(30));
    stream_ = stub.PutValues(&context_);
  }
  ~Feed() {
    if (stream_) context_.TryCancel();
    if (stream_) stream_->Finish();
  }
  bool put(const v1::ValueBatch& batch, v1::ValueAnswer* answer) {
    return stream_->Write(batch) && stream_->Read(answer);
  }
  // Says that no more comes, and asks how it ended.
  Status end() {
    stream_->WritesDone();
    v1::ValueAnswer rest;
    while (stream_->Read(&rest)) continue;
    const Status status = stream_->Finish();
    stream_.reset();
    return status;
  }
  bool write(const v1::ValueBatch& batch) { return stream_->Write(batch); }

 private:
  grpc::ClientContext context_;
  std::unique_ptr<grpc::ClientReaderWriter<v1::ValueBatch, v1::ValueAnswer>> stream_;
};

v1::FieldValue* add(v1::ValueBatch* batch, int32_t locId, double number) {
  v1::FieldValue* const value = batch->add_values();
  value->set_loc_id(locId);
  value->set_number(number);
  return value;
}

class ValueFeedTest : public testing::Test {
 protected:
  explicit ValueFeedTest(server::NetOptions options = quickNet())
      : server(kModel), network(*server.core(), options), stub(v1::Model::NewStub(channel())) {}

  std::shared_ptr<grpc::Channel> channel() const {
    grpc::ChannelArguments arguments;
    arguments.SetInt(GRPC_ARG_ENABLE_HTTP_PROXY, 0);
    return grpc::CreateCustomChannel(network.tcp(), grpc::InsecureChannelCredentials(), arguments);
  }
  static v1::ValueBatch hello(const char* user = "сбор", const char* password = "verysecret") {
    v1::ValueBatch batch;
    batch.set_user(server::toCodePage(user));
    batch.set_password(password);
    return batch;
  }
  Status statusOf(const v1::ValueBatch& batch) {
    Feed feed(*stub);
    feed.write(batch);
    return feed.end();
  }
  std::string shown(int32_t locId) {
    const auto value = server.core()->live().current(locId);
    return value ? server::valueText(*value) : "none";
  }

  EmbeddedServer server;
  NetworkServer network;
  std::unique_ptr<v1::Model::Stub> stub;
};

TEST_F(ValueFeedTest, EachBatchIsTakenAndAnswered) {
  Feed feed(*stub);
  v1::ValueBatch batch = hello();
  v1::ValueAnswer answer;
  add(&batch, 1001, 2.5);
  ASSERT_TRUE(feed.put(batch, &answer));
  EXPECT_EQ(answer.taken(), 1u);
  EXPECT_EQ(answer.refused_size(), 0);
  EXPECT_EQ(shown(1001), "2.5");
  v1::ValueBatch second;  // names nobody
  add(&second, 1001, 3.5);
  add(&second, 1002, 1)->set_quality(3);
  ASSERT_TRUE(feed.put(second, &answer));
  EXPECT_EQ(answer.taken(), 2u);
  EXPECT_EQ(shown(1001), "3.5");
  EXPECT_EQ(server.core()->live().current(1002)->quality, server::Quality::kInvalid);
  ASSERT_TRUE(feed.put({}, &answer));
  EXPECT_EQ(answer.taken(), 0u);
  EXPECT_TRUE(feed.end().ok());
}

TEST_F(ValueFeedTest, WhatIsRefusedIsNamedAndTheRestTaken) {
  Feed feed(*stub);
  v1::ValueBatch batch = hello();
  add(&batch, 4711, 1);
  add(&batch, 1001, 1);
  v1::FieldValue* const text = batch.add_values();
  text->set_key(std::string(40, 'k'));
  text->set_text("x");
  v1::FieldValue* const number = batch.add_values();
  number->set_loc_id(1001);
  number->set_text("x");
  batch.add_values();
  v1::ValueAnswer answer;
  ASSERT_TRUE(feed.put(batch, &answer));
  EXPECT_EQ(answer.taken(), 1u);
  ASSERT_EQ(answer.refused_size(), 4);
  EXPECT_EQ(answer.refused(0).index(), 0u);
  EXPECT_EQ(answer.refused(0).loc_id(), 4711);
  EXPECT_EQ(answer.refused(0).why(), 1);
  EXPECT_EQ(answer.refused(1).index(), 2u);
  EXPECT_EQ(answer.refused(1).key(), std::string(32, 'k'));
  EXPECT_EQ(answer.refused(2).why(), 3);
  EXPECT_EQ(answer.refused(3).index(), 4u);
}

TEST_F(ValueFeedTest, AWrittenValueAndATimeArrive) {
  Feed feed(*stub);
  v1::ValueBatch batch = hello();
  v1::FieldValue* const value = batch.add_values();
  value->set_key(keyOf("Т-1"));
  value->set_written("12.5");
  value->set_quality(2);
  value->set_time_ms(1'700'000'000'250);
  v1::ValueAnswer answer;
  ASSERT_TRUE(feed.put(batch, &answer));
  ASSERT_EQ(answer.taken(), 1u);
  const auto now = server.core()->live().current(1001);
  EXPECT_EQ(server::valueText(*now), "12.5");
  EXPECT_EQ(now->quality, server::Quality::kOld);
  EXPECT_NEAR((now->time - 25569) * 86'400'000, 1'700'000'000'250.0, 0.5);
}

TEST_F(ValueFeedTest, AValueByHandIsToldOf) {
  server.core()->live().setManual(1001, {server::systemTime(), server::Quality::kManual, 9.0});
  Feed feed(*stub);
  v1::ValueBatch batch = hello();
  add(&batch, 1001, 1);
  v1::ValueAnswer answer;
  ASSERT_TRUE(feed.put(batch, &answer));
  EXPECT_EQ(answer.taken(), 1u);
  EXPECT_EQ(answer.beneath(), 1u);
  EXPECT_EQ(shown(1001), "9");
}

TEST_F(ValueFeedTest, WhoListensHearsTheValues) {
  std::string problem;
  Peer peer(connectToServer(quickLine(network.tcp()), &problem));
  peer.listenValues({1001});
  Feed feed(*stub);
  v1::ValueBatch batch = hello();
  add(&batch, 1001, 2.5);
  add(&batch, 1002, 1);
  add(&batch, 1001, 3.5);
  v1::ValueAnswer answer;
  ASSERT_TRUE(feed.put(batch, &answer));
  ASSERT_TRUE(peer.waitForMessages(2));
  EXPECT_EQ(peer.messages(), (QStringList{"value 1001 2.5", "value 1001 3.5"}));
  const std::string hint = peer.ask("MeasParams", "locId=1001").text;
  EXPECT_NE(hint.find("\nvalue=3.5\n"), std::string::npos) << hint;
}

// ---- who may ----

TEST_F(ValueFeedTest, OnlyWhoHasTheRightMayHandInValues) {
  v1::ValueBatch anybody;
  add(&anybody, 1001, 1);
  EXPECT_EQ(statusOf(anybody).error_code(), StatusCode::UNAUTHENTICATED);
  for (v1::ValueBatch wrong :
       {hello("сбор", "verysecre"), hello("сбор", ""), hello("никто"), hello("сбор", std::string(2000, 'x').c_str())}) {
    add(&wrong, 1001, 1);
    EXPECT_EQ(statusOf(wrong).error_code(), StatusCode::UNAUTHENTICATED);
  }
  v1::ValueBatch noRight = hello("Петров");
  add(&noRight, 1001, 1);
  EXPECT_EQ(statusOf(noRight).error_code(), StatusCode::PERMISSION_DENIED);
  EXPECT_EQ(shown(1001), "none");
  EXPECT_TRUE(statusOf(hello()).ok());
  EXPECT_NE(network.logText().find("feed-refused"), std::string::npos);
  EXPECT_EQ(network.logText().find("verysecret"), std::string::npos);
}

TEST_F(ValueFeedTest, ThePasswordMayBeAsLongAsAUsersMay) {
  EXPECT_TRUE(statusOf(hello("длинный", kLongest.c_str())).ok());
  EXPECT_EQ(statusOf(hello("длинный", (kLongest + 'x').c_str())).error_code(), StatusCode::UNAUTHENTICATED);
}

TEST_F(ValueFeedTest, TenWrongPasswordsCloseTheEntrance) {
  for (int i = 0; i < 10; ++i) EXPECT_EQ(statusOf(hello("сбор", "guess")).error_code(), StatusCode::UNAUTHENTICATED);
  const Status locked = statusOf(hello());
  EXPECT_EQ(locked.error_code(), StatusCode::UNAUTHENTICATED);
  EXPECT_NE(locked.error_message().find("locked"), std::string::npos);
}

// ---- bounds ----

TEST_F(ValueFeedTest, ABatchHasABound) {
  v1::ValueBatch batch = hello();
  for (int i = 0; i < 4096; ++i) add(&batch, 1001, i);
  {
    Feed feed(*stub);
    v1::ValueAnswer answer;
    ASSERT_TRUE(feed.put(batch, &answer));
    EXPECT_EQ(answer.taken(), 4096u);
  }
  add(&batch, 1001, 7);
  EXPECT_EQ(statusOf(batch).error_code(), StatusCode::RESOURCE_EXHAUSTED);
  EXPECT_EQ(shown(1001), "4095");
  v1::ValueBatch fat = hello();
  fat.add_values()->set_text(std::string(size_t{5} << 20, 'x'));
  EXPECT_EQ(statusOf(fat).error_code(), StatusCode::RESOURCE_EXHAUSTED);
}

TEST_F(ValueFeedTest, ALargeBatchOfRefusalsIsAnswered) {
  Feed feed(*stub);
  v1::ValueBatch batch = hello();
  for (int i = 0; i < 4096; ++i) batch.add_values()->set_key(std::string(500, 'x'));
  v1::ValueAnswer answer;
  ASSERT_TRUE(feed.put(batch, &answer));
  EXPECT_EQ(answer.refused_size(), 4096);
  EXPECT_LT(answer.ByteSizeLong(), size_t{300'000});
}

TEST_F(ValueFeedTest, TooManyStreamsAreSentAway) {
  Feed working(*stub);
  v1::ValueAnswer answer;
  ASSERT_TRUE(working.put(hello(), &answer));
  std::vector<std::unique_ptr<Feed>> silent;
  while (silent.size() < 63) silent.push_back(std::make_unique<Feed>(*stub));
  EXPECT_TRUE(eventually([&] { return statusOf(hello()).error_code() == StatusCode::RESOURCE_EXHAUSTED; }));
  EXPECT_TRUE(working.put({}, &answer));
  silent.pop_back();
  EXPECT_TRUE(eventually([&] { return statusOf(hello()).ok(); }));
}

TEST_F(ValueFeedTest, AnEndedServerEndsItsStreams) {
  Feed feed(*stub);
  v1::ValueAnswer answer;
  ASSERT_TRUE(feed.put(hello(), &answer));
  network.stop();
  EXPECT_EQ(feed.end().error_code(), StatusCode::UNAVAILABLE);
}

class ValueFeedImpatient : public ValueFeedTest {
 protected:
  static server::NetOptions options(int patienceMs) {
    server::NetOptions options = quickNet();
    options.patienceMs = patienceMs;
    return options;
  }
  explicit ValueFeedImpatient(int patienceMs = 300) : ValueFeedTest(options(patienceMs)) {}
};

TEST_F(ValueFeedImpatient, WhoSaysNothingIsSentAway) {
  v1::ValueAnswer answer;
  grpc::ClientContext context;
  const auto stream = stub->PutValues(&context);
  EXPECT_FALSE(stream->Read(&answer));
  EXPECT_EQ(stream->Finish().error_code(), StatusCode::DEADLINE_EXCEEDED);
}

TEST_F(ValueFeedImpatient, WhoHasSpokenMayBeSilentForLong) {
  Feed feed(*stub);
  v1::ValueAnswer answer;
  ASSERT_TRUE(feed.put(hello(), &answer));
  for (int i = 0; i < 2; ++i) {
    grpc::ClientContext other;
    const auto stream = stub->PutValues(&other);
    EXPECT_FALSE(stream->Read(&answer));
    EXPECT_EQ(stream->Finish().error_code(), StatusCode::DEADLINE_EXCEEDED);
  }
  EXPECT_TRUE(feed.put({}, &answer));
}

// The first batch comes in time on a slow machine too.
class ValueFeedStuck : public ValueFeedImpatient {
 protected:
  ValueFeedStuck() : ValueFeedImpatient(2000) {}
};

TEST_F(ValueFeedStuck, WhoTakesNoAnswersIsSentAway) {
  Feed feed(*stub);
  v1::ValueBatch batch = hello();
  for (int i = 0; i < 4096; ++i) batch.add_values()->set_key(std::string(32, 'x'));
  int sent = 0;
  while (sent < 200 && feed.write(batch)) ++sent;
  EXPECT_LT(sent, 200);
  EXPECT_EQ(feed.end().error_code(), StatusCode::CANCELLED);
}

}  // namespace
}  // namespace tlm::test
