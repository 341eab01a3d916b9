// MDRRec*, MDRTyp*: records bound to an image.

#include "image.h"

#include <algorithm>

#include "fold.h"

using namespace mdx;

namespace {

int generate(MDRType* type, const char* name, MDRData* record) {
  auto bound = std::make_unique<BoundType>();
  if (const int code = readImage(record->packed, record->packedLength, bound->image)) return code;
  for (const ImageField& field : bound->image.fields) {
    MDRField described{};
    if (!field.name.empty()) std::memcpy(described.name, field.name.data(), field.name.size());
    described.type = field.type;
    described.size = field.type == MDX_TEXT ? field.size : 0;
    described.number = static_cast<uint8_t>(bound->fields.size());
    bound->fields.push_back(described);
  }
  const std::string_view typeName = name ? name : "";
  std::memcpy(type->name, typeName.data(), std::min(typeName.size(), sizeof type->name - 1));
  type->fieldCount = static_cast<int>(bound->fields.size());
  type->fields = bound->fields.data();
  record->typeNumber = bound->image.typeNumber;
  record->change = bound->image.change;
  record->state = kRead;
  record->body = reinterpret_cast<unsigned char*>(bound.get());
  type->storage = bound.release();
  return MDX_OK;
}

}  // namespace

void MDRTypInit(MDRType* type) {
  if (type) *type = MDRType{};
}

void MDRRecInit(MDRData* record) {
  if (record) *record = MDRData{};
}

int MDRRecSet(MDRData* record, const void* image, uint32_t length) {
  if (!record || !image || length == 0) return MDX_E_ARG;
  if (record->array) return MDX_E_STATE;
  *record = MDRData{};
  record->packed = static_cast<unsigned char*>(const_cast<void*>(image));
  record->packedLength = length;
  record->state = kBound;
  return MDX_OK;
}

int MDRTypGen(MDRType* type, const char* name, MDRData* record) {
  if (!type) return MDX_E_ARG;
  MDRTypFree(type);
  if (!record) return MDX_E_ARG;
  if (record->array || (record->state != kBound && record->state != kRead)) return MDX_E_STATE;
  record->state = kBound;
  record->body = nullptr;
  return guarded([&] { return generate(type, name, record); });
}

void MDRTypFree(MDRType* type) {
  if (!type) return;
  delete static_cast<BoundType*>(type->storage);
  *type = MDRType{};
}

const MDRField* MDRTypFldByNum(const MDRType* type, int number) {
  return type && number >= 0 && number < type->fieldCount ? type->fields + number : nullptr;
}

const MDRField* MDRTypFldByName(const MDRType* type, const char* name) {
  if (!type || !name) return nullptr;
  for (int i = 0; i < type->fieldCount; ++i) {
    if (equalNames(name, type->fields[i].name)) return type->fields + i;
  }
  return nullptr;
}
