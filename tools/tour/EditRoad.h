// One edit's whole road: a measurement renamed, saved, announced, and found again in a store opened anew.
#ifndef TLMTOUR_EDITROAD_H
#define TLMTOUR_EDITROAD_H

#include <QString>

#include <memory>

#include "Report.h"
#include "Stage.h"

namespace tlm::tour {

class EditRoad {
 public:
  EditRoad(ModuleLibrary& library, const QDir& scratch, Report& report);
  ~EditRoad();

  // Plays all steps. False when the program could not even be opened.
  bool play();

 private:
  struct Listener;

  bool open();
  void showWindow();
  void showTree();
  QModelIndex expandUnit(const QString& step);
  void selectMeasurement(const QModelIndex& unit);
  void editName();
  void save();
  void reopen();

  ModuleLibrary& library_;
  const QString storeFile_;
  const QString settingsFile_;
  Report& report_;
  std::unique_ptr<Listener> listener_;
  std::unique_ptr<Stage> stage_;
  QString unitKey_;
  QString key_;   // of the measurement
  QString name_;  // its new name
};

}  // namespace tlm::tour

#endif
