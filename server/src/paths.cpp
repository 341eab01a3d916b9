#include <TlmServer/Paths.h>

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace tlm::server {
namespace {

std::string absoluteVariable(const char* name) {
  const char* value = std::getenv(name);
  return value && value[0] == '/' ? value : "";
}

std::string homeFolder() {
  const std::string home = absoluteVariable("HOME");
  if (!home.empty()) return home;
  const passwd* user = getpwuid(getuid());
  return user && user->pw_dir && user->pw_dir[0] == '/' ? user->pw_dir : "";
}

bool isFolder(const std::string& path) {
  struct stat info {};
  return stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

}  // namespace

std::string dataFolder() {
  const std::string shared = absoluteVariable("XDG_DATA_HOME");
  if (!shared.empty()) return shared + "/tlm";
  const std::string home = homeFolder();
  return home.empty() ? "" : home + "/.local/share/tlm";
}

std::string defaultStorePath() {
  const std::string folder = dataFolder();
  return folder.empty() ? "" : folder + "/model.tlm";
}

bool makeFolder(const std::string& folder, std::string* error) {
  for (size_t end = folder.find('/', 1);; end = folder.find('/', end + 1)) {
    const std::string part = folder.substr(0, end);
    if (mkdir(part.c_str(), 0700) != 0 && !isFolder(part)) {
      *error = "cannot make the folder " + part + ": " + std::strerror(errno);
      return false;
    }
    if (end == std::string::npos) return true;
  }
}

}  // namespace tlm::server
