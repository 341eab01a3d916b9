// The transport over gRPC; how it is used stands in TlmClient/NetTransport.h.
#ifndef TLMCLIENT_GRPCTRANSPORT_H
#define TLMCLIENT_GRPCTRANSPORT_H

#include <TlmClient/NetTransport.h>

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "grpcCalls.h"
#include "grpcStream.h"

namespace tlm {

// The line stands while its stream does and is heard. One thread keeps it up, another carries out the blocks, the
// first in the queue at a time; a block that is waited for without limit is carried out on the caller's.
class GrpcTransport : public ITransport {
 public:
  explicit GrpcTransport(const NetLine& line);
  ~GrpcTransport() override;

  bool waitForFirst(std::string* problem);

  void setListener(TransportListener* listener) override;
  bool send(uint64_t id, wire::Block block) override;
  std::optional<wire::BlockReply> carryOut(uint64_t id) override;
  void nudge() override;
  void subscribeEvents(const std::vector<int>& kinds) override;
  void subscribeValues(const std::vector<int>& locIds) override;
  bool alive() const override;

 private:
  using Clock = std::chrono::steady_clock;
  using Lock = std::unique_lock<std::mutex>;

  struct Job {
    uint64_t id = 0;
    wire::Block block;
    Clock::time_point until;  // answered or lost by then
    bool writes() const { return !block.identity.empty(); }
  };

  // the line
  void keepUp();
  void attempt();
  bool waitUntilUp(Lock& lock);
  bool waitUntilConfirmed(Lock& lock, uint32_t serial);
  template <typename Ready>
  bool waitWhileHeard(Lock& lock, Ready ready);
  void waitUntilSilent(Lock& lock);
  void hear(v1::Delivery&& delivery);
  void hearSubscribed(const v1::Subscribed& subscribed);
  void lineDied(Lock& lock, const std::string& why);
  v1::Subscription subscription(bool again) const;
  void resubscribe(Lock& lock);

  // the blocks
  void work();
  std::optional<wire::BlockReply> perform(Job& job, Lock& lock);
  bool expire(Lock& lock);
  void tellLost(Lock& lock, std::vector<uint64_t> ids, const std::string& why);

  const NetLine line_;

  mutable std::mutex mutex_;
  std::condition_variable changed_;  // the line, its lists, or the end
  std::condition_variable jobs_;     // something for the worker
  TransportListener* listener_ = nullptr;
  bool stopping_ = false;
  bool lingering_ = false;  // the end waits for the last writes

  bool alive_ = false;
  bool knownDead_ = false;                // to the listener
  bool ended_ = false;                    // the stream of this attempt
  std::string why_;                       // it ended
  Clock::time_point heard_;               // the last delivery
  std::chrono::milliseconds silence_{0};  // after which the line is dead
  std::shared_ptr<grpc::Channel> channel_;
  GrpcStream* stream_ = nullptr;  // while it stands
  int attempts_ = 0;              // since it stood last

  std::vector<int> kinds_;
  std::vector<int> locIds_;
  uint32_t serial_ = 0;     // of the last subscription
  uint32_t first_ = 0;      // of the first one on this stream
  uint32_t confirmed_ = 0;  // by the server
  std::string store_;
  int64_t position_ = -1;  // all events up to this one were told; -1: not known

  std::deque<Job> queue_;
  bool busy_ = false;                    // a block is being carried out
  bool writing_ = false;                 // it writes
  grpc::ClientContext* call_ = nullptr;  // of that block

  std::mt19937 random_;
  std::thread keeper_;
  std::thread worker_;
};

}  // namespace tlm

#endif
