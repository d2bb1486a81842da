// The joysticks of the simulated machine, and the subscribers to their results.
//
// Built in, by position:
//   0  Flight stick   7e57:0201      mapping 0  Standard
//   1  Game pad       7e57:0202      mapping 1  Flight
//   2  Racing wheel   7e57:0203      mapping 2  Racing
//
// THREADS   One thread at a time.

#ifndef VEL_APPS_LOCAL_VELSIM_MACHINE_JOYSTICKS_H
#define VEL_APPS_LOCAL_VELSIM_MACHINE_JOYSTICKS_H

#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "vel/apps/local/velsim/machine/status.h"

namespace velsim {

struct Joystick {
  std::uint16_t vid = 0;
  std::uint16_t pid = 0;
  std::string name;
  std::uint16_t mapping = 0;
  bool isCalibrated = false;
};

class Joysticks {
 public:
  Joysticks() { reset(); }

  const std::vector<Joystick>& all() const { return joysticks_; }
  static const std::vector<std::string>& mappings();

  Status setMapping(std::uint16_t joystick, std::uint16_t mapping);
  Status calibrate(std::uint16_t joystick);

  // Subscribers are identified by the eight bytes that they send. Subscribing again succeeds.
  const std::set<std::uint64_t>& subscribers() const { return subscribers_; }
  void subscribe(std::uint64_t subscriber) { subscribers_.insert(subscriber); }
  Status unsubscribe(std::uint64_t subscriber);

  void reset();

 private:
  std::vector<Joystick> joysticks_;
  std::set<std::uint64_t> subscribers_;
};

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_MACHINE_JOYSTICKS_H
