#include "array.h"

#include <algorithm>

#include "fold.h"

using mdx::isText;
using mdx::Staged;

// ---- structure

int MDArray::addField(std::string_view name, int type, int size) {
  if (!mdx::isFieldType(type)) return MDX_E_TYPE;
  if (name.empty() || name.size() >= sizeof MDRField::name || (type == MDX_TEXT && size == 0)) return MDX_E_ARG;
  if (fields.size() == mdx::kMaxFields) return MDX_E_SIZE;
  const std::vector<MDRField> oldFields = made_ ? fields : std::vector<MDRField>();
  const uint32_t oldMarkOffset = markOffset;
  MDRField field{};
  std::memcpy(field.name, name.data(), name.size());
  field.type = static_cast<uint8_t>(type);
  field.size = static_cast<uint16_t>(type == MDX_TEXT ? size : 0);
  field.number = static_cast<uint8_t>(fields.size());
  fields.push_back(field);
  nameHashes_.push_back(mdx::hashName(name));
  keysOfField_.push_back(0);
  layOut();
  if (made_) moveBodies(oldFields, oldMarkOffset);
  for (auto& key : keys) key->rebind(fields);
  return field.number;
}

void MDArray::layOut() {
  markOffset = static_cast<uint32_t>((fields.size() + 7) / 8);
  uint32_t offset = 2 * markOffset;
  for (MDRField& field : fields) {
    field.offset = offset;
    offset += field.type == MDX_TEXT ? field.size + 1u : isText(field.type) ? 8u : mdx::numberSize(field.type);
  }
  bodySize = offset;
  if (made_) return;
  slots_.clear();
  bodies_.clear();
  bodiesApart_ = false;
  slots_.setSlotSize(mdx::kBodyOffset + bodySize);
}

// Gives each record, posted or not, a body of the new shape. The old bodies stay unused in their slots.
void MDArray::moveBodies(const std::vector<MDRField>& oldFields, uint32_t oldMarkOffset) {
  mdx::Slab fresh;
  fresh.setSlotSize(bodySize);
  std::vector<MDRData*> all = recordsInArrivalOrder();
  all.insert(all.end(), unposted_.begin(), unposted_.end());
  for (MDRData* record : all) {
    auto* body = static_cast<unsigned char*>(fresh.take());
    std::memset(body, 0, bodySize);
    std::memset(body, 0xff, markOffset);
    std::memcpy(body, record->body, oldMarkOffset);
    std::memcpy(body + markOffset, record->body + oldMarkOffset, oldMarkOffset);
    for (int i = static_cast<int>(oldFields.size()); i < static_cast<int>(fields.size()); ++i) {
      setBit(body, i, true);
      setBit(body + markOffset, i, false);
    }
    for (size_t i = 0; i < oldFields.size(); ++i) {
      const uint32_t end = i + 1 < fields.size() ? fields[i + 1].offset : bodySize;
      std::memcpy(body + fields[i].offset, record->body + oldFields[i].offset, end - fields[i].offset);
    }
    record->body = body;
  }
  bodies_.swap(fresh);
  bodiesApart_ = true;
}

int MDArray::findField(std::string_view name) const {
  const uint32_t hash = mdx::hashName(name);
  for (size_t i = 0; i < nameHashes_.size(); ++i) {
    if (nameHashes_[i] == hash && mdx::equalNames(name, fields[i].name)) return static_cast<int>(i);
  }
  return -1;
}

void MDArray::copyFields(const MDArray& source) {
  fields = source.fields;
  nameHashes_ = source.nameHashes_;
  keysOfField_.assign(fields.size(), 0);
  layOut();
}

namespace {

std::string_view trimmed(std::string_view name) {
  while (!name.empty() && name.front() == ' ') name.remove_prefix(1);
  while (!name.empty() && name.back() == ' ') name.remove_suffix(1);
  return name;
}

}  // namespace

int MDArray::addKey(std::string_view expression, uint32_t flags, uint32_t kind) {
  if (keys.size() == mdx::kMaxKeys) return MDX_E_SIZE;
  std::vector<int> numbers;
  for (std::string_view rest = expression;;) {
    const size_t end = rest.find(';');
    const int number = findField(trimmed(rest.substr(0, end)));
    if (number < 0 || numbers.size() == mdx::kMaxParts) return MDX_E_KEY;
    numbers.push_back(number);
    if (end == std::string_view::npos) break;
    rest.remove_prefix(end + 1);
  }
  auto key = std::make_unique<mdx::Key>(expression, flags, kind);
  key->bind(fields, numbers);
  keys.push_back(std::move(key));
  noteKeys();
  return static_cast<int>(keys.size()) - 1;
}

void MDArray::addArrivalKey() { keys.push_back(std::make_unique<mdx::Key>("", 0, 0)); }

