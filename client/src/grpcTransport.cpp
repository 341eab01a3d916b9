#include "grpcTransport.h"

#include <algorithm>
#include <utility>

namespace tlm {
namespace {

using std::chrono::milliseconds;

constexpr int kPingMs = 10'000;
constexpr int kPingAnswerMs = 5'000;
constexpr int kBeatsMissed = 3;
constexpr auto kBeatSlack = milliseconds(500);
constexpr auto kAgain = milliseconds(50);  // before a call is tried again on a line that stands
constexpr int kMessageSlack = 1 << 20;
constexpr double kGrowth = 1.6;
constexpr double kJitter = 0.2;

// A channel of its own for each attempt: nothing is left over from the connection that broke.
std::shared_ptr<grpc::Channel> makeChannel(const NetLine& line) {
  grpc::ChannelArguments arguments;
  arguments.SetMaxReceiveMessageSize(static_cast<int>(std::max(line.maxBlockBytes, wire::kRecordBytes)) +
                                     kMessageSlack);
  arguments.SetInt(GRPC_ARG_USE_LOCAL_SUBCHANNEL_POOL, 1);
  arguments.SetInt(GRPC_ARG_ENABLE_HTTP_PROXY, 0);
  arguments.SetInt(GRPC_ARG_ENABLE_RETRIES, 0);
  arguments.SetInt(GRPC_ARG_KEEPALIVE_TIME_MS, kPingMs);
  arguments.SetInt(GRPC_ARG_KEEPALIVE_TIMEOUT_MS, kPingAnswerMs);
  arguments.SetInt(GRPC_ARG_HTTP2_MAX_PINGS_WITHOUT_DATA, 0);
  arguments.SetInt(GRPC_ARG_INITIAL_RECONNECT_BACKOFF_MS, line.firstRetryMs);
  arguments.SetInt(GRPC_ARG_MIN_RECONNECT_BACKOFF_MS, line.connectMs);
  arguments.SetInt(GRPC_ARG_MAX_RECONNECT_BACKOFF_MS, line.longestRetryMs);
  return grpc::CreateCustomChannel(line.address, grpc::InsecureChannelCredentials(), arguments);
}

milliseconds pause(const NetLine& line, int attempts, std::mt19937& random) {
  double ms = line.firstRetryMs;
  for (int i = 1; i < attempts && ms < line.longestRetryMs; ++i) ms *= kGrowth;
  std::uniform_real_distribution<double> jitter(1 - kJitter, 1 + kJitter);
  return milliseconds(static_cast<int64_t>(std::min<double>(ms, line.longestRetryMs) * jitter(random)));
}

void addAll(const std::vector<int>& numbers, google::protobuf::RepeatedField<int32_t>* to) {
  to->Add(numbers.begin(), numbers.end());
}

}  // namespace

GrpcTransport::GrpcTransport(const NetLine& line)
    : line_(line), random_(std::random_device{}()), keeper_([this] { keepUp(); }), worker_([this] { work(); }) {}

// What writes and was sent before is still carried out, or told to be lost when its time is over.
GrpcTransport::~GrpcTransport() {
  {
    Lock lock(mutex_);
    std::erase_if(queue_, [](const Job& job) { return !job.writes(); });
    lingering_ = true;
    jobs_.notify_one();
    changed_.wait(lock, [this] { return queue_.empty() && !writing_; });
    stopping_ = true;
    if (call_) call_->TryCancel();
    changed_.notify_all();
    jobs_.notify_all();
  }
  worker_.join();
  keeper_.join();
}

bool GrpcTransport::waitForFirst(std::string* problem) {
  Lock lock(mutex_);
  const bool up = waitWhileHeard(lock, [this] { return alive_; });
  if (!up) *problem = why_.empty() ? "no answer in time" : why_;
  return up;
}

void GrpcTransport::setListener(TransportListener* listener) {
  const std::lock_guard lock(mutex_);
  listener_ = listener;
}

bool GrpcTransport::alive() const {
  const std::lock_guard lock(mutex_);
  return alive_;
}

// ---- the line ----

void GrpcTransport::keepUp() {
  Lock lock(mutex_);
  while (!stopping_) {
    ended_ = false;
    lock.unlock();
    attempt();
    lock.lock();
    ++attempts_;
    changed_.wait_for(lock, pause(line_, attempts_, random_), [this] { return stopping_; });
  }
}

// One connection, from the attempt to make it to its end.
void GrpcTransport::attempt() {
  Lock lock(mutex_);
  channel_ = makeChannel(line_);
  first_ = ++serial_;
  const v1::Subscription first = subscription(true);
  lock.unlock();
  GrpcStream stream(channel_, first,
                    {[this](v1::Delivery&& delivery) { hear(std::move(delivery)); },
                     [this](const grpc::Status& status) {
                       const std::lock_guard ending(mutex_);
                       ended_ = true;
                       why_ = status.error_message();
                       changed_.notify_all();
                     }});
  lock.lock();
  stream_ = &stream;
  if (waitUntilUp(lock)) waitUntilSilent(lock);
  stream_ = nullptr;
  if (alive_) lineDied(lock, why_);
  lock.unlock();
}

// False when the attempt failed. Blocks may be sent by the time that the listener hears of it.
bool GrpcTransport::waitUntilUp(Lock& lock) {
  for (uint32_t wanted = first_; confirmed_ != serial_; wanted = serial_) {
    // The lists have changed meanwhile. Nothing is sent before they are in effect: a change that comes between what
    // is read and the subscription would be missed.
    if (wanted != first_) stream_->write(subscription(false));
    if (!waitUntilConfirmed(lock, wanted)) return false;
  }
  attempts_ = 0;
  alive_ = true;
  changed_.notify_all();
  jobs_.notify_all();
  if (TransportListener* const listener = listener_; std::exchange(knownDead_, false) && listener) {
    lock.unlock();
    listener->onLine(true, {});
    lock.lock();
  }
  return true;
}

bool GrpcTransport::waitUntilConfirmed(Lock& lock, uint32_t serial) {
  const auto ready = [&] { return stopping_ || ended_ || confirmed_ == serial; };
  if (!waitWhileHeard(lock, ready)) why_ = "no answer in time";
  return !stopping_ && !ended_ && confirmed_ == serial;
}

// It may take long until the server has told all that was missed, or until others have been told: only its silence
// counts.
template <typename Ready>
bool GrpcTransport::waitWhileHeard(Lock& lock, Ready ready) {
  const auto start = Clock::now();
  const auto limit = [&] { return std::max(start, heard_) + milliseconds(line_.connectMs); };
  while (!changed_.wait_until(lock, limit(), ready)) {
    if (limit() <= Clock::now()) return false;
  }
  return true;
}

void GrpcTransport::waitUntilSilent(Lock& lock) {
  const auto over = [this] { return stopping_ || ended_; };
  while (!over()) {
    const auto limit = heard_ + silence_;
    if (changed_.wait_until(lock, limit, over) || heard_ + silence_ > Clock::now()) continue;
    why_ = "the server is not heard any more";
    return;
  }
}

void GrpcTransport::lineDied(Lock& lock, const std::string& why) {
  alive_ = false;
  knownDead_ = true;
  if (call_) call_->TryCancel();
  std::vector<uint64_t> lost;
  for (const Job& job : queue_) {
    if (!job.writes()) lost.push_back(job.id);
  }
  std::erase_if(queue_, [](const Job& job) { return !job.writes(); });
  changed_.notify_all();
  TransportListener* const listener = listener_;
  tellLost(lock, std::move(lost), why);
  lock.unlock();
  if (listener) listener->onLine(false, why);
  lock.lock();
}

v1::Subscription GrpcTransport::subscription(bool again) const {
  v1::Subscription message;
  message.set_serial(serial_);
  addAll(kinds_, message.mutable_kinds());
  addAll(locIds_, message.mutable_loc_ids());
  if (!again || position_ < 0) return message;
  message.set_after(position_);
  message.set_store(store_);
  return message;
}

// In a delivery the events stand before what is said about all of them.
void GrpcTransport::hear(v1::Delivery&& delivery) {
  std::vector<wire::Event> events;
  Lock lock(mutex_);
  heard_ = Clock::now();
  TransportListener* const listener = listener_;
  for (v1::Event& event : *delivery.mutable_events()) {
    const int64_t sequence = event.sequence();
    if (sequence != 0 && sequence <= position_) continue;
    if (sequence != 0) position_ = sequence;
    events.push_back(wire::fromMessage(std::move(event)));
  }
  lock.unlock();
  for (wire::Event& event : events) {
    if (listener) listener->onEvent(std::move(event));
  }
  for (v1::ParamValue& value : *delivery.mutable_values()) {
    if (listener) listener->onValue(wire::fromMessage(std::move(value)));
  }
  lock.lock();
  if (delivery.has_position() && !kinds_.empty()) position_ = std::max(position_, delivery.position());
  lock.unlock();
  if (delivery.has_subscribed()) hearSubscribed(delivery.subscribed());
}

void GrpcTransport::hearSubscribed(const v1::Subscribed& subscribed) {
  Lock lock(mutex_);
  silence_ = milliseconds(subscribed.beat_ms()) * kBeatsMissed + kBeatSlack;
  store_ = subscribed.store();
  if (subscribed.lost()) position_ = -1;
  if (!kinds_.empty()) position_ = std::max(position_, subscribed.position());
  confirmed_ = subscribed.serial();
  changed_.notify_all();
  TransportListener* const listener = listener_;
  lock.unlock();
  if (subscribed.lost() && listener) listener->onEventsLost("the server no longer has all events since the line broke");
}

void GrpcTransport::subscribeEvents(const std::vector<int>& kinds) {
  Lock lock(mutex_);
  if (kinds_.empty() || kinds.empty()) position_ = -1;
  kinds_ = kinds;
  resubscribe(lock);
}

void GrpcTransport::subscribeValues(const std::vector<int>& locIds) {
  Lock lock(mutex_);
  locIds_ = locIds;
  resubscribe(lock);
}

// The lists are in effect when it returns, or go with the next connection.
void GrpcTransport::resubscribe(Lock& lock) {
  const uint32_t serial = ++serial_;
  if (!alive_ || !stream_) return;
  stream_->write(subscription(false));
  changed_.wait_for(lock, milliseconds(line_.connectMs),
                    [&] { return !alive_ || static_cast<int32_t>(confirmed_ - serial) >= 0; });
}

// ---- the blocks ----

bool GrpcTransport::send(uint64_t id, wire::Block block) {
  const std::lock_guard lock(mutex_);
  if (!listener_ || !alive_ || wire::sizeOf(block) > line_.maxBlockBytes) return false;
  Job job{id, std::move(block), {}};
  job.until = Clock::now() + milliseconds(job.writes() ? line_.writeMs : line_.callMs);
  queue_.push_back(std::move(job));
  return true;  // whoever waits for it carries it out, or somebody nudges: no thread is woken for nothing
}

void GrpcTransport::nudge() {
  const std::lock_guard lock(mutex_);
  if (!busy_ && !queue_.empty()) jobs_.notify_one();
}

std::optional<wire::BlockReply> GrpcTransport::carryOut(uint64_t id) {
  Lock lock(mutex_);
  if (busy_ || !alive_ || queue_.empty() || queue_.front().id != id) {
    jobs_.notify_one();
    return std::nullopt;
  }
  Job job = std::move(queue_.front());
  queue_.pop_front();
  return perform(job, lock);
}

void GrpcTransport::work() {
  Lock lock(mutex_);
  while (!stopping_) {
    if (expire(lock)) continue;
    if (!alive_ || busy_ || queue_.empty()) {
      const auto ready = [this] { return stopping_ || (alive_ && !busy_ && !queue_.empty()); };
      if (queue_.empty() || busy_)
        jobs_.wait(lock);
      else
        jobs_.wait_until(lock, queue_.front().until, ready);
      continue;
    }
    Job job = std::move(queue_.front());
    queue_.pop_front();
    const uint64_t id = job.id;
    auto reply = perform(job, lock);
    if (!reply) continue;
    TransportListener* const listener = listener_;
    lock.unlock();
    listener->onReply(id, std::move(*reply));
    lock.lock();
  }
}

// Blocks that have waited too long for the line.
bool GrpcTransport::expire(Lock& lock) {
  std::vector<uint64_t> late;
  const auto now = Clock::now();
  std::erase_if(queue_, [&](const Job& job) { return job.until <= now && (late.push_back(job.id), true); });
  if (late.empty()) return false;
  tellLost(lock, std::move(late), "no answer from the server in time");
  if (lingering_) changed_.notify_all();
  return true;
}

// Empty when the block has no answer yet: it is lost, or back in its place. A command never goes back.
std::optional<wire::BlockReply> GrpcTransport::perform(Job& job, Lock& lock) {
  busy_ = true;
  writing_ = job.writes();
  const auto limit = std::min(job.until, Clock::now() + milliseconds(line_.callMs));
  const auto stub = v1::Model::NewStub(channel_);
  const GrpcCalls calls{*stub, line_.user, std::chrono::system_clock::now() + (limit - Clock::now()),
                        [this](grpc::ClientContext& context) {
                          const std::lock_guard entering(mutex_);
                          call_ = alive_ && !stopping_ ? &context : nullptr;
                          return call_ != nullptr;
                        },
                        [this] {
                          const std::lock_guard leaving(mutex_);
                          call_ = nullptr;
                        }};
  lock.unlock();
  GrpcOutcome outcome = calls.carryOut(job.block);
  lock.lock();
  if (!outcome.reply) {
    // Still busy, so that nothing goes before this block.
    if (alive_) changed_.wait_for(lock, kAgain, [this] { return stopping_ || !alive_; });
    const bool late = job.until <= Clock::now();
    if (stopping_ || late || wire::holdsCommand(job.block) || (!alive_ && !job.writes()))
      tellLost(lock, {job.id}, outcome.why);
    else
      queue_.push_front(std::move(job));
  }
  busy_ = false;
  writing_ = false;
  if (lingering_) changed_.notify_all();
  if (!queue_.empty()) jobs_.notify_one();
  return std::move(outcome.reply);
}

void GrpcTransport::tellLost(Lock& lock, std::vector<uint64_t> ids, const std::string& why) {
  TransportListener* const listener = listener_;
  if (!listener || ids.empty()) return;
  lock.unlock();
  for (const uint64_t id : ids) listener->onLost(id, why);
  lock.lock();
}

std::unique_ptr<ITransport> connectToServer(const NetLine& line, std::string* problem) {
  auto transport = std::make_unique<GrpcTransport>(line);
  if (!transport->waitForFirst(problem)) return nullptr;
  return transport;
}

}  // namespace tlm
