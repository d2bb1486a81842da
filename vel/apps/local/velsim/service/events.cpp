#include "vel/apps/local/velsim/machine/events.h"

namespace velsim {
namespace {

const char* nameOf(EventCode code) {
  switch (code) {
    case EventCode::kPrinterChanged:
      return "printer changed";
    case EventCode::kNewDeviceAttached:
      return "result of attaching a new device";
    case EventCode::kNewDeviceIgnored:
      return "result of ignoring a new device";
    case EventCode::kDevicePlugged:
      return "device plugged in";
    case EventCode::kDeviceUnplugged:
      return "device unplugged";
    case EventCode::kDeviceAttached:
      return "device attached";
    case EventCode::kDeviceDetached:
      return "device detached";
    case EventCode::kStorageCommand:
      return "result of a storage command";
    case EventCode::kDiagnosis:
      return "diagnosis";
    case EventCode::kDeviceChanged:
      return "device changed";
    case EventCode::kMounted:
      return "storage mounted";
    case EventCode::kUnmounted:
      return "storage unmounted";
    case EventCode::kCommandAnswer:
      return "answer to a command";
  }
  return "";
}

}  // namespace

bool isBroadcast(const Event& event) {
  return event.code == EventCode::kMounted || event.code == EventCode::kUnmounted;
}

qxbus::Values argumentsOf(const Event& event) {
  return {static_cast<std::int32_t>(event.vm), static_cast<std::int32_t>(event.code), event.record};
}

std::string describe(const Event& event) {
  return "event " + std::to_string(static_cast<std::int32_t>(event.code)) + " (" +
         nameOf(event.code) + "), vm " + std::to_string(event.vm) + ", " +
         std::to_string(event.record.size()) + " bytes";
}

}  // namespace velsim
