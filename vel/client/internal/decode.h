// Blocks of bytes from the service, as values.

#ifndef VEL_CLIENT_INTERNAL_DECODE_H
#define VEL_CLIENT_INTERNAL_DECODE_H

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <utility>

#include "base/utf8.h"
#include "vel/apps/local/velproxy/vel_proxy.h"
#include "vel/client/records.h"
#include "vel/protocol/access.h"
#include "vel/protocol/records.h"

namespace vel {
inline namespace VEL_CLIENT_VARIANT {
namespace internal {

// Bytes that belong to somebody else.
class Block {
 public:
  Block(const void* data, std::size_t size)
      : data_(static_cast<const unsigned char*>(data)), size_(size) {}

  const unsigned char* data() const { return data_; }
  std::size_t size() const { return size_; }

 private:
  const unsigned char* data_;
  std::size_t size_;
};

// A number that the block cuts is read as if zeroes followed, as in the callbacks of the library.
template <typename Number>
Number numberIn(const Block& block, const velprotocol::NumberField<Number>& field) {
  std::array<unsigned char, sizeof(Number)> bytes = {};
  if (field.offset < block.size()) {
    std::memcpy(bytes.data(), block.data() + field.offset,
                std::min(bytes.size(), block.size() - field.offset));
  }
  return velprotocol::read(
      bytes, velprotocol::NumberField<Number>(field.name, 0, field.fixedBy, field.meaning));
}

inline std::string textIn(const Block& block, const velprotocol::TextField& field) {
  return base::replacedUtf8(velprotocol::read(block, field));
}

// The same for the last text of a record, which the library lets run to the end of the block.
inline std::string lastTextIn(const Block& block, const velprotocol::TextField& field) {
  return textIn(block, velprotocol::TextField(field.name, field.offset, velprotocol::kToTheEnd,
                                              field.fixedBy, field.meaning));
}

// The name of a VM whose number the library has learned.
inline std::string nameOf(qx::VelProxy& proxy, VmNumber vm) {
  return vm.value() == 0 ? std::string() : base::replacedUtf8(proxy.GetVmIdString(vm.value()));
}

// The same for the records of a list, most of which name the same VM.
class VmNames {
 public:
  explicit VmNames(qx::VelProxy& proxy) : proxy_(proxy) {}

  const std::string& of(VmNumber vm) {
    if (vm != last_) {
      last_ = vm;
      name_ = nameOf(proxy_, vm);
    }
    return name_;
  }

 private:
  qx::VelProxy& proxy_;
  VmNumber last_;
  std::string name_;
};

// Each decode() is found by the type of its result.
inline void decode(VmNames& vms, const Block& block, Device& device) {
  namespace field = velprotocol::device;
  device.number = DeviceNumber(numberIn(block, field::kNumber));
  device.name = textIn(block, field::kName);
  device.status = static_cast<DeviceStatus>(numberIn(block, field::kStatus));
  device.policy = static_cast<LocalPolicy>(numberIn(block, field::kPolicy));
  device.policyText = textIn(block, field::kPolicyText);
  device.vmNumber = VmNumber(numberIn(block, field::kVm));
  device.vm = vms.of(device.vmNumber);
  device.source = SourceId(numberIn(block, field::kSourceId));
  device.usb = {numberIn(block, field::kVid), numberIn(block, field::kPid)};
  device.type = static_cast<DeviceType>(numberIn(block, field::kType));
  device.isMounted = numberIn(block, field::kIsMounted) != 0;
}

inline void decode(VmNames& vms, const Block& block, NetworkPrinter& printer) {
  Device device;
  decode(vms, block, device);
  printer.number = device.number;
  printer.name = std::move(device.name);
  printer.address = std::move(device.policyText);
  printer.status = device.status;
  printer.vmNumber = device.vmNumber;
  printer.vm = std::move(device.vm);
  printer.policy = device.policy;
}

inline void decode(VmNames& vms, const Block& block, Printer& printer) {
  namespace field = velprotocol::printer;
  printer.number = PrinterNumber(numberIn(block, field::kNumber));
  printer.name = lastTextIn(block, field::kName);
  printer.status = static_cast<DeviceStatus>(numberIn(block, field::kStatus));
  printer.vmNumber = VmNumber(static_cast<std::uint32_t>(numberIn(block, field::kVm)));
  printer.vm = vms.of(printer.vmNumber);
}

inline void decode(VmNames& /*vms*/, const Block& block, UsbPolicy& policy) {
  namespace field = velprotocol::vid_pid_policy;
  constexpr unsigned int kPropertyIsSet = 1;
  constexpr unsigned int kTurboIsSet = 2;
  policy.usb = {numberIn(block, field::kVid), numberIn(block, field::kPid)};
  policy.type = static_cast<DeviceType>(numberIn(block, field::kType));
  const unsigned int isSet = numberIn(block, field::kIsSet);
  if ((isSet & kPropertyIsSet) != 0) {
    policy.property = numberIn(block, field::kProperty);
  }
  if ((isSet & kTurboIsSet) != 0) {
    policy.turboConfig = textIn(block, field::kTurboText);
  }
}

// Copies up to the end of the shorter of both.
template <std::size_t size>
void copyBytes(const Block& block, std::array<unsigned char, size>& bytes) {
  std::copy(block.data(), block.data() + std::min(block.size(), size), bytes.begin());
}

inline void decode(VmNames& /*vms*/, const Block& block, Joystick& joystick) {
  namespace field = velprotocol::joystick;
  copyBytes(block, joystick.bytes);
  joystick.name = textIn(block, field::kName);
  joystick.usb = {numberIn(block, field::kVid), numberIn(block, field::kPid)};
  joystick.mapping = MappingIndex(numberIn(block, field::kMapping));
  joystick.isCalibrated = numberIn(block, field::kIsCalibrated) != 0;
}

inline void decode(VmNames& /*vms*/, const Block& block, JoystickMapping& mapping) {
  copyBytes(block, mapping.bytes);
  mapping.name = textIn(block, velprotocol::joystick_mapping::kName);
}

}  // namespace internal
}  // namespace VEL_CLIENT_VARIANT
}  // namespace vel

#endif  // VEL_CLIENT_INTERNAL_DECODE_H
