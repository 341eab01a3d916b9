#include "daemonOptions.h"

#include <TlmWireGrpc/convert.h>

#include <algorithm>
#include <charconv>
#include <fstream>
#include <functional>
#include <iterator>
#include <limits>
#include <sstream>
#include <string_view>

namespace tlm::server {
namespace {

constexpr char kDefaultAddress[] = "127.0.0.1:4860";

// Sets a member from a text; false when the text is none of its values.
using Setter = std::function<bool(DaemonOptions&, const std::string&)>;

template <typename Number>
bool readNumber(const std::string& text, int64_t least, int64_t most, Number* number) {
  int64_t value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size() || value < least || value > most) return false;
  *number = static_cast<Number>(value);
  return true;
}

template <typename Part, typename Number>
Setter number(Part DaemonOptions::*part, Number Part::*member, int64_t least, int64_t most) {
  return [=](DaemonOptions& options, const std::string& text) {
    return readNumber(text, least, most, &(options.*part.*member));
  };
}

template <typename Number>
Setter budget(Number ScriptBudget::*member, int64_t least, int64_t most) {
  return [=](DaemonOptions& options, const std::string& text) {
    return readNumber(text, least, most, &(options.core.budget.*member));
  };
}

bool setFlag(const std::string& text, bool* flag) {
  *flag = text == "yes" || text.empty();
  return *flag || text == "no";
}

struct Option {
  const char* name;
  const char* value;  // null: a flag without one; in a file "yes" or "no"
  const char* help;
  Setter set;
};

constexpr int64_t kMostInt = std::numeric_limits<int>::max();
constexpr int64_t kMostBytes = int64_t{1} << 40;

const std::vector<Option>& optionTable() {
  using O = DaemonOptions;
  static const std::vector<Option> table = {
      {"config", "FILE", "read this configuration file", [](O& o, const std::string& v) { return o.config = v, true; }},
      {"store", "FILE", "the model's store", [](O& o, const std::string& v) { return o.store = v, !v.empty(); }},
      {"listen", "ADDRESS", "HOST:PORT or unix:PATH, may be repeated (127.0.0.1:4860)",
       [](O& o, const std::string& v) { return o.net.addresses.push_back(v), !v.empty(); }},
      {"sample", nullptr, "make the store with the sample when it is not there",
       [](O& o, const std::string& v) { return setFlag(v, &o.sample); }},
      {"simulate", nullptr, "let the values of measurements move",
       [](O& o, const std::string& v) { return setFlag(v, &o.simulate); }},
      {"max-calls", "N", "calls on their way, and as many carried out (64)",
       number(&O::net, &NetOptions::maxCalls, 1, 4096)},
      {"max-sessions", "N", "open sessions (256)", number(&O::net, &NetOptions::maxSessions, 1, 65536)},
      // A record of that size travels as one event, whatever a client sends itself.
      {"max-request-bytes", "N", "of one block of requests (67108864, which is the most)",
       [](O& o, const std::string& v) { return readNumber(v, 1024, wire::kRecordBytes, &o.core.maxRequestBytes); }},
      {"max-reply-bytes", "N", "of one reply, and of all answers of a block (1073741824)",
       [](O& o, const std::string& v) { return readNumber(v, 1024, kMostBytes, &o.core.maxReplyBytes); }},
      {"queue-bytes", "N", "of events for a session that does not keep up (67108864)",
       number(&O::net, &NetOptions::queueBytes, 1024, kMostBytes)},
      {"held-bytes", "N", "of large replies that wait to be taken (268435456)",
       number(&O::net, &NetOptions::heldBytes, 1024, kMostBytes)},
      {"memory-bytes", "N", "of messages on their way in and out (1073741824)",
       number(&O::net, &NetOptions::memoryBytes, 16 << 20, kMostBytes)},
      {"beat-ms", "N", "how often a quiet line is told that the server is there (2000)",
       number(&O::net, &NetOptions::beatMs, 10, 60'000)},
      {"patience-ms", "N", "for connections that say nothing (20000)",
       number(&O::net, &NetOptions::patienceMs, 100, 600'000)},
      {"script-steps", "N", "of one script, and of all scripts of a block (200000000)",
       budget(&ScriptBudget::steps, 1, kMostBytes)},
      {"script-ms", "N", "of one script, and of all scripts of a block (30000)",
       budget(&ScriptBudget::milliseconds, 1, kMostInt)},
      {"script-bytes", "N", "of one script (536870912)", budget(&ScriptBudget::bytes, 1024, kMostBytes)},
      {"script-rows", "N", "of one script (2000000)", budget(&ScriptBudget::rows, 1, kMostInt)},
      {"kept-events", "N", "for clients that were away (1000000)",
       [](O& o, const std::string& v) { return readNumber(v, 1, kMostBytes, &o.core.keptEvents); }},
      {"stop-ms", "N", "for the calls under way at the end (10000)",
       [](O& o, const std::string& v) { return readNumber(v, 0, 600'000, &o.stopMs); }},
      {"log-level", "LEVEL", "debug, info, warning or error (info)",
       [](O& o, const std::string& v) { return logLevelOf(v, &o.logLevel); }},
      {"version", nullptr, "tell the version", [](O& o, const std::string& v) { return setFlag(v, &o.version); }},
      {"help", nullptr, "this text", [](O& o, const std::string& v) { return setFlag(v, &o.help); }},
  };
  return table;
}

const Option* findOption(std::string_view name) {
  for (const Option& option : optionTable()) {
    if (name == option.name) return &option;
  }
  return nullptr;
}

std::string trimmed(std::string_view text) {
  const size_t from = text.find_first_not_of(" \t\r");
  if (from == std::string_view::npos) return {};
  return std::string(text.substr(from, text.find_last_not_of(" \t\r") - from + 1));
}

struct Given {
  const Option* option;
  std::string value;
};

bool readFlags(const std::vector<std::string>& arguments, std::vector<Given>* given, std::string* error) {
  for (size_t i = 0; i < arguments.size(); ++i) {
    const std::string& argument = arguments[i];
    const Option* const option = argument.starts_with("--") ? findOption(argument.substr(2)) : nullptr;
    if (!option) return *error = "there is no option " + argument, false;
    if (option->value && ++i == arguments.size()) return *error = argument + " needs a value: " + option->value, false;
    given->push_back({option, option->value ? arguments[i] : std::string()});
  }
  return true;
}

bool readFile(const std::string& file, DaemonOptions* options, std::string* error) {
  std::ifstream stream(file, std::ios::binary);
  std::ostringstream text;
  if (!stream || !(text << stream.rdbuf())) return *error = "cannot read " + file, false;
  return readConfiguration(text.str(), file, options, error);
}

}  // namespace

bool readConfiguration(const std::string& text, const std::string& name, DaemonOptions* options, std::string* error) {
  std::istringstream lines(text);
  std::string line;
  for (int number = 1; std::getline(lines, line); ++number) {
    line = trimmed(line);
    if (line.empty() || line[0] == '#') continue;
    const auto wrong = [&](const std::string& why) {
      return *error = name + ":" + std::to_string(number) + ": " + why, false;
    };
    const size_t sign = line.find('=');
    if (sign == std::string::npos) return wrong("a line is \"name = value\"");
    const std::string key = trimmed(std::string_view(line).substr(0, sign));
    const std::string value = trimmed(std::string_view(line).substr(sign + 1));
    const Option* const option = findOption(key);
    if (!option || key == "config" || key == "help" || key == "version") return wrong("there is no setting " + key);
    if (value.empty() || !option->set(*options, value)) return wrong("no value of " + key + ": " + value);
  }
  return true;
}

bool readDaemonOptions(const std::vector<std::string>& arguments, DaemonOptions* options, std::string* error) {
  std::vector<Given> given;
  if (!readFlags(arguments, &given, error)) return false;
  for (const Given& one : given) {
    if (std::string_view(one.option->name) == "config" && !readFile(one.value, options, error)) return false;
  }
  bool listens = false;
  for (const Given& one : given) {
    // Addresses of flags take the place of those in the file.
    if (std::string_view(one.option->name) == "listen" && !std::exchange(listens, true)) options->net.addresses.clear();
    if (!one.option->set(*options, one.value))
      return *error = std::string("no value of --") + one.option->name + ": " + one.value, false;
  }
  if (options->net.addresses.empty()) options->net.addresses = {kDefaultAddress};
  options->net.maxRequestBytes = options->core.maxRequestBytes;
  // What can neither travel whole nor wait to be taken is not even gathered.
  options->core.maxReplyBytes =
      std::min(options->core.maxReplyBytes, std::max(options->net.heldBytes, wire::kWholeBytes));
  return true;
}

std::string daemonUsage() {
  std::string text = "usage: tlmserver [OPTION...]\n\nThe model server on the network.\n\n";
  for (const Option& option : optionTable()) {
    std::string left = std::string("  --") + option.name + (option.value ? std::string(" ") + option.value : "");
    left.resize(std::max<size_t>(left.size() + 2, 30), ' ');
    text += left + option.help + '\n';
  }
  return text;
}

}  // namespace tlm::server
