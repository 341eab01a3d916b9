// A model server on the network: the service of wire/proto over a running core.
#ifndef TLMDAEMON_NETSERVER_H
#define TLMDAEMON_NETSERVER_H

#include <TlmServer/Core.h>

#include <chrono>
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace tlm::server {

class Log;

struct NetOptions {
  std::vector<std::string> addresses;         // "127.0.0.1:4860", "[::1]:0", "unix:/run/tlm/model.sock"
  size_t maxRequestBytes = size_t{64} << 20;  // of one block, as the core has it
  int maxCalls = 64;                          // whose messages are on their way, and as many that are carried out
  int maxSessions = 256;                      // open streams
  int beatMs = 2000;                          // a stream with nothing to tell says so this often
  int patienceMs = 20'000;                    // for a connection, a stream or a transfer that does not go on
  size_t queueBytes = size_t{64} << 20;       // of events for a session that does not keep up
  size_t heldBytes = size_t{256} << 20;       // of large replies that wait to be taken
  int replyKeptMs = 30'000;                   // a large reply that nobody takes
  size_t memoryBytes = size_t{1} << 30;       // of messages on their way in and out, all connections together
};

// Runs on threads of its own.
class NetServer {
 public:
  // Starts to serve. Null with a message in *error when an address cannot be used. The core and the log must outlive
  // the server. The allocator of the process keeps more of what is freed from then on.
  static std::unique_ptr<NetServer> start(Core& core, const NetOptions& options, Log& log, std::string* error);
  ~NetServer();  // stops
  NetServer(const NetServer&) = delete;
  NetServer& operator=(const NetServer&) = delete;

  // As given, a port of 0 replaced by the one that the system chose.
  const std::vector<std::string>& addresses() const;

  // Takes no new calls, ends the streams, and waits for the calls under way; those that are not done in time are
  // told that they failed. Blocks that write are carried out whole or not at all in any case.
  void stop(std::chrono::milliseconds time = std::chrono::seconds(10));

 private:
  struct Private;
  explicit NetServer(std::unique_ptr<Private> d);
  std::unique_ptr<Private> d_;
};

}  // namespace tlm::server

#endif
