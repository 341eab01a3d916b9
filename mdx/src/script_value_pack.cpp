// Packed script values.

#include "packing.h"

using namespace mdx;

namespace {

constexpr int kDeepest = 64;

int writeValue(ByteWriter& writer, const CVar& var, int depth);

int writeItems(ByteWriter& writer, const CVar& var, int depth) {
  writer.put(var.length);
  for (uint32_t i = 0; i < var.length; ++i) {
    if (const int code = writeValue(writer, var.items[i], depth + 1)) return code;
  }
  return MDX_OK;
}

int writeTable(ByteWriter& writer, const MDArray* table) {
  const size_t at = writer.size();
  writer.put(uint32_t{0});
  if (!table) return MDX_OK;
  if (const int code = packArray(writer, *table)) return code;
  writer.patch(at, static_cast<uint32_t>(writer.size() - at - sizeof(uint32_t)));
  return MDX_OK;
}

int writeValue(ByteWriter& writer, const CVar& var, int depth) {
  if (depth > kDeepest) return MDX_E_SIZE;
  writer.put(static_cast<uint8_t>(var.type));
  switch (var.type) {
    case CVAR_NULL:
      return MDX_OK;
    case CVAR_INT:
      writer.put(var.i64);
      return MDX_OK;
    case CVAR_DOUBLE:
      writer.put(var.f64);
      return MDX_OK;
    case CVAR_TEXT:
      writer.put(var.length);
      writer.bytes(var.text, var.length);
      return MDX_OK;
    case CVAR_ARRAY:
      return writeItems(writer, var, depth);
    case CVAR_TABLE:
      return writeTable(writer, var.table ? *var.table : nullptr);
    default:
      return MDX_E_TYPE;
  }
}

int readValue(ByteReader& reader, CVar& var, int depth);

int readItems(ByteReader& reader, CVar& var, int depth) {
  const auto count = reader.get<uint32_t>();
  if (count > reader.left()) return MDX_E_FORMAT;  // each takes a byte at least
  if (const int code = CVarSetArr(&var, static_cast<int>(count))) return code;
  for (uint32_t i = 0; i < count; ++i) {
    if (const int code = readValue(reader, var.items[i], depth + 1)) return code;
  }
  return MDX_OK;
}

int readTable(ByteReader& reader, CVar& var) {
  const std::string_view packed = reader.text(reader.get<uint32_t>());
  if (!reader.good()) return MDX_E_FORMAT;
  auto table = std::make_unique<MDArray>();
  if (const int code = CVarSetTable(&var, table.get())) return code;
  MDArray& target = *table.release();
  return packed.empty() ? int{MDX_OK} : unpackArray(target, packed.data(), packed.size());
}

int readText(ByteReader& reader, CVar& var) {
  const std::string_view text = reader.text(reader.get<uint32_t>());
  if (!reader.good() || text.size() > kLargestText) return MDX_E_FORMAT;
  return CVarSetStr(&var, text.data(), static_cast<int>(text.size()));
}

int readValue(ByteReader& reader, CVar& var, int depth) {
  if (depth > kDeepest) return MDX_E_FORMAT;
  const int type = reader.get<uint8_t>();
  if (!reader.good()) return MDX_E_FORMAT;
  switch (type) {
    case CVAR_NULL:
      return MDX_OK;
    case CVAR_INT:
      CVarSetInt(&var, reader.get<int64_t>());
      break;
    case CVAR_DOUBLE:
      CVarSetDouble(&var, reader.get<double>());
      break;
    case CVAR_TEXT:
      return readText(reader, var);
    case CVAR_ARRAY:
      return readItems(reader, var, depth);
    case CVAR_TABLE:
      return readTable(reader, var);
    default:
      return MDX_E_FORMAT;
  }
  return reader.good() ? MDX_OK : MDX_E_FORMAT;
}

}  // namespace

int CVarToBuff(const CVar* var, void** out, uint32_t* length) {
  if (out) *out = nullptr;
  if (length) *length = 0;
  if (!var || !out || !length) return MDX_E_ARG;
  return guarded([&] {
    ByteWriter writer;
    const size_t start = beginPacked(writer, 'V', 0);
    int code = writeValue(writer, *var, 0);
    if (code == MDX_OK) code = finishPacked(writer, start);
    if (code != MDX_OK) return code;
    *length = static_cast<uint32_t>(writer.size());
    *out = writer.release();
    return int{MDX_OK};
  });
}

int CVarFromBuff(CVar* var, const void* buffer) { return CVarFromBuffN(var, buffer, kUnknownLength); }

int CVarFromBuffN(CVar* var, const void* buffer, size_t length) {
  if (!var) return MDX_E_ARG;
  CVarClear(var, 1);
  const int code = guarded([&] {
    PackedHead head;
    if (const int failed = readHead(buffer, length, 'V', head)) return failed;
    ByteReader reader(static_cast<const char*>(buffer) + kHeadBytes, head.length - kHeadBytes);
    if (const int failed = readValue(reader, *var, 0)) return failed;
    return reader.left() ? int{MDX_E_FORMAT} : int{MDX_OK};
  });
  if (code != MDX_OK) CVarClear(var, 1);
  return code;
}
