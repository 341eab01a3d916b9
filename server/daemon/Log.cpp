#include "Log.h"

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

void append(std::string_view value, std::string* line) {
  if (!value.empty() && value.find_first_of(" =\"\\\n\r\t") == std::string_view::npos) {
    *line += value;
    return;
  }
  *line += '"';
  for (const char c : value) {
    if (c == '"' || c == '\\') *line += '\\';
    *line += c == '\n' ? "\\n" : std::string(1, c == '\r' || c == '\t' ? ' ' : c);
  }
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
