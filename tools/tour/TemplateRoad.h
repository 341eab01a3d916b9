// Many measurements at once: aggregated data by ticks, and series by template with free and occupied numbers.
#ifndef TLMTOUR_TEMPLATEROAD_H
#define TLMTOUR_TEMPLATEROAD_H

#include <host/src/moduleLibrary.h>

#include <QDir>

#include <memory>

#include "Report.h"
#include "Stage.h"

namespace tlm::tour {

class TemplateRoad {
 public:
  TemplateRoad(ModuleLibrary& library, const QDir& scratch, Report& report);

  // Plays all steps. False when the program could not even be opened.
  bool play();

 private:
  QString openUnit(const char* unitName, const char* name);
  void step(const QString& name, const QString& expected, const QString& seen);
  QStringList namesBelow(const QModelIndex& parent) const;
  void press(const char* action);  // its button in the tool bar
  void openGroups();
  QString ticked() const;
  void tick(const char* description);
  void aggregated();
  void noneTicked();
  void type(const char* field, const QString& text);
  void ask(int begin, int end, int stepWidth, int count);
  QString made() const;  // numbers of the series
  void clickButton(const char* panel, const char* text);
  QString reportText() const;
  void freeSeries();
  void partlyOccupied();
  void fullyOccupied();

  ModuleLibrary& library_;
  const QString storeFile_;
  const QString settingsFile_;
  Report& report_;
  std::unique_ptr<Stage> stage_;
  QString key_;      // of the measurement
  QString unitKey_;  // of the unit that the series goes to
};

}  // namespace tlm::tour

#endif
