#include <TlmServer/Users.h>

#include "ownTable.h"
#include "password.h"
#include "values.h"

namespace tlm::server {
namespace {

constexpr char kTable[] = "Users";

bool fail(const char* why, std::string* error) {
  *error = why;
  return false;
}

// The key of a user's row.
std::string keyOf(const std::string& name) { return keyOfName("user " + name); }

}  // namespace

bool addUser(Store& store, const Catalogue& catalogue, const User& user, std::string_view password,
             std::string* error) {
  if (user.name.empty() || user.name.size() > kMostUserName) return fail("a name has 1 to 60 characters", error);
  if (password.empty() || password.size() > kMostPassword) return fail("a password has 1 to 128 bytes", error);
  OwnTable users(catalogue, kTable);
  if (!users.load(store, error)) return false;
  const std::string hash = hashPassword(password);
  if (hash.empty()) return fail("no memory for the hash of the password", error);
  return users.put(store, keyOf(user.name),
                   {{"name_", textVar(user.name)},
                    {"control", boolVar(user.control)},
                    {"password", textVar(hash)},
                    {"values_", boolVar(user.values)}},
                   error);
}

bool listUsers(Store& store, const Catalogue& catalogue, std::vector<User>* users, std::string* error) {
  OwnTable table(catalogue, kTable);
  if (!table.load(store, error)) return false;
  const MDArray* rows = table.rows();
  users->clear();
  users->reserve(static_cast<size_t>(MDARecCount(rows)));
  for (int i = 0; i < MDARecCount(rows); ++i) {
    const MDRData* row = MDARec(rows, 0, i);
    users->push_back(
        {std::string(textOf(rows, row, "name_")), intOf(rows, row, "control") == 1, intOf(rows, row, "values_") == 1});
  }
  return true;
}

bool removeUser(Store& store, const Catalogue& catalogue, const std::string& name, std::string* error) {
  OwnTable users(catalogue, kTable);
  if (!users.load(store, error)) return false;
  if (!users.find(keyOf(name))) return fail("there is no user of that name", error);
  return users.erase(store, keyOf(name), error);
}

}  // namespace tlm::server
