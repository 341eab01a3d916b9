// What MDRTypGen makes of an image: the fields of the type and the values of the record.
#ifndef TLMMDX_SRC_IMAGE_H
#define TLMMDX_SRC_IMAGE_H

#include "packing.h"

namespace mdx {

struct BoundType {
  std::vector<MDRField> fields;
  Image image;

  const ImageField* find(const MDRField* field) const {
    const auto offset = reinterpret_cast<uintptr_t>(field) - reinterpret_cast<uintptr_t>(fields.data());
    const auto number = offset / sizeof(MDRField);
    return number < fields.size() && number * sizeof(MDRField) == offset ? &image.fields[number] : nullptr;
  }
};

// The type behind a record that MDRTypGen has read.
inline const BoundType* boundType(const MDRData* record) {
  return !record->array && record->state == kRead ? reinterpret_cast<const BoundType*>(record->body) : nullptr;
}

}  // namespace mdx

#endif
