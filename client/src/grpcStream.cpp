#include "grpcStream.h"

#include <utility>

namespace tlm {

GrpcStream::GrpcStream(const std::shared_ptr<grpc::Channel>& channel, const v1::Subscription& first, Calls calls)
    : stub_(v1::Model::NewStub(channel)), calls_(std::move(calls)), outgoing_(first), writing_(true) {
  context_.set_wait_for_ready(true);  // how long is for the owner to say
  stub_->async()->Listen(&context_, this);
  AddHold();  // writes come from outside
  StartWrite(&outgoing_);
  StartRead(&incoming_);
  StartCall();
}

GrpcStream::~GrpcStream() {
  context_.TryCancel();
  std::unique_lock lock(mutex_);
  over_.wait(lock, [this] { return done_; });
}

void GrpcStream::write(const v1::Subscription& subscription) {
  const std::lock_guard lock(mutex_);
  if (closed_) return;
  if (std::exchange(writing_, true)) {
    next_ = subscription;
    return;
  }
  outgoing_ = subscription;
  StartWrite(&outgoing_);
}

void GrpcStream::OnWriteDone(bool ok) {
  const std::lock_guard lock(mutex_);
  if (!ok) return;  // nothing is written any more
  writing_ = next_.has_value();
  if (!next_) return;
  outgoing_ = *std::exchange(next_, std::nullopt);
  StartWrite(&outgoing_);
}

void GrpcStream::OnReadDone(bool ok) {
  if (ok) {
    calls_.delivery(std::exchange(incoming_, {}));
    StartRead(&incoming_);
    return;
  }
  {
    const std::lock_guard lock(mutex_);
    closed_ = true;
  }
  RemoveHold();
}

void GrpcStream::OnDone(const grpc::Status& status) {
  calls_.ended(status);
  const std::lock_guard lock(mutex_);
  done_ = true;
  over_.notify_all();
}

}  // namespace tlm
