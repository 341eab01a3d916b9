// Moves the values of a model that no field device feeds, such as the sample.
#ifndef TLMSERVER_SIMULATOR_H
#define TLMSERVER_SIMULATOR_H

#include <TlmServer/Device.h>
#include <TlmServer/LiveValues.h>

#include <cstdint>
#include <memory>
#include <vector>

namespace tlm::server {

class Core;
class SimulatedDevice;

inline constexpr size_t kMostSimulated = 20'000;  // measurements

// A value depends on the seed, the number of the measurement and the time alone, so that two runs agree.
// It is the core's device as long as it lives: a signal that was commanded keeps the state that it was given.
// Used by one thread at a time; the core must outlive it.
class Simulator {
 public:
  // Feeds at most `limit` measurements, those with the lowest numbers.
  Simulator(Core& core, uint64_t seed, size_t limit = kMostSimulated, DeviceHabits habits = {});
  ~Simulator();
  Simulator(const Simulator&) = delete;
  Simulator& operator=(const Simulator&) = delete;

  // Sets the values of the time `now` (days since 30.12.1899, UTC) for all measurements in operation.
  // Those that got a value from the field are left alone until the core is opened anew: an invented value must never be
  // taken for a measured one. Returns how many were set. Looks at the model again when it has changed since the last
  // call.
  size_t tick(double now);

 private:
  enum class Kind : uint8_t { kAnalog, kDiscrete, kAccumulator, kString };
  struct Point {
    int32_t locId;
    Kind kind;
    double middle;  // of an analog; rate per day of an accumulator
    double swing;
  };

  void look();
  LiveValue valueOf(const Point& point, double now) const;

  Core& core_;
  const uint64_t seed_;
  const size_t limit_;
  int64_t seen_ = -1;
  std::vector<Point> points_;
  std::shared_ptr<SimulatedDevice> device_;
};

}  // namespace tlm::server

#endif
