#include <TlmServer/Catalogue.h>
#include <TlmServer/Core.h>
#include <TlmServer/LiveValues.h>
#include <TlmServer/ModelTables.h>
#include <TlmServer/Store.h>

#include "catalogueParts.h"
#include "changeSet.h"
#include "fairMutex.h"
#include "publisher.h"
#include "records.h"
#include "requests.h"
#include "values.h"

#include <atomic>
#include <chrono>
#include <deque>
#include <future>
#include <shared_mutex>
#include <span>

namespace tlm::server {
namespace {

using wire::Reply;

enum EventKind { kAdded = 601, kChanged = 602, kDeleted = 603 };

constexpr size_t kRefusalsKept = 256;
constexpr int64_t kForgetEvery = 4096;  // events between two looks at the length of the log

int eventKind(int change) {
  if (change == MDX_REC_INSERT) return kAdded;
  return change == MDX_REC_UPDATE ? kChanged : kDeleted;
}

bool holdsUpdates(const wire::Block& block) {
  for (const wire::Request& request : block.requests) {
    if (request.kind == wire::RequestKind::kUpdate) return true;
  }
  return false;
}

using Requests = std::span<const wire::Request>;

size_t sizeOf(Requests requests) {
  size_t size = 0;
  for (const wire::Request& request : requests) size += request.name.size() + request.body.size();
  return size;
}

Reply tooLarge() { return Reply::failure(wire::kTooLarge, "more than the limit of size in one call"); }

}  // namespace

double systemTime() {
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  return 25569.0 + std::chrono::duration<double>(now).count() / 86400.0;
}

struct Core::State {
  State(std::unique_ptr<Store> from, const CoreOptions& given, const Catalogue& catalogue)
      : store(std::move(from)), options(given), tables(catalogue, ModelTables::Keys::kLater), parts(tables) {
    if (!options.clock) options.clock = systemTime;
    live.setListener([this](const wire::ParamValue& value) { publisher.publish(value); });
  }

  bool load(std::string* error);
  Reply commit(const wire::Block& block, const Caller& caller);
  Reply commitNew(const wire::Block& block, const Caller& caller);
  Reply write(const ChangeSet& changes, const std::string& identity, const Caller& caller);
  std::vector<wire::Event> eventsOf(const ChangeSet& changes, const Caller& caller) const;
  void apply(const ChangeSet& changes);
  void apply(const PlannedChange& change);
  void forgetOldEvents();
  void rememberRefusal(const std::string& block, const Reply& reply);
  std::vector<Reply> answerAll(Requests requests);

  std::unique_ptr<Store> store;
  CoreOptions options;
  ModelTables tables;
  CatalogueParts parts;
  LiveValues live;
  ScriptCache scripts;
  Publisher publisher;

  // Taken in this order. The first is held through a whole commit and guards the store; the second is held
  // exclusively only while the tables change.
  std::mutex commitMutex;
  mutable FairMutex tablesMutex;

  std::atomic<int64_t> last{0};
  std::atomic<int64_t> published{0};
  int64_t lookedAt = 0;  // number of the last event when old events were forgotten
  std::deque<std::pair<std::string, Reply>> refusals;
};

// The keys of a table are made when its rows are in, on a thread of their own: the next table is read meanwhile.
bool Core::State::load(std::string* error) {
  std::vector<std::future<void>> keys;
  for (const TableDef& def : tables.catalogue().tables()) {
    MDArray* array = tables.table(def.name);
    if (!Catalogue::describesItself(def.name) && !store->load(def.name, array, error)) return false;
    keys.push_back(std::async(std::launch::async, [&def, array] { Catalogue::makeKeys(def, array); }));
  }
  last = store->lastSequence();
  published = last.load();
  lookedAt = last;
  return true;
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
  for (const PlannedChange& change : changes.changes())
    record.changes.push_back({change.table->name, change.kind, change.key, change.row});
  std::string error;
  if (!store->commit(record, &error)) return Reply::failure(wire::kStorage, error);
  const std::vector<int32_t> freed = changes.freedNumbers();
  apply(changes);
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
  for (const PlannedChange& change : changes.changes()) apply(change);
}

void Core::State::apply(const PlannedChange& change) {
  MDArray* array = tables.table(change.table->name);
  MDRData* record = seekKey(array, change.key);
  if (!change.row) {
    MDARecDel(record);
    return;
  }
  record = record ? MDARecEdit(record) : MDARecNew(array);
  copyRow(change.row, record);
  MDARecPost(record, nullptr);
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

// All see the same tables. An update has been carried out before and is answered as such.
std::vector<Reply> Core::State::answerAll(Requests requests) {
  std::vector<Reply> replies;
  const std::shared_lock lock(tablesMutex);
  const RequestContext context{tables, live, parts, options, scripts, options.clock()};
  for (const wire::Request& request : requests) {
    const bool written = request.kind == wire::RequestKind::kUpdate;
    replies.push_back(written ? Reply{} : answer(context, request));
  }
  return replies;
}

std::unique_ptr<Core> Core::open(std::unique_ptr<Store> store, const CoreOptions& options, std::string* error,
                                 const Catalogue* catalogue) {
  auto state = std::make_unique<State>(std::move(store), options, catalogue ? *catalogue : Catalogue::builtIn());
  if (!state->load(error)) return nullptr;
  return std::unique_ptr<Core>(new Core(std::move(state)));
}

Core::Core(std::unique_ptr<State> state) : state_(std::move(state)) {}
Core::~Core() = default;

Reply Core::execute(const wire::Request& request, const Caller& caller) {
  if (request.kind == wire::RequestKind::kUpdate) return execute(wire::Block{{}, {request}}, caller).whole;
  if (sizeOf({&request, 1}) > state_->options.maxRequestBytes) return tooLarge();
  return std::move(state_->answerAll({&request, 1}).front());
}

wire::BlockReply Core::execute(const wire::Block& block, const Caller& caller) {
  if (sizeOf(block.requests) > state_->options.maxRequestBytes) return {tooLarge(), {}};
  wire::BlockReply reply;
  if (holdsUpdates(block)) reply.whole = state_->commit(block, caller);
  if (reply.whole.status == wire::kOk) reply.each = state_->answerAll(block.requests);
  return reply;
}

bool Core::subscribe(Subscriber* subscriber, const std::vector<int>& kinds, int64_t after) {
  const std::lock_guard lock(state_->commitMutex);
  const int64_t last = state_->last;
  if (after > last) return false;
  return state_->publisher.subscribe(subscriber, kinds, after, last, [this](int64_t from, const auto& each) {
    std::string error;
    return state_->store->firstSequence() <= from + 1 && state_->store->events(from, each, &error);
  });
}

void Core::subscribeValues(Subscriber* subscriber, const std::vector<int>& locIds) {
  state_->publisher.subscribeValues(subscriber, locIds);
}

void Core::unsubscribe(Subscriber* subscriber) { state_->publisher.unsubscribe(subscriber); }

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
