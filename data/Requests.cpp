#include "Requests.h"

#include "RecordAccess.h"

#include <TlmClient/CTlmCliSes.h>
#include <TlmClient/GenGuid32.h>

#include <QString>

QTextCodec* serverCodec() {
  static QTextCodec* codec = QTextCodec::codecForName("Windows-1251");
  return codec;
}

bool replyIsGood(const MDXCliParam* reply) {
  int32_t status = -1;
  return reply && MDRGetAsInt32(MDXParamFld(reply, MDX_REPLY_STATUS), reply, &status) >= 0 && status == 0;
}

const char* replyText(const MDXCliParam* reply, int field) {
  char* text = nullptr;
  if (reply) MDRGetTextPtr(MDXParamFld(reply, field), reply, &text);
  return text;
}

bool requestReply(CTlmCliSes* session, const char* name, const QByteArray& body,
                  const std::function<bool(const MDXCliParam*)>& read) {
  if (!session) return false;
  MDXCliParam* reply = nullptr;
  const ScopeGuard guard([&] {
    if (reply) session->PrmFree(reply);
  });
  const auto* bytes = reinterpret_cast<const unsigned char*>(body.constData());
  if (!session->PacketExec(name, bytes, body.size(), &reply)) return false;
  if (!session->WaitResult(&reply, -1) || !reply) return false;
  return read(reply);
}

bool request(CTlmCliSes* session, const char* name, const QByteArray& body,
             const std::function<bool(const MDXCliParam*)>& read) {
  return requestReply(session, name, body, [&](const MDXCliParam* reply) { return replyIsGood(reply) && read(reply); });
}

bool unpackReply(const MDXCliParam* reply, CMDArray* out, int mode) {
  int length = 0;
  void* bytes = nullptr;
  if (reply) MDRGetTextRef(MDXParamFld(reply, MDX_REPLY_PAYLOAD), reply, &length, &bytes);
  if (!bytes || length <= 0) return false;
  out->code = MDXArrayUnPackN(out->array, bytes, static_cast<size_t>(length), mode);
  return out->code == 0;
}

bool requestTable(CTlmCliSes* session, const char* name, const QByteArray& body, CMDArray* out) {
  return out && request(session, name, body, [out](const MDXCliParam* reply) { return unpackReply(reply, out, 1); });
}

namespace {

// Step by step from a reply to the script's result.
bool readResult(const MDXCliParam* reply, const std::function<void(const CVar&)>& read) {
  if (!replyIsGood(reply)) return false;
  MDRVar payload{};
  MDRGetVal(MDXParamFld(reply, MDX_REPLY_PAYLOAD), reply, &payload);
  if (!isText(payload) || payload.text.length == 0) return false;
  CVar result;
  CVarInit(&result, 1);
  const ScopeGuard guard([&] { CVarClear(&result, 1); });
  if (CVarFromBuffN(&result, payload.text.data, payload.text.length) < 0) return false;
  read(result);
  return true;
}

}  // namespace

bool callScript(CTlmCliSes* session, QTextCodec* codec, const char* script, const std::function<void(CVar*)>& fill,
                int timeoutMs, const std::function<void(const CVar&)>& read) {
  if (!session || !codec) return false;
  const QString unique = QString::fromLatin1(GenGuid32());
  const QByteArray text = encodeText(QString::fromUtf8(script).arg(unique), codec);
  CVar args;
  CVarInit(&args, 1);
  const ScopeGuard argsGuard([&] { CVarClear(&args, 1); });
  if (fill) fill(&args);
  MDXCliParam* reply = nullptr;
  const ScopeGuard replyGuard([&] {
    if (reply) session->PrmFree(reply);
  });
  if (!session->CalcExec(text.constData(), fill ? &args : nullptr, &reply)) return false;
  if (!session->WaitResult(&reply, timeoutMs) || !reply) return false;
  return readResult(reply, read);
}
