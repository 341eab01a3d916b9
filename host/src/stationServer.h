// The model server that the workstation works on: one inside itself, or one on the network.
#ifndef TLMHOST_STATIONSERVER_H
#define TLMHOST_STATIONSERVER_H

#include <TlmClient/ITransport.h>
#include <TlmClient/TlmSession.h>
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
  // Connects to a server on the network, as `user`. Null with a message for the user in *problem.
  static std::unique_ptr<StationServer> connect(const QString& address, const QString& user, QString* problem);
  // Over a core that was opened elsewhere.
  StationServer(std::unique_ptr<server::Core> core, QString name);
  ~StationServer() override;

  bool remote() const { return !core_; }
  server::Core& core() { return *core_; }        // inside the workstation only
  const QString& name() const { return name_; }  // of the store, or the server's address

  // A line of its own for a module. Null with a message for the user in *problem.
  std::unique_ptr<ITransport> line(const QString& user, QString* problem);

  // What the host's own windows ask. A failure after a second without an answer.
  wire::Reply ask(const std::string& request, const std::string& body);

  // Lets the values move, the last half hour of history included.
  void startSimulator();

 private:
  StationServer(std::unique_ptr<TlmSession> session, QString address);

  std::unique_ptr<server::Core> core_;   // null when the server is on the network
  std::unique_ptr<TlmSession> session_;  // of the host itself, then
  const QString name_;
  std::unique_ptr<server::Simulator> simulator_;
  QTimer tick_;
};

}  // namespace tlm

#endif
