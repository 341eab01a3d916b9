// Passwords, as programs of the command line get them.
#ifndef TLMCTL_PASSWORD_H
#define TLMCTL_PASSWORD_H

#include <string>

namespace tlm::ctl {

// One line of an open input, not shown while it is typed. Empty at the end of the input.
std::string readPassword(int input);

}  // namespace tlm::ctl

#endif
