// Two engineers on one server, each at a workstation of their own: what one does, the other's window follows, also
// after the server was killed and started again.
#ifndef TLMTOUR_LIVEROAD_H
#define TLMTOUR_LIVEROAD_H

#include <tools/ServerProgram.h>

#include <QString>
#include <QVector>

#include <functional>
#include <memory>

#include "Report.h"
#include "Stage.h"

namespace tlm::tour {

class LiveRoad {
 public:
  LiveRoad(ModuleLibrary& library, const QDir& scratch, Report& report);
  ~LiveRoad();

  // Plays all steps. False when the server or a workstation could not even be started.
  bool play();

 private:
  bool open();
  void openUnits();
  void rename(const QString& step, const QString& name);
  void moveMeasurement();
  void moveUnit();
  void removeMeasurement();
  void removeUnit();
  void compare();
  void loseServer();
  void saveWithoutServer();

  // Waits until the other window shows what is expected, and keeps a picture of both.
  void follows(const QString& step, const QString& expected, const std::function<QString(const Stage&)>& seen);
  QModelIndex measurement(const Stage& stage, int row) const;  // of the first unit's first group
  void select(Stage& stage, const QString& key) const;
  void edit(const QString& field, const QString& text);
  void remove(const QString& key);

  ModuleLibrary& library_;
  const QDir scratch_;
  Report& report_;
  ServerProgram server_;
  std::unique_ptr<Stage> mine_;   // who acts
  std::unique_ptr<Stage> other_;  // who follows
  QString unit_;                  // keys
  QString otherUnit_;
  QString measurement_;
};

}  // namespace tlm::tour

#endif
