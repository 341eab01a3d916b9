// Telecontrol commands from the moment they are taken until their receipt: each goes to the device once or never.
#ifndef TLMSERVER_COMMANDDESK_H
#define TLMSERVER_COMMANDDESK_H

#include <TlmServer/Device.h>
#include <TlmWire/messages.h>

#include <condition_variable>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

namespace tlm::server {

enum ReceiptKind { kReceiptRefused = 902, kReceiptDone = 903, kReceiptTimeout = 904 };

inline constexpr double kCommandAge = 5.0 / 86400;  // days; an older command is refused

// A command that has passed all other checks.
struct Command {
  std::string identity;  // 32 characters, made by the client
  std::string key;       // of the object
  std::string user;
  DeviceCommand what;
  double issued = 0;   // server time, days
  double timeout = 0;  // days
};

// Any thread.
class CommandDesk {
 public:
  using Clock = std::function<double()>;
  using Publish = std::function<void(wire::Event)>;

  CommandDesk(Clock clock, Publish publish);
  ~CommandDesk();  // no receipt is published after it
  CommandDesk(const CommandDesk&) = delete;
  CommandDesk& operator=(const CommandDesk&) = delete;

  // Who carries commands out, or null. Commands under way stay with the one that has them.
  void setDevice(std::shared_ptr<Device> device);

  // Enters an identity. Empty when it is new; otherwise what its command was answered, which is then not to be carried
  // out: it was before, is being looked at, or was given up.
  std::optional<wire::Reply> enter(const std::string& identity);

  // The end of a command that was entered and is not carried out. Returns the reply.
  wire::Reply reject(const std::string& identity, wire::Reply reply);

  // Hands a command that was entered to the device, unless it has become too old, its signal has another command under
  // way, or there is no device.
  wire::Reply start(const Command& command);

  // What became of a command, as lines of name=value: "state" is running, done, refused, timeout, rejected (with
  // "why"), none (it never came here, and will not be carried out any more) or forgotten (issued before this server
  // started, or so long ago that its end may be forgotten: not known).
  std::string outcome(const std::string& identity, double issued);

 private:
  enum class State { kChecking, kRunning, kDone, kRefused, kTimeout, kRejected, kGivenUp };
  struct Entry {
    State state = State::kChecking;
    double since = 0;  // when it was entered, and then when it ended
    double deadline = 0;
    wire::Reply reply;
    Command command;
  };

  // What the answers of a device reach; outlives the desk as long as a device holds one.
  struct Door {
    std::mutex mutex;
    CommandDesk* desk = nullptr;
  };

  void answer(const std::string& identity, DeviceAnswer how);
  void finish(Entry& entry, State state, ReceiptKind receipt, std::unique_lock<std::mutex>& lock);
  void forgetOld(double now);
  bool mayBeForgotten(double issued, double now) const;
  bool busy(int32_t locId) const;
  void watch();
  bool expireOne(std::unique_lock<std::mutex>& lock);

  const Clock clock_;
  const Publish publish_;
  const double started_;
  std::shared_ptr<Door> door_;

  std::mutex mutex_;
  std::condition_variable wake_;
  std::shared_ptr<Device> device_;
  std::map<std::string, Entry> entries_;
  bool stopping_ = false;
  std::thread watcher_;
};

}  // namespace tlm::server

#endif
