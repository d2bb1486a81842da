// What the numbers in records and replies mean: a word and an explanation for each.
//
// The interface itself defines one number, DeviceStatus::kAttached. The others are velsim's;
// another service may use others, so a number without a row is not a mistake.

#ifndef VEL_PROTOCOL_MEANINGS_H
#define VEL_PROTOCOL_MEANINGS_H

#include <cstdint>
#include <string_view>

namespace velprotocol {

struct Meaning {
  std::int64_t number;
  std::string_view word;
  std::string_view explanation;
};

// Of a device, and of a printer.
enum class DeviceStatus : std::int32_t { kGone = 0, kAvailable = 1, kAttached = 2, kIgnored = 3 };

inline constexpr Meaning kDeviceStatuses[] = {
    {0, "gone", "only in the event that reports the removal"},
    {1, "available", "at this machine"},
    {2, "attached", "to the VM in the record"},
    {3, "ignored", "at this machine, and the user wants it left alone"},
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

}  // namespace velprotocol

#endif  // VEL_PROTOCOL_MEANINGS_H
