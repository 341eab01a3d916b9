// The model server inside the workstation: the store, the core and the simulator.
#ifndef TLMHOST_STATIONSERVER_H
#define TLMHOST_STATIONSERVER_H

#include <TlmServer/Core.h>
#include <TlmServer/Simulator.h>
#include <TlmServer/SqliteStore.h>

#include <QObject>
#include <QString>
#include <QTimer>

#include <memory>

namespace tlm {

// What an engineer is told when a store cannot be used.
QString storeProblem(server::StoreError why, const QString& file, const QString& detail);

// GUI thread only; the core itself may be used by the threads of the lines.
class StationServer : public QObject {
  Q_OBJECT

 public:
  // Opens a store file (empty: the user's own), which is made with the sample when it is not there. Null with
  // a message for the user in *problem.
  static std::unique_ptr<StationServer> open(const QString& file, QString* problem);
  // Over a core that was opened elsewhere.
  StationServer(std::unique_ptr<server::Core> core, QString name);
  ~StationServer() override;

  server::Core& core() { return *core_; }
  const QString& name() const { return name_; }  // of the store, for the status bar

  // Lets the values move, the last half hour of history included.
  void startSimulator();

 private:
  std::unique_ptr<server::Core> core_;
  const QString name_;
  std::unique_ptr<server::Simulator> simulator_;
  QTimer tick_;
};

}  // namespace tlm

#endif
