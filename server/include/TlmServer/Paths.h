// Where the model lives on this machine.
#ifndef TLMSERVER_PATHS_H
#define TLMSERVER_PATHS_H

#include <string>

namespace tlm::server {

// The user's folder for this program's data: $XDG_DATA_HOME/tlm when that variable holds an absolute path,
// else ~/.local/share/tlm. Empty when the user has no home. Nothing is created.
std::string dataFolder();

// The store that is used when none is named: "model.tlm" in dataFolder(). Empty when that is.
std::string defaultStorePath();

// Makes a folder and those above it (mode 0700 for what is made). False with a message in *error.
bool makeFolder(const std::string& folder, std::string* error);

}  // namespace tlm::server

#endif
