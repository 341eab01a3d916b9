// A counted B+-tree over records: insert, erase, seek and access by position in O(log n).
#ifndef TLMMDX_SRC_KEY_TREE_H
#define TLMMDX_SRC_KEY_TREE_H

#include <algorithm>
#include <array>
#include <new>
#include <utility>
#include <vector>

#include "key_node.h"
#include "store.h"

namespace mdx {

constexpr int kMaxHeight = 16;
constexpr int kSeekTogether = 32;  // probes that are looked for at once
constexpr int kBulkFill = 60;      // entries of a node after a bulk build: a few inserts find room

// The way from the root to a place in a leaf. Nodes are those of one tree; `leaf` is null in an empty one.
struct Path {
  struct Step {
    void* node;
    int index;
  };
  std::array<Step, kMaxHeight> step;
  void* leaf = nullptr;
  int index = 0;
};

template <int W>
class Tree {
 public:
  using LeafNode = Leaf<W>;
  using InnerNode = Inner<W>;
  struct Place {
    const LeafNode* leaf = nullptr;  // null: past the end
    int index = 0;
    uint32_t position = 0;
    int count = 0;  // entries of the leaf
  };

  Tree() {
    leaves_.setSlotSize(sizeof(LeafNode));
    inners_.setSlotSize(sizeof(InnerNode));
  }
  Tree(const Tree&) = delete;
  Tree& operator=(const Tree&) = delete;

  uint32_t size() const { return size_; }
  size_t memory() const { return leaves_.memory() + inners_.memory(); }

  // The first entry that does not stand in front of the probe.
  Place find(const Probe<W>& probe) const {
    Place place;
    if (!root_) return place;
    const void* node = root_;
    for (int level = 0; level < height_; ++level) {
      const auto* inner = static_cast<const InnerNode*>(node);
      const int at = childFor(*inner, probe);
      place.position += inner->before[at];
      node = fetched(inner->child[at], level);
    }
    const auto* leaf = static_cast<const LeafNode*>(node);
    const int index = countBefore(*leaf, probe);
    place.position += static_cast<uint32_t>(index);
    return settle(leaf, index, place.position);
  }

  // The same for many probes, which wait for memory together. Each place's entry is asked for.
  void findTogether(const Probe<W>* probes, int many, Place* places) const {
    for (int i = 0; i < many; ++i) places[i] = {};
    if (!root_) return;
    std::array<const void*, kSeekTogether> nodes;
    nodes.fill(root_);
    for (int level = 0; level < height_; ++level) {
      for (int i = 0; i < many; ++i) {
        const auto* inner = static_cast<const InnerNode*>(nodes[i]);
        const int at = childFor(*inner, probes[i]);
        places[i].position += inner->before[at];
        nodes[i] = fetched(inner->child[at], level);
      }
    }
    for (int i = 0; i < many; ++i) {
      const auto* leaf = static_cast<const LeafNode*>(nodes[i]);
      const int index = countBefore(*leaf, probes[i]);
      places[i] = settle(leaf, index, places[i].position + static_cast<uint32_t>(index));
      if (places[i].leaf) places[i].leaf->fetchEntry(places[i].index);
    }
  }

  Place at(uint32_t position) const {
    if (position >= size_) return {nullptr, 0, size_, 0};
    const void* node = root_;
    uint32_t rest = position, count = size_;
    for (int level = 0; level < height_; ++level) {
      const auto* inner = static_cast<const InnerNode*>(node);
      const int at = childAt(*inner, rest);
      rest -= inner->before[at];
      count = inner->sizeOf(at);
      node = inner->child[at];
      if (level + 1 < height_) fetch(static_cast<const InnerNode*>(node)->before.data(), sizeof InnerNode::before);
    }
    return {static_cast<const LeafNode*>(node), static_cast<int>(rest), position, static_cast<int>(count)};
  }

  // An insert in three steps, each of which asks for the memory of the next one: so several trees wait for
  // memory at once. First: the way to the leaf.
  void descend(const Probe<W>& probe, Path& path) const {
    path.leaf = nullptr;
    if (!root_) return;
    if (probe.bound == Bound::upper && runPath_.leaf && endsInRun(probe)) return copyPath(runPath_, path);
    void* node = root_;
    for (int level = 0; level < height_; ++level) {
      auto* inner = static_cast<InnerNode*>(node);
      const int at = childFor(*inner, probe);
      path.step[level] = {inner, at};
      node = fetched(inner->child[at], level);
      if (level + 1 < height_) fetch(static_cast<const InnerNode*>(node)->before.data(), sizeof InnerNode::before);
    }
    path.leaf = node;
  }

