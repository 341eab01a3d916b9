#include "Texts.h"

#include <TlmMdx/mdx.h>

namespace tlm::script {
namespace {

// The position from which the two differ, up to the end of b.
size_t commonLength(const uint8_t* lower, std::string_view a, std::string_view b) {
  const auto folded = [lower](char c) { return lower[static_cast<uint8_t>(c)]; };
  size_t length = 0;
  while (length < b.size() && folded(a[length]) == folded(b[length])) ++length;
  return length;
}

}  // namespace

int compareTexts(std::string_view a, std::string_view b) {
  const int order = a.compare(b);  // std::char_traits<char> compares bytes as unsigned
  return order < 0 ? -1 : order > 0;
}

int64_t findIgnoringCase(std::string_view text, std::string_view part, Meter* meter, Offset at) {
  constexpr size_t kBytesPerStep = 8;
  const uint8_t* const lower = MDXLowerTable();
  size_t looked = 0;
  for (size_t i = 0; i + part.size() <= text.size(); ++i) {
    const size_t common = commonLength(lower, text.substr(i), part);
    if (common == part.size()) return static_cast<int64_t>(i);
    looked += common + 1;
    if (looked < kBytesPerStep * 64) continue;
    meter->steps(static_cast<int64_t>(looked / kBytesPerStep), at);
    looked = 0;
  }
  return -1;
}

}  // namespace tlm::script
