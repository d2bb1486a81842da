// velsim under control while it runs: its control object, velsim ctl, and service commands.

#include <csignal>
#include <fstream>

#include "tests/end_to_end/end_to_end_test.h"
#include "vel/apps/local/velsim/exit_codes.h"

namespace end_to_end {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

// Over the bus daemon, or straight at the service's socket.
class ControlObjectTest : public EndToEndTest, public ::testing::WithParamInterface<bool> {
 protected:
  void SetUp() override { startVelsim({}, address()); }

  static bool isDirect() { return GetParam(); }
  std::string socket() const { return folder() + "/vel"; }
  std::string address() { return isDirect() ? "direct:" + socket() : bus().address(); }

  Finished ctl(std::vector<std::string> words) {
    words.insert(words.begin(), {VELSIM_PATH, "ctl", "--bus", address()});
    return run(options(words));
  }
  // With an ordinary D-Bus tool.
  Finished dbusSend(const std::string& path, const std::string& method,
                    const std::vector<std::string>& arguments) {
    std::vector<std::string> command = {
        "dbus-send", isDirect() ? "--peer=unix:path=" + socket() : "--bus=" + bus().address(),
        "--print-reply", "--reply-timeout=20000"};
    if (!isDirect()) {
      command.push_back("--dest=qx.bus.vel");
    }
    command.insert(command.end(), {path, method});
    command.insert(command.end(), arguments.begin(), arguments.end());
    return run(options(command));
  }
};

TEST_P(ControlObjectTest, RunsCommandsOfAnOrdinaryDBusTool) {
  const Finished plugged = dbusSend("/qx/velsim/control", "qx.velsim.Control.Run",
                                    {"string:plug camera \"Front camera\""});
  const Finished listed = dbusSend("/qx/velsim/control", "qx.velsim.Control.Run", {"string:list"});
  const Finished help = dbusSend("/qx/velsim/control", "qx.velsim.Control.Help", {});

  EXPECT_THAT(plugged.out, HasSubstr("string \"plugged in 31\n\"")) << plugged.err;
  EXPECT_THAT(listed.out, HasSubstr("Front camera\n"));
  EXPECT_THAT(help.out, HasSubstr("plug TYPE [\"NAME\"] "));
}

TEST_P(ControlObjectTest, RefusesACommandWithTheReason) {
  const Finished refused =
      dbusSend("/qx/velsim/control", "qx.velsim.Control.Run", {"string:plugg"});
  const Finished number = dbusSend("/qx/velsim/control", "qx.velsim.Control.Run", {"int32:7"});

  EXPECT_NE(refused.status, 0);
  EXPECT_THAT(refused.err, HasSubstr("unknown command \"plugg\"; type help for the list"));
  EXPECT_THAT(number.err, StartsWith("Error org.freedesktop.DBus.Error.InvalidArgs"));
}

TEST_P(ControlObjectTest, DescribesItself) {
  const Finished described =
      dbusSend("/qx/velsim/control", "org.freedesktop.DBus.Introspectable.Introspect", {});

  EXPECT_THAT(described.out,
              AllOf(HasSubstr("<interface name=\"qx.velsim.Control\">"),
                    HasSubstr("<method name=\"Run\">"), HasSubstr("<method name=\"Help\">")))
      << described.err;
}

TEST_P(ControlObjectTest, CtlRunsOneCommand) {
  const Finished plugged = ctl({"plug", "camera", "Front camera"});
  const Finished asLine = ctl({"plug tablet \"Slim tablet\""});
  const Finished listed = ctl({"list"});

  EXPECT_EQ(plugged.status, velsim::kExitStopped) << plugged.err;
  EXPECT_EQ(plugged.out, "plugged in 31\n");
  EXPECT_EQ(plugged.err, "");
  EXPECT_EQ(asLine.out, "plugged in 32\n");
  EXPECT_THAT(listed.out, AllOf(HasSubstr("Front camera\n"), HasSubstr("Slim tablet\n")));
}

TEST_P(ControlObjectTest, CtlPassesTheReasonOfARefusalOn) {
  const Finished refused = ctl({"unplug", "-7"});

  EXPECT_EQ(refused.status, velsim::kExitRefused);
  EXPECT_EQ(refused.out, "");
  EXPECT_EQ(refused.err,
            "velsim: ctl: unplug: no device or printer \"-7\" is plugged in; type list for those "
            "that are\n");
}

TEST_P(ControlObjectTest, CtlEndsVelsim) {
  const Finished vanished = ctl({"vanish"});

  EXPECT_EQ(vanished.status, velsim::kExitStopped) << vanished.err;
  constexpr int kNone = 0;
  EXPECT_EQ(stopVelsim(kNone).status, 128 + SIGKILL);
  const Finished after = ctl({"list"});
  EXPECT_EQ(after.status, velsim::kExitNotServing);
  EXPECT_THAT(after.err, StartsWith("velsim: ctl: no velsim runs there: "));
  EXPECT_THAT(after.err, HasSubstr("; start velsim, or name its bus with --bus"));
}

INSTANTIATE_TEST_SUITE_P(Over, ControlObjectTest, ::testing::Bool(), [](const auto& instance) {
  return instance.param ? "DirectConnection" : "BusDaemon";
});

TEST_F(EndToEndTestWithService, AServiceCommandOfVelctlPlugsInADevice) {
  const Finished done = velctl({"command", "run", "7", "plug camera", "--json", "--wait", "60"});
  const Finished vm = velctl({"command", "run", "8", "vm add fresh", "--json", "--wait", "60"});
  const Finished vms = velctl({"vm", "list"});

  EXPECT_EQ(done.status, 0) << done.err;
  EXPECT_THAT(done.out, HasSubstr(R"(plugged in 31)"));
  EXPECT_THAT(vm.out, HasSubstr("added VM 105"));
  EXPECT_THAT(vms.out, HasSubstr("fresh"));
}

TEST_F(EndToEndTest, TheFaultsOfAScenarioShowFromTheStart) {
  const std::string scenario = folder() + "/faults.json";
  std::ofstream(scenario) << R"({"vms": [{"id": "win11", "number": 101}], "faults": [
      {"fault": "slow-start", "ms": 20},
      {"fault": "error", "method": "getVmList", "calls": "2", "text": "out of paper"},
      {"fault": "random-blocks", "method": "getDeviceList"},
      {"fault": "death-after", "method": "getVmList", "calls": "3"}]})";
  startVelsim({"--scenario", scenario});

  const Finished first = velctl({"vm", "list"});
  const Finished second = velctl({"vm", "list"});
  const Finished listed = run(options({VELSIM_PATH, "ctl", "faults"}));
  const Finished third = velctl({"vm", "list"});

  EXPECT_THAT(first.out, HasSubstr("win11"));
  EXPECT_NE(second.status, 0);
  EXPECT_THAT(second.err, HasSubstr("out of paper"));
  EXPECT_THAT(listed.out, HasSubstr("error \"out of paper\"; met 1 of 2\n"));
  EXPECT_THAT(third.out, HasSubstr("win11"));
  constexpr int kNone = 0;
  const Finished dead = stopVelsim(kNone);
  EXPECT_EQ(dead.status, 128 + SIGKILL);
  EXPECT_THAT(dead.err, AllOf(HasSubstr("slow start: the service appears in 20 ms"),
                              HasSubstr("fault 3: seed ")));
}

TEST_F(EndToEndTest, CtlNeedsAVelsimAndACommand) {
  const Finished none = run(options({VELSIM_PATH, "ctl", "list"}));
  const Finished noWords = run(options({VELSIM_PATH, "ctl"}));

  EXPECT_EQ(none.status, velsim::kExitNotServing);
  EXPECT_EQ(none.out, "");
  EXPECT_EQ(none.err,
            "velsim: ctl: no velsim runs there: qx.bus.vel has no owner; start velsim, or name its "
            "bus with --bus or QXBUS_ADDRESS\n");
  EXPECT_EQ(noWords.status, velsim::kExitUsage);
  EXPECT_THAT(noWords.err, HasSubstr("see velsim --help"));
}

}  // namespace
}  // namespace end_to_end
