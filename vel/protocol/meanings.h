// What the numbers in records and replies mean: a word and an explanation for each.
//
// The interface itself defines one number, DeviceStatus::kAttached. The others are velsim's;
// another service may use others, so a number without a row is not a mistake.

#ifndef VEL_PROTOCOL_MEANINGS_H
#define VEL_PROTOCOL_MEANINGS_H

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace velprotocol {

struct Meaning {
  std::int64_t number;
  std::string_view word;
  std::string_view explanation;
};

// Of a device, and of a printer.
enum class DeviceStatus : std::int32_t {
  kGone = 0,
  kAvailable = 1,
  kAttached = 2,
  kIgnored = 3,
  kOutOfPaper = 4,
  kPaperJam = 5,
  kOutOfInk = 6,
  kOffline = 7,
};

inline constexpr Meaning kDeviceStatuses[] = {
    {0, "gone", "only in the event that reports the removal"},
    {1, "available", "at this machine"},
    {2, "attached", "to the VM in the record"},
    {3, "ignored", "at this machine, and the user wants it left alone"},
    {4, "out-of-paper", "a printer, as the next three"},
    {5, "paper-jam", ""},
    {6, "out-of-ink", ""},
    {7, "offline", ""},
};

enum class DeviceType : std::uint16_t {
  kStorage = 1,
  kCamera = 2,
  kTablet = 3,
  kPrinterClass = 4,
  kGeneric = 5,
  kNetwork = 6,
  kNetworkPrinter = 7,
};

inline constexpr Meaning kDeviceTypes[] = {
    {1, "storage", "can be mounted"},
    {2, "camera", "can be denied as a whole"},
    {3, "tablet", "sends pen input"},
    {4, "printer-class", "a printer as a USB device"},
    {5, "generic", "any other USB device"},
    {6, "network", "added by a client"},
    {7, "network-printer", "a network printer in a list of devices"},
};

// The local policy of a device.
enum class LocalPolicy : std::int16_t { kNone = 0, kAllowed = 1, kForbidden = 2 };

inline constexpr Meaning kLocalPolicies[] = {
    {0, "none", "no policy"},
    {1, "allowed", "the device may be attached"},
    {2, "forbidden", "attaching the device is refused"},
};

// Whether the service may use the camera.
enum class CameraStatus : std::int32_t { kAllowed = 0, kDenied = 1, kNone = 2 };

inline constexpr Meaning kCameraStatuses[] = {
    {0, "allowed", "the service may use the camera"},
    {1, "denied", "the user has denied the camera"},
    {2, "none", "the machine has no camera"},
};

enum class DiagnosisStatus : std::uint32_t { kFine = 0, kRunning = 1, kFault = 2 };

inline constexpr Meaning kDiagnosisStatuses[] = {
    {0, "fine", "no trouble found"},
    {1, "running", "the diagnosis goes on"},
    {2, "fault", "trouble found"},
};

// The answer to a request: 0 is success, everywhere.
enum class Status : std::int32_t {
  kOk = 0,
  kUnknownVm = 1,
  kNotConnected = 2,
  kUnknownPipe = 3,
  kPipeExists = 4,
  kEmptyToken = 5,
  kUnknownDevice = 6,
  kBusy = 7,
  kNotAttached = 8,
  kForbidden = 9,
  kUnknownCommand = 10,
  kNotStorage = 11,
  kUnknownPrinter = 12,
  kExists = 13,
  kEmptyText = 14,
  kBadAddress = 15,
  kSearchStopped = 16,
  kNotSearching = 17,
  kUnknownDriver = 18,
  kUnknownJoystick = 19,
  kUnknownMapping = 20,
  kNotRegistered = 21,
  kUnknownTest = 22,
  kUnknownFigure = 23,
  kFull = 24,
};

inline constexpr Meaning kStatuses[] = {
    {0, "ok", "done"},
    {1, "unknown-vm", "no VM has this number; 0 is never a VM"},
    {2, "not-connected", "the VM is not attached"},
    {3, "unknown-pipe", "no pipe of the VM has this handle"},
    {4, "pipe-exists", "the VM has a pipe with this handle"},
    {5, "empty-token", "a drive token has at least one byte"},
    {6, "unknown-device", "no device has this number, source id or text"},
    {7, "busy", "the device is attached, to another VM or at all"},
    {8, "not-attached", "the device is not attached to this VM"},
    {9, "forbidden", "by the policy of the device, or by the user"},
    {10, "unknown-command", "no command has this name or number"},
    {11, "not-storage", "the device has nothing to mount"},
    {12, "unknown-printer", "no printer has this number, source id, name or address"},
    {13, "exists", "the name is in use"},
    {14, "empty-text", "a name, an address or another text is empty"},
    {15, "bad-address", "not an IPv4 address"},
    {16, "search-stopped", "the search was stopped before its end"},
    {17, "not-searching", "no search is running"},
    {18, "unknown-driver", "no printer driver has this name, or none fits"},
    {19, "unknown-joystick", "no joystick is at this position"},
    {20, "unknown-mapping", "no mapping is at this position"},
    {21, "not-registered", "this subscriber is not registered"},
    {22, "unknown-test", "no self-test has this number"},
    {23, "unknown-figure", "only figures of type 1 have a value"},
    {24, "full", "all numbers are in use"},
};

// The word in a row of a table; empty for a number that has none.
template <typename Table, typename Enumeration>
constexpr std::string_view wordIn(const Table& table, Enumeration value) {
  for (const Meaning& meaning : table) {
    if (meaning.number == static_cast<std::int64_t>(value)) {
      return meaning.word;
    }
  }
  return {};
}

constexpr std::string_view nameOf(DeviceStatus status) {
  return wordIn(kDeviceStatuses, status);
}
constexpr std::string_view nameOf(DeviceType type) {
  return wordIn(kDeviceTypes, type);
}
constexpr std::string_view nameOf(LocalPolicy policy) {
  return wordIn(kLocalPolicies, policy);
}
constexpr std::string_view nameOf(CameraStatus status) {
  return wordIn(kCameraStatuses, status);
}
constexpr std::string_view nameOf(DiagnosisStatus status) {
  return wordIn(kDiagnosisStatuses, status);
}

constexpr std::string_view nameOf(Status status) {
  return wordIn(kStatuses, status);
}

// All tables, with what their numbers stand for.
struct Legend {
  template <std::size_t count>
  constexpr Legend(std::string_view itsSubject, const Meaning (&rows)[count])
      : subject(itsSubject), first(rows), last(rows + count) {}

  constexpr const Meaning* begin() const { return first; }
  constexpr const Meaning* end() const { return last; }

  std::string_view subject;
  const Meaning* first;
  const Meaning* last;
};

inline constexpr Legend kLegends[] = {
    {"Status of a device or printer", kDeviceStatuses}, {"Type of a device", kDeviceTypes},
    {"Local policy of a device", kLocalPolicies},       {"Camera", kCameraStatuses},
    {"Status of a diagnosis", kDiagnosisStatuses},      {"Status of a request", kStatuses},
};

}  // namespace velprotocol

#endif  // VEL_PROTOCOL_MEANINGS_H
