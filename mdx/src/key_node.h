// Nodes of a counted B+-tree and the search inside one node.
//
// An entry is W words of key and the record. Words compare as unsigned integers, the first one decides
// first; each stands in an array of its own, so a search touches few cache lines. Where words do not
// decide, a Tie compares records in full.
#ifndef TLMMDX_SRC_KEY_NODE_H
#define TLMMDX_SRC_KEY_NODE_H

#include <TlmMdx/mdx.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

namespace mdx {

constexpr int kFan = 64;  // entries of a node

template <int W>
using Words = std::array<uint64_t, W>;

class Key;
struct SeekValue;

// Compares an entry's record with what is looked for, beyond the words of the key.
struct Tie {
  const Key* key = nullptr;
  const MDRData* record = nullptr;          // either a record ...
  const SeekValue* values = nullptr;        // ... or the values of a seek
  int compare(const MDRData* entry) const;  // below 0: the entry is lower
};

uint32_t sequenceOf(const MDRData* record);

enum class Bound {
  lower,   // in front of equal keys
  upper,   // behind equal keys
  arrival  // behind the equal keys that arrived no later
};

template <int W>
struct Probe {
  Words<W> words{};
  Bound bound = Bound::lower;
  bool wordsDecide = true;  // equal words are equal keys
  uint32_t sequence = 0;    // for Bound::arrival
  Tie tie;                  // unless wordsDecide
};

// Branchless binary searches: the number of entries in [low, high) that are lower, added to low.
inline int lowerWord(const uint64_t* words, int low, int high, uint64_t wanted) {
  const uint64_t* base = words + low;
  int count = high - low;
  while (count > 1) {
    const int half = count / 2;
    base += (base[half - 1] < wanted) * half;
    count -= half;
  }
  return static_cast<int>(base - words) + (count == 1 && *base < wanted);
}

inline int upperWord(const uint64_t* words, int low, int high, uint64_t wanted) {
  return wanted == UINT64_MAX ? high : lowerWord(words, low, high, wanted + 1);
}

constexpr size_t kLine = 64;

// Asks for a run of cache lines ahead of their use.
inline void fetch(const void* from, size_t bytes) {
  const char* at = static_cast<const char*>(from);
  for (size_t offset = 0; offset < bytes; offset += kLine) __builtin_prefetch(at + offset);
}

// The columns begin at cache lines. The unused places of the first one hold the largest word, so that it
// is searched whole, in a fixed number of steps.
template <int W>
struct Entries {
  static constexpr uint64_t kUnused = UINT64_MAX;

  alignas(kLine) std::array<std::array<uint64_t, kFan>, W> word;
  std::array<MDRData*, kFan> record;
  int count = 0;

  Entries() {
    if constexpr (W > 0) word[0].fill(kUnused);
  }

  // What a search needs first.
  void fetchSearched() const {
    if constexpr (W > 0) fetch(word[0].data(), sizeof word[0]);
    fetch(&count, 1);
  }
  // What an insert at a place moves.
  void fetchMoved(int at) const {
    const size_t bytes = static_cast<size_t>(count - at + 1) * 8;
    for (int w = 1; w < W; ++w) fetch(word[w].data() + at, bytes);
    fetch(record.data() + at, bytes);
  }

