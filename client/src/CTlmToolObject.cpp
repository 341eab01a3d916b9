#include <TlmClient/CTlmCliAbo.h>
#include <TlmClient/CTlmCliMod.h>
#include <TlmClient/CTlmCliSes.h>
#include <TlmClient/CTlmToolObject.h>

CTlmToolObject::CTlmToolObject(CTlmCliMod* module) : QObject(module), module_(module) {}

CTlmToolObject::~CTlmToolObject() = default;

void CTlmToolObject::Perform(bool) {
  state = kIdle;
  run();
  if (module_) module_->slot_toolFinished();
}

bool CTlmToolObject::WaitResult(MDXCliParam** reply, int timeoutMs) {
  CTlmCliSes* const line = session();
  return line && line->WaitResult(reply, timeoutMs);
}

CTlmCliSes* CTlmToolObject::session() const { return module_ ? sessionOf(module_->abo) : nullptr; }
