#include <TlmServer/Catalogue.h>
#include <TlmServer/CodePage.h>
#include <TlmServer/Core.h>
#include <TlmServer/LiveValues.h>
#include <TlmServer/ModelTables.h>
#include <TlmServer/Store.h>
#include <TlmServer/Users.h>

#include "catalogueParts.h"
#include "changeSet.h"
#include "commandDesk.h"
#include "fairMutex.h"
#include "objects.h"
#include "operatorRequests.h"
#include "operators.h"
#include "ownTable.h"
#include "publisher.h"
#include "requests.h"
#include "values.h"

#include <algorithm>
#include <atomic>
#include <charconv>
#include <chrono>
#include <deque>
#include <future>
#include <shared_mutex>

namespace tlm::server {
namespace {

using wire::Reply;

enum EventKind { kAdded = 601, kChanged = 602, kDeleted = 603 };

constexpr size_t kRefusalsKept = 256;
constexpr int64_t kForgetEvery = 4096;  // events between two looks at the length of the log
// What one who was away is told at a time.
constexpr int64_t kPortionEvents = 256;
constexpr size_t kPortionBytes = size_t{256} << 10;

int eventKind(int change) {
  if (change == MDX_REC_INSERT) return kAdded;
  return change == MDX_REC_UPDATE ? kChanged : kDeleted;
}

bool holdsOperatorRequest(const wire::Block& block) {
  for (const wire::Request& request : block.requests) {
    if (operatorRequest(request) != OperatorRequest::kNone) return true;
  }
  return false;
}

// The name and the password are one secret: who is told which of them is wrong has half of it.
Reply verdictReply(Verdict verdict) {
  switch (verdict) {
    case Verdict::kGranted:
      return {};
    case Verdict::kWrong:
      return Reply::failure(wire::kRefused, toCodePage("Неверное имя оператора или пароль."));
    case Verdict::kLocked:
      return Reply::failure(wire::kRefused, toCodePage("Слишком много неверных паролей: вход закрыт на минуту."));
    case Verdict::kNoRight:
      break;
  }
  return Reply::failure(wire::kRefused, toCodePage("У оператора нет права телеуправления."));
}

// A value as it is kept: every digit of it.
std::string exactText(const LiveValue& value) {
  if (const auto* text = std::get_if<std::string>(&value.value)) return *text;
  char text[32];
  return {text, std::to_chars(text, text + sizeof text, std::get<double>(value.value)).ptr};
}

Reply tooLarge() { return Reply::failure(wire::kTooLarge, "more than the limit of size in one call"); }

}  // namespace

CoreOptions withClock(CoreOptions options) {
  if (!options.clock) options.clock = systemTime;
  return options;
}

double systemTime() {
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  return 25569.0 + std::chrono::duration<double>(now).count() / 86400.0;
}

struct Core::State {
  State(std::unique_ptr<Store> from, const CoreOptions& given, const Catalogue& catalogue)
      : store(std::move(from)),
        options(withClock(given)),
        tables(catalogue, ModelTables::Keys::kLater),
        parts(tables),
        operators(catalogue),
        manualValues(catalogue, "ManualValues"),
        commands(options.clock,
                 [this](wire::Event event) { publisher.publish(std::vector<wire::Event>{std::move(event)}); }) {
    live.setListener([this](std::span<const Shown> values) { publisher.publish(values); });
  }

  bool load(std::string* error);
  Reply commit(const wire::Block& block, const Caller& caller);
  Reply commitNew(const wire::Block& block, const Caller& caller);
  Reply write(const ChangeSet& changes, const std::string& identity, const Caller& caller);
  std::vector<wire::Event> eventsOf(const ChangeSet& changes, const Caller& caller) const;
  void apply(const ChangeSet& changes);
  void forgetOldEvents();
  void rememberRefusal(const std::string& block, const Reply& reply);
  std::vector<Reply> answerAll(wire::Requests requests);

  bool subscribe(Subscriber* subscriber, const std::vector<int>& kinds, int64_t after);
  bool readMissed(int64_t after, std::vector<wire::Event>* events);

  void restoreManual();
  std::vector<std::string> manualOf(const std::vector<int32_t>& numbers) const;
  Reply operate(const wire::Request& request, const Caller& caller);
  Reply enterValue(std::string_view body, const Caller& caller);
  bool keepManual(const ManualPlan& plan, const std::string& user, std::string* error);
  Reply control(std::string_view body, const Caller& caller);
  Reply permit(const Order& order, const Caller& caller, Command* command);

  std::unique_ptr<Store> store;
  CoreOptions options;
  ModelTables tables;
  CatalogueParts parts;
  LiveValues live;
  ScriptCache scripts;
  Publisher publisher;
  Operators operators;
  OwnTable manualValues;  // guarded by commitMutex

