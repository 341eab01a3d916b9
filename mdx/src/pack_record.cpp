// Packed records: the image of an event, the body of a request.

#include <string>

#include "packing.h"

namespace mdx {
namespace {

void writeFields(ByteWriter& writer, const MDArray& array, bool withNames) {
  for (const MDRField& field : array.fields) {
    writer.put(field.type);
    if (!withNames) continue;
    const std::string_view name = field.name;
    writer.put(static_cast<uint8_t>(field.size));
    writer.put(static_cast<uint8_t>(name.size()));
    writer.text(name);
  }
}

void writeValues(ByteWriter& writer, const MDArray& array, const MDRData* record) {
  for (const MDRField& field : array.fields) {
    if (array.isNull(record, field.number)) continue;
    const unsigned char* place = record->body + field.offset;
    if (const auto size = static_cast<size_t>(numberSize(field.type))) {
      writer.bytes(place, size);
      continue;
    }
    const std::string_view text = readText(field.type, field.size, place);
    writer.put(static_cast<uint32_t>(text.size()));
    writer.text(text);
    writer.put('\0');
  }
}

int packRecord(ByteWriter& writer, const MDArray& array, const MDRData* record, uint8_t flags) {
  constexpr size_t kUsualName = 16;
  writer.room(kHeadBytes + array.bodySize + array.fields.size() * kUsualName);
  const size_t start = beginPacked(writer, 'R', flags);
  writer.put(record->typeNumber);
  writer.put(record->change);
  writer.put(static_cast<uint8_t>(array.fields.size()));
  writeFields(writer, array, flags & kWithNames);
  writer.bytes(record->body, array.markOffset);
  if (flags & kWithMarks) writer.bytes(record->body + array.markOffset, array.markOffset);
  writeValues(writer, array, record);
  return finishPacked(writer, start);
}

bool readFields(ByteReader& reader, bool withNames, Image& image) {
  for (ImageField& field : image.fields) {
    field.type = reader.get<uint8_t>();
    if (!isFieldType(field.type)) return false;
    if (!withNames) continue;
    field.size = reader.get<uint8_t>();
    field.name = reader.text(reader.get<uint8_t>());
    if (field.name.size() >= sizeof MDRField::name || field.name.find('\0') != field.name.npos) return false;
  }
  return reader.good();
}

bool readBits(ByteReader& reader, Image& image, bool ImageField::*member) {
  const char* bits = reader.take((image.fields.size() + 7) / 8);
  if (!bits) return false;
  for (size_t i = 0; i < image.fields.size(); ++i) image.fields[i].*member = bits[i / 8] >> (i % 8) & 1;
  return true;
}

bool readValues(ByteReader& reader, Image& image) {
  for (ImageField& field : image.fields) {
    if (field.isNull) continue;
    if (isText(field.type)) {
      const std::string_view text = reader.text(size_t{reader.get<uint32_t>()} + 1);
      if (!reader.good() || text.size() > kLargestText || text.back() != '\0') return false;
      field.value = text.substr(0, text.size() - 1);
    } else {
      field.value = reader.text(static_cast<size_t>(numberSize(field.type)));
    }
  }
  return reader.good() && reader.left() == 0;
}

}  // namespace

int readImage(const void* bytes, size_t length, Image& image) {
  PackedHead head;
  if (const int code = readHead(bytes, length, 'R', head)) return code;
  ByteReader reader(static_cast<const char*>(bytes) + kHeadBytes, head.length - kHeadBytes);
  image.typeNumber = reader.get<uint16_t>();
  image.change = reader.get<uint8_t>();
  image.fields.resize(reader.get<uint8_t>());
  image.hasMarks = head.flags & kWithMarks;
  MDRData change{};
  if (MDRSetFlags(&change, image.change) != MDX_OK) return MDX_E_FORMAT;
  const bool good = readFields(reader, head.flags & kWithNames, image) &&
                    readBits(reader, image, &ImageField::isNull) &&
                    (!image.hasMarks || readBits(reader, image, &ImageField::isMarked)) && readValues(reader, image);
  return good ? MDX_OK : MDX_E_FORMAT;
}

void readImageValue(const ImageField& field, MDRVar& out) {
  out.type = field.type;
  out.isNull = field.isNull;
  out.i64 = 0;
  if (field.isNull) return;
  if (isText(field.type)) {
    out.text.length = static_cast<uint32_t>(field.value.size());
    out.text.data = field.value.data();
  } else {
    loadNumber(field.type, field.value.data(), out);
    if (field.type == MDX_BOOL) out.flag = out.flag != 0;
  }
}

}  // namespace mdx

using namespace mdx;

int MDRRecPack(const MDArray* array, MDRData* record, int withType, int withMarks) {
  if (!array || !record) return MDX_E_ARG;
  if (record->array != array) return MDX_E_FOREIGN;
  return guarded([&] {
    ByteWriter writer;
    const uint8_t flags = static_cast<uint8_t>((withType ? kWithNames : 0) | (withMarks ? kWithMarks : 0));
    if (const int code = packRecord(writer, *array, record, flags)) return code;
    record->array->setPacked(record, writer.view());
    return int{MDX_OK};
  });
}

namespace {

int buildFromImage(MDArray& array, const Image& image) {
  for (const ImageField& field : image.fields) {
    // A fixed text without a size is one of an image without names.
    const int type = field.type == MDX_TEXT && field.size == 0 ? int{MDX_MEMO} : field.type;
    const std::string name = field.name.empty() ? "f" + std::to_string(array.fields.size()) : std::string(field.name);
    if (const int code = array.addField(name, type, field.size); code < 0) return MDX_E_FORMAT;
  }
  MDRData* record = array.newRecord();
  for (size_t i = 0; i < image.fields.size(); ++i) {
    MDRVar value;
    readImageValue(image.fields[i], value);
    Staged staged;
    if (array.stage(static_cast<int>(i), value, staged) != MDX_OK) return MDX_E_FORMAT;
    array.store(record, static_cast<int>(i), staged);
    array.setMark(record, static_cast<int>(i), image.fields[i].isMarked);
  }
  record->typeNumber = image.typeNumber;
  record->change = image.change;
  array.postRecord(record);
  return MDX_OK;
}

}  // namespace

int MDXRecUnPackN(MDArray* array, const void* image, size_t length) {
  if (!array) return MDX_E_ARG;
  array->reset();
  const int code = guarded([&] {
    Image read;
    if (const int failed = readImage(image, length, read)) return failed;
    return buildFromImage(*array, read);
  });
  if (code != MDX_OK) array->reset();
  return code;
}
