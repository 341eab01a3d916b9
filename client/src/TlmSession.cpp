#include <TlmClient/CTlmCliMod.h>
#include <TlmClient/GenGuid32.h>
#include <TlmClient/TlmSession.h>

#include <QDateTime>
#include <QDebug>
#include <QElapsedTimer>
#include <QPointer>
#include <QTextCodec>

#include <cmath>
#include <deque>
#include <unordered_set>
#include <variant>

#include "replyDesk.h"
#include "wakeUp.h"

namespace tlm {
namespace {

constexpr int kDeliverySliceMs = 20;  // then the window gets its turn
constexpr double kDaysTo1970 = 25569;
constexpr double kMsOfDay = 86'400'000;
constexpr double kMostDays = 2'958'465;  // end of the year 9999

QTextCodec* windows1251() {
  static QTextCodec* const codec = QTextCodec::codecForName("Windows-1251");
  return codec;
}

std::string text(const char* bytes) { return bytes ? std::string(bytes) : std::string(); }

// The packed form of script arguments; empty for none. False when they cannot be packed.
bool packArguments(const CVar* args, std::string* body) {
  if (!args) return true;
  void* bytes = nullptr;
  uint32_t length = 0;
  if (CVarToBuff(args, &bytes, &length) < 0) return false;
  body->assign(static_cast<const char*>(bytes), length);
  MDXFree(bytes);
  return true;
}

std::vector<int> list(const int* ids, int count) {
  return ids && count > 0 ? std::vector<int>(ids, ids + count) : std::vector<int>();
}

struct LineChange {
  bool alive = false;
  std::string why;
};

}  // namespace

struct TlmSession::Private : TransportListener {
  Private(TlmSession* owner, std::unique_ptr<ITransport> line)
      : session(owner), wakeUp([this] { onWake(); }), desk([this] { wakeUp.ring(); }), transport(std::move(line)) {}
  ~Private() override;

  // any thread
  void onReply(uint64_t id, wire::BlockReply reply) override { desk.arrive(id, std::move(reply)); }
  void onLost(uint64_t id, const std::string& why) override { desk.lose(id, why); }
  void onEvent(wire::Event event) override { queue(std::move(event)); }
  void onValue(wire::ParamValue value) override { queue(std::move(value)); }
  void onLine(bool alive, const std::string& why) override;
  void onEventsLost(const std::string& why) override;

  // GUI thread
  bool submit(wire::Request request, MDXCliParam** reply);
  bool send(std::vector<wire::Request> requests, ReplyDesk::Sent sent);
  void carryOut(MDXCliParam** reply);
  void onWake();
  void tellRefusals();
  void deliver();
  bool messagesWait() const;
  void hand(MDXCliParam** pointer, const wire::Reply& reply);

  using Message = std::variant<wire::Event, wire::ParamValue>;
  void queue(Message message);

  TlmSession* const session;
  WakeUp wakeUp;
  ReplyDesk desk;

  bool blockOpen = false;
  std::vector<wire::Request> blockRequests;
  std::vector<MDXCliParam**> blockReplies;
  std::unordered_set<MDXCliParam*> handedOut;

  mutable std::mutex mutex;  // of the queues
  std::deque<Message> messages;
  std::vector<LineChange> lineChanges;
  std::optional<std::string> eventsLost;  // and why

  QPointer<CTlmCliMod> module;
  bool delivering = false;
  uint64_t taken = 0;  // messages handed out so far

