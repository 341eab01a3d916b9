// The line of a session to a server that runs in the same process.
#ifndef TLMHOST_EMBEDDEDTRANSPORT_H
#define TLMHOST_EMBEDDEDTRANSPORT_H

#include <TlmClient/ITransport.h>
#include <TlmServer/Core.h>

#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>

namespace tlm {

// Carries out the blocks of one session in order, on a thread of its own, so that a wait can end while a
// long script still runs; or on the caller's, when it waits without limit anyway and nothing else is under
// way. The core must outlive it.
//
// The destructor waits for the block under way, and carries out what was sent before and writes; what only
// reads is dropped.
class EmbeddedTransport : public ITransport, private server::Subscriber {
 public:
  EmbeddedTransport(server::Core& core, server::Caller caller, size_t maxBlockBytes = size_t{64} << 20);
  ~EmbeddedTransport() override;

  void setListener(TransportListener* listener) override;
  bool send(uint64_t id, wire::Block block) override;
  std::optional<wire::BlockReply> carryOut(uint64_t id) override;
  void subscribeEvents(const std::vector<int>& kinds) override;
  void subscribeValues(const std::vector<int>& locIds) override;
  bool alive() const override { return true; }

 private:
  struct Job {
    uint64_t id = 0;
    wire::Block block;
  };

  void onEvent(const wire::Event& event) override { listener_->onEvent(event); }
  void onValue(const wire::ParamValue& value) override { listener_->onValue(value); }

  void work();
  bool next(Job* job);
  wire::BlockReply execute(const wire::Block& block);

  server::Core& core_;
  const server::Caller caller_;
  const size_t maxBlockBytes_;
  TransportListener* listener_ = nullptr;  // set before the first block and the first subscription

  std::mutex mutex_;
  std::condition_variable wake_;
  std::deque<Job> jobs_;
  bool busy_ = false;  // the worker has a block in hand
  bool stopping_ = false;
  std::thread worker_;
};

}  // namespace tlm

#endif
