// What was sent, who waits for its answer, and the answers that have come.
#ifndef TLMCLIENT_REPLYDESK_H
#define TLMCLIENT_REPLYDESK_H

#include <TlmWire/messages.h>

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace tlm {

// A refusal that no caller has seen or will see.
struct Refusal {
  int32_t status = 0;
  std::string why;  // Windows-1251
};

// Callers are known by the address of their reply pointer, which is never written to here. All functions but
// arrive, lose, lineIs and takeRefusals belong to the session's thread.
class ReplyDesk {
 public:
  using Pointer = MDXCliParam**;

  // What was sent together. Null pointers stand for requests whose answer nobody wants.
  struct Sent {
    Pointer whole = nullptr;
    std::vector<Pointer> singles;
    bool tells = false;  // a refusal that nobody waits for goes to the host
  };

  // An answer, cut to what one caller waited for.
  struct Collected {
    std::vector<std::pair<Pointer, wire::Reply>> replies;
  };

  // `refused` is called, on any thread and without a lock, when takeRefusals has something new.
  explicit ReplyDesk(std::function<void()> refused) : refused_(std::move(refused)) {}

  // Enters what is about to be sent; returns its id. A pointer that waited for something else lets go of it.
  uint64_t enter(Sent sent);
  // It could not be sent after all.
  void unsent(uint64_t id);
  // The caller's pointer serves something new, or its wait is over.
  void letGo(Pointer pointer);

  // Waits for the answer of the pointer (milliseconds; negative: without limit). Empty: the pointer waits for
  // nothing, the time is over or the line died; the pointer then waits no longer.
  std::optional<Collected> collect(Pointer pointer, int timeoutMs);

  // The id whose answer the pointer still waits for, or 0.
  uint64_t openId(Pointer pointer) const;

  void arrive(uint64_t id, wire::BlockReply reply);
  void lose(uint64_t id, const std::string& why);  // no answer will come
  void lineIs(bool alive);  // when it dies, waits without limit end for what was sent before; no new one waits for it
  std::vector<Refusal> takeRefusals();

  size_t underWay() const;  // entries held, answered or not

 private:
  struct Entry {
    Sent sent;
    int watchers = 0;
    bool lost = false;
    bool cutOff = false;  // the line died behind it and is not back
    std::string why;      // lost
    std::optional<wire::BlockReply> answer;
  };
  using Entries = std::map<uint64_t, Entry>;
  struct Place {
    uint64_t id = 0;
    int index = 0;  // of the request; kWhole for the block
  };
  static constexpr int kWhole = -1;

  bool done(uint64_t id) const;
  void waitFor(uint64_t id, int timeoutMs, std::unique_lock<std::mutex>& lock);
  void release(Pointer pointer);
  void close(Entries::iterator entry);
  void evictOldest();
  Collected cut(Entry& entry, int index);
  bool holds(Pointer pointer, uint64_t id, int index) const;
  void free(Pointer pointer, uint64_t id, int index);
  void refuse(const Entry& entry);
  void tellRefusals(std::unique_lock<std::mutex>& lock);

  const std::function<void()> refused_;
  mutable std::mutex mutex_;
  std::condition_variable arrived_;
  uint64_t nextId_ = 1;
  uint64_t awaited_ = 0;  // the id that the session's thread waits for now, or 0
  Entries entries_;
  std::unordered_map<Pointer, Place> places_;
  std::vector<Refusal> refusals_;
  bool untold_ = false;
};

}  // namespace tlm

#endif
