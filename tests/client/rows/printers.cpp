// Printers of all kinds.

#include "tests/client/operations.h"

using scripted::Bytes;
using scripted::Reply;

namespace {

Bytes attachedPrinter() {
  namespace field = velprotocol::printer;
  Bytes record = emptyRecord(field::kLayout);
  velprotocol::write(record, field::kNumber, 65051);
  velprotocol::write(record, field::kVm, static_cast<std::int32_t>(kVmNumber));
  velprotocol::write(record, field::kStatus, 2);
  velprotocol::write(record, field::kName, "Laser");
  return record;
}

constexpr char kAttachedPrinter[] = "65051 \"Laser\" attached vm 7001 \"win11\" attached";

// The name ends with the block: it may be longer than the field, and without a NUL.
Bytes printerWithALongName() {
  Bytes record = attachedPrinter();
  record[12] = 1;
  record[8] = record[9] = 0;
  record.resize(16);
  record.resize(16 + 300, 'p');
  return record;
}

std::string shownLongName() {
  return "65051 \"" + std::string(300, 'p') + "\" available vm 0 \"\" not attached";
}

Bytes networkPrinter() {
  namespace field = velprotocol::device;
  Bytes record = emptyRecord(field::kLayout);
  velprotocol::write(record, field::kNumber, 201);
  velprotocol::write(record, field::kStatus, 1);
  velprotocol::write(record, field::kVm, kVmNumber);
  velprotocol::write(record, field::kName, "Lobby");
  velprotocol::write(record, field::kPolicyText, "10.0.0.6");
  return record;
}

const std::string kTooLong(128, 'x');

}  // namespace

std::vector<ClientOperation> printerClientRows() {
  using vel::Client;
  return {
      ClientOperation("printers", "GetPrinterList",
                      [](const Client& client) { return client.printers(kVm); })
          .answered(Reply().int32(2).bytes(attachedPrinter()).bytes(printerWithALongName()),
                    std::string(kAttachedPrinter) + "; " + shownLongName()),

      ClientOperation("printer", "GetPrinterStatus",
                      [](const Client& client) { return client.printer(vel::PrinterNumber(51)); })
          .answered(Reply().int32(1).bytes(attachedPrinter()), kAttachedPrinter),

      ClientOperation(
          "attach", "ConnectPrinter",
          [](const Client& client) { return client.attach(kVm, vel::PrinterNumber(51)); }),

      ClientOperation(
          "detach", "DisconnectPrinter",
          [](const Client& client) { return client.detach(kVm, vel::PrinterNumber(51)); }),

      ClientOperation("commandPrinter", "ConfigPrinterCommand",
                      [](const Client& client) {
                        return client.commandPrinter(kVm, vel::SourceId(0x0102030405060708), 51);
                      }),

      ClientOperation("networkPrinters", "GetNetworkPrinterList",
                      [](const Client& client) { return client.networkPrinters(); })
          .answered(Reply().int32(1).bytes(networkPrinter()),
                    "201 \"Lobby\" at \"10.0.0.6\" available vm 7001 \"win11\""),

      ClientOperation("addNetworkPrinter", "AddNetworkPrinterByAddress",
                      [](const Client& client) { return client.addNetworkPrinter("10.0.0.5"); })
          .refusing("NoAddress", [](const Client& client) { return client.addNetworkPrinter(""); }),

      ClientOperation("addNetworkPrinter", "AddNetworkPrinter",
                      [](const Client& client) {
                        return client.addNetworkPrinter("10.0.0.6", "Lobby", "duplex");
                      })
          .refusing("NoAddress",
                    [](const Client& client) { return client.addNetworkPrinter("", "Lobby"); })
          .refusing("NoName",
                    [](const Client& client) { return client.addNetworkPrinter("10.0.0.6", ""); }),

      ClientOperation("removeNetworkPrinter", "DeleteNetworkPrinter",
                      [](const Client& client) { return client.removeNetworkPrinter("Lobby"); }),

      ClientOperation(
          "renameNetworkPrinter", "RenameNetworkPrinter",
          [](const Client& client) { return client.renameNetworkPrinter("old", "new"); })
          .refusing("NoOldName",
                    [](const Client& client) { return client.renameNetworkPrinter("", "new"); })
          .refusing("NoNewName",
                    [](const Client& client) { return client.renameNetworkPrinter("old", ""); }),

      ClientOperation(
          "searchSharedPrinters", "SearchSharePrinterDevice",
          [](const Client& client) { return client.searchSharedPrinters("10.0.0.9:631"); })
          .answered(Reply()
                        .int32(0)
                        .int32(2)
                        .string("10.0.0.7")
                        .string("P1")
                        .string("O\xFF")
                        .string("10.0.0.8")
                        .string("P2")
                        .string(""),
                    "\"10.0.0.7\" \"P1\" \"O\xEF\xBF\xBD\"; \"10.0.0.8\" \"P2\" \"\"")
          .withStatus()
          .refusing(
              "AHostName",
              [](const Client& client) { return client.searchSharedPrinters("printer.local"); }),

      ClientOperation("stopSharedPrinterSearch", "StopSearchSharePrinterDevice",
                      [](const Client& client) { return client.stopSharedPrinterSearch(); }),

      ClientOperation(
          "addSharedPrinters", "AddSharePrinterDevice",
          [](const Client& client) {
            return client.addSharedPrinters({{"10.0.0.7", "P1", "Office"}, {"10.0.0.8", "P2", ""}});
          })
          .refusing("ALongAddress",
                    [](const Client& client) {
                      return client.addSharedPrinters({{kTooLong, "P1", ""}});
                    })
          .refusing("ALongName",
                    [](const Client& client) {
                      return client.addSharedPrinters({{"10.0.0.7", kTooLong, ""}});
                    })
          .refusing("ALongDescription",
                    [](const Client& client) {
                      return client.addSharedPrinters({{"10.0.0.7", "P1", kTooLong}});
                    }),

      ClientOperation("removeSharedPrinter", "DeleteSharePrinterDevice",
                      [](const Client& client) {
                        return client.removeSharedPrinter({"10.0.0.7", "P1", "Office"});
                      })
          .refusing("ALongName",
                    [](const Client& client) {
                      return client.removeSharedPrinter({"10.0.0.7", kTooLong, ""});
                    }),

      ClientOperation("allPrinters", "SearchAllPrinter",
                      [](const Client& client) { return client.allPrinters(); })
          .answered(Reply().string("P1,P2\xFF"), "P1,P2\xEF\xBF\xBD"),

      ClientOperation("printerDrivers", "GetPrinterDriverlList",
                      [](const Client& client) { return client.printerDrivers("P1"); })
          .answered(Reply().string("ps,pcl"), "ps,pcl"),

      ClientOperation("addLocalPrinter", "AddLocalPrinter",
                      [](const Client& client) { return client.addLocalPrinter("a", "b", "c"); }),

      ClientOperation("autoAddPrinter", "AutoAddPrinter",
                      [](const Client& client) { return client.autoAddPrinter("d", "e", "f"); }),

      ClientOperation("removePrinter", "DeletePrinter",
                      [](const Client& client) { return client.removePrinter("P1"); }),

      ClientOperation("setPrinterDriver", "ChangePrinterDriver",
                      [](const Client& client) { return client.setPrinterDriver("p", "d"); }),

      ClientOperation("printTestPage", "PrintTestPage",
                      [](const Client& client) { return client.printTestPage("P2"); }),
  };
}
