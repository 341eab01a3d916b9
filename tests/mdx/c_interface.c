/* The interface as a C program uses it. Returns 0, or the line of what failed. */
#include <TlmMdx/mdx.h>
#include <string.h>

#define CHECK(condition) \
  if (!(condition)) return __LINE__

static int addField(MDArray* array, const char* name, int type, int size) {
  MDRFldDesc description;
  memset(&description, 0, sizeof description);
  strncpy(description.name, name, sizeof description.name - 1);
  description.type = (uint8_t)type;
  description.size = (uint8_t)size;
  return MDAFldAdd(array, 1, &description);
}

static int fillTable(MDArray* array) {
  int i;
  for (i = 0; i < 10; ++i) {
    MDRData* record = MDARecNew(array);
    MDRVar value;
    memset(&value, 0, sizeof value);
    value.type = MDX_INT32;
    value.i32 = 9 - i;
    CHECK(MDRSetVal(MDRFldByNum(array, 0), record, &value) == MDX_OK);
    value.type = MDX_TEXT;
    value.text.length = 4;
    value.text.data = "name";
    CHECK(MDRSetVal(MDRFldByName(array, "NAME"), record, &value) == MDX_OK);
    CHECK(MDARecPost(record, NULL) == MDX_OK);
  }
  return 0;
}

static int packAndCompare(const MDArray* array) {
  void* bytes;
  uint32_t length;
  MDArray* copy;
  CHECK(MDXArrayPack(array, &bytes, &length) == MDX_OK);
  CHECK(MDACreate(&copy, 0) == MDX_OK);
  CHECK(MDXArrayUnPackN(copy, bytes, length, 1) == MDX_OK);
  CHECK(MDARecCount(copy) == MDARecCount(array));
  MDXFree(bytes);
  MDADestroy(copy);
  return 0;
}

int runCInterface(void) {
  MDArray* array;
  MDRKeyDesc key;
  MDRVar value;
  int position = -1;
  int line;
  CHECK(sizeof(MDRVar) == 14 && sizeof(CVar) == 24 && sizeof(MDRField) == 204);
  CHECK(sizeof(MDRFldDesc) == 80 && sizeof(MDRKeyDesc) == 392);
  CHECK(MDACreate(&array, 0) == MDX_OK);
  CHECK(addField(array, "number", MDX_INT32, 0) == 0);
  CHECK(addField(array, "name", MDX_TEXT, 32) == 1);
  memset(&key, 0, sizeof key);
  strcpy(key.expression, "number");
  CHECK(MDAKeyAdd(array, 1, &key) == 0);
  if ((line = fillTable(array)) != 0) return line;
  memset(&value, 0, sizeof value);
  value.type = MDX_INT64;
  value.i64 = 4;
  CHECK(MDARecSeekV(array, 0, &value, &position) == MDARec(array, 0, 4) && position == 4);
  if ((line = packAndCompare(array)) != 0) return line;
  MDADestroy(array);
  return 0;
}
