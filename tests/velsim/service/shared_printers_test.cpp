#include "vel/apps/local/velsim/machine/shared_printers.h"

#include "tests/velsim/service/simulated_service.h"

namespace velsim {
namespace {

using qxbus::Values;
using std::chrono::milliseconds;

class SharedPrintersTest : public SimulatedServiceTest {
 protected:
  std::shared_ptr<std::optional<Values>> search(const std::string& address) {
    return callLater("searchSharePrinter", {address});
  }
  Status statusOf(const std::string& method, const Values& arguments) {
    return static_cast<Status>(std::get<std::int32_t>(call(method, arguments).at(0)));
  }
};

TEST_F(SharedPrintersTest, AreFoundAfterASecond) {
  const auto answer = search("10.0.0.7");

  clock->advance(milliseconds(999));
  EXPECT_FALSE(*answer);
  clock->advance(milliseconds(1));

  ASSERT_TRUE(*answer);
  EXPECT_EQ(**answer, (Values{int32(0), int32(2), "10.0.0.7", "Reception", "Ground floor",
                              "10.0.0.7", "Archive", "Basement"}));
}

TEST_F(SharedPrintersTest, AreAtThreeAddresses) {
  const std::pair<const char*, std::size_t> expected[] = {
      {"10.0.0.7", 2}, {"10.0.0.8", 1}, {"192.168.1.20", 3}, {"10.0.0.7:631", 2}, {"10.0.0.9", 0}};
  for (const auto& [address, count] : expected) {
    const auto answer = search(address);
    clock->advance(std::chrono::seconds(1));

    ASSERT_TRUE(*answer) << address;
    EXPECT_EQ((*answer)->size(), 2 + 3 * count) << address;
    EXPECT_EQ((**answer)[1], int32(static_cast<int>(count))) << address;
  }
}

TEST_F(SharedPrintersTest, ASearchDelaysNoOtherRequest) {
  const auto first = search("10.0.0.7");
  clock->advance(milliseconds(500));
  const auto second = search("10.0.0.8");

  EXPECT_EQ(call("getVmListSize", {"win11"}), Values{int32(kWin11)});
  clock->advance(milliseconds(500));
  EXPECT_TRUE(*first);
  EXPECT_FALSE(*second);
  clock->advance(milliseconds(500));
  EXPECT_TRUE(*second);
}

TEST_F(SharedPrintersTest, StoppingEndsEverySearchAtOnce) {
  const auto first = search("10.0.0.7");
  const auto second = search("10.0.0.8");

  EXPECT_EQ(statusOf("stopSearchSharePrinter", {}), Status::kOk);

  ASSERT_TRUE(*first);
  ASSERT_TRUE(*second);
  EXPECT_EQ(**first, statusValues(Status::kSearchStopped));
  EXPECT_EQ(**second, statusValues(Status::kSearchStopped));
  clock->advance(std::chrono::seconds(2));
  EXPECT_EQ(statusOf("stopSearchSharePrinter", {}), Status::kNotSearching);
}

TEST_F(SharedPrintersTest, ThereIsNothingToStopAfterASearch) {
  search("10.0.0.7");
  clock->advance(std::chrono::seconds(1));

  EXPECT_EQ(statusOf("stopSearchSharePrinter", {}), Status::kNotSearching);
}

TEST_F(SharedPrintersTest, AResetStopsASearch) {
  const auto answer = search("10.0.0.7");

  call("resetService", {});

  ASSERT_TRUE(*answer);
  EXPECT_EQ(**answer, statusValues(Status::kSearchStopped));
}

TEST_F(SharedPrintersTest, ASearchAtAnInvalidAddressIsRefusedAtOnce) {
  EXPECT_EQ(statusOf("searchSharePrinter", {"printer.local"}), Status::kBadAddress);
  EXPECT_EQ(statusOf("stopSearchSharePrinter", {}), Status::kNotSearching);
}

TEST_F(SharedPrintersTest, AddressesAreIpV4WithOrWithoutAPort) {
  for (const char* const address : {"0.0.0.0", "1.2.3.4", "255.255.255.255:65535", "1.2.3.4:0"}) {
    EXPECT_TRUE(SharedPrinters::isAddress(address)) << address;
  }
  for (const char* const address :
       {"", "1.2.3", "1.2.3.4.5", "256.1.1.1", "1..2.3", "-1.2.3.4", "01.2.3.4", "1.2.3.04",
        " 1.2.3.4", "1.2.3.4 ", "1.2.3.4:", "1.2.3.4:65536", "1.2.3.4:080", "1.2.3.4:+80",
        "1.2.3.4:1:2", "1.2.3.99999999999", "a.b.c.d"}) {
    EXPECT_FALSE(SharedPrinters::isAddress(address)) << address;
  }
}

TEST_F(SharedPrintersTest, AreAddedAllOrNoneAndDeletedByAddressAndName) {
  EXPECT_EQ(statusOf("addSharePrinter",
                     {int32(2), "10.0.0.7", "Reception", "", "10.0.0.7", "Archive", "Basement"}),
            Status::kOk);
  EXPECT_EQ(machine().sharedPrinters.added().size(), 2u);
  EXPECT_EQ(machine().sharedPrinters.added()[1].description, "Basement");

  EXPECT_EQ(statusOf("addSharePrinter",
                     {int32(2), "10.0.0.8", "Workshop", "", "10.0.0.7", "Archive", ""}),
            Status::kExists);
  EXPECT_EQ(statusOf("addSharePrinter", {int32(1), "", "Workshop", ""}), Status::kEmptyText);
  EXPECT_EQ(statusOf("addSharePrinter", {int32(1), "10.0.0.8", "", ""}), Status::kEmptyText);
  EXPECT_EQ(machine().sharedPrinters.added().size(), 2u);

  EXPECT_EQ(statusOf("deleteSharePrinter", {"10.0.0.8", "Archive"}), Status::kUnknownPrinter);
  EXPECT_EQ(statusOf("deleteSharePrinter", {"10.0.0.7", "Archive"}), Status::kOk);
  ASSERT_EQ(machine().sharedPrinters.added().size(), 1u);
  EXPECT_EQ(machine().sharedPrinters.added()[0].name, "Reception");
}

}  // namespace
}  // namespace velsim
