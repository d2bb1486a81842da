// Stories of velctl printer.

#include "tests/velctl/stories.h"

namespace velctl_tests {
namespace {

std::string only(const std::string& printer, const std::string& number) {
  return R"("printer":)" + number + R"(,"printers":[)" + printer + "]";
}

std::string laser(int status, int vmNumber) {
  return printerJson(21, status, vmNumber, "", "Office laser");
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
           shows("connectPrinter", "printer connect 21 --vm win11", "win11: printer 21 connected"),
           showsJson("connectPrinter", "printer connect 22 --vm win10",
                     std::string(kForWin10) + R"("printer":22,"status":0)"),
           shows("getPrinterList", "printer list --vm win11",
                 "NUMBER  STATUS  VM     NAME\n"
                 "21      2       win11  Office laser"),
           showsJson("getPrinterList", "printer list --vm win10",
                     std::string(kForWin10) + R"("printers":[)" +
                         printerJson(22, 2, 102, "win10", "Photo printer") + "]"),
           refuses("connectPrinter", "printer connect 21 --vm win10", 7),
           refuses("disconnectPrinter", "printer disconnect 21 --vm win10", 8),
           shows("disconnectPrinter", "printer disconnect 21 --vm win11",
                 "win11: printer 21 disconnected"),
           showsJson("disconnectPrinter", "printer disconnect 22 --vm win10",
                     std::string(kForWin10) + R"("printer":22,"status":0)"),
           showsJson("getPrinterList", "printer list",
                     R"("vm":"","number":0,"printers":[)" + laser(1, 0) + "," +
                         printerJson(22, 1, 0, "", "Photo printer") + "]"),
           refusesInJson("disconnectPrinter", "printer disconnect 21 --vm win11", 8,
                         std::string(kForWin11) + R"("printer":21,)"),
           refuses("connectPrinter", "printer connect 99 --vm win11", 12),
           fails("getPrinterStatus", "printer status 99", velctl::kExitRefused,
                 "getPrinterStatus 99: the service has no such printer; "),
       }},
      {"APrinterIsKnownByItsSourceToo",
       {
           shows("ConfigPrinterCommand", "printer command 0x7e57010000000015 1 --vm win11",
                 "win11: command 1 given to the printer of source 9103746271264374805"),
           shows("getPrinterStatus", "printer status 21",
                 "NUMBER  STATUS  VM   NAME\n"
                 "21      2       101  Office laser"),
           showsJson(
               "ConfigPrinterCommand", "printer command 0x7e57010000000015 2 --vm win11",
               std::string(kForWin11) + R"("source":9103746271264374805,"command":2,"status":0)"),
           showsJson("getPrinterStatus", "printer status 21", only(laser(1, 0), "21")),
           // The library ignores the status: there is no such printer.
           shows("ConfigPrinterCommand", "printer command 1 1 --vm win11",
                 "win11: command 1 given to the printer of source 1"),
       }},
      {"ANetworkPrinterIsAddedListedRenamedAndDeleted",
       {
           notes("getNetworkPrinterList", "printer network list", "no printers"),
           shows("addNetworkPrinter", "printer network add 10.0.0.9 Hall duplex",
                 "\"10.0.0.9\" added"),
           showsJson("addNetworkPrinter", "printer network add 10.0.0.10",
                     R"("address":"10.0.0.10","status":0)"),
           shows("getNetworkPrinterList", "printer network list",
                 "NUMBER  STATUS  POLICY  VM  NAME\n"
                 "31      1       0       -   Hall\n"
                 "32      1       0       -   defaultPrinter"),
           showsJson("getNetworkPrinterList", "printer network list",
                     R"("printers":[)" + deviceJson(31, 1, 0, "10.0.0.9", 0, "", "Hall") + "," +
                         deviceJson(32, 1, 0, "10.0.0.10", 0, "", "defaultPrinter") + "]"),
           refuses("addNetworkPrinter", "printer network add 10.0.0.11 Hall", 13),
           shows("connectPrinter", "printer connect 31 --vm win11", "win11: printer 31 connected"),
           shows("renameNetworkPrinter", "printer network rename Hall 'Entrance hall'",
                 "\"Hall\" is now \"Entrance hall\""),
           shows("getPrinterStatus", "printer status 31",
                 "NUMBER  STATUS  VM   NAME\n"
                 "31      2       101  Entrance hall"),
           showsJson("renameNetworkPrinter", "printer network rename defaultPrinter Spare",
                     R"("oldName":"defaultPrinter","newName":"Spare","status":0)"),
           refuses("renameNetworkPrinter", "printer network rename Spare 'Entrance hall'", 13),
           refusesInJson("renameNetworkPrinter", "printer network rename Hall x", 12,
                         R"("oldName":"Hall","newName":"x",)"),
           shows("deleteNetworkPrinter", "printer network delete 'Entrance hall'",
                 "\"Entrance hall\" deleted"),
           showsJson("deleteNetworkPrinter", "printer network delete Spare",
                     R"("name":"Spare","status":0)"),
           refuses("deleteNetworkPrinter", "printer network delete Spare", 12),
           showsJson("getNetworkPrinterList", "printer network list", R"("printers":[])"),
       }},
      {"SharedPrintersAreAddedAllOrNoneAndDeleted",
       {
           refuses("stopSearchSharePrinter", "printer shared stop", 17),
           refusesInJson("stopSearchSharePrinter", "printer shared stop", 17, ""),
           shows("addSharePrinter",
                 "printer shared add 10.0.0.7 Reception 'Ground floor' 10.0.0.8 Workshop ''",
                 "2 printers added"),
           refuses("addSharePrinter", "printer shared add 10.0.0.9 New '' 10.0.0.8 Workshop ''",
                   13),
           showsJson("addSharePrinter", "printer shared add 192.168.1.20 Studio ''",
                     R"("printers":[{"address":"192.168.1.20","name":"Studio","description":""}],)"
                     R"("status":0)"),
           shows("searchAllPrinter", "printer queue search",
                 printers(office("Laser PostScript", 0) + "," + kPhoto + "," + kLocal +
                          R"(,{"name":"Reception","source":"shared","address":"10.0.0.7",)"
                          R"("description":"Ground floor"},)"
                          R"({"name":"Workshop","source":"shared","address":"10.0.0.8",)"
                          R"("description":""},)"
                          R"({"name":"Studio","source":"shared","address":"192.168.1.20",)"
                          R"("description":""})")),
           shows("deleteSharePrinter", "printer shared delete 10.0.0.7 Reception",
                 "\"Reception\" deleted"),
           showsJson("deleteSharePrinter", "printer shared delete 10.0.0.8 Workshop",
                     R"("address":"10.0.0.8","name":"Workshop","status":0)"),
           refuses("deleteSharePrinter", "printer shared delete 10.0.0.7 Studio", 12),
       }},
      {"APrintQueueHasADriverAndPrintsTestPages",
       {
           shows("searchAllPrinter", "printer queue search",
                 printers(office("Laser PostScript", 0) + "," + kPhoto + "," + kLocal)),
           shows("getPrinterDriverlList", "printer queue drivers 'Office laser'",
                 R"({"printer":"Office laser","drivers":["Laser PostScript","Laser raster",)"
                 R"("Generic text"]})"),
           showsJson("getPrinterDriverlList", "printer queue drivers label",
                     R"("printer":"label","text":"{\"printer\":\"label\",\"drivers\":)"
                     R"([\"Label strip\",\"Generic text\"]}")"),
           shows("changePrinterDriver", "printer queue driver office 'Laser raster'",
                 "\"office\" has driver \"Laser raster\""),
           showsJson("changePrinterDriver", "printer queue driver photo 'Photo raster'",
                     R"("printer":"photo","driver":"Photo raster","status":0)"),
           refuses("changePrinterDriver", "printer queue driver office 'No such driver'", 18),
           shows("printTestPage", "printer queue test-page office", "test page sent to \"office\""),
           showsJson("printTestPage", "printer queue test-page office",
                     R"("printer":"office","status":0)"),
           refusesInJson("printTestPage", "printer queue test-page nosuch", 12,
                         R"("printer":"nosuch",)"),
           showsJson(
               "searchAllPrinter", "printer queue search",
               R"("text":")" +
                   escaped(printers(office("Laser raster", 2) + "," + kPhoto + "," + kLocal)) +
                   '"'),
       }},
      {"PrintQueuesAreAddedWithADriverOrTheBestOneAndDeleted",
       {
           shows("addPrinter", "printer queue add labels usb://1 'Label strip'",
                 "\"labels\" added"),
           showsJson("addPrinter", "printer queue add notes usb://2 'Generic text'",
                     R"("first":"notes","second":"usb://2","third":"Generic text","status":0)"),
           refuses("addPrinter", "printer queue add labels usb://3 'Label strip'", 13),
           shows("autoAddPrinter", "printer queue auto-add attic usb://4 'Studio photo'",
                 "\"attic\" added"),
           showsJson("autoAddPrinter", "printer queue auto-add 'back office' usb://5 ''",
                     R"("first":"back office","second":"usb://5","third":"","status":0)"),
           refusesInJson("autoAddPrinter", "printer queue auto-add '' usb://6 ''", 14,
                         R"("first":"","second":"usb://6","third":"",)"),
           shows("deletePrinter", "printer queue delete office", "\"office\" deleted"),
           showsJson("deletePrinter", "printer queue delete photo",
                     R"("printer":"photo","status":0)"),
           refuses("deletePrinter", "printer queue delete photo", 12),
           shows("searchAllPrinter", "printer queue search",
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
