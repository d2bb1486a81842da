// Devices, new devices, network devices, joysticks.

#include "tests/client/operations.h"

using scripted::Bytes;
using scripted::Reply;

namespace {

constexpr vel::SourceId kSource(0x0102030405060708);

Bytes attachedCamera() {
  namespace field = velprotocol::device;
  Bytes record = emptyRecord(field::kLayout);
  velprotocol::write(record, field::kNumber, 65061);
  velprotocol::write(record, field::kIsMounted, 0);
  velprotocol::write(record, field::kStatus, 2);
  velprotocol::write(record, field::kPolicy, -5);
  velprotocol::write(record, field::kSourceId, 0xF102030405060708);
  velprotocol::write(record, field::kVm, kVmNumber);
  velprotocol::write(record, field::kVid, 0xFEDC);
  velprotocol::write(record, field::kPid, 0x0012);
  velprotocol::write(record, field::kType, 2);
  velprotocol::write(record, field::kName, "Cam\xFF");
  velprotocol::write(record, field::kPolicyText, "ask");
  return record;
}

constexpr char kAttachedCamera[] =
    "65061 \"Cam\xEF\xBF\xBD\" attached -5 \"ask\" vm 7001 \"win11\" source 17366446428893087496 "
    "fedc:0012 camera not mounted attached";

Bytes mountedStick() {
  namespace field = velprotocol::device;
  Bytes record = emptyRecord(field::kLayout);
  velprotocol::write(record, field::kNumber, 62);
  velprotocol::write(record, field::kIsMounted, 1);
  velprotocol::write(record, field::kStatus, 77);
  velprotocol::write(record, field::kPolicy, 2);
  velprotocol::write(record, field::kVm, 9);
  velprotocol::write(record, field::kType, 99);
  // As long as they can be.
  velprotocol::write(record, field::kName, std::string(128, 'n'));
  velprotocol::write(record, field::kPolicyText, std::string(256, 't'));
  return record;
}

std::string shownStick() {
  return "62 \"" + std::string(128, 'n') + "\" 77 forbidden \"" + std::string(256, 't') +
         "\" vm 9 \"\" source 0 0000:0000 99 mounted not attached";
}

// What a service sends that knows less.
Bytes onlyANumber() {
  return {63, 0};
}

constexpr char kOnlyANumber[] =
    "63 \"\" gone none \"\" vm 0 \"\" source 0 0000:0000 0 not mounted not attached";

Bytes joystick() {
  namespace field = velprotocol::joystick;
  Bytes record = emptyRecord(field::kLayout);
  velprotocol::write(record, field::kPosition, 0xBBAA);
  velprotocol::write(record, field::kVid, 0x7E57);
  velprotocol::write(record, field::kPid, 0x0201);
  velprotocol::write(record, field::kMapping, 65535);
  velprotocol::write(record, field::kIsCalibrated, 1);
  velprotocol::write(record, field::kName, "Flight stick");
  return record;
}

Bytes joystickMapping() {
  namespace field = velprotocol::joystick_mapping;
  Bytes record = emptyRecord(field::kLayout);
  velprotocol::write(record, field::kPosition, 0xDDCC);
  velprotocol::write(record, field::kName, "Flight");
  return record;
}

vel::UsbDevice usbDevice() {
  return {{1, 2, 3, 4, 5, 6, 7, 0xF8}};
}

}  // namespace

