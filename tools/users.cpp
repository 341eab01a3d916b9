#include <TlmServer/Catalogue.h>
#include <TlmServer/CodePage.h>
#include <TlmServer/SqliteStore.h>
#include <TlmServer/Users.h>

#include <unistd.h>

#include <cstdio>

#include "commands.h"
#include "password.h"

namespace tlm::ctl {
namespace {

using namespace tlm::server;

const char* rightsOf(const User& user) {
  if (user.control) return user.values ? "control,values" : "control";
  return user.values ? "values" : "-";
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
  const User user{nameOf(arguments), arguments.has("--control"), arguments.has("--values")};
  return server::addUser(*store, Catalogue::builtIn(), user, readPassword(STDIN_FILENO), &error) ? kDone
                                                                                                 : failed(error);
}

int listUsers(const Arguments& arguments) {
  std::string error;
  std::vector<User> users;
  const auto store = readSqliteStore(arguments.file, Catalogue::builtIn(), &error);
  if (!store || !server::listUsers(*store, Catalogue::builtIn(), &users, &error)) return failed(error);
  for (const User& user : users) std::printf("%s\t%s\n", fromCodePage(user.name).c_str(), rightsOf(user));
  return kDone;
}

int removeUser(const Arguments& arguments) {
  std::string error;
  const auto store = open(arguments, &error);
  return store && server::removeUser(*store, Catalogue::builtIn(), nameOf(arguments), &error) ? kDone : failed(error);
}

}  // namespace tlm::ctl
