#include "vel/apps/local/velsim/machine/print_queues.h"

#include <nlohmann/json.hpp>

#include "tests/velsim/service/simulated_service.h"

namespace velsim {
namespace {

using nlohmann::json;
using ::testing::ElementsAre;

class PrintQueuesTest : public SimulatedServiceTest {
 protected:
  Status statusOf(const std::string& method, const qxbus::Values& texts) {
    return static_cast<Status>(std::get<std::int32_t>(call(method, texts).at(0)));
  }
  json textOf(const std::string& method, const qxbus::Values& texts) {
    return json::parse(std::get<std::string>(call(method, texts).at(0)));
  }
  // The entry with this name in the answer of searchAllPrinter; null when there is none.
  json found(const std::string& name) {
    const json all = textOf("searchAllPrinter", {});
    for (const json& printer : all.at("printers")) {
      if (printer.at("name") == name) {
        return printer;
      }
    }
    return {};
  }
};

TEST_F(PrintQueuesTest, TheSearchFindsBuiltInQueuesAndPrinters) {
  EXPECT_EQ(found("office"), (json{{"name", "office"},
                                   {"source", "queue"},
                                   {"uri", "usb://7e57/0100?number=21"},
                                   {"driver", "Laser PostScript"},
                                   {"testPages", 0}}));
  EXPECT_EQ(found("photo").at("driver"), "Photo raster");
  EXPECT_EQ(found("Office laser"),
            (json{{"name", "Office laser"}, {"source", "local"}, {"number", 21}}));
}

TEST_F(PrintQueuesTest, TheSearchFindsNetworkAndSharedPrintersOnceTheyAreAdded) {
  call("addNetworkPrinter", {"10.0.0.5", "Hall", ""});
  call("addSharePrinter", {int32(1), "10.0.0.7", "Reception", "Ground floor"});

  EXPECT_EQ(found("Hall").at("source"), "network");
  EXPECT_EQ(found("Hall").at("address"), "10.0.0.5");
  EXPECT_EQ(found("Reception"), (json{{"name", "Reception"},
                                      {"source", "shared"},
                                      {"address", "10.0.0.7"},
                                      {"description", "Ground floor"}}));
}

TEST_F(PrintQueuesTest, DriversAreListedBestFirst) {
  const json drivers = textOf("getPrinterDriverlList", {"Photo printer"});

  EXPECT_EQ(drivers,
            (json{{"printer", "Photo printer"}, {"drivers", {"Photo raster", "Generic text"}}}));
  EXPECT_EQ(textOf("getPrinterDriverlList", {""}).at("drivers").size(), 5u);
  EXPECT_EQ(textOf("getPrinterDriverlList", {"Plotter"}).at("drivers"), json{"Generic text"});
}

TEST_F(PrintQueuesTest, TakeNamesThatAreNotUtf8) {
  EXPECT_EQ(textOf("getPrinterDriverlList", {qxbus::Bytes{'a', 0xFF}}).at("printer"),
            "a\xEF\xBF\xBD");
}

TEST_F(PrintQueuesTest, AreAddedChangedPrintedToAndDeleted) {
  EXPECT_EQ(statusOf("addPrinter", {"plotter", "ipp://10.0.0.9", "Generic text"}), Status::kOk);
  EXPECT_EQ(statusOf("changePrinterDriver", {"plotter", "Laser raster"}), Status::kOk);
  EXPECT_EQ(statusOf("printTestPage", {"plotter"}), Status::kOk);
  EXPECT_EQ(statusOf("printTestPage", {"plotter"}), Status::kOk);

  EXPECT_EQ(found("plotter"), (json{{"name", "plotter"},
                                    {"source", "queue"},
                                    {"uri", "ipp://10.0.0.9"},
                                    {"driver", "Laser raster"},
                                    {"testPages", 2}}));

  EXPECT_EQ(statusOf("deletePrinter", {"plotter"}), Status::kOk);
  EXPECT_EQ(found("plotter"), json());
}

TEST_F(PrintQueuesTest, TheBestDriverIsChosenByModelOrElseByName) {
  EXPECT_EQ(statusOf("autoAddPrinter", {"first", "ipp://10.0.0.9", "Label strip 3"}), Status::kOk);
  EXPECT_EQ(statusOf("autoAddPrinter", {"photos", "ipp://10.0.0.9", ""}), Status::kOk);
  EXPECT_EQ(statusOf("autoAddPrinter", {"other", "ipp://10.0.0.9", "?"}), Status::kOk);

  EXPECT_EQ(found("first").at("driver"), "Label strip");
  EXPECT_EQ(found("photos").at("driver"), "Photo raster");
  EXPECT_EQ(found("other").at("driver"), "Generic text");
}

TEST_F(PrintQueuesTest, InvalidRequestsAreRefused) {
  EXPECT_EQ(statusOf("addPrinter", {"", "ipp://10.0.0.9", "Generic text"}), Status::kEmptyText);
  EXPECT_EQ(statusOf("addPrinter", {"plotter", "", "Generic text"}), Status::kEmptyText);
  EXPECT_EQ(statusOf("addPrinter", {"plotter", "ipp://10.0.0.9", "?"}), Status::kUnknownDriver);
  EXPECT_EQ(statusOf("addPrinter", {"office", "ipp://10.0.0.9", "Generic text"}), Status::kExists);
  EXPECT_EQ(statusOf("autoAddPrinter", {"", "", ""}), Status::kEmptyText);
  EXPECT_EQ(statusOf("changePrinterDriver", {"plotter", "Generic text"}), Status::kUnknownPrinter);
  EXPECT_EQ(statusOf("changePrinterDriver", {"office", "?"}), Status::kUnknownDriver);
  EXPECT_EQ(statusOf("printTestPage", {"plotter"}), Status::kUnknownPrinter);
  EXPECT_EQ(statusOf("deletePrinter", {"plotter"}), Status::kUnknownPrinter);

  EXPECT_EQ(machine().printQueues.all().size(), 2u);
  EXPECT_EQ(found("office").at("driver"), "Laser PostScript");
}

}  // namespace
}  // namespace velsim
