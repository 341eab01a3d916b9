#include "sampleCell.h"

#include <charconv>
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
  int year = 0, month = 0, day = 0, hour = 0, minute = 0, read = 0;
  const std::string text(cell);
  const bool date = std::sscanf(text.c_str(), "%4d-%2d-%2d%n", &year, &month, &day, &read) == 3 && read == 10;
  const bool onlyDate = date && text.size() == 10;
  const bool dateAndTime = date && text.size() == 16 && std::sscanf(text.c_str() + 10, "T%2d:%2d", &hour, &minute) == 2;
  if (!(onlyDate || dateAndTime) || month < 1 || month > 12 || day < 1 || day > 31 || hour > 23 || minute > 59)
    return std::nullopt;
  // Days of the Gregorian calendar, counted from March so that a leap day ends the year.
  const int y = year - (month < 3 ? 1 : 0);
  const int m = (month + 9) % 12;
  const int days = 365 * y + y / 4 - y / 100 + y / 400 + (153 * m + 2) / 5 + day - 1;
  constexpr int kOrigin = 693899;  // 30.12.1899, counted the same way
  return days - kOrigin + (hour * 60 + minute) / 1440.0;
}

}  // namespace tlm::server
