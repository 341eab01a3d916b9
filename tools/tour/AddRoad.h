// A configuration built up: a root folder, a folder in it, a unit, one measurement of each kind.
#ifndef TLMTOUR_ADDROAD_H
#define TLMTOUR_ADDROAD_H

#include <QString>

#include <memory>

#include "Report.h"
#include "Stage.h"

namespace tlm::tour {

class AddRoad {
 public:
  AddRoad(ModuleLibrary& library, const QDir& scratch, Report& report);
  ~AddRoad();

  // Plays all steps. False when the program could not even be opened.
  bool play();

 private:
  void step(const QString& name, const QString& expected, const QString& seen);
  QString add(const QString& step, const char* action);
  void chooseServerGroup();
  void save(const QString& step, const QString& key, const char* table);
  void addFolders();
  void addUnit();
  void addMeasurements();
  void cancelOne();
  int firstHole() const;
  bool serverHas(const char* table, const QString& key) const;

  ModuleLibrary& library_;
  const QString storeFile_;
  const QString settingsFile_;
  Report& report_;
  std::unique_ptr<Stage> stage_;
  QString folderKey_;
  QString unitKey_;
};

}  // namespace tlm::tour

#endif
