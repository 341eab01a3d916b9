// From a key to the nodes that carry it.
#ifndef TLMMEAS_KEYINDEX_H
#define TLMMEAS_KEYINDEX_H

#include "RecordReader.h"

#include <cstddef>
#include <vector>

class myConfNode;

// Case is ignored, as the search by key ignores it. A node is known from when its row was put into the tree;
// nodes whose rows have no key are not listed.
class KeyIndex {
 public:
  explicit KeyIndex(const RecordReader& reader) : reader_(reader) {}

  // Takes in, or forgets, a node with all that stands below it. Forgetting reads no row.
  void add(myConfNode* node);
  void remove(myConfNode* node);
  void clear();

  // Calls `each(node)` for the nodes with that key, in no order. Nothing is allocated.
  template <typename Each>
  void forEach(const QString& key, Each each) const {
    if (slots_.empty()) return;
    const unsigned hash = TextTable::foldedHash(key);
    for (size_t at = hash & mask(); slots_[at].node; at = (at + 1) & mask()) {
      if (slots_[at].hash == hash && carries(*slots_[at].node, key)) each(slots_[at].node);
    }
  }

  int size() const { return size_; }

 private:
  // An open table: a look-up among a million nodes waits for memory once where chains would make it wait twice.
  struct Slot {
    myConfNode* node = nullptr;
    unsigned hash = 0;
  };

  size_t mask() const { return slots_.size() - 1; }
  bool carries(const myConfNode& node, const QString& key) const;
  void put(Slot slot);
  void take(const Slot& slot);
  void grow();

  const RecordReader& reader_;
  std::vector<Slot> slots_;  // a power of two, at most three quarters taken
  int size_ = 0;
};

#endif
