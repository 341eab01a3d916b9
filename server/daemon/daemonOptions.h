// What tlmserver is told: flags, and a configuration file of the same names.
//
// The file: lines "name = value", "#" starts a comment line; `listen` may stand more than once. A flag is the same
// name with two hyphens before it, and goes before the file.
#ifndef TLMDAEMON_DAEMONOPTIONS_H
#define TLMDAEMON_DAEMONOPTIONS_H

#include <TlmServer/Core.h>

#include <string>
#include <vector>

#include "Log.h"
#include "NetServer.h"

namespace tlm::server {

struct DaemonOptions {
  std::string config;     // the file's name
  std::string store;      // empty: the user's own
  bool sample = false;    // a store that is not there is made with the sample
  bool simulate = false;  // values move
  bool help = false;
  bool version = false;
  LogLevel logLevel = LogLevel::kInfo;
  int stopMs = 10'000;
  CoreOptions core;
  NetOptions net;
};

// Reads the arguments behind the program's name, and the file that they name. False with a message in *error.
bool readDaemonOptions(const std::vector<std::string>& arguments, DaemonOptions* options, std::string* error);

// The text of a configuration file; `name` is for messages.
bool readConfiguration(const std::string& text, const std::string& name, DaemonOptions* options, std::string* error);

std::string daemonUsage();

}  // namespace tlm::server

#endif
