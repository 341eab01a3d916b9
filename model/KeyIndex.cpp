#include "KeyIndex.h"

#include "RecordAccess.h"
#include "myConfNode.h"

#include <TlmMdx/bulk.h>

#include <algorithm>
#include <utility>

namespace {

void fetchKey(const myConfNode* node) {
  if (node && node->table && node->record) MDXRecFetch(MDRFldByNum(node->table->array, 0), node->record);
}

}  // namespace

void KeyIndex::add(myConfNode* node) {
  if (!node) return;
  if (node->keyHash_ == 0) {
    const MDRVar key = reader_.value(*node, NodeField::Key);
    if (isText(key) && key.text.length > 0) {
      node->keyHash_ = reader_.texts().foldedHash(key);
      if (slots_.size() * 3 <= static_cast<size_t>(size_) * 4) grow();
      put({node, node->keyHash_});
      ++size_;
    }
  }
  const auto& children = node->children;
  for (size_t i = 0; i < children.size(); ++i) {
    constexpr size_t kAhead = 8;  // rows lie where they were read, not in the order of the tree
    if (i + kAhead < children.size()) fetchKey(children[i + kAhead]);
    add(children[i]);
  }
}

void KeyIndex::remove(myConfNode* node) {
  if (!node) return;
  if (node->keyHash_ != 0) take({node, node->keyHash_});
  node->keyHash_ = 0;
  for (myConfNode* child : node->children) remove(child);
}

void KeyIndex::clear() {
  slots_.clear();
  size_ = 0;
}

// Among a million nodes each of these waits for memory. Whoever finds a node asks for its place among its
// siblings next, so that is called in while the row is on its way.
bool KeyIndex::carries(const myConfNode& node, const QString& key) const {
  __builtin_prefetch(node.record);
  __builtin_prefetch(reinterpret_cast<const char*>(node.record) + 64);  // where the key begins, as a rule
  if (const myConfNode* parent = node.parent) __builtin_prefetch(parent->children.data() + node.rowHint_);
  return reader_.texts().equalsFolded(reader_.value(node, NodeField::Key), key);
}

void KeyIndex::put(Slot slot) {
  size_t at = slot.hash & mask();
  while (slots_[at].node) at = (at + 1) & mask();
  slots_[at] = slot;
}

// Moves up what the gap would cut off from the place where its look-up begins.
void KeyIndex::take(const Slot& slot) {
  if (slots_.empty()) return;
  size_t gap = slot.hash & mask();
  while (slots_[gap].node && slots_[gap].node != slot.node) gap = (gap + 1) & mask();
  if (!slots_[gap].node) return;
  for (size_t at = (gap + 1) & mask(); slots_[at].node; at = (at + 1) & mask()) {
    const size_t fromHome = (at - slots_[at].hash) & mask();
    if (fromHome < ((at - gap) & mask())) continue;
    slots_[gap] = slots_[at];
    gap = at;
  }
  slots_[gap] = {};
  --size_;
}

void KeyIndex::grow() {
  constexpr size_t kFewest = 1024;
  std::vector<Slot> old = std::exchange(slots_, std::vector<Slot>(std::max(kFewest, slots_.size() * 2)));
  for (const Slot& slot : old) {
    if (slot.node) put(slot);
  }
}
