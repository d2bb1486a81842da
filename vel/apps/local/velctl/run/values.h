// The parameters of a command as values, with names of things replaced by their numbers.

#ifndef VEL_APPS_LOCAL_VELCTL_RUN_VALUES_H
#define VEL_APPS_LOCAL_VELCTL_RUN_VALUES_H

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "vel/client/client.h"

namespace velctl {

struct Value {
  // As given; of a VM its name.
  std::vector<std::string> texts;
  // Of numbers, and of things of the service.
  std::uint64_t number = 0;
};

// Accessors take the name of a parameter that the command has. Those with a default are for
// commands with one such parameter.
//
// THREADS   Any: a Values does not change.
class Values {
 public:
  Values() = default;
  explicit Values(std::map<std::string, Value> values) : values_(std::move(values)) {}

  bool has(const std::string& name) const { return values_.count(name) != 0; }

  // Empty when none was given.
  std::string text(const std::string& name) const;
  std::vector<std::string> texts(const std::string& name) const;
  std::optional<std::string> optionalText(const std::string& name) const;
  // 0 when none was given.
  template <typename Number>
  Number number(const std::string& name) const {
    const Value* const value = find(name);
    return value ? static_cast<Number>(value->number) : Number();
  }
  template <typename Number>
  std::optional<Number> optionalNumber(const std::string& name) const {
    return has(name) ? std::optional(number<Number>(name)) : std::nullopt;
  }
  std::chrono::milliseconds duration(const std::string& name) const;
  vel::UsbId usbId(const std::string& name = "USB-ID") const;

  // The name of the VM in --vm or VM; empty for this machine, and when none was given.
  std::string vm() const { return has("VM") ? text("VM") : text("--vm"); }
  bool hasVm() const { return has("VM") || has("--vm"); }
  // The service's number of the VM in --vm.
  vel::VmNumber vmNumber() const { return vel::VmNumber(number<std::uint32_t>("--vm")); }

  vel::DeviceNumber device(const std::string& name = "DEVICE") const {
    return vel::DeviceNumber(number<std::uint16_t>(name));
  }
  vel::PrinterNumber printer(const std::string& name = "PRINTER") const {
    return vel::PrinterNumber(number<std::uint16_t>(name));
  }
  vel::SourceId source(const std::string& name = "SOURCE") const {
    return vel::SourceId(number<std::uint64_t>(name));
  }
  vel::JoystickIndex joystick(const std::string& name = "JOYSTICK") const {
    return vel::JoystickIndex(number<std::uint16_t>(name));
  }
  vel::MappingIndex mapping(const std::string& name = "MAPPING") const {
    return vel::MappingIndex(number<std::uint16_t>(name));
  }

 private:
  const Value* find(const std::string& name) const;

  std::map<std::string, Value> values_;
};

}  // namespace velctl

#endif  // VEL_APPS_LOCAL_VELCTL_RUN_VALUES_H
