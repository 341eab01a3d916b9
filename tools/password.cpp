#include "password.h"

#include <termios.h>
#include <unistd.h>

#include <cstdio>

namespace tlm::ctl {

// Byte by byte: what stands behind the line is not ours.
std::string readPassword(int input) {
  termios before{};
  const bool typed = isatty(input) != 0 && tcgetattr(input, &before) == 0;
  if (typed) {
    std::fputs("password: ", stderr);
    termios silent = before;
    silent.c_lflag &= ~static_cast<tcflag_t>(ECHO);
    tcsetattr(input, TCSANOW, &silent);
  }
  std::string line;
  for (char c = 0; ::read(input, &c, 1) == 1 && c != '\n';) line += c;
  if (typed) {
    tcsetattr(input, TCSANOW, &before);
    std::fputs("\n", stderr);
  }
  return line;
}

}  // namespace tlm::ctl
