// Hashes of passwords, and whether a password is the one of a hash.
#ifndef TLMSERVER_PASSWORD_H
#define TLMSERVER_PASSWORD_H

#include <string>
#include <string_view>

namespace tlm::server {

// Argon2id with a salt of its own, as text that tells its parameters. Empty when there is no memory for it.
std::string hashPassword(std::string_view password);

// Takes a tenth of a second or so, and 64 MiB; one at a time in the whole process. An empty hash fits no password, and
// takes as long.
bool passwordFits(const std::string& hash, std::string_view password);

}  // namespace tlm::server

#endif
