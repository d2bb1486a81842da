// Print queues.

#include "tests/library/rows/rows.h"

#include <string>

using scripted::debugLine;

std::vector<RemoteOperation> printQueueRows() {
  return {
      RemoteOperation(
          SLOT(78, std::string, SearchAllPrinter, ()),
          [](qx::VelProxy& proxy) { return proxy.SearchAllPrinter(); }, "searchAllPrinter()")
          .within(30000)
          .answered(textAndMore("P1,P2"), "P1,P2")
          .failing("")
          .givenNothing("")
          .logsFirst({debugLine("SearchAllPrinter", "enter")})
          .logsAfterReply({debugLine("SearchAllPrinter", "result: %s", "result: P1,P2")}),

      RemoteOperation(
          SLOT(79, std::string, GetPrinterDriverlList, (const std::string&)),
          [](qx::VelProxy& proxy) { return proxy.GetPrinterDriverlList("P1"); },
          "getPrinterDriverlList(string \"P1\")")
          .within(30000)
          .answered(textAndMore("ps,pcl"), "ps,pcl")
          .failing("")
          .givenNothing("")
          .logsFirst({debugLine("GetPrinterDriverlList", "enter")})
          .logsAfterReply({debugLine("GetPrinterDriverlList", "result: %s", "result: ps,pcl")}),

      RemoteOperation(
          SLOT(80, int, AddLocalPrinter,
               (const std::string&, const std::string&, const std::string&)),
          [](qx::VelProxy& proxy) { return shown(proxy.AddLocalPrinter("a", "b", "c")); },
          "addPrinter(string \"a\", string \"b\", string \"c\")")
          .logsFirst({debugLine("AddLocalPrinter", "enter")}),

      RemoteOperation(
          SLOT(81, int, AutoAddPrinter,
               (const std::string&, const std::string&, const std::string&)),
          [](qx::VelProxy& proxy) { return shown(proxy.AutoAddPrinter("d", "e", "f")); },
          "autoAddPrinter(string \"d\", string \"e\", string \"f\")")
          .within(30000)
          .logsFirst({debugLine("AutoAddPrinter", "enter")}),

      RemoteOperation(
          SLOT(82, int, DeletePrinter, (const std::string&)),
          [](qx::VelProxy& proxy) { return shown(proxy.DeletePrinter("P1")); },
          "deletePrinter(string \"P1\")")
          .logsFirst({debugLine("DeletePrinter", "enter")}),

      RemoteOperation(
          SLOT(83, int, ChangePrinterDriver, (const std::string&, const std::string&)),
          [](qx::VelProxy& proxy) { return shown(proxy.ChangePrinterDriver("p", "d")); },
          "changePrinterDriver(string \"p\", string \"d\")")
          .logsFirst({debugLine("ChangePrinterDriver", "enter")}),

      RemoteOperation(
          SLOT(84, int, PrintTestPage, (const std::string&)),
          [](qx::VelProxy& proxy) { return shown(proxy.PrintTestPage("P2")); },
          "printTestPage(string \"P2\")")
          .within(10000)
          .logsFirst({debugLine("PrintTestPage", "enter")}),
  };
}