  // Second: the place in the leaf.
  void locate(const Probe<W>& probe, Path& path) const {
    if (!path.leaf) return;
    const auto* leaf = static_cast<const LeafNode*>(path.leaf);
    path.index = countBefore(*leaf, probe);
    leaf->fetchMoved(path.index);
  }

  // Whether the entry in front of the place equals the probe, which is bound to stand behind its equals.
  bool equalsBefore(const Probe<W>& probe, const Path& path) const {
    const auto* leaf = static_cast<const LeafNode*>(path.leaf);
    if (!leaf || path.index == 0 || leaf->wordsAt(path.index - 1) != probe.words) return false;
    return probe.wordsDecide || probe.tie.compare(leaf->record[path.index - 1]) == 0;
  }

  // Third: `path` comes from the other two, with the same probe and no change in between.
  void insert(Path& path, const Probe<W>& probe, MDRData* record) {
    if (!root_) {
      root_ = path.leaf = makeLeaf();
      path.index = 0;
    }
    moveToNext(path);
    auto* leaf = static_cast<LeafNode*>(path.leaf);
    LeafNode* right = leaf->count == kFan ? makeLeaf() : nullptr;
    ++size_;
    for (int level = 0; level < height_; ++level) innerAt(path, level)->change(path.step[level].index, 1);
    if (!right) {
      if (leaf == runLeaf_ && leaf != runPath_.leaf) copyPath(path, runPath_);
      insertInLeaf(path, leaf, path.index, probe.words, record);
      return;
    }
    runPath_.leaf = nullptr;
    splitLeaf(leaf, right, path.index);
    if (path.index <= leaf->count && leaf->count < kFan)
      insertInLeaf(path, leaf, path.index, probe.words, record);
    else
      insertHere(right, path.index - leaf->count, probe.words, record);
    addSibling(path, height_ - 1, static_cast<uint32_t>(leaf->count), right->wordsAt(0), right->record[0], right);
  }

  // Removes the entry of a record. `probe` is bound to its arrival. False: it is not there.
  bool erase(const Probe<W>& probe, const MDRData* record) {
    Path path;
    descend(probe, path);
    auto* leaf = static_cast<LeafNode*>(path.leaf);
    if (!leaf) return false;
    path.index = countBefore(*leaf, probe) - 1;
    if (path.index < 0 || leaf->record[path.index] != record) return false;
    --size_;
    runPath_.leaf = nullptr;
    for (int level = 0; level < height_; ++level) innerAt(path, level)->change(path.step[level].index, UINT32_MAX);
    leaf->erase(path.index);
    if (leaf->count == 0) {
      unlink(leaf);
      removeChild(path, height_ - 1);
      return true;
    }
    if (path.index == 0) renameFirst(path, height_ - 1, leaf->wordsAt(0), leaf->record[0]);
    if (leaf->count < kFan / 4) mergeLeaf(path, leaf);
    return true;
  }

  // Fills an empty tree. `entry(i)` gives words and record number i, in order.
  template <class Entry>
  void build(uint32_t count, Entry entry) {
    clear();
    std::vector<Built> level;
    level.reserve(count / kBulkFill + 1);
    LeafNode* last = nullptr;
    for (uint32_t i = 0; i < count; ++i) {
      if (!last || last->count == kBulkFill) {
        LeafNode* leaf = makeLeaf();
        link(last, leaf);
        last = leaf;
        level.push_back({leaf, 0});
        if (!root_) root_ = leaf;
      }
      const auto [words, record] = entry(i);
      last->set(last->count++, words, record);
      ++level.back().total;
    }
    size_ = count;
    while (level.size() > 1) raise(level);
    if (!level.empty()) root_ = level.front().node;
  }

  void clear() {
    leaves_.clear();
    inners_.clear();
    root_ = nullptr;
    runPath_.leaf = nullptr;
    height_ = 0;
    size_ = 0;
  }

 private:
  struct Built {
    void* node;
    uint32_t total;
  };

  static InnerNode* innerAt(const Path& path, int level) { return static_cast<InnerNode*>(path.step[level].node); }

  LeafNode* makeLeaf() { return new (leaves_.take()) LeafNode; }
  InnerNode* makeInner() { return new (inners_.take()) InnerNode; }
  void drop(LeafNode* leaf) { leaves_.give(leaf); }
  void drop(InnerNode* inner) { inners_.give(inner); }

