#include "fold.h"

#include <TlmMdx/mdx.h>

#include <algorithm>
#include <cstring>

namespace mdx {
namespace {

struct Pair {
  unsigned char upper, lower;
};

// The letters of Windows-1251 outside the two plain blocks.
constexpr Pair kSingle[] = {{0x80, 0x90}, {0x81, 0x83}, {0x8A, 0x9A}, {0x8C, 0x9C}, {0x8D, 0x9D},
                            {0x8E, 0x9E}, {0x8F, 0x9F}, {0xA1, 0xA2}, {0xA3, 0xBC}, {0xA5, 0xB4},
                            {0xA8, 0xB8}, {0xAA, 0xBA}, {0xAF, 0xBF}, {0xB2, 0xB3}, {0xBD, 0xBE}};

constexpr std::array<unsigned char, 256> makeLower() {
  std::array<unsigned char, 256> table{};
  for (int i = 0; i < 256; ++i) table[i] = static_cast<unsigned char>(i);
  for (int c = 'A'; c <= 'Z'; ++c) table[c] = static_cast<unsigned char>(c + 0x20);
  for (int c = 0xC0; c <= 0xDF; ++c) table[c] = static_cast<unsigned char>(c + 0x20);
  for (const Pair& pair : kSingle) table[pair.upper] = pair.lower;
  return table;
}

}  // namespace

constinit const std::array<unsigned char, 256> kLower = makeLower();

int compareText(std::string_view a, std::string_view b, bool ignoreCase) {
  const size_t common = std::min(a.size(), b.size());
  if (!ignoreCase) {
    if (const int order = common ? std::memcmp(a.data(), b.data(), common) : 0) return order;
  } else {
    for (size_t i = 0; i < common; ++i) {
      if (const int order = int{lower(a[i])} - int{lower(b[i])}) return order;
    }
  }
  return a.size() == b.size() ? 0 : a.size() < b.size() ? -1 : 1;
}

bool equalNames(std::string_view a, std::string_view b) { return a.size() == b.size() && compareText(a, b, true) == 0; }

uint32_t hashName(std::string_view name) {
  uint32_t hash = 2166136261u;
  for (const char c : name) hash = (hash ^ lower(c)) * 16777619u;
  return hash;
}

}  // namespace mdx

const unsigned char* MDXLowerTable(void) { return mdx::kLower.data(); }
