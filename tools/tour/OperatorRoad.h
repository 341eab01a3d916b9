// From a measurement to acting on it: a value by hand, duplicates, commands with each receipt, forms, the
// retrospective.
#ifndef TLMTOUR_OPERATORROAD_H
#define TLMTOUR_OPERATORROAD_H

#include <QString>

#include <memory>

#include "Report.h"
#include "Stage.h"

class QMenu;

namespace tlm {
class RetroWindow;
}

namespace tlm::tour {

class OperatorRoad {
 public:
  OperatorRoad(ModuleLibrary& library, const QDir& scratch, Report& report);
  ~OperatorRoad();

  bool play();

 private:
  void goTo(int number);  // by the search bar
  void reveal(const QString& key);
  QMenu* openMenu();                            // of the current row, by the right button
  void choose(const QString& action);           // in that menu
  QWidget* panel(const char* className) const;  // of the operator's panels
  void type(QWidget* panel, const char* field, const QString& text);
  void manualInput();
  void duplicates();
  void command(int number, const QString& step, const QString& receipt, const QString& outcome);
  void wrongPassword();
  void formsAndRetrospective();
  void lookCloser(RetroWindow* retro);

  ModuleLibrary& library_;
  const QString storeFile_;
  const QString settingsFile_;
  Report& report_;
  std::unique_ptr<Stage> stage_;
};

}  // namespace tlm::tour

#endif
