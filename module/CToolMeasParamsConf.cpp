#include "CToolMeasParamsConf.h"

#include "RecordAccess.h"
#include "Requests.h"

#include <TlmClient/CTlmCliSes.h>

CToolMeasParamsConf::CToolMeasParamsConf(CTlmCliMod* module) : CTlmToolObject(module) {
  setObjectName(QStringLiteral("measparams"));
}

void CToolMeasParamsConf::run() {
  state = kRunning;
  LoadMeasParams();
  if (state == kRunning) state = kFinished;
}

void CToolMeasParamsConf::LoadMeasParams() {
  if (state != kRunning) return;
  state = kFailed;
  CTlmCliSes* const line = session();
  if (!line) return;
  MDXCliParam* reply = nullptr;
  const ScopeGuard guard([&] {
    if (reply) line->PrmFree(reply);
  });
  const QByteArray body = QStringLiteral("locId=%1").arg(locId).toLatin1();
  const auto* bytes = reinterpret_cast<const unsigned char*>(body.constData());
  if (!line->PacketExec("MeasParams", bytes, body.size(), &reply) || !WaitResult(&reply, -1)) return;
  if (!reply || !replyIsGood(reply)) return;
  MDRVar text{};
  MDRGetVal(MDXParamFld(reply, MDX_REPLY_TEXT), reply, &text);
  if (!isText(text) || text.text.length == 0) return;
  params = QByteArray(text.text.data, static_cast<int>(text.text.length));
  state = kRunning;
}
