// Bare gRPC, the baseline of the wire: a server that gives bytes back, and nothing else.
#ifndef TLMBENCH_BARE_H
#define TLMBENCH_BARE_H

#include <memory>
#include <string>

namespace tlm::bench {

class BareEcho {
 public:
  // Listens at "unix:PATH". Throws when it cannot.
  explicit BareEcho(const std::string& address);
  ~BareEcho();
  BareEcho(const BareEcho&) = delete;
  BareEcho& operator=(const BareEcho&) = delete;

  // One unary call with that many bytes there and that many back. Throws when it fails.
  void call(size_t there, size_t back);

 private:
  struct Private;
  std::unique_ptr<Private> d_;
};

}  // namespace tlm::bench

#endif