  std::unique_ptr<ITransport> transport;  // goes first: nothing is called from it afterwards
};

TlmSession::Private::~Private() {
  for (MDXCliParam* reply : handedOut) MDXParamFree(reply);
}

void TlmSession::Private::queue(Message message) {
  {
    const std::lock_guard lock(mutex);
    messages.push_back(std::move(message));
  }
  wakeUp.ring();
}

void TlmSession::Private::onLine(bool alive, const std::string& why) {
  {
    const std::lock_guard lock(mutex);
    lineChanges.push_back({alive, why});
  }
  desk.lineIs(alive);
  wakeUp.ring();
}

void TlmSession::Private::onEventsLost(const std::string& why) {
  {
    const std::lock_guard lock(mutex);
    eventsLost = why;
  }
  wakeUp.ring();
}

bool TlmSession::Private::submit(wire::Request request, MDXCliParam** reply) {
  if (blockOpen) {
    if (reply) desk.letGo(reply);
    blockRequests.push_back(std::move(request));
    blockReplies.push_back(reply);
    return true;
  }
  std::vector<wire::Request> one;
  one.push_back(std::move(request));
  return send(std::move(one), {nullptr, {reply}, false});
}

bool TlmSession::Private::send(std::vector<wire::Request> requests, ReplyDesk::Sent sent) {
  wire::Block block;
  block.requests = std::move(requests);
  sent.tells = sent.tells || wire::writes(block);
  if (sent.tells) block.identity = GenGuid32().toStdString();
  bool watched = sent.whole != nullptr;
  for (MDXCliParam** single : sent.singles) watched = watched || single;
  sent.tells = sent.tells || !watched;
  const uint64_t id = desk.enter(std::move(sent));
  if (!transport->send(id, std::move(block))) {
    desk.unsent(id);
    return false;
  }
  if (watched)
    wakeUp.ring();  // by then whoever wants to wait for it waits
  else
    transport->nudge();
  return true;
}

// Saves the hand-over to a thread and back where the transport can.
void TlmSession::Private::carryOut(MDXCliParam** reply) {
  const uint64_t id = desk.openId(reply);
  if (id == 0) return;
  if (auto answer = transport->carryOut(id)) desk.arrive(id, std::move(*answer));
}

// Most callers take a reply for a yes or a no; the reason is for the developers.
void TlmSession::Private::hand(MDXCliParam** pointer, const wire::Reply& reply) {
  if (reply.status != wire::kOk) {
    qDebug().noquote() << "session: status" << reply.status
                       << windows1251()->toUnicode(QByteArray::fromStdString(reply.payload.value_or(std::string())));
  }
  *pointer = wire::replyRecord(reply);
  if (*pointer) handedOut.insert(*pointer);
}

void TlmSession::Private::onWake() {
  transport->nudge();
  std::vector<LineChange> changes;
  std::optional<std::string> lost;
  {
    const std::lock_guard lock(mutex);
    changes.swap(lineChanges);
    lost.swap(eventsLost);
  }
  for (const LineChange& change : changes) emit session->lineChanged(change.alive, QString::fromStdString(change.why));
  tellRefusals();
  if (lost) emit session->eventsLost(QString::fromStdString(*lost));
  deliver();
}

void TlmSession::Private::tellRefusals() {
  for (const Refusal& refusal : desk.takeRefusals()) {
    emit session->writeRefused(refusal.status, windows1251()->toUnicode(refusal.why.c_str()));
  }
}

bool TlmSession::Private::messagesWait() const {
  const std::lock_guard lock(mutex);
  return !messages.empty();
}

// A nested event loop inside MessageData comes here too; the loop below goes on when it has ended.
void TlmSession::Private::deliver() {
  if (delivering) return;
  delivering = true;
  QElapsedTimer slice;
  slice.start();
  while (module && messagesWait()) {
    const uint64_t before = taken;
    module->MessageOn();
    if (taken == before) break;  // the module wants none now
    if (slice.hasExpired(kDeliverySliceMs)) {
      wakeUp.ring();
      break;
    }
  }
  delivering = false;
}

TlmSession::TlmSession(std::unique_ptr<ITransport> transport)
    : d_(std::make_unique<Private>(this, std::move(transport))) {
  d_->transport->setListener(d_.get());
}

// Who listens hears of the writes that were lost at the very end too.
TlmSession::~TlmSession() {
  d_->transport.reset();
  d_->tellRefusals();
}

bool TlmSession::PacketExec(const char* name, const unsigned char* data, int length, MDXCliParam** reply) {
  std::string body;
  if (data && length > 0) body.assign(reinterpret_cast<const char*>(data), static_cast<size_t>(length));
  return d_->submit({wire::RequestKind::kPacket, text(name), std::move(body)}, reply);
}

bool TlmSession::CalcExec(const char* script, CVar* args, MDXCliParam** reply) {
  std::string body;
  return packArguments(args, &body) && d_->submit({wire::RequestKind::kScript, text(script), std::move(body)}, reply);
}

bool TlmSession::ProcExec(const char* procedure, CVar* args, MDXCliParam** reply) {
  std::string body;
  return packArguments(args, &body) &&
         d_->submit({wire::RequestKind::kProcedure, text(procedure), std::move(body)}, reply);
}

bool TlmSession::SqlUpdate(const char* table, MDArray* records, bool, MDXCliParam** reply) {
  std::string body = records ? wire::packArray(records) : std::string();
  if (body.empty()) return false;
  return d_->submit({wire::RequestKind::kUpdate, text(table), std::move(body)}, reply);
}

void TlmSession::BlockBeg() {
  d_->blockOpen = true;
  d_->blockRequests.clear();
  d_->blockReplies.clear();
}

bool TlmSession::BlockEnd(bool send, MDXCliParam** reply) {
  if (reply) d_->desk.letGo(reply);
  const bool wasOpen = std::exchange(d_->blockOpen, false);
  std::vector<wire::Request> requests = std::exchange(d_->blockRequests, {});
  std::vector<MDXCliParam**> replies = std::exchange(d_->blockReplies, {});
  if (!wasOpen) return false;
  return !send || d_->send(std::move(requests), {reply, std::move(replies), false});
}

bool TlmSession::WaitResult(MDXCliParam** reply, int timeoutMs) {
  if (!reply) return false;
  if (timeoutMs < 0)
    d_->carryOut(reply);
  else
    d_->transport->nudge();
  auto collected = d_->desk.collect(reply, timeoutMs);
  if (!collected && !*reply) qDebug("session: no answer");
  if (!collected) return *reply != nullptr;
  for (const auto& [pointer, answer] : collected->replies) d_->hand(pointer, answer);
  return *reply != nullptr;
}

void TlmSession::PrmFree(MDXCliParam* reply) {
  if (d_->handedOut.erase(reply) > 0) MDXParamFree(reply);
}

double TlmSession::MdxTimeToSesTime(double time) {
  const double days = time - kDaysTo1970;
  if (!(std::abs(days) < kMostDays)) return time;
  const auto moment = QDateTime::fromMSecsSinceEpoch(std::llround(days * kMsOfDay), Qt::UTC);
  return time + moment.toLocalTime().offsetFromUtc() / 86'400.0;
}

QTextCodec* TlmSession::Codec() const { return windows1251(); }

void TlmSession::SubEvent(const int* ids, int count) { d_->transport->subscribeEvents(list(ids, count)); }
void TlmSession::SubParam(const int* ids, int count) { d_->transport->subscribeValues(list(ids, count)); }
CTlmCliSes* TlmSession::Session() const { return const_cast<TlmSession*>(this); }

MDXCliParam* TlmSession::TakeMessage() {
  Private::Message message;
  {
    const std::lock_guard lock(d_->mutex);
    if (d_->messages.empty()) return nullptr;
    message = std::move(d_->messages.front());
    d_->messages.pop_front();
  }
  ++d_->taken;
  const auto* const event = std::get_if<wire::Event>(&message);
  return event ? wire::eventRecord(*event) : wire::paramRecord(std::get<wire::ParamValue>(message));
}

void TlmSession::SetModule(CTlmCliMod* module) {
  d_->module = module;
  if (module) {
    d_->wakeUp.ring();
    return;
  }
  const std::lock_guard lock(d_->mutex);
  d_->messages.clear();
}

bool TlmSession::alive() const { return d_->transport->alive(); }

}  // namespace tlm
