// The model server as the process that it is, on a store of its own with the sample.
#ifndef TLMTOUR_SERVERPROGRAM_H
#define TLMTOUR_SERVERPROGRAM_H

#include <QProcess>
#include <QString>

namespace tlm::tour {

class ServerProgram {
 public:
  explicit ServerProgram(const QString& storeFile);
  ~ServerProgram();  // ends it in order

  // Starts it at loopback, at the port of the start before (the first time, at one that the system chooses). False,
  // told on the error stream, when it does not listen within ten seconds.
  bool start();
  void kill();  // as a loss of power would

  const QString& address() const { return address_; }

 private:
  const QString storeFile_;
  QString address_ = "127.0.0.1:0";
  QProcess process_;
};

}  // namespace tlm::tour

#endif