  void copyPath(const Path& from, Path& to) const {
    std::copy_n(from.step.begin(), height_, to.step.begin());
    to.leaf = from.leaf;
  }
  // Whether a probe that is bound to stand behind its equals belongs inside the leaf of the run, or at its end.
  bool endsInRun(const Probe<W>& probe) const {
    const auto* leaf = static_cast<const LeafNode*>(runPath_.leaf);
    const Words<W> first = leaf->wordsAt(0);
    if (probe.words < first || (!probe.wordsDecide && probe.words == first)) return false;
    if (!leaf->next) return true;
    const auto& [node, at] = runPath_.step[height_ - 1];
    const auto* inner = static_cast<const InnerNode*>(node);
    return at + 1 < inner->count && probe.words < inner->wordsAt(at + 1);
  }

  static int childFor(const InnerNode& inner, const Probe<W>& probe) {
    const int before = countBefore(inner, probe);
    return before ? before - 1 : 0;
  }
  static int childAt(const InnerNode& inner, uint32_t position) {
    const uint32_t* base = inner.before.data();
    int count = inner.count;
    while (count > 1) {
      const int half = count / 2;
      base += (base[half] <= position) * half;
      count -= half;
    }
    return static_cast<int>(base - inner.before.data());
  }
  static Place settle(const LeafNode* leaf, int index, uint32_t position) {
    if (index < leaf->count) return {leaf, index, position, leaf->count};
    leaf = leaf->next;
    return {leaf, 0, position, leaf ? leaf->count : 0};
  }
  // A child of a node at `level`, its memory asked for.
  template <class Pointer>
  Pointer fetched(Pointer child, int level) const {
    if (level + 1 < height_)
      static_cast<const InnerNode*>(child)->fetchSearched();
    else
      static_cast<const LeafNode*>(child)->fetchSearched();
    return child;
  }

  static void link(LeafNode* left, LeafNode* leaf) {
    if (!left) return;
    leaf->next = left->next;
    leaf->previous = left;
    if (left->next) left->next->previous = leaf;
    left->next = leaf;
  }
  void unlink(LeafNode* leaf) {
    if (leaf->previous) leaf->previous->next = leaf->next;
    if (leaf->next) leaf->next->previous = leaf->previous;
    drop(leaf);
  }

  // Behind a full leaf is also in front of the next one: a run goes on there instead of in a new leaf.
  void moveToNext(Path& path) const {
    const auto* leaf = static_cast<const LeafNode*>(path.leaf);
    if (path.index < kFan || height_ == 0) return;
    auto& [node, at] = path.step[height_ - 1];
    if (at + 1 == static_cast<InnerNode*>(node)->count || leaf->next->count == kFan) return;
    ++at;
    path.leaf = leaf->next;
    path.index = 0;
  }
  void insertHere(LeafNode* leaf, int index, const Words<W>& words, MDRData* record) {
    leaf->insert(index, words, record);
    runLeaf_ = leaf;
    runNext_ = index + 1;
  }
  void insertInLeaf(const Path& path, LeafNode* leaf, int index, const Words<W>& words, MDRData* record) {
    insertHere(leaf, index, words, record);
    if (index == 0) renameFirst(path, height_ - 1, words, record);
  }
  // The inner nodes repeat the first entry below them.
  void renameFirst(const Path& path, int level, const Words<W>& words, MDRData* record) {
    for (; level >= 0; --level) {
      innerAt(path, level)->set(path.step[level].index, words, record);
      if (path.step[level].index) return;
    }
  }

  // Records that come in order leave full leaves behind: the split goes where they arrive.
  void splitLeaf(LeafNode* leaf, LeafNode* right, int index) const {
    const bool inOrder = index == kFan || (leaf == runLeaf_ && index == runNext_);
    leaf->moveTail(inOrder ? index : kFan / 2, *right);
    link(leaf, right);
  }

