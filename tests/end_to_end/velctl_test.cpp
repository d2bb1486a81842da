// velctl as a process: standard streams, exit statuses, several at once.

#include <algorithm>
#include <csignal>
#include <memory>

#include <nlohmann/json.hpp>

#include "base/text.h"
#include "tests/end_to_end/end_to_end_test.h"
#include "vel/apps/local/velctl/exit_codes.h"
#include "vel/apps/local/velsim/exit_codes.h"

namespace end_to_end {
namespace {

using nlohmann::json;
using processes::with;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::StrEq;

// The built-in VMs.
constexpr char kVmsAsText[] =
    "NAME    NUMBER\ndebian  104\nubuntu  103\nwin10   102\nwin11   101\n";

class VelctlProcessTest : public EndToEndTestWithService {
 protected:
  // The requests that velsim has logged since the last call.
  std::string newRequests() {
    const std::string log = settledVelsimLog();
    const std::string added = log.substr(seen_);
    seen_ = log.size();
    return added;
  }

 private:
  std::size_t seen_ = 0;
};

// --- Standard streams ----------------------------------------------------------------------------

TEST_F(VelctlProcessTest, LinesThatTheLibraryPrintsAreSeenNowhere) {
  const Finished list = velctl({"vm", "list"});

  EXPECT_EQ(list.out, kVmsAsText);
  EXPECT_THAT(list.err, IsEmpty());
}

TEST_F(VelctlProcessTest, ATokenComesFromStandardInput) {
  Process::Options options = velctlOptions({"token", "set", "-"});
  options.input = "abc\n\n";
  Process::Options empty = velctlOptions({"token", "set", "-"});
  empty.input = "\n";

  EXPECT_EQ(run(options).status, velctl::kExitDone);
  EXPECT_EQ(run(empty).status, velctl::kExitUsage);
  EXPECT_TRUE(velsimLogs("updateDriveToken(token \"abc\") -> ok"));
}

TEST_F(VelctlProcessTest, ATurboConfigurationComesFromStandardInput) {
  Process::Options options = velctlOptions({"turbo", "set", "046d:0825", "-"});
  options.input = "a=1\n\n";

  EXPECT_EQ(run(options).out, "turbo configuration of 046d:0825 has 3 bytes\n");
  EXPECT_TRUE(velsimLogs("setTurboConfigWithVidPid(vid 1133, pid 2085, config \"a=1\") -> ok"));
}

// A closed stream whose number the next file or socket gets would take in data or messages.
class ClosedStreamsTest : public VelctlProcessTest {
 protected:
  // Every choice of streams to close.
  static constexpr int kChoices = 8;

  static bool isClosed(int choice, int descriptor) { return (choice >> descriptor & 1) != 0; }

