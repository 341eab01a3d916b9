#include "Log.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <ctime>

namespace tlm::server {
namespace {

constexpr std::string_view kLevels[] = {"debug", "info", "warning", "error"};

std::string now() {
  const auto since = std::chrono::system_clock::now().time_since_epoch();
  const auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(since).count();
  const std::time_t seconds = static_cast<std::time_t>(ms / 1000);
  std::tm parts{};
  gmtime_r(&seconds, &parts);
  char text[40];
  const size_t length = std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S", &parts);
  std::snprintf(text + length, sizeof text - length, ".%03dZ", static_cast<int>(ms % 1000));
  return text;
}

bool isControl(char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7f; }

bool isPlain(char c) { return !isControl(c) && std::string_view(" =\"\\").find(c) == std::string_view::npos; }

// What clients say about themselves goes into the log: it must neither end a line nor steer a terminal.
std::string escaped(char c) {
  if (c == '\n') return "\\n";
  if (c == '"' || c == '\\') return {'\\', c};
  if (!isControl(c)) return std::string(1, c);
  char text[8];
  std::snprintf(text, sizeof text, "\\x%02x", static_cast<unsigned>(static_cast<unsigned char>(c)));
  return text;
}

void append(std::string_view value, std::string* line) {
  if (!value.empty() && std::all_of(value.begin(), value.end(), isPlain)) {
    *line += value;
    return;
  }
  *line += '"';
  for (const char c : value) *line += escaped(c);
  *line += '"';
}

void toStandardError(const std::string& line) { std::fwrite(line.data(), 1, line.size(), stderr); }

}  // namespace

bool logLevelOf(std::string_view name, LogLevel* level) {
  for (size_t i = 0; i < std::size(kLevels); ++i) {
    if (kLevels[i] != name) continue;
    *level = static_cast<LogLevel>(i);
    return true;
  }
  return false;
}

Log::Log(LogLevel least, Sink sink) : least_(least), sink_(sink ? std::move(sink) : toStandardError) {}

void Log::write(LogLevel level, std::string_view event, Values values) {
  if (level < least_) return;
  std::string line = "time=" + now() + " level=";
  line += kLevels[static_cast<size_t>(level)];
  line += " event=";
  line += event;
  for (const auto& [name, value] : values) {
    line += ' ';
    line += name;
    line += '=';
    append(value, &line);
  }
  line += '\n';
  const std::lock_guard lock(mutex_);
  sink_(line);
}

}  // namespace tlm::server
