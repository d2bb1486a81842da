// Printers and network printers as clients see them.

#include "tests/velsim/service/simulated_service.h"

#include "vel/apps/local/velsim/service/records.h"

namespace velsim {
namespace {

using qxbus::Bytes;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

constexpr std::uint16_t kPhoto = 22;

class PrintersTest : public SimulatedServiceTest {
 protected:
  const Printer& printer(std::uint16_t number) { return *machine().printers.find(number); }

  Status statusOf(const std::string& method, const qxbus::Values& arguments) {
    const qxbus::Values answer = call(method, arguments);
    return static_cast<Status>(std::get<std::int32_t>(answer.at(0)));
  }
  Status connect(VmNumber vm, std::uint16_t number) {
    return statusOf("connectPrinter", {int32(vm), int16(number)});
  }
  Status disconnect(VmNumber vm, std::uint16_t number) {
    return statusOf("disconnectPrinter", {int32(vm), int16(number)});
  }
  Status command(VmNumber vm, std::uint64_t sourceId, int command) {
    return statusOf("ConfigPrinterCommand", {int32(vm), block8(sourceId), int32(command)});
  }
  Status addNetwork(const std::string& address, const std::string& name) {
    return statusOf("addNetworkPrinter", {address, name, ""});
  }
  std::vector<int> numbersFor(VmNumber vm) {
    std::vector<int> numbers;
    for (const Bytes& record : list("getPrinterList", {int32(vm)})) {
      numbers.push_back(read(record, printer::kNumber));
    }
    return numbers;
  }
  // Status and VM in each event, which must all be of printers.
  std::vector<std::pair<int, VmNumber>> takePrinterEvents() {
    std::vector<std::pair<int, VmNumber>> changes;
    for (const BusEvent& event : takeEvents()) {
      EXPECT_EQ(static_cast<int>(event.code), 1);
      changes.emplace_back(read(event.record, printer::kStatus), event.vm);
    }
    return changes;
  }
};

TEST_F(PrintersTest, ANumberIsComparedInAllItsBits) {
  EXPECT_EQ(connect(kWin11, kLaser + 256), Status::kUnknownPrinter);
  connect(kWin11, kLaser);
  EXPECT_EQ(disconnect(kWin11, kLaser + 256), Status::kUnknownPrinter);
  EXPECT_EQ(printer(kLaser).vm, kWin11);
}

TEST_F(PrintersTest, ConnectingAndDisconnectingNotifiesTheVm) {
  EXPECT_EQ(connect(kWin11, kLaser), Status::kOk);
  EXPECT_EQ(printer(kLaser).vm, kWin11);
  EXPECT_EQ(read(list("getPrinterStatus", {int16(kLaser)}).at(0), printer::kVm),
            static_cast<std::int32_t>(kWin11));
  EXPECT_EQ(connect(kWin11, kLaser), Status::kOk);
  EXPECT_EQ(disconnect(kWin11, kLaser), Status::kOk);
  EXPECT_EQ(printer(kLaser).vm, 0u);

  EXPECT_THAT(takePrinterEvents(), ElementsAre(Pair(2, kWin11), Pair(1, kWin11)));
}

TEST_F(PrintersTest, InvalidRequestsAreRefusedWithoutAnEvent) {
  connect(kWin11, kLaser);
  takeEvents();

  EXPECT_EQ(connect(kNoSuchVm, kPhoto), Status::kUnknownVm);
  EXPECT_EQ(connect(kWin11, 99), Status::kUnknownPrinter);
  EXPECT_EQ(connect(kUbuntu, kLaser), Status::kBusy);
  EXPECT_EQ(disconnect(kNoSuchVm, kLaser), Status::kUnknownVm);
  EXPECT_EQ(disconnect(kUbuntu, kLaser), Status::kNotAttached);
  EXPECT_EQ(disconnect(kWin11, kPhoto), Status::kNotAttached);
  EXPECT_EQ(disconnect(kWin11, 99), Status::kUnknownPrinter);

  EXPECT_EQ(printer(kLaser).vm, kWin11);
  EXPECT_THAT(takeEvents(), IsEmpty());
}

TEST_F(PrintersTest, AVmListsItsOwnAndTheUnattached) {
  connect(kWin11, kLaser);

  EXPECT_THAT(numbersFor(kWin11), ElementsAre(21, 22));
  EXPECT_THAT(numbersFor(kUbuntu), ElementsAre(22));
  EXPECT_THAT(numbersFor(0), ElementsAre(21, 22));
  EXPECT_THAT(numbersFor(kNoSuchVm), IsEmpty());
  EXPECT_THAT(list("getPrinterStatus", {int16(99)}), IsEmpty());
}

TEST_F(PrintersTest, CommandsAttachAndDetachBySourceId) {
  EXPECT_EQ(command(kWin11, kLaserSource, 1), Status::kOk);
  EXPECT_EQ(printer(kLaser).vm, kWin11);
  EXPECT_EQ(command(kWin11, kLaserSource, 2), Status::kOk);
  EXPECT_EQ(printer(kLaser).vm, 0u);

  EXPECT_EQ(command(kWin11, kLaserSource, 3), Status::kUnknownCommand);
  EXPECT_EQ(command(kWin11, kLaserSource & 0xFFFFFFFF, 1), Status::kUnknownPrinter);
  EXPECT_EQ(command(kNoSuchVm, kLaserSource, 1), Status::kUnknownVm);
}

TEST_F(PrintersTest, PluggingInAndUnpluggingEmitsEvents) {
  simulator.change([](MachineState& now) { now.printers.plug("Plotter"); });
  const std::uint16_t number = machine().printers.all().rbegin()->first;
  EXPECT_EQ(printer(number).name, "Plotter");
  connect(kWin11, number);
  simulator.change([&](MachineState& now) {
    EXPECT_EQ(now.printers.unplug(number), Status::kOk);
    EXPECT_EQ(now.printers.unplug(number), Status::kUnknownPrinter);
  });

  EXPECT_EQ(machine().printers.find(number), nullptr);
  EXPECT_THAT(takePrinterEvents(),
              ElementsAre(Pair(1, 0), Pair(2, kWin11), Pair(1, kWin11), Pair(0, 0)));
}

TEST_F(PrintersTest, NetworkPrintersAreAddedListedRenamedAndDeleted) {
  EXPECT_EQ(statusOf("addNetworkPrinter", {"10.0.0.5", "Hall", "duplex"}), Status::kOk);

  const std::vector<Bytes> added = list("getNetworkPrinterList", {});
  ASSERT_EQ(added.size(), 1u);
  EXPECT_EQ(added[0].size(), 936u);
  EXPECT_EQ(read(added[0], device::kName), "Hall");
  EXPECT_EQ(read(added[0], device::kPolicyText), "10.0.0.5");
  const auto number = read(added[0], device::kNumber);
  EXPECT_EQ(printer(number).extra, "duplex");

  EXPECT_EQ(statusOf("renameNetworkPrinter", {bytes("Hall"), bytes("Lobby")}), Status::kOk);
  EXPECT_EQ(read(list("getNetworkPrinterList", {}).at(0), device::kName), "Lobby");

  EXPECT_EQ(statusOf("deleteNetworkPrinter", {"Hall"}), Status::kUnknownPrinter);
  EXPECT_EQ(statusOf("deleteNetworkPrinter", {"Lobby"}), Status::kOk);
  EXPECT_THAT(list("getNetworkPrinterList", {}), IsEmpty());
  EXPECT_THAT(takePrinterEvents(), ElementsAre(Pair(1, 0), Pair(1, 0), Pair(0, 0)));
}

TEST_F(PrintersTest, ANetworkPrinterIsAPrinterThatCanBeConnected) {
  addNetwork("10.0.0.5", "Hall");
  const std::uint16_t number = machine().printers.network().at(0)->number;

  EXPECT_EQ(connect(kWin11, number), Status::kOk);

  EXPECT_EQ(read(list("getPrinterStatus", {int16(number)}).at(0), printer::kName), "Hall");
  EXPECT_EQ(read(list("getNetworkPrinterList", {}).at(0), device::kStatus), 2);
  EXPECT_EQ(read(list("getNetworkPrinterList", {}).at(0), device::kVm), kWin11);
}

TEST_F(PrintersTest, NetworkPrintersNeedAnAddressAndANameOfTheirOwn) {
  addNetwork("10.0.0.5", "Hall");
  addNetwork("10.0.0.6", "Lobby");
  takeEvents();

  EXPECT_EQ(addNetwork("", "Attic"), Status::kEmptyText);
  EXPECT_EQ(addNetwork("10.0.0.7", ""), Status::kEmptyText);
  EXPECT_EQ(addNetwork("10.0.0.7", "Hall"), Status::kExists);
  EXPECT_EQ(statusOf("renameNetworkPrinter", {bytes("Hall"), bytes("Lobby")}), Status::kExists);
  EXPECT_EQ(statusOf("renameNetworkPrinter", {bytes("Hall"), bytes("")}), Status::kEmptyText);
  EXPECT_EQ(statusOf("renameNetworkPrinter", {bytes("Attic"), bytes("Roof")}),
            Status::kUnknownPrinter);
  EXPECT_EQ(statusOf("renameNetworkPrinter", {bytes("Hall"), bytes("Hall")}), Status::kOk);
  EXPECT_EQ(statusOf("deleteNetworkPrinter", {""}), Status::kUnknownPrinter);
  EXPECT_EQ(statusOf("deleteNetworkPrinter", {"Office laser"}), Status::kUnknownPrinter);

  EXPECT_EQ(machine().printers.network().size(), 2u);
  EXPECT_THAT(takeEvents(), IsEmpty());
}

TEST_F(PrintersTest, ANetworkPrinterCannotBeUnplugged) {
  addNetwork("10.0.0.5", "Hall");
  const std::uint16_t number = machine().printers.network().at(0)->number;

  simulator.change(
      [&](MachineState& now) { EXPECT_EQ(now.printers.unplug(number), Status::kUnknownPrinter); });

  EXPECT_EQ(machine().printers.network().size(), 1u);
}

}  // namespace
}  // namespace velsim
