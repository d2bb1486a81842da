// velsim as ordinary D-Bus tools see it.

#include <csignal>

#include "tests/end_to_end/end_to_end_test.h"
#include "vel/apps/local/velsim/exit_codes.h"

namespace end_to_end {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::StartsWith;

const char* const kMethods[] = {"resetService",   "getVmListSize",   "getVmList",
                                "connectVm",      "disconnectVm",    "startManager",
                                "createPipe",     "destroyPipe",     "setPortChannelStatus",
                                "onFocusChanged", "updateDriveToken"};

class VelsimTest : public EndToEndTestWithService {
 protected:
  Finished callVel(const std::string& method, const std::vector<std::string>& arguments) const {
    return call("qx.bus.vel." + method, arguments);
  }
};

TEST_F(VelsimTest, RefusesArgumentsThatDoNotFitAndNamesThem) {
  struct Row {
    std::string method;
    std::vector<std::string> arguments;
    std::string error;
  };
  const Row rows[] = {
      {"connectVm",
       {"int32:101", "string:linux", "int32:0", "int32:0"},
       "connectVm: argument 2 (systemType) must be int32, got string"},
      {"connectVm",
       {"int32:101", "int32:1", "int32:0"},
       "connectVm: argument 4 (connectParam) must be int32, got nothing"},
      {"connectVm",
       {"int32:101", "int32:1", "int32:0", "int32:0", "int32:0"},
       "connectVm: argument 5 is one too many, got int32"},
      {"disconnectVm", {"int16:101"}, "disconnectVm: argument 1 (vm) must be int32, got int16"},
      {"startManager", {"uint64:101"}, "startManager: argument 1 (vm) must be int32, got uint64"},
      {"getVmList", {}, "getVmList: argument 1 (unused) must be int32, got nothing"},
      {"getVmListSize", {"int32:1"}, "getVmListSize: argument 1 (vmId) must be string, got int32"},
      {"resetService", {"int32:0"}, "resetService: argument 1 is one too many, got int32"},
      {"createPipe",
       {"int32:101", "int32:1", "array:byte:1,2,3"},
       "createPipe: argument 3 (pipe) must be 268 bytes, got 3"},
      {"destroyPipe",
       {"int32:101", "int32:1"},
       "destroyPipe: argument 3 (pipe) must be bytes, got nothing"},
      {"destroyPipe",
       {"int32:101", "int32:-1"},
       "destroyPipe: argument 2 (count) must be 0 or more, got -1"},
      {"setPortChannelStatus",
       {"int32:101", "int32:1", "double:1"},
       "setPortChannelStatus: argument 3 (status) must be int32, got double"},
      {"onFocusChanged",
       {"int32:101", "int32:1", "int32:7"},
       "onFocusChanged: argument 3 (windowId) must be uint64, got int32"},
      {"updateDriveToken",
       {"string:abc"},
       "updateDriveToken: argument 1 (token) must be bytes, got string"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.error);

    const Finished refused = callVel(row.method, row.arguments);

    EXPECT_NE(refused.status, 0);
    EXPECT_THAT(refused.err, HasSubstr(": " + row.error + "\n"));
    EXPECT_TRUE(velsimLogs(" -> error: " + row.error + "\n")) << velsimLog();
  }
}

TEST_F(VelsimTest, AnswersAnOrdinaryCall) {
  const Finished number = callVel("getVmListSize", {"string:win11"});
  const Finished unknown = callVel("getVmListSize", {"string:nosuch"});

  EXPECT_EQ(number.status, 0) << number.err;
  EXPECT_THAT(number.out, HasSubstr("int32 101"));
  EXPECT_EQ(unknown.status, 0) << unknown.err;
  EXPECT_THAT(unknown.out, HasSubstr("int32 0"));
}

TEST_F(VelsimTest, AnswersAMethodThatItDoesNotHaveWithAnErrorThatNamesIt) {
  const Finished refused = callVel("connectvm", {});

  EXPECT_NE(refused.status, 0);
  EXPECT_THAT(refused.err, StartsWith("Error org.freedesktop.DBus.Error.UnknownMethod"));
  EXPECT_THAT(refused.err, HasSubstr("connectvm"));
}

TEST_F(VelsimTest, CanBeIntrospectedAndPinged) {
  const Finished introspected = call("org.freedesktop.DBus.Introspectable.Introspect", {});
  const Finished pinged = call("org.freedesktop.DBus.Peer.Ping", {});

  EXPECT_EQ(introspected.status, 0) << introspected.err;
  EXPECT_THAT(introspected.out, HasSubstr("<interface name=\"qx.bus.vel\">"));
  for (const char* const method : kMethods) {
    EXPECT_THAT(introspected.out, HasSubstr("<method name=\"" + std::string(method) + "\">"));
  }
  EXPECT_THAT(introspected.out, HasSubstr("<signal name=\"velevent\">"));
  EXPECT_EQ(pinged.status, 0) << pinged.err;
}

TEST_F(VelsimTest, LogsEachRequestOnOneLine) {
  callVel("getVmListSize", {"string:a\nb"});
  callVel("startManager", {"int32:101"});

  EXPECT_THAT(settledVelsimLog(),
              HasSubstr("\nvelsim: getVmListSize(vmId \"a\\x0ab\") -> number 0\n"
                        "velsim: startManager(vm 101 \"win11\") -> ok\n"));
}

TEST_F(VelsimTest, LogsTextsOfClientsAsTheyAreWithoutEffect) {
  callVel("getVmListSize", {"string:%n%s%1$n\x1b[2J\nvelsim: forged"});

  EXPECT_THAT(
      settledVelsimLog(),
      HasSubstr("\nvelsim: getVmListSize(vmId \"%n%s%1$n\\x1b[2J\\x0avelsim: forged\") -> "));
}

TEST_F(VelsimTest, TheNameCannotBeTakenTwice) {
  const Finished second = run(options({VELSIM_PATH}));

  EXPECT_EQ(second.status, velsim::kExitNotServing);
  EXPECT_THAT(second.out, IsEmpty());
  EXPECT_THAT(second.err, HasSubstr("velsim: cannot serve on " + bus().address() + ": "));
  EXPECT_EQ(callVel("getVmList", {"int32:0"}).status, 0);
}

TEST_F(VelsimTest, EndsWhenTheBusEnds) {
  bus().kill();

  EXPECT_EQ(velsim()->wait(), velsim::kExitBusLost);
  EXPECT_THAT(velsimLog(), HasSubstr("velsim: the bus closed the connection"));
  stopVelsim(SIGTERM);
}

class VelsimAloneTest : public EndToEndTest {};

TEST_F(VelsimAloneTest, StopsOnSignals) {
  for (const int signal : {SIGINT, SIGTERM}) {
    startVelsim();

    const Finished stopped = stopVelsim(signal);

    EXPECT_EQ(stopped.status, velsim::kExitStopped);
    EXPECT_THAT(stopped.out, IsEmpty());
    EXPECT_THAT(stopped.err, HasSubstr("velsim: stopped\n"));
  }
}

TEST_F(VelsimAloneTest, LogsNoRequestsWhenQuiet) {
  startVelsim({"--quiet"});

  EXPECT_EQ(velctl({"vm", "connect", "win11"}).status, 0);

  EXPECT_THAT(stopVelsim(SIGTERM).err, Not(HasSubstr("connectVm")));
}

TEST_F(VelsimAloneTest, AnAddressOnTheCommandLineComesFirst) {
  Process::Options other = options({VELSIM_PATH, "--address", bus().address()});
  other.environment["QXBUS_ADDRESS"] = "unix:path=" + folder() + "/nosuch";
  Process velsim(other);

  EXPECT_TRUE(processes::isReady(velsim)) << velsim.err();
  EXPECT_EQ(velctl({"vm", "list"}).status, 0);
  EXPECT_EQ(velsim.end(SIGTERM).status, velsim::kExitStopped);
}

TEST_F(VelsimAloneTest, ReportsAnUnreachableBus) {
  bus().kill();

  const Finished failed = run(options({VELSIM_PATH}));

  EXPECT_EQ(failed.status, velsim::kExitNotServing);
  EXPECT_THAT(failed.err, HasSubstr("velsim: cannot serve on " + bus().address() + ": "));
  EXPECT_THAT(failed.err, HasSubstr("; name another bus with --address or QXBUS_ADDRESS\n"));
}

TEST_F(VelsimAloneTest, WritesNoControlAnswersElsewhereWhenStandardOutputIsClosed) {
  Process::Options closed = options({VELSIM_PATH, "--control", "-"});
  closed.isInputOpen = true;
  closed.isOutClosed = true;
  Process velsim(closed);
  ASSERT_TRUE(processes::isReady(velsim)) << velsim.err();

  velsim.write("list\nplug camera \"Front camera\"\n");

  EXPECT_TRUE(comesTrue([this] {
    return velctl({"device", "list"}).out.find("Front camera") != std::string::npos;
  }));
  const Finished stopped = velsim.end(SIGTERM);
  EXPECT_EQ(stopped.status, velsim::kExitStopped);
  EXPECT_THAT(stopped.err, Not(HasSubstr("plugged in 31")));
}

TEST_F(VelsimAloneTest, RefusesOptionsThatItDoesNotHave) {
  const Finished failed = run(options({VELSIM_PATH, "--foo"}));

  EXPECT_EQ(failed.status, velsim::kExitUsage);
  EXPECT_THAT(failed.out, IsEmpty());
  EXPECT_THAT(failed.err, HasSubstr("--foo; see velsim --help"));
  EXPECT_THAT(failed.err, Not(HasSubstr("Usage")));
}

TEST_F(VelsimAloneTest, PrintsHelpAndVersionAsData) {
  const Finished help = run(options({VELSIM_PATH, "--help"}));
  const Finished version = run(options({VELSIM_PATH, "--version"}));

  EXPECT_EQ(help.status, 0);
  EXPECT_THAT(help.out, HasSubstr("Usage: velsim [OPTIONS]"));
  EXPECT_EQ(version.status, 0);
  EXPECT_THAT(version.out, ::testing::MatchesRegex("velsim [0-9]+\\.[0-9]+\\.[0-9]+\n"));
}

}  // namespace
}  // namespace end_to_end
