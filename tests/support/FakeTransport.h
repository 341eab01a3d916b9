// A line whose other end is the test.
#ifndef TLMTEST_FAKETRANSPORT_H
#define TLMTEST_FAKETRANSPORT_H

#include <TlmClient/ITransport.h>

#include <functional>
#include <vector>

namespace tlm::test {

// Keeps what was sent; the test answers, at once (`handler`) or later (answer). Used by one thread, except
// that answer, publish and breakLine may come from any.
class FakeTransport : public ITransport {
 public:
  struct Sent {
    uint64_t id = 0;
    wire::Block block;
  };
  using Handler = std::function<wire::BlockReply(const wire::Block&)>;

  // `gone`, if given, becomes true when the transport is destroyed.
  explicit FakeTransport(bool* gone = nullptr) : gone_(gone) {}
  ~FakeTransport() override {
    for (const Sent& one : sent) {
      if (losesAtTheEnd) listener_->onLost(one.id, "too late");
    }
    if (gone_) *gone_ = true;
  }

  void setListener(TransportListener* listener) override { listener_ = listener; }
  bool send(uint64_t id, wire::Block block) override;
  std::optional<wire::BlockReply> carryOut(uint64_t id) override;
  void subscribeEvents(const std::vector<int>& kinds) override { eventKinds = kinds; }
  void subscribeValues(const std::vector<int>& locIds) override { valueIds = locIds; }
  bool alive() const override { return !refuses; }

  void answer(uint64_t id, wire::BlockReply reply) { listener_->onReply(id, std::move(reply)); }
  void publish(wire::Event event) { listener_->onEvent(std::move(event)); }
  void publish(wire::ParamValue value) { listener_->onValue(std::move(value)); }
  void lose(uint64_t id, const std::string& why) { listener_->onLost(id, why); }
  void breakLine(const std::string& why);  // everything that was sent and not answered is lost
  void dieAlone(const std::string& why) { listener_->onLine(false, why); }  // nothing is lost
  void loseEvents(const std::string& why) { listener_->onEventsLost(why); }
  void mendLine() { listener_->onLine(true, {}); }

  std::vector<Sent> sent;
  std::vector<int> eventKinds;
  std::vector<int> valueIds;
  Handler handler;       // answers each block as it is sent
  bool carries = false;  // carryOut answers with an echo
  int carried = 0;       // how often it was asked
  bool refuses = false;  // send gives false
  bool losesAtTheEnd = false;

 private:
  TransportListener* listener_ = nullptr;
  bool* gone_;
};

// A reply to each request of the block: status 0, payload "reply to " and the request's name.
wire::BlockReply echo(const wire::Block& block);
wire::BlockReply refusal(int32_t status, const std::string& why);

}  // namespace tlm::test

#endif
