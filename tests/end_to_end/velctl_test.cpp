// velctl against velsim, as a user runs it.

#include <algorithm>
#include <csignal>
#include <memory>

#include <nlohmann/json.hpp>

#include "tests/end_to_end/end_to_end_test.h"
#include "vel/apps/local/velctl/exit_codes.h"

namespace end_to_end {
namespace {

using nlohmann::json;
using processes::joined;
using processes::with;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::StartsWith;

// Numbers of the built-in VMs.
constexpr int kWin11 = 101;
constexpr char kVmsAsText[] = "debian  104\nubuntu  103\nwin10   102\nwin11   101\n";

std::size_t lines(const std::string& text) {
  return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
}

class VelctlTest : public EndToEndTestWithService {
 protected:
  // What velsim was asked since this was last asked.
  std::string newRequests() {
    const std::string log = settledVelsimLog();
    const std::string added = log.substr(seen_);
    seen_ = log.size();
    return added;
  }

 private:
  std::size_t seen_ = 0;
};

TEST_F(VelctlTest, ListsTheVmsWithTheirNumbers) {
  const Finished text = velctl({"vm", "list"});
  const Finished asJson = velctl({"vm", "list", "--json"});

  EXPECT_EQ(text.status, velctl::kExitOk);
  EXPECT_EQ(text.out, kVmsAsText);
  EXPECT_EQ(asJson.status, velctl::kExitOk);
  EXPECT_EQ(asJson.out, R"({"vms":[{"vm":"debian","number":104},{"vm":"ubuntu","number":103},)"
                        R"({"vm":"win10","number":102},{"vm":"win11","number":101}]})"
                        "\n");
}

TEST_F(VelctlTest, KeepsTheLinesThatTheLibraryPrintsOutOfTheData) {
  const Finished list = velctl({"vm", "list"});

  EXPECT_EQ(list.out, kVmsAsText);
  EXPECT_THAT(list.err, HasSubstr("set vel log path:" + folder() + "/data"));
}

TEST_F(VelctlTest, ReportsThatTheServiceRuns) {
  const Finished text = velctl({"status"});
  const Finished asJson = velctl({"status", "--json"});

  EXPECT_EQ(text.status, velctl::kExitOk);
  EXPECT_EQ(text.out, "bus      reachable\nservice  running\nVMs      4\n");
  EXPECT_EQ(asJson.status, velctl::kExitOk);
  EXPECT_EQ(json::parse(asJson.out),
            json({{"bus", "reachable"}, {"service", "running"}, {"vms", 4}}));
}

TEST_F(VelctlTest, EveryOperationReachesTheServiceAndAnswersInTextAndInJson) {
  struct Row {
    std::vector<std::string> arguments;
    std::string request;  // as velsim logs it
    std::string text;
    std::string operation;
    bool hasVm;
  };
  const std::string block7 =
      "bytes[268] 65 00 00 00 07 00 00 00 00 00 00 00 75 73 62 00 ...";  // handle 7, name "usb"
  const std::string blockFF = "bytes[268] 65 00 00 00 ff 00 00 00 00 00 00 00 00 00 00 00 ...";
  const Row rows[] = {
      {{"vm", "connect", "win11"},
       "connectVm(int32 101, int32 0, int32 0, int32 0) -> int32 0",
       "win11: connected",
       "connectVm",
       true},
      {{"vm", "connect", "win11", "--system-type", "10", "--share-mode=-2", "--connect-param=3"},
       "connectVm(int32 101, int32 10, int32 -2, int32 3) -> int32 0",
       "win11: connected",
       "connectVm",
       true},
      {{"vm", "start", "win11"},
       "startManager(int32 101) -> int32 0",
       "win11: start requested",
       "startManager",
       true},
      {{"vm", "focus", "win11", "--window", "18446744073709551615"},
       "onFocusChanged(int32 101, int32 1, uint64 18446744073709551615) -> int32 0",
       "win11: focus gained",
       "onFocusChanged",
       true},
      {{"vm", "focus", "win11", "--lost", "--window", "0x3a00007"},
       "onFocusChanged(int32 101, int32 0, uint64 60817415) -> int32 0",
       "win11: focus lost",
       "onFocusChanged",
       true},
      {{"vm", "port", "win11", "3", "-1"},
       "setPortChannelStatus(int32 101, int32 3, int32 -1) -> int32 0",
       "win11: port 3 has status -1",
       "setPortChannelStatus",
       true},
      {{"vm", "token", "abc"},
       "updateDriveToken(bytes[3] 61 62 63) -> int32 0",
       "drive token handed over",
       "updateDriveToken",
       false},
      {{"vm", "disconnect", "win11"},
       "disconnectVm(int32 101) -> int32 ",  // 0 the first time, then not connected
       "win11: disconnect requested",
       "disconnectVm",
       true},
      {{"reset"}, "resetService() -> int32 0", "the service has been reset", "resetService", false},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(joined(row.arguments));
    newRequests();

    const Finished text = velctl(row.arguments);

    EXPECT_EQ(text.status, velctl::kExitOk) << text.err;
    EXPECT_EQ(text.out, row.text + "\n");
    EXPECT_THAT(newRequests(), HasSubstr("velsim: " + row.request));

    const Finished asJson = velctl(with(row.arguments, "--json"));

    EXPECT_EQ(asJson.status, velctl::kExitOk) << asJson.err;
    json expected = {{"operation", row.operation}, {"status", 0}};
    if (row.hasVm) {
      expected["vm"] = "win11";
      expected["number"] = kWin11;
    }
    EXPECT_EQ(json::parse(asJson.out, nullptr, false), expected);
    EXPECT_EQ(lines(asJson.out), 1u);
    EXPECT_THAT(newRequests(), HasSubstr("velsim: " + row.request));
  }

  const Finished created = velctl({"pipe", "create", "win11", "7,usb,data", "0xff"});
  EXPECT_EQ(created.out, "win11: 2 pipes created\n");
  EXPECT_THAT(newRequests(), HasSubstr("velsim: createPipe(int32 101, int32 2, " + block7 + ", " +
                                       blockFF + ") -> int32 0"));
  const Finished destroyed = velctl({"pipe", "destroy", "win11", "7,usb,data", "--json"});
  EXPECT_EQ(json::parse(destroyed.out, nullptr, false),
            json({{"operation", "destroyPipe"}, {"vm", "win11"}, {"number", 101}, {"status", 0}}));
  EXPECT_THAT(newRequests(),
              HasSubstr("velsim: destroyPipe(int32 101, int32 1, " + block7 + ") -> int32 0"));
}

TEST_F(VelctlTest, ReportsTheStatusWithWhichTheServiceRefuses) {
  const Finished text = velctl({"pipe", "destroy", "win11", "7"});
  const Finished asJson = velctl({"pipe", "destroy", "win11", "7", "--json"});

  EXPECT_EQ(text.status, velctl::kExitRefused);
  EXPECT_THAT(text.out, IsEmpty());
  EXPECT_THAT(text.err,
              HasSubstr("velctl: destroyPipe for \"win11\": the service answered status 3;"));
  EXPECT_EQ(asJson.status, velctl::kExitRefused);
  EXPECT_EQ(json::parse(asJson.out, nullptr, false),
            json({{"operation", "destroyPipe"}, {"vm", "win11"}, {"number", 101}, {"status", 3}}));
}

TEST_F(VelctlTest, RefusesAVmThatTheServiceDoesNotHaveAndSendsNothing) {
  const std::vector<std::string> commands[] = {
      {"vm", "connect", "nosuch"},        {"vm", "start", "nosuch"},
      {"vm", "disconnect", "nosuch"},     {"vm", "focus", "nosuch"},
      {"vm", "port", "nosuch", "1", "1"}, {"pipe", "create", "nosuch", "1"},
      {"pipe", "destroy", "nosuch", "1"}, {"watch", "win11", "nosuch"}};
  for (const std::vector<std::string>& command : commands) {
    SCOPED_TRACE(joined(command));
    newRequests();

    const Finished refused = velctl(command);

    EXPECT_EQ(refused.status, velctl::kExitUnknownVm);
    EXPECT_THAT(refused.out, IsEmpty());
    EXPECT_THAT(refused.err, HasSubstr(" for \"nosuch\": the service has no VM of this name;"));
    EXPECT_THAT(newRequests(), Not(HasSubstr("(int32 101")));
  }
}

TEST_F(VelctlTest, AnEmptyNameStandsForThisMachineWhichIsNumberZero) {
  const Finished connected = velctl({"vm", "connect", ""});

  EXPECT_EQ(connected.status, velctl::kExitRefused);
  EXPECT_THAT(connected.err,
              HasSubstr("connectVm for this machine: the service answered status 1"));
  EXPECT_TRUE(velsimLogs("connectVm(int32 0, int32 0, int32 0, int32 0) -> int32 1"));
}

TEST_F(VelctlTest, ACollaboratorIsNotAttached) {
  const Finished refused = velctl({"vm", "connect", "win11", "--collaborator"});

  EXPECT_EQ(refused.status, velctl::kExitRefused);
  EXPECT_THAT(refused.err, HasSubstr("connectVm for \"win11\": nothing was sent"));
  EXPECT_THAT(settledVelsimLog(), Not(HasSubstr("connectVm(")));
}

TEST_F(VelctlTest, RefusesCommandLinesThatMakeNoSenseWithOneLineAndSendsNothing) {
  struct Row {
    std::vector<std::string> arguments;
    std::string error;
  };
  const std::string longName(128, 'x');
  const std::string tooLarge = "18446744073709551616";
  const Row rows[] = {
      {{}, "velctl: a command is missing; see velctl --help"},
      {{"--json"}, "velctl: a command is missing; see velctl --help"},
      {{"foo"}, "velctl: no command foo; see velctl --help"},
      {{"--foo"}, "velctl: no option --foo; see velctl --help"},
      {{"vm"}, "velctl vm: a command is missing; see velctl vm --help"},
      {{"vm", "lst"}, "velctl vm: no command lst; see velctl vm --help"},
      {{"vm", "list", "win11"}, "velctl vm list: the following argument was not expected: win11; "},
      {{"vm", "list", "reset"}, "velctl vm list: the following argument was not expected: reset; "},
      {{"status", "--foo"}, "velctl status: the following argument was not expected: --foo; "},
      {{"reset", "now"}, "velctl reset: the following argument was not expected: now; "},
      {{"vm", "connect"}, "velctl vm connect: vm is required; see velctl vm connect --help"},
      {{"vm", "connect", "win11", "--system-type", "x"}, "could not convert: --system-type = x;"},
      {{"vm", "connect", "win11", "--system-type", "2147483648"}, "could not convert: "},
      {{"vm", "connect", "win11", "--share-mode"}, "velctl vm connect: "},
      {{"vm", "connect", "win11", "win10"}, "not expected: win10; "},
      {{"vm", "start"}, "velctl vm start: vm is required; "},
      {{"vm", "disconnect"}, "velctl vm disconnect: vm is required; "},
      {{"vm", "focus"}, "velctl vm focus: vm is required; "},
      {{"vm", "focus", "win11", "--window", "-1"},
       "--window: -1: must be a number from 0 to 18446744073709551615, "},
      {{"vm", "focus", "win11", "--window", tooLarge},
       "--window: " + tooLarge + ": must be a number from 0 to "},
      {{"vm", "port", "win11", "1"}, "velctl vm port: status is required; "},
      {{"vm", "port", "win11", "-1", "1"}, "port: -1: must be a number from 0 to 4294967295, "},
      {{"vm", "port", "win11", "4294967296", "1"}, "port: 4294967296: must be a number from 0 to "},
      {{"vm", "token"}, "velctl vm token: token is required; "},
      {{"vm", "token", ""}, "updateDriveToken: the token is empty; "},
      {{"pipe", "create", "win11"}, "velctl pipe create: pipe is required; "},
      {{"pipe", "create", "win11", "x"}, "pipe: x: the handle must be a number "},
      {{"pipe", "create", "win11", ""}, "the handle must be a number "},
      {{"pipe", "create", "win11", "-1"}, "velctl pipe create: "},
      {{"pipe", "create", "win11", "0x"}, "pipe: 0x: the handle must be a number "},
      {{"pipe", "create", "win11", "7x"}, "pipe: 7x: the handle must be a number "},
      {{"pipe", "create", "win11", tooLarge}, "the handle must be a number "},
      {{"pipe", "create", "win11", "1", "y"}, "pipe: y: the handle must be a number "},
      {{"pipe", "create", "win11", "1," + longName}, ": a name has at most 127 bytes; "},
      {{"pipe", "destroy", "win11", "1,a," + longName}, ": a name has at most 127 bytes; "},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(joined(row.arguments));

    const Finished refused = velctl(row.arguments);

    EXPECT_EQ(refused.status, velctl::kExitUsage);
    EXPECT_THAT(refused.out, IsEmpty());
    EXPECT_THAT(refused.err, StartsWith("velctl"));
    EXPECT_THAT(refused.err, HasSubstr(row.error));
    EXPECT_EQ(lines(refused.err), 1u) << refused.err;
  }
  EXPECT_THAT(newRequests(), EndsWith("VMs: 4\n"));  // the line that it is ready
}

TEST_F(VelctlTest, NamesOfPipesMayHave127Bytes) {
  const std::string name(127, 'x');

  EXPECT_EQ(velctl({"pipe", "create", "win11", "1," + name + "," + name}).status, velctl::kExitOk);
}

TEST_F(VelctlTest, ReadsATokenFromStandardInput) {
  Process::Options options = velctlOptions({"vm", "token", "-"});
  options.input = "abc\n";
  Process::Options empty = velctlOptions({"vm", "token", "-"});
  empty.input = "\n";

  EXPECT_EQ(run(options).status, velctl::kExitOk);
  EXPECT_EQ(run(empty).status, velctl::kExitUsage);
  EXPECT_TRUE(velsimLogs("updateDriveToken(bytes[3] 61 62 63) -> int32 0"));
}

TEST_F(VelctlTest, CommonOptionsMayStandBeforeTheCommand) {
  const Finished before = velctl({"--json", "vm", "list"});
  const Finished between = velctl({"vm", "--json", "list"});

  EXPECT_EQ(before.out, velctl({"vm", "list", "--json"}).out);
  EXPECT_EQ(between.out, before.out);
}

TEST_F(VelctlTest, PrintsHelpAndVersionAsData) {
  const Finished help = velctl({"--help"});
  const Finished inner = velctl({"vm", "connect", "--help"});
  const Finished version = velctl({"--version"});

  EXPECT_EQ(help.status, velctl::kExitOk);
  EXPECT_THAT(help.out, HasSubstr("Usage: velctl [OPTIONS] SUBCOMMAND"));
  EXPECT_EQ(inner.status, velctl::kExitOk);
  EXPECT_THAT(inner.out, HasSubstr("Usage: velctl vm connect [OPTIONS] vm"));
  EXPECT_EQ(version.status, velctl::kExitOk);
  EXPECT_THAT(version.out, ::testing::MatchesRegex("velctl [0-9]+\\.[0-9]+\\.[0-9]+\n"));
  EXPECT_THAT(help.err + inner.err + version.err, IsEmpty());
}

TEST_F(VelctlTest, HasTheLibraryLogOnlyErrorsUnlessAsked) {
  const auto logged = [this] {
    const Finished files = run(options({"sh", "-c", "cat \"$QX_APP_DATA\"/*"}));
    return files.out;
  };

  velctl({"vm", "list"});
  EXPECT_THAT(logged(), Not(HasSubstr("vm list size: 4")));

  velctl({"vm", "list", "--verbose"});
  EXPECT_THAT(logged(), HasSubstr("vm list size: 4"));
}

TEST_F(VelctlTest, FailsWhenItsDataCannotBeWritten) {
  Process::Options options = velctlOptions({"vm", "list"});
  options.isOutClosed = true;

  const Finished closed = run(options);

  EXPECT_EQ(closed.status, velctl::kExitOutputFailed);
  EXPECT_THAT(closed.err, HasSubstr("velctl: writing to standard output: "));
}

// Nothing waits for the answer to these requests, and they were lost when the process that sent
// them ended at once.
TEST_F(VelctlTest, ARequestThatNothingWaitsForHasReachedTheServiceWhenVelctlEnds) {
  for (int round = 0; round < 20; ++round) {
    newRequests();
    ASSERT_EQ(velctl({"vm", "start", "win11"}).status, velctl::kExitOk);
    ASSERT_THAT(newRequests(), HasSubstr("startManager(int32 101) -> int32 0"));
    ASSERT_EQ(velctl({"vm", "disconnect", "win11"}).status, velctl::kExitOk);
    ASSERT_THAT(newRequests(), HasSubstr("disconnectVm(int32 101) -> int32 "));
  }
}

TEST_F(VelctlTest, PipesStandUntilTheyAreDestroyedTheVmIsDisconnectedOrTheServiceIsReset) {
  const std::vector<std::string> create = {"pipe", "create", "win11", "7"};
  const std::vector<std::string> destroy = {"pipe", "destroy", "win11", "7"};
  velctl({"vm", "connect", "win11"});

  EXPECT_EQ(velctl(create).status, velctl::kExitOk);
  EXPECT_EQ(velctl(create).status, velctl::kExitRefused);
  EXPECT_EQ(velctl(destroy).status, velctl::kExitOk);
  EXPECT_EQ(velctl(destroy).status, velctl::kExitRefused);

  EXPECT_EQ(velctl(create).status, velctl::kExitOk);
  EXPECT_EQ(velctl({"vm", "disconnect", "win11"}).status, velctl::kExitOk);
  EXPECT_EQ(velctl(destroy).status, velctl::kExitRefused);

  EXPECT_EQ(velctl(create).status, velctl::kExitOk);
  EXPECT_EQ(velctl({"reset"}).status, velctl::kExitOk);
  EXPECT_EQ(velctl(destroy).status, velctl::kExitRefused);
}

TEST_F(VelctlTest, SeveralMayRunAtOnce) {
  std::vector<std::unique_ptr<Process>> running;
  for (int handle = 0; handle < 8; ++handle) {
    running.push_back(std::make_unique<Process>(
        velctlOptions({"pipe", "create", "win11", std::to_string(handle)})));
  }
  for (const std::unique_ptr<Process>& process : running) {
    const Finished finished = process->wait();
    EXPECT_EQ(finished.status, velctl::kExitOk) << finished.err;
    EXPECT_EQ(finished.out, "win11: 1 pipe created\n");
  }

  const Finished destroyed =
      velctl({"pipe", "destroy", "win11", "0", "1", "2", "3", "4", "5", "6", "7"});
  EXPECT_EQ(destroyed.out, "win11: 8 pipes destroyed\n");
}

TEST_F(VelctlTest, ReportsAServiceThatDoesNotAnswer) {
  velsim()->signal(SIGSTOP);

  Process connect(velctlOptions({"vm", "connect", "win11"}));
  Process list(velctlOptions({"vm", "list"}));
  const Finished status = velctl({"status", "--json"});
  const Finished connected = connect.wait();
  const Finished listed = list.wait();
  velsim()->signal(SIGCONT);

  EXPECT_EQ(connected.status, velctl::kExitNoAnswer);
  EXPECT_THAT(connected.out, IsEmpty());
  EXPECT_THAT(connected.err, HasSubstr("connectVm for \"win11\": no usable answer: "));
  EXPECT_EQ(listed.status, velctl::kExitNoAnswer);
  EXPECT_EQ(status.status, velctl::kExitNoAnswer);
  EXPECT_EQ(json::parse(status.out, nullptr, false),
            json({{"bus", "reachable"}, {"service", "not answering"}, {"vms", nullptr}}));
}

TEST_F(VelctlTest, WatchEndsWellWhenInterrupted) {
  for (const int signal : {SIGINT, SIGTERM}) {
    Process watch(velctlOptions({"watch"}));
    ASSERT_TRUE(isWatching(watch));

    const Finished finished = watch.end(signal);

    EXPECT_EQ(finished.status, velctl::kExitOk);
    EXPECT_THAT(finished.out, IsEmpty());
    EXPECT_THAT(finished.err, HasSubstr("watching debian, ubuntu, win10, win11; interrupt to end"));
  }
}

const std::vector<std::string> kEveryCommand[] = {{"vm", "list"},
                                                  {"vm", "connect", "win11"},
                                                  {"vm", "start", "win11"},
                                                  {"vm", "disconnect", "win11"},
                                                  {"vm", "focus", "win11"},
                                                  {"vm", "port", "win11", "1", "1"},
                                                  {"vm", "token", "abc"},
                                                  {"pipe", "create", "win11", "7"},
                                                  {"pipe", "destroy", "win11", "7"},
                                                  {"reset"},
                                                  {"watch"},
                                                  {"watch", "win11"}};

class VelctlAloneTest : public EndToEndTest {};

TEST_F(VelctlAloneTest, EveryCommandSaysThatThereIsNoService) {
  for (const std::vector<std::string>& command : kEveryCommand) {
    SCOPED_TRACE(joined(command));

    const Finished failed = velctl(with(command, "--json"));

    EXPECT_EQ(failed.status, velctl::kExitNoService);
    EXPECT_THAT(failed.out, IsEmpty());
    EXPECT_THAT(failed.err, HasSubstr(": no service on the bus; start velserviced, or velsim to "
                                      "try without hardware\n"));
  }
}

TEST_F(VelctlAloneTest, EveryCommandSaysThatThereIsNoBus) {
  bus().kill();

  for (const std::vector<std::string>& command : kEveryCommand) {
    SCOPED_TRACE(joined(command));

    const Finished failed = velctl(with(command, "--json"));

    EXPECT_EQ(failed.status, velctl::kExitNoBus);
    EXPECT_THAT(failed.out, IsEmpty());
    EXPECT_THAT(failed.err, HasSubstr(": the bus at " + bus().address() + " cannot be reached; "));
  }
}

TEST_F(VelctlAloneTest, WithoutAnAddressItIsTheSessionBusThatIsMissing) {
  Process::Options options = velctlOptions({"vm", "list"});
  options.environment["QXBUS_ADDRESS"] = "";

  const Finished failed = run(options);

  EXPECT_EQ(failed.status, velctl::kExitNoBus);
  EXPECT_THAT(failed.err, HasSubstr("getVmList: the session bus cannot be reached; "));
}

TEST_F(VelctlAloneTest, ReportsThatThereIsNoServiceOrNoBus) {
  const Finished noService = velctl({"status"});
  const Finished noServiceJson = velctl({"status", "--json"});
  bus().kill();
  const Finished noBus = velctl({"status"});
  const Finished noBusJson = velctl({"status", "--json"});

  EXPECT_EQ(noService.status, velctl::kExitNoService);
  EXPECT_EQ(noService.out, "bus      reachable\nservice  absent\n");
  EXPECT_EQ(json::parse(noServiceJson.out, nullptr, false),
            json({{"bus", "reachable"}, {"service", "absent"}, {"vms", nullptr}}));
  EXPECT_EQ(noBus.status, velctl::kExitNoBus);
  EXPECT_EQ(noBus.out, "bus      unreachable\nservice  absent\n");
  EXPECT_EQ(json::parse(noBusJson.out, nullptr, false),
            json({{"bus", "unreachable"}, {"service", "absent"}, {"vms", nullptr}}));
}

}  // namespace
}  // namespace end_to_end
