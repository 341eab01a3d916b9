// A line that can be broken: passes bytes between clients and a server, and cuts, delays or holds them back.
#ifndef TLMTEST_PROXY_H
#define TLMTEST_PROXY_H

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace tlm::test {

// Any thread. Listens at a port of 127.0.0.1 that the system chose.
class Proxy {
 public:
  explicit Proxy(std::string target);  // "127.0.0.1:PORT" or "unix:PATH"
  ~Proxy();

  const std::string& address() const { return address_; }

  void retarget(const std::string& target);    // where new connections go
  void cut();                                  // every connection that stands
  void refuse(bool on);                        // new ones are closed at once
  void hold(bool on);                          // nothing passes, in either direction
  void holdReplies(bool on);                   // nothing passes towards the client
  void delay(std::chrono::milliseconds each);  // every byte arrives that much later

  size_t accepted() const;     // connections so far
  size_t heldReplies() const;  // bytes for the client that wait to pass

 private:
  using Clock = std::chrono::steady_clock;
  struct Chunk {
    Clock::time_point at;
    std::string bytes;
  };
  struct Way {
    int from = -1;
    int to = -1;
    std::deque<Chunk> waiting;
    bool ended = false;
    bool replies = false;
  };
  struct Connection {
    Way ways[2];
    bool dead = false;
  };

  void work();
  void accept();
  int connectTarget() const;
  bool mayPass(const Way& way) const;
  void receive(Way& way, Connection& connection);
  void pass(Way& way, Connection& connection, Clock::time_point now);
  void change(const std::function<void()>& what);

  std::string target_;
  std::string address_;
  int listening_ = -1;
  int wake_ = -1;
  mutable std::mutex mutex_;
  bool stopping_ = false;
  bool cut_ = false;
  bool refuse_ = false;
  bool hold_ = false;
  bool holdReplies_ = false;
  std::chrono::milliseconds delay_{0};
  size_t accepted_ = 0;
  std::vector<std::unique_ptr<Connection>> connections_;
  std::thread thread_;
};

}  // namespace tlm::test

#endif
