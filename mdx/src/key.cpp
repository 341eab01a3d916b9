#include "key.h"

#include <algorithm>
#include <atomic>

#include "array.h"

namespace mdx {
namespace {

std::atomic<uint64_t> nextKeyId{1};

template <int W>
struct SortEntry {
  Words<W> words;
  uint32_t arrival;
};

}  // namespace

Key::Key(std::string_view expr, uint32_t flagsWord, uint32_t kindWord)
    : expression(expr), flags(flagsWord), kind(kindWord), id(nextKeyId.fetch_add(1, std::memory_order_relaxed)) {
  takeFlags();
}

void Key::bind(const std::vector<MDRField>& fields, const std::vector<int>& numbers) {
  parts_.clear();
  for (const int number : numbers) {
    const MDRField& field = fields[static_cast<size_t>(number)];
    parts_.push_back({static_cast<uint8_t>(number), field.type, field.size, field.offset});
  }
  if (parts_.empty())
    form_ = Form::arrival;
  else if (parts_.size() > 1 || parts_[0].type == MDX_MEMO || parts_[0].size > 32)
    form_ = Form::general;
  else
    form_ = parts_[0].type == MDX_TEXT ? Form::text32 : Form::number;
}

void Key::rebind(const std::vector<MDRField>& fields) {
  for (Part& part : parts_) part.offset = fields[part.number].offset;
}

bool Key::uses(int field) const {
  return std::any_of(parts_.begin(), parts_.end(), [field](const Part& part) { return part.number == field; });
}

size_t Key::memory() const {
  return sizeof *this + expression.capacity() + parts_.capacity() * sizeof(Part) + nulls_.memory() + one_.memory() +
         four_.memory() + (exact_ ? exact_->memory() : 0);
}

// ---- reading

namespace {

template <int W>
const uint64_t* wordsOf(const Leaf<W>* leaf) {
  if constexpr (W == 0)
    return nullptr;
  else
    return leaf->word.data();
}

template <class Place>
Span spanOf(const Place& place, uint32_t position, bool nulls) {
  const auto* leaf = place.leaf;
  Span span;
  span.leaf = leaf;
  span.records = leaf->record.data();
  span.words = wordsOf(leaf);
  span.index = place.index;
  span.count = place.count;
  span.position = position;
  span.nulls = nulls;
  return span;
}

Span pastEnd(uint32_t position) {
  Span span;
  span.position = position;
  return span;
}

}  // namespace

Span Key::at(uint32_t position) const {
  const uint32_t nulls = nulls_.size();
  if (position >= size()) return pastEnd(size());
  if (position < nulls) {
    const auto place = nulls_.at(position);
    return spanOf(place, position, form_ != Form::arrival);
  }
  if (form_ == Form::text32) {
    const auto place = four_.at(position - nulls);
    return spanOf(place, position, false);
  }
  const auto place = one_.at(position - nulls);
  return spanOf(place, position, false);
}

Span Key::after(const Span& span) const { return at(span.position + static_cast<uint32_t>(span.count - span.index)); }

template <int W>
Span Key::landed(const typename Tree<W>::Place& place, const Probe<W>& probe, bool canMatch, bool& found) const {
  const uint32_t position = nulls_.size() + place.position;
  found = false;
  if (!place.leaf) return pastEnd(position);
  if (canMatch && place.leaf->wordsAt(place.index) == probe.words)
    found = probe.wordsDecide || probe.tie.compare(place.leaf->record[place.index]) == 0;
  return spanOf(place, position, false);
}

bool Key::aimAt(Probe<1>& probe, const SeekValue& value) const {
  probe.words = {value.code};
  return value.exact;
}

bool Key::aimAt(Probe<4>& probe, const SeekValue& value) const {
  probe.words = textWords(value.text);
  const bool tooLong = value.text.size() > 32;
  if (tooLong) {
    probe.bound = Bound::upper;  // all texts here that it begins with are lower
  } else {
    probe.wordsDecide = decides(probe.words);
    probe.tie = {this, nullptr, &value};
  }
  return !tooLong;
}

template <int W>
Span Key::seekOne(const Tree<W>& tree, const SeekValue& value, bool& found) const {
  Probe<W> probe;
  const bool canMatch = aimAt(probe, value);
  return landed<W>(tree.find(probe), probe, canMatch, found);
}

Span Key::seekGeneral(const SeekValue* values, bool& found) const {
  Probe<1> probe;
  probe.words = {prefixOf(values[0])};
  probe.wordsDecide = false;
  probe.tie = {this, nullptr, values};
  return landed<1>(one_.find(probe), probe, true, found);
}

Span Key::seek(const MDRVar* values, bool& found) const {
  found = false;
  if (form_ == Form::arrival) return pastEnd(size());
  if (!nullsApart()) {
    std::array<SeekValue, kMaxParts> wanted;
    for (size_t i = 0; i < parts_.size(); ++i) wanted[i] = seekValue(parts_[i], values[i]);
    return seekGeneral(wanted.data(), found);
  }
  const SeekValue value = seekValue(parts_[0], values[0]);
  if (value.place == SeekValue::null) found = nulls_.size() > 0;
  if (value.place == SeekValue::null) return at(0);
  if (value.place == SeekValue::belowAll) return at(nulls_.size());
  if (value.place == SeekValue::aboveAll) return pastEnd(size());
  if (form_ == Form::number) return seekOne(one_, value, found);
  return form_ == Form::text32 ? seekOne(four_, value, found) : seekGeneral(&value, found);
}

bool Key::exactWords(const MDRVar& value, Words<4>& words) const {
  if (isNullValue(value) || !isText(value.type)) return false;
  const std::string_view text = textOf(value);
  if (text.size() != 32) return false;
  words = textWords(text);
  return decides(words);
}

MDRData* Key::find(const MDRVar* values) const {
  Words<4> words;
  if (knowsExactly(*values, words)) return exactly(words);
  bool found;
  const Span span = seek(values, found);
  return found ? span.records[span.index] : nullptr;
}

template <int W>
void Key::seekTogether(const Tree<W>& tree, const MDRVar* values, int many, MDRData** out) const {
  std::array<SeekValue, kSeekTogether> wanted;
  std::array<Probe<W>, kSeekTogether> probes;
  std::array<typename Tree<W>::Place, kSeekTogether> places;
  std::array<bool, kSeekTogether> canMatch{};
  for (int i = 0; i < many; ++i) {
    wanted[i] = seekValue(parts_[0], values[i]);
    if (wanted[i].place == SeekValue::inside) canMatch[i] = aimAt(probes[i], wanted[i]);
  }
  tree.findTogether(probes.data(), many, places.data());
  for (int i = 0; i < many; ++i) {
    bool found = false;
    Span span;
    if (wanted[i].place == SeekValue::null) {
      span = at(0);
      found = nulls_.size() > 0;
    } else {
      span = landed<W>(places[i], probes[i], canMatch[i], found);
    }
    out[i] = found ? span.records[span.index] : nullptr;
  }
}

// Slots, then records, then what they hold: each is asked for while the others wait.
void Key::seekManyExact(const MDRVar* values, int many, MDRData** out) const {
  std::array<Words<4>, kSeekTogether> words;
  std::array<bool, kSeekTogether> known;
  for (int i = 0; i < many; ++i) {
    known[i] = exactWords(values[i], words[i]);
    if (known[i]) exact_->fetchSlot(words[i]);
  }
  for (int i = 0; i < many; ++i)
    if (known[i]) exact_->fetchRecord(words[i]);
  for (int i = 0; i < many; ++i) out[i] = known[i] ? exactly(words[i]) : find(values + i);
}

void Key::seekMany(const MDRVar* values, int count, MDRData** out) const {
  for (int from = 0; from < count; from += kSeekTogether) {
    const int many = std::min(kSeekTogether, count - from);
    if (exact_) {
      seekManyExact(values + from, many, out + from);
    } else if (form_ == Form::text32) {
      seekTogether(four_, values + from, many, out + from);
    } else if (form_ == Form::number) {
      seekTogether(one_, values + from, many, out + from);
    } else {
      for (int i = from; i < from + many; ++i) {
        bool found;
        const Span span = seek(values + i, found);
        out[i] = found ? span.records[span.index] : nullptr;
      }
    }
  }
}

// ---- changing

template <int W>
void Key::aim(Probe<W>& probe, const MDRData* record, Bound bound) const {
  probe.bound = bound;
  probe.sequence = sequenceOf(record);
  if constexpr (W == 4) {
    probe.words = textWords(parts_[0].text(record));
    probe.wordsDecide = decides(probe.words);
  } else if constexpr (W == 1) {
    probe.words = wordOf(record);
    probe.wordsDecide = form_ == Form::number;
  }
  probe.tie = {this, record, nullptr};
}

void Key::planInsert(MDRData* record, bool last, Plan& plan) const {
  const Bound bound = last ? Bound::upper : Bound::arrival;
  if (goesToNulls(record)) {
    plan.tree = 0;
    aim(plan.none, record, bound);
    nulls_.descend(plan.none, plan.path);
  } else if (form_ == Form::text32) {
    plan.tree = 4;
    aim(plan.four, record, bound);
    four_.descend(plan.four, plan.path);
    if (exact_) exact_->fetchSlot(plan.four.words);
  } else {
    plan.tree = 1;
    aim(plan.one, record, bound);
    one_.descend(plan.one, plan.path);
  }
}

void Key::locateInsert(Plan& plan) const {
  if (plan.tree == 0) return nulls_.locate(plan.none, plan.path);
  if (plan.tree == 4) return four_.locate(plan.four, plan.path);
  one_.locate(plan.one, plan.path);
}

bool Key::holdsEqual(const Plan& plan) const {
  if (plan.tree == 0) return false;
  return plan.tree == 4 ? four_.equalsBefore(plan.four, plan.path) : one_.equalsBefore(plan.one, plan.path);
}

void Key::finishInsert(MDRData* record, Plan& plan) {
  ++version;
  if (plan.tree == 0) return nulls_.insert(plan.path, plan.none, record);
  if (exact_ && plan.four.wordsDecide) noteExact(plan.four.words, record);
  if (plan.tree == 4) return four_.insert(plan.path, plan.four, record);
  one_.insert(plan.path, plan.one, record);
}

void Key::insert(MDRData* record, bool last) {
  Plan plan;
  planInsert(record, last, plan);
  locateInsert(plan);
  finishInsert(record, plan);
}

void Key::erase(MDRData* record) {
  ++version;
  Plan plan;
  if (goesToNulls(record)) {
    aim(plan.none, record, Bound::arrival);
    nulls_.erase(plan.none, record);
  } else if (form_ == Form::text32) {
    aim(plan.four, record, Bound::arrival);
    four_.erase(plan.four, record);
    if (exact_ && plan.four.wordsDecide) exact_->erase(plan.four.words, record);
  } else {
    aim(plan.one, record, Bound::arrival);
    one_.erase(plan.one, record);
  }
}

void Key::clear() {
  ++version;
  nulls_.clear();
  one_.clear();
  four_.clear();
  if (exact_) exact_->clear();
}

// ---- whole texts

void Key::noteExact(const Words<4>& words, MDRData* record) {
  try {
    if (!exactly(words)) return exact_->insert(words, record);
  } catch (const std::bad_alloc&) {
    // The tree alone answers as well.
  }
  exact_.reset();
}

void Key::buildExact(const std::vector<MDRData*>& records) {
  for (MDRData* record : records) {
    const Words<4> words = wordsInFull(record);
    if (decides(words)) noteExact(words, record);
    if (!exact_) return;
  }
}

bool Key::keepExact() {
  if (form_ != Form::text32 || parts_[0].size != 32 || ignoreCase_) return false;
  exact_ = std::make_unique<ExactIndex>();
  std::vector<MDRData*> records;
  for (Span span = at(nulls_.size()); span.leaf; span = after(span))
    records.insert(records.end(), span.records, span.records + span.count);
  buildExact(records);
  return true;
}

// ---- building

template <int W>
void Key::buildTree(Tree<W>& tree, const std::vector<MDRData*>& records) {
  std::vector<SortEntry<W>> entries(records.size());
  for (size_t i = 0; i < records.size(); ++i) {
    if constexpr (W == 4)
      entries[i].words = textWords(parts_[0].text(records[i]));
    else
      entries[i].words = wordOf(records[i]);
    entries[i].arrival = static_cast<uint32_t>(i);
  }
  const auto lower = [&](const SortEntry<W>& a, const SortEntry<W>& b) {
    // Word by word, inline: comparing arrays costs a call for each pair.
    for (int w = 0; w < W; ++w)
      if (a.words[w] != b.words[w]) return a.words[w] < b.words[w];
    bool decided = form_ == Form::number;
    if constexpr (W == 4) decided = decides(a.words);
    const int order = decided ? 0 : compare(records[a.arrival], records[b.arrival]);
    return order ? order < 0 : a.arrival < b.arrival;
  };
  if (!std::is_sorted(entries.begin(), entries.end(), lower)) std::sort(entries.begin(), entries.end(), lower);
  tree.build(static_cast<uint32_t>(entries.size()),
             [&](uint32_t i) { return std::pair(entries[i].words, records[entries[i].arrival]); });
}

void Key::build(const std::vector<MDRData*>& inArrivalOrder) {
  clear();
  std::vector<MDRData*> nulls, others;
  for (MDRData* record : inArrivalOrder) (goesToNulls(record) ? nulls : others).push_back(record);
  nulls_.build(static_cast<uint32_t>(nulls.size()), [&](uint32_t i) { return std::pair(Words<0>{}, nulls[i]); });
  if (form_ == Form::text32)
    buildTree(four_, others);
  else
    buildTree(one_, others);
  if (ignoreCase_) exact_.reset();
  if (exact_) buildExact(others);
}

}  // namespace mdx
