// Network printers.

#include "tests/library/rows/rows.h"

#include <list>
#include <string>

using scripted::debugLine;
using scripted::errorLine;

std::vector<RemoteOperation> networkPrinterRows() {
  return {
      RemoteOperation(
          SLOT(23, int, AddNetworkPrinter, (const char*)),
          [](qx::VelProxy& proxy) { return shown(proxy.AddNetworkPrinter("10.0.0.5")); },
          "addNetworkPrinter(string \"10.0.0.5\", string \"defaultPrinter\", string \"\")")
          .testedAs("AddNetworkPrinterByAddress")
          .logsFirst({debugLine("AddNetworkPrinter", "printerAddr: %s, printerName: %s",
                                "printerAddr: 10.0.0.5, printerName: defaultPrinter")})
          .refusing("EmptyAddress",
                    [](qx::VelProxy& proxy) { return shown(proxy.AddNetworkPrinter("")); }, "-1",
                    {errorLine("AddNetworkPrinter", "printer name or printer addr is NULL")})
          .refusing("NullAddress",
                    [](qx::VelProxy& proxy) {
                      return shown(proxy.AddNetworkPrinter(static_cast<const char*>(nullptr)));
                    },
                    "-1", {errorLine("AddNetworkPrinter", "printer name or printer addr is NULL")}),

      RemoteOperation(
          SLOT(24, int, AddNetworkPrinter,
               (const std::string&, const std::string&, const std::string&)),
          [](qx::VelProxy& proxy) {
            return shown(proxy.AddNetworkPrinter("10.0.0.6", "Lobby", "duplex"));
          },
          "addNetworkPrinter(string \"10.0.0.6\", string \"Lobby\", string \"duplex\")")
          .logsFirst({debugLine("AddNetworkPrinter", "printerAddr: %s, printerName: %s",
                                "printerAddr: 10.0.0.6, printerName: Lobby")})
          .refusing(
              "EmptyAddress",
              [](qx::VelProxy& proxy) { return shown(proxy.AddNetworkPrinter("", "p", "x")); },
              "-1", {errorLine("AddNetworkPrinter", "printer name or printer addr is NULL")})
          .refusing(
              "EmptyName",
              [](qx::VelProxy& proxy) { return shown(proxy.AddNetworkPrinter("a", "", "x")); },
              "-1", {errorLine("AddNetworkPrinter", "printer name or printer addr is NULL")}),

      RemoteOperation(
          SLOT(25, int, DeleteNetworkPrinter, (const std::string&)),
          [](qx::VelProxy& proxy) { return shown(proxy.DeleteNetworkPrinter("Lobby")); },
          "deleteNetworkPrinter(string \"Lobby\")")
          .logsFirst({debugLine("DeleteNetworkPrinter", "printerName: %s", "printerName: Lobby")}),

      RemoteOperation(
          SLOT(26, int, RenameNetworkPrinter, (std::string, std::string)),
          [](qx::VelProxy& proxy) { return shown(proxy.RenameNetworkPrinter("old", "new")); },
          "renameNetworkPrinter(bytes[3] 6f6c64, bytes[3] 6e6577)")
          .logsFirst({debugLine("RenameNetworkPrinter", "oldName: %s, newName: %s",
                                "oldName: old, newName: new")})
          .refusing(
              "EmptyOldName",
              [](qx::VelProxy& proxy) { return shown(proxy.RenameNetworkPrinter("", "n")); }, "-1",
              {errorLine("RenameNetworkPrinter", "printer oldName or printer newName is NULL")})
          .refusing(
              "EmptyNewName",
              [](qx::VelProxy& proxy) { return shown(proxy.RenameNetworkPrinter("o", "")); }, "-1",
              {errorLine("RenameNetworkPrinter", "printer oldName or printer newName is NULL")}),

      RemoteOperation(
          SLOT(27, std::list<CommonDevice*>, GetNetworkPrinterList, ()),
          [](qx::VelProxy& proxy) { return shownRecordsAndFreed(proxy.GetNetworkPrinterList()); },
          "getNetworkPrinterList()")
          .answered(twoRecords(), "ab;cd;")
          .failing("")
          .givenNothing("")
          .logsFirst({debugLine("GetNetworkPrinterList", "enter")})
          .logsAfterReply({debugLine("GetNetworkPrinterList", "list size: %d", "list size: 2")}),
  };
}
