#include <TlmClient/CTlmCliSes.h>
#include <TlmClient/CTlmToolCalcExec.h>

#include <QTextCodec>

namespace {

// The payload of a good reply as a value.
bool readResult(const MDXCliParam* reply, CVar* result) {
  int32_t status = -1;
  if (!reply || MDRGetAsInt32(MDXParamFld(reply, MDX_REPLY_STATUS), reply, &status) < 0 || status != 0) return false;
  int length = 0;
  void* data = nullptr;
  if (MDRGetTextRef(MDXParamFld(reply, MDX_REPLY_PAYLOAD), reply, &length, &data) < 0 || !data) return false;
  CVarClear(result, 1);
  CVarInit(result, 1);
  return CVarFromBuffN(result, data, static_cast<size_t>(length)) >= 0;
}

}  // namespace

CTlmToolCalcExec::CTlmToolCalcExec(CTlmCliMod* module) : CTlmToolObject(module) {
  setObjectName("CalcExec");
  CVarInit(&args, 1);
  CVarInit(&result, 1);
}

CTlmToolCalcExec::~CTlmToolCalcExec() {
  CVarClear(&result, 1);
  CVarClear(&args, 1);
}

void CTlmToolCalcExec::run() {
  state = kRunning;
  CTlmCliSes* const line = session();
  MDXCliParam* reply = nullptr;
  const bool answered = line && line->ProcExec(line->Codec()->fromUnicode(procedure).constData(), &args, &reply) &&
                        WaitResult(&reply, -1);
  state = answered && readResult(reply, &result) ? kFinished : kFailed;
  if (line) line->PrmFree(reply);
}
