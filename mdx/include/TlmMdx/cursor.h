// A walk over the records of one key, for loops that must be cheap.
//
//   mdx::Cursor cursor;
//   for (cursor.seek(table, 3, &unit); cursor.valid(); cursor.next()) use(cursor.record());
//
// Any number of cursors may walk a table that nobody changes, in any number of threads. After a change
// of the table a cursor must be placed again before anything else.
#ifndef TLMMDX_CURSOR_H
#define TLMMDX_CURSOR_H

#include <TlmMdx/mdx.h>

#include <cstring>

namespace mdx {

class Cursor {
 public:
  // Goes to the first record with that value and returns true, or to where it would stand.
  bool seek(const MDArray* array, int key, const MDRVar* values) {
    return MDXCurSeek(&cursor_, array, key, values) == 1;
  }
  // Goes to a position. False: past the end.
  bool place(const MDArray* array, int key, int position) { return MDXCurAt(&cursor_, array, key, position) == 1; }

  bool valid() const { return cursor_.records; }
  // The record at hand; the cursor must be valid.
  MDRData* record() const { return cursor_.records[cursor_.index]; }
  // Number of records in front; past the end the number of all, or what seek found to be lower.
  int position() const { return cursor_.position; }

  // Goes on by one. False: past the end.
  bool next() {
    if (++cursor_.index < cursor_.count) {
      ++cursor_.position;
      return true;
    }
    return MDXCurNextRun(&cursor_) == 1;
  }

  // Asks for the memory of a record some steps on, for loops that look into each record.
  void fetchAhead() const {
    constexpr int kSteps = 8;
    if (cursor_.index + kSteps >= cursor_.count) return;
    const auto* record = reinterpret_cast<const char*>(cursor_.records[cursor_.index + kSteps]);
    __builtin_prefetch(record);
    __builtin_prefetch(record + 64);
    asm volatile("" : : "r"(record));  // or the compiler takes the call for one without effect, and leaves it out
  }

  // What the key tells about the record at hand: MDX_CURSOR_*. With MDX_CURSOR_OTHER read the record.
  int form() const { return cursor_.form; }
  // With MDX_CURSOR_INT.
  int64_t integer() const { return static_cast<int64_t>(word() ^ (uint64_t{1} << 63)); }
  // With MDX_CURSOR_DOUBLE.
  double number() const {
    const uint64_t code = word();
    const uint64_t bits = code >> 63 ? code & ~(uint64_t{1} << 63) : ~code;
    double value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
  }
  // With MDX_CURSOR_TEXT: 32 bytes, filled up with zeros.
  void text(char out[32]) const {
    // The further words stand behind the first ones of the whole run, three for each record.
    const uint64_t* further = cursor_.words + MDX_CURSOR_STRIDE + 3 * static_cast<size_t>(cursor_.index);
    for (int w = 0; w < 4; ++w) {
      const uint64_t bytes = __builtin_bswap64(w == 0 ? word() : further[w - 1]);
      std::memcpy(out + 8 * w, &bytes, sizeof bytes);
    }
  }

 private:
  uint64_t word() const { return cursor_.words[cursor_.index]; }

  MDXCursor cursor_{};
};

}  // namespace mdx

#endif
