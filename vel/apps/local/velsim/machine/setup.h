// The initial state of a simulated machine, which a reset restores, and the texts that it answers
// with.

#ifndef VEL_APPS_LOCAL_VELSIM_MACHINE_SETUP_H
#define VEL_APPS_LOCAL_VELSIM_MACHINE_SETUP_H

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include "vel/apps/local/velsim/machine/device.h"
#include "vel/apps/local/velsim/machine/number_pool.h"
#include "vel/apps/local/velsim/machine/printer.h"
#include "vel/apps/local/velsim/machine/vm_sessions.h"

namespace velsim {

struct SharedPrinter {
  std::string address;
  std::string name;
  std::string description;
};

struct SharedPrinterSetup {
  std::chrono::milliseconds searchTime{1000};
  std::vector<SharedPrinter> found;  // by searches, each at its address
  std::vector<SharedPrinter> added;
};

// Fits a printer whose name or model holds one of the words, in any case; an empty word fits every
// printer.
struct PrinterDriver {
  std::string name;
  std::vector<std::string> words;
};

struct PrintQueue {
  std::string uri;
  std::string driver;
  unsigned testPages = 0;
};

struct Joystick {
  std::uint16_t vid = 0;
  std::uint16_t pid = 0;
  std::string name;
  std::uint16_t mapping = 0;
  bool isCalibrated = false;
};

struct JoystickSetup {
  std::vector<Joystick> joysticks;
  std::vector<std::string> mappings;
};

struct VidPid {
  std::uint16_t vid = 0;
  std::uint16_t pid = 0;

  bool operator<(const VidPid& other) const {
    return std::tie(vid, pid) < std::tie(other.vid, other.pid);
  }
};

struct VidPidPolicy {
  VidPid id;
  std::uint16_t deviceType = 0;
  std::int32_t builtInProperty = 0;
  // Set by clients.
  std::optional<std::int32_t> property;
  std::optional<std::string> turboText;
};

struct PolicySetup {
  std::map<std::uint16_t, std::int16_t> autoConnects;  // by device type
  std::map<std::uint16_t, std::uint16_t> popupCards;   // by device type
  std::map<VidPid, VidPidPolicy> byVidPid;
};

// A service command besides those that show the state.
struct CommandSetup {
  std::string word;
  std::string help;
  std::string answer;  // a JSON text
};

using velprotocol::DiagnosisStatus;

struct DiagnosisFinding {
  DiagnosisStatus status = DiagnosisStatus::kFine;
  std::string text;
};

struct DiagnosisSetup {
  // Each is reported, one step time apart; then the finding.
  std::vector<std::string> steps = {"checking the device", "checking the session"};
  std::chrono::milliseconds stepTime{100};
  // By number of the device or printer. For others the state of the machine decides.
  std::map<std::uint16_t, DiagnosisFinding> findings;
};

struct Setup {
  std::vector<VmSetup> vms;
  std::uint16_t firstPluggedNumber = NumberPool::kFirst;
  std::vector<Device> devices;
  bool isCameraAllowed = true;
  std::vector<Printer> printers;
  SharedPrinterSetup sharedPrinters;
  std::vector<PrinterDriver> drivers;
  std::map<std::string, PrintQueue> printQueues;  // by name
  JoystickSetup joysticks;
  PolicySetup policies;
  std::vector<CommandSetup> commands;
  DiagnosisSetup diagnosis;
};

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_MACHINE_SETUP_H
