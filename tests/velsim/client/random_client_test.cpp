// The library as a client of random machines, over direct connections: the operations that return
// lists, records and texts.
//
//   SCENARIO_SEED     first seed, in place of 1. A failure shows the seed of its scenario.
//   SCENARIO_COUNT    number of scenarios, in place of 200, or of 40 under a sanitizer

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <set>

#include <unistd.h>

#include <gmock/gmock.h>

#include "tests/processes/process.h"
#include "tests/under_sanitizer.h"
#include "tests/velsim/scenario/random_scenarios.h"
#include "vel/apps/local/velproxy/vel_proxy.h"
#include "vel/apps/local/velsim/bus_service.h"
#include "vel/apps/local/velsim/control.h"
#include "vel/apps/local/velsim/faults/faults.h"
#include "vel/apps/local/velsim/machine_commands.h"
#include "vel/apps/local/velsim/scenario_file.h"
#include "vel/apps/local/velsim/service/stepped_clock.h"

namespace velsim {
namespace {

// Each connects anew.
constexpr std::uint64_t kUsualCount = kUnderSanitizer ? 40 : 200;

std::uint64_t fromEnvironment(const char* name, std::uint64_t usual) {
  const char* const text = std::getenv(name);
  return text ? std::strtoull(text, nullptr, 10) : usual;
}

// A directory of its own, for a socket.
class SocketDirectory {
 public:
  SocketDirectory() {
    std::string name = (std::filesystem::temp_directory_path() / "velsim-XXXXXX").string();
    path_ = ::mkdtemp(name.data()) != nullptr ? name : "";
  }
  ~SocketDirectory() { std::filesystem::remove_all(path_); }

  SocketDirectory(const SocketDirectory&) = delete;
  SocketDirectory& operator=(const SocketDirectory&) = delete;

  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

// Checks and frees the records.
std::set<unsigned> numbersOf(qx::VelProxy& proxy, const std::list<CommonDevice*>& devices) {
  std::set<unsigned> numbers;
  for (const CommonDevice* const device : devices) {
    EXPECT_LT(::strnlen(device->name, sizeof device->name), sizeof device->name);
    numbers.insert(device->devNumber);
  }
  proxy.FreeDeviceList(devices);
  return numbers;
}

std::set<unsigned> numbersOf(const std::list<PrinterDevice*>& printers) {
  std::set<unsigned> numbers;
  for (PrinterDevice* const printer : printers) {
    numbers.insert(printer->devNum);
    std::free(printer);
  }
  return numbers;
}

// Every operation that returns a list, a record or a text.
void readEverything(qx::VelProxy& proxy, const Simulator& simulator) {
  std::set<unsigned> devices;
  std::set<unsigned> printers;
  std::vector<std::string> vms;
  simulator.read([&](const MachineState& machine) {
    for (const auto& [number, device] : machine.devices.all()) {
      devices.insert(number);
    }
    for (const auto& [number, printer] : machine.printers.all()) {
      printers.insert(number);
    }
    for (const auto& [id, number] : machine.vms.numbers()) {
      vms.push_back(id);
    }
  });

  EXPECT_EQ(proxy.GetVmList().size(), vms.size());
  for (const std::string& vm : vms) {
    numbersOf(proxy, proxy.GetDeviceList(vm));
    numbersOf(proxy.GetPrinterList(vm));
    proxy.GetVmIdInt(vm);
    proxy.GetVelCmdHelp(vm);
  }
  for (const unsigned number : numbersOf(proxy, proxy.GetLocalDeviceList())) {
    EXPECT_EQ(devices.count(number) + printers.count(number), 1u) << number;
    proxy.FreeDeviceList(proxy.GetDeviceStatus(static_cast<unsigned short>(number)));
  }
  for (const unsigned number : printers) {
    EXPECT_EQ(numbersOf(proxy.GetPrinterStatus(static_cast<unsigned short>(number))),
              std::set<unsigned>{number});
  }
  numbersOf(proxy, proxy.GetNetworkPrinterList());
  proxy.FreePolicyList(proxy.GetPolicyListByVidPid());
  proxy.GetPrinterDriverlList("");
  proxy.SearchAllPrinter();
  std::size_t joysticks = 0;
  simulator.read([&](const MachineState& machine) { joysticks = machine.joysticks.all().size(); });
  EXPECT_EQ(proxy.GetJoystickDevList().size(), joysticks);
  proxy.GetJoystickMappingList();
  proxy.CheckCameraAuthStat();
}

// The library notices the end of the service before a moment later, and until then finds that one.
bool isConnected(qx::VelProxy& proxy) {
  if (proxy.Init() != 0) {
    return false;
  }
  proxy.GetVmList();
  if (qx::VelProxy::lastError().kind == qx::VelError::Kind::kNone) {
    return true;
  }
  proxy.ReleaseService();
  return false;
}

TEST(RandomClientTest, ReadsEverythingOfRandomMachines) {
  const SocketDirectory directory;
  const std::string address = "direct:" + directory.path() + "/vel";
  ASSERT_EQ(::setenv("QXBUS_ADDRESS", address.c_str(), 1), 0);
  ASSERT_EQ(::setenv("QX_APP_DATA", directory.path().c_str(), 1), 0);
  Log log(true);

  const std::uint64_t first = fromEnvironment("SCENARIO_SEED", 1);
  const std::uint64_t count = fromEnvironment("SCENARIO_COUNT", kUsualCount);
  for (std::uint64_t seed = first; seed < first + count && !HasFailure(); ++seed) {
    SCOPED_TRACE("SCENARIO_SEED=" + std::to_string(seed));
    Random random(seed);
    Mistakes mistakes("random.json");
    const std::optional<Scenario> scenario = parseScenario(randomScenario(random), mistakes);
    ASSERT_TRUE(scenario) << ::testing::PrintToString(mistakes.lines());
    Simulator simulator(scenario->setup, std::make_unique<SteppedClock>());
    Faults faults([](const std::string&) {});
    const BusService service(
        address, simulator, faults, log, [] {}, [] {});
    qx::VelProxy proxy;
    ASSERT_TRUE(processes::comesTrue([&proxy] { return isConnected(proxy); }));

    readEverything(proxy, simulator);
    Control control(simulator, [] {});
    for (const TimelineEntry& entry : scenario->timeline) {
      control.run(entry.line).reason();
    }
    readEverything(proxy, simulator);
  }
}

}  // namespace
}  // namespace velsim
