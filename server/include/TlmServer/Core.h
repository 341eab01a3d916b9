// The model server: catalogue, model tables, requests, scripts, change sets, events and live values.
#ifndef TLMSERVER_CORE_H
#define TLMSERVER_CORE_H

#include <TlmWire/messages.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace tlm::server {

class Device;
class Store;
class LiveValues;
class Catalogue;
class ModelTables;
enum class Verdict;

// What one script may use before it is ended with kBudgetSpent. Steps and milliseconds are those of all scripts of a
// block together: each has what those before it left, and one that finds none left is answered with kBudgetSpent.
struct ScriptBudget {
  int64_t steps = 200'000'000;
  int milliseconds = 30'000;
  size_t bytes = size_t{512} << 20;
  int rows = 2'000'000;
};

struct CoreOptions {
  ScriptBudget budget;
  size_t maxRequestBytes = size_t{64} << 20;
  size_t maxReplyBytes = size_t{1} << 30;  // of one answer, and of all answers of a block
  std::function<double()> clock;           // days since 30.12.1899 (UTC); the system's when empty
  int64_t keptEvents = 1'000'000;          // events kept in the store for clients that were away
};

// Who asks; written into events.
struct Caller {
  std::string user;
};

// Receives what the server publishes. Called on the thread that commits, in commit order, with the
// publication lock held: it must return quickly and must not call the core.
//
// What it missed comes on the thread that subscribes instead, in portions, with nothing locked but for the last one;
// values may come on another thread at the same time.
class Subscriber {
 public:
  virtual ~Subscriber() = default;
  virtual void onEvent(const wire::Event& event) = 0;
  virtual void onValue(const wire::ParamValue& value) = 0;

  // Asked between two portions of what it missed, with nothing locked: it may wait until it has room. False ends the
  // subscription.
  virtual bool wantsMore() { return true; }
};

// The system's time, days since 30.12.1899 (UTC).
double systemTime();

// One running model. Every public function may be called from any thread: reads run side by side,
// commits one after another.
class Core {
 public:
  // Loads the model from the store. Null with a message in *error when the store cannot be read. The
  // catalogue is the built-in one, or `catalogue`, which must outlive the core.
  static std::unique_ptr<Core> open(std::unique_ptr<Store> store, const CoreOptions& options, std::string* error,
                                    const Catalogue* catalogue = nullptr);
  ~Core();
  Core(const Core&) = delete;
  Core& operator=(const Core&) = delete;

  // Carries out one request outside a block. An update is a block of its own.
  wire::Reply execute(const wire::Request& request, const Caller& caller);

  // Carries out a block: its updates are one transaction, checked whole, made durable, applied,
  // published, in this order, before the reply; its other requests see the tables after it, all at the
  // same moment. When their answers do not fit into maxReplyBytes, the first that does not and all behind it are
  // answered with kTooLarge and are not carried out; what the block wrote stays written. A block whose identity was
  // committed before is not written again, and is answered as it was then.
  wire::BlockReply execute(const wire::Block& block, const Caller& caller);

  // Starts to deliver the events of `kinds` that are later than `after` (-1: from now on), and the values
  // of `locIds`. A second call for the same subscriber replaces the lists and delivers nothing twice.
  // False, and the subscription is as it was, when the server does not hold (or no longer holds) all events after
  // `after`, never gave a number as high, cannot read its log, or when the subscriber wants no more or was
  // unsubscribed meanwhile. Commits go on while it is told what it missed; events that are not kept come to it from
  // the return on. One call at a time for a subscriber, but for unsubscribe.
  bool subscribe(Subscriber* subscriber, const std::vector<int>& kinds, int64_t after);
  void subscribeValues(Subscriber* subscriber, const std::vector<int>& locIds);
  void unsubscribe(Subscriber* subscriber);  // no call is under way when it returns
  size_t subscribers() const;                // to events or values

  // Publishes an event that is not kept, such as the receipt of a command.
  void publish(wire::Event event);

  // Who carries out telecontrol commands; null for nobody. No call of the one before comes after it returns, but for
  // commands that are being handed over.
  void setDevice(std::shared_ptr<Device> device);

  // Whether somebody may hand in values from the field (TlmServer/FieldValues.h). Takes as long as a password needs.
  Verdict admitValues(const std::string& user, std::string_view password);  // Windows-1251

  int64_t lastSequence() const;
  // All events up to this one have been handed to their subscribers; at most lastSequence().
  int64_t publishedSequence() const;
  const std::string& identity() const;  // of the store, 32 characters

  const Catalogue& catalogue() const;
  LiveValues& live();

  // Runs `look` with the tables held for reading. It must not call the core.
  void read(const std::function<void(const ModelTables&)>& look) const;

 private:
  struct State;
  explicit Core(std::unique_ptr<State> state);
  std::unique_ptr<State> state_;
};

}  // namespace tlm::server

#endif
