// Rows of velctl printer and its groups.

#include <cstdint>

#include "tests/velctl/commands.h"
#include "tests/velctl/scripted_service.h"

namespace velctl_tests {
namespace {

const qxbus::Values kDone = {std::int32_t{0}};

}  // namespace

std::vector<Command> printerCommands() {
  return {
      {"PrinterList",
       {"printer", "list", "--vm", "win11"},
       {"getPrinterList(int32 101)"},
       Answer::kContent,
       {std::int32_t{2}, printerBlock(51, -2, kVmNumber, "Laser"), printerBlock(65535, 0, 0, "")},
       "NUMBER  STATUS  VM     NAME\n"
       "51      -2      win11  Laser\n"
       "65535   0       -      ",
       R"({"operation":"getPrinterList","vm":"win11","number":101,"printers":[)"
       R"({"printer":51,"status":-2,"vmNumber":101,"vm":"win11","name":"Laser"},)"
       R"({"printer":65535,"status":0,"vmNumber":0,"vm":null,"name":""}]})"},
      {"PrinterListOfThisMachine",
       {"printer", "list"},
       {"getPrinterList(int32 0)"},
       Answer::kContent,
       {std::int32_t{1}, printerBlock(51, 1, -1, "Laser")},
       "NUMBER  STATUS  VM          NAME\n"
       "51      1       4294967295  Laser",
       R"({"operation":"getPrinterList","vm":"","number":0,"printers":[)"
       R"({"printer":51,"status":1,"vmNumber":4294967295,"vm":null,"name":"Laser"}]})"},
      {"PrinterStatus",
       {"printer", "status", "65535"},
       {"getPrinterStatus(int16 -1)"},
       Answer::kContent,
       {std::int32_t{1}, printerBlock(65535, 1, 0, "Laser")},
       "NUMBER  STATUS  VM  NAME\n"
       "65535   1       -   Laser",
       R"({"operation":"getPrinterStatus","printer":65535,"printers":[)"
       R"({"printer":65535,"status":1,"vmNumber":0,"vm":null,"name":"Laser"}]})"},
      {"PrinterConnect",
       {"printer", "connect", "51", "--vm", "win11"},
       {"connectPrinter(int32 101, int16 51)"},
       Answer::kStatus,
       kDone,
       "win11: printer 51 connected",
       R"({"operation":"connectPrinter","vm":"win11","number":101,"printer":51,"status":0})"},
      {"PrinterDisconnect",
       {"printer", "disconnect", "51", "--vm", "win11"},
       {"disconnectPrinter(int32 101, int16 51)"},
       Answer::kStatus,
       kDone,
       "win11: printer 51 disconnected",
       R"({"operation":"disconnectPrinter","vm":"win11","number":101,"printer":51,"status":0})"},
      {"PrinterCommand",
       {"printer", "command", "258", "65535", "--vm", "win11"},
       {"ConfigPrinterCommand(int32 101, bytes[8] 02 01 00 00 00 00 00 00, int32 65535)"},
       Answer::kIgnored,
       kDone,
       "win11: command 65535 given to the printer of source 258",
       R"({"operation":"ConfigPrinterCommand","vm":"win11","number":101,"source":258,)"
       R"("command":65535,"status":0})"},
      {"PrinterNetworkList",
       {"printer", "network", "list"},
       {"getNetworkPrinterList()"},
       Answer::kContent,
       {std::int32_t{1}, deviceBlock(3, 1, 0, 0, "Office", "")},
       "NUMBER  STATUS  POLICY  VM  NAME\n"
       "3       1       0       -   Office",
       R"({"operation":"getNetworkPrinterList","printers":[)"
       R"({"device":3,"status":1,"policy":0,"policyText":"","vmNumber":0,"vm":null,)"
       R"("name":"Office"}]})"},
      {"PrinterNetworkAdd",
       {"printer", "network", "add", "10.0.0.7", "Office", "duplex"},
       {R"(addNetworkPrinter(string "10.0.0.7", string "Office", string "duplex"))"},
       Answer::kStatus,
       kDone,
       "\"10.0.0.7\" added",
       R"({"operation":"addNetworkPrinter","address":"10.0.0.7","name":"Office",)"
       R"("extra":"duplex","status":0})"},
      {"PrinterNetworkAddWithoutAName",
       {"printer", "network", "add", "10.0.0.7"},
       {R"(addNetworkPrinter(string "10.0.0.7", string "defaultPrinter", string ""))"},
       Answer::kStatus,
       kDone,
       "\"10.0.0.7\" added",
       R"({"operation":"addNetworkPrinter","address":"10.0.0.7","status":0})"},
      {"PrinterNetworkDelete",
       {"printer", "network", "delete", "Office"},
       {R"(deleteNetworkPrinter(string "Office"))"},
       Answer::kStatus,
       kDone,
       "\"Office\" deleted",
       R"({"operation":"deleteNetworkPrinter","name":"Office","status":0})"},
      {"PrinterNetworkRename",
       {"printer", "network", "rename", "ab", "c"},
       {"renameNetworkPrinter(bytes[2] 61 62, bytes[1] 63)"},
       Answer::kStatus,
       kDone,
       "\"ab\" is now \"c\"",
       R"({"operation":"renameNetworkPrinter","oldName":"ab","newName":"c","status":0})"},
      {"PrinterSharedSearch",
       {"printer", "shared", "search", "10.0.0.7:631"},
       {R"(searchSharePrinter(string "10.0.0.7:631"))"},
       Answer::kStatus,
       {std::int32_t{0}, std::int32_t{2}, std::string("10.0.0.7"), std::string("Office"),
        std::string("Second floor"), std::string("10.0.0.7"), std::string("Labels"),
        std::string("")},
       "ADDRESS   NAME    DESCRIPTION\n"
       "10.0.0.7  Office  Second floor\n"
       "10.0.0.7  Labels  ",
       R"({"operation":"searchSharePrinter","address":"10.0.0.7:631","printers":[)"
       R"({"address":"10.0.0.7","name":"Office","description":"Second floor"},)"
       R"({"address":"10.0.0.7","name":"Labels","description":""}]})"},
      {"PrinterSharedStop",
       {"printer", "shared", "stop"},
       {"stopSearchSharePrinter()"},
       Answer::kStatus,
       kDone,
       "search stopped",
       R"({"operation":"stopSearchSharePrinter","status":0})"},
      {"PrinterSharedAdd",
       {"printer", "shared", "add", "10.0.0.7", "Office", "Second floor", "10.0.0.8", "Labels", ""},
       {R"(addSharePrinter(int32 2, string "10.0.0.7", string "Office", string "Second floor", )"
        R"(string "10.0.0.8", string "Labels", string ""))"},
       Answer::kStatus,
       kDone,
       "2 printers added",
       R"({"operation":"addSharePrinter","printers":[)"
       R"({"address":"10.0.0.7","name":"Office","description":"Second floor"},)"
       R"({"address":"10.0.0.8","name":"Labels","description":""}],"status":0})"},
      {"PrinterSharedDelete",
       {"printer", "shared", "delete", "10.0.0.7", "Office"},
       {R"(deleteSharePrinter(string "10.0.0.7", string "Office"))"},
       Answer::kStatus,
       kDone,
       "\"Office\" deleted",
       R"({"operation":"deleteSharePrinter","address":"10.0.0.7","name":"Office","status":0})"},
      {"PrinterQueueSearch",
       {"printer", "queue", "search"},
       {"searchAllPrinter()"},
       Answer::kContent,
       {std::string("[\"Laser\"]")},
       "[\"Laser\"]",
       R"({"operation":"searchAllPrinter","text":"[\"Laser\"]"})"},
      {"PrinterQueueDrivers",
       {"printer", "queue", "drivers", "Laser"},
       {R"(getPrinterDriverlList(string "Laser"))"},
       Answer::kContent,
       {std::string("")},
       "",
       R"({"operation":"getPrinterDriverlList","printer":"Laser","text":""})"},
      {"PrinterQueueAdd",
       {"printer", "queue", "add", "a", "b", "c"},
       {R"(addPrinter(string "a", string "b", string "c"))"},
       Answer::kStatus,
       kDone,
       "\"a\" added",
       R"({"operation":"addPrinter","first":"a","second":"b","third":"c","status":0})"},
      {"PrinterQueueAutoAdd",
       {"printer", "queue", "auto-add", "a", "b", "c"},
       {R"(autoAddPrinter(string "a", string "b", string "c"))"},
       Answer::kStatus,
       kDone,
       "\"a\" added",
       R"({"operation":"autoAddPrinter","first":"a","second":"b","third":"c","status":0})"},
      {"PrinterQueueDelete",
       {"printer", "queue", "delete", "Laser"},
       {R"(deletePrinter(string "Laser"))"},
       Answer::kStatus,
       kDone,
       "\"Laser\" deleted",
       R"({"operation":"deletePrinter","printer":"Laser","status":0})"},
      {"PrinterQueueDriver",
       {"printer", "queue", "driver", "Laser", "PCL"},
       {R"(changePrinterDriver(string "Laser", string "PCL"))"},
       Answer::kStatus,
       kDone,
       "\"Laser\" has driver \"PCL\"",
       R"({"operation":"changePrinterDriver","printer":"Laser","driver":"PCL","status":0})"},
      {"PrinterQueueTestPage",
       {"printer", "queue", "test-page", "Laser"},
       {R"(printTestPage(string "Laser"))"},
       Answer::kStatus,
       kDone,
       "test page sent to \"Laser\"",
       R"({"operation":"printTestPage","printer":"Laser","status":0})"},
  };
}

}  // namespace velctl_tests
