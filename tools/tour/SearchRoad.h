// Searches: by name in a unit that is closed, by key, by number, and for what there is not.
#ifndef TLMTOUR_SEARCHROAD_H
#define TLMTOUR_SEARCHROAD_H

#include <host/src/moduleLibrary.h>

#include <QDir>

#include <memory>

#include "Report.h"
#include "Stage.h"

namespace tlm::tour {

class SearchRoad {
 public:
  SearchRoad(ModuleLibrary& library, const QDir& scratch, Report& report);

  bool play();

 private:
  void byName();
  void byNumber();
  void byKey();
  void inVain();
  void close();
  void search(const QString& text);
  QString current() const;  // number and name of the current row

  ModuleLibrary& library_;
  const QString storeFile_;
  const QString settingsFile_;
  Report& report_;
  std::unique_ptr<Stage> stage_;
};

}  // namespace tlm::tour

#endif