std::vector<ClientOperation> deviceClientRows() {
  using vel::Client;
  return {
      ClientOperation("devices", "GetDeviceList",
                      [](const Client& client) { return client.devices(kVm); })
          .answered(Reply().int32(2).bytes(attachedCamera()).bytes(onlyANumber()),
                    std::string(kAttachedCamera) + "; " + kOnlyANumber),

      ClientOperation("localDevices", "GetDeviceList",
                      [](const Client& client) { return client.localDevices(); })
          .testedAs("GetLocalDeviceList")
          .sending("getDeviceList(int32 0)")
          .answered(Reply().int32(2).bytes(mountedStick()).bytes(attachedCamera()),
                    shownStick() + "; " + kAttachedCamera),

      ClientOperation("device", "GetDeviceStatus",
                      [](const Client& client) { return client.device(vel::DeviceNumber(61)); })
          .answered(Reply().int32(1).bytes(attachedCamera()), kAttachedCamera),

      ClientOperation(
          "attach", "ConnectDevice",
          [](const Client& client) { return client.attach(kVm, vel::DeviceNumber(61)); }),

      ClientOperation("attach", "ConnectDeviceBySrcId",
                      [](const Client& client) { return client.attach(kVm, kSource); }),

      ClientOperation(
          "detach", "DisconnectDevice",
          [](const Client& client) { return client.detach(kVm, vel::DeviceNumber(61)); }),

      ClientOperation("detach", "DisconnectDeviceBySrcId",
                      [](const Client& client) { return client.detach(kVm, kSource); }),

      ClientOperation(
          "redirect", "RedirectDevice",
          [](const Client& client) { return client.redirect(kVm, vel::DeviceNumber(61), 62); }),

      ClientOperation("attachNewDevice", "ConfigNewDeviceAsConnect",
                      [](const Client& client) {
                        return client.attachNewDevice(kVm, kSource, vel::DeviceType{71}, true, 73);
                      })
          .sending("configNewDeviceAsConnect(int32 7001, bytes[8] 0807060504030201, int32 71, "
                   "int32 1, int32 73)"),

      ClientOperation("ignoreNewDevice", "ConfigNewDeviceAsIgnore",
                      [](const Client& client) {
                        return client.ignoreNewDevice(kSource, vel::DeviceType{71}, false, 73);
                      })
          .sending("configNewDeviceAsIgnore(bytes[8] 0807060504030201, int32 71, int32 0, int32 "
                   "73)"),

      ClientOperation("commandStorage", "ConfigUdisks2Command",
                      [](const Client& client) { return client.commandStorage(kVm, kSource, 71); }),

      ClientOperation("addNetworkDevice", "AddNetworkDevice",
                      [](const Client& client) { return client.addNetworkDevice(-70002, "scan"); }),

      ClientOperation(
          "removeNetworkDevice", "DeleteNetworkDevice",
          [](const Client& client) { return client.removeNetworkDevice("scan", "now"); }),

      ClientOperation(
          "setUsbStatus", "SetUsbredirStatus",
          [](const Client& client) { return client.setUsbStatus(kVm, usbDevice(), 65506); }),

      ClientOperation("joysticks", "GetJoystickDevList",
                      [](const Client& client) { return client.joysticks(); })
          .answered(Reply().int32(2).bytes(joystick()).bytes({7}),
                    "0 aabb.. of 138 \"Flight stick\" 7e57:0201 mapping 65535 calibrated; "
                    "1 0700.. of 138 \"\" 0000:0000 mapping 0 not calibrated"),

      ClientOperation("joystickMappings", "GetJoystickMappingList",
                      [](const Client& client) { return client.joystickMappings(); })
          .answered(Reply().int32(2).bytes({7}).bytes(joystickMapping()),
                    "0 0700.. of 130 \"\"; 1 ccdd.. of 130 \"Flight\""),

      ClientOperation("setJoystickMapping", "SetJoystickMapping",
                      [](const Client& client) {
                        return client.setJoystickMapping(vel::JoystickIndex(65521),
                                                         vel::MappingIndex(65522));
                      }),

      ClientOperation(
          "calibrateJoystick", "CalibrationJoystick",
          [](const Client& client) { return client.calibrateJoystick(vel::JoystickIndex(65523)); }),

      ClientOperation(
          "onJoystick", "RegisterJoystickCallback",
          [](const Client& client) { return client.onJoystick([](const vel::JoystickEvent&) {}); }),
  };
}
