// Stories of velctl printer.

#include "tests/velctl/stories.h"

namespace velctl_tests {
namespace {

std::string laser(int status, const std::string& vm, int vmNumber) {
  return printerJson(21, status, vm, vmNumber, "Office laser");
}

constexpr char kPhoto[] = R"({"name":"photo","source":"queue","uri":"usb://7e57/0100?number=22",)"
                          R"("driver":"Photo raster","testPages":0})";
constexpr char kLocal[] = R"({"name":"Office laser","source":"local","number":21},)"
                          R"({"name":"Photo printer","source":"local","number":22})";

std::string office(const std::string& driver, int testPages) {
  return R"({"name":"office","source":"queue","uri":"usb://7e57/0100?number=21","driver":")" +
         driver + R"(","testPages":)" + std::to_string(testPages) + "}";
}

std::string printers(const std::string& elements) {
  return R"({"printers":[)" + elements + "]}";
}

// A text inside JSON.
std::string escaped(const std::string& text) {
  std::string in;
  for (const char c : text) {
    in += c == '"' ? "\\\"" : std::string(1, c);
  }
  return in;
}

}  // namespace

std::vector<Story> printerStories() {
  return {
      {"APrinterIsRedirectedIntoAVmAndTakenBack",
       {
           shows("getPrinterList", "printer list",
                 "NUMBER  STATUS  VM  NAME\n"
                 "21      1       -   Office laser\n"
                 "22      1       -   Photo printer"),
           shows("connectPrinter", "printer attach 21 --vm win11", "printer 21 attached to win11"),
           showsJson("connectPrinter", "printer attach 22 --vm win10",
                     std::string(kForWin10) + R"("printer":22,"status":0,"statusName":"ok")"),
           shows("getPrinterList", "printer list --vm win11",
                 "NUMBER  STATUS  VM     NAME\n"
                 "21      2       win11  Office laser"),
           showsJson("getPrinterList", "printer list --vm win10",
                     std::string(kForWin10) + R"("printers":[)" +
                         printerJson(22, 2, "win10", 102, "Photo printer") + "]"),
           refuses("connectPrinter", "printer attach 21 --vm win10", 7),
           refuses("disconnectPrinter", "printer detach 21 --vm win10", 8),
           shows("disconnectPrinter", "printer detach 21 --vm win11",
                 "printer 21 detached from win11"),
           showsJson("disconnectPrinter", "printer detach 22 --vm win10",
                     std::string(kForWin10) + R"("printer":22,"status":0,"statusName":"ok")"),
           showsJson("getPrinterList", "printer list",
                     R"("vm":"","number":0,"printers":[)" + laser(1, 0) + "," +
                         printerJson(22, 1, "", 0, "Photo printer") + "]"),
           refusesInJson("disconnectPrinter", "printer detach 21 --vm win11", 8),
           refuses("connectPrinter", "printer attach 99 --vm win11", 12),
           fails("getPrinterStatus", "printer show 99", velctl::kExitRefused,
                 "getPrinterStatus 99: the service has no such printer; "),
       }},
      {"APrinterIsKnownByItsSourceToo",
       {
           shows("ConfigPrinterCommand", "printer command 0x7e57010000000015 1 --vm win11",
                 "command 1 given to the printer of source 9103746271264374805"),
           shows("getPrinterStatus", "printer show 21",
                 "NUMBER  STATUS  VM   NAME\n"
                 "21      2       101  Office laser"),
           showsJson(
               "ConfigPrinterCommand", "printer command 0x7e57010000000015 2 --vm win11",
               std::string(kForWin11) +
                   R"("source":"9103746271264374805","command":2,"status":0,"statusName":"ok")"),
           showsJson("getPrinterStatus", "printer show 21", only(laser(1, 0), "21")),
           // The library ignores the status: there is no such printer.
           shows("ConfigPrinterCommand", "printer command 1 1 --vm win11",
                 "command 1 given to the printer of source 1"),
       }},
      {"ANetworkPrinterIsAddedListedRenamedAndDeleted",
       {
           notes("getNetworkPrinterList", "network-printer list", "no printers"),
           shows("addNetworkPrinter", "network-printer add 10.0.0.9 Hall duplex",
                 "\"10.0.0.9\" added"),
           showsJson("addNetworkPrinter", "network-printer add 10.0.0.10",
                     R"("address":"10.0.0.10","status":0,"statusName":"ok")"),
           shows("getNetworkPrinterList", "network-printer list",
                 "NUMBER  STATUS  POLICY  VM  NAME\n"
                 "31      1       0       -   Hall\n"
                 "32      1       0       -   defaultPrinter"),
           showsJson("getNetworkPrinterList", "network-printer list",
                     R"("printers":[)" + deviceJson(31, 1, 0, "10.0.0.9", "", 0, "Hall", 0) + "," +
                         deviceJson(32, 1, 0, "10.0.0.10", "", 0, "defaultPrinter", 0) + "]"),
           refuses("addNetworkPrinter", "network-printer add 10.0.0.11 Hall", 13),
           shows("connectPrinter", "printer attach 31 --vm win11", "printer 31 attached to win11"),
           shows("renameNetworkPrinter", "network-printer rename Hall 'Entrance hall'",
                 "\"Hall\" is now \"Entrance hall\""),
           shows("getPrinterStatus", "printer show 31",
                 "NUMBER  STATUS  VM   NAME\n"
                 "31      2       101  Entrance hall"),
           showsJson(
               "renameNetworkPrinter", "network-printer rename defaultPrinter Spare",
               R"("oldName":"defaultPrinter","newName":"Spare","status":0,"statusName":"ok")"),
           refuses("renameNetworkPrinter", "network-printer rename Spare 'Entrance hall'", 13),
           refusesInJson("renameNetworkPrinter", "network-printer rename Hall x", 12),
           shows("deleteNetworkPrinter", "network-printer remove 'Entrance hall'",
                 "\"Entrance hall\" removed"),
           showsJson("deleteNetworkPrinter", "network-printer remove Spare",
                     R"("name":"Spare","status":0,"statusName":"ok")"),
           refuses("deleteNetworkPrinter", "network-printer remove Spare", 12),
           showsJson("getNetworkPrinterList", "network-printer list", R"("printers":[])"),
       }},
      {"SharedPrintersAreAddedAllOrNoneAndDeleted",
       {
           refuses("stopSearchSharePrinter", "shared-printer stop", 17),
           refusesInJson("stopSearchSharePrinter", "shared-printer stop", 17),
           shows("addSharePrinter",
                 "shared-printer add 10.0.0.7 Reception 'Ground floor' 10.0.0.8 Workshop ''",
                 "2 printers added"),
           refuses("addSharePrinter", "shared-printer add 10.0.0.9 New '' 10.0.0.8 Workshop ''",
                   13),
           showsJson("addSharePrinter", "shared-printer add 192.168.1.20 Studio ''",
                     R"("printers":[{"address":"192.168.1.20","name":"Studio","description":""}],)"
                     R"("status":0,"statusName":"ok")"),
           shows("searchAllPrinter", "queue search",
                 printers(office("Laser PostScript", 0) + "," + kPhoto + "," + kLocal +
                          R"(,{"name":"Reception","source":"shared","address":"10.0.0.7",)"
                          R"("description":"Ground floor"},)"
                          R"({"name":"Workshop","source":"shared","address":"10.0.0.8",)"
                          R"("description":""},)"
                          R"({"name":"Studio","source":"shared","address":"192.168.1.20",)"
                          R"("description":""})")),
           shows("deleteSharePrinter", "shared-printer remove 10.0.0.7 Reception",
                 "\"Reception\" removed"),
           showsJson("deleteSharePrinter", "shared-printer remove 10.0.0.8 Workshop",
                     R"("address":"10.0.0.8","name":"Workshop","status":0,"statusName":"ok")"),
           refuses("deleteSharePrinter", "shared-printer remove 10.0.0.7 Studio", 12),
       }},
      {"APrintQueueHasADriverAndPrintsTestPages",
       {
           shows("searchAllPrinter", "queue search",
                 printers(office("Laser PostScript", 0) + "," + kPhoto + "," + kLocal)),
           shows("getPrinterDriverlList", "queue drivers 'Office laser'",
                 R"({"printer":"Office laser","drivers":["Laser PostScript","Laser raster",)"
                 R"("Generic text"]})"),
           showsJson("getPrinterDriverlList", "queue drivers label",
                     R"("printer":"label","text":"{\"printer\":\"label\",\"drivers\":)"
                     R"([\"Label strip\",\"Generic text\"]}")"),
           shows("changePrinterDriver", "queue set-driver office 'Laser raster'",
                 "\"office\" has driver \"Laser raster\""),
           showsJson("changePrinterDriver", "queue set-driver photo 'Photo raster'",
                     R"("printer":"photo","driver":"Photo raster","status":0,"statusName":"ok")"),
           refuses("changePrinterDriver", "queue set-driver office 'No such driver'", 18),
           shows("printTestPage", "queue test-page office", "test page sent to \"office\""),
           showsJson("printTestPage", "queue test-page office",
                     R"("printer":"office","status":0,"statusName":"ok")"),
           refusesInJson("printTestPage", "queue test-page nosuch", 12),
           showsJson(
               "searchAllPrinter", "queue search",
               R"("text":")" +
                   escaped(printers(office("Laser raster", 2) + "," + kPhoto + "," + kLocal)) +
                   '"'),
       }},
      {"PrintQueuesAreAddedWithADriverOrTheBestOneAndDeleted",
       {
           shows("addPrinter", "queue add labels usb://1 'Label strip'", "\"labels\" added"),
           showsJson(
               "addPrinter", "queue add notes usb://2 'Generic text'",
               R"("first":"notes","second":"usb://2","third":"Generic text","status":0,"statusName":"ok")"),
           refuses("addPrinter", "queue add labels usb://3 'Label strip'", 13),
           shows("autoAddPrinter", "queue auto-add attic usb://4 'Studio photo'",
                 "\"attic\" added"),
           showsJson(
               "autoAddPrinter", "queue auto-add 'back office' usb://5 ''",
               R"("first":"back office","second":"usb://5","third":"","status":0,"statusName":"ok")"),
           refusesInJson("autoAddPrinter", "queue auto-add '' usb://6 ''", 14),
           shows("deletePrinter", "queue remove office", "\"office\" removed"),
           showsJson("deletePrinter", "queue remove photo",
                     R"("printer":"photo","status":0,"statusName":"ok")"),
           refuses("deletePrinter", "queue remove photo", 12),
           shows("searchAllPrinter", "queue search",
                 printers(R"({"name":"attic","source":"queue","uri":"usb://4",)"
                          R"("driver":"Photo raster","testPages":0},)"
                          R"({"name":"back office","source":"queue","uri":"usb://5",)"
                          R"("driver":"Laser PostScript","testPages":0},)"
                          R"({"name":"labels","source":"queue","uri":"usb://1",)"
                          R"("driver":"Label strip","testPages":0},)"
                          R"({"name":"notes","source":"queue","uri":"usb://2",)"
                          R"("driver":"Generic text","testPages":0},)" +
                          std::string(kLocal))),
       }},
  };
}

}  // namespace velctl_tests
