// Rows of velctl printer and its groups.

#include <cstdint>

#include "tests/velctl/blocks.h"
#include "tests/velctl/commands.h"

namespace velctl_tests {
std::vector<Command> printerCommands() {
  return {
      Command("PrinterList", "printer list --vm win11")
          .sends("getPrinterList(int32 101)")
          .reads(Answer::kContent)
          .answered(Reply()
                        .int32(2)
                        .bytes(printerBlock(51, -2, kVmNumber, "Laser"))
                        .bytes(printerBlock(65535, 0, 0, "")))
          .prints("NUMBER  STATUS  VM     NAME\n"
                  "51      -2      win11  Laser\n"
                  "65535   0       -      ")
          .printsJson(R"({"operation":"getPrinterList","vm":"win11","number":101,"printers":[)"
                      R"({"printer":51,"status":-2,"vmNumber":101,"vm":"win11","name":"Laser"},)"
                      R"({"printer":65535,"status":0,"vmNumber":0,"vm":null,"name":""}]})"),
      Command("PrinterListOfThisMachine", "printer list")
          .sends("getPrinterList(int32 0)")
          .reads(Answer::kContent)
          .answered(Reply().int32(1).bytes(printerBlock(51, 1, -1, "Laser")))
          .prints("NUMBER  STATUS  VM          NAME\n"
                  "51      1       4294967295  Laser")
          .printsJson(
              R"({"operation":"getPrinterList","vm":"","number":0,"printers":[)"
              R"({"printer":51,"status":1,"vmNumber":4294967295,"vm":null,"name":"Laser"}]})"),
      Command("PrinterStatus", "printer status 65535")
          .sends("getPrinterStatus(int16 -1)")
          .reads(Answer::kContent)
          .answered(Reply().int32(1).bytes(printerBlock(65535, 1, 0, "Laser")))
          .prints("NUMBER  STATUS  VM  NAME\n"
                  "65535   1       -   Laser")
          .printsJson(R"({"operation":"getPrinterStatus","printer":65535,"printers":[)"
                      R"({"printer":65535,"status":1,"vmNumber":0,"vm":null,"name":"Laser"}]})"),
      Command("PrinterConnect", "printer connect 51 --vm win11")
          .sends("connectPrinter(int32 101, int16 51)")
          .prints("win11: printer 51 connected")
          .printsJson(R"({"operation":"connectPrinter","vm":"win11","number":101,"printer":51,)"
                      R"("status":0})"),
      Command("PrinterDisconnect", "printer disconnect 51 --vm win11")
          .sends("disconnectPrinter(int32 101, int16 51)")
          .prints("win11: printer 51 disconnected")
          .printsJson(R"({"operation":"disconnectPrinter","vm":"win11","number":101,"printer":51,)"
                      R"("status":0})"),
      Command("PrinterCommand", "printer command 258 65535 --vm win11")
          .sends("ConfigPrinterCommand(int32 101, bytes[8] 0201000000000000, int32 65535)")
          .reads(Answer::kIgnored)
          .prints("win11: command 65535 given to the printer of source 258")
          .printsJson(
              R"({"operation":"ConfigPrinterCommand","vm":"win11","number":101,"source":258,)"
              R"("command":65535,"status":0})"),
      Command("PrinterNetworkList", "printer network list")
          .sends("getNetworkPrinterList()")
          .reads(Answer::kContent)
          .answered(Reply().int32(1).bytes(deviceBlock(3, 1, 0, 0, "Office", "")))
          .prints("NUMBER  STATUS  POLICY  VM  NAME\n"
                  "3       1       0       -   Office")
          .printsJson(R"({"operation":"getNetworkPrinterList","printers":[)"
                      R"({"device":3,"status":1,"policy":0,"policyText":"","vmNumber":0,"vm":null,)"
                      R"("name":"Office"}]})"),
      Command("PrinterNetworkAdd", "printer network add 10.0.0.7 Office duplex")
          .sends(R"(addNetworkPrinter(string "10.0.0.7", string "Office", string "duplex"))")
          .prints("\"10.0.0.7\" added")
          .printsJson(R"({"operation":"addNetworkPrinter","address":"10.0.0.7","name":"Office",)"
                      R"("extra":"duplex","status":0})"),
      Command("PrinterNetworkAddWithoutAName", "printer network add 10.0.0.7")
          .sends(R"(addNetworkPrinter(string "10.0.0.7", string "defaultPrinter", string ""))")
          .prints("\"10.0.0.7\" added")
          .printsJson(R"({"operation":"addNetworkPrinter","address":"10.0.0.7","status":0})"),
      Command("PrinterNetworkDelete", "printer network delete Office")
          .sends(R"(deleteNetworkPrinter(string "Office"))")
          .prints("\"Office\" deleted")
          .printsJson(R"({"operation":"deleteNetworkPrinter","name":"Office","status":0})"),
      Command("PrinterNetworkRename", "printer network rename ab c")
          .sends("renameNetworkPrinter(bytes[2] 6162, bytes[1] 63)")
          .prints("\"ab\" is now \"c\"")
          .printsJson(
              R"({"operation":"renameNetworkPrinter","oldName":"ab","newName":"c","status":0})"),
      Command("PrinterSharedSearch", "printer shared search 10.0.0.7:631")
          .sends(R"(searchSharePrinter(string "10.0.0.7:631"))")
          .answered(Reply()
                        .int32(0)
                        .int32(2)
                        .string("10.0.0.7")
                        .string("Office")
                        .string("Second floor")
                        .string("10.0.0.7")
                        .string("Labels")
                        .string(""))
          .prints("ADDRESS   NAME    DESCRIPTION\n"
                  "10.0.0.7  Office  Second floor\n"
                  "10.0.0.7  Labels  ")
          .printsJson(R"({"operation":"searchSharePrinter","address":"10.0.0.7:631","printers":[)"
                      R"({"address":"10.0.0.7","name":"Office","description":"Second floor"},)"
                      R"({"address":"10.0.0.7","name":"Labels","description":""}]})"),
      Command("PrinterSharedStop", "printer shared stop")
          .sends("stopSearchSharePrinter()")
          .prints("search stopped")
          .printsJson(R"({"operation":"stopSearchSharePrinter","status":0})"),
      Command("PrinterSharedAdd",
              "printer shared add 10.0.0.7 Office 'Second floor' 10.0.0.8 Labels ''")
          .sends(R"(addSharePrinter(int32 2, cstring "10.0.0.7", cstring "Office", )"
                 R"(cstring "Second floor", cstring "10.0.0.8", cstring "Labels", cstring ""))")
          .prints("2 printers added")
          .printsJson(R"({"operation":"addSharePrinter","printers":[)"
                      R"({"address":"10.0.0.7","name":"Office","description":"Second floor"},)"
                      R"({"address":"10.0.0.8","name":"Labels","description":""}],"status":0})"),
      Command("PrinterSharedDelete", "printer shared delete 10.0.0.7 Office")
          .sends(R"(deleteSharePrinter(cstring "10.0.0.7", cstring "Office"))")
          .prints("\"Office\" deleted")
          .printsJson(R"({"operation":"deleteSharePrinter","address":"10.0.0.7","name":"Office",)"
                      R"("status":0})"),
      Command("PrinterQueueSearch", "printer queue search")
          .sends("searchAllPrinter()")
          .reads(Answer::kContent)
          .answered(Reply().string("[\"Laser\"]"))
          .prints("[\"Laser\"]")
          .printsJson(R"({"operation":"searchAllPrinter","text":"[\"Laser\"]"})"),
      Command("PrinterQueueDrivers", "printer queue drivers Laser")
          .sends(R"(getPrinterDriverlList(string "Laser"))")
          .reads(Answer::kContent)
          .answered(Reply().string(""))
          .prints("")
          .printsJson(R"({"operation":"getPrinterDriverlList","printer":"Laser","text":""})"),
      Command("PrinterQueueAdd", "printer queue add a b c")
          .sends(R"(addPrinter(string "a", string "b", string "c"))")
          .prints("\"a\" added")
          .printsJson(
              R"({"operation":"addPrinter","first":"a","second":"b","third":"c","status":0})"),
      Command("PrinterQueueAutoAdd", "printer queue auto-add a b c")
          .sends(R"(autoAddPrinter(string "a", string "b", string "c"))")
          .prints("\"a\" added")
          .printsJson(
              R"({"operation":"autoAddPrinter","first":"a","second":"b","third":"c","status":0})"),
      Command("PrinterQueueDelete", "printer queue delete Laser")
          .sends(R"(deletePrinter(string "Laser"))")
          .prints("\"Laser\" deleted")
          .printsJson(R"({"operation":"deletePrinter","printer":"Laser","status":0})"),
      Command("PrinterQueueDriver", "printer queue driver Laser PCL")
          .sends(R"(changePrinterDriver(string "Laser", string "PCL"))")
          .prints("\"Laser\" has driver \"PCL\"")
          .printsJson(
              R"({"operation":"changePrinterDriver","printer":"Laser","driver":"PCL","status":0})"),
      Command("PrinterQueueTestPage", "printer queue test-page Laser")
          .sends(R"(printTestPage(string "Laser"))")
          .prints("test page sent to \"Laser\"")
          .printsJson(R"({"operation":"printTestPage","printer":"Laser","status":0})"),
  };
}

}  // namespace velctl_tests
