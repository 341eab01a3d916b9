// A table owned by value, with the code of its last operation. Not copyable: a copy is MDACopy.
#ifndef TLMMDX_CMDARRAY_H
#define TLMMDX_CMDARRAY_H

#include <TlmMdx/mdx.h>

#include <algorithm>
#include <cstring>

class CMDArray {
 public:
  CMDArray() { code = MDACreate(&array, 0); }
  ~CMDArray() { MDADestroy(array); }
  CMDArray(const CMDArray&) = delete;
  CMDArray& operator=(const CMDArray&) = delete;

  // Posts a record of this table. Null for a null record and for one that another table owns.
  MDRData* RecPost(MDRData* rec) {
    if (!rec || MDROwner(rec) != array) return nullptr;
    MDRData* posted = nullptr;
    code = MDARecPost(rec, &posted);
    return posted;
  }

  // Adds a key over the fields of `expr`, which is cut to 384 bytes. Returns the code.
  int KeyAdd(const char* expr, int kind) {
    MDRKeyDesc key{};
    std::memcpy(key.expression, expr, std::min(std::strlen(expr), sizeof key.expression));
    key.kind = static_cast<uint32_t>(kind);
    return code = MDAKeyAdd(array, 1, &key);
  }

  // Reads a field. An unknown one gives type 0 and leaves the rest of `out` alone.
  void GetVal(const MDRData* rec, const char* name, MDRVar& out) const { read(MDRFldByName(array, name), rec, out); }
  void GetVal(const MDRData* rec, int number, MDRVar& out) const { read(MDRFldByNum(array, number & 0xff), rec, out); }

  // Writes a field; an unknown one is passed over.
  void SetVal(MDRData* rec, const char* name, const MDRVar& v) { write(MDRFldByName(array, name), rec, v); }
  void SetVal(MDRData* rec, int number, const MDRVar& v) { write(MDRFldByNum(array, number & 0xff), rec, v); }

  // Writes a field and marks it as changed.
  void SetValF(MDRData* rec, int number, const MDRVar& v) {
    const MDRField* field = MDRFldByNum(array, number & 0xff);
    write(field, rec, v);
    if (field) MDRSetUser(field, rec, 1);
  }

  MDArray* array = nullptr;
  int code = 0;

 private:
  static void read(const MDRField* field, const MDRData* rec, MDRVar& out) {
    if (field)
      MDRGetVal(field, rec, &out);
    else
      out.type = MDX_NONE;
  }
  static void write(const MDRField* field, MDRData* rec, const MDRVar& v) {
    if (field) MDRSetVal(field, rec, &v);
  }
};

#endif
