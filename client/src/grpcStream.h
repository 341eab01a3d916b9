// The client's end of a session's stream: one connection, from its opening to its end.
#ifndef TLMCLIENT_GRPCSTREAM_H
#define TLMCLIENT_GRPCSTREAM_H

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>

#include <grpcpp/grpcpp.h>
#include <tlm/v1/model.grpc.pb.h>

namespace tlm {

// The destructor cancels the stream and waits for its end.
class GrpcStream : private grpc::ClientBidiReactor<v1::Subscription, v1::Delivery> {
 public:
  // What it tells, on threads of gRPC, one call at a time, with nothing locked; `ended` once, and last.
  struct Calls {
    std::function<void(v1::Delivery&&)> delivery;
    std::function<void(const grpc::Status&)> ended;
  };

  GrpcStream(const std::shared_ptr<grpc::Channel>& channel, const v1::Subscription& first, Calls calls);
  ~GrpcStream() override;

  // Sends a subscription; one that waits to be sent is replaced. Any thread.
  void write(const v1::Subscription& subscription);
  void cancel() { context_.TryCancel(); }

 private:
  void OnReadDone(bool ok) override;
  void OnWriteDone(bool ok) override;
  void OnDone(const grpc::Status& status) override;

  const std::unique_ptr<v1::Model::Stub> stub_;
  const Calls calls_;
  grpc::ClientContext context_;
  v1::Delivery incoming_;

  std::mutex mutex_;
  std::condition_variable over_;
  v1::Subscription outgoing_;
  std::optional<v1::Subscription> next_;
  bool writing_ = false;
  bool closed_ = false;  // no write may start any more
  bool done_ = false;
};

}  // namespace tlm

#endif