  Finished velctlWithout(int choice, const std::vector<std::string>& arguments) const {
    std::string script = "exec \"$0\" \"$@\"";
    for (const int descriptor : {0, 1, 2}) {
      script += isClosed(choice, descriptor) ? ' ' + std::to_string(descriptor) + ">&-" : "";
    }
    Process::Options options = velctlOptions(arguments);
    options.command.insert(options.command.begin(), {"sh", "-c", script});
    return run(options);
  }
};

TEST_F(ClosedStreamsTest, DataGoesToStandardOutputOnly) {
  for (int choice = 0; choice < kChoices; ++choice) {
    SCOPED_TRACE(choice);

    const Finished list = velctlWithout(choice, {"vm", "list"});

    if (isClosed(choice, 1)) {
      EXPECT_EQ(list.status, velctl::kExitOutputLost);
      EXPECT_THAT(list.out, IsEmpty());
      if (!isClosed(choice, 2)) {
        EXPECT_THAT(list.err, StrEq("velctl: writing to standard output: Bad file descriptor\n"));
      }
    } else {
      EXPECT_EQ(list.status, velctl::kExitDone);
      EXPECT_EQ(list.out, kVmsAsText);
    }
  }
}

TEST_F(ClosedStreamsTest, MessagesGoToStandardErrorOnly) {
  for (int choice = 0; choice < kChoices; ++choice) {
    SCOPED_TRACE(choice);

    const Finished refused = velctlWithout(choice, {"device", "attach", "12", "--vm", "nosuch"});
    const Finished wrong = velctlWithout(choice, {"device", "attach"});

    EXPECT_EQ(refused.status, velctl::kExitUnknown);
    EXPECT_EQ(wrong.status, velctl::kExitUsage);
    EXPECT_THAT(refused.out + wrong.out, IsEmpty());
    if (isClosed(choice, 2)) {
      EXPECT_THAT(refused.err + wrong.err, IsEmpty());
    } else {
      EXPECT_THAT(refused.err, HasSubstr("velctl: connectDevice 12 for \"nosuch\": "));
      EXPECT_THAT(wrong.err, HasSubstr("velctl device attach: "));
    }
  }
}

TEST_F(ClosedStreamsTest, AClosedStandardInputIsAnError) {
  const Finished set = velctlWithout(1, {"turbo", "set", "046d:0825", "-"});

  EXPECT_EQ(set.status, velctl::kExitUsage);
  EXPECT_EQ(set.err, "velctl: reading standard input: Bad file descriptor\n");
  EXPECT_THAT(settledVelsimLog(), Not(HasSubstr("setTurboConfigWithVidPid(")));
}

// --- Exit statuses -------------------------------------------------------------------------------

TEST_F(VelctlProcessTest, RefusesAVmThatTheServiceDoesNotHaveAndSendsNothing) {
  const std::vector<std::string> commands[] = {{"vm", "connect", "nosuch"},
                                               {"vm", "start", "nosuch"}};
  for (const std::vector<std::string>& command : commands) {
    SCOPED_TRACE(base::joined(command, " "));
    newRequests();

    const Finished refused = velctl(command);

    EXPECT_EQ(refused.status, velctl::kExitUnknown);
    EXPECT_THAT(refused.out, IsEmpty());
    EXPECT_THAT(refused.err, HasSubstr("\"nosuch\""));
    EXPECT_THAT(refused.err, HasSubstr("; velctl vm list shows its VMs\n"));
    EXPECT_THAT(newRequests(), Not(HasSubstr("(int32 101")));
  }
}

TEST_F(VelctlProcessTest, ReportsAServiceThatDoesNotAnswer) {
  processes::hang(velsim()->pid());

  Process connect(velctlOptions({"vm", "connect", "win11"}));
  Process list(velctlOptions({"vm", "list"}));
  const Finished connected = connect.wait();
  const Finished listed = list.wait();
  velsim()->signal(SIGCONT);

  EXPECT_EQ(connected.status, velctl::kExitNoReply);
  EXPECT_THAT(connected.out, IsEmpty());
  EXPECT_THAT(connected.err, HasSubstr("connectVm for \"win11\": "));
  EXPECT_EQ(listed.status, velctl::kExitNoReply);
}

TEST_F(VelctlProcessTest, WatchEndsWithSuccessWhenInterrupted) {
  for (const int signal : {SIGINT, SIGTERM}) {
    Process watch(velctlOptions({"watch"}));
    ASSERT_TRUE(isWatching(watch));

    const Finished finished = watch.end(signal);

    EXPECT_EQ(finished.status, velctl::kExitDone);
    EXPECT_THAT(finished.out, IsEmpty());
    EXPECT_THAT(finished.err, HasSubstr("watching debian, ubuntu, win10, win11; interrupt to end"));
  }
}

const std::vector<std::string> kCommandsOfEveryKind[] = {{"vm", "list"},
                                                         {"vm", "connect", "win11"},
                                                         {"vm", "start", "win11"},
                                                         {"service", "reset"},
                                                         {"joystick", "watch"}};

class VelctlWithoutServiceTest : public EndToEndTest {};

TEST_F(VelctlWithoutServiceTest, CommandsReportThatThereIsNoService) {
  for (const std::vector<std::string>& command : kCommandsOfEveryKind) {
    SCOPED_TRACE(base::joined(command, " "));

    const Finished failed = velctl(with(command, "--json"));

    EXPECT_EQ(failed.status, velctl::kExitNoService);
    EXPECT_EQ(json::parse(failed.out, nullptr, false).value("/error/kind"_json_pointer, ""),
              "no-service");
    EXPECT_THAT(failed.err, HasSubstr(": no service on the bus; start velserviced, or velsim to "
                                      "try without hardware\n"));
  }
}

TEST_F(VelctlWithoutServiceTest, CommandsReportThatThereIsNoBusAndWhy) {
  const std::string address = bus().address();
  bus().kill();

  for (const std::vector<std::string>& command : kCommandsOfEveryKind) {
    SCOPED_TRACE(base::joined(command, " "));

    const Finished failed = velctl(with(command, "--json"));

    EXPECT_EQ(failed.status, velctl::kExitNoBus);
    EXPECT_EQ(json::parse(failed.out, nullptr, false).value("/error/kind"_json_pointer, ""),
              "no-bus");
    EXPECT_THAT(failed.err, HasSubstr(": the bus cannot be reached: "));
    EXPECT_THAT(failed.err, HasSubstr(address));
    EXPECT_THAT(failed.err, HasSubstr("Connection refused"));
  }
}

TEST_F(VelctlWithoutServiceTest, AnAddressThatIsNoneIsGivenInTheReason) {
  Process::Options options = velctlOptions({"vm", "list"});
  options.environment["QXBUS_ADDRESS"] = "nonsense\x1b[2J";

  const Finished failed = run(options);

  EXPECT_EQ(failed.status, velctl::kExitNoBus);
  EXPECT_THAT(failed.err, HasSubstr("getVmList: the bus cannot be reached: "));
  EXPECT_THAT(failed.err, HasSubstr("nonsense\\x1b[2J"));
  EXPECT_THAT(failed.err, Not(HasSubstr("\x1b")));
}

TEST_F(VelctlWithoutServiceTest, WithoutABusTheServiceIsMissingAtItsSocket) {
  const Finished failed = processes::run(onABareMachine(velctlOptions({"vm", "list"})));
  const Finished status = processes::run(onABareMachine(velctlOptions({"status"})));

  EXPECT_EQ(failed.status, velctl::kExitNoService);
  EXPECT_THAT(failed.err, HasSubstr("getVmList: no service listens at " + folder() +
                                    "/runtime/velproxy/vel: No such file or directory; start "));
  EXPECT_EQ(status.status, velctl::kExitNoService);
  EXPECT_THAT(status.out, HasSubstr("bus      direct\n"));
  EXPECT_THAT(status.out, HasSubstr("service  absent"));
}

// A machine with nothing set up: the service listens itself, and the client finds it.
TEST_F(VelctlWithoutServiceTest, WithoutABusVelctlAndVelsimFindEachOther) {
  bus().kill();
  Process velsim(onABareMachine(options({VELSIM_PATH})));
  ASSERT_TRUE(processes::isReady(velsim)) << velsim.err();
  EXPECT_THAT(velsim.err(),
              HasSubstr("velsim: ready at " + folder() + "/runtime/velproxy/vel, pid "));

  const Finished status = processes::run(onABareMachine(velctlOptions({"status"})));
  const Finished second = processes::run(onABareMachine(options({VELSIM_PATH})));
  Process watch(onABareMachine(velctlOptions({"watch", "win11"})));
  ASSERT_TRUE(isWatching(watch)) << watch.err();
  velsim.end(SIGKILL);
  Process again(onABareMachine(options({VELSIM_PATH})));
  ASSERT_TRUE(processes::isReady(again)) << again.err();
  const bool isReported = comesTrue([&] {
    return watch.out().find("the service is gone, and with it the sessions of win11") !=
           std::string::npos;
  });

  EXPECT_EQ(status.status, velctl::kExitDone) << status.err;
  EXPECT_THAT(status.out, HasSubstr("bus      direct\n"));
  EXPECT_THAT(status.out, HasSubstr("service  running\n"));
  EXPECT_EQ(second.status, velsim::kExitNotServing);
  EXPECT_THAT(second.err, HasSubstr("velsim: cannot serve: "));
  EXPECT_THAT(second.err, HasSubstr("listens there"));
  EXPECT_TRUE(isReported) << watch.out();
  EXPECT_EQ(processes::run(onABareMachine(velctlOptions({"vm", "connect", "win11"}))).status,
            velctl::kExitDone);
}

// --- The log -------------------------------------------------------------------------------------

TEST_F(VelctlProcessTest, TheLibraryLogsOnlyErrorsUnlessAsked) {
  const auto logged = [this] {
    const Finished files = run(options({"sh", "-c", "cat \"$QX_APP_DATA\"/*"}));
    return files.out;
  };

  velctl({"vm", "list"});
  EXPECT_THAT(logged(), Not(HasSubstr("vm list size: 4")));

  velctl({"vm", "list", "--verbose"});
  EXPECT_THAT(logged(), HasSubstr("vm list size: 4"));
}

// --- Several commands ----------------------------------------------------------------------------

// The library does not wait for the answer to these requests, which would be lost if the process
// ended at once.
TEST_F(VelctlProcessTest, ARequestWithoutAnAnswerHasReachedTheServiceWhenVelctlEnds) {
  for (int round = 0; round < 20; ++round) {
    newRequests();
    ASSERT_EQ(velctl({"vm", "start", "win11"}).status, velctl::kExitDone);
    ASSERT_THAT(newRequests(), HasSubstr("startManager(vm 101 \"win11\") -> ok"));
    ASSERT_EQ(velctl({"vm", "disconnect", "win11"}).status, velctl::kExitDone);
    ASSERT_THAT(newRequests(), HasSubstr("disconnectVm(vm 101 \"win11\") -> "));
  }
}

TEST_F(VelctlProcessTest, PipesStandUntilTheyAreDestroyedTheVmIsDisconnectedOrTheServiceIsReset) {
  const std::vector<std::string> create = {"pipe", "add", "7", "--vm", "win11"};
  const std::vector<std::string> destroy = {"pipe", "remove", "7", "--vm", "win11"};
  velctl({"vm", "connect", "win11"});

  EXPECT_EQ(velctl(create).status, velctl::kExitDone);
  EXPECT_EQ(velctl(create).status, velctl::kExitRefused);
  EXPECT_EQ(velctl(destroy).status, velctl::kExitDone);
  EXPECT_EQ(velctl(destroy).status, velctl::kExitRefused);

  EXPECT_EQ(velctl(create).status, velctl::kExitDone);
  EXPECT_EQ(velctl({"vm", "disconnect", "win11"}).status, velctl::kExitDone);
  EXPECT_EQ(velctl(destroy).status, velctl::kExitRefused);

  EXPECT_EQ(velctl(create).status, velctl::kExitDone);
  EXPECT_EQ(velctl({"service", "reset"}).status, velctl::kExitDone);
  EXPECT_EQ(velctl(destroy).status, velctl::kExitRefused);
}

TEST_F(VelctlProcessTest, SeveralMayRunAtOnce) {
  std::vector<std::unique_ptr<Process>> running;
  for (int handle = 0; handle < 8; ++handle) {
    running.push_back(std::make_unique<Process>(
        velctlOptions({"pipe", "add", std::to_string(handle), "--vm", "win11"})));
  }
  for (const std::unique_ptr<Process>& process : running) {
    const Finished finished = process->wait();
    EXPECT_EQ(finished.status, velctl::kExitDone) << finished.err;
    EXPECT_EQ(finished.out, "1 pipe of win11 opened\n");
  }

  const Finished destroyed =
      velctl({"pipe", "remove", "0", "1", "2", "3", "4", "5", "6", "7", "--vm", "win11"});
  EXPECT_EQ(destroyed.out, "8 pipes of win11 closed\n");
}

}  // namespace
}  // namespace end_to_end
