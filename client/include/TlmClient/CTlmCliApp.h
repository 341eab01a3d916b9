// The host application, as its modules see it.
#ifndef TLMCLIENT_CTLMCLIAPP_H
#define TLMCLIENT_CTLMCLIAPP_H

#include <TlmClient/export.h>

#include <QString>

class CTlmCliAbo;
class CTlmCliMod;
class QLibrary;

// Implemented by the host; every call comes on the GUI thread.
class TLMCLIENT_API CTlmCliApp {
 public:
  virtual ~CTlmCliApp();

  // Called once by the constructor of each module. The subscription object and its session belong to the
  // host and outlive the module. The session is not used by the constructor.
  virtual CTlmCliAbo* ConnectModule(CTlmCliMod* module) = 0;
  // Called by the destructor of the module base.
  virtual void DisconnectModule(CTlmCliMod* module) = 0;

  // The library from which the module was loaded (null if it was not), and the text that tells apart two
  // instances of one module.
  virtual QLibrary* ModuleLibrary(CTlmCliMod* module) = 0;
  virtual QString ModuleInstance(CTlmCliMod* module) = 0;

  // The module tells of unsaved edits, of its title, of a message for the status bar.
  virtual void ModuleIsEdit(CTlmCliMod* module, bool edited) = 0;
  virtual void ModuleTitle(CTlmCliMod* module, const QString& title, const QString& subtitle) = 0;
  virtual void ModuleMessage(CTlmCliMod* module, const QString& text) = 0;

  // A command of a module to the host; see TlmHostCall. True if the host carried it out.
  virtual bool ModuleCall(CTlmCliMod* module, int code, void* data) = 0;
};

// Argument of the host command 64.
struct TlmHostCall {
  int flags;              // 1 when the Control key is held
  const char* command;    // "RUN_MOD" or "RUN_FILE"
  const char* parameter;  // valid during the call
};

#endif
