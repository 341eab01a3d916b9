// A host for modules, in the test's own process.
#ifndef TLMTEST_TESTAPP_H
#define TLMTEST_TESTAPP_H

#include <TlmClient/CTlmCliApp.h>
#include <TlmClient/TlmSession.h>

#include <QLibrary>
#include <QList>
#include <QStringList>

#include <memory>
#include <vector>

#include "support/EmbeddedServer.h"
#include "support/FailingSession.h"
#include "support/FakeTransport.h"
#include "support/Recording.h"

namespace tlm::test {

// One line to the server: module -> recording -> failing -> session -> embedded transport -> core.
class TestLine {
 public:
  // Over the embedded server as `user`, or over any transport.
  TestLine(server::Core& core, const std::string& user, Failures* failures, QStringList* log, bool waits = false);
  TestLine(std::unique_ptr<ITransport> transport, Failures* failures, QStringList* log, bool waits = false);
  ~TestLine();

  CTlmCliAbo* abo() { return &abo_; }
  CTlmCliSes* session() { return abo_.Session(); }
  TlmSession& real() { return real_; }

 private:
  TlmSession real_;
  FailingSession failing_;
  RecordingSession recording_;
  RecordingAbo abo_;
};

// Every module gets a line of its own; the log and the failures are shared. Modules must be deleted before it.
class TestApp : public CTlmCliApp {
 public:
  struct Call {
    int code = 0;
    int flags = 0;
    QString command;
    QByteArray parameter;  // as it came
  };
  struct Refused {
    int status = 0;
    QString why;
  };

  explicit TestApp(server::Core& core, std::string user = "engineer");
  ~TestApp() override;

  CTlmCliAbo* ConnectModule(CTlmCliMod* module) override;
  void DisconnectModule(CTlmCliMod* module) override;
  QLibrary* ModuleLibrary(CTlmCliMod*) override { return withLibrary ? &library_ : nullptr; }
  QString ModuleInstance(CTlmCliMod*) override { return instance; }
  void ModuleIsEdit(CTlmCliMod* module, bool edited) override;
  void ModuleTitle(CTlmCliMod* module, const QString& title, const QString& subtitle) override;
  void ModuleMessage(CTlmCliMod* module, const QString& text) override;
  bool ModuleCall(CTlmCliMod* module, int code, void* data) override;

  TestLine& line(int number = 0) { return *lines_.at(static_cast<size_t>(number)); }

  // What modules see.
  bool withLibrary = true;  // a library named libTlmMeas.so.2, not loaded
  QString instance = "1";
  bool callResult = true;
  bool recordWaits = false;

  // What modules did.
  QStringList log;  // calls of session and subscriptions, see Recording.h
  Failures failures;
  bool edited = false;
  QStringList edits;  // "true", "false", in order
  QString title;
  QString subtitle;
  QStringList messages;
  QList<Call> calls;
  QList<Refused> refused;
  int modules = 0;  // connected now

 private:
  server::Core& core_;
  const std::string user_;
  QLibrary library_{"libTlmMeas.so.2"};
  std::vector<std::unique_ptr<TestLine>> lines_;
};

}  // namespace tlm::test

#endif
