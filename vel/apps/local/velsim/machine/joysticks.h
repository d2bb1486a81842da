// The joysticks of the simulated machine, and the subscribers to their results.
//
// THREADS   One thread at a time.

#ifndef VEL_APPS_LOCAL_VELSIM_MACHINE_JOYSTICKS_H
#define VEL_APPS_LOCAL_VELSIM_MACHINE_JOYSTICKS_H

#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "vel/apps/local/velsim/machine/setup.h"
#include "vel/apps/local/velsim/machine/status.h"

namespace velsim {

class Joysticks {
 public:
  // The setup outlives the object.
  explicit Joysticks(const JoystickSetup& setup) : setup_(setup) { reset(); }

  const std::vector<Joystick>& all() const { return joysticks_; }
  const std::vector<std::string>& mappings() const { return setup_.mappings; }

  Status setMapping(std::uint16_t joystick, std::uint16_t mapping);
  Status calibrate(std::uint16_t joystick);

  // Subscribers are identified by the eight bytes that they send. Subscribing again succeeds.
  const std::set<std::uint64_t>& subscribers() const { return subscribers_; }
  void subscribe(std::uint64_t subscriber) { subscribers_.insert(subscriber); }
  Status unsubscribe(std::uint64_t subscriber);

  void reset();

 private:
  const JoystickSetup& setup_;
  std::vector<Joystick> joysticks_;
  std::set<std::uint64_t> subscribers_;
};

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_MACHINE_JOYSTICKS_H
