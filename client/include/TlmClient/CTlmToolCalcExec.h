// The tool that calls a stored procedure of the server.
#ifndef TLMCLIENT_CTLMTOOLCALCEXEC_H
#define TLMCLIENT_CTLMTOOLCALCEXEC_H

#include <TlmClient/CTlmToolObject.h>

#include <QString>

// Object name "CalcExec". After Perform(false) the state 2 means that `result` holds the answer.
class TLMCLIENT_API CTlmToolCalcExec : public CTlmToolObject {
  Q_OBJECT

 public:
  explicit CTlmToolCalcExec(CTlmCliMod* module);
  ~CTlmToolCalcExec() override;

  void run() override;

  QString procedure;
  CVar args;
  CVar result;
};

#endif
