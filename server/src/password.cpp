#include "password.h"

#include <sodium.h>

#include <mutex>

namespace tlm::server {
namespace {

bool ready() {
  static const bool started = sodium_init() >= 0;
  return started;
}

}  // namespace

std::string hashPassword(std::string_view password) {
  char hash[crypto_pwhash_STRBYTES] = {};
  if (!ready() || crypto_pwhash_str_alg(hash, password.data(), password.size(), crypto_pwhash_OPSLIMIT_INTERACTIVE,
                                        crypto_pwhash_MEMLIMIT_INTERACTIVE, crypto_pwhash_ALG_ARGON2ID13) != 0)
    return {};
  return hash;
}

// Who asks for a user that is not there learns nothing from the time that it takes.
bool passwordFits(const std::string& hash, std::string_view password) {
  static std::mutex mutex;
  const std::lock_guard lock(mutex);
  static const std::string nobody = hashPassword("nobody has this password");
  const std::string& asked = hash.empty() ? nobody : hash;
  const bool fits = ready() && crypto_pwhash_str_verify(asked.c_str(), password.data(), password.size()) == 0;
  return fits && !hash.empty();
}

}  // namespace tlm::server
