#include "exchange.h"

#include <TlmClient/CTlmCliAbo.h>
#include <TlmClient/CTlmCliMod.h>
#include <TlmClient/CTlmCliSes.h>

#include <QTextCodec>

namespace tlm {
namespace {

QString textAt(const MDXCliParam* reply, int field) {
  char* text = nullptr;
  MDRGetTextPtr(MDXParamFld(reply, field), reply, &text);
  return text ? serverCodec()->toUnicode(text) : QString();
}

QByteArray bytesAt(const MDXCliParam* reply, int field) {
  int length = 0;
  void* data = nullptr;
  if (MDRGetTextRef(MDXParamFld(reply, field), reply, &length, &data) < 0 || !data) return {};
  return QByteArray(static_cast<const char*>(data), length);
}

}  // namespace

CTlmCliSes* sessionAround(const QWidget* panel) {
  for (const QWidget* widget = panel; widget; widget = widget->parentWidget()) {
    if (const auto* module = qobject_cast<const CTlmCliMod*>(widget)) return sessionOf(module->abo);
  }
  return nullptr;
}

QTextCodec* serverCodec() {
  static QTextCodec* const codec = QTextCodec::codecForName("Windows-1251");
  return codec;
}

Answer ask(CTlmCliSes* session, const char* name, const QByteArray& body, int timeoutMs) {
  Answer answer;
  MDXCliParam* reply = nullptr;
  const auto* bytes = reinterpret_cast<const unsigned char*>(body.constData());
  if (!session || !session->PacketExec(name, bytes, body.size(), &reply)) return answer;
  answer.kind = Answer::kNone;
  if (!session->WaitResult(&reply, timeoutMs) || !reply) return answer;
  answer.kind = Answer::kGiven;
  answer.status = -1;
  int32_t status = -1;
  if (MDRGetAsInt32(MDXParamFld(reply, MDX_REPLY_STATUS), reply, &status) >= 0) answer.status = status;
  if (answer.status == 0)
    answer.text = bytesAt(reply, MDX_REPLY_TEXT);
  else
    answer.why = textAt(reply, MDX_REPLY_PAYLOAD);
  session->PrmFree(reply);
  return answer;
}

QString refusalText(const Answer& answer) {
  switch (answer.kind) {
    case Answer::kUnsent:
      return QStringLiteral("Нет связи с сервером, запрос не отправлен.");
    case Answer::kNone:
      return QStringLiteral("Сервер не ответил.");
    case Answer::kGiven:
      break;
  }
  return answer.why.isEmpty() ? QStringLiteral("Сервер отказал.") : answer.why;
}

QString goneText(const Answer& answer) {
  return answer.good() ? QStringLiteral("Этот номер теперь у другого измерения.")
                       : QStringLiteral("Измерения больше нет на сервере.");
}

int Lines::find(const char* name) const {
  const QByteArray start = QByteArray(name) + '=';
  if (text_.startsWith(start)) return start.size();
  const int at = text_.indexOf('\n' + start);
  return at < 0 ? -1 : at + 1 + start.size();
}

bool Lines::has(const char* name) const { return find(name) >= 0; }

QString Lines::value(const char* name) const {
  const int from = find(name);
  if (from < 0) return {};
  const int end = text_.indexOf('\n', from);
  return serverCodec()->toUnicode(text_.mid(from, end < 0 ? -1 : end - from));
}

double Lines::number(const char* name, double otherwise) const {
  bool read = false;
  const double number = value(name).toDouble(&read);
  return read ? number : otherwise;
}

QByteArray line(const char* name, const QByteArray& value) {
  QByteArray clean = value;
  for (char& c : clean) {
    if (c == '\n' || c == '\r' || c == '\0') c = ' ';
  }
  return QByteArray(name) + '=' + clean + '\n';
}

}  // namespace tlm
