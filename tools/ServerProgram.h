// The model server as the process that it is, on a store of its own with the sample.
#ifndef TLMTOOLS_SERVERPROGRAM_H
#define TLMTOOLS_SERVERPROGRAM_H

#include <QProcess>
#include <QString>
#include <QStringList>

namespace tlm {

class ServerProgram {
 public:
  // `options` as the program takes them.
  explicit ServerProgram(const QString& storeFile, const QStringList& options = {});
  ~ServerProgram();  // ends it in order

  // Starts it at loopback, at the port of the start before (the first time, at one that the system chooses). False,
  // told on the error stream, when it does not listen within ten seconds.
  bool start();
  void kill();  // as a loss of power would

  const QString& address() const { return address_; }
  qint64 pid() const { return process_.processId(); }

 private:
  const QStringList arguments_;
  QString address_ = "127.0.0.1:0";
  QProcess process_;
};

}  // namespace tlm

#endif
