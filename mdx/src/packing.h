// The packed formats. Each begins with two letters and a version, then the length of the whole.
//
//   array   "MA" version 0, u32 length, u16 fields, u16 keys, u32 rows
//           field: u8 type, u8 size, u8 name length, name
//           key:   u32 flags, u32 kind, u16 expression length, expression (empty: order of arrival)
//           row:   null bits, mark bits, u8 change, then the values that are not null
//   record  "MR" version flags, u32 length, u16 type number, u8 change, u8 fields
//           field: u8 type, and with kWithNames: u8 size, u8 name length, name
//           null bits, with kWithMarks mark bits, then the values that are not null
//   script  "MV" version 0, u32 length, then a value: u8 type and
//   value   integer, double: 8 bytes; text: u32 length, bytes; array: u32 count, values;
//           table: u32 length, a packed array or nothing
//
// A number takes its own size; a fixed text of an array u8 length and bytes; any other text u32 length and
// bytes, which end with a zero in a record, so that a bound record is read in place.
#ifndef TLMMDX_SRC_PACKING_H
#define TLMMDX_SRC_PACKING_H

#include <TlmMdx/mdx.h>

#include "array.h"
#include "bytes.h"

namespace mdx {

constexpr uint8_t kPackVersion = 1;
constexpr size_t kHeadBytes = 8;

enum RecordFlags : uint8_t { kWithNames = 1, kWithMarks = 2 };

// Writes letter, version and flags; `finish` sets the length of what was written since.
size_t beginPacked(ByteWriter& writer, char letter, uint8_t flags);
int finishPacked(ByteWriter& writer, size_t start);

struct PackedHead {
  uint8_t flags = 0;
  uint32_t length = 0;
};
// Checks a head, byte by byte so that a shorter text is never left. A code, or 0.
int readHead(const void* bytes, size_t limit, char letter, PackedHead& head);
constexpr size_t kUnknownLength = SIZE_MAX;

int packArray(ByteWriter& writer, const MDArray& array);
int unpackArray(MDArray& array, const void* payload, size_t limit);

// A record's image, read in place.
struct ImageField {
  uint8_t type = 0, size = 0;
  bool isNull = true, isMarked = false;
  std::string_view name;
  std::string_view value;  // the bytes of a number or a text
};
struct Image {
  uint16_t typeNumber = 0;
  uint8_t change = 0;
  bool hasMarks = false;
  std::vector<ImageField> fields;
};
int readImage(const void* bytes, size_t length, Image& image);
void readImageValue(const ImageField& field, MDRVar& out);

}  // namespace mdx

#endif
