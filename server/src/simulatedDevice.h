// The simulator's other half: it takes commands as a device in the field does.
#ifndef TLMSERVER_SIMULATEDDEVICE_H
#define TLMSERVER_SIMULATEDDEVICE_H

#include <TlmServer/Core.h>
#include <TlmServer/Device.h>

#include <map>
#include <mutex>
#include <optional>
#include <utility>

namespace tlm::server {

// Any thread. The core must outlive it.
class SimulatedDevice : public Device {
 public:
  SimulatedDevice(Core& core, DeviceHabits habits) : core_(core), habits_(std::move(habits)) {}

  // Executes at once, refuses at once, or says nothing. Refuses for a signal that got values from the field.
  void execute(const DeviceCommand& command, Answer answer) override;

  // The state that a signal was commanded into; nothing when it never was.
  std::optional<double> stateOf(int32_t locId) const;

 private:
  Core& core_;
  const DeviceHabits habits_;
  mutable std::mutex mutex_;
  std::map<int32_t, double> states_;
};

}  // namespace tlm::server

#endif
