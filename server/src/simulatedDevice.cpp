#include "simulatedDevice.h"

#include <TlmServer/LiveValues.h>

namespace tlm::server {

void SimulatedDevice::execute(const DeviceCommand& command, Answer answer) {
  const auto habit = habits_.find(command.locId);
  if (habit != habits_.end()) {
    if (habit->second == DeviceHabit::kRefuses) return answer(DeviceAnswer::kRefused);
    if (habit->second == DeviceHabit::kSilent) return;
  }
  const double state = command.state;
  {
    const std::lock_guard lock(mutex_);
    states_[command.locId] = state;
  }
  // Nobody measured that state, so it gives way to values from the field, of which this is not the device.
  const bool moved = core_.live().simulate(command.locId, {systemTime(), Quality::kGood, state});
  if (!moved) {
    const std::lock_guard lock(mutex_);
    states_.erase(command.locId);
  }
  answer(moved ? DeviceAnswer::kDone : DeviceAnswer::kRefused);
}

std::optional<double> SimulatedDevice::stateOf(int32_t locId) const {
  const std::lock_guard lock(mutex_);
  const auto found = states_.find(locId);
  return found == states_.end() ? std::nullopt : std::optional(found->second);
}

}  // namespace tlm::server
