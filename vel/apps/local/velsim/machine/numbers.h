// The numbers that records and requests carry, and what the simulated service means by them.

#ifndef VEL_APPS_LOCAL_VELSIM_MACHINE_NUMBERS_H
#define VEL_APPS_LOCAL_VELSIM_MACHINE_NUMBERS_H

#include <cstdint>

namespace velsim {

// Of a device, and of a printer.
enum class DeviceStatus : std::uint16_t {
  kGone = 0,       // only in the event that tells so
  kAvailable = 1,  // at this machine
  kAttached = 2,   // to a VM
  kIgnored = 3,    // at this machine, and the user wants it left alone
};

enum class DeviceType : std::uint16_t {
  kStorage = 1,
  kCamera = 2,
  kTablet = 3,
  kPrinterClass = 4,
  kGeneric = 5,
  kNetwork = 6,         // added by a client
  kNetworkPrinter = 7,  // a network printer, where it is told of as a device
};

// A device's local policy; other values are kept and mean nothing.
enum class LocalPolicy : std::int16_t {
  kNone = 0,
  kAllowed = 1,
  kForbidden = 2,  // it cannot be attached
};

// How redirectDevice takes its second value.
enum class Redirection : std::uint16_t {
  kBack = 0,  // to this machine
  kInto = 1,  // the VM, also out of another one
};

enum class StorageCommand : std::uint32_t { kMount = 1, kUnmount = 2, kEject = 3 };

enum class PrinterCommand : std::uint32_t { kAttach = 1, kDetach = 2 };

// Whether the service may use the camera.
enum class CameraStatus : std::int32_t { kAllowed = 0, kDenied = 1, kNone = 2 };

enum class DiagnosisStatus : std::uint32_t { kFine = 0, kRunning = 1, kTrouble = 2 };

enum class SelfTest : std::uint16_t {
  kNothing = 0,
  kDevices = 1,   // tells of every device as changed
  kPrinters = 2,  // tells of every printer
};

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_MACHINE_NUMBERS_H
