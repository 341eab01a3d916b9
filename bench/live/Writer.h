// One client that changes names at a steady pace, on a thread of its own.
#ifndef TLMBENCH_WRITER_H
#define TLMBENCH_WRITER_H

#include <TlmClient/ITransport.h>
#include <TlmMdx/CMDArray.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace tlm::bench {

using Clock = std::chrono::steady_clock;

// The names that it writes are numbered from 1, so that who reads one knows how far it is; each writer's are its own.
class Writer : private TransportListener {
 public:
  struct Pace {
    double changesPerSecond = 200;
    int changesPerBlock = 1;
    int changes = 1000;
  };

  // Starts to write to the objects of these keys in turn. Throws when there is no server.
  Writer(const std::string& address, std::vector<std::string> keys, Pace pace);
  ~Writer() override;  // waits for the last change

  int numberOf(const std::string& name) const;  // 0: none of its own

  bool done() const { return written_ >= pace_.changes; }
  int sent() const { return sent_; }
  bool failed() const { return failed_; }
  Clock::time_point sentAt(int number) const { return at_[static_cast<size_t>(number)]; }  // that was read somewhere
  size_t bytesOfABlock() const { return bytes_; }

 private:
  void onReply(uint64_t id, wire::BlockReply reply) override;
  void onLost(uint64_t id, const std::string& why) override;
  void onEvent(wire::Event) override {}
  void onValue(wire::ParamValue) override {}
  void onLine(bool, const std::string&) override {}
  void onEventsLost(const std::string&) override {}

  void work();
  wire::Block nextBlock();

  const std::vector<std::string> keys_;
  const Pace pace_;
  const std::string prefix_;
  std::vector<Clock::time_point> at_;
  CMDArray structure_;
  size_t bytes_ = 0;
  std::atomic<int> sent_{0};
  std::atomic<int> written_{0};
  std::atomic<bool> failed_{false};
  std::unique_ptr<ITransport> transport_;
  std::thread thread_;
};

}  // namespace tlm::bench

#endif