int MDArray::deleteKey(int position) {
  if (!key(position)) return MDX_E_KEY;
  if (keys.size() == 1 && count() > 0) {
    const std::vector<MDRData*> records = recordsInArrivalOrder();
    addArrivalKey();
    keys.back()->build(records);
  }
  keys.erase(keys.begin() + position);
  noteKeys();
  return MDX_OK;
}

void MDArray::noteKeys() {
  for (size_t field = 0; field < fields.size(); ++field) {
    keysOfField_[field] = 0;
    for (size_t k = 0; k < keys.size(); ++k) {
      if (keys[k]->uses(static_cast<int>(field))) keysOfField_[field] |= uint64_t{1} << k;
    }
  }
}

void MDArray::clear() {
  for (auto& key : keys) key->clear();
  unposted_.clear();
  texts_.clear();
  made_ = lastSequence_ = 0;
  layOut();
}

void MDArray::reset() {
  keys.clear();
  fields.clear();
  nameHashes_.clear();
  keysOfField_.clear();
  clear();
}

size_t MDArray::memory() const {
  size_t bytes = sizeof *this + fields.capacity() * sizeof(MDRField) + nameHashes_.capacity() * sizeof(uint32_t) +
                 keysOfField_.capacity() * sizeof(uint64_t) + unposted_.capacity() * sizeof(MDRData*) +
                 keys.capacity() * sizeof(void*) + slots_.memory() + bodies_.memory() + texts_.memory();
  for (const auto& key : keys) bytes += key->memory();
  return bytes;
}

// ---- records

MDRData* MDArray::takeSlot(mdx::RecordState state) {
  void* slot = slots_.take();
  unsigned char* body = nullptr;
  try {
    body = bodiesApart_ ? static_cast<unsigned char*>(bodies_.take())
                        : static_cast<unsigned char*>(slot) + mdx::kBodyOffset;
  } catch (...) {
    slots_.give(slot);
    throw;
  }
  std::memset(body, 0, bodySize);
  ++made_;
  return new (slot) MDRData{this, nullptr, 0, 0, MDX_REC_NONE, state, body};
}

MDRData* MDArray::newRecord() {
  unposted_.reserve(unposted_.size() < unposted_.capacity() ? unposted_.capacity() : unposted_.size() * 2 + 1);
  MDRData* record = takeSlot(mdx::kNew);
  std::memset(record->body, 0xff, markOffset);
  mdx::sequenceRef(record) = static_cast<uint32_t>(unposted_.size());
  unposted_.push_back(record);
  return record;
}

void MDArray::forgetUnposted(MDRData* record) {
  MDRData* last = unposted_.back();
  const uint32_t place = mdx::sequenceRef(record);
  unposted_[place] = last;
  mdx::sequenceRef(last) = place;
  unposted_.pop_back();
}

// The order of arrival outlives the numbers: when they run out, the records are numbered anew.
uint32_t MDArray::nextSequence() {
  if (lastSequence_ == UINT32_MAX) {
    lastSequence_ = 0;
    for (MDRData* record : recordsInArrivalOrder()) mdx::sequenceRef(record) = ++lastSequence_;
  }
  return ++lastSequence_;
}

bool MDArray::postRecord(MDRData* record, bool unlessHeld) {
  if (keys.empty()) addArrivalKey();
  forgetUnposted(record);
  mdx::sequenceRef(record) = nextSequence();
  record->state = mdx::kPosted;
  if (insertInKeys(record, unlessHeld)) return true;
  record->state = mdx::kNew;
  mdx::sequenceRef(record) = static_cast<uint32_t>(unposted_.size());
  unposted_.push_back(record);
  return false;
}

bool MDArray::insertInKeys(MDRData* record, bool unlessHeld) {
  constexpr size_t kTogether = 4;
  std::array<mdx::Key::Plan, kTogether> plans;
  for (size_t from = 0; from < keys.size(); from += kTogether) {
    const size_t many = std::min(kTogether, keys.size() - from);
    for (size_t i = 0; i < many; ++i) keys[from + i]->planInsert(record, true, plans[i]);
    for (size_t i = 0; i < many; ++i) keys[from + i]->locateInsert(plans[i]);
    if (unlessHeld && from == 0 && keys[0]->holdsEqual(plans[0])) return false;
    for (size_t i = 0; i < many; ++i) keys[from + i]->finishInsert(record, plans[i]);
  }
  return true;
}

void MDArray::deleteRecord(MDRData* record) {
  if (record->state == mdx::kPosted) {
    for (auto& key : keys) key->erase(record);
  } else {
    forgetUnposted(record);
  }
  for (const MDRField& field : fields) {
    if (field.type == MDX_MEMO) dropText(record, field);
  }
  dropPacked(record);
  if (bodiesApart_) bodies_.give(record->body);
  record->array = nullptr;
  record->state = mdx::kFreed;
  slots_.give(record);
  --made_;
}

