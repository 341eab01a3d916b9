#include "commandDesk.h"

#include <TlmServer/CodePage.h>

#include <algorithm>
#include <chrono>

namespace tlm::server {
namespace {

constexpr double kRemembered = 600.0 / 86400;          // days that an ended command is known
constexpr size_t kMostEntries = 4'000;                 // commands that are known at a time
constexpr auto kLook = std::chrono::milliseconds(50);  // between two looks at the clock while commands are under way

wire::Reply refused(const char* why) { return wire::Reply::failure(wire::kRefused, toCodePage(why)); }

}  // namespace

CommandDesk::CommandDesk(Clock clock, Publish publish)
    : clock_(std::move(clock)),
      publish_(std::move(publish)),
      started_(clock_()),
      door_(std::make_shared<Door>()),
      watcher_([this] { watch(); }) {
  door_->desk = this;
}

CommandDesk::~CommandDesk() {
  {
    const std::lock_guard closing(door_->mutex);
    door_->desk = nullptr;
  }
  {
    const std::lock_guard lock(mutex_);
    stopping_ = true;
  }
  wake_.notify_all();
  watcher_.join();
}

void CommandDesk::setDevice(std::shared_ptr<Device> device) {
  const std::lock_guard lock(mutex_);
  device_ = std::move(device);
}

std::optional<wire::Reply> CommandDesk::enter(const std::string& identity) {
  const std::lock_guard lock(mutex_);
  const double now = clock_();
  forgetOld(now);
  const auto known = entries_.find(identity);
  if (known == entries_.end()) {
    if (entries_.size() >= kMostEntries) return refused("Слишком много команд за последние минуты.");
    entries_[identity].since = now;
    return std::nullopt;
  }
  const Entry& entry = known->second;
  if (entry.state == State::kChecking) return refused("Эта команда уже проверяется.");
  if (entry.state == State::kGivenUp) return refused("Команда отменена: о ней уже спрашивали как о не дошедшей.");
  return entry.reply;
}

wire::Reply CommandDesk::reject(const std::string& identity, wire::Reply reply) {
  const std::lock_guard lock(mutex_);
  Entry& entry = entries_[identity];
  entry.state = State::kRejected;
  entry.since = clock_();
  entry.reply = reply;
  return reply;
}

bool CommandDesk::busy(int32_t locId) const {
  return std::any_of(entries_.begin(), entries_.end(), [&](const auto& each) {
    return each.second.state == State::kRunning && each.second.command.what.locId == locId;
  });
}

wire::Reply CommandDesk::start(const Command& command) {
  std::unique_lock lock(mutex_);
  const double now = clock_();
  const char* why = nullptr;
  if (now - command.issued > kCommandAge) why = "Команда устарела: она шла к серверу дольше пяти секунд.";
  if (command.issued - now > kCommandAge) why = "Время команды опережает часы сервера.";
  if (!why && busy(command.what.locId)) why = "Для этого объекта уже выполняется команда.";
  const std::shared_ptr<Device> device = device_;
  if (!why && !device) why = "Нет устройства, которое выполнило бы команду.";
  if (why) {
    lock.unlock();
    return reject(command.identity, refused(why));
  }
  Entry& entry = entries_[command.identity];
  entry.state = State::kRunning;
  entry.command = command;
  entry.deadline = now + command.timeout;
  lock.unlock();
  wake_.notify_all();
  device->execute(command.what, [door = door_, identity = command.identity](DeviceAnswer how) {
    const std::lock_guard passing(door->mutex);
    if (door->desk) door->desk->answer(identity, how);
  });
  return {};
}

void CommandDesk::answer(const std::string& identity, DeviceAnswer how) {
  std::unique_lock lock(mutex_);
  const auto found = entries_.find(identity);
  if (found == entries_.end() || found->second.state != State::kRunning) return;
  if (how == DeviceAnswer::kDone)
    finish(found->second, State::kDone, kReceiptDone, lock);
  else
    finish(found->second, State::kRefused, kReceiptRefused, lock);
}

// The state is another before the receipt goes out, so that no second one can.
void CommandDesk::finish(Entry& entry, State state, ReceiptKind receipt, std::unique_lock<std::mutex>& lock) {
  entry.state = state;
  entry.since = clock_();
  const Command& command = entry.command;
  wire::Event event;
  event.kind = receipt;
  event.time = entry.since;
  event.key = command.key;
  event.param = "id=" + std::to_string(command.what.locId) + ",cmd=" + std::to_string(command.what.state);
  event.user = command.user;
  lock.unlock();
  publish_(std::move(event));
}

std::string CommandDesk::outcome(const std::string& identity, double issued) {
  const std::lock_guard lock(mutex_);
  const double now = clock_();
  forgetOld(now);
  if (entries_.count(identity) == 0) {
    if (entries_.size() >= kMostEntries) return "state=forgotten\n";
    Entry& entry = entries_[identity];
    entry.since = now;
    entry.state = State::kGivenUp;
  }
  const Entry& entry = entries_[identity];
  switch (entry.state) {
    case State::kChecking:
    case State::kRunning:
      return "state=running\n";
    case State::kDone:
      return "state=done\n";
    case State::kRefused:
      return "state=refused\n";
    case State::kTimeout:
      return "state=timeout\n";
    case State::kRejected:
      return "state=rejected\nwhy=" + entry.reply.payload.value_or(std::string()) + "\n";
    case State::kGivenUp:
      break;
  }
  return mayBeForgotten(issued, now) ? "state=forgotten\n" : "state=none\n";
}

// It may have come with a time that was a little ahead.
bool CommandDesk::mayBeForgotten(double issued, double now) const {
  return issued < started_ || now - issued > kRemembered - kCommandAge;
}

void CommandDesk::forgetOld(double now) {
  std::erase_if(entries_, [&](const auto& each) {
    const State state = each.second.state;
    return state != State::kRunning && state != State::kChecking && now - each.second.since > kRemembered;
  });
}

void CommandDesk::watch() {
  std::unique_lock lock(mutex_);
  const auto running = [this] {
    return std::any_of(entries_.begin(), entries_.end(),
                       [](const auto& each) { return each.second.state == State::kRunning; });
  };
  while (!stopping_) {
    if (!running())
      wake_.wait(lock, [&] { return stopping_ || running(); });
    else if (!expireOne(lock))
      wake_.wait_for(lock, kLook, [this] { return stopping_; });
  }
}

// Publishes without the lock, so one at a time.
bool CommandDesk::expireOne(std::unique_lock<std::mutex>& lock) {
  const double now = clock_();
  for (auto& [identity, entry] : entries_) {
    if (entry.state != State::kRunning || now < entry.deadline) continue;
    finish(entry, State::kTimeout, kReceiptTimeout, lock);
    lock.lock();
    return true;
  }
  return false;
}

}  // namespace tlm::server
