// The arguments of operations as VelProxy takes them, made of the values of vel::Client.

#ifndef VEL_CLIENT_INTERNAL_ARGUMENTS_H
#define VEL_CLIENT_INTERNAL_ARGUMENTS_H

#include <algorithm>
#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <list>
#include <string>
#include <string_view>
#include <vector>

#include "base/utf8.h"
#include "vel/apps/local/velproxy/vel_proxy.h"
#include "vel/client/events.h"
#include "vel/client/records.h"
#include "vel/protocol/access.h"
#include "vel/protocol/methods.h"
#include "vel/protocol/records.h"

namespace vel {
inline namespace VEL_CLIENT_VARIANT {
namespace internal {

// SendPenData knows one type of event, and -1 for the event's own coordinate.
constexpr int kTabletEvent = 0;
constexpr int kOwnPosition = -1;
// PortData reads so much of every message.
constexpr std::size_t kShortestPortMessage = 8;
// With a NUL behind each.
constexpr std::size_t kLongestDeviceName = velprotocol::device::kName.size - 1;
constexpr std::size_t kLongestPolicyText = velprotocol::device::kPolicyText.size - 1;

// Why a text is refused.
constexpr char kTextDoesNotFit[] = "a text is too long, or contains a NUL";

constexpr std::chrono::milliseconds timeLimit(std::string_view method) {
  for (const velprotocol::Method& row : velprotocol::kMethods) {
    if (row.name == method) {
      return std::chrono::milliseconds(std::max(row.timeoutMs, 0));
    }
  }
  return std::chrono::milliseconds(0);
}

constexpr std::uint16_t flag(bool isSet) {
  return isSet ? 1 : 0;
}

// As callbacks receive the code of an event.
constexpr std::uint16_t narrowed(EventCode code) {
  return static_cast<std::uint16_t>(code);
}

inline VmInfo vmInfoOf(const VmSession& session) {
  VmInfo info;
  info.vmId = session.vm;
  info.systemType = session.systemType;
  info.shareMode = session.shareMode;
  info.connectParam = session.connectParam;
  info.sessionId = session.sessionId;
  info.kstMajorVer = session.kstMajorVersion;
  info.kstMinorVer = session.kstMinorVersion;
  info.kstStreamCollaborateType =
      session.isCollaborator ? VEL_KST_STREAM_COLLAB_TYPE_COLLABORATOR : 0;
  return info;
}

inline UDevInfo udevInfoOf(const UsbDevice& device) {
  UDevInfo info;
  std::copy(device.bytes.begin(), device.bytes.end(), info.bytes);
  return info;
}

inline _JoystickResult joystickResultOf(const JoystickResult& result) {
  _JoystickResult record;
  std::copy(result.bytes.begin(), result.bytes.end(), record.bytes);
  return record;
}

// Whether a field, where a NUL ends a text, holds the whole text.
inline bool fits(const std::string& text, std::size_t most) {
  return text.size() <= most && text.find('\0') == std::string::npos;
}

// Copies a text to a field of zeroes, which needs no NUL.
//
// returns    whether the field holds the text
template <std::size_t size>
bool copyText(const std::string& text, char (&field)[size], std::size_t most = size) {
  if (!fits(text, most)) {
    return false;
  }
  text.copy(field, text.size());
  return true;
}

// The last byte of each field stays NUL.
inline bool appendTo(std::list<_SharePrinterDevice>& records, const SharedPrinter& printer) {
  _SharePrinterDevice& record = records.emplace_back();
  return copyText(printer.address, record.addr, sizeof record.addr - 1) &&
         copyText(printer.name, record.name, sizeof record.name - 1) &&
         copyText(printer.description, record.desc, sizeof record.desc - 1);
}

inline bool appendTo(std::list<_CHANNEL_HANDLE>& handles, const Pipe& pipe) {
  _CHANNEL_HANDLE& handle = handles.emplace_back();
  handle.vmId = pipe.vm;
  handle.handle = pipe.handle;
  return copyText(pipe.name1, handle.name1) && copyText(pipe.name2, handle.name2);
}

inline std::vector<SharedPrinter> sharedPrintersOf(const std::list<_SharePrinterDevice>& records) {
  std::vector<SharedPrinter> printers;
  printers.reserve(records.size());
  for (const _SharePrinterDevice& record : records) {
    // The library ends each text with a NUL.
    printers.push_back({base::replacedUtf8(record.addr), base::replacedUtf8(record.name),
                        base::replacedUtf8(record.desc)});
  }
  return printers;
}

// A record with the size and the fields of a layout, zeroes at first.
template <typename Record>
class RecordOf {
 public:
  explicit RecordOf(const velprotocol::Layout& layout) : bytes_(layout.size()) {}

  Record* get() { return reinterpret_cast<Record*>(bytes_.data()); }

  template <typename Value>
  void set(const velprotocol::NumberField<Value>& field, Value value) {
    velprotocol::write(bytes_, field, value);
  }
  // Cut between characters, so that a NUL ends it.
  void set(const velprotocol::TextField& field, std::string_view text) {
    velprotocol::write(bytes_, field, base::cutBetweenCharacters(text, field.size - 1));
  }

 private:
  std::vector<unsigned char> bytes_;
};

class DeviceRecord : public RecordOf<CommonDevice> {
 public:
  explicit DeviceRecord(const Device& device) : RecordOf(velprotocol::device::kLayout) {
    namespace field = velprotocol::device;
    set(field::kNumber, device.number.value());
    set(field::kStatus, static_cast<std::uint16_t>(device.status));
    set(field::kPolicy, number(device.policy));
    set(field::kVm, device.vmNumber.value());
    set(field::kName, device.name);
    set(field::kPolicyText, device.policyText);
    set(field::kSourceId, device.source.value());
    set(field::kVid, device.usb.vendor);
    set(field::kPid, device.usb.product);
    set(field::kType, number(device.type));
    set(field::kIsMounted, flag(device.isMounted));
  }
};

inline bool fits(const Device& device) {
  return fits(device.name, kLongestDeviceName) && fits(device.policyText, kLongestPolicyText);
}

inline bool fits(const NewDeviceEvent& event) {
  namespace field = velprotocol::new_device_result;
  return fits(event.name, field::kName.size - 1) && fits(event.result, field::kCode.size - 1);
}

class NewDeviceRecord : public RecordOf<_ConfigNewDeviceResult> {
 public:
  explicit NewDeviceRecord(const NewDeviceEvent& event)
      : RecordOf(velprotocol::new_device_result::kLayout) {
    namespace field = velprotocol::new_device_result;
    set(field::kVid, event.usb.vendor);
    set(field::kPid, event.usb.product);
    set(field::kSourceId, event.source.value());
    set(field::kIsSuccess, flag(event.isSuccess));
    set(field::kName, event.name);
    set(field::kCode, event.result);
  }
};

}  // namespace internal
}  // namespace VEL_CLIENT_VARIANT
}  // namespace vel

#endif  // VEL_CLIENT_INTERNAL_ARGUMENTS_H
