#include "EmbeddedTransport.h"

#include <algorithm>
#include <exception>

namespace tlm {
EmbeddedTransport::EmbeddedTransport(server::Core& core, server::Caller caller, size_t maxBlockBytes)
    : core_(core), caller_(std::move(caller)), maxBlockBytes_(maxBlockBytes), worker_([this] { work(); }) {}

EmbeddedTransport::~EmbeddedTransport() {
  core_.unsubscribe(this);
  {
    const std::lock_guard lock(mutex_);
    stopping_ = true;
    std::erase_if(jobs_, [](const Job& job) { return !wire::writes(job.block); });
  }
  wake_.notify_one();
  worker_.join();
}

void EmbeddedTransport::setListener(TransportListener* listener) { listener_ = listener; }

bool EmbeddedTransport::send(uint64_t id, wire::Block block) {
  if (!listener_ || wire::sizeOf(block) > maxBlockBytes_) return false;
  {
    const std::lock_guard lock(mutex_);
    jobs_.push_back({id, std::move(block)});
  }
  wake_.notify_one();
  return true;
}

std::optional<wire::BlockReply> EmbeddedTransport::carryOut(uint64_t id) {
  wire::Block block;
  {
    const std::lock_guard lock(mutex_);
    if (busy_ || jobs_.empty() || jobs_.front().id != id) return std::nullopt;
    block = std::move(jobs_.front().block);
    jobs_.pop_front();
  }
  return execute(block);
}

void EmbeddedTransport::subscribeEvents(const std::vector<int>& kinds) {
  if (listener_) core_.subscribe(this, kinds, -1);
}

void EmbeddedTransport::subscribeValues(const std::vector<int>& locIds) {
  if (listener_) core_.subscribeValues(this, locIds);
}

bool EmbeddedTransport::next(Job* job) {
  std::unique_lock lock(mutex_);
  busy_ = false;
  wake_.wait(lock, [this] { return stopping_ || !jobs_.empty(); });
  if (jobs_.empty()) return false;
  *job = std::move(jobs_.front());
  jobs_.pop_front();
  busy_ = true;
  return true;
}

void EmbeddedTransport::work() {
  for (Job job; next(&job);) listener_->onReply(job.id, execute(job.block));
}

wire::BlockReply EmbeddedTransport::execute(const wire::Block& block) {
  try {
    return core_.execute(block, caller_);
  } catch (const std::exception& problem) {
    return {wire::Reply::failure(wire::kUnavailable, problem.what()), {}};
  }
}

}  // namespace tlm
