#include <TlmWire/liteModel.h>

#include <cstdint>
#include <optional>

namespace tlm::wire {
namespace {

constexpr std::string_view kMagic = "TLM1";
constexpr size_t kSmallestTable = 8;  // two lengths

void putLength(std::string* out, size_t length) {
  for (int shift = 0; shift < 32; shift += 8) out->push_back(static_cast<char>((length >> shift) & 0xFF));
}

void putText(std::string* out, std::string_view text) {
  putLength(out, text.size());
  out->append(text);
}

class Reader {
 public:
  explicit Reader(std::string_view bytes) : rest_(bytes) {}

  std::optional<uint32_t> length() {
    if (rest_.size() < 4) return std::nullopt;
    uint32_t value = 0;
    for (int i = 3; i >= 0; --i) value = (value << 8) | static_cast<unsigned char>(rest_[static_cast<size_t>(i)]);
    rest_.remove_prefix(4);
    return value;
  }

  bool text(std::string* out) {
    const auto size = length();
    if (!size || *size > rest_.size()) return false;
    out->assign(rest_.substr(0, *size));
    rest_.remove_prefix(*size);
    return true;
  }

  size_t left() const { return rest_.size(); }

 private:
  std::string_view rest_;
};

bool readBody(Reader reader, LiteModelBlock* out) {
  if (!reader.text(&out->key) || !reader.text(&out->className)) return false;
  const auto count = reader.length();
  if (!count || *count > reader.left() / kSmallestTable) return false;
  out->tables.resize(*count);
  for (LiteTable& table : out->tables) {
    if (!reader.text(&table.name) || !reader.text(&table.packed)) return false;
  }
  return reader.left() == 0;
}

}  // namespace

std::string writeLiteModel(const LiteModelBlock& block) {
  std::string out(kMagic);
  putText(&out, block.key);
  putText(&out, block.className);
  putLength(&out, block.tables.size());
  for (const LiteTable& table : block.tables) {
    putText(&out, table.name);
    putText(&out, table.packed);
  }
  return out;
}

bool readLiteModel(const void* bytes, size_t length, LiteModelBlock* out) {
  *out = {};
  const std::string_view all(static_cast<const char*>(bytes), bytes ? length : 0);
  if (all.substr(0, kMagic.size()) == kMagic && readBody(Reader(all.substr(kMagic.size())), out)) return true;
  *out = {};
  return false;
}

}  // namespace tlm::wire
