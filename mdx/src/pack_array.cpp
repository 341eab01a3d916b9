// Packed tables.

#include "packing.h"

namespace mdx {

size_t beginPacked(ByteWriter& writer, char letter, uint8_t flags) {
  const size_t start = writer.size();
  writer.put('M');
  writer.put(letter);
  writer.put(kPackVersion);
  writer.put(flags);
  writer.put(uint32_t{0});
  return start;
}

int finishPacked(ByteWriter& writer, size_t start) {
  const size_t length = writer.size() - start;
  if (length > kLargestText) return MDX_E_SIZE;
  writer.patch(start + 4, static_cast<uint32_t>(length));
  return MDX_OK;
}

int readHead(const void* bytes, size_t limit, char letter, PackedHead& head) {
  const auto* text = static_cast<const unsigned char*>(bytes);
  if (!text) return MDX_E_ARG;
  if (limit < 3 || text[0] != 'M' || text[1] != static_cast<unsigned char>(letter) || text[2] == 0) return MDX_E_FORMAT;
  if (text[2] > kPackVersion) return MDX_E_VERSION;
  if (limit < kHeadBytes) return MDX_E_FORMAT;
  head.flags = text[3];
  std::memcpy(&head.length, text + 4, sizeof head.length);
  return head.length >= kHeadBytes && head.length <= limit ? MDX_OK : MDX_E_FORMAT;
}

namespace {

// ---- writing

void writeStructure(ByteWriter& writer, const MDArray& array) {
  writer.put(static_cast<uint16_t>(array.fields.size()));
  writer.put(static_cast<uint16_t>(array.keys.size()));
  writer.put(static_cast<uint32_t>(array.count()));
  for (const MDRField& field : array.fields) {
    const std::string_view name = field.name;
    writer.put(field.type);
    writer.put(static_cast<uint8_t>(field.size));
    writer.put(static_cast<uint8_t>(name.size()));
    writer.text(name);
  }
  for (const auto& key : array.keys) {
    writer.put(key->flags);
    writer.put(key->kind);
    writer.put(static_cast<uint16_t>(key->expression.size()));
    writer.text(key->expression);
  }
}

char* put(char* to, std::string_view text) {
  if (!text.empty()) std::memcpy(to, text.data(), text.size());
  return to + text.size();
}

void writeRow(ByteWriter& writer, const MDArray& array, const MDRData* record) {
  const size_t bits = size_t{2} * array.markOffset;
  char* to = writer.room(bits + 1 + array.bodySize);
  std::memcpy(to, record->body, bits);
  to += bits;
  *to++ = static_cast<char>(record->change);
  char* start = writer.room(0);
  for (const MDRField& field : array.fields) {
    if (array.isNull(record, field.number)) continue;
    const unsigned char* place = record->body + field.offset;
    if (const auto size = static_cast<size_t>(numberSize(field.type))) {
      to = put(to, {reinterpret_cast<const char*>(place), size});
      continue;
    }
    const std::string_view text = readText(field.type, field.size, place);
    if (field.type == MDX_TEXT) {
      *to++ = static_cast<char>(text.size());
      to = put(to, text);
      continue;
    }
    // A long text may need more than its 8 bytes in the body: the room behind is asked for anew.
    writer.advance(static_cast<size_t>(to - start));
    writer.put(static_cast<uint32_t>(text.size()));
    writer.text(text);
    to = start = writer.room(array.bodySize);
  }
  writer.advance(static_cast<size_t>(to - start));
}

// ---- reading

// Rows that claim more memory than a payload of this length may ask for.
bool asksTooMuch(const MDArray& array, uint32_t rows, size_t length) {
  constexpr uint64_t kAlways = 16u << 20, kForEachByte = 256;
  return uint64_t{rows} * (kBodyOffset + array.bodySize) > kAlways + kForEachByte * length;
}

int readStructure(ByteReader& reader, MDArray& array, uint32_t& rows) {
  const auto fieldCount = reader.get<uint16_t>();
  const auto keyCount = reader.get<uint16_t>();
  rows = reader.get<uint32_t>();
  for (int i = 0; i < fieldCount; ++i) {
    const auto type = reader.get<uint8_t>();
    const auto size = reader.get<uint8_t>();
    const auto name = reader.text(reader.get<uint8_t>());
    if (!reader.good() || name.find('\0') != name.npos || array.addField(name, type, size) < 0) return MDX_E_FORMAT;
  }
  for (int i = 0; i < keyCount; ++i) {
    const auto flags = reader.get<uint32_t>();
    const auto kind = reader.get<uint32_t>();
    const auto expression = reader.text(reader.get<uint16_t>());
    if (!reader.good() || array.keys.size() == kMaxKeys) return MDX_E_FORMAT;
    if (expression.empty())
      array.addArrivalKey();
    else if (expression.size() > sizeof MDRKeyDesc::expression || array.addKey(expression, flags, kind) < 0)
      return MDX_E_FORMAT;
    array.keys.back()->flags = flags;
  }
  return MDX_OK;
}

bool readText(ByteReader& reader, MDArray& array, MDRData* record, const MDRField& field) {
  const bool fixed = field.type == MDX_TEXT;
  const uint32_t size = fixed ? reader.get<uint8_t>() : reader.get<uint32_t>();
  if (size > (fixed ? field.size : kLargestText)) return false;
  const std::string_view text = reader.text(size);
  if (!reader.good()) return false;
  array.putText(record, field, text);
  return true;
}

bool readRow(ByteReader& reader, MDArray& array, MDRData* record) {
  const size_t bits = size_t{2} * array.markOffset;
  const char* head = reader.take(bits + 1);
  if (!head) return false;
  std::memcpy(record->body, head, bits);
  if (MDRSetFlags(record, static_cast<uint8_t>(head[bits])) != MDX_OK) return false;
  for (const MDRField& field : array.fields) {
    if (array.isNull(record, field.number)) continue;
    if (const auto size = static_cast<size_t>(numberSize(field.type))) {
      if (const char* value = reader.take(size)) std::memcpy(record->body + field.offset, value, size);
      if (field.type == MDX_BOOL) record->body[field.offset] = record->body[field.offset] != 0;
    } else if (!readText(reader, array, record, field)) {
      return false;
    }
  }
  return reader.good();
}

int readRows(ByteReader& reader, MDArray& array, uint32_t rowCount, size_t length) {
  const size_t smallest = size_t{2} * array.markOffset + 1;
  if (rowCount > reader.left() / smallest) return MDX_E_FORMAT;
  if (asksTooMuch(array, rowCount, length)) return MDX_E_MEMORY;
  std::vector<MDRData*> rows;
  rows.reserve(rowCount);
  for (uint32_t i = 0; i < rowCount; ++i) {
    rows.push_back(array.appendRecord());
    if (!readRow(reader, array, rows.back())) return MDX_E_FORMAT;
  }
  if (reader.left()) return MDX_E_FORMAT;
  array.indexAll(rows);
  return MDX_OK;
}

int unpackChecked(MDArray& array, const void* payload, size_t limit) {
  PackedHead head;
  if (const int code = readHead(payload, limit, 'A', head)) return code;
  ByteReader reader(static_cast<const char*>(payload) + kHeadBytes, head.length - kHeadBytes);
  uint32_t rows = 0;
  if (const int code = readStructure(reader, array, rows)) return code;
  return readRows(reader, array, rows, head.length);
}

}  // namespace

int packArray(ByteWriter& writer, const MDArray& array) {
  const size_t start = beginPacked(writer, 'A', 0);
  writeStructure(writer, array);
  if (array.count()) {
    const Key& order = *array.keys.front();
    for (Span span = order.at(0); span.leaf; span = order.after(span)) {
      for (int i = 0; i < span.count; ++i) writeRow(writer, array, span.records[i]);
    }
  }
  return finishPacked(writer, start);
}

int unpackArray(MDArray& array, const void* payload, size_t limit) {
  array.reset();
  const int code = guarded([&] { return unpackChecked(array, payload, limit); });
  if (code != MDX_OK) array.reset();
  return code;
}

}  // namespace mdx

using namespace mdx;

int MDXArrayPack(const MDArray* array, void** out, uint32_t* length) {
  if (out) *out = nullptr;
  if (length) *length = 0;
  if (!array || !out || !length) return MDX_E_ARG;
  return guarded([&] {
    ByteWriter writer;
    if (const int code = packArray(writer, *array)) return code;
    *length = static_cast<uint32_t>(writer.size());
    *out = writer.release();
    return int{MDX_OK};
  });
}

void MDXFree(void* bytes) { std::free(bytes); }

int MDXArrayUnPack(MDArray* array, const void* payload, int mode) {
  return MDXArrayUnPackN(array, payload, kUnknownLength, mode);
}

int MDXArrayUnPackN(MDArray* array, const void* payload, size_t length, int mode) {
  if (!array || (mode != 0 && mode != 1)) return MDX_E_ARG;
  return unpackArray(*array, payload, length);
}