int MDArray::stage(int number, const MDRVar& value, Staged& staged) const {
  const MDRField& field = fields[static_cast<size_t>(number)];
  staged.isNull = mdx::isNullValue(value);
  if (staged.isNull) return MDX_OK;
  if (!isText(field.type)) return mdx::storeNumber(field.type, value, staged.number);
  if (!isText(value.type)) return MDX_E_TYPE;
  if (!value.text.data && value.text.length) return MDX_E_ARG;
  staged.text = mdx::textOf(value);
  const size_t limit = field.type == MDX_TEXT ? field.size : mdx::kLargestText;
  return staged.text.size() <= limit ? MDX_OK : MDX_E_SIZE;
}

bool MDArray::holds(const MDRData* record, int number, const Staged& staged) const {
  const MDRField& field = fields[static_cast<size_t>(number)];
  if (isNull(record, number) || staged.isNull) return isNull(record, number) == staged.isNull;
  const unsigned char* place = record->body + field.offset;
  if (isText(field.type)) return mdx::readText(field.type, field.size, place) == staged.text;
  return std::memcmp(place, staged.number, static_cast<size_t>(mdx::numberSize(field.type))) == 0;
}

void MDArray::setValue(MDRData* record, int number, const Staged& staged) {
  const uint64_t keyBits = keysOfField_[static_cast<size_t>(number)];
  if (keyBits == 0 || record->state != mdx::kPosted) return store(record, number, staged);
  if (!holds(record, number, staged)) setIndexed(record, number, staged, keyBits);
}

void MDArray::setIndexed(MDRData* record, int number, const Staged& staged, uint64_t keyBits) {
  const auto eachKey = [&](auto action) {
    for (uint64_t bits = keyBits; bits; bits &= bits - 1) action(*keys[static_cast<size_t>(__builtin_ctzll(bits))]);
  };
  eachKey([&](mdx::Key& key) { key.erase(record); });
  try {
    store(record, number, staged);
  } catch (...) {
    eachKey([&](mdx::Key& key) { key.insert(record, false); });
    throw;
  }
  eachKey([&](mdx::Key& key) { key.insert(record, false); });
}

void MDArray::store(MDRData* record, int number, const Staged& staged) {
  const MDRField& field = fields[static_cast<size_t>(number)];
  unsigned char* place = record->body + field.offset;
  if (!isText(field.type)) {
    std::memcpy(place, staged.number, static_cast<size_t>(mdx::numberSize(field.type)));
  } else if (field.type == MDX_TEXT || staged.isNull) {
    if (field.type == MDX_MEMO) dropText(record, field);
    if (!staged.isNull) putText(record, field, staged.text);
  } else {
    // The text may come from the very place that it goes to.
    unsigned char old[8];
    std::memcpy(old, place, sizeof old);
    putText(record, field, staged.text);
    unsigned char fresh[8];
    std::memcpy(fresh, place, sizeof fresh);
    std::memcpy(place, old, sizeof old);
    dropText(record, field);
    std::memcpy(place, fresh, sizeof fresh);
  }
  setBit(record->body, number, staged.isNull);
}

void MDArray::putText(MDRData* record, const MDRField& field, std::string_view text) {
  unsigned char* place = record->body + field.offset;
  if (field.type == MDX_TEXT) {
    if (!text.empty()) std::memmove(place, text.data(), text.size());
    place[text.size()] = 0;
    place[field.size] = static_cast<unsigned char>(field.size - text.size());
    return;
  }
  unsigned char slot[8] = {};
  if (text.size() <= 6) {
    slot[0] = static_cast<unsigned char>(text.size() << 1 | 1);
    if (!text.empty()) std::memcpy(slot + 1, text.data(), text.size());
  } else {
    auto* block = static_cast<mdx::TextBlock*>(texts_.take(sizeof(mdx::TextBlock) + text.size() + 1));
    block->length = static_cast<uint32_t>(text.size());
    std::memcpy(block->bytes(), text.data(), text.size());
    block->bytes()[text.size()] = 0;
    std::memcpy(slot, &block, sizeof block);
  }
  std::memcpy(place, slot, sizeof slot);
}

void MDArray::dropText(MDRData* record, const MDRField& field) {
  unsigned char* place = record->body + field.offset;
  mdx::TextBlock* block;
  std::memcpy(&block, place, sizeof block);
  if (!(place[0] & 1) && block) texts_.give(block, sizeof *block + block->length + 1);
  std::memset(place, 0, sizeof block);
}

void MDArray::setPacked(MDRData* record, std::string_view bytes) {
  auto* fresh = static_cast<unsigned char*>(texts_.take(bytes.size()));
  std::memcpy(fresh, bytes.data(), bytes.size());
  dropPacked(record);
  record->packed = fresh;
  record->packedLength = static_cast<uint32_t>(bytes.size());
}

void MDArray::dropPacked(MDRData* record) {
  if (record->packed) texts_.give(record->packed, record->packedLength);
  record->packed = nullptr;
  record->packedLength = 0;
}
