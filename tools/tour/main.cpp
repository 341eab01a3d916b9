// tlm_tour DIR: plays the road of one edit; pictures and report.json go to DIR.
#include <TlmClient/ModuleStyle.h>

#include <QApplication>
#include <QDir>
#include <QTemporaryDir>

#include <cstdio>

#include "EditRoad.h"

namespace {

int play(const QDir& folder) {
  QString problem;
  const auto library = tlm::ModuleLibrary::load(QString(), &problem);
  if (!library) {
    std::fprintf(stderr, "%s\n", qUtf8Printable(problem));
    return 1;
  }
  const QTemporaryDir scratch;
  tlm::tour::Report report(folder);
  tlm::tour::EditRoad road(*library, QDir(scratch.path()), report);
  const bool played = road.play();
  return report.finish() && played ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  QApplication app(argc, argv);
  QApplication::setStyle("fusion");
  QApplication::setPalette(tlm::workstationPalette());
  QApplication::setFont(tlm::workstationFont());
  const QStringList arguments = QApplication::arguments();
  if (arguments.size() != 2 || !QDir().mkpath(arguments.at(1))) {
    std::fprintf(stderr, "usage: tlm_tour DIR\n");
    return 2;
  }
  return play(QDir(arguments.at(1)));
}
