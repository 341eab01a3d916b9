// Short ways to make tables and values in tests.
#ifndef TLM_TESTS_MDX_SUPPORT_H
#define TLM_TESTS_MDX_SUPPORT_H

#include <TlmMdx/CMDArray.h>
#include <TlmMdx/mdx.h>
#include <TlmMdx/values.h>

#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace test {

inline MDRVar null(int type = MDX_NONE) { return mdx::nullVar(static_cast<uint8_t>(type)); }
inline MDRVar int32(int32_t number) { return mdx::int32Var(number); }
inline MDRVar int64(int64_t number) { return mdx::int64Var(number); }
inline MDRVar real(double number) { return mdx::doubleVar(number); }
inline MDRVar single(float number) { return mdx::floatVar(number); }
inline MDRVar boolean(bool flag) { return mdx::boolVar(flag); }
// The bytes stay with the caller.
inline MDRVar text(std::string_view bytes, int type = MDX_TEXT) {
  return mdx::textVar(bytes, static_cast<uint8_t>(type));
}

struct Field {
  const char* name;
  int type;
  int size = 0;
};

inline int addField(MDArray* array, std::string_view name, int type, int size = 0) {
  MDRFldDesc description{};
  std::memcpy(description.name, name.data(), std::min(name.size(), sizeof description.name));
  description.type = static_cast<uint8_t>(type);
  description.size = static_cast<uint8_t>(size);
  return MDAFldAdd(array, 1, &description);
}

// A table of tests.
struct Table : CMDArray {
  Table() = default;
  explicit Table(std::initializer_list<Field> fields, std::initializer_list<const char*> keys = {}) {
    for (const Field& field : fields) addField(array, field.name, field.type, field.size);
    for (const char* key : keys) KeyAdd(key, 0);
  }

  // Posts a record with values for the first fields.
  MDRData* add(std::initializer_list<MDRVar> values) {
    MDRData* record = MDARecNew(array);
    int number = 0;
    for (const MDRVar& value : values) SetVal(record, number++, value);
    return RecPost(record);
  }
  const MDRField* field(int number) const { return MDRFldByNum(array, number); }
  MDRVar value(const MDRData* record, int number) const {
    MDRVar out{};
    GetVal(record, number, out);
    return out;
  }
  int64_t integer(const MDRData* record, int number) const {
    const MDRVar out = value(record, number);
    return out.type == MDX_INT32 ? out.i32 : out.type == MDX_BOOL ? out.flag : out.i64;
  }
  std::string textOf(const MDRData* record, int number) const {
    const MDRVar out = value(record, number);
    return out.isNull ? "<null>" : std::string(out.text.data, out.text.length);
  }
  // Field `number` of all records in the order of a key, joined by blanks.
  std::string order(int key, int number) const {
    std::string line;
    for (int i = 0; i < MDARecCount(array); ++i) {
      const MDRData* record = MDARec(array, key, i);
      const MDRVar out = value(record, number);
      if (!line.empty()) line += ' ';
      if (out.isNull)
        line += "-";
      else if (out.type == MDX_TEXT || out.type == MDX_MEMO)
        line.append(out.text.data, out.text.length);
      else if (out.type == MDX_DOUBLE || out.type == MDX_FLOAT)
        line += std::to_string(static_cast<int64_t>(out.type == MDX_FLOAT ? out.f32 : out.f64));
      else
        line += std::to_string(integer(record, number));
    }
    return line;
  }
};

inline std::vector<unsigned char> packed(const MDArray* array) {
  void* bytes = nullptr;
  uint32_t length = 0;
  if (MDXArrayPack(array, &bytes, &length) != MDX_OK) return {};
  const auto* first = static_cast<unsigned char*>(bytes);
  std::vector<unsigned char> copy(first, first + length);
  MDXFree(bytes);
  return copy;
}

}  // namespace test

#endif
