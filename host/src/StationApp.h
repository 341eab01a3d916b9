// The workstation: one server, one module library, any number of windows.
#ifndef TLMHOST_STATIONAPP_H
#define TLMHOST_STATIONAPP_H

#include <TlmClient/CTlmCliApp.h>
#include <TlmClient/TlmSession.h>

#include <QObject>
#include <QPointer>
#include <QString>

#include <map>
#include <memory>
#include <vector>

#include "moduleLibrary.h"
#include "stationServer.h"

namespace tlm {

class RetroWindow;
class StationWindow;

struct StationSetup {
  QString moduleName = "config";
  QString user;          // empty: who is logged in
  QString settingsFile;  // empty: the user's own
  ModuleFactory factory;
  QLibrary* library = nullptr;  // what modules are told; may be null
};

// GUI thread only. Each window has a module with a session of its own on the one server. The server must
// outlive it.
class StationApp : public QObject, public CTlmCliApp {
  Q_OBJECT

 public:
  StationApp(StationServer& server, StationSetup setup);
  ~StationApp() override;  // closes all windows, without a question

  // Opens a window with a new module, shown and started. Null with a message for the user in *problem when
  // there is no module of that name or it does not start.
  StationWindow* openWindow(QString* problem);

  const std::vector<StationWindow*>& windows() const { return windows_; }
  const QString& user() const { return setup_.user; }
  StationServer& server() { return server_; }

  // CTlmCliApp
  CTlmCliAbo* ConnectModule(CTlmCliMod* module) override;
  void DisconnectModule(CTlmCliMod* module) override;
  QLibrary* ModuleLibrary(CTlmCliMod* module) override;
  QString ModuleInstance(CTlmCliMod* module) override;
  void ModuleIsEdit(CTlmCliMod* module, bool edited) override;
  void ModuleTitle(CTlmCliMod* module, const QString& title, const QString& subtitle) override;
  void ModuleMessage(CTlmCliMod* module, const QString& text) override;
  bool ModuleCall(CTlmCliMod* module, int code, void* data) override;

  // Closes all windows, without a question, and waits for what they still have to write. A text for the user when some
  // of it was lost, and no window was left to show that; else empty.
  QString closeAll();

  // The windows that host commands opened, for tests and for the tour.
  RetroWindow* lastRetro() const;
  QWidget* lastForm() const;

 private:
  friend class StationWindow;

  // What belongs to one module.
  struct Line {
    std::unique_ptr<TlmSession> session;
    int number = 1;  // tells two windows apart
  };

  int freeNumber() const;
  // A line to the server, for the module that is started next. False with a message for the user.
  bool openLine(QString* problem);
  // Gives a window a new module, started with that state, on that line. False with a message for the user.
  bool startModule(StationWindow* window, const QString& state, QString* problem);
  StationWindow* windowOf(CTlmCliMod* module) const;
  bool runModule(StationWindow* window, const QString& command, bool newWindow);
  bool runFile(StationWindow* window, const QString& command, bool newWindow);
  bool failCall(StationWindow* window, const QString& why);
  void windowClosed(StationWindow* window);
  QString stateKey(int number) const;
  QString loadState(int number) const;
  void saveState(int number, const QString& state) const;
  void tellLostAtEnd(const StationWindow* closing, int status, const QString& why);

  StationServer& server_;
  StationSetup setup_;
  std::map<CTlmCliMod*, Line> lines_;
  std::vector<StationWindow*> windows_;
  StationWindow* opening_ = nullptr;      // the one whose module is being made
  std::unique_ptr<ITransport> nextLine_;  // of that module
  QString lostAtEnd_;
  QPointer<RetroWindow> lastRetro_;
  QPointer<QWidget> lastForm_;
};

}  // namespace tlm

#endif
