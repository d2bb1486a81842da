#include "tests/client/values.h"

#include <iomanip>
#include <sstream>
#include <string_view>

// A value is taken apart into all its members: one that is added does not compile until it is
// shown.

namespace {

template <typename... Parts>
std::string joined(const Parts&... parts) {
  std::ostringstream out;
  const char* separator = "";
  ((out << separator << parts, separator = " "), ...);
  return out.str();
}

std::string quoted(const std::string& text) {
  return '"' + text + '"';
}

std::string yesNo(const char* what, bool isSo) {
  return (isSo ? "" : "not ") + std::string(what);
}

// The word, or the number where there is none.
template <typename Enumeration>
std::string wordOf(Enumeration value) {
  const std::string_view word = vel::name(value);
  return word.empty() ? std::to_string(vel::number(value)) : std::string(word);
}

std::string hex(unsigned int value, int digits) {
  std::ostringstream out;
  out << std::hex << std::setfill('0') << std::setw(digits) << value;
  return out.str();
}

std::string usbOf(vel::UsbId usb) {
  return hex(usb.vendor, 4) + ':' + hex(usb.product, 4);
}

// The first bytes, which no other member shows, and the number of all.
template <typename Bytes>
std::string firstBytesOf(const Bytes& bytes) {
  return hex(bytes[0], 2) + hex(bytes[1], 2) + ".. of " + std::to_string(bytes.size());
}

std::string shownBase(const vel::Event& event) {
  const auto& [code, number, name] = event;
  return joined(wordOf(code), "vm", number, quoted(name) + ':');
}

}  // namespace

std::string shown(vel::VmNumber number) {
  return std::to_string(number.value());
}

std::string shown(vel::CameraStatus status) {
  return wordOf(status);
}

std::string shown(const vel::Vm& vm) {
  const auto& [name, number] = vm;
  return joined(quoted(name), number);
}

std::string shown(const vel::Device& device) {
  const auto& [number, name, status, policy, policyText, vmNumber, vm, source, usb, type,
               isMounted] = device;
  return joined(number, quoted(name), wordOf(status), wordOf(policy), quoted(policyText), "vm",
                vmNumber, quoted(vm), "source", source, usbOf(usb), wordOf(type),
                yesNo("mounted", isMounted), yesNo("attached", device.isAttached()));
}

std::string shown(const vel::Printer& printer) {
  const auto& [number, name, status, vmNumber, vm] = printer;
  return joined(number, quoted(name), wordOf(status), "vm", vmNumber, quoted(vm),
                yesNo("attached", printer.isAttached()));
}

std::string shown(const vel::NetworkPrinter& printer) {
  const auto& [number, name, address, status, vmNumber, vm, policy] = printer;
  static_cast<void>(policy);
  return joined(number, quoted(name), "at", quoted(address), wordOf(status), "vm", vmNumber,
                quoted(vm));
}

std::string shown(const vel::SharedPrinter& printer) {
  const auto& [address, name, description] = printer;
  return joined(quoted(address), quoted(name), quoted(description));
}

std::string shown(const vel::UsbPolicy& policy) {
  const auto& [usb, type, property, turboConfig] = policy;
  return joined(usbOf(usb), wordOf(type), property ? std::to_string(*property) : "no property",
                turboConfig ? quoted(*turboConfig) : "no turbo");
}

std::string shown(const vel::Joystick& joystick) {
  const auto& [index, bytes, name, usb, mapping, isCalibrated] = joystick;
  return joined(index, firstBytesOf(bytes), quoted(name), usbOf(usb), "mapping", mapping,
                yesNo("calibrated", isCalibrated));
}

std::string shown(const vel::JoystickMapping& mapping) {
  const auto& [index, bytes, name] = mapping;
  return joined(index, firstBytesOf(bytes), quoted(name));
}

std::string shown(const vel::DeviceEvent& event) {
  return joined(shownBase(event), shown(event.device));
}

std::string shown(const vel::PrinterEvent& event) {
  return joined(shownBase(event), shown(event.printer));
}

std::string shown(const vel::NewDeviceEvent& event) {
  return joined(shownBase(event), usbOf(event.usb), yesNo("done", event.isSuccess),
                quoted(event.name), quoted(event.result), "source", event.source);
}

std::string shown(const vel::DiagnosisEvent& event) {
  return joined(shownBase(event), event.id, wordOf(event.status), quoted(event.text));
}

std::string shown(const vel::CommandEvent& event) {
  return joined(shownBase(event), event.answer ? quoted(*event.answer) : "nothing");
}
