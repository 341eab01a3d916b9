// MDXParam*: replies and events, a record with a small table of its own.

#include <string>

#include "array.h"

MDXCliParam* MDXParamNew(int typeNumber, const uint8_t* types, int count) {
  if (count < 0 || count > mdx::kMaxFields || (count && !types)) return nullptr;
  MDXCliParam* record = nullptr;
  mdx::guarded([&] {
    auto array = std::make_unique<MDArray>();
    for (int i = 0; i < count; ++i) {
      // Texts of a reply have no size of their own.
      const int type = types[i] == MDX_TEXT ? int{MDX_MEMO} : types[i];
      if (const int code = array->addField("f" + std::to_string(i), type, 0); code < 0) return code;
    }
    record = array->newRecord();
    record->typeNumber = static_cast<uint16_t>(typeNumber);
    static_cast<void>(array.release());  // goes with the record, see MDXParamFree
    return int{MDX_OK};
  });
  return record;
}

void MDXParamFree(MDXCliParam* param) {
  if (param) MDADestroy(param->array);
}

const MDRField* MDXParamFld(const MDXCliParam* param, int position) {
  return param ? MDRFldByNum(param->array, position) : nullptr;
}
