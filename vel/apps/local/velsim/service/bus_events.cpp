#include "vel/apps/local/velsim/service/bus_events.h"

#include "vel/apps/local/velsim/service/records.h"

namespace velsim {
namespace {

EventCode codeOf(DeviceChange change) {
  switch (change) {
    case DeviceChange::kPlugged:
      return EventCode::kDevicePlugged;
    case DeviceChange::kUnplugged:
      return EventCode::kDeviceUnplugged;
    case DeviceChange::kAttached:
      return EventCode::kDeviceAttached;
    case DeviceChange::kDetached:
      return EventCode::kDeviceDetached;
    case DeviceChange::kAltered:
      return EventCode::kDeviceChanged;
    case DeviceChange::kMounted:
      return EventCode::kMounted;
    case DeviceChange::kUnmounted:
      return EventCode::kUnmounted;
  }
  return {};
}

EventCode codeOf(NewDeviceRequest request) {
  switch (request) {
    case NewDeviceRequest::kAttach:
      return EventCode::kNewDeviceAttached;
    case NewDeviceRequest::kIgnore:
      return EventCode::kNewDeviceIgnored;
    case NewDeviceRequest::kStorageCommand:
      return EventCode::kStorageCommand;
  }
  return {};
}

// One event from each kind of content.
class Encoder {
 public:
  explicit Encoder(VmNumber vm) : vm_(vm) {}

  BusEvent operator()(const DeviceEvent& event) const {
    return {codeOf(event.change), vm_, recordOf(event.device)};
  }
  BusEvent operator()(const PrinterEvent& event) const {
    return {EventCode::kPrinterChanged, vm_, recordOf(event.printer)};
  }
  BusEvent operator()(const NewDeviceResult& result) const {
    return {codeOf(result.request), vm_, recordOf(result)};
  }
  BusEvent operator()(const DiagnosisStep& step) const {
    return {EventCode::kDiagnosis, vm_, recordOf(step, vm_)};
  }
  BusEvent operator()(const CommandAnswer& answer) const {
    return {EventCode::kCommandAnswer, vm_, recordOf(answer)};
  }

 private:
  VmNumber vm_;
};

}  // namespace

BusEvent busEventOf(const Event& event) {
  return std::visit(Encoder(event.vm), event.content);
}

bool isBroadcast(const BusEvent& event) {
  const velprotocol::Event* const row = velprotocol::findEvent(event.code);
  return row && row->sent == velprotocol::Sent::kBroadcast;
}

qxbus::Values argumentsOf(const BusEvent& event) {
  return {static_cast<std::int32_t>(event.vm), static_cast<std::int32_t>(event.code), event.record};
}

}  // namespace velsim
