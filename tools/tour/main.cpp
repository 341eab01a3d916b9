// tlm_tour DIR: plays the roads of the program; pictures and report.json go to DIR.
#include <TlmClient/ModuleStyle.h>

#include <QApplication>
#include <QDir>
#include <QTemporaryDir>

#include <cstdio>

#include "AddRoad.h"
#include "ClipboardRoad.h"
#include "DeleteRoad.h"
#include "EditRoad.h"
#include "LiveRoad.h"
#include "OperatorRoad.h"
#include "PassportRoad.h"
#include "SearchRoad.h"
#include "TemplateRoad.h"

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
  bool played = tlm::tour::EditRoad(*library, QDir(scratch.path()), report).play();
  played = tlm::tour::PassportRoad(*library, QDir(scratch.path()), report).play() && played;
  played = tlm::tour::AddRoad(*library, QDir(scratch.path()), report).play() && played;
  played = tlm::tour::DeleteRoad(*library, QDir(scratch.path()), report).play() && played;
  played = tlm::tour::SearchRoad(*library, QDir(scratch.path()), report).play() && played;
  played = tlm::tour::ClipboardRoad(*library, QDir(scratch.path()), report).play() && played;
  played = tlm::tour::TemplateRoad(*library, QDir(scratch.path()), report).play() && played;
  played = tlm::tour::LiveRoad(*library, QDir(scratch.path()), report).play() && played;
  played = tlm::tour::OperatorRoad(*library, QDir(scratch.path()), report).play() && played;
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
