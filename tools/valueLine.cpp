#include "valueLine.h"

#include <TlmServer/CodePage.h>

#include <charconv>
#include <cstdio>
#include <ctime>
#include <optional>
#include <utility>

namespace tlm::ctl {
namespace {

constexpr size_t kKeyLength = 32;

bool fail(std::string what, std::string* error) {
  *error = std::move(what);
  return false;
}

template <typename Number>
std::optional<Number> readNumber(std::string_view text) {
  Number number = 0;
  const auto [end, code] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (code != std::errc() || end != text.data() + text.size() || text.empty()) return std::nullopt;
  return number;
}

// What comes behind the opening mark; leaves *at behind the closing one.
bool takeQuoted(std::string_view line, size_t* at, std::string* word) {
  for (; *at < line.size(); ++*at) {
    char c = line[*at];
    if (c == '"') return ++*at, true;
    if (c == '\\' && *at + 1 < line.size()) c = line[++*at];
    *word += c;
  }
  return false;
}

bool readKey(const std::string& word, v1::FieldValue* value, std::string* error) {
  const bool marked = word.starts_with('#');
  if (const auto number = readNumber<int32_t>(std::string_view(word).substr(marked ? 1 : 0));
      number && word.size() < kKeyLength) {
    value->set_loc_id(*number);
    return true;
  }
  if (marked || word.size() != kKeyLength)
    return fail("no key and no number of a measurement: \"" + word + "\"", error);
  value->set_key(word);
  return true;
}

bool readQuality(const std::string& word, v1::FieldValue* value, std::string* error) {
  constexpr std::pair<const char*, int> kNames[] = {{"good", 0}, {"old", 2}, {"invalid", 3}};
  for (const auto& [name, number] : kNames) {
    if (word == name) return value->set_quality(number), true;
  }
  return fail("the quality is good, old or invalid, not \"" + word + "\"", error);
}

// "Z", "+03:00", "-0330": minutes.
std::optional<int> readOffset(std::string_view text) {
  if (text == "Z") return 0;
  int hours = 0;
  int minutes = 0;
  int length = 0;
  const std::string copy(text);
  if (std::sscanf(copy.c_str(), "%*1[+-]%2d:%2d%n", &hours, &minutes, &length) != 2 &&
      std::sscanf(copy.c_str(), "%*1[+-]%2d%2d%n", &hours, &minutes, &length) != 2)
    return std::nullopt;
  if (static_cast<size_t>(length) != text.size() || hours > 14 || minutes > 59) return std::nullopt;
  return (text[0] == '-' ? -1 : 1) * (hours * 60 + minutes);
}

// "2026-11-21T07:05:10.250Z": milliseconds since 1970.
std::optional<int64_t> readDate(const std::string& word) {
  std::tm date{};
  int length = 0;
  if (std::sscanf(word.c_str(), "%4d-%2d-%2dT%2d:%2d:%2d%n", &date.tm_year, &date.tm_mon, &date.tm_mday, &date.tm_hour,
                  &date.tm_min, &date.tm_sec, &length) != 6 ||
      length != 19)
    return std::nullopt;
  std::string_view rest = std::string_view(word).substr(19);
  int64_t ms = 0;
  if (rest.starts_with('.')) {
    const size_t digits = std::min(rest.find_first_not_of("0123456789", 1), rest.size()) - 1;
    if (digits < 1 || digits > 3) return std::nullopt;
    std::string padded(rest.substr(1, digits));
    padded.resize(3, '0');
    ms = readNumber<int64_t>(padded).value_or(0);
    rest.remove_prefix(digits + 1);
  }
  const auto offset = readOffset(rest);
  const std::tm asked{date};
  date.tm_year -= 1900;
  date.tm_mon -= 1;
  const std::time_t seconds = timegm(&date);  // puts a day that is none on another
  if (!offset || date.tm_mday != asked.tm_mday || date.tm_mon + 1 != asked.tm_mon || date.tm_hour != asked.tm_hour ||
      date.tm_min != asked.tm_min || date.tm_sec != asked.tm_sec)
    return std::nullopt;
  return (static_cast<int64_t>(seconds) - *offset * 60) * 1000 + ms;
}

bool readTime(const std::string& word, v1::FieldValue* value, std::string* error) {
  const bool plain = word.find_first_not_of("0123456789") == std::string::npos;
  const auto time = plain ? readNumber<int64_t>(word) : readDate(word);
  if (!time || *time <= 0)
    return fail("a time is 2026-11-21T07:05:10.250Z or milliseconds since 1970, not \"" + word + "\"", error);
  value->set_time_ms(*time);
  return true;
}

}  // namespace

bool splitWords(std::string_view line, std::vector<std::string>* words, std::vector<bool>* quoted, std::string* error) {
  constexpr std::string_view kBlanks = " \t\r";
  for (size_t at = 0; (at = line.find_first_not_of(kBlanks, at)) != std::string_view::npos;) {
    quoted->push_back(line[at] == '"');
    std::string& word = words->emplace_back();
    if (quoted->back()) {
      if (!takeQuoted(line, &++at, &word)) return fail("a quotation mark is not closed", error);
      if (at < line.size() && kBlanks.find(line[at]) == std::string_view::npos)
        return fail("something stands close behind a quotation mark", error);
    } else {
      const size_t end = std::min(line.find_first_of(kBlanks, at), line.size());
      word = line.substr(at, end - at);
      at = end;
    }
  }
  return true;
}

bool readValue(const std::vector<std::string>& words, bool quoted, v1::FieldValue* value, std::string* error) {
  if (words.size() < 2 || words.size() > 4) return fail("a line is KEY VALUE [QUALITY [TIME]]", error);
  if (!readKey(words[0], value, error)) return false;
  if (quoted || words[1] != "-") value->set_written(server::toCodePage(words[1]));
  if (words.size() > 2 && !words[2].empty() && !readQuality(words[2], value, error)) return false;
  return words.size() < 4 || words[3].empty() || readTime(words[3], value, error);
}

std::string reasonText(int why) {
  constexpr const char* kTexts[] = {"no such measurement",
                                    "the measurement is not in operation",
                                    "not a number, or a number for a text",
                                    "a number that this measurement cannot have",
                                    "the text is too long or has control characters",
                                    "no such quality",
                                    "a time before 1970 or in the future",
                                    "older than all that is kept of the measurement",
                                    "no value, and none from before to mark"};
  if (why >= 1 && why <= static_cast<int>(std::size(kTexts))) return kTexts[why - 1];
  return "refused for reason " + std::to_string(why);
}

}  // namespace tlm::ctl
