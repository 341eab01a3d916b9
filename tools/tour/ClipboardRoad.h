// A configuration made from another: a unit copied beside itself, a measurement cut and pasted, rows dragged into a
// closed unit and to the header, with what the mouse tells on its way.
#ifndef TLMTOUR_CLIPBOARDROAD_H
#define TLMTOUR_CLIPBOARDROAD_H

#include <QString>

#include <memory>

#include "Report.h"
#include "Stage.h"

namespace tlm::tour {

class ClipboardRoad {
 public:
  ClipboardRoad(ModuleLibrary& library, const QDir& scratch, Report& report);

  // Plays all steps. False when the program could not even be opened.
  bool play();

 private:
  void copyUnit();
  void cutMeasurement();
  void dragMeasurement();
  void dragFolder();
  // The row with that text, opened up to it and in sight.
  QModelIndex shown(const QString& text) const;
  QString unitOf(const QString& key) const;  // the name of the row two levels up

  ModuleLibrary& library_;
  const QString storeFile_;
  const QString settingsFile_;
  Report& report_;
  std::unique_ptr<Stage> stage_;
};

}  // namespace tlm::tour

#endif
