// A configuration taken down: a measurement, a group, a unit, two rows at once, a folder; a question before each.
#ifndef TLMTOUR_DELETEROAD_H
#define TLMTOUR_DELETEROAD_H

#include <QString>

#include <memory>

#include "Report.h"
#include "Stage.h"

namespace tlm::tour {

class DeleteRoad {
 public:
  DeleteRoad(ModuleLibrary& library, const QDir& scratch, Report& report);
  ~DeleteRoad();

  // Plays all steps. False when the program could not even be opened.
  bool play();

 private:
  // Clicks "Удалить" in the tool bar and answers the question by its button.
  void remove(const QString& step, const char* question, bool yes = true);
  QModelIndex unit() const;  // the first unit of the tree, opened with its groups
  void removeMeasurementAndGroup();
  void removeUnits();
  void removeFolder();

  ModuleLibrary& library_;
  const QString storeFile_;
  const QString settingsFile_;
  Report& report_;
  std::unique_ptr<Stage> stage_;
};

}  // namespace tlm::tour

#endif
