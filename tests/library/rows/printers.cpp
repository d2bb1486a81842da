// Printers of this machine.

#include "tests/library/rows/rows.h"

#include <cstddef>
#include <cstdlib>
#include <list>
#include <string>

using scripted::Bytes;
using scripted::debugLine;
using scripted::Reply;
using Lock = RemoteOperation::Lock;

namespace {

Bytes printer(unsigned short number, const std::string& name) {
  return recordOf(40, number, offsetof(PrinterDevice, name), name);
}

std::string shownAndFreed(const std::list<PrinterDevice*>& printers) {
  std::string text;
  for (PrinterDevice* const printer : printers) {
    text += std::to_string(printer->devNum) + "=" + printer->name + ";";
    std::free(printer);
  }
  return text;
}

}  // namespace

std::vector<RemoteOperation> printerRows() {
  return {
      RemoteOperation(
          SLOT(19, std::list<PrinterDevice*>, GetPrinterList, (std::string)),
          [](qx::VelProxy& proxy) { return shownAndFreed(proxy.GetPrinterList(kVm)); },
          "getPrinterList(int32 7001)")
          .answered(Reply().int32(2).bytes(printer(51, "Laser")).bytes(printer(52, "Labels")),
                    "51=Laser;52=Labels;")
          .failing("")
          .givenNothing("")
          .logsFirst({debugLine("GetPrinterList", "vmId: %s", "vmId: win11")})
          .logsAfterReply({debugLine("GetPrinterList", "vmId: %s, list size: %d",
                                     "vmId: win11, list size: 2")}),

      RemoteOperation(
          SLOT(20, std::list<PrinterDevice*>, GetPrinterStatus, (unsigned short)),
          [](qx::VelProxy& proxy) { return shownAndFreed(proxy.GetPrinterStatus(51)); },
          "getPrinterStatus(int16 51)")
          .answered(Reply().int32(1).bytes(printer(51, "Laser")), "51=Laser;")
          .failing("")
          .givenNothing("")
          .logsUnderLock({debugLine("GetPrinterStatus", "devNumber:%d", "devNumber:51")})
          .logsBeforeCall({debugLine("GetPrinterStatus", "devNumber: %d", "devNumber: 51")})
          .logsAfterReply({debugLine("GetPrinterStatus", "devNumber: %d, list size: %d",
                                     "devNumber: 51, list size: 1")}),

      RemoteOperation(
          SLOT(21, int, ConnectPrinter, (std::string, unsigned short)),
          [](qx::VelProxy& proxy) { return shown(proxy.ConnectPrinter(kVm, 51)); },
          "connectPrinter(int32 7001, int16 51)")
          .locking(Lock::kReleased)
          .logsFirst(
              {debugLine("ConnectPrinter", "vmId:%s, devNumber:%d", "vmId:win11, devNumber:51")}),

      RemoteOperation(
          SLOT(22, int, DisconnectPrinter, (std::string, unsigned short)),
          [](qx::VelProxy& proxy) { return shown(proxy.DisconnectPrinter(kVm, 51)); },
          "disconnectPrinter(int32 7001, int16 51)")
          .locking(Lock::kReleased)
          .logsFirst({debugLine("DisconnectPrinter", "vmId:%s, devNumber:%d",
                                "vmId:win11, devNumber:51")}),

      RemoteOperation(
          SLOT(91, int, ConfigPrinterCommand,
               (const std::string&, unsigned long long, unsigned short)),
          [](qx::VelProxy& proxy) { return shown(proxy.ConfigPrinterCommand(kVm, kSourceId, 51)); },
          "ConfigPrinterCommand(int32 7001, bytes[8] 0807060504030201, int32 51)")
          .within(10000)
          .ignoringStatus("0")
          .logsFirst({debugLine("ConfigPrinterCommand", "enter")})
          .logsBeforeCall(
              {debugLine("ConfigPrinterCommand",
                         "ConfigPrinterCommand vmId:%s, vmid:%d, sourceId:%ld, command:%d",
                         "ConfigPrinterCommand vmId:win11, vmid:7001, sourceId:72623859790382856, "
                         "command:51")})
          .logsReply(),
  };
}
