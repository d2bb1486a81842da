// The service itself: resets, diagnoses, self-tests, commands.

#include "tests/client/operations.h"

using scripted::Reply;

std::vector<ClientOperation> serviceClientRows() {
  using vel::Client;
  return {
      ClientOperation("reset", "ResetService", [](const Client& client) { return client.reset(); }),

      ClientOperation("diagnose", "Diagnose",
                      [](const Client& client) {
                        return client.diagnose(kVm, vel::SourceId(0x8102030405060708));
                      })
          .answered(Reply().string("{\"usb\":0}\xFF"), "{\"usb\":0}\xEF\xBF\xBD")
          .refusing("NoVm",
                    [](const Client& client) { return client.diagnose("", vel::SourceId(1)); }),

      ClientOperation(
          "diagnose", "DiagnoseDevice",
          [](const Client& client) { return client.diagnose(kVm, vel::DeviceNumber(65501)); })
          .answered(Reply().string("{\"usb\":1}"), "{\"usb\":1}")
          .refusing("NoVm",
                    [](const Client& client) { return client.diagnose("", vel::DeviceNumber(1)); }),

      ClientOperation("cameraStatus", "CheckCameraAuthStat",
                      [](const Client& client) { return client.cameraStatus(); })
          .answered(Reply().int32(1), "denied"),

      ClientOperation("selfTest", "DoVelTest",
                      [](const Client& client) { return client.selfTest(0x2345); }),

      ClientOperation("command", "DoVelCmd",
                      [](const Client& client) { return client.command(kVm, "list usb", -70001); }),

      ClientOperation("commandHelp", "GetVelCmdHelp",
                      [](const Client& client) { return client.commandHelp(kVm); })
          .answered(Reply().string("list: lists\n"), "vm id [\nlist: lists\n]\n"),
  };
}
