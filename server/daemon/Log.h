// The log of the daemon: one line for each thing that happened, on standard error.
//
//   time=2026-03-01T09:30:12.345Z level=info event=session-opened peer=ipv4:127.0.0.1:40112 sessions=3
//
// Values with blanks, quotation marks, equals signs or control characters stand in quotation marks, with \" \\ \n and
// \x1b (any other control character) inside.
#ifndef TLMDAEMON_LOG_H
#define TLMDAEMON_LOG_H

#include <functional>
#include <initializer_list>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>

namespace tlm::server {

enum class LogLevel { kDebug, kInfo, kWarning, kError };

// False for a name that is none: debug, info, warning, error.
bool logLevelOf(std::string_view name, LogLevel* level);

// Any thread.
class Log {
 public:
  using Values = std::initializer_list<std::pair<std::string_view, std::string>>;
  using Sink = std::function<void(const std::string& line)>;  // with its line feed

  // Lines below `least` are left out. The sink is called by one thread at a time; standard error when empty.
  explicit Log(LogLevel least = LogLevel::kInfo, Sink sink = {});

  void write(LogLevel level, std::string_view event, Values values = {});
  void debug(std::string_view event, Values values = {}) { write(LogLevel::kDebug, event, values); }
  void info(std::string_view event, Values values = {}) { write(LogLevel::kInfo, event, values); }
  void warning(std::string_view event, Values values = {}) { write(LogLevel::kWarning, event, values); }
  void error(std::string_view event, Values values = {}) { write(LogLevel::kError, event, values); }

 private:
  const LogLevel least_;
  const Sink sink_;
  std::mutex mutex_;
};

}  // namespace tlm::server

#endif
