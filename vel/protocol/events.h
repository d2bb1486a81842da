// The events that the service sends, by code.
//
// An event has two or three arguments: number of a VM (int32; 0: no VM), code (int32), and, when
// there is one, a record (bytes).

#ifndef VEL_PROTOCOL_EVENTS_H
#define VEL_PROTOCOL_EVENTS_H

#include <cstdint>
#include <string_view>

#include "vel/protocol/records.h"

namespace velprotocol {

// The positions of the arguments.
enum EventArgument : int { kEventVm = 0, kEventCode = 1, kEventRecord = 2 };

enum class EventCode : std::int32_t {
  kPrinterChanged = 1,
  kNewDeviceAttached = 2,
  kNewDeviceIgnored = 3,
  kDevicePlugged = 4,
  kDeviceUnplugged = 5,
  kDeviceAttached = 6,
  kDeviceDetached = 7,
  kStorageCommand = 8,
  kDiagnosis = 9,
  kDeviceChanged = 10,
  kMounted = 64,
  kUnmounted = 65,
  kCommandAnswer = 66,
};

// How velsim sends it; the client library takes every event under either name.
enum class Sent { kToClients, kBroadcast };

struct Event {
  EventCode code;
  std::string_view name;
  const Layout* record;
  Sent sent;
  std::string_view meaning;
};

// The client library takes a code that is not listed for a NewDeviceResult.
inline constexpr Event kEvents[] = {
    {EventCode::kPrinterChanged, "printer changed", &printer::kLayout, Sent::kToClients,
     "A printer was added, removed, attached or detached."},
    {EventCode::kNewDeviceAttached, "result of attaching a new device", &new_device_result::kLayout,
     Sent::kToClients, "The result of configNewDeviceAsConnect."},
    {EventCode::kNewDeviceIgnored, "result of ignoring a new device", &new_device_result::kLayout,
     Sent::kToClients, "The result of configNewDeviceAsIgnore."},
    {EventCode::kDevicePlugged, "device plugged in", &device::kLayout, Sent::kToClients,
     "A device was plugged in, or added."},
    {EventCode::kDeviceUnplugged, "device unplugged", &device::kLayout, Sent::kToClients,
     "A device was unplugged, or removed."},
    {EventCode::kDeviceAttached, "device attached", &device::kLayout, Sent::kToClients,
     "A device was attached to the VM."},
    {EventCode::kDeviceDetached, "device detached", &device::kLayout, Sent::kToClients,
     "A device was detached from the VM."},
    {EventCode::kStorageCommand, "result of a storage command", &new_device_result::kLayout,
     Sent::kToClients, "The result of ConfigUdisks2Command."},
    {EventCode::kDiagnosis, "diagnosis", &diagnosis::kLayout, Sent::kToClients,
     "Progress of a diagnosis."},
    {EventCode::kDeviceChanged, "device changed", &device::kLayout, Sent::kToClients,
     "The name or policy of a device changed, or the user ignored it."},
    {EventCode::kMounted, "storage mounted", &device::kLayout, Sent::kBroadcast,
     "A storage device was mounted on this machine."},
    {EventCode::kUnmounted, "storage unmounted", &device::kLayout, Sent::kBroadcast,
     "A storage device was unmounted."},
    {EventCode::kCommandAnswer, "answer to a command", &command_answer::kLayout, Sent::kToClients,
     "The answer to dovelcmd. The record may be missing."},
};

// Null for a code that is not listed.
constexpr const Event* findEvent(EventCode code) {
  for (const Event& event : kEvents) {
    if (event.code == code) {
      return &event;
    }
  }
  return nullptr;
}

// Empty for a code that is not listed.
constexpr std::string_view nameOf(EventCode code) {
  const Event* const event = findEvent(code);
  return event ? event->name : std::string_view();
}

}  // namespace velprotocol

#endif  // VEL_PROTOCOL_EVENTS_H
