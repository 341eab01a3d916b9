#include "FakeTransport.h"

namespace tlm::test {

bool FakeTransport::send(uint64_t id, wire::Block block) {
  if (refuses) return false;
  sent.push_back({id, std::move(block)});
  if (handler) answer(id, handler(sent.back().block));
  return true;
}

std::optional<wire::BlockReply> FakeTransport::carryOut(uint64_t id) {
  ++carried;
  for (const Sent& one : sent) {
    if (carries && one.id == id) return echo(one.block);
  }
  return std::nullopt;
}

void FakeTransport::breakLine(const std::string& why) {
  for (const Sent& one : sent) listener_->onLost(one.id, why);
  listener_->onLine(false, why);
}

wire::BlockReply echo(const wire::Block& block) {
  wire::BlockReply reply;
  for (const wire::Request& request : block.requests) {
    reply.each.push_back({wire::kOk, "reply to " + request.name, std::nullopt});
  }
  return reply;
}

wire::BlockReply refusal(int32_t status, const std::string& why) { return {wire::Reply::failure(status, why), {}}; }

}  // namespace tlm::test
