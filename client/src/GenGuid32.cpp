#include <TlmClient/GenGuid32.h>

#include <sys/random.h>

#include <algorithm>
#include <array>
#include <bit>
#include <chrono>
#include <cstdint>
#include <random>

namespace {

// xoshiro256**: 256 random bits of the system to start from, one state for each thread.
class KeySource {
 public:
  KeySource() {
    if (getrandom(state_.data(), sizeof state_, 0) == static_cast<ssize_t>(sizeof state_)) return;
    std::random_device device;
    for (uint64_t& word : state_) word = (uint64_t{device()} << 32) | device();
  }

  uint64_t next() {
    const uint64_t result = std::rotl(state_[1] * 5, 7) * 9;
    const uint64_t t = state_[1] << 17;
    state_[2] ^= state_[0];
    state_[3] ^= state_[1];
    state_[1] ^= state_[2];
    state_[0] ^= state_[3];
    state_[2] ^= t;
    state_[3] = std::rotl(state_[3], 45);
    return result;
  }

 private:
  std::array<uint64_t, 4> state_{};
};

// Milliseconds of the clock and, below them, a count: every number is above the one before.
class OrderSource {
 public:
  uint64_t next() {
    using namespace std::chrono;
    const auto now = duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
    return last_ = std::max(last_ + 1, static_cast<uint64_t>(now) << 16);
  }

 private:
  uint64_t last_ = 0;
};

void writeHex(uint64_t value, char* out) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  for (int i = 15; i >= 0; --i, value >>= 4) out[i] = kDigits[value & 15];
}

}  // namespace

// Objects that are made together have keys that stand together, so that tables which are ordered by them take a
// thousand new rows in a few places and not in a thousand.
QByteArray GenGuid32() {
  thread_local KeySource source;
  thread_local OrderSource order;
  QByteArray key(32, Qt::Uninitialized);
  writeHex(order.next(), key.data());
  writeHex(source.next(), key.data() + 16);
  return key;
}
