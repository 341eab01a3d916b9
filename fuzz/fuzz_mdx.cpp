// Foreign bytes into the readers of packed tables, records and script values. The first byte picks one.

#include <TlmMdx/CMDArray.h>
#include <TlmMdx/mdx.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace {

void require(bool condition) {
  if (!condition) std::abort();
}

void readTable(const uint8_t* data, size_t size) {
  CMDArray table;
  if (MDXArrayUnPackN(table.array, data, size, 1) != MDX_OK) {
    require(MDAFldCount(table.array) == 0 && MDARecCount(table.array) == 0);
    return;
  }
  for (int key = 0; key < MDAKeyCount(table.array); ++key) {
    for (int i = 0; i < MDARecCount(table.array); ++i) require(MDARec(table.array, key, i));
  }
  void* packed = nullptr;
  uint32_t length = 0;
  require(MDXArrayPack(table.array, &packed, &length) == MDX_OK);
  CMDArray again;
  require(MDXArrayUnPackN(again.array, packed, length, 1) == MDX_OK);
  require(MDARecCount(again.array) == MDARecCount(table.array));
  MDXFree(packed);
  while (MDARecCount(table.array)) require(MDARecDel(MDARec(table.array, 0, 0)) == MDX_OK);
}

void readRecord(const uint8_t* data, size_t size) {
  MDRType type;
  MDRData record;
  MDRTypInit(&type);
  MDRRecInit(&record);
  MDRRecSet(&record, data, static_cast<uint32_t>(size));
  if (MDRTypGen(&type, "fuzz", &record) != MDX_OK) require(type.fieldCount == 0);
  for (int i = 0; i < type.fieldCount; ++i) {
    char* text = nullptr;
    double number = 0;
    MDRGetTextPtr(type.fields + i, &record, &text);
    MDRGetAsDouble(type.fields + i, &record, &number);
    require(MDRIsNull(type.fields + i, &record, nullptr) >= 0);
  }
  MDRTypFree(&type);
  CMDArray table;
  const int code = MDXRecUnPackN(table.array, data, size);
  require(MDARecCount(table.array) == (code == MDX_OK ? 1 : 0));
}

void readScriptValue(const uint8_t* data, size_t size) {
  CVar var;
  CVarInit(&var, 1);
  if (CVarFromBuffN(&var, data, size) == MDX_OK) {
    void* packed = nullptr;
    uint32_t length = 0;
    require(CVarToBuff(&var, &packed, &length) == MDX_OK);
    MDXFree(packed);
  } else {
    require(var.type == CVAR_NULL);
  }
  CVarClear(&var, 1);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 2) return 0;
  switch (data[0] % 3) {
    case 0:
      readTable(data + 1, size - 1);
      break;
    case 1:
      readRecord(data + 1, size - 1);
      break;
    default:
      readScriptValue(data + 1, size - 1);
      break;
  }
  return 0;
}
