// Windows-1251 and UTF-8: records hold the one, files that people read hold the other.
#ifndef TLMSERVER_TEXT1251_H
#define TLMSERVER_TEXT1251_H

#include <cstddef>
#include <string>
#include <string_view>

namespace tlm::server {

// Every one of the 256 bytes has a character of its own (0x98, which the code page leaves open, is U+0098),
// so from1251 and to1251 undo each other for any bytes.
std::string from1251(std::string_view bytes);
void appendFrom1251(std::string_view bytes, std::string* utf8);

// Characters that the code page lacks, and bytes that are no UTF-8, become "?" and clear *lossless
// (which may be null, and is never set).
std::string to1251(std::string_view utf8, bool* lossless = nullptr);

// The same into a buffer of at least utf8.size() bytes; returns the number of bytes written.
size_t to1251(std::string_view utf8, char* out, bool* lossless = nullptr);

bool isAscii(std::string_view text);

}  // namespace tlm::server

#endif
