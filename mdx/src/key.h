// One key of a table: which fields in which order, and the trees that hold the records.
#ifndef TLMMDX_SRC_KEY_H
#define TLMMDX_SRC_KEY_H

#include <TlmMdx/mdx.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "exact_index.h"
#include "key_tree.h"

namespace mdx {

// The text of a field's place inside a body.
inline std::string_view readText(int type, int size, const unsigned char* place) {
  const auto* text = reinterpret_cast<const char*>(place);
  if (type == MDX_TEXT) return {text, static_cast<size_t>(size - place[size])};
  if (place[0] & 1) return {text + 1, static_cast<size_t>(place[0] >> 1)};
  const char* block;
  std::memcpy(&block, place, sizeof block);
  uint32_t length;
  std::memcpy(&length, block, sizeof length);
  return {block + sizeof length, length};
}

// A field of a key, as far as its values matter.
struct Part {
  uint8_t number;
  uint8_t type;
  uint16_t size;
  uint32_t offset;

  bool isNull(const MDRData* record) const { return record->body[number >> 3] >> (number & 7) & 1; }
  std::string_view text(const MDRData* record) const { return readText(type, size, record->body + offset); }
  uint64_t code(const MDRData* record) const;  // of a number that is not null
};

// One value of a seek, brought into the field's domain.
struct SeekValue {
  enum Place { null, inside, belowAll, aboveAll } place = null;
  bool exact = true;  // false: an equal code is above the value
  uint64_t code = 0;
  std::string_view text;
};

constexpr int kMaxParts = 16;

// A run of entries of one leaf.
struct Span {
  MDRData* const* records = nullptr;
  const uint64_t* words = nullptr;  // the first words; the further ones of a text stand behind them
  const void* leaf = nullptr;       // null: past the end
  int index = 0, count = 0;
  uint32_t position = 0;  // of the entry at `index`
  bool nulls = false;     // the records here hold null
};

class Key {
 public:
  enum class Form {
    arrival,  // no fields
    number,   // one number, its code is the word
    text32,   // one fixed text of at most 32 bytes, its four words
    general   // the word is a prefix, records decide
  };

  Key(std::string_view expression, uint32_t flags, uint32_t kind);

  // Sets the fields, whenever they or their offsets changed.
  void bind(const std::vector<MDRField>& fields, const std::vector<int>& numbers);
  void rebind(const std::vector<MDRField>& fields);
  bool uses(int field) const;

  uint32_t size() const { return nulls_.size() + one_.size() + four_.size(); }
  size_t memory() const;
  Form form() const { return form_; }
  const std::vector<Part>& parts() const { return parts_; }
  bool ignoresCase() const { return ignoreCase_; }

  // ---- order (key.cpp)
  Span at(uint32_t position) const;
  // Where the values stand or would stand; `found` says which.
  Span seek(const MDRVar* values, bool& found) const;
  // The first record with the values, or null; where it stands is not asked for.
  MDRData* find(const MDRVar* values) const;
  // Whether find() tells such a value by its words alone: it is in the index of whole texts, or nowhere.
  bool knowsExactly(const MDRVar& value, Words<4>& words) const { return exact_ && exactWords(value, words); }
  MDRData* exactly(const Words<4>& words) const {
    return exact_->find(words, [this](const MDRData* record) { return wordsInFull(record); });
  }
  bool carries(const MDRData* record, const Words<4>& words) const {
    return !goesToNulls(record) && wordsInFull(record) == words;
  }
  // Of a key of one field: for each value the first record with it, or null.
  void seekMany(const MDRVar* values, int count, MDRData** out) const;
  // The run behind the one of `span`, from its first entry on.
  Span after(const Span& span) const;

