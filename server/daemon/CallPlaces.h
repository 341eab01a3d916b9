// The calls under way: how many there may be, and how long they may keep silent.
#ifndef TLMDAEMON_CALLPLACES_H
#define TLMDAEMON_CALLPLACES_H

#include <TlmWireGrpc/convert.h>

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <map>
#include <mutex>
#include <string>

#include <grpcpp/grpcpp.h>

#include "Log.h"

namespace tlm::server {

// At most so many whose messages are on their way, and as many that are carried out. What is on its way has to go on:
// each mebibyte within the patience. Where all places are taken, a new call gets that of one of which nothing has come
// for a quarter of the patience: of the one that has been silent for longest. All functions may be called on any
// thread.
class CallPlaces {
 public:
  using Clock = std::chrono::steady_clock;

  CallPlaces(int most, std::chrono::milliseconds patience, Log& log) : most_(most), patience_(patience), log_(log) {}

  // That of one call, while it lives. The context must outlive it.
  class Place {
   public:
    // The first thing to pass has at most that many bytes.
    Place(CallPlaces& house, grpc::ServerContext* context, size_t bytes = wire::kPieceBytes);
    ~Place();
    Place(const Place&) = delete;
    Place& operator=(const Place&) = delete;
    bool given() const { return given_; }
    void goesOn() const;  // a whole piece has passed
    // All has come. Waits for as long as that for a place among those that are carried out; false without one.
    bool carriesOut(std::chrono::milliseconds wait);

   private:
    CallPlaces& house_;
    grpc::ServerContext* const context_;
    bool given_ = false;
    bool carriesOut_ = false;
  };

  void endStuck(Clock::time_point now);  // those that did not go on

 private:
  struct Transfer {
    Clock::time_point begun;
    Clock::time_point until;  // the next piece has to pass
    bool goesOn = false;      // something has passed
  };

  bool makeRoom(Clock::time_point now, std::string* gone);

  const int most_;
  const std::chrono::milliseconds patience_;
  Log& log_;
  // Held while calls are cancelled. To open a stream, which the library may do on a thread that cancels, it is not
  // needed.
  std::mutex mutex_;
  std::condition_variable freed_;
  int carriedOut_ = 0;
  std::map<grpc::ServerContext*, Transfer> transfers_;
};

}  // namespace tlm::server

#endif
