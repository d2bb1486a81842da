// Network devices and USB devices that the client redirects.

#include "tests/library/rows/rows.h"

#include <string>

std::vector<RemoteOperation> networkDeviceRows() {
  return {
      RemoteOperation(
          SLOT(51, int, AddNetworkDevice, (int, std::string&)),
          [](qx::VelProxy& proxy) {
            std::string device = "scan";
            return shown(proxy.AddNetworkDevice(-70002, device));
          },
          "addNetworkDevice(int32 -70002, bytes[4] 7363616e)"),

      RemoteOperation(
          SLOT(52, int, DeleteNetworkDevice, (std::string&, std::string&)),
          [](qx::VelProxy& proxy) {
            std::string device = "scan";
            std::string detail = "now";
            return shown(proxy.DeleteNetworkDevice(device, detail));
          },
          "deleteNetworkDevice(bytes[4] 7363616e, bytes[3] 6e6f77)"),

      RemoteOperation(
          SLOT(40, int, SetUsbredirStatus, (std::string, UDevInfo, unsigned short)),
          [](qx::VelProxy& proxy) {
            return shown(proxy.SetUsbredirStatus(kVm, {{1, 2, 3, 4, 5, 6, 7, 0xF8}}, 65506));
          },
          "setUsbredirStatus(int32 7001, int16 -30, bytes[8] 01020304050607f8)"),
  };
}
