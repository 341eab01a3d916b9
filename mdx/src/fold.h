// Case folding of single bytes: ASCII and the letters of Windows-1251.
#ifndef TLMMDX_SRC_FOLD_H
#define TLMMDX_SRC_FOLD_H

#include <array>
#include <cstdint>
#include <string_view>

namespace mdx {

extern const std::array<unsigned char, 256> kLower;

inline unsigned char lower(char c) { return kLower[static_cast<unsigned char>(c)]; }

// Below, equal or above 0. Bytes count as unsigned, a text is above its own beginning.
int compareText(std::string_view a, std::string_view b, bool ignoreCase);

bool equalNames(std::string_view a, std::string_view b);
uint32_t hashName(std::string_view name);

}  // namespace mdx

#endif
