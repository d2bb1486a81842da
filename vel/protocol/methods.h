// The methods of the service "vel": what each takes and answers, and how long a client waits.
//
// The rows stand in the order of the operations of the client library. To add a method, add its row
// at the end; notation.h explains the notation.

#ifndef VEL_PROTOCOL_METHODS_H
#define VEL_PROTOCOL_METHODS_H

#include <cstddef>
#include <stdexcept>
#include <string_view>

#include "vel/protocol/notation.h"

namespace velprotocol {

// What a method is about.
enum class Subject {
  kService,
  kVms,
  kPrinters,
  kDevices,
  kPolicies,
  kNetworkDevices,
  kCommands,
  kQuality,
  kDiagnosis,
  kSharedPrinters,
  kPrintQueues,
  kNewDevices,
  kJoysticks,
};

// Time limits in milliseconds: how long the client library waits for the answer.
constexpr int kQuickMs = 500;
constexpr int kShortMs = 2000;
constexpr int kUsualMs = 3000;
constexpr int kSlowMs = 10000;
constexpr int kSearchMs = 30000;
// The client library does not wait. The service answers all the same.
constexpr int kAsynchronousMs = -1;

struct Method {
  std::string_view name;
  std::string_view arguments;
  std::string_view reply;
  int timeoutMs;
  Subject subject;
  std::string_view meaning;
};

// Arguments named vm hold the number of a VM: 0 stands for this machine, and for a VM that the
// service does not know. Arguments named unused are 0. A sourceId of ay8 is a uint64 in eight
// bytes.
inline constexpr Method kMethods[] = {
    {"resetService", "", "status:i", kUsualMs, Subject::kService,
     "Asks the service to reset. The client library ignores the status."},
    {"connectVm", "vm:i systemType:i shareMode:i connectParam:i", "status:i", kShortMs,
     Subject::kVms, "Attaches the service to a VM session."},
    {"disconnectVm", "vm:i", "status:i", kAsynchronousMs, Subject::kVms,
     "Detaches the service from a VM session."},
    {"createPipe", "vm:i count:i (pipe:Pipe)*", "status:i", kUsualMs, Subject::kVms,
     "Opens data pipes. Each pipe names a VM of its own."},
    {"destroyPipe", "vm:i count:i (pipe:Pipe)*", "status:i", kUsualMs, Subject::kVms,
     "Closes data pipes."},
    {"startManager", "vm:i", "status:i", kAsynchronousMs, Subject::kVms, "Starts a VM session."},
    {"setPortChannelStatus", "vm:i port:i status:i", "status:i", kUsualMs, Subject::kVms,
     "Reports the new state of a port channel."},
    {"getVmList", "unused:i", "count:i (vmId:s number:i)*", kUsualMs, Subject::kVms,
     "Lists the VMs and the number of each."},
    {"getPrinterList", "vm:i", "count:i (printer:Printer)*", kUsualMs, Subject::kPrinters,
     "Lists the printers of a VM."},
    {"getPrinterStatus", "printer:n", "count:i (printer:Printer)*", kUsualMs, Subject::kPrinters,
     "Returns one printer; none when its number is not known."},
    {"connectPrinter", "vm:i printer:n", "status:i", kUsualMs, Subject::kPrinters,
     "Redirects a printer into a VM."},
    {"disconnectPrinter", "vm:i printer:n", "status:i", kUsualMs, Subject::kPrinters,
     "Takes a printer back from a VM."},
    {"addNetworkPrinter", "address:s name:s extra:s", "status:i", kUsualMs, Subject::kPrinters,
     "Adds a network printer."},
    {"deleteNetworkPrinter", "name:s", "status:i", kUsualMs, Subject::kPrinters,
     "Removes a network printer."},
    {"renameNetworkPrinter", "oldName:ay newName:ay", "status:i", kUsualMs, Subject::kPrinters,
     "Renames a network printer. The names are texts without a NUL."},
    {"getNetworkPrinterList", "", "count:i (printer:Device)*", kUsualMs, Subject::kPrinters,
     "Lists the network printers."},
    {"getDeviceList", "vm:i", "count:i (device:Device)*", kUsualMs, Subject::kDevices,
     "Lists the devices of a VM; all devices for this machine."},
    {"getDeviceStatus", "device:n", "count:i (device:Device)*", kUsualMs, Subject::kDevices,
     "Returns one device; none when its number is not known."},
    {"connectDevice", "vm:i device:n", "status:i", kUsualMs, Subject::kDevices,
     "Attaches a device to a VM."},
    {"disconnectDevice", "vm:i device:n", "status:i", kUsualMs, Subject::kDevices,
     "Detaches a device from a VM."},
    {"onFocusChanged", "vm:i gainFocus:i windowId:t", "status:i", kQuickMs, Subject::kVms,
     "Reports that a session window gained the focus (gainFocus is not 0) or lost the focus."},
    {"updateDriveToken", "token:ay", "status:i", kUsualMs, Subject::kVms,
     "Hands over a new token for redirected drives."},
    {"setUsbredirStatus", "vm:i status:n identity:UsbIdentity", "status:i", kUsualMs,
     Subject::kNetworkDevices, "Reports the state of a USB device that the client redirects."},
    {"setLocalPolicy", "device:n policy:n name:ay policyText:ay", "status:i", kUsualMs,
     Subject::kPolicies, "Sets name and local policy of a device. Texts end at the first NUL."},
    {"getVmListSize", "vmId:s", "number:i", kUsualMs, Subject::kVms,
     "Returns the number of the VM with this name; 0: no such VM."},
    {"addNetworkDevice", "type:i device:ay", "status:i", kUsualMs, Subject::kNetworkDevices,
     "Adds a network device, described by a text."},
    {"deleteNetworkDevice", "device:ay detail:ay", "status:i", kUsualMs, Subject::kNetworkDevices,
     "Removes a network device."},
    {"redirectDevice", "vm:i device:n direction:n", "status:i", kUsualMs, Subject::kDevices,
     "Moves a device. Direction, of velsim: 0: back to this machine, 1: into the VM, from another "
     "VM as well."},
    {"setAutoConnect", "unused:i deviceType:n autoConnect:n", "status:i", kUsualMs,
     Subject::kPolicies, "Sets whether devices of a type attach by themselves."},
    {"getAutoConnect", "unused:i deviceType:n", "setting:i", kUsualMs, Subject::kPolicies,
     "Returns whether devices of a type attach by themselves."},
    {"connectDeviceBySrcId", "vm:i sourceId:t", "status:i", kUsualMs, Subject::kDevices,
     "Attaches the device with a source id to a VM."},
    {"disconnectDeviceBySrcId", "vm:i sourceId:t", "status:i", kUsualMs, Subject::kDevices,
     "Detaches the device with a source id from a VM."},
    {"doveltest", "unused:i test:n", "status:i", kUsualMs, Subject::kDiagnosis,
     "Runs a self-test."},
    {"dovelcmd", "vm:i command:s id:i", "status:i", kUsualMs, Subject::kCommands,
     "Gives the service a command. The answer is event 66."},
    {"getvelcmdhelp", "vm:i", "text:s", kUsualMs, Subject::kCommands,
     "Returns the help text on commands."},
    {"setBwInfo", "vm:i first:t second:t", "status:i", kAsynchronousMs, Subject::kQuality,
     "Reports two bandwidth figures."},
    {"setRtcQosInfo", "vm:i type:t [figure:t]", "status:i", kAsynchronousMs, Subject::kQuality,
     "Reports the quality of real-time communication. figure goes with type 1 only, and may be "
     "missing."},
    {"diagnose", "vm:i sourceId:ay8", "text:s", kSlowMs, Subject::kDiagnosis,
     "Diagnoses the redirection of a source. The text is JSON; progress follows as event 9."},
    {"diagnoseDevice", "vm:i device:i", "text:s", kSlowMs, Subject::kDiagnosis,
     "Diagnoses the redirection of a device, as diagnose does."},
    {"CheckCameraAuthStat", "", "status:i", kUsualMs, Subject::kDiagnosis,
     "Returns whether the service may use the camera; of velsim 0: allowed, 1: denied, 2: no "
     "camera."},
    {"setDevicePropertyWithVidPid", "unused:i vid:n pid:n deviceType:i value:i", "status:i",
     kUsualMs, Subject::kPolicies, "Sets the property of a USB vendor and product id."},
    {"getDevicePropertyWithVidPid", "unused:i vid:n pid:n pidAgain:i", "property:i", kUsualMs,
     Subject::kPolicies,
     "Returns the property of a USB vendor and product id. pidAgain is the product id once more."},
    {"getLocalDevicePropertyWithVidPid", "unused:i vid:n pid:n pidAgain:i", "property:i", kUsualMs,
     Subject::kPolicies, "As getDevicePropertyWithVidPid, for the property on this machine."},
    {"getPolicyListByVidPid", "unused:i", "count:i (policy:VidPidPolicy)*", kUsualMs,
     Subject::kPolicies, "Lists the policies by USB vendor and product id."},
    {"getTurboConfigWithVidPid", "unused:i vid:n pid:n", "text:s", kUsualMs, Subject::kPolicies,
     "Returns the turbo configuration of a USB vendor and product id."},
    {"setTurboConfigWithVidPid", "unused:i vid:n pid:n config:ay", "status:i", kUsualMs,
     Subject::kPolicies, "Sets the turbo configuration of a USB vendor and product id."},
    {"resetAllDeviceProperty", "unused:i", "status:i", kUsualMs, Subject::kPolicies,
     "Resets all properties."},
    {"searchSharePrinter", "address:s", "result:i [count:i (address:s name:s description:s)*]",
     kSlowMs, Subject::kSharedPrinters,
     "Searches for the printers that a machine shares. The list is there when result is 0."},
    {"stopSearchSharePrinter", "", "status:i", kUsualMs, Subject::kSharedPrinters,
     "Stops searching for shared printers."},
    {"addSharePrinter", "count:i (address:s name:s description:s)*", "status:i", kUsualMs,
     Subject::kSharedPrinters, "Adds shared printers."},
    {"deleteSharePrinter", "address:s name:s", "status:i", kUsualMs, Subject::kSharedPrinters,
     "Removes a shared printer."},
    {"searchAllPrinter", "", "text:s", kSearchMs, Subject::kPrintQueues,
     "Searches for all printers that the service can reach."},
    {"getPrinterDriverlList", "printer:s", "text:s", kSearchMs, Subject::kPrintQueues,
     "Returns the drivers for a printer."},
    {"addPrinter", "name:s uri:s driver:s", "status:i", kUsualMs, Subject::kPrintQueues,
     "Adds a print queue. The meaning of the texts is velsim's."},
    {"autoAddPrinter", "name:s uri:s model:s", "status:i", kSearchMs, Subject::kPrintQueues,
     "Adds a print queue automatically. The meaning of the texts is velsim's."},
    {"deletePrinter", "name:s", "status:i", kUsualMs, Subject::kPrintQueues,
     "Removes a print queue."},
    {"changePrinterDriver", "name:s driver:s", "status:i", kUsualMs, Subject::kPrintQueues,
     "Changes the driver of a print queue."},
    {"printTestPage", "name:s", "status:i", kSlowMs, Subject::kPrintQueues, "Prints a test page."},
    {"configNewDeviceAsConnect", "vm:i sourceId:ay8 type:i autoConnect:i popupCardConfig:i",
     "status:i", kSlowMs, Subject::kNewDevices,
     "Attaches a newly plugged-in device to a VM. velsim then sends event 2."},
    {"configNewDeviceAsIgnore", "sourceId:ay8 deviceType:i autoConnect:i popupCardConfig:i",
     "status:i", kShortMs, Subject::kNewDevices,
     "Ignores a newly plugged-in device. velsim then sends event 3."},
    {"ConfigUdisks2Command", "vm:i sourceId:ay8 command:i", "status:i", kSlowMs,
     Subject::kNewDevices,
     "Runs a command for a storage device; of velsim 1: mount, 2: unmount, 3: eject. velsim then "
     "sends event 8."},
    {"ConfigPrinterCommand", "vm:i sourceId:ay8 command:i", "status:i", kSlowMs, Subject::kPrinters,
     "Runs a command for a printer; of velsim 1: attach, 2: detach. The client library ignores the "
     "status."},
    {"getJoystickDevList", "", "count:i (joystick:Joystick)*", kUsualMs, Subject::kJoysticks,
     "Lists the joysticks."},
    {"getJoystickMappingList", "", "count:i (mapping:JoystickMapping)*", kUsualMs,
     Subject::kJoysticks, "Lists the mappings for joysticks."},
    {"setJoystickMapping", "joystick:n mapping:n", "status:i", kUsualMs, Subject::kJoysticks,
     "Chooses a mapping for a joystick. Both are positions in their lists."},
    {"calibrationJoystick", "joystick:n", "status:i", kUsualMs, Subject::kJoysticks,
     "Calibrates a joystick."},
    {"registerJoystickCallback", "subscriber:ay8", "status:i", kUsualMs, Subject::kJoysticks,
     "Subscribes to joystick results. The bytes identify the subscriber."},
    {"unregisterJoystickCallback", "subscriber:ay8", "status:i", kUsualMs, Subject::kJoysticks,
     "Ends a subscription to joystick results."},
};

constexpr std::size_t kMethodCount = sizeof kMethods / sizeof kMethods[0];

// Null when the service has no such method.
constexpr const Method* find(std::string_view name) {
  for (const Method& method : kMethods) {
    if (method.name == name) {
      return &method;
    }
  }
  return nullptr;
}

// For names that are known to be right: in a constant, the compiler refuses one that is not.
constexpr const Method& method(std::string_view name) {
  const Method* const found = find(name);
  if (!found) {
    throw std::out_of_range("the service has no such method");
  }
  return *found;
}

namespace checks {

constexpr bool namesAreUnique() {
  for (const Method& each : kMethods) {
    if (find(each.name) != &each) {
      return false;
    }
  }
  return true;
}
static_assert(namesAreUnique(), "two methods have the same name");

// A text that is not in the notation is an error of the compiler, which names the row.
constexpr bool isInNotation(const Method& each) {
  return ArgumentList(each.arguments).size() + ArgumentList(each.reply).size() > 0;
}
constexpr bool allAreInNotation() {
  for (const Method& each : kMethods) {
    if (!isInNotation(each)) {
      return false;
    }
  }
  return true;
}
static_assert(allAreInNotation(), "a method answers nothing");

}  // namespace checks

static_assert(kMethodCount >= 68, "clients call 68 methods: none may go");

}  // namespace velprotocol

#endif  // VEL_PROTOCOL_METHODS_H
