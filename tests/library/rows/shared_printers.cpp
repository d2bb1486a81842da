// Printers that other machines share.

#include "tests/library/rows/rows.h"

#include <list>
#include <string>

using scripted::debugLine;
using scripted::Reply;

namespace {

_SharePrinterDevice sharedPrinter(const std::string& addr, const std::string& name,
                                  const std::string& desc) {
  _SharePrinterDevice printer = {};
  addr.copy(printer.addr, sizeof printer.addr - 1);
  name.copy(printer.name, sizeof printer.name - 1);
  desc.copy(printer.desc, sizeof printer.desc - 1);
  return printer;
}

std::string search(qx::VelProxy& proxy, const std::string& address) {
  std::list<_SharePrinterDevice> found;
  std::string text = shown(proxy.SearchSharePrinterDevice(address, found));
  for (const _SharePrinterDevice& printer : found) {
    text += std::string(" ") + printer.addr + "/" + printer.name + "/" + printer.desc;
  }
  return text;
}

std::string addTwo(qx::VelProxy& proxy) {
  std::list<_SharePrinterDevice> printers = {sharedPrinter("10.0.0.7", "P1", "Office"),
                                             sharedPrinter("10.0.0.8", "P2", "")};
  return shown(proxy.AddSharePrinterDevice(printers));
}

}  // namespace

std::vector<RemoteOperation> sharedPrinterRows() {
  return {
      RemoteOperation(
          SLOT(74, int, SearchSharePrinterDevice,
               (const std::string&, std::list<_SharePrinterDevice>&)),
          [](qx::VelProxy& proxy) { return search(proxy, "10.0.0.9:631"); },
          "searchSharePrinter(string \"10.0.0.9:631\")")
          .within(10000)
          .answered(Reply().int32(0).int32(1).string("10.0.0.7").string("P1").string("Office"),
                    "0 10.0.0.7/P1/Office")
          .logsFirst({debugLine("SearchSharePrinterDevice", "enter ipaddr: %s",
                                "enter ipaddr: 10.0.0.9:631")})
          .logsAfterReply({debugLine("SearchSharePrinterDevice", "[%d] addr:%s name:%s desc:%s",
                                     "[1] addr:10.0.0.7 name:P1 desc:Office")})
          .refusing("HostName", [](qx::VelProxy& proxy) { return search(proxy, "printer.local"); },
                    "1",
                    {debugLine("SearchSharePrinterDevice", "enter ipaddr: %s",
                               "enter ipaddr: printer.local")}),

      RemoteOperation(
          SLOT(75, int, StopSearchSharePrinterDevice, ()),
          [](qx::VelProxy& proxy) { return shown(proxy.StopSearchSharePrinterDevice()); },
          "stopSearchSharePrinter()")
          .logsFirst({debugLine("StopSearchSharePrinterDevice", "enter")}),

      RemoteOperation(
          SLOT(76, int, AddSharePrinterDevice, (std::list<_SharePrinterDevice>&)), addTwo,
          "addSharePrinter(int32 2, cstring \"10.0.0.7\", cstring \"P1\", cstring \"Office\", "
          "cstring \"10.0.0.8\", cstring \"P2\", cstring \"\")")
          .also([](qx::VelProxy& proxy) {
            std::list<_SharePrinterDevice> none;
            return shown(proxy.AddSharePrinterDevice(none));
          })
          .logsFirst({debugLine("AddSharePrinterDevice", "enter")})
          .logsConnected({debugLine("AddSharePrinterDevice", "size: %d", "size: 2")}),

      RemoteOperation(
          SLOT(77, int, DeleteSharePrinterDevice, (_SharePrinterDevice&)),
          [](qx::VelProxy& proxy) {
            _SharePrinterDevice printer = sharedPrinter("10.0.0.7", "P1", "Office");
            return shown(proxy.DeleteSharePrinterDevice(printer));
          },
          "deleteSharePrinter(cstring \"10.0.0.7\", cstring \"P1\")")
          .logsFirst({debugLine("DeleteSharePrinterDevice", "enter")}),
  };
}
