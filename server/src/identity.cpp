#include "identity.h"

#include <cstdio>
#include <random>

namespace tlm::server {

std::string newIdentity() {
  std::random_device random;
  std::string identity;
  for (int i = 0; i < 4; ++i) {
    char part[9];
    std::snprintf(part, sizeof part, "%08X", random());
    identity += part;
  }
  return identity;
}

}  // namespace tlm::server
