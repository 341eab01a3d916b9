// tlmstation: the workstation shell.
#include <QApplication>
#include <QMessageBox>

#include <cstdio>

#include "StationApp.h"
#include "StationWindow.h"
#include "stationIcon.h"
#include "stationOptions.h"

#include <TlmClient/ModuleStyle.h>

namespace {

// A box needs somebody to close it: without a screen, and when asked to, the error stream is told instead.
int fail(const tlm::StationOptions& options, int code, const QString& text) {
  std::fprintf(stderr, "%s\n", qUtf8Printable(text));
  const bool screen = QApplication::platformName() != "offscreen" && QApplication::platformName() != "minimal";
  if (options.dialogs && screen) QMessageBox::critical(nullptr, "Рабочая станция", text);
  return code;
}

int run(const tlm::StationOptions& options) {
  QString problem;
  const auto library = tlm::ModuleLibrary::load(options.libraryFile, &problem);
  if (!library) return fail(options, tlm::kExitModule, problem);
  const QString user = options.user.isEmpty() ? tlm::loggedIn() : options.user;
  const bool remote = !options.serverAddress.isEmpty();
  const auto server = remote ? tlm::StationServer::connect(options.serverAddress, user, &problem)
                             : tlm::StationServer::open(options.storeFile, &problem);
  if (!server) return fail(options, remote ? tlm::kExitServer : tlm::kExitStore, problem);
  if (options.simulator && !remote) server->startSimulator();
  tlm::StationApp station(*server,
                          {options.moduleName, user, options.settingsFile, library->factory(), library->library()});
  if (!station.openWindow(&problem)) return fail(options, tlm::kExitModule, problem);
  const int code = QApplication::exec();
  const QString lost = station.closeAll();
  return lost.isEmpty() ? code : fail(options, tlm::kExitUnwritten, lost);
}

}  // namespace

int main(int argc, char** argv) {
  // What is told before there is a window needs no display.
  QStringList arguments;
  for (int i = 1; i < argc; ++i) arguments.append(QString::fromLocal8Bit(argv[i]));
  tlm::StationOptions options;
  QString message;
  int exitCode = tlm::kExitOk;
  if (!tlm::readOptions(arguments, &options, &message, &exitCode)) {
    std::fputs(qUtf8Printable(message), exitCode == tlm::kExitOk ? stdout : stderr);
    return exitCode;
  }
  QApplication app(argc, argv);
  QApplication::setApplicationName("tlmstation");
  QApplication::setApplicationVersion("2.1.0");
  QApplication::setStyle("fusion");
  QApplication::setPalette(tlm::workstationPalette());
  QApplication::setFont(tlm::workstationFont());
  QApplication::setWindowIcon(tlm::stationIcon());
  return run(options);
}
