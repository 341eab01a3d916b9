// MDXCur*: walks over one key.

#include <type_traits>

#include "array.h"

namespace {

// What TlmMdx/cursor.h knows of a leaf: behind the first words stand the further ones, by threes.
static_assert(MDX_CURSOR_STRIDE == mdx::kFan);
static_assert(sizeof(mdx::FirstWords<4>) == MDX_CURSOR_STRIDE * sizeof(uint64_t));
static_assert(sizeof(mdx::FurtherWords<4>) == 3 * MDX_CURSOR_STRIDE * sizeof(uint64_t));
static_assert(std::is_base_of_v<mdx::FurtherWords<4>, mdx::Leaf<4>>);

uint8_t formOf(const mdx::Key& key, const mdx::Span& span) {
  if (span.nulls) return MDX_CURSOR_NULL;
  if (key.form() == mdx::Key::Form::text32) return key.ignoresCase() ? MDX_CURSOR_OTHER : MDX_CURSOR_TEXT;
  if (key.form() != mdx::Key::Form::number) return MDX_CURSOR_OTHER;
  const int type = key.parts()[0].type;
  return type == MDX_FLOAT || type == MDX_DOUBLE ? MDX_CURSOR_DOUBLE : MDX_CURSOR_INT;
}

int settle(MDXCursor& cursor, const mdx::Key& key, const mdx::Span& span) {
  cursor.position = static_cast<int32_t>(span.position);
  if (!span.leaf) {
    cursor.records = nullptr;
    cursor.words = nullptr;
    cursor.index = cursor.count = 0;
    return 0;
  }
  cursor.records = span.records;
  cursor.words = span.words;
  cursor.index = span.index;
  cursor.count = span.count;
  cursor.form = formOf(key, span);
  return 1;
}

// Starts a cursor over a key, or returns null.
const mdx::Key* start(MDXCursor* cursor, const MDArray* array, int key) {
  if (!cursor) return nullptr;
  *cursor = MDXCursor{};
  cursor->array = array;
  cursor->key = key;
  return array ? array->key(key) : nullptr;
}

}  // namespace

int MDXCurSeek(MDXCursor* cursor, const MDArray* array, int key, const MDRVar* values) {
  const mdx::Key* order = start(cursor, array, key);
  if (!order || !values) return cursor && array ? MDX_E_KEY : MDX_E_ARG;
  bool found;
  settle(*cursor, *order, order->seek(values, found));
  return found;
}

int MDXCurAt(MDXCursor* cursor, const MDArray* array, int key, int position) {
  const mdx::Key* order = start(cursor, array, key);
  if (!order || position < 0) return cursor && array ? MDX_E_KEY : MDX_E_ARG;
  return settle(*cursor, *order, order->at(static_cast<uint32_t>(position)));
}

int MDXCurNextRun(MDXCursor* cursor) {
  if (!cursor || !cursor->array) return MDX_E_ARG;
  const mdx::Key* order = cursor->array->key(cursor->key);
  if (!order || !cursor->records) return 0;
  // `index` may be one past the run already: the run's own beginning counts.
  const int32_t first = cursor->position - (cursor->index < cursor->count ? cursor->index : cursor->count - 1);
  return settle(*cursor, *order, order->at(static_cast<uint32_t>(first + cursor->count)));
}
