// A table of places by whole text, beside the tree of a key whose texts are all different: one look at memory for
// a slot and one for the record, where the tree takes several.
#ifndef TLMMDX_SRC_EXACT_INDEX_H
#define TLMMDX_SRC_EXACT_INDEX_H

#include <TlmMdx/mdx.h>

#include <vector>

#include "key_node.h"
#include "store.h"

namespace mdx {

// Open addressing with linear probing; at most two thirds full. The words are those of the key, and `wordsOf(record)`
// gives a record's.
class ExactIndex {
 public:
  size_t memory() const { return sizeof *this + slots_.capacity() * sizeof(Slot); }

  void reserve(size_t records) {
    size_t size = kSmallest;
    while (size * 2 / 3 < records) size *= 2;
    if (size > slots_.size()) moveTo(size);
  }

  void fetchSlot(const Words<4>& words) const {
    if (!slots_.empty()) fetch(&slots_[home(hashOf(words))], sizeof(Slot));
  }

  // Asks for the record that seems to have these words.
  void fetchRecord(const Words<4>& words) const {
    const uint64_t hash = hashOf(words);
    if (slots_.empty()) return;
    for (size_t at = home(hash); slots_[at].record; at = next(at)) {
      if (slots_[at].hash == hash) return fetch(slots_[at].record, 3 * kLine);  // it may begin within a line
    }
  }

  template <class WordsOf>
  MDRData* find(const Words<4>& words, WordsOf wordsOf) const {
    if (slots_.empty()) return nullptr;
    const uint64_t hash = hashOf(words);
    for (size_t at = home(hash); slots_[at].record; at = next(at)) {
      if (slots_[at].hash == hash && wordsOf(slots_[at].record) == words) return slots_[at].record;
    }
    return nullptr;
  }

  // The words are in no other record's place.
  void insert(const Words<4>& words, MDRData* record) {
    reserve(size_ + 1);
    put(hashOf(words), record);
    ++size_;
  }

  void erase(const Words<4>& words, const MDRData* record) {
    if (slots_.empty()) return;
    size_t at = home(hashOf(words));
    while (slots_[at].record && slots_[at].record != record) at = next(at);
    if (!slots_[at].record) return;
    --size_;
    // Whoever stands behind the gap and could stand in it moves up.
    for (size_t from = next(at); slots_[from].record; from = next(from)) {
      const size_t wanted = home(slots_[from].hash);
      if (((from - wanted) & mask()) < ((from - at) & mask())) continue;
      slots_[at] = slots_[from];
      at = from;
    }
    slots_[at] = {};
  }

  void clear() {
    slots_.clear();
    slots_.shrink_to_fit();
    size_ = 0;
  }

 private:
  struct Slot {
    uint64_t hash = 0;
    MDRData* record = nullptr;
  };
  using Slots = std::vector<Slot, LargePages<Slot>>;
  static constexpr size_t kSmallest = 16;

  static uint64_t hashOf(const Words<4>& words) {
    uint64_t hash = 0;
    for (const uint64_t word : words) hash = (hash ^ word) * 0x9e3779b97f4a7c15u + (hash >> 29);
    return hash ^ hash >> 32;
  }
  size_t mask() const { return slots_.size() - 1; }
  size_t home(uint64_t hash) const { return hash & mask(); }
  size_t next(size_t at) const { return (at + 1) & mask(); }

  void put(uint64_t hash, MDRData* record) {
    size_t at = home(hash);
    while (slots_[at].record) at = next(at);
    slots_[at] = {hash, record};
  }
  void moveTo(size_t size) {
    Slots old(size);
    old.swap(slots_);
    for (const Slot& slot : old)
      if (slot.record) put(slot.hash, slot.record);
  }

  Slots slots_;
  size_t size_ = 0;
};

}  // namespace mdx

#endif
