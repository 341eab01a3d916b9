// Identities that nobody else draws.
#ifndef TLMSERVER_IDENTITY_H
#define TLMSERVER_IDENTITY_H

#include <string>

namespace tlm::server {

// 32 random digits of base 16, for a store that is made.
std::string newIdentity();

}  // namespace tlm::server

#endif
