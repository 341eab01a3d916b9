#include "sampleCell.h"

#include <algorithm>
#include <charconv>
#include <chrono>

namespace tlm::server {

std::vector<std::string_view> cellsOf(std::string_view line) {
  std::vector<std::string_view> cells;
  for (size_t at = 0;;) {
    const size_t end = line.find('\t', at);
    cells.push_back(line.substr(at, end == std::string_view::npos ? end : end - at));
    if (end == std::string_view::npos) return cells;
    at = end + 1;
  }
}

std::optional<std::string> cellText(std::string_view cell) {
  std::string text;
  if (cell == "\"\"") return text;
  for (size_t i = 0; i < cell.size(); ++i) {
    if (cell[i] != '\\') {
      text += cell[i];
      continue;
    }
    const char next = ++i < cell.size() ? cell[i] : '\0';
    if (next != 't' && next != 'n' && next != '\\') return std::nullopt;
    text += next == 't' ? '\t' : next == 'n' ? '\n' : '\\';
  }
  return text;
}

std::string nameSpace(const Catalogue& catalogue, std::string_view table) {
  const auto chain = catalogue.chain(table);
  return chain.size() > 1 ? chain[1]->name : std::string(table);
}

std::string keyFor(std::string_view space, std::string_view name) {
  return keyOfName(std::string(space) + ":" + std::string(name));
}

std::optional<int64_t> wholeNumber(std::string_view cell) {
  int64_t value = 0;
  const auto [end, code] = std::from_chars(cell.data(), cell.data() + cell.size(), value);
  if (code != std::errc() || end != cell.data() + cell.size()) return std::nullopt;
  return value;
}

std::optional<double> realNumber(std::string_view cell) {
  double value = 0;
  const auto [end, code] = std::from_chars(cell.data(), cell.data() + cell.size(), value);
  if (code != std::errc() || end != cell.data() + cell.size()) return std::nullopt;
  return value;
}

// The text has a digit wherever the pattern has a nought, and the pattern's character elsewhere.
bool looksLike(std::string_view text, std::string_view pattern) {
  const auto fits = [](char have, char wanted) { return wanted == '0' ? have >= '0' && have <= '9' : have == wanted; };
  return std::equal(text.begin(), text.end(), pattern.begin(), pattern.end(), fits);
}

std::optional<double> dateNumber(std::string_view cell) {
  const bool dateAndTime = looksLike(cell, "0000-00-00T00:00");
  if (!dateAndTime && !looksLike(cell, "0000-00-00")) return std::nullopt;
  const auto number = [&](size_t at, size_t length) { return static_cast<int>(*wholeNumber(cell.substr(at, length))); };
  const std::chrono::year_month_day day{std::chrono::year(number(0, 4)),
                                        std::chrono::month(static_cast<unsigned>(number(5, 2))),
                                        std::chrono::day(static_cast<unsigned>(number(8, 2)))};
  const int hour = dateAndTime ? number(11, 2) : 0;
  const int minute = dateAndTime ? number(14, 2) : 0;
  if (!day.ok() || hour > 23 || minute > 59) return std::nullopt;
  constexpr std::chrono::sys_days kOrigin = std::chrono::year(1899) / 12 / 30;
  return static_cast<double>((std::chrono::sys_days(day) - kOrigin).count()) + (hour * 60 + minute) / 1440.0;
}

}  // namespace tlm::server
