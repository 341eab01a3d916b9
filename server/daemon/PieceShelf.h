// Large replies that wait to be taken in pieces.
#ifndef TLMDAEMON_PIECESHELF_H
#define TLMDAEMON_PIECESHELF_H

#include <TlmWire/messages.h>

#include <chrono>
#include <cstddef>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>

namespace tlm::server {

// Any thread.
class PieceShelf {
 public:
  using Clock = std::chrono::steady_clock;

  // Holds at most `bytes`, each reply for at most `kept`.
  PieceShelf(size_t bytes, Clock::duration kept) : room_(bytes), kept_(kept) {}

  // The name under which the reply can be taken, which nobody can guess. Empty, and the reply untouched, when
  // there is no room.
  std::string put(wire::BlockReply&& reply, Clock::time_point now = Clock::now());

  // The reply, once.
  std::optional<wire::BlockReply> take(const std::string& name, Clock::time_point now = Clock::now());

  // What nobody has taken in time, though nobody else puts or takes anything. How many it were.
  size_t dropOld(Clock::time_point now);

 private:
  struct Held {
    wire::BlockReply reply;
    size_t bytes;
    Clock::time_point until;
  };

  size_t drop(Clock::time_point now);  // with the lock held

  size_t room_;
  const Clock::duration kept_;
  std::mutex mutex_;
  std::unordered_map<std::string, Held> held_;
};

}  // namespace tlm::server

#endif
