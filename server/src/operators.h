// Checks who commands: right, password, and how often he was wrong.
#ifndef TLMSERVER_OPERATORS_H
#define TLMSERVER_OPERATORS_H

#include <TlmServer/Store.h>
#include <TlmServer/Users.h>

#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include "ownTable.h"

namespace tlm::server {

// Any thread, once it is loaded.
class Operators {
 public:
  enum class Right { kControl, kValues };

  static constexpr int kMostTries = 10;  // wrong ones in a row
  static constexpr double kLockSeconds = 60;

  explicit Operators(const Catalogue& catalogue) : users_(catalogue, "Users") {}

  bool load(Store& store, std::string* error) { return users_.load(store, error); }

  // `password` is absent where the signal asks for none. `now` in days.
  Verdict check(Right right, const std::string& name, std::optional<std::string_view> password, double now);

 private:
  struct Tries {
    int wrong = 0;
    double lockedUntil = 0;  // days
    double last = 0;
  };

  // With the mutex held.
  bool locked(const std::string& name, double now) const;
  void note(const std::string& name, bool right, double now);

  OwnTable users_;
  std::mutex mutex_;
  std::map<std::string, Tries> tries_;  // of names that were given, there or not
};

}  // namespace tlm::server

#endif
