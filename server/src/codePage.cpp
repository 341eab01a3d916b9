#include <TlmServer/CodePage.h>

#include <array>
#include <cstdint>
#include <cstring>

namespace tlm::server {
namespace {

constexpr std::array<uint16_t, 64> kUpperHalf = {
    0x0402, 0x0403, 0x201A, 0x0453, 0x201E, 0x2026, 0x2020, 0x2021, 0x20AC, 0x2030, 0x0409, 0x2039, 0x040A,
    0x040C, 0x040B, 0x040F, 0x0452, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014, 0x0098, 0x2122,
    0x0459, 0x203A, 0x045A, 0x045C, 0x045B, 0x045F, 0x00A0, 0x040E, 0x045E, 0x0408, 0x00A4, 0x0490, 0x00A6,
    0x00A7, 0x0401, 0x00A9, 0x0404, 0x00AB, 0x00AC, 0x00AD, 0x00AE, 0x0407, 0x00B0, 0x00B1, 0x0406, 0x0456,
    0x0491, 0x00B5, 0x00B6, 0x00B7, 0x0451, 0x2116, 0x0454, 0x00BB, 0x0458, 0x0405, 0x0455, 0x0457};

constexpr uint32_t codePoint(uint8_t byte) {
  if (byte < 0x80) return byte;
  return byte < 0xC0 ? kUpperHalf[byte - 0x80] : 0x0410u + (byte - 0xC0u);
}

// Code points below 0x0500 and from 0x2000 to 0x21FF cover the whole page; 0 where there is no byte.
struct Reverse {
  std::array<uint8_t, 0x500> low{};
  std::array<uint8_t, 0x200> high{};
};

constexpr Reverse makeReverse() {
  Reverse reverse;
  for (int byte = 1; byte < 256; ++byte) {
    const uint32_t code = codePoint(static_cast<uint8_t>(byte));
    (code < 0x500 ? reverse.low[code] : reverse.high[code - 0x2000]) = static_cast<uint8_t>(byte);
  }
  return reverse;
}

constexpr Reverse kReverse = makeReverse();

uint8_t byteOf(uint32_t code) {
  if (code < kReverse.low.size()) return kReverse.low[code];
  if (code >= 0x2000 && code < 0x2200) return kReverse.high[code - 0x2000];
  return 0;
}

// Takes one sequence of more than one byte at `at`; 0xFFFFFFFF when it is malformed (one byte is taken then).
uint32_t decode(std::string_view text, size_t* at) {
  constexpr uint32_t kBad = 0xFFFFFFFF;
  const auto lead = static_cast<uint8_t>(text[(*at)++]);
  const int more = lead >= 0xF0 && lead < 0xF5 ? 3 : lead >= 0xE0 ? 2 : lead >= 0xC2 ? 1 : 0;
  if (more == 0 || lead >= 0xF5 || *at + static_cast<size_t>(more) > text.size()) return kBad;
  uint32_t code = lead & (0x3Fu >> more);
  for (int i = 0; i < more; ++i) {
    const auto next = static_cast<uint8_t>(text[*at + static_cast<size_t>(i)]);
    if ((next & 0xC0) != 0x80) return kBad;
    code = code << 6 | (next & 0x3Fu);
  }
  *at += static_cast<size_t>(more);
  return code;
}

size_t asciiPrefix(std::string_view text) {
  size_t at = 0;
  for (; at + 8 <= text.size(); at += 8) {
    uint64_t word;
    std::memcpy(&word, text.data() + at, 8);
    if (word & 0x8080808080808080ull) break;
  }
  while (at < text.size() && static_cast<uint8_t>(text[at]) < 0x80) ++at;
  return at;
}

}  // namespace

bool isAscii(std::string_view text) { return asciiPrefix(text) == text.size(); }

void appendFromCodePage(std::string_view bytes, std::string* utf8) {
  for (const char c : bytes) {
    const uint32_t code = codePoint(static_cast<uint8_t>(c));
    if (code < 0x80) {
      utf8->push_back(c);
      continue;
    }
    if (code < 0x800) {
      utf8->push_back(static_cast<char>(0xC0 | code >> 6));
    } else {
      utf8->push_back(static_cast<char>(0xE0 | code >> 12));
      utf8->push_back(static_cast<char>(0x80 | (code >> 6 & 0x3F)));
    }
    utf8->push_back(static_cast<char>(0x80 | (code & 0x3F)));
  }
}

std::string fromCodePage(std::string_view bytes) {
  std::string utf8;
  utf8.reserve(bytes.size() * 2);
  appendFromCodePage(bytes, &utf8);
  return utf8;
}

size_t toCodePage(std::string_view utf8, char* out, bool* lossless) {
  size_t at = asciiPrefix(utf8);
  std::memcpy(out, utf8.data(), at);
  size_t written = at;
  while (at < utf8.size()) {
    if (static_cast<uint8_t>(utf8[at]) < 0x80) {
      out[written++] = utf8[at++];
      continue;
    }
    const uint8_t byte = byteOf(decode(utf8, &at));
    if (byte == 0 && lossless) *lossless = false;
    out[written++] = byte == 0 ? '?' : static_cast<char>(byte);
  }
  return written;
}

std::string toCodePage(std::string_view utf8, bool* lossless) {
  std::string bytes(utf8.size(), '\0');
  bytes.resize(toCodePage(utf8, bytes.data(), lossless));
  return bytes;
}

}  // namespace tlm::server
