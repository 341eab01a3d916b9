#include <TlmServer/Catalogue.h>
#include <TlmServer/CodePage.h>
#include <TlmServer/SqliteStore.h>
#include <TlmServer/Users.h>

#include <termios.h>
#include <unistd.h>

#include <cstdio>
#include <iostream>

#include "commands.h"

namespace tlm::ctl {
namespace {

using namespace tlm::server;

// One line of the standard input, not shown while it is typed.
std::string readPassword() {
  termios before{};
  const bool typed = isatty(STDIN_FILENO) != 0 && tcgetattr(STDIN_FILENO, &before) == 0;
  if (typed) {
    std::fputs("password: ", stderr);
    termios silent = before;
    silent.c_lflag &= ~static_cast<tcflag_t>(ECHO);
    tcsetattr(STDIN_FILENO, TCSANOW, &silent);
  }
  std::string line;
  std::getline(std::cin, line);
  if (typed) {
    tcsetattr(STDIN_FILENO, TCSANOW, &before);
    std::fputs("\n", stderr);
  }
  return line;
}

std::unique_ptr<Store> open(const Arguments& arguments, std::string* error) {
  return openSqliteStore(arguments.file, Catalogue::builtIn(), error);
}

std::string nameOf(const Arguments& arguments) { return toCodePage(arguments.options.at("--name")); }

}  // namespace

int addUser(const Arguments& arguments) {
  std::string error;
  const auto store = open(arguments, &error);
  if (!store) return failed(error);
  const User user{nameOf(arguments), arguments.has("--control")};
  return server::addUser(*store, Catalogue::builtIn(), user, readPassword(), &error) ? kDone : failed(error);
}

int listUsers(const Arguments& arguments) {
  std::string error;
  std::vector<User> users;
  const auto store = open(arguments, &error);
  if (!store || !server::listUsers(*store, Catalogue::builtIn(), &users, &error)) return failed(error);
  for (const User& user : users)
    std::printf("%s\t%s\n", fromCodePage(user.name).c_str(), user.control ? "control" : "-");
  return kDone;
}

int removeUser(const Arguments& arguments) {
  std::string error;
  const auto store = open(arguments, &error);
  return store && server::removeUser(*store, Catalogue::builtIn(), nameOf(arguments), &error) ? kDone : failed(error);
}

}  // namespace tlm::ctl