  // An insert in three steps, so that all keys of a table wait for memory together.
  struct Plan {
    Path path;
    Probe<0> none;
    Probe<1> one;
    Probe<4> four;
    int tree = 0;  // 0, 1 or 4
  };
  // `last`: no record arrived later.
  void planInsert(MDRData* record, bool last, Plan& plan) const;
  void locateInsert(Plan& plan) const;
  // Between the two last steps: whether another record has the same values, and not null in the only field.
  bool holdsEqual(const Plan& plan) const;
  void finishInsert(MDRData* record, Plan& plan);
  void insert(MDRData* record, bool last);
  void erase(MDRData* record);
  void clear();
  void build(const std::vector<MDRData*>& inArrivalOrder);
  // From now on find() knows whole texts without the tree, until two records share one. False: no key for it.
  bool keepExact();
  // Brings the flags word into force; the key is empty, or is built anew right after.
  void takeFlags() { ignoreCase_ = flags & MDX_KEY_NOCASE; }
  void takeOrderOf(const Key& other) { ignoreCase_ = other.ignoreCase_; }

  // ---- comparison (key_order.cpp)
  int compare(const MDRData* a, const MDRData* b) const;
  int compare(const MDRData* entry, const SeekValue* values) const;

  const std::string expression;
  uint32_t flags;
  const uint32_t kind;
  // Identity and number of changes: what a thread remembers of a key is good while both are the same.
  const uint64_t id;
  uint64_t version = 0;

 private:
  SeekValue seekValue(const Part& part, const MDRVar& value) const;
  bool nullsApart() const { return parts_.size() == 1; }
  bool goesToNulls(const MDRData* record) const {
    return form_ == Form::arrival || (nullsApart() && parts_[0].isNull(record));
  }
  uint64_t prefixOf(const MDRData* record) const;
  uint64_t prefixOf(const SeekValue& value) const;
  // Bytes as one word in the order of the key; short texts are filled with zeros.
  uint64_t textWord(std::string_view text, size_t from, size_t bytes = 8) const;
  Words<4> textWords(std::string_view text) const {
    if (ignoreCase_ || text.size() != 32) return paddedWords(text);
    const auto word = [&](size_t from) {
      uint64_t bytes;
      std::memcpy(&bytes, text.data() + from, sizeof bytes);
      return __builtin_bswap64(bytes);
    };
    return {word(0), word(8), word(16), word(24)};
  }
  Words<4> paddedWords(std::string_view text) const;
  Words<1> wordOf(const MDRData* record) const;
  // Which words decide alone: not those that end in a zero, which may be text or filling.
  static bool decides(const Words<4>& words) { return words[3] & 0xff; }
  template <int W>
  void aim(Probe<W>& probe, const MDRData* record, Bound bound) const;
  // Aims at a value inside the field's domain. False: no entry can equal it.
  bool aimAt(Probe<1>& probe, const SeekValue& value) const;
  bool aimAt(Probe<4>& probe, const SeekValue& value) const;
  Span seekGeneral(const SeekValue* values, bool& found) const;
  template <int W>
  Span landed(const typename Tree<W>::Place& place, const Probe<W>& probe, bool canMatch, bool& found) const;
  template <int W>
  Span seekOne(const Tree<W>& tree, const SeekValue& value, bool& found) const;
  template <int W>
  void seekTogether(const Tree<W>& tree, const MDRVar* values, int many, MDRData** out) const;
  Words<4> wordsInFull(const MDRData* record) const { return textWords(parts_[0].text(record)); }
  // Notes the record, or gives the index up: it holds different texts only.
  void noteExact(const Words<4>& words, MDRData* record);
  void buildExact(const std::vector<MDRData*>& records);
  // The words of a value that the index knows if the key has it; false where only the tree can tell.
  bool exactWords(const MDRVar& value, Words<4>& words) const;
  void seekManyExact(const MDRVar* values, int many, MDRData** out) const;

  template <int W>
  void buildTree(Tree<W>& tree, const std::vector<MDRData*>& records);

  std::vector<Part> parts_;
  Form form_ = Form::arrival;
  bool ignoreCase_ = false;
  Tree<0> nulls_;  // null in the only field, or every record when there is no field
  Tree<1> one_;
  Tree<4> four_;
  std::unique_ptr<ExactIndex> exact_;  // of texts that their words decide
};

}  // namespace mdx

#endif
