#include "Failure.h"

#include <algorithm>

namespace tlm::script {

std::string describe(std::string_view text, Offset at, std::string_view message) {
  const std::string_view before = text.substr(0, std::min<size_t>(at, text.size()));
  const auto line = 1 + std::count(before.begin(), before.end(), '\n');
  const size_t lineStart = before.rfind('\n') + 1;  // npos + 1 is 0
  std::string out = "line " + std::to_string(line) + ", column " + std::to_string(before.size() - lineStart + 1) + ": ";
  return out.append(message);
}

std::string quoted(std::string_view word) {
  constexpr size_t kLongest = 64;
  std::string out = "\"";
  out.append(word.substr(0, kLongest));
  if (word.size() > kLongest) out += "...";
  return out + "\"";
}

}  // namespace tlm::script
