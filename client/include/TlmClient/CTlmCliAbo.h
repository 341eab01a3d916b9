// The subscription object of a module: its events, its live parameters, and its session.
#ifndef TLMCLIENT_CTLMCLIABO_H
#define TLMCLIENT_CTLMCLIABO_H

#include <TlmClient/export.h>
#include <TlmMdx/mdx.h>

class CTlmCliMod;
class CTlmCliSes;

// GUI thread only. Made by the host for one module, outlives it.
class TLMCLIENT_API CTlmCliAbo {
 public:
  CTlmCliAbo() = default;
  virtual ~CTlmCliAbo();
  CTlmCliAbo(const CTlmCliAbo&) = delete;
  CTlmCliAbo& operator=(const CTlmCliAbo&) = delete;

  // Each replaces the whole list of the module's subscriptions: event kinds, numbers of measurements. With
  // a count of 0 the pointer may be null.
  virtual void SubEvent(const int* ids, int count) = 0;
  virtual void SubParam(const int* ids, int count) = 0;

  virtual CTlmCliSes* Session() const = 0;

  // The next queued message, or null. The caller frees it with MDXParamFree.
  virtual MDXCliParam* TakeMessage() = 0;

  // The module whose MessageOn is called, on the GUI thread, while messages wait; null before it lives and
  // after it has gone.
  virtual void SetModule(CTlmCliMod* module) = 0;
};

inline CTlmCliSes* sessionOf(const CTlmCliAbo* abo) { return abo ? abo->Session() : nullptr; }

#endif
