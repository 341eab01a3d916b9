#include "records.h"

#include "values.h"

namespace tlm::server {

void copyRow(const MDRData* from, MDRData* to) {
  const MDArray* source = MDROwner(from);
  const MDArray* target = MDROwner(to);
  for (int i = 0; i < MDAFldCount(target); ++i) put(target, to, i, valueOf(MDRFldByNum(source, i), from));
}

void appendAll(const MDArray* from, MDArray* to) {
  const int count = MDARecCount(from);
  for (int i = 0; i < count; ++i) {
    MDRData* record = MDARecNew(to);
    copyRow(MDARec(from, 0, i), record);
    MDARecPost(record, nullptr);
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