  // Puts a new node behind the child of the path at `level`, whose own records number `leftSize`.
  void addSibling(Path& path, int level, uint32_t leftSize, const Words<W>& words, MDRData* record, void* node) {
    for (;; --level) {
      if (level < 0) return raiseRoot(leftSize, words, record, node);
      auto* inner = innerAt(path, level);
      const int at = path.step[level].index + 1;
      const uint32_t recordsBefore = inner->before[at - 1] + leftSize;
      if (inner->count < kFan) return inner->insertChild(at, words, record, node, recordsBefore);
      InnerNode* right = makeInner();
      const int half = at == kFan ? kFan - 1 : kFan / 2;
      const uint32_t offset = inner->before[half];
      inner->moveChildren(half, *right);
      if (at <= half)
        inner->insertChild(at, words, record, node, recordsBefore);
      else
        right->insertChild(at - half, words, record, node, recordsBefore - offset);
      return addSibling(path, level - 1, inner->total, right->wordsAt(0), right->record[0], right);
    }
  }
  void raiseRoot(uint32_t leftSize, const Words<W>& words, MDRData* record, void* node) {
    InnerNode* root = makeInner();
    Words<W> first;
    MDRData* firstRecord;
    if (height_ == 0) {
      first = static_cast<LeafNode*>(root_)->wordsAt(0);
      firstRecord = static_cast<LeafNode*>(root_)->record[0];
    } else {
      first = static_cast<InnerNode*>(root_)->wordsAt(0);
      firstRecord = static_cast<InnerNode*>(root_)->record[0];
    }
    root->insertChild(0, first, firstRecord, root_, 0);
    root->insertChild(1, words, record, node, leftSize);
    root->total = size_;
    root_ = root;
    ++height_;
  }

  // Takes out the child of the path at `level`, which has been freed.
  void removeChild(const Path& path, int level) {
    if (level < 0) {
      root_ = nullptr;
      height_ = 0;
      return;
    }
    auto* inner = innerAt(path, level);
    const int at = path.step[level].index;
    inner->eraseChild(at);
    if (inner->count == 0) {
      drop(inner);
      removeChild(path, level - 1);
      return;
    }
    if (at == 0) renameFirst(path, level - 1, inner->wordsAt(0), inner->record[0]);
    mergeInner(path, level);
  }

  void mergeLeaf(const Path& path, LeafNode* leaf) {
    const int level = height_ - 1;
    if (level < 0) return;
    auto* parent = innerAt(path, level);
    int at = path.step[level].index;
    if (at + 1 == parent->count) --at;
    if (at < 0 || at + 1 >= parent->count) return;
    auto* left = at == path.step[level].index ? leaf : static_cast<LeafNode*>(parent->child[at]);
    auto* right = static_cast<LeafNode*>(parent->child[at + 1]);
    if (left->count + right->count > kFan * 3 / 4) return;
    right->moveTail(0, *left);
    unlink(right);
    parent->eraseChild(at + 1);
    mergeInner(path, level);
  }

  // Joins a sparse inner node with its neighbour, and drops a root with a single child.
  void mergeInner(const Path& path, int level) {
    auto* inner = innerAt(path, level);
    if (level == 0) return lowerRoot();
    if (inner->count >= kFan / 4) return;
    auto* parent = innerAt(path, level - 1);
    int at = path.step[level - 1].index;
    if (at + 1 == parent->count) --at;
    if (at < 0 || at + 1 >= parent->count) return;
    auto* left = static_cast<InnerNode*>(parent->child[at]);
    auto* right = static_cast<InnerNode*>(parent->child[at + 1]);
    if (left->count + right->count > kFan * 3 / 4) return;
    right->moveChildren(0, *left);
    drop(right);
    parent->eraseChild(at + 1);
    mergeInner(path, level - 1);
  }
  void lowerRoot() {
    while (height_ > 0) {
      auto* root = static_cast<InnerNode*>(root_);
      if (root->count > 1) return;
      root_ = root->child[0];
      --height_;
      drop(root);
    }
  }

  // One more level above those built so far.
  void raise(std::vector<Built>& level) {
    std::vector<Built> above;
    for (const Built& below : level) {
      if (above.empty() || static_cast<InnerNode*>(above.back().node)->count == kBulkFill)
        above.push_back({makeInner(), 0});
      auto* inner = static_cast<InnerNode*>(above.back().node);
      Words<W> words;
      MDRData* record;
      if (height_ == 0) {
        words = static_cast<LeafNode*>(below.node)->wordsAt(0);
        record = static_cast<LeafNode*>(below.node)->record[0];
      } else {
        words = static_cast<InnerNode*>(below.node)->wordsAt(0);
        record = static_cast<InnerNode*>(below.node)->record[0];
      }
      inner->insertChild(inner->count, words, record, below.node, inner->total);
      inner->total = above.back().total += below.total;
    }
    ++height_;
    level = std::move(above);
  }

  void* root_ = nullptr;
  int height_ = 0;
  uint32_t size_ = 0;
  Slab leaves_, inners_;
  // Where the last insert went: one behind it is the next of a run.
  const LeafNode* runLeaf_ = nullptr;
  Path runPath_;  // to a leaf that took two records in a row, until the shape changes
  int runNext_ = 0;
};

}  // namespace mdx

#endif
