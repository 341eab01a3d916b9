// The command line of the workstation.
#ifndef TLMHOST_STATIONOPTIONS_H
#define TLMHOST_STATIONOPTIONS_H

#include <QString>
#include <QStringList>

namespace tlm {

// What the program ends with.
enum StationExit {
  kExitOk = 0,
  kExitUsage = 1,
  kExitStore = 2,
  kExitModule = 3,
  kExitServer = 4,
  kExitUnwritten = 5  // some of the last changes were not written
};

struct StationOptions {
  QString storeFile;      // empty: the user's own, made on first start
  QString serverAddress;  // empty: the server runs inside
  QString moduleName = "config";
  QString libraryFile;   // empty: beside the program
  QString settingsFile;  // empty: the user's own
  QString user;          // empty: who is logged in
  bool dialogs = true;   // problems are shown in a box; else told on the error stream
  bool simulator = true;
};

// Who works at this machine.
QString loggedIn();

// Reads the arguments behind the program's name. False: the program ends with *exitCode after *message has
// been told (on the output for --help, else on the error stream).
bool readOptions(const QStringList& arguments, StationOptions* options, QString* message, int* exitCode);

}  // namespace tlm

#endif
