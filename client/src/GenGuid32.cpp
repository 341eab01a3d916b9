#include <TlmClient/GenGuid32.h>

#include <sys/random.h>

#include <array>
#include <bit>
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

void writeHex(uint64_t value, char* out) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  for (int i = 15; i >= 0; --i, value >>= 4) out[i] = kDigits[value & 15];
}

}  // namespace

QByteArray GenGuid32() {
  thread_local KeySource source;
  QByteArray key(32, Qt::Uninitialized);
  writeHex(source.next(), key.data());
  writeHex(source.next(), key.data() + 16);
  return key;
}
