// The table: fields, keys and the memory of its records.
#ifndef TLMMDX_SRC_ARRAY_H
#define TLMMDX_SRC_ARRAY_H

#include <TlmMdx/bulk.h>
#include <TlmMdx/mdx.h>

#include <cstring>
#include <memory>
#include <new>
#include <string_view>
#include <vector>

#include "convert.h"
#include "key.h"
#include "store.h"

namespace mdx {

enum RecordState : uint8_t { kNew = 0, kPosted = 1, kFreed = 2, kBound = 3, kRead = 4 };

constexpr int kMaxFields = 255;
constexpr int kMaxKeys = 64;

// A slot of the store: the record, its number in the order of arrival, and (as a rule) its body.
//
// Body: one bit a field for null, the same for changed marks, then the values without gaps. A fixed text
// takes its size and one byte more, which holds the free bytes and so ends a full text with a zero. A long
// text takes 8 bytes: a pointer to a TextBlock, or up to six characters in place.
constexpr size_t kSequenceOffset = sizeof(MDRData);
constexpr size_t kBodyOffset = kSequenceOffset + sizeof(uint32_t);

inline uint32_t& sequenceRef(MDRData* record) {
  return *reinterpret_cast<uint32_t*>(reinterpret_cast<char*>(record) + kSequenceOffset);
}

struct TextBlock {
  uint32_t length;
  char* bytes() { return reinterpret_cast<char*>(this + 1); }
};
constexpr uint32_t kLargestText = 0x7ffffff0;

// A value on its way into a record, checked and converted.
struct Staged {
  bool isNull = true;
  unsigned char number[8] = {};
  std::string_view text;
};

template <class Action>
int guarded(Action action) noexcept {
  try {
    return action();
  } catch (const std::bad_alloc&) {
    return MDX_E_MEMORY;
  } catch (...) {
    return MDX_E_ARG;
  }
}

}  // namespace mdx

struct MDArray {
  MDArray() { layOut(); }
  MDArray(const MDArray&) = delete;
  MDArray& operator=(const MDArray&) = delete;

  // ---- structure (array.cpp)
  int addField(std::string_view name, int type, int size);
  // Takes over the fields of another table.
  void copyFields(const MDArray& source);
  int addKey(std::string_view expression, uint32_t flags, uint32_t kind);
  void addArrivalKey();
  int deleteKey(int position);
  void reset();  // no fields, keys, records
  void clear();  // no records
  int findField(std::string_view name) const;
  // The number of a field of this table, or -1. Does not look into a field of another one.
  int numberOf(const MDRField* field) const {
    const auto offset = reinterpret_cast<uintptr_t>(field) - reinterpret_cast<uintptr_t>(fields.data());
    const auto number = offset / sizeof(MDRField);
    return number < fields.size() && number * sizeof(MDRField) == offset ? static_cast<int>(number) : -1;
  }
  mdx::Key* key(int position) const {
    return position >= 0 && static_cast<size_t>(position) < keys.size() ? keys[position].get() : nullptr;
  }
  size_t memory() const;

  // ---- records (array.cpp)
  MDRData* newRecord();
  // False, and the record is as it was: `unlessHeld`, and another one has the same values in the first key.
  bool postRecord(MDRData* record, bool unlessHeld = false);
  void deleteRecord(MDRData* record);
  // Checks and converts a value for a field; nothing is written yet.
  int stage(int number, const MDRVar& value, mdx::Staged& staged) const;
  // Writes it and keeps the keys right.
  void setValue(MDRData* record, int number, const mdx::Staged& staged);
  // Writes it without a look at keys.
  void store(MDRData* record, int number, const mdx::Staged& staged);
  void readValue(const MDRData* record, int number, MDRVar& out) const {
    const MDRField& field = fields[static_cast<size_t>(number)];
    out.type = field.type;
    out.isNull = isNull(record, number);
    out.i64 = 0;
    if (out.isNull) return;
    const unsigned char* place = record->body + field.offset;
    if (mdx::isText(field.type)) {
      const std::string_view text = mdx::readText(field.type, field.size, place);
      out.text.length = static_cast<uint32_t>(text.size());
      out.text.data = text.data();
    } else {
      mdx::loadNumber(field.type, place, out);
    }
  }
  bool isNull(const MDRData* record, int number) const { return record->body[number >> 3] >> (number & 7) & 1; }
  bool isMarked(const MDRData* record, int number) const {
    return record->body[markOffset + (number >> 3)] >> (number & 7) & 1;
  }
  void setMark(MDRData* record, int number, bool on) { setBit(record->body + markOffset, number, on); }
  static void setBit(unsigned char* bits, int number, bool on) {
    const auto mask = static_cast<unsigned char>(1u << (number & 7));
    bits[number >> 3] = static_cast<unsigned char>(on ? bits[number >> 3] | mask : bits[number >> 3] & ~mask);
  }
  void setPacked(MDRData* record, std::string_view bytes);
  void dropPacked(MDRData* record);

  // ---- many records at once (bulk.cpp)
  // A posted record that stands in no key yet, with a body of zeros; `indexAll` ends a run of these.
  MDRData* appendRecord();
  void indexAll(const std::vector<MDRData*>& inArrivalOrder);
  std::vector<MDRData*> recordsInArrivalOrder() const;
  void sortKey(mdx::Key& key);
  // Posts copies of posted records of one other table, and returns how many; when that throws, none is there.
  int addRows(MDRData* const* rows, int count, uint8_t change, bool unlessHeld);
  // What key.find() finds.
  MDRData* findNear(const mdx::Key& key, const MDRVar& value, MDXNear& near) const;
  // Stores the text of a field whose slot is empty.
  void putText(MDRData* record, const MDRField& field, std::string_view text);

  int count() const { return keys.empty() ? 0 : static_cast<int>(keys.front()->size()); }

  std::vector<MDRField> fields;
  std::vector<std::unique_ptr<mdx::Key>> keys;
  uint32_t bodySize = 0;
  uint32_t markOffset = 0;  // also the bytes of a row of bits

 private:
  void layOut();
  void noteKeys();
  void moveBodies(const std::vector<MDRField>& oldFields, uint32_t oldMarkOffset);
  MDRData* takeSlot(mdx::RecordState state);
  void dropText(MDRData* record, const MDRField& field);
  bool holds(const MDRData* record, int number, const mdx::Staged& staged) const;
  void setIndexed(MDRData* record, int number, const mdx::Staged& staged, uint64_t keyBits);
  bool insertInKeys(MDRData* record, bool unlessHeld);
  void forgetUnposted(MDRData* record);
  uint32_t nextSequence();
  MDRData* nextInMemory(const MDXNear& near) const;

  std::vector<MDRData*> unposted_;  // each knows its place here in its number of arrival
  std::vector<uint32_t> nameHashes_;
  std::vector<uint64_t> keysOfField_;
  mdx::Slab slots_;
  mdx::Slab bodies_;  // used once a field came to a table that had records
  bool bodiesApart_ = false;
  mdx::TextHeap texts_;
  uint32_t lastSequence_ = 0;
  uint32_t made_ = 0;  // records in the slots, posted or not
};

#endif
