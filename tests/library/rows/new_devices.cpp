// Configuration of new devices.

#include "tests/library/rows/rows.h"

#include <string>

using scripted::debugLine;
using scripted::errorLine;
using scripted::Reply;
using Lines = RemoteOperation::Lines;

std::vector<RemoteOperation> newDeviceRows() {
  return {
      RemoteOperation(
          SLOT(88, int, ConfigNewDeviceAsConnect,
               (const std::string&, unsigned long long, unsigned short, unsigned short,
                unsigned short)),
          [](qx::VelProxy& proxy) {
            return shown(proxy.ConfigNewDeviceAsConnect(kVm, kSourceId, 71, 72, 73));
          },
          "configNewDeviceAsConnect(int32 7001, bytes[8] 0807060504030201, int32 71, int32 72, "
          "int32 73)")
          .within(10000)
          .logsFirst({debugLine(
              "ConfigNewDeviceAsConnect",
              "ConfigNewDeviceAsConnect: vmId=%s, sourceId=%ld, type=%d, autoConnect=%d, "
              "popupCardConfig=%d",
              "ConfigNewDeviceAsConnect: vmId=win11, sourceId=72623859790382856, type=71, "
              "autoConnect=72, popupCardConfig=73")})
          .logsAfterReply(
              {debugLine("ConfigNewDeviceAsConnect", "Response: %s", "Response: type 2 (int32 5)")})
          .logsWithoutService(
              {errorLine("ConfigNewDeviceAsConnect", "VelService is not available")})
          .logsError([](int type, const std::string& text) {
            return Lines{
                debugLine("ConfigNewDeviceAsConnect", "Response: %s",
                          "Response: " + Reply::error(text, type).debugString()),
                errorLine("ConfigNewDeviceAsConnect", "Failed to config new device as connect: %s",
                          "Failed to config new device as connect: " + text)};
          }),

      RemoteOperation(
          SLOT(89, int, ConfigNewDeviceAsIgnore,
               (unsigned long long, unsigned short, unsigned short, unsigned short)),
          [](qx::VelProxy& proxy) {
            return shown(proxy.ConfigNewDeviceAsIgnore(kSourceId, 71, 72, 73));
          },
          "configNewDeviceAsIgnore(bytes[8] 0807060504030201, int32 71, int32 72, int32 73)")
          .within(2000)
          .logsFirst(
              {debugLine("ConfigNewDeviceAsIgnore",
                         "ConfigNewDeviceAsIgnore: sourceId=%ld, deviceType=%d, autoConnect=%d, "
                         "popupCardConfig=%d",
                         "ConfigNewDeviceAsIgnore: sourceId=72623859790382856, deviceType=71, "
                         "autoConnect=72, popupCardConfig=73")})
          .logsWithoutService({errorLine("ConfigNewDeviceAsIgnore", "VelService is not available")})
          .logsError([](int, const std::string& text) {
            return Lines{errorLine("ConfigNewDeviceAsIgnore",
                                   "Failed to config new device as ignore: %s",
                                   "Failed to config new device as ignore: " + text)};
          }),

      RemoteOperation(
          SLOT(90, int, ConfigUdisks2Command,
               (const std::string&, unsigned long long, unsigned short)),
          [](qx::VelProxy& proxy) { return shown(proxy.ConfigUdisks2Command(kVm, kSourceId, 71)); },
          "ConfigUdisks2Command(int32 7001, bytes[8] 0807060504030201, int32 71)")
          .within(10000)
          .logsFirst({debugLine("ConfigUdisks2Command", "enter")})
          .logsBeforeCall(
              {debugLine("ConfigUdisks2Command",
                         "ConfigUdisks2Command vmId:%s, vmid:%d, sourceId:%ld, command:%d",
                         "ConfigUdisks2Command vmId:win11, vmid:7001, sourceId:72623859790382856, "
                         "command:71")})
          .logsReply(),
  };
}
