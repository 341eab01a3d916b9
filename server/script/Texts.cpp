#include "Texts.h"

#include <array>
#include <cstring>

namespace tlm::script {
namespace {

constexpr std::array<uint8_t, 256> makeLower() {
  std::array<uint8_t, 256> lower{};
  for (int c = 0; c < 256; ++c) lower[c] = static_cast<uint8_t>(c);
  for (int c = 'A'; c <= 'Z'; ++c) lower[c] = static_cast<uint8_t>(c + 0x20);
  for (int c = 0xc0; c <= 0xdf; ++c) lower[c] = static_cast<uint8_t>(c + 0x20);
  // The letters of Windows-1251 outside the two plain blocks.
  constexpr uint8_t kSingle[][2] = {{0x80, 0x90}, {0x81, 0x83}, {0x8a, 0x9a}, {0x8c, 0x9c}, {0x8d, 0x9d},
                                    {0x8e, 0x9e}, {0x8f, 0x9f}, {0xa1, 0xa2}, {0xa3, 0xbc}, {0xa5, 0xb4},
                                    {0xa8, 0xb8}, {0xaa, 0xba}, {0xaf, 0xbf}, {0xb2, 0xb3}, {0xbd, 0xbe}};
  for (const auto& pair : kSingle) lower[pair[0]] = pair[1];
  return lower;
}

constexpr std::array<uint8_t, 256> kLower = makeLower();

uint8_t lower(char c) { return kLower[static_cast<uint8_t>(c)]; }

size_t commonLength(std::string_view a, std::string_view b) {
  size_t length = 0;
  while (length < b.size() && lower(a[length]) == lower(b[length])) ++length;
  return length;
}

}  // namespace

int compareTexts(std::string_view a, std::string_view b) {
  const int order = a.compare(b);  // std::char_traits<char> compares bytes as unsigned
  return order < 0 ? -1 : order > 0;
}

int64_t findIgnoringCase(std::string_view text, std::string_view part, Meter* meter, Offset at) {
  constexpr size_t kBytesPerStep = 8;
  size_t looked = 0;
  for (size_t i = 0; i + part.size() <= text.size(); ++i) {
    const size_t common = commonLength(text.substr(i), part);
    if (common == part.size()) return static_cast<int64_t>(i);
    looked += common + 1;
    if (looked < kBytesPerStep * 64) continue;
    meter->steps(static_cast<int64_t>(looked / kBytesPerStep), at);
    looked = 0;
  }
  return -1;
}

}  // namespace tlm::script
