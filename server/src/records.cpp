#include "records.h"

#include <TlmMdx/bulk.h>

#include <algorithm>
#include <array>

#include "values.h"

namespace tlm::server {

void copyRow(const MDRData* from, MDRData* to) {
  const MDArray* source = MDROwner(from);
  const MDArray* target = MDROwner(to);
  for (int i = 0; i < MDAFldCount(target); ++i) put(target, to, i, valueOf(MDRFldByNum(source, i), from));
}

void appendAll(const MDArray* from, MDArray* to) {
  const int count = MDARecCount(from);
  constexpr int kAtOnce = 1024;
  std::array<MDRData*, kAtOnce> rows;
  for (int i = 0; i < count; i += kAtOnce) {
    const int many = std::min(kAtOnce, count - i);
    for (int row = 0; row < many; ++row) rows[static_cast<size_t>(row)] = MDARec(from, 0, i + row);
    MDXRecsAdd(to, rows.data(), many, MDX_REC_NONE);
  }
}

void addFieldLike(MDArray* to, const MDRField* field) {
  MDRFldDesc desc{};
  std::memcpy(desc.name, field->name, sizeof desc.name);
  desc.size = static_cast<uint8_t>(field->size);
  desc.type = field->type;
  MDAFldAdd(to, 1, &desc);
}

std::string packValue(const CVar& value) {
  void* bytes = nullptr;
  uint32_t length = 0;
  if (CVarToBuff(&value, &bytes, &length) < 0) return {};
  std::string packed(static_cast<const char*>(bytes), length);
  MDXFree(bytes);
  return packed;
}

}  // namespace tlm::server