  Words<W> wordsAt(int at) const {
    Words<W> words;
    for (int w = 0; w < W; ++w) words[w] = word[w][at];
    return words;
  }
  void set(int at, const Words<W>& words, MDRData* rec) {
    for (int w = 0; w < W; ++w) word[w][at] = words[w];
    record[at] = rec;
  }
  void insert(int at, const Words<W>& words, MDRData* rec) {
    const size_t tail = static_cast<size_t>(count - at) * 8;
    for (int w = 0; w < W; ++w) std::memmove(&word[w][at] + 1, &word[w][at], tail);
    std::memmove(record.data() + at + 1, record.data() + at, tail);
    set(at, words, rec);
    ++count;
  }
  void erase(int at) {
    const size_t tail = static_cast<size_t>(--count - at) * 8;
    for (int w = 0; w < W; ++w) std::memmove(&word[w][at], &word[w][at] + 1, tail);
    std::memmove(record.data() + at, record.data() + at + 1, tail);
    if constexpr (W > 0) word[0][count] = kUnused;
  }
  // Moves the entries from `from` on to the end of `target`.
  void moveTail(int from, Entries& target) {
    const size_t bytes = static_cast<size_t>(count - from) * 8;
    for (int w = 0; w < W; ++w) std::memcpy(target.word[w].data() + target.count, word[w].data() + from, bytes);
    std::memcpy(target.record.data() + target.count, record.data() + from, bytes);
    target.count += count - from;
    if constexpr (W > 0) std::fill(word[0].begin() + from, word[0].begin() + count, kUnused);
    count = from;
  }
};

// The same in a whole first column.
inline int lowerInColumn(const uint64_t* words, uint64_t wanted) {
  const uint64_t* base = words;
  for (int half = kFan / 2; half > 0; half /= 2) base += (base[half - 1] < wanted) * half;
  return static_cast<int>(base - words) + (*base < wanted);
}

// The range of entries whose words equal those of the probe.
template <int W>
void equalRange(const Entries<W>& node, const Words<W>& words, int& low, int& high) {
  low = 0;
  high = node.count;
  for (int w = 0; w < W && low < high; ++w) {
    const uint64_t* column = node.word[w].data();
    const int end = high;
    // One entry left, as a rule an equal one: no arithmetic that the next column would have to wait for.
    if (low + 1 == high && column[low] == words[w]) continue;
    low = w == 0 ? lowerInColumn(column, words[w]) : lowerWord(column, low, end, words[w]);
    if (low >= end || column[low] != words[w]) {
      high = low;
    } else {
      high = low + 1 == end || column[low + 1] != words[w] ? low + 1 : upperWord(column, low, end, words[w]);
    }
  }
}

// Whether an entry whose words equal those of the probe stands in front of it.
template <int W>
bool isBefore(const Probe<W>& probe, const MDRData* entry) {
  if (!probe.wordsDecide) {
    const int order = probe.tie.compare(entry);
    if (order) return order < 0;
  }
  if (probe.bound != Bound::arrival) return probe.bound == Bound::upper;
  return sequenceOf(entry) <= probe.sequence;
}

// The number of entries of a node that stand in front of the probe.
template <int W>
int countBefore(const Entries<W>& node, const Probe<W>& probe) {
  int low, high;
  equalRange<W>(node, probe.words, low, high);
  if (probe.wordsDecide && probe.bound == Bound::lower) return low;
  if (probe.wordsDecide && probe.bound == Bound::upper) return high;
  while (low < high) {
    const int middle = (low + high) / 2;
    if (isBefore(probe, node.record[middle]))
      low = middle + 1;
    else
      high = middle;
  }
  return low;
}

template <int W>
struct Leaf : Entries<W> {
  Leaf *previous = nullptr, *next = nullptr;
};

// An entry of an inner node repeats the first entry below its child.
template <int W>
struct Inner : Entries<W> {
  uint32_t total = 0;                 // records below this node
  std::array<uint32_t, kFan> before;  // records below the children in front of each child
  std::array<void*, kFan> child;

  uint32_t sizeOf(int at) const { return (at + 1 < this->count ? before[at + 1] : total) - before[at]; }
  void change(int at, uint32_t by) {
    total += by;
    for (int i = at + 1; i < this->count; ++i) before[i] += by;
  }
  // The records of the new child are counted already: they come from the child in front of it.
  void insertChild(int at, const Words<W>& words, MDRData* rec, void* node, uint32_t recordsBefore) {
    const size_t tail = static_cast<size_t>(this->count - at);
    std::memmove(before.data() + at + 1, before.data() + at, tail * sizeof(uint32_t));
    std::memmove(child.data() + at + 1, child.data() + at, tail * sizeof(void*));
    before[at] = recordsBefore;
    child[at] = node;
    this->insert(at, words, rec);
  }
  // The records of the child are gone, or belong to the child in front of it.
  void eraseChild(int at) {
    this->erase(at);
    const size_t tail = static_cast<size_t>(this->count - at);
    std::memmove(before.data() + at, before.data() + at + 1, tail * sizeof(uint32_t));
    std::memmove(child.data() + at, child.data() + at + 1, tail * sizeof(void*));
    if (at == 0 && this->count) before[0] = 0;
  }
  // Moves the children from `from` on to the end of `target`.
  void moveChildren(int from, Inner& target) {
    const uint32_t taken = from < this->count ? total - before[from] : 0;
    for (int i = from, to = target.count; i < this->count; ++i, ++to) {
      target.child[to] = child[i];
      target.before[to] = before[i] - before[from] + target.total;
    }
    target.total += taken;
    total -= taken;
    this->moveTail(from, target);
  }
};

}  // namespace mdx

#endif
