// Servers on the network for tests: one in this process, and the real program in a process of its own.
#ifndef TLMTEST_NETWORKSERVER_H
#define TLMTEST_NETWORKSERVER_H

#include <TlmClient/NetTransport.h>
#include <server/daemon/Log.h>
#include <server/daemon/NetServer.h>

#include <QTemporaryDir>

#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "Peer.h"

namespace tlm::test {

// Beats often, so that a dead line is noticed at once.
server::NetOptions quickNet();
// A line that comes back at once.
NetLine quickLine(const std::string& address, const std::string& user = "engineer");
// Null, and a failure of the test, when the server cannot be reached.
std::unique_ptr<Peer> connectPeer(const NetLine& line);

// At a port that the system chose and at a Unix socket in a folder of its own.
class NetworkServer {
 public:
  explicit NetworkServer(server::Core& core, server::NetOptions options = quickNet());
  ~NetworkServer();

  const std::string& tcp() const { return server_->addresses().at(0); }
  const std::string& unixSocket() const { return server_->addresses().at(1); }
  void stop() { server_->stop(); }
  std::string logText() const;

 private:
  QTemporaryDir folder_;
  mutable std::mutex mutex_;
  std::string text_;
  server::Log log_;
  std::unique_ptr<server::NetServer> server_;
};

// tlmserver on a store of its own with the sample, at a Unix socket that stays the same from start to start.
class ServerProcess {
 public:
  explicit ServerProcess(std::vector<std::string> arguments = {});
  ~ServerProcess();  // kills

  // True when it listens.
  bool start();
  void kill();      // SIGKILL
  int terminate();  // SIGTERM; what it ended with, -1 when by a signal

  std::string address() const;     // of the Unix socket
  std::string tcpAddress() const;  // of this start
  std::string store() const { return folder_.filePath("model.tlm").toStdString(); }
  int pid() const { return pid_; }

  bool waitForLog(const std::string& part);  // in a line since the last start
  std::string logText() const;

 private:
  int wait();
  void read(int handle);

  QTemporaryDir folder_;
  const std::vector<std::string> arguments_;
  int pid_ = 0;
  std::thread reader_;
  mutable std::mutex mutex_;
  std::condition_variable told_;
  std::string log_;
  bool over_ = true;
};

}  // namespace tlm::test

#endif