  // Taken in this order. The first is held through a whole commit and guards the store; the second is held
  // exclusively only while the tables change.
  std::mutex commitMutex;
  mutable FairMutex tablesMutex;

  std::atomic<int64_t> last{0};
  std::atomic<int64_t> published{0};
  int64_t lookedAt = 0;  // number of the last event when old events were forgotten
  std::deque<std::pair<std::string, Reply>> refusals;

  CommandDesk commands;  // its receipts end before anything else does
};

// The keys of a table are made when its rows are in, on a thread of their own: the next table is read meanwhile.
bool Core::State::load(std::string* error) {
  std::vector<std::future<void>> keys;
  for (const TableDef& def : tables.catalogue().tables()) {
    MDArray* array = tables.table(def.name);
    if (!Catalogue::describesItself(def.name) && !store->load(def.name, array, error)) return false;
    keys.push_back(std::async(std::launch::async, [&def, array] { ModelTables::makeKeys(def, array); }));
  }
  last = store->lastSequence();
  published = last.load();
  lookedAt = last;
  return operators.load(*store, error) && manualValues.load(*store, error);
}

Reply Core::State::commit(const wire::Block& block, const Caller& caller) {
  const std::lock_guard lock(commitMutex);
  if (!block.identity.empty()) {
    if (block.identity.size() != kKeyLength)
      return Reply::failure(wire::kMalformed, "the identity of a block has 32 characters");
    if (store->holdsBlock(block.identity)) return {};
    for (const auto& [identity, reply] : refusals) {
      if (identity == block.identity) return reply;
    }
  }
  Reply reply = commitNew(block, caller);
  if (reply.status != wire::kOk && reply.status != wire::kStorage) rememberRefusal(block.identity, reply);
  return reply;
}

Reply Core::State::commitNew(const wire::Block& block, const Caller& caller) {
  ChangeSet changes(tables);
  for (const wire::Request& request : block.requests) {
    if (request.kind != wire::RequestKind::kUpdate) continue;
    Reply reply = changes.add(request.name, request.body);
    if (reply.status != wire::kOk) return reply;
  }
  Reply reply = changes.check();
  return reply.status == wire::kOk ? write(changes, block.identity, caller) : reply;
}

Reply Core::State::write(const ChangeSet& changes, const std::string& identity, const Caller& caller) {
  if (changes.changes().empty()) return {};
  Commit record{identity, {}, eventsOf(changes, caller)};
  for (const wire::Event& event : record.events) {
    // An event that no client can take would break the line of every one of them, again and again.
    if (event.image && event.image->size() > options.maxRequestBytes) return tooLarge();
  }
  for (const PlannedChange& change : changes.changes())
    record.changes.push_back({change.table->name, change.kind, change.key, change.row});
  const std::vector<int32_t> freed = changes.freedNumbers();
  const std::vector<std::string> lifted = manualOf(freed);
  for (const std::string& key : lifted)
    record.changes.push_back({manualValues.def().name, MDX_REC_DELETE, key, nullptr});
  std::string error;
  if (!store->commit(record, &error)) return Reply::failure(wire::kStorage, error);
  apply(changes);
  for (const std::string& key : lifted) manualValues.forget(key);
  for (const int32_t locId : freed) live.forget(locId);
  last = record.events.back().sequence;
  publisher.publish(record.events);
  published = last.load();
  forgetOldEvents();
  return {};
}

std::vector<wire::Event> Core::State::eventsOf(const ChangeSet& changes, const Caller& caller) const {
  std::vector<wire::Event> events;
  const double now = options.clock();
  int64_t sequence = last;
  events.reserve(changes.changes().size());
  for (const PlannedChange& change : changes.changes()) {
    wire::Event event;
    event.sequence = ++sequence;
    event.kind = eventKind(change.kind);
    event.time = now;
    event.key = change.key;
    event.param = "tbl=" + change.table->name + ",seq=" + std::to_string(sequence);
    event.user = caller.user;
    if (change.row) event.image = ChangeSet::image(change);
    events.push_back(std::move(event));
  }
  return events;
}

void Core::State::apply(const ChangeSet& changes) {
  const std::unique_lock lock(tablesMutex);
  changes.apply();
  tables.touch();
}

void Core::State::forgetOldEvents() {
  if (last - lookedAt < kForgetEvery) return;
  lookedAt = last;
  std::string error;  // a log that stays longer does no harm
  if (store->firstSequence() <= last - options.keptEvents) store->forgetEvents(last - options.keptEvents, &error);
}

void Core::State::rememberRefusal(const std::string& block, const Reply& reply) {
  if (block.empty()) return;
  refusals.emplace_back(block, reply);
  if (refusals.size() > kRefusalsKept) refusals.pop_front();
}

// All see the same tables, and what their scripts use is counted together: the next commit waits for all of them.
std::vector<Reply> Core::State::answerAll(wire::Requests requests) {
  const std::shared_lock lock(tablesMutex);
  ScriptAllowance allowance(options.budget);
  return server::answerAll({tables, live, parts, options, scripts, allowance, options.clock()}, requests);
}

// ---- those who listen ----

// The locks are held to read a portion and to join behind the last one, never while what was read is told.
bool Core::State::subscribe(Subscriber* subscriber, const std::vector<int>& kinds, int64_t after) {
  Publisher::Newcomer newcomer(publisher, subscriber, kinds);
  std::vector<wire::Event> missed;
  do {
    const std::lock_guard lock(commitMutex);
    if (after > last) return false;
    after = after < 0 ? last.load() : std::max(after, newcomer.position());
    if (!readMissed(after, &missed)) return false;
    if (!missed.empty()) after = missed.back().sequence;
    if (after == last) return newcomer.join(missed, last);
  } while (newcomer.tell(missed));
  return false;
}

// The next ones behind `after`, so many as make a portion.
bool Core::State::readMissed(int64_t after, std::vector<wire::Event>* events) {
  events->clear();
  if (after == last) return true;
  size_t bytes = 0;
  std::string error;
  const auto each = [&](wire::Event&& event) {
    bytes += wire::sizeOf(event);
    events->push_back(std::move(event));
    return bytes < kPortionBytes;
  };
  return store->firstSequence() <= after + 1 &&
         store->events(after, std::min(after + kPortionEvents, last.load()), each, &error) && !events->empty();
}

// ---- what operators ask ----

// The keys of the measurements among these numbers whose value stands by hand. They belong to the numbers: who gives
// a measurement another number lifts its value.
std::vector<std::string> Core::State::manualOf(const std::vector<int32_t>& numbers) const {
  std::vector<std::string> keys;
  for (const int32_t locId : numbers) {
    const MDRData* row = findNumber(tables, locId);
    std::string key(row ? textOf(tables.table("Measurement"), row, "KeyLink") : std::string_view{});
    if (manualValues.find(key)) keys.push_back(std::move(key));
  }
  return keys;
}

void Core::State::restoreManual() {
  const MDArray* rows = manualValues.rows();
  for (int i = 0; i < MDARecCount(rows); ++i) {
    const MDRData* row = MDARec(rows, 0, i);
    const Object object = findObject(tables, textOf(rows, row, "KeyLink"));
    const auto locId = intOf(objectValue(object, "locId"));
    if (!locId) continue;
    LiveValue value{0, Quality::kManual, std::string(textOf(rows, row, "value_"))};
    MDRGetAsDouble(MDRFldByName(rows, "time_"), row, &value.time);
    if (object.className != "StringMeasurement") value.value = parseNumber(textOf(rows, row, "value_")).value_or(0);
    live.setManual(static_cast<int32_t>(*locId), std::move(value), std::string(textOf(rows, row, "user_")));
  }
}

Reply Core::State::operate(const wire::Request& request, const Caller& caller) {
  if (request.body.size() > options.maxRequestBytes) return tooLarge();
  switch (operatorRequest(request)) {
    case OperatorRequest::kManualValue:
      return enterValue(request.body, caller);
    case OperatorRequest::kRemoteControl:
      return control(request.body, caller);
    default:
      break;
  }
  const std::string identity(bodyValue(request.body, "id"));
  const auto issued = parseNumber(bodyValue(request.body, "issued"));
  if (identity.size() != kKeyLength || !issued)
    return Reply::failure(wire::kMalformed, "CommandOutcome: id and issued");
  return {wire::kOk, std::nullopt, commands.outcome(identity, *issued)};
}

// No commit comes between the look at the model and the value.
Reply Core::State::enterValue(std::string_view body, const Caller& caller) {
  const std::lock_guard lock(commitMutex);
  const double now = options.clock();
  ManualPlan plan;
  if (Reply reply = planManual(tables, body, now, &plan); reply.status != wire::kOk) return reply;
  const std::string user = toCodePage(caller.user);
  std::string error;
  if (!keepManual(plan, user, &error)) return Reply::failure(wire::kStorage, error);
  if (plan.value)
    live.setManual(plan.locId, std::move(*plan.value), user);
  else
    live.liftManual(plan.locId, now);
  return {};
}

bool Core::State::keepManual(const ManualPlan& plan, const std::string& user, std::string* error) {
  if (!plan.value) return manualValues.erase(*store, plan.key, error);
  const std::string text = exactText(*plan.value);
  return manualValues.put(*store, plan.key,
                          {{"value_", textVar(text)}, {"user_", textVar(user)}, {"time_", doubleVar(plan.value->time)}},
                          error);
}

// A refusal is remembered under the command's identity, so that the same command sent again is refused again.
Reply Core::State::control(std::string_view body, const Caller& caller) {
  Order order;
  if (Reply reply = readOrder(body, &order); reply.status != wire::kOk) return reply;
  if (const auto known = commands.enter(order.identity)) return *known;
  Command command;
  Reply reply = permit(order, caller, &command);
  return reply.status == wire::kOk ? commands.start(command) : commands.reject(order.identity, std::move(reply));
}

Reply Core::State::permit(const Order& order, const Caller& caller, Command* command) {
  Signal signal;
  const auto look = [&] {
    const std::shared_lock lock(tablesMutex);
    return findSignal(tables, live, order, &signal);
  };
  if (Reply reply = look(); reply.status != wire::kOk) return reply;
  const std::string user = order.user.empty() ? toCodePage(caller.user) : order.user;
  std::optional<std::string_view> password;
  if (signal.asksPassword || !order.password.empty()) password = order.password;
  if (Reply reply = verdictReply(operators.check(Operators::Right::kControl, user, password, options.clock()));
      reply.status != wire::kOk)
    return reply;
  // The password took its time: meanwhile the signal may have been blocked, changed or given another number.
  if (Reply reply = look(); reply.status != wire::kOk) return reply;
  *command = {order.identity, signal.key, fromCodePage(user), {order.locId, order.state}, order.issued, signal.timeout};
  return {};
}

std::unique_ptr<Core> Core::open(std::unique_ptr<Store> store, const CoreOptions& options, std::string* error,
                                 const Catalogue* catalogue) {
  auto state = std::make_unique<State>(std::move(store), options, catalogue ? *catalogue : Catalogue::builtIn());
  if (!state->load(error)) return nullptr;
  state->restoreManual();
  return std::unique_ptr<Core>(new Core(std::move(state)));
}

Core::Core(std::unique_ptr<State> state) : state_(std::move(state)) {}
Core::~Core() = default;

Reply Core::execute(const wire::Request& request, const Caller& caller) {
  if (operatorRequest(request) != OperatorRequest::kNone) return state_->operate(request, caller);
  if (request.kind == wire::RequestKind::kUpdate) return execute(wire::Block{{}, {request}}, caller).whole;
  if (wire::sizeOf(wire::Requests(&request, 1)) > state_->options.maxRequestBytes) return tooLarge();
  return std::move(state_->answerAll({&request, 1}).front());
}

wire::BlockReply Core::execute(const wire::Block& block, const Caller& caller) {
  if (wire::sizeOf(block) > state_->options.maxRequestBytes) return {tooLarge(), {}};
  if (holdsOperatorRequest(block)) {
    if (block.requests.size() == 1) return {{}, {state_->operate(block.requests.front(), caller)}};
    return {Reply::failure(wire::kMalformed, "such a request travels alone"), {}};
  }
  wire::BlockReply reply;
  if (wire::writes(block)) reply.whole = state_->commit(block, caller);
  if (reply.whole.status == wire::kOk) reply.each = state_->answerAll(block.requests);
  return reply;
}

bool Core::subscribe(Subscriber* subscriber, const std::vector<int>& kinds, int64_t after) {
  return state_->subscribe(subscriber, kinds, after);
}

void Core::setDevice(std::shared_ptr<Device> device) { state_->commands.setDevice(std::move(device)); }

Verdict Core::admitValues(const std::string& user, std::string_view password) {
  return state_->operators.check(Operators::Right::kValues, user, password, state_->options.clock());
}

void Core::subscribeValues(Subscriber* subscriber, const std::vector<int>& locIds) {
  state_->publisher.subscribeValues(subscriber, locIds);
}

void Core::unsubscribe(Subscriber* subscriber) { state_->publisher.unsubscribe(subscriber); }
size_t Core::subscribers() const { return state_->publisher.subscribers(); }

void Core::publish(wire::Event event) {
  event.sequence = 0;
  if (event.time == 0) event.time = state_->options.clock();
  state_->publisher.publish(std::vector<wire::Event>{std::move(event)});
}

int64_t Core::lastSequence() const { return state_->last; }
int64_t Core::publishedSequence() const { return state_->published; }
const std::string& Core::identity() const { return state_->store->identity(); }
const Catalogue& Core::catalogue() const { return state_->tables.catalogue(); }
LiveValues& Core::live() { return state_->live; }

void Core::read(const std::function<void(const ModelTables&)>& look) const {
  const std::shared_lock lock(state_->tablesMutex);
  look(state_->tables);
}

}  // namespace tlm::server
