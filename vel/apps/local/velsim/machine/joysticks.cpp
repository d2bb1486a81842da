#include "vel/apps/local/velsim/machine/joysticks.h"

namespace velsim {

const std::vector<std::string>& Joysticks::mappings() {
  static const std::vector<std::string> names = {"Standard", "Flight", "Racing"};
  return names;
}

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
  constexpr std::uint16_t kVendor = 0x7E57;
  joysticks_ = {{kVendor, 0x0201, "Flight stick"},
                {kVendor, 0x0202, "Game pad"},
                {kVendor, 0x0203, "Racing wheel"}};
  subscribers_.clear();
}

}  // namespace velsim
