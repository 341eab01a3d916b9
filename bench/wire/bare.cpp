#include "bare.h"

#include <grpcpp/grpcpp.h>

#include <stdexcept>

#include <tlm/v1/model.grpc.pb.h>

namespace tlm::bench {
namespace {

// The method of the wire that carries bytes alone; the first eight bytes of a request say how many come back.
class Echo final : public v1::Model::Service {
  grpc::Status Call(grpc::ServerContext*, const v1::Block* request, v1::BlockReply* reply) override {
    reply->set_rest(std::string(std::stoul(request->user()), 'x'));
    return grpc::Status::OK;
  }
};

}  // namespace

struct BareEcho::Private {
  Echo service;
  std::unique_ptr<grpc::Server> server;
  std::unique_ptr<v1::Model::Stub> stub;
};

BareEcho::BareEcho(const std::string& address) : d_(std::make_unique<Private>()) {
  grpc::ServerBuilder builder;
  builder.AddListeningPort(address, grpc::InsecureServerCredentials());
  builder.SetMaxReceiveMessageSize(-1);
  builder.RegisterService(&d_->service);
  d_->server = builder.BuildAndStart();
  if (!d_->server) throw std::runtime_error("the bare server does not start");
  grpc::ChannelArguments arguments;
  arguments.SetMaxReceiveMessageSize(-1);
  d_->stub = v1::Model::NewStub(grpc::CreateCustomChannel(address, grpc::InsecureChannelCredentials(), arguments));
}

BareEcho::~BareEcho() { d_->server->Shutdown(); }

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

}  // namespace tlm::bench
