// The baseline of values.in: a server that reads the same messages off a bare gRPC stream, answers each, and does
// nothing else. Listens at the address that it is given until its input ends.
#include <grpcpp/grpcpp.h>

#include <cstdio>

#include <tlm/v1/model.grpc.pb.h>

namespace {

using namespace tlm;

class Bare final : public v1::Model::WithCallbackMethod_PutValues<v1::Model::Service> {
  class Feed final : public grpc::ServerBidiReactor<v1::ValueBatch, v1::ValueAnswer> {
   public:
    Feed() { StartRead(&batch_); }
    void OnReadDone(bool ok) override {
      if (!ok) return Finish(grpc::Status::OK);
      answer_.set_taken(static_cast<uint32_t>(batch_.values_size()));
      StartWrite(&answer_);
    }
    void OnWriteDone(bool ok) override {
      if (!ok) return Finish(grpc::Status::CANCELLED);
      StartRead(&batch_);
    }
    void OnDone() override { delete this; }

   private:
    v1::ValueBatch batch_;
    v1::ValueAnswer answer_;
  };

 public:
  grpc::ServerBidiReactor<v1::ValueBatch, v1::ValueAnswer>* PutValues(grpc::CallbackServerContext*) override {
    return new Feed;
  }
};

}  // namespace

int main(int argc, char** argv) {
  Bare service;
  grpc::ServerBuilder builder;
  int port = 0;
  builder.AddListeningPort(argc > 1 ? argv[1] : "127.0.0.1:0", grpc::InsecureServerCredentials(), &port);
  builder.RegisterService(&service);
  const auto server = builder.BuildAndStart();
  if (!server) return 1;
  std::printf("%d\n", port);
  std::fflush(stdout);
  while (std::getchar() != EOF) continue;
  server->Shutdown(std::chrono::system_clock::now());
  return 0;
}
