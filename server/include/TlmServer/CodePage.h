// Texts of records are Windows-1251; files of the tree, the catalogue and the store are UTF-8.
#ifndef TLMSERVER_CODEPAGE_H
#define TLMSERVER_CODEPAGE_H

#include <cstddef>
#include <string>
#include <string_view>

namespace tlm::server {

// A character that the code page lacks, and a damaged UTF-8 sequence, becomes "?" and clears *lossless
// (which may be null, and is never set).
std::string toCodePage(std::string_view utf8, bool* lossless = nullptr);

// The same into a buffer of at least utf8.size() bytes; returns the number of bytes written.
size_t toCodePage(std::string_view utf8, char* out, bool* lossless = nullptr);

// Each of the 256 bytes has a character of its own (the one that the code page leaves open, 0x98, is
// U+0098), so toCodePage(fromCodePage(bytes)) gives any bytes back.
std::string fromCodePage(std::string_view text);
void appendFromCodePage(std::string_view text, std::string* utf8);

bool isAscii(std::string_view text);

}  // namespace tlm::server

#endif
