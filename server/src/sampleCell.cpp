#include "sampleCell.h"

#include <charconv>
#include <chrono>
#include <cstdio>

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

std::optional<double> dateNumber(std::string_view cell) {
  int year = 0, month = 0, dayOfMonth = 0, hour = 0, minute = 0, read = 0;
  const std::string text(cell);
  const bool date = std::sscanf(text.c_str(), "%4d-%2d-%2d%n", &year, &month, &dayOfMonth, &read) == 3 && read == 10;
  const bool onlyDate = date && text.size() == 10;
  const bool dateAndTime = date && text.size() == 16 && std::sscanf(text.c_str() + 10, "T%2d:%2d", &hour, &minute) == 2;
  const std::chrono::year_month_day day{std::chrono::year(year), std::chrono::month(static_cast<unsigned>(month)),
                                        std::chrono::day(static_cast<unsigned>(dayOfMonth))};
  if (!(onlyDate || dateAndTime) || !day.ok() || hour < 0 || hour > 23 || minute < 0 || minute > 59)
    return std::nullopt;
  constexpr std::chrono::sys_days kOrigin = std::chrono::year(1899) / 12 / 30;
  return static_cast<double>((std::chrono::sys_days(day) - kOrigin).count()) + (hour * 60 + minute) / 1440.0;
}

}  // namespace tlm::server
