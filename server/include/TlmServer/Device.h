// What carries out telecontrol commands: the field, or the simulator in its place.
#ifndef TLMSERVER_DEVICE_H
#define TLMSERVER_DEVICE_H

#include <cstdint>
#include <functional>
#include <map>

namespace tlm::server {

struct DeviceCommand {
  int32_t locId = 0;  // of the discrete signal
  int state = 0;      // that it shall have: 0 or 1
};

enum class DeviceAnswer { kDone, kRefused };

class Device {
 public:
  using Answer = std::function<void(DeviceAnswer)>;

  virtual ~Device() = default;

  // Called once for each command, from any thread, with no lock held. The answer may be given at once or later, from
  // any thread, or never: then the command has timed out. A second answer, and a late one, count for nothing.
  virtual void execute(const DeviceCommand& command, Answer answer) = 0;
};

// How a simulated device takes commands. Those of signals that are not named are executed.
enum class DeviceHabit { kExecutes, kRefuses, kSilent };
using DeviceHabits = std::map<int32_t, DeviceHabit>;  // by number of the signal

}  // namespace tlm::server

#endif
