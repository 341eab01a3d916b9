// Nodes of a counted B+-tree and the search inside one node.
//
// An entry is W words of key and the record. Words compare as unsigned integers, the first one decides
// first and stands in an array of its own, so a search touches few cache lines; the further ones of an entry
// stand together, one cache line or two. Where words do not decide, a Tie compares records in full.
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

// Asks for a run of cache lines ahead of their use. A function that does nothing else has no effect in the compiler's
// eyes, and calls of it are left out; the empty statement is one that it keeps.
inline void fetch(const void* from, size_t bytes) {
  const char* at = static_cast<const char*>(from);
  for (size_t offset = 0; offset < bytes; offset += kLine) __builtin_prefetch(at + offset);
  asm volatile("" : : "r"(at));
}

// The first words, in order. The unused places hold the largest word, so that the column is searched whole, in
// a fixed number of steps.
template <int W>
struct FirstWords {
  static constexpr uint64_t kUnused = UINT64_MAX;

  alignas(kLine) std::array<uint64_t, kFan> word;

  FirstWords() { word.fill(kUnused); }
};
template <>
struct FirstWords<0> {};

// The further words, those of an entry together.
template <int W>
struct FurtherWords {
  using Rest = std::array<uint64_t, W - 1>;

  std::array<Rest, kFan> rest;
};
template <>
struct FurtherWords<0> {};
template <>
struct FurtherWords<1> {};

template <int W>
struct Entries : FirstWords<W>, FurtherWords<W> {
  alignas(kLine) std::array<MDRData*, kFan> record;
  int count = 0;

  // What a search needs first.
  void fetchSearched() const {
    if constexpr (W > 0) fetch(this->word.data(), sizeof this->word);
    fetch(&count, 1);
  }
  void fetchEntry(int at) const {
    if constexpr (W > 1) fetch(this->rest.data() + at, sizeof this->rest[0]);
    fetch(record.data() + at, sizeof record[0]);
  }
  // What an insert at a place moves and writes.
  void fetchMoved(int at) const {
    const auto moved = static_cast<size_t>(count - at) + 1;
    if constexpr (W > 1) fetch(this->rest.data() + at, moved * sizeof this->rest[0]);
    fetch(record.data() + at, moved * sizeof record[0]);
  }

  Words<W> wordsAt(int at) const {
    Words<W> words;
    if constexpr (W > 0) words[0] = this->word[at];
    if constexpr (W > 1) std::copy_n(this->rest[at].data(), W - 1, words.data() + 1);
    return words;
  }
  void set(int at, const Words<W>& words, MDRData* rec) {
    if constexpr (W > 0) this->word[at] = words[0];
    if constexpr (W > 1) std::copy_n(words.data() + 1, W - 1, this->rest[at].data());
    record[at] = rec;
  }
  void insert(int at, const Words<W>& words, MDRData* rec) {
    if constexpr (W > 0) move(this->word, at, at + 1);
    if constexpr (W > 1) move(this->rest, at, at + 1);
    move(record, at, at + 1);
    set(at, words, rec);
    ++count;
  }
  void erase(int at) {
    if constexpr (W > 0) move(this->word, at + 1, at);
    if constexpr (W > 1) move(this->rest, at + 1, at);
    move(record, at + 1, at);
    --count;
    if constexpr (W > 0) this->word[count] = this->kUnused;
  }
  // Moves the entries from `from` on to the end of `target`.
  void moveTail(int from, Entries& target) {
    for (int i = from; i < count; ++i) target.set(target.count++, wordsAt(i), record[i]);
    if constexpr (W > 0) std::fill(this->word.begin() + from, this->word.begin() + count, this->kUnused);
    count = from;
  }

 private:
  // Moves what stands from `from` on within a column.
  template <class Column>
  void move(Column& column, int from, int to) {
    std::memmove(column.data() + to, column.data() + from, static_cast<size_t>(count - from) * sizeof column[0]);
  }
};

// The same in a whole first column.
inline int lowerInColumn(const uint64_t* words, uint64_t wanted) {
  const uint64_t* base = words;
  for (int half = kFan / 2; half > 0; half /= 2) base += (base[half - 1] < wanted) * half;
  return static_cast<int>(base - words) + (*base < wanted);
}

// The number of entries in [low, high) whose further words are lower (`orEqual`: or the same), added to low.
template <int W>
int skipRest(const Entries<W>& node, int low, int high, const std::array<uint64_t, W - 1>& wanted, bool orEqual) {
  while (low < high) {
    const int middle = (low + high) / 2;
    const auto& rest = node.rest[middle];
    if (rest < wanted || (orEqual && rest == wanted))
      low = middle + 1;
    else
      high = middle;
  }
  return low;
}

// The range of entries whose words equal those of the probe.
template <int W>
void equalRange(const Entries<W>& node, const Words<W>& words, int& low, int& high) {
  low = 0;
  high = node.count;
  if constexpr (W > 0) {
    const uint64_t* column = node.word.data();
    const int end = high;
    low = lowerInColumn(column, words[0]);
    high = low;
    if (low >= end || column[low] != words[0]) return;
    high = low + 1 == end || column[low + 1] != words[0] ? low + 1 : upperWord(column, low, end, words[0]);
  }
  if constexpr (W > 1) {
    std::array<uint64_t, W - 1> rest;
    std::copy_n(words.data() + 1, W - 1, rest.data());
    // As a rule all are the same: of keys that differ nearly all do so in the first word.
    if (node.rest[low] != rest) low = skipRest<W>(node, low, high, rest, false);
    if (low < high && node.rest[high - 1] != rest) high = skipRest<W>(node, low, high, rest, true);
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
