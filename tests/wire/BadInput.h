// A server for those who do it wrong, and a client that can.
#ifndef TLM_TESTS_WIRE_BADINPUT_H
#define TLM_TESTS_WIRE_BADINPUT_H

#include <TlmWireGrpc/convert.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <grpcpp/generic/generic_stub.h>
#include <grpcpp/grpcpp.h>
#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <optional>
#include <string>

#include <tlm/v1/model.grpc.pb.h>

#include "support/EmbeddedServer.h"
#include "support/ModelText.h"
#include "support/NetworkServer.h"
#include "support/Peer.h"

namespace tlm::test {

using grpc::Status;
using grpc::StatusCode;

inline constexpr char kSmallModel[] = R"(
unit КП-1
  analog 1001 P Т-1
table Archives Склад
)";

inline std::shared_ptr<grpc::Channel> channelTo(const std::string& address) {
  grpc::ChannelArguments arguments;
  arguments.SetMaxReceiveMessageSize(-1);
  arguments.SetInt(GRPC_ARG_USE_LOCAL_SUBCHANNEL_POOL, 1);
  arguments.SetInt(GRPC_ARG_ENABLE_HTTP_PROXY, 0);
  return grpc::CreateCustomChannel(address, grpc::InsecureChannelCredentials(), arguments);
}

inline int connectSilently(const std::string& address) {
  sockaddr_in to{};
  to.sin_family = AF_INET;
  to.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  to.sin_port = htons(static_cast<uint16_t>(std::stoi(address.substr(address.rfind(':') + 1))));
  const int handle = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (handle >= 0 && connect(handle, reinterpret_cast<sockaddr*>(&to), sizeof to) == 0) return handle;
  if (handle >= 0) close(handle);
  return -1;
}

// One of any method, whose headers are sent and whose message is not yet.
class OpenCall {
 public:
  OpenCall(const std::shared_ptr<grpc::Channel>& channel, const std::string& method)
      : stub_(channel), call_((setLimit(), stub_.PrepareCall(&context_, method, &queue_))) {
    call_->StartCall(nullptr);
    wait();
  }
  ~OpenCall() {
    queue_.Shutdown();
    while (wait()) continue;
  }
  OpenCall(const OpenCall&) = delete;
  OpenCall& operator=(const OpenCall&) = delete;

  bool send(const std::string& bytes) {
    const grpc::Slice slice(bytes);
    call_->WriteLast(grpc::ByteBuffer(&slice, 1), {}, nullptr);
    return wait();
  }
  Status finish() {
    grpc::ByteBuffer reply;
    call_->Read(&reply, nullptr);
    wait();
    Status status;
    call_->Finish(&status, nullptr);
    wait();
    return status;
  }

 private:
  // Which only a broken server reaches.
  void setLimit() { context_.set_deadline(std::chrono::system_clock::now() + std::chrono::seconds(60)); }
  bool wait() {
    void* tag = nullptr;
    bool good = false;
    return queue_.Next(&tag, &good) && good;
  }

  grpc::GenericStub stub_;
  grpc::ClientContext context_;
  grpc::CompletionQueue queue_;
  std::unique_ptr<grpc::GenericClientAsyncReaderWriter> call_;
};

class BadInput : public testing::Test {
 protected:
  explicit BadInput(server::NetOptions options = quickNet(), const server::CoreOptions& core = small())
      : server(kSmallModel, core),
        network(*server.core(), limited(options)),
        channel(channelTo(network.tcp())),
        stub(v1::Model::NewStub(channel)) {
    // An impatient server may send a slow machine's first attempt away.
    EXPECT_TRUE(channel->WaitForConnected(std::chrono::system_clock::now() + std::chrono::seconds(20)));
  }
  // Whatever came before, somebody else is served.
  ~BadInput() override {
    const auto peer = connectPeer();
    EXPECT_TRUE(peer && peer->ask("SRV_GROUPS_INFO", "").status == 0);
  }

  std::unique_ptr<Peer> connectPeer() { return test::connectPeer(quickLine(network.tcp())); }
  // An event of that many bytes and more.
  static void writeLarge(Peer& peer, size_t bytes) {
    ASSERT_EQ(peer.write("Archives", keyOf("Склад"), "location", std::string(bytes, 'd')), 0);
  }

  using Stream = grpc::ClientReaderWriter<v1::Subscription, v1::Delivery>;
  // Hears of changes from now on, which is told already, or of those behind an event.
  std::unique_ptr<Stream> listen(grpc::ClientContext* context, std::optional<int64_t> after = {}) {
    auto stream = stub->Listen(context);
    v1::Subscription subscription;
    subscription.add_kinds(602);
    if (after) subscription.set_after(*after);
    stream->Write(subscription);
    v1::Delivery delivery;
    EXPECT_TRUE(after || stream->Read(&delivery));
    return stream;
  }

  static server::CoreOptions small() {
    server::CoreOptions options;
    options.maxRequestBytes = size_t{8} << 20;
    return options;
  }
  static server::NetOptions limited(server::NetOptions options) {
    options.maxRequestBytes = small().maxRequestBytes;
    return options;
  }

  Status call(const v1::Block& block, v1::BlockReply* reply) {
    grpc::ClientContext context;
    return stub->Call(&context, block, reply);
  }

  // Any bytes as the message of any method.
  Status callRaw(const std::string& method, const std::string& bytes) {
    grpc::GenericStub generic(channel);
    grpc::ClientContext context;
    grpc::CompletionQueue queue;
    const grpc::Slice slice(bytes);
    const auto call = generic.PrepareUnaryCall(&context, method, grpc::ByteBuffer(&slice, 1), &queue);
    grpc::ByteBuffer reply;
    Status status;
    call->StartCall();
    call->Finish(&reply, &status, nullptr);
    void* tag = nullptr;
    bool ok = false;
    queue.Next(&tag, &ok);
    queue.Shutdown();
    while (queue.Next(&tag, &ok)) continue;
    return status;
  }

  static v1::Block oneRequest(v1::RequestKind kind, const std::string& name, const std::string& body) {
    v1::Block block;
    v1::Request* const request = block.add_requests();
    request->set_kind(kind);
    request->set_name(name);
    request->set_body(body);
    return block;
  }
  // The first piece of an upload whose one body has that many bytes.
  static v1::BlockPiece announcing(uint64_t bodyBytes) {
    v1::BlockPiece piece;
    *piece.mutable_block() = oneRequest(v1::PACKET, "TableRecords", "");
    piece.mutable_block()->mutable_requests(0)->set_body_bytes(bodyBytes);
    return piece;
  }

  EmbeddedServer server;
  NetworkServer network;
  std::shared_ptr<grpc::Channel> channel;
  std::unique_ptr<v1::Model::Stub> stub;
};

}  // namespace tlm::test

#endif
