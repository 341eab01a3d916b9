#include "passport/referenceRows.h"

#include "passport/values.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <numeric>

namespace tlm::passport {

namespace {

using Table = std::array<unsigned char, 256>;

constexpr unsigned char kIo = 0xB8;  // "ё", which the code page keeps apart from the other letters
constexpr unsigned char kIe = 0xE5;  // "е"

unsigned char folded(int code) {
  const char byte = static_cast<char>(code);
  const QString lower = codePage()->toUnicode(&byte, 1).toCaseFolded();
  const QByteArray bytes = codePage()->fromUnicode(lower);
  return bytes.size() == 1 && codePage()->canEncode(lower) ? static_cast<unsigned char>(bytes[0])
                                                           : static_cast<unsigned char>(code);
}

const Table& foldTable() {
  static const Table table = [] {
    Table made{};
    for (int code = 0; code < 256; ++code) made[static_cast<size_t>(code)] = folded(code);
    return made;
  }();
  return table;
}

// The place of each byte in the order of texts.
const Table& orderTable() {
  static const Table table = [] {
    Table made = foldTable();
    for (unsigned char& place : made)
      place = place == kIo ? kIe : place > kIo && place <= kIe ? static_cast<unsigned char>(place - 1) : place;
    return made;
  }();
  return table;
}

bool isDigit(char c) { return c >= '0' && c <= '9'; }

// A number as the count of its digits and the digits, without leading zeros. Returns where it ends.
size_t addNumber(std::string_view text, size_t at, std::string* out) {
  while (at + 1 < text.size() && text[at] == '0' && isDigit(text[at + 1])) ++at;
  size_t end = at;
  while (end < text.size() && isDigit(text[end])) ++end;
  const size_t digits = std::min<size_t>(end - at, 255);
  out->push_back('0');
  out->push_back(static_cast<char>(digits));
  out->append(text.substr(at, end - at));
  return end;
}

void addSortKey(std::string_view text, std::string* out) {
  const Table& order = orderTable();
  for (size_t at = 0; at < text.size();) {
    if (isDigit(text[at]))
      at = addNumber(text, at, out);
    else
      out->push_back(static_cast<char>(order[static_cast<unsigned char>(text[at++])]));
  }
}

bool holdsAll(const std::string& text, const std::vector<std::string>& words) {
  return std::all_of(words.begin(), words.end(),
                     [&](const std::string& word) { return text.find(word) != std::string::npos; });
}

}  // namespace

std::string sortKey(std::string_view text) {
  std::string out;
  addSortKey(text, &out);
  return out;
}

std::string foldedText(std::string_view text) {
  std::string out(text);
  for (char& c : out) c = static_cast<char>(foldTable()[static_cast<unsigned char>(c)]);
  return out;
}

ReferenceRows::ReferenceRows(std::unique_ptr<CMDArray> table, const QString& column)
    : table_(std::move(table)),
      key_(MDRFldByName(table_->array, "KeyLink")),
      text_(MDRFldByName(table_->array, column.toLatin1().constData())) {
  const int count = MDARecCount(table_->array);
  rows_.reserve(static_cast<size_t>(count));
  for (int i = 0; i < count; ++i) rows_.push_back(MDARec(table_->array, 0, i));
  sort();
}

// What is shown of a row, in the code page. A text stays where it is, anything else is put into the buffer.
std::string_view ReferenceRows::bytes(const MDRData* row, std::string* buffer) const {
  for (const MDRField* field : {text_, key_}) {
    MDRVar value{};
    if (MDRGetVal(field, row, &value) < 0 || value.type == MDX_NONE || value.isNull) continue;
    if (value.type != MDX_TEXT && value.type != MDX_MEMO) {
      *buffer = codePage()->fromUnicode(plainText(readValue(field, row))).toStdString();
      return *buffer;
    }
    if (value.text.length > 0) return {value.text.data, value.text.length};
  }
  return {};
}

// All keys in one piece of memory: a list of many rows is sorted without an allocation for each.
void ReferenceRows::sort() {
  struct Entry {
    size_t from, length;
    const MDRData* row;
  };
  std::string keys, buffer;
  std::vector<Entry> entries;
  entries.reserve(rows_.size());
  for (const MDRData* row : rows_) {
    const size_t from = keys.size();
    addSortKey(bytes(row, &buffer), &keys);
    entries.push_back({from, keys.size() - from, row});
  }
  std::stable_sort(entries.begin(), entries.end(), [&](const Entry& a, const Entry& b) {
    return std::string_view(&keys[a.from], a.length) < std::string_view(&keys[b.from], b.length);
  });
  std::transform(entries.begin(), entries.end(), rows_.begin(), [](const Entry& entry) { return entry.row; });
}

QString ReferenceRows::key(int row) const { return readValue(key_, rows_[static_cast<size_t>(row)]).toString(); }

QString ReferenceRows::text(int row) const {
  std::string buffer;
  const std::string_view shown = bytes(rows_[static_cast<size_t>(row)], &buffer);
  return codePage()->toUnicode(shown.data(), static_cast<int>(shown.size()));
}

int ReferenceRows::rowOf(const QString& key) const {
  if (key.isEmpty() || rows_.empty()) return -1;
  const QByteArray wanted = codePage()->fromUnicode(key);
  const std::string_view text(wanted.constData(), static_cast<size_t>(wanted.size()));
  const auto found = std::find_if(rows_.begin(), rows_.end(), [&](const MDRData* row) {
    MDRVar value{};
    return MDRGetVal(key_, row, &value) >= 0 && !value.isNull &&
           std::string_view(value.text.data, value.text.length) == text;
  });
  return found == rows_.end() ? -1 : static_cast<int>(found - rows_.begin());
}

std::vector<int> ReferenceRows::search(const QString& typed) const {
  std::vector<std::string> words;
  for (const QString& word : typed.split(' ', Qt::SkipEmptyParts)) {
    if (!codePage()->canEncode(word)) return {};
    words.push_back(foldedText(codePage()->fromUnicode(word).toStdString()));
  }
  if (folded_.size() != rows_.size()) {
    std::string buffer;
    for (const MDRData* row : rows_) folded_.push_back(foldedText(bytes(row, &buffer)));
  }
  std::vector<int> found;
  for (size_t i = 0; i < folded_.size(); ++i)
    if (holdsAll(folded_[i], words)) found.push_back(static_cast<int>(i));
  return found;
}

}  // namespace tlm::passport
