// Many records at once: rows arrive without a look at the keys, which are built by sorting at the end.

#include <algorithm>

#include "array.h"

MDRData* MDArray::appendRecord() {
  MDRData* record = takeSlot(mdx::kPosted);
  mdx::sequenceRef(record) = ++lastSequence_;
  return record;
}

void MDArray::indexAll(const std::vector<MDRData*>& inArrivalOrder) {
  if (keys.empty() && !inArrivalOrder.empty()) addArrivalKey();
  for (auto& key : keys) key->build(inArrivalOrder);
}

std::vector<MDRData*> MDArray::recordsInArrivalOrder() const {
  std::vector<MDRData*> records;
  if (keys.empty()) return records;
  const mdx::Key& key = *keys.front();
  records.reserve(key.size());
  for (mdx::Span span = key.at(0); span.leaf; span = key.after(span))
    records.insert(records.end(), span.records, span.records + span.count);
  const auto earlier = [](const MDRData* a, const MDRData* b) { return mdx::sequenceOf(a) < mdx::sequenceOf(b); };
  if (!std::is_sorted(records.begin(), records.end(), earlier)) std::sort(records.begin(), records.end(), earlier);
  return records;
}

void MDArray::sortKey(mdx::Key& key) {
  const std::vector<MDRData*> records = recordsInArrivalOrder();
  key.takeFlags();
  key.build(records);
}
