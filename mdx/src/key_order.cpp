// How keys compare: the words that stand in the trees, and the full comparison behind them.

#include "array.h"
#include "fold.h"
#include "key.h"

namespace mdx {
namespace {

constexpr uint64_t kTopBit = uint64_t{1} << 63;
constexpr uint64_t kTextMark = uint64_t{1} << 56;  // above null, below which only null is

int sign(uint64_t a, uint64_t b) { return a < b ? -1 : a > b; }

}  // namespace

uint32_t sequenceOf(const MDRData* record) { return sequenceRef(const_cast<MDRData*>(record)); }

int Tie::compare(const MDRData* entry) const {
  return record ? key->compare(entry, record) : key->compare(entry, values);
}

uint64_t Part::code(const MDRData* record) const {
  MDRVar value;
  loadNumber(type, record->body + offset, value);
  switch (type) {
    case MDX_BOOL:
      return codeOfInt(value.flag);
    case MDX_INT32:
      return codeOfInt(value.i32);
    case MDX_INT64:
      return codeOfInt(value.i64);
    case MDX_FLOAT:
      return codeOfDouble(value.f32);
    default:
      return codeOfDouble(value.f64);
  }
}

SeekValue Key::seekValue(const Part& part, const MDRVar& value) const {
  SeekValue result;
  if (isNullValue(value)) return result;
  // Of values that do not suit the field, numbers are lower than texts.
  if (isText(part.type) != isText(value.type)) {
    result.place = isText(part.type) ? SeekValue::belowAll : SeekValue::aboveAll;
    return result;
  }
  result.place = SeekValue::inside;
  if (isText(part.type)) {
    result.text = textOf(value);
  } else {
    const CodeBound bound = codeBound(part.type, value);
    result.code = bound.code;
    result.exact = bound.exact;
    if (!bound.exact && bound.code == UINT64_MAX) result.place = SeekValue::aboveAll;
  }
  return result;
}

uint64_t Key::textWord(std::string_view text, size_t from, size_t bytes) const {
  uint64_t word = 0;
  if (bytes == 8 && !ignoreCase_ && from + 8 <= text.size()) {
    std::memcpy(&word, text.data() + from, 8);
    return __builtin_bswap64(word);
  }
  for (size_t i = from; i < from + bytes; ++i) {
    const unsigned char c = i >= text.size() ? 0 : ignoreCase_ ? lower(text[i]) : static_cast<unsigned char>(text[i]);
    word = word << 8 | c;
  }
  return word;
}

Words<4> Key::paddedWords(std::string_view text) const {
  return {textWord(text, 0), textWord(text, 8), textWord(text, 16), textWord(text, 24)};
}

uint64_t Key::prefixOf(const MDRData* record) const {
  const Part& part = parts_[0];
  if (nullsApart()) return textWord(part.text(record), 0);
  if (part.isNull(record)) return 0;
  if (isText(part.type)) return kTextMark | textWord(part.text(record), 0, 7);
  return kTopBit | part.code(record) >> 1;
}

uint64_t Key::prefixOf(const SeekValue& value) const {
  const Part& part = parts_[0];
  if (value.place == SeekValue::aboveAll) return UINT64_MAX;
  if (nullsApart()) return textWord(value.text, 0);
  if (value.place == SeekValue::null) return 0;
  if (isText(part.type)) return kTextMark | textWord(value.text, 0, 7);
  return kTopBit | value.code >> 1;
}

Words<1> Key::wordOf(const MDRData* record) const {
  return {form_ == Form::number ? parts_[0].code(record) : prefixOf(record)};
}

int Key::compare(const MDRData* a, const MDRData* b) const {
  for (const Part& part : parts_) {
    const bool aNull = part.isNull(a), bNull = part.isNull(b);
    if (aNull != bNull) return aNull ? -1 : 1;
    if (aNull) continue;
    const int order =
        isText(part.type) ? compareText(part.text(a), part.text(b), ignoreCase_) : sign(part.code(a), part.code(b));
    if (order) return order;
  }
  return 0;
}

int Key::compare(const MDRData* entry, const SeekValue* values) const {
  for (const Part& part : parts_) {
    const SeekValue& value = *values++;
    const bool isNull = part.isNull(entry), seeksNull = value.place == SeekValue::null;
    if (isNull != seeksNull) return isNull ? -1 : 1;
    if (isNull) continue;
    if (value.place != SeekValue::inside) return value.place == SeekValue::belowAll ? 1 : -1;
    int order;
    if (isText(part.type)) {
      order = compareText(part.text(entry), value.text, ignoreCase_);
    } else {
      order = sign(part.code(entry), value.code);
      if (order == 0 && !value.exact) order = 1;
    }
    if (order) return order;
  }
  return 0;
}

}  // namespace mdx
