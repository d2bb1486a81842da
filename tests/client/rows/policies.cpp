// Policies and properties.

#include "tests/client/operations.h"

using scripted::Bytes;
using scripted::Reply;

namespace {

constexpr vel::UsbId kUsb{0xFEDC, 0xBA98};
constexpr vel::UsbId kTurboUsb{0xFEDC, 0x1234};

Bytes policy(std::uint16_t isSet) {
  namespace field = velprotocol::vid_pid_policy;
  Bytes record = emptyRecord(field::kLayout);
  velprotocol::write(record, field::kVid, 0xFEDC);
  velprotocol::write(record, field::kPid, 0x0012);
  velprotocol::write(record, field::kType, 2);
  velprotocol::write(record, field::kIsSet, isSet);
  velprotocol::write(record, field::kProperty, -40001);
  velprotocol::write(record, field::kTurboText, "fast");
  return record;
}

vel::Result<void> setLocalPolicy(const vel::Client& client, const std::string& name,
                                 const std::string& text) {
  return client.setLocalPolicy(vel::DeviceNumber(65401), vel::LocalPolicy{-402}, name, text);
}

}  // namespace

std::vector<ClientOperation> policyClientRows() {
  using vel::Client;
  return {
      ClientOperation("setLocalPolicy", "SetDeviceLocalPolicy",
                      [](const Client& client) { return setLocalPolicy(client, "cam", "ask"); })
          .refusing("ALongName",
                    [](const Client& client) {
                      return setLocalPolicy(client, std::string(128, 'n'), "");
                    })
          .refusing("ALongText",
                    [](const Client& client) {
                      return setLocalPolicy(client, "", std::string(256, 't'));
                    }),

      ClientOperation("setAutoConnect", "SetAutoConnect",
                      [](const Client& client) {
                        return client.setAutoConnect(vel::DeviceType{65531}, 0x8001);
                      }),

      ClientOperation(
          "autoConnect", "GetAutoConnect",
          [](const Client& client) { return client.autoConnect(vel::DeviceType{65532}); })
          .answered(Reply().int32(-3), "-3"),

      ClientOperation("setProperty", "SetDevicePropertyWithVidPid",
                      [](const Client& client) {
                        return client.setProperty(kUsb, vel::DeviceType{65511}, -40001);
                      }),

      ClientOperation("property", "GetDevicePropertyWithVidPid",
                      [](const Client& client) { return client.property(kUsb); })
          .answered(Reply().int32(-40002), "-40002"),

      ClientOperation("localProperty", "GetLocalDevicePropertyWithVidPid",
                      [](const Client& client) { return client.localProperty(kUsb); })
          .answered(Reply().int32(-1), "-1"),

      ClientOperation("resetProperties", "ResetAllDeviceProperty",
                      [](const Client& client) { return client.resetProperties(); }),

      ClientOperation("policies", "GetPolicyListByVidPid",
                      [](const Client& client) { return client.policies(); })
          .answered(
              Reply().int32(4).bytes(policy(0)).bytes(policy(1)).bytes(policy(2)).bytes(policy(3)),
              "fedc:0012 camera no property no turbo; fedc:0012 camera -40001 no turbo; "
              "fedc:0012 camera no property \"fast\"; fedc:0012 camera -40001 \"fast\""),

      ClientOperation(
          "setTurboConfig", "SetTurboConfigWithVidPid",
          [](const Client& client) { return client.setTurboConfig(kTurboUsb, "fast"); }),

      ClientOperation("turboConfig", "GetTurboConfigWithVidPid",
                      [](const Client& client) { return client.turboConfig(kTurboUsb); })
          .answered(Reply().string("fast=1\xFF").string("more"), "fast=1\xEF\xBF\xBD"),
  };
}
