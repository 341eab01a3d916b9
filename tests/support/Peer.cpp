#include "Peer.h"

#include <TlmServer/Catalogue.h>

#include <QElapsedTimer>

#include <cstring>

#include "Gui.h"

namespace tlm::test {
namespace {

void set(CMDArray* array, MDRData* record, const char* field, const std::string& text, bool changed) {
  MDRVar value{};
  value.type = MDX_TEXT;
  value.text.length = static_cast<uint32_t>(text.size());
  value.text.data = text.data();
  array->SetVal(record, field, value);
  if (changed) MDRSetUser(MDRFldByName(array->array, field), record, 1);
}

}  // namespace

bool eventually(const std::function<bool()>& condition, int limitMs) {
  constexpr int kLookMs = 2;
  QElapsedTimer time;
  time.start();
  while (!condition()) {
    if (time.hasExpired(limitMs)) return false;
    processUntil(condition, kLookMs);
  }
  return true;
}

std::string bytesOf(const MDXCliParam* record, int position) {
  int length = 0;
  void* data = nullptr;
  MDRGetTextRef(MDXParamFld(record, position), record, &length, &data);
  return data ? std::string(static_cast<const char*>(data), static_cast<size_t>(length)) : std::string();
}

int64_t numberOf(const MDXCliParam* record, int position) {
  MDRVar value{};
  MDRGetVal(MDXParamFld(record, position), record, &value);
  return value.type == MDX_INT64 ? +value.i64 : +value.i32;
}

Peer::Peer(std::unique_ptr<ITransport> transport) : session_(std::move(transport)) {
  QObject::connect(&session_, &TlmSession::lineChanged,
                   [this](bool alive, const QString&) { told.append(alive ? "up" : "down"); });
  QObject::connect(&session_, &TlmSession::eventsLost, [this](const QString&) { told.append("lost"); });
  QObject::connect(&session_, &TlmSession::writeRefused,
                   [this](int status, const QString&) { told.append(QString("refused %1").arg(status)); });
}

Answer Peer::collect(MDXCliParam** reply, int timeoutMs) {
  Answer answer;
  answer.came = session_.WaitResult(reply, timeoutMs);
  if (!*reply) return answer;
  answer.status = static_cast<int>(numberOf(*reply, MDX_REPLY_STATUS));
  answer.hasPayload = MDRIsNull(MDXParamFld(*reply, MDX_REPLY_PAYLOAD), *reply, nullptr) == 0;
  answer.payload = bytesOf(*reply, MDX_REPLY_PAYLOAD);
  answer.hasText = MDRIsNull(MDXParamFld(*reply, MDX_REPLY_TEXT), *reply, nullptr) == 0;
  answer.text = bytesOf(*reply, MDX_REPLY_TEXT);
  session_.PrmFree(*reply);
  *reply = nullptr;
  return answer;
}

Answer Peer::ask(const std::string& name, const std::string& body, int timeoutMs) {
  MDXCliParam* reply = nullptr;
  const auto* const bytes = reinterpret_cast<const unsigned char*>(body.data());
  if (!session_.PacketExec(name.c_str(), bytes, static_cast<int>(body.size()), &reply)) return {};
  return collect(&reply, timeoutMs);
}

Answer Peer::script(const std::string& text, CVar* arguments, int timeoutMs) {
  MDXCliParam* reply = nullptr;
  return session_.CalcExec(text.c_str(), arguments, &reply) ? collect(&reply, timeoutMs) : Answer{};
}

int Peer::rows(const std::string& table, CMDArray* into) {
  const Answer answer = ask("TableRecords", table);
  if (answer.status != 0) return -1;
  const int code = MDXArrayUnPackN(into->array, answer.payload.data(), answer.payload.size(), 1);
  return code == 0 ? MDARecCount(into->array) : -1;
}

void Peer::fillSet(const std::string& table, const std::string& key, const std::string& field, const std::string& text,
                   CMDArray* into) {
  server::Catalogue::makeStructure(*server::Catalogue::builtIn().table(table), into->array);
  MDRData* const record = MDARecNew(into->array);
  set(into, record, "KeyLink", key, false);
  set(into, record, field.c_str(), text, true);
  MDRSetFlags(record, MDX_REC_UPDATE);
  into->RecPost(record);
}

int Peer::write(const std::string& table, const std::string& key, const std::string& field, const std::string& text,
                int timeoutMs) {
  CMDArray rows;
  fillSet(table, key, field, text, &rows);
  MDXCliParam* whole = nullptr;
  session_.BlockBeg();
  session_.SqlUpdate(table.c_str(), rows.array, true, nullptr);
  return session_.BlockEnd(true, &whole) ? collect(&whole, timeoutMs).status : -1;
}

bool Peer::renameUnwaited(const std::string& key, const std::string& name) {
  CMDArray rows;
  fillName(key, name, &rows);
  session_.BlockBeg();
  session_.SqlUpdate("IdentifiedObject", rows.array, true, nullptr);
  return session_.BlockEnd(true, nullptr);
}

std::string Peer::field(const std::string& table, const std::string& key, const std::string& field) {
  CMDArray all;
  rows(table, &all);
  for (int i = 0; i < MDARecCount(all.array); ++i) {
    const MDRData* const record = MDARec(all.array, 0, i);
    MDRVar found{};
    all.GetVal(record, "KeyLink", found);
    if (std::string(found.text.data, found.text.length) != key) continue;
    all.GetVal(record, field.c_str(), found);
    return {found.text.data, found.text.length};
  }
  return "(absent)";
}

void Peer::listen(const std::vector<int>& kinds) { session_.SubEvent(kinds.data(), static_cast<int>(kinds.size())); }

void Peer::listenValues(const std::vector<int>& locIds) {
  session_.SubParam(locIds.data(), static_cast<int>(locIds.size()));
}

void Peer::take() {
  while (MDXCliParam* const message = session_.TakeMessage()) {
    if (message->typeNumber == MDX_TYPE_EVENT)
      taken_.append(QString("%1 %2 %3")
                        .arg(numberOf(message, MDX_EVENT_KIND))
                        .arg(numberOf(message, MDX_EVENT_SEQUENCE))
                        .arg(QString::fromStdString(bytesOf(message, MDX_EVENT_KEY))));
    else
      taken_.append(QString("value %1 %2").arg(numberOf(message, 0)).arg(bytesOf(message, 3).c_str()));
    MDXParamFree(message);
  }
}

bool Peer::waitForMessages(int count) {
  return eventually([&] {
    take();
    return taken_.size() >= count;
  });
}

QStringList Peer::messages() {
  take();
  return taken_;
}

}  // namespace tlm::test
