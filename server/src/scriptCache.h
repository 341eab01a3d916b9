// Scripts that clients send again and again, compiled once.
#ifndef TLMSERVER_SCRIPTCACHE_H
#define TLMSERVER_SCRIPTCACHE_H

#include <TlmServer/Script.h>

#include <list>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>

namespace tlm::server {

// The latest scripts by their texts. Each call names its function anew, and the name plays no part in a run, so it
// plays none here either. Thread-safe.
class ScriptCache {
 public:
  explicit ScriptCache(size_t capacity = 64) : capacity_(capacity) {}

  // As Script::compile. A text with a fault is compiled every time.
  std::shared_ptr<const Script> compiled(std::string_view text, std::string* error);

  size_t size() const;
  size_t compilations() const;  // so far

  // The text without the name of its function; whole when it does not begin with one, or when the name occurs
  // once more.
  static std::string keyOf(std::string_view text);

 private:
  struct Entry {
    std::string key;
    std::shared_ptr<const Script> script;
  };
  std::shared_ptr<const Script> held(const std::string& key);

  const size_t capacity_;
  mutable std::mutex mutex_;
  std::list<Entry> entries_;  // the latest first
  std::unordered_map<std::string_view, std::list<Entry>::iterator> byKey_;
  size_t compilations_ = 0;
};

}  // namespace tlm::server

#endif
