#include "PieceShelf.h"

#include <TlmWireGrpc/convert.h>

#include <cstring>
#include <random>

namespace tlm::server {
namespace {

std::string newName() {
  std::random_device source;
  std::string name(32, '\0');
  for (size_t at = 0; at < name.size(); at += sizeof(unsigned)) {
    const unsigned bits = source();
    std::memcpy(&name[at], &bits, sizeof bits);
  }
  return name;
}

}  // namespace

std::string PieceShelf::put(wire::BlockReply&& reply, Clock::time_point now) {
  const size_t bytes = wire::sizeOf(reply);
  const std::lock_guard lock(mutex_);
  drop(now);
  if (bytes > room_) return {};
  room_ -= bytes;
  std::string name = newName();
  held_.emplace(name, Held{std::move(reply), bytes, now + kept_});
  return name;
}

std::optional<wire::BlockReply> PieceShelf::take(const std::string& name, Clock::time_point now) {
  const std::lock_guard lock(mutex_);
  drop(now);
  const auto held = held_.find(name);
  if (held == held_.end()) return std::nullopt;
  wire::BlockReply reply = std::move(held->second.reply);
  room_ += held->second.bytes;
  held_.erase(held);
  return reply;
}

size_t PieceShelf::dropOld(Clock::time_point now) {
  const std::lock_guard lock(mutex_);
  return drop(now);
}

size_t PieceShelf::drop(Clock::time_point now) {
  const size_t before = held_.size();
  for (auto held = held_.begin(); held != held_.end();) {
    if (held->second.until > now) {
      ++held;
      continue;
    }
    room_ += held->second.bytes;
    held = held_.erase(held);
  }
  return before - held_.size();
}

}  // namespace tlm::server
