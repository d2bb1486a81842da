#include "vel/apps/local/velsim/machine/joysticks.h"

namespace velsim {

Status Joysticks::setMapping(std::uint16_t joystick, std::uint16_t mapping) {
  if (joystick >= joysticks_.size()) {
    return Status::kUnknownJoystick;
  }
  if (mapping >= mappings().size()) {
    return Status::kUnknownMapping;
  }
  joysticks_[joystick].mapping = mapping;
  return Status::kOk;
}

Status Joysticks::calibrate(std::uint16_t joystick) {
  if (joystick >= joysticks_.size()) {
    return Status::kUnknownJoystick;
  }
  joysticks_[joystick].isCalibrated = true;
  return Status::kOk;
}

Status Joysticks::unsubscribe(std::uint64_t subscriber) {
  return subscribers_.erase(subscriber) != 0 ? Status::kOk : Status::kNotRegistered;
}

void Joysticks::reset() {
  joysticks_ = setup_.joysticks;
  subscribers_.clear();
}

}  // namespace velsim
