// The tool that asks for what an operator's dialog needs to know of a measurement.
#ifndef TLMMEAS_CTOOLMEASPARAMSCONF_H
#define TLMMEAS_CTOOLMEASPARAMSCONF_H

#include <TlmClient/CTlmToolObject.h>

#include <QByteArray>

// GUI thread only. After Perform(false) the state 2 means that `params` holds the answer.
class CToolMeasParamsConf : public CTlmToolObject {
  Q_OBJECT

 public:
  explicit CToolMeasParamsConf(CTlmCliMod* module);

  void run() override;
  void LoadMeasParams();  // does nothing unless the state is 1

  int locId = 0;      // set before Perform
  QByteArray params;  // lines of name=value, Windows-1251
};

#endif
