// The entrance for values from the field: one stream of a collector, and all of them together.
#ifndef TLMDAEMON_VALUEFEED_H
#define TLMDAEMON_VALUEFEED_H

#include <TlmServer/Core.h>
#include <TlmServer/FieldValues.h>

#include <chrono>
#include <condition_variable>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include <grpcpp/grpcpp.h>
#include <tlm/v1/model.pb.h>

#include "Log.h"
#include "Worker.h"

namespace tlm::server {

class ValueFeed;

// Opens the streams, knows those that are open, and lets in who may.
class ValueFeeds {
 public:
  using Clock = std::chrono::steady_clock;
  using Reactor = grpc::ServerBidiReactor<v1::ValueBatch, v1::ValueAnswer>;

  ValueFeeds(Core& core, Log& log) : core_(core), log_(log) {}
  ~ValueFeeds() { settle(); }

  Reactor* open(grpc::CallbackServerContext* context);
  void endAll(const grpc::Status& why);  // and opens none any more
  void settle();                         // waits until none is open and no thread works for one
  // Those whose first batch has not come since then, or who have not taken an answer.
  void endStuckSince(Clock::time_point time);

 private:
  friend class ValueFeed;

  void closed(ValueFeed* feed, const std::string& why);
  void each(const std::function<void(ValueFeed&)>& visit);

  Core& core_;
  Log& log_;
  // Held while streams are told something, so that none of them goes; taken before the other.
  std::mutex tending_;
  // Never held while the library is called: it may open a stream on any thread that calls it, from within.
  std::mutex mutex_;
  std::condition_variable empty_;
  bool stopping_ = false;
  std::map<ValueFeed*, std::string> feeds_;  // with their peers
  Worker worker_;                            // passwords take their time; goes first
};

// Reads a batch, takes it, writes the answer, and only then reads on. Lives until gRPC is done with it.
class ValueFeed : public ValueFeeds::Reactor {
 public:
  ValueFeed(ValueFeeds& house, grpc::CallbackServerContext* context);

  void end(const grpc::Status& why);                         // after the answer on its way; any thread
  void endIfStuckSince(ValueFeeds::Clock::time_point time);  // while it is known to the house

 private:
  void OnReadDone(bool ok) override;
  void OnWriteDone(bool ok) override;
  void OnCancel() override { end(grpc::Status::CANCELLED); }
  void OnDone() override;

  void admit();
  void take();
  void write();
  void refuse(const RefusedValue& refused);

  ValueFeeds& house_;
  grpc::CallbackServerContext* const context_;
  const std::string peer_;
  std::shared_ptr<ValueFeed> self_;  // until gRPC is done with it
  bool admitted_ = false;
  v1::ValueBatch batch_;
  v1::ValueAnswer answer_;
  std::vector<FieldValue> values_;
  FieldPlaces places_;
  std::mutex mutex_;
  ValueFeeds::Clock::time_point since_ = ValueFeeds::Clock::now();  // of the answer on its way, or the first wait
  bool heard_ = false;
  bool writing_ = false;
  bool ended_ = false;
  grpc::Status last_;
};

}  // namespace tlm::server

#endif
