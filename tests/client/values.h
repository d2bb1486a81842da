// The values of vel::Client as texts with every member, so that tests compare whole values.

#ifndef TESTS_CLIENT_VALUES_H
#define TESTS_CLIENT_VALUES_H

#include <string>
#include <vector>

#include "vel/client/client.h"

std::string shown(vel::VmNumber number);
std::string shown(vel::CameraStatus status);
std::string shown(const vel::Vm& vm);
std::string shown(const vel::Device& device);
std::string shown(const vel::Printer& printer);
std::string shown(const vel::NetworkPrinter& printer);
std::string shown(const vel::SharedPrinter& printer);
std::string shown(const vel::UsbPolicy& policy);
std::string shown(const vel::Joystick& joystick);
std::string shown(const vel::JoystickMapping& mapping);
std::string shown(const vel::DeviceEvent& event);
std::string shown(const vel::PrinterEvent& event);
std::string shown(const vel::NewDeviceEvent& event);
std::string shown(const vel::DiagnosisEvent& event);
std::string shown(const vel::CommandEvent& event);

// "one; two"
template <typename Value>
std::string shown(const std::vector<Value>& values) {
  std::string text;
  for (const Value& value : values) {
    text += (text.empty() ? "" : "; ") + shown(value);
  }
  return text;
}

#endif  // TESTS_CLIENT_VALUES_H
