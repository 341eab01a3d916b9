#include "scriptCache.h"

#include <algorithm>
#include <cctype>

namespace tlm::server {

std::string ScriptCache::keyOf(std::string_view text) {
  const auto isNameLetter = [](char c) { return std::isalnum(static_cast<unsigned char>(c)) || c == '_'; };
  const auto end = std::find_if_not(text.begin(), text.end(), isNameLetter);
  const std::string_view name(text.data(), static_cast<size_t>(end - text.begin()));
  const std::string_view rest = text.substr(name.size());
  const bool named = !name.empty() && !rest.empty() && rest.front() == '(';
  return std::string(named && rest.find(name) == std::string_view::npos ? rest : text);
}

std::shared_ptr<const Script> ScriptCache::held(const std::string& key) {
  const std::lock_guard lock(mutex_);
  const auto at = byKey_.find(key);
  if (at == byKey_.end()) return nullptr;
  entries_.splice(entries_.begin(), entries_, at->second);
  return entries_.front().script;
}

std::shared_ptr<const Script> ScriptCache::compiled(std::string_view text, std::string* error) {
  std::string key = keyOf(text);
  if (auto script = held(key)) return script;
  std::shared_ptr<const Script> script = Script::compile(text, error);
  const std::lock_guard lock(mutex_);
  ++compilations_;
  if (!script || byKey_.count(key)) return script;  // another thread may have been quicker
  entries_.push_front({std::move(key), script});
  byKey_.emplace(entries_.front().key, entries_.begin());
  if (entries_.size() > capacity_) {
    byKey_.erase(entries_.back().key);
    entries_.pop_back();
  }
  return script;
}

size_t ScriptCache::size() const {
  const std::lock_guard lock(mutex_);
  return entries_.size();
}

size_t ScriptCache::compilations() const {
  const std::lock_guard lock(mutex_);
  return compilations_;
}

}  // namespace tlm::server
