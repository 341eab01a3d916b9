// Tools: small objects that do one job for a module.
#ifndef TLMCLIENT_CTLMTOOLOBJECT_H
#define TLMCLIENT_CTLMTOOLOBJECT_H

#include <TlmClient/export.h>
#include <TlmMdx/mdx.h>

#include <QObject>

class CTlmCliMod;
class CTlmCliSes;

// GUI thread only. Perform runs the job and returns when it has finished; the outcome is then in `state`.
class TLMCLIENT_API CTlmToolObject : public QObject {
  Q_OBJECT

 public:
  enum State { kIdle = 0, kRunning = 1, kFinished = 2, kFailed = 3 };

  explicit CTlmToolObject(CTlmCliMod* module);
  ~CTlmToolObject() override;

  virtual void run() = 0;

  // Runs the job. The flag is always false.
  void Perform(bool flag);

  // The session's wait, for tools.
  bool WaitResult(MDXCliParam** reply, int timeoutMs);

  int state = kIdle;

 protected:
  CTlmCliSes* session() const;
  CTlmCliMod* module_;
};

#endif
