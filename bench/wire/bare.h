// Bare gRPC, the baseline of the wire: a server that gives bytes back, and nothing else.
#ifndef TLMBENCH_BARE_H
#define TLMBENCH_BARE_H

#include <memory>
#include <string>

namespace tlm::bench {

class BareEcho {
 public:
  // Listens at "unix:PATH" or, at a port that the system chooses, at "127.0.0.1:0". Throws when it cannot.
  explicit BareEcho(const std::string& address);
  ~BareEcho();
  BareEcho(const BareEcho&) = delete;
  BareEcho& operator=(const BareEcho&) = delete;

  // One unary call with that many bytes there and that many back. Throws when it fails.
  void call(size_t there, size_t back);

  // Sends one message of that many bytes down an open stream: seconds from the server's write to the client's read.
  double message(size_t bytes);

 private:
  struct Private;
  std::unique_ptr<Private> d_;
};

}  // namespace tlm::bench

#endif
