// Rows of velctl printer, network-printer and queue.

#include <cstdint>

#include "tests/velctl/blocks.h"
#include "tests/velctl/commands.h"

namespace velctl_tests {
namespace {

Reply networkPrinters() {
  return Reply()
      .int32(2)
      .bytes(deviceBlock(3, 1, 0, 0, "Office", "10.0.0.7"))
      .bytes(deviceBlock(4, 2, 2, kVmNumber, "Hall", "10.0.0.8:631"));
}

}  // namespace

std::vector<Command> printerCommands() {
  return {
      Command("PrinterList", "printer list --vm win11")
          .sends("getPrinterList(int32 101)")
          .reads(Answer::kContent)
          .answered(Reply()
                        .int32(2)
                        .bytes(printerBlock(51, -2, kVmNumber, "Laser"))
                        .bytes(printerBlock(65535, 0, 0, "")))
          .prints("NUMBER  STATUS    VM     NAME\n"
                  "51      -2        win11  Laser\n"
                  "65535   gone (0)  -")
          .printsJson(R"({"operation":"getPrinterList","vm":"win11","vmNumber":101,"printers":[)"
                      R"({"printer":51,"status":-2,"statusName":null,"vm":"win11","vmNumber":101,)"
                      R"("name":"Laser"},)"
                      R"({"printer":65535,"status":0,"statusName":"gone","vm":null,"vmNumber":0,)"
                      R"("name":""}]})"),
      Command("PrinterListOfThisMachine", "printer list")
          .sends("getPrinterList(int32 0)")
          .sends(kConfirmation)
          .reads(Answer::kContent)
          .answered(Reply().int32(1).bytes(printerBlock(51, 1, -1, "Laser")))
          .prints("NUMBER  STATUS         VM          NAME\n"
                  "51      available (1)  4294967295  Laser")
          .printsJson(R"({"operation":"getPrinterList","vm":"","vmNumber":0,"printers":[)"
                      R"({"printer":51,"status":1,"statusName":"available","vm":null,)"
                      R"("vmNumber":4294967295,"name":"Laser"}]})"),
      Command("PrinterShow", "printer show 65535")
          .sends("getPrinterStatus(int16 -1)")
          .reads(Answer::kContent)
          .answered(Reply().int32(1).bytes(printerBlock(65535, 4, 0, "Laser")))
          .prints("printer  65535\n"
                  "status   out-of-paper (4)\n"
                  "vm       -\n"
                  "name     Laser")
          .printsJson(R"({"operation":"getPrinterStatus","printer":65535,"status":4,)"
                      R"("statusName":"out-of-paper","vm":null,"vmNumber":0,"name":"Laser"})"),
      Command("PrinterAttach", "printer attach 51 --vm win11")
          .sends("connectPrinter(int32 101, int16 51)")
          .prints("printer 51 attached to win11")
          .printsJson(R"({"operation":"connectPrinter","vm":"win11","vmNumber":101,"printer":51,)"
                      R"("status":0,"statusName":"ok"})"),
      Command("PrinterDetach", "printer detach 51 --vm win11")
          .sends("disconnectPrinter(int32 101, int16 51)")
          .prints("printer 51 detached from win11")
          .printsJson(R"({"operation":"disconnectPrinter","vm":"win11","vmNumber":101,)"
                      R"("printer":51,"status":0,"statusName":"ok"})"),
      Command("PrinterCommand", "printer command 258 65535 --vm win11")
          .sends("ConfigPrinterCommand(int32 101, bytes[8] 0201000000000000, int32 65535)")
          .reads(Answer::kIgnored)
          .prints("command 65535 given to the printer of source 258")
          .printsJson(R"({"operation":"ConfigPrinterCommand","vm":"win11","vmNumber":101,)"
                      R"("source":"258","command":65535})"),
      Command("NetworkPrinterList", "network-printer list")
          .sends("getNetworkPrinterList()")
          .sends(kConfirmation)
          .reads(Answer::kContent)
          .answered(networkPrinters())
          .prints("NUMBER  STATUS         POLICY         VM     ADDRESS       NAME\n"
                  "3       available (1)  none (0)       -      10.0.0.7      Office\n"
                  "4       attached (2)   forbidden (2)  win11  10.0.0.8:631  Hall")
          .printsJson(R"({"operation":"getNetworkPrinterList","printers":[)"
                      R"({"device":3,"status":1,"statusName":"available","policy":0,)"
                      R"("policyName":"none","vm":null,"vmNumber":0,"address":"10.0.0.7",)"
                      R"("name":"Office"},)"
                      R"({"device":4,"status":2,"statusName":"attached","policy":2,)"
                      R"("policyName":"forbidden","vm":"win11","vmNumber":101,)"
                      R"("address":"10.0.0.8:631","name":"Hall"}]})"),
      Command("NetworkPrinterShow", "network-printer show Office")
          .sends("getNetworkPrinterList()")
          .reads(Answer::kContent)
          .answered(networkPrinters())
          .prints("device   3\n"
                  "status   available (1)\n"
                  "policy   none (0)\n"
                  "vm       -\n"
                  "address  10.0.0.7\n"
                  "name     Office")
          .printsJson(R"({"operation":"getNetworkPrinterList","device":3,"status":1,)"
                      R"("statusName":"available","policy":0,"policyName":"none","vm":null,)"
                      R"("vmNumber":0,"address":"10.0.0.7","name":"Office"})"),
      Command("NetworkPrinterAdd", "network-printer add 10.0.0.7 Office duplex")
          .sends(R"(addNetworkPrinter(string "10.0.0.7", string "Office", string "duplex"))")
          .prints("\"10.0.0.7\" added")
          .printsJson(R"({"operation":"addNetworkPrinter","address":"10.0.0.7","name":"Office",)"
                      R"("extra":"duplex","status":0,"statusName":"ok"})"),
      Command("NetworkPrinterAddWithoutAName", "network-printer add 10.0.0.7")
          .sends(R"(addNetworkPrinter(string "10.0.0.7", string "defaultPrinter", string ""))")
          .prints("\"10.0.0.7\" added")
          .printsJson(R"({"operation":"addNetworkPrinter","address":"10.0.0.7",)"
                      R"("status":0,"statusName":"ok"})"),
      Command("NetworkPrinterRemove", "network-printer remove Office")
          .sends(R"(deleteNetworkPrinter(string "Office"))")
          .prints("\"Office\" removed")
          .printsJson(R"({"operation":"deleteNetworkPrinter","name":"Office",)"
                      R"("status":0,"statusName":"ok"})"),
      Command("NetworkPrinterRename", "network-printer rename ab c")
          .sends("renameNetworkPrinter(bytes[2] 6162, bytes[1] 63)")
          .prints("\"ab\" is now \"c\"")
          .printsJson(R"({"operation":"renameNetworkPrinter","oldName":"ab","newName":"c",)"
                      R"("status":0,"statusName":"ok"})"),
      Command("QueueSearch", "queue search")
          .sends("searchAllPrinter()")
          .reads(Answer::kContent)
          .answered(Reply().string("[\"Laser\"]"))
          .prints("[\"Laser\"]")
          .printsJson(R"({"operation":"searchAllPrinter","text":"[\"Laser\"]"})"),
      Command("QueueDrivers", "queue drivers Laser")
          .sends(R"(getPrinterDriverlList(string "Laser"))")
          .reads(Answer::kContent)
          .answered(Reply().string(""))
          .prints("")
          .printsJson(R"({"operation":"getPrinterDriverlList","printer":"Laser","text":""})"),
      Command("QueueAdd", "queue add a b c")
          .sends(R"(addPrinter(string "a", string "b", string "c"))")
          .prints("\"a\" added")
          .printsJson(R"({"operation":"addPrinter","first":"a","second":"b","third":"c",)"
                      R"("status":0,"statusName":"ok"})"),
      Command("QueueAutoAdd", "queue auto-add a b c")
          .sends(R"(autoAddPrinter(string "a", string "b", string "c"))")
          .prints("\"a\" added")
          .printsJson(R"({"operation":"autoAddPrinter","first":"a","second":"b","third":"c",)"
                      R"("status":0,"statusName":"ok"})"),
      Command("QueueRemove", "queue remove Laser")
          .sends(R"(deletePrinter(string "Laser"))")
          .prints("\"Laser\" removed")
          .printsJson(R"({"operation":"deletePrinter","printer":"Laser",)"
                      R"("status":0,"statusName":"ok"})"),
      Command("QueueSetDriver", "queue set-driver Laser PCL")
          .sends(R"(changePrinterDriver(string "Laser", string "PCL"))")
          .prints("\"Laser\" has driver \"PCL\"")
          .printsJson(R"({"operation":"changePrinterDriver","printer":"Laser","driver":"PCL",)"
                      R"("status":0,"statusName":"ok"})"),
      Command("QueueTestPage", "queue test-page Laser")
          .sends(R"(printTestPage(string "Laser"))")
          .prints("test page sent to \"Laser\"")
          .printsJson(R"({"operation":"printTestPage","printer":"Laser",)"
                      R"("status":0,"statusName":"ok"})"),
  };
}

}  // namespace velctl_tests
