#include "bare.h"

#include <grpcpp/grpcpp.h>

#include <atomic>
#include <chrono>
#include <stdexcept>

#include <tlm/v1/model.grpc.pb.h>

namespace tlm::bench {
namespace {

using Clock = std::chrono::steady_clock;

// The methods of the wire that carry bytes alone; a request says how many come back.
class Echo final : public v1::Model::Service {
 public:
  std::atomic<Clock::rep> sent{0};  // when the last message of a stream went

 private:
  using Stream = grpc::ServerReaderWriter<v1::Delivery, v1::Subscription>;

  grpc::Status Call(grpc::ServerContext*, const v1::Block* request, v1::BlockReply* reply) override {
    reply->set_rest(std::string(std::stoul(request->user()), 'x'));
    return grpc::Status::OK;
  }

  grpc::Status Listen(grpc::ServerContext*, Stream* stream) override {
    v1::Subscription request;
    v1::Delivery message;
    v1::Event* const event = message.add_events();
    while (stream->Read(&request)) {
      event->set_image(std::string(request.serial(), 'x'));
      sent = Clock::now().time_since_epoch().count();
      stream->Write(message);
    }
    return grpc::Status::OK;
  }
};

}  // namespace

struct BareEcho::Private {
  Echo service;
  std::unique_ptr<grpc::Server> server;
  std::unique_ptr<v1::Model::Stub> stub;
  grpc::ClientContext context;  // of the stream
  std::unique_ptr<grpc::ClientReaderWriter<v1::Subscription, v1::Delivery>> stream;
};

BareEcho::BareEcho(const std::string& address) : d_(std::make_unique<Private>()) {
  int port = 0;
  grpc::ServerBuilder builder;
  builder.AddListeningPort(address, grpc::InsecureServerCredentials(), &port);
  builder.SetMaxReceiveMessageSize(-1);
  builder.RegisterService(&d_->service);
  d_->server = builder.BuildAndStart();
  if (!d_->server) throw std::runtime_error("the bare server does not start");
  const bool chosen = address.ends_with(":0");
  const std::string at = chosen ? address.substr(0, address.size() - 1) + std::to_string(port) : address;
  grpc::ChannelArguments arguments;
  arguments.SetMaxReceiveMessageSize(-1);
  arguments.SetInt(GRPC_ARG_ENABLE_HTTP_PROXY, 0);
  d_->stub = v1::Model::NewStub(grpc::CreateCustomChannel(at, grpc::InsecureChannelCredentials(), arguments));
}

BareEcho::~BareEcho() {
  if (d_->stream) d_->context.TryCancel();
  d_->stream.reset();
  d_->server->Shutdown();
}

void BareEcho::call(size_t there, size_t back) {
  v1::Block request;
  request.set_user(std::to_string(back));
  request.set_identity(std::string(there, 'x'));
  v1::BlockReply reply;
  grpc::ClientContext context;
  context.set_wait_for_ready(true);
  if (!d_->stub->Call(&context, request, &reply).ok() || reply.rest().size() != back)
    throw std::runtime_error("the bare server does not answer");
}

double BareEcho::message(size_t bytes) {
  if (!d_->stream) d_->stream = d_->stub->Listen(&d_->context);
  v1::Subscription request;
  request.set_serial(static_cast<uint32_t>(bytes));
  v1::Delivery message;
  if (!d_->stream->Write(request) || !d_->stream->Read(&message))
    throw std::runtime_error("the bare stream does not answer");
  return std::chrono::duration<double>(Clock::now().time_since_epoch() - Clock::duration(d_->service.sent)).count();
}

}  // namespace tlm::bench
