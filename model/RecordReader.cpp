#include "RecordReader.h"

#include "RecordAccess.h"
#include "myConfNode.h"

#include <TlmMdx/bulk.h>

#include <cstring>

namespace {

// In the order of NodeField; the key is field number 0 whatever its name.
constexpr const char* kFieldNames[kNodeFieldCount] = {nullptr, "caption", "name_",   "Classname",
                                                      "locId", "work_",   "StateRtu"};

}  // namespace

int64_t asInteger(const MDRVar& value) {
  if (!hasValue(value)) return 0;
  switch (value.type) {
    case MDX_BOOL:
      return value.flag != 0;
    case MDX_INT32:
      return value.i32;
    case MDX_INT64:
      return value.i64;
    case MDX_FLOAT:
      return static_cast<int64_t>(value.f32);
    case MDX_DOUBLE:
      return static_cast<int64_t>(value.f64);
    default:
      return 0;
  }
}

bool isClass(const MDRVar& value, const char* className) {
  return isText(value) && value.text.length == std::strlen(className) &&
         qstrnicmp(value.text.data, className, value.text.length) == 0;
}

const RecordReader::Handles& RecordReader::handles(const MDArray* array) const {
  const MDRField* first = MDRFldByNum(array, 0);
  const int count = MDAFldCount(array);
  Known* known = nullptr;
  for (Known& candidate : known_) {
    if (candidate.array == array) known = &candidate;
  }
  if (known && known->first == first && known->count == count) return known->handles;
  if (!known) known = &known_.emplace_back();
  *known = {array, first, count, {}};
  known->handles[0] = first;
  for (int i = 1; i < kNodeFieldCount; ++i) known->handles[i] = MDRFldByName(array, kFieldNames[i]);
  return known->handles;
}

MDRVar RecordReader::value(const myConfNode& node, NodeField field) const {
  MDRVar value{};
  if (node.table && node.record) {
    const MDRField* handle = handles(node.table->array)[static_cast<int>(field)];
    if (handle) MDRGetVal(handle, node.record, &value);
  }
  return value;
}

QString RecordReader::name(const myConfNode& node) const {
  if (!node.text.isEmpty()) return node.text;
  return text(node, node.isFolder ? NodeField::Caption : NodeField::Name);
}

void RecordReader::fetchNames(myConfNode* const* nodes, size_t count) const {
  const auto fieldOf = [](const myConfNode& node) { return node.isFolder ? NodeField::Caption : NodeField::Name; };
  const auto hasRow = [](const myConfNode* node) { return node && node->table && node->record; };
  for (size_t i = 0; i < count; ++i) {
    if (hasRow(nodes[i]))
      MDXRecFetch(handles(nodes[i]->table->array)[static_cast<size_t>(fieldOf(*nodes[i]))], nodes[i]->record);
  }
  for (size_t i = 0; i < count; ++i) {
    if (!hasRow(nodes[i])) continue;
    const MDRVar name = value(*nodes[i], fieldOf(*nodes[i]));
    if (isText(name)) __builtin_prefetch(name.text.data);  // a long text stands apart from its row
  }
}

int RecordReader::locId(const myConfNode& node) const {
  return static_cast<int>(asInteger(value(node, NodeField::LocId)));
}
