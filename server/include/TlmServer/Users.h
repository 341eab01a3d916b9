// Who may act on the field: names, rights and passwords, kept in the store beside the model.
#ifndef TLMSERVER_USERS_H
#define TLMSERVER_USERS_H

#include <TlmServer/Catalogue.h>
#include <TlmServer/Store.h>

#include <string>
#include <string_view>
#include <vector>

namespace tlm::server {

struct User {
  std::string name;      // Windows-1251
  bool control = false;  // may send telecontrol commands
  bool values = false;   // may hand in values from the field: a collector, not a person
};

// What becomes of somebody who wants to act. After ten wrong passwords in a row nobody gets in under that name for a
// minute, with the right one neither.
enum class Verdict { kGranted, kWrong, kLocked, kNoRight };

inline constexpr size_t kMostUserName = 60;  // bytes
inline constexpr size_t kMostPassword = 128;

// Each reads or writes an open store that no core uses. False with a message in *error, and the store is as it was.
// A password is any bytes but none; only its hash (Argon2id) is kept. Adding a user who is there replaces him.
bool addUser(Store& store, const Catalogue& catalogue, const User& user, std::string_view password, std::string* error);
bool listUsers(Store& store, const Catalogue& catalogue, std::vector<User>* users, std::string* error);
bool removeUser(Store& store, const Catalogue& catalogue, const std::string& name, std::string* error);

}  // namespace tlm::server

#endif
