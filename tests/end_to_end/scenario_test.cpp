// velsim with a scenario: its machine, its time line, and a service that leaves and returns.

#include <csignal>
#include <fstream>

#include <nlohmann/json.hpp>

#include "tests/end_to_end/end_to_end_test.h"
#include "tests/under_sanitizer.h"
#include "vel/apps/local/velctl/exit_codes.h"
#include "vel/apps/local/velsim/exit_codes.h"

namespace end_to_end {
namespace {

using ::testing::AllOf;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::StartsWith;

// Over the bus daemon, or straight at the service's socket.
class ScenarioTest : public EndToEndTest, public ::testing::WithParamInterface<bool> {
 protected:
  std::string address() { return GetParam() ? "direct:" + folder() + "/vel" : bus().address(); }

  std::string written(const std::string& text) const {
    const std::string path = folder() + "/scenario.json";
    std::ofstream(path) << text;
    return path;
  }
  void start(const std::string& text) {
    startVelsim({"--scenario", written(text), "--step"}, address());
  }

  Process::Options client(const std::vector<std::string>& arguments) {
    Process::Options options = velctlOptions(arguments);
    options.environment["QXBUS_ADDRESS"] = address();
    return options;
  }
  std::string velctlOut(const std::vector<std::string>& arguments) {
    return processes::run(client(arguments)).out;
  }
};

constexpr char kDay[] = R"({
  "vms": [ { "id": "records", "number": 7 } ],
  "devices": [ { "number": 4, "type": "generic", "name": "Card reader" } ],
  "timeline": [
    { "after": "1h", "do": "plug camera 'Front camera'" },
    { "after": "1h", "do": "leave" },
    { "after": "1h", "do": "return" },
    { "after": "1h", "do": "unplug 'Card reader'" }
  ]
})";

TEST_P(ScenarioTest, TheMachineIsTheOneOfTheFile) {
  start(kDay);

  EXPECT_THAT(velctlOut({"vm", "list"}), AllOf(HasSubstr("records"), Not(HasSubstr("win11"))));
  EXPECT_THAT(velctlOut({"device", "list"}), HasSubstr("Card reader"));
}

TEST_P(ScenarioTest, ClientsSeeADeathAndAReturnWhileVelsimRunsOn) {
  start(kDay);
  Process watch(client({"watch"}));
  ASSERT_TRUE(isWatching(watch)) << watch.err();

  EXPECT_EQ(velsim()->control("step"), "1 step, 3 left, at 3600000 ms");
  EXPECT_THAT(watch.readLine(), HasSubstr("Front camera"));
  EXPECT_EQ(velsim()->control("step"), "1 step, 2 left, at 7200000 ms");
  EXPECT_EQ(processes::run(client({"device", "list"})).status, velctl::kExitNoService);
  EXPECT_EQ(velsim()->control("step"), "1 step, 1 left, at 10800000 ms");
  EXPECT_THAT(watch.readLine(),
              EndsWith("service     the service is gone, and with it the sessions of records"));

  EXPECT_THAT(velctlOut({"device", "list"}), HasSubstr("Front camera"));
  EXPECT_EQ(velsim()->control("step"), "1 step, 0 left, at 14400000 ms");
  EXPECT_THAT(velctlOut({"device", "list"}), Not(HasSubstr("Card reader")));
}

TEST_P(ScenarioTest, LeavingTwiceAndReturningTwiceAreRefused) {
  start(R"({"vms": [ { "id": "records", "number": 7 } ]})");
  constexpr int kRounds = 5;

  for (int round = 0; round < kRounds; ++round) {
    EXPECT_EQ(velsim()->control("leave"), "left the bus");
    EXPECT_THROW(velsim()->control("leave"), std::runtime_error);
    EXPECT_THAT(velsim()->control("return"), StartsWith("back at "));
    EXPECT_THROW(velsim()->control("return"), std::runtime_error);
    EXPECT_THAT(velctlOut({"vm", "list"}), HasSubstr("records"));
  }
}

TEST_P(ScenarioTest, TheServiceLeavesByItsOwnControlObject) {
  start(R"({"vms": [ { "id": "records", "number": 7 } ]})");

  const Finished left = run(options({VELSIM_PATH, "ctl", "--bus", address(), "leave"}));

  EXPECT_EQ(left.status, velsim::kExitStopped) << left.err;
  ASSERT_TRUE(comesTrue([this] {
    return processes::run(client({"vm", "list"})).status == velctl::kExitNoService;
  }));
  EXPECT_THAT(velsim()->control("return"), StartsWith("back at "));
  EXPECT_THAT(velctlOut({"vm", "list"}), HasSubstr("records"));
}

TEST_P(ScenarioTest, AClassroomServesFiftyClientsAtOnce) {
  constexpr std::size_t kClients = kUnderSanitizer ? 10 : 50;
  // Fifty that start on a slow machine would keep each other from their time limits.
  constexpr std::size_t kStartingAtOnce = 5;
  constexpr std::size_t kDevices = 200;
  startVelsim({"--quiet", "--scenario", CLASSROOM_SCENARIO}, address());

  std::vector<std::unique_ptr<Process>> watches;
  while (watches.size() < kClients) {
    for (std::size_t i = 0; i < kStartingAtOnce; ++i) {
      watches.push_back(std::make_unique<Process>(client({"watch"})));
    }
    for (std::size_t i = watches.size() - kStartingAtOnce; i < watches.size(); ++i) {
      ASSERT_TRUE(isWatching(*watches[i])) << watches[i]->err();
    }
  }
  velsim()->control("plug camera 'Teacher camera'");
  for (const auto& watch : watches) {
    EXPECT_THAT(watch->readLine(), HasSubstr("Teacher camera"));
  }
  // Beside the fifty.
  std::vector<std::unique_ptr<Process>> lists;
  for (std::size_t i = 0; i < kStartingAtOnce; ++i) {
    lists.push_back(std::make_unique<Process>(client({"device", "list", "--json"})));
  }
  for (const auto& list : lists) {
    const Finished finished = list->wait();
    const auto answer = nlohmann::json::parse(finished.out, nullptr, false);
    ASSERT_TRUE(answer.contains("devices")) << finished.out << finished.err;
    EXPECT_EQ(answer["devices"].size(), kDevices + 1);
  }
}

INSTANTIATE_TEST_SUITE_P(Over, ScenarioTest, ::testing::Bool(), [](const auto& instance) {
  return instance.param ? "DirectConnection" : "BusDaemon";
});

class ScenarioFileTest : public EndToEndTest {
 protected:
  Finished velsimWith(std::vector<std::string> arguments) const {
    arguments.insert(arguments.begin(), VELSIM_PATH);
    return processes::run(options(arguments));
  }
};

TEST_F(ScenarioFileTest, AWrongFileIsReportedAndNothingStarts) {
  const std::string path = folder() + "/wrong.json";
  std::ofstream(path) << "{\n  \"vms\": 1,\n  \"nothing\": 2\n}\n";

  const Finished wrong = velsimWith({"--scenario", path});

  EXPECT_EQ(wrong.status, velsim::kExitScenario);
  EXPECT_THAT(wrong.out, IsEmpty());
  EXPECT_THAT(wrong.err, StartsWith(path + ":2: vms: expected an array, found 1\n" + path +
                                    ":3: nothing: unknown member; "));
  EXPECT_THAT(wrong.err, HasSubstr("\nvelsim: the scenario has mistakes, nothing was started\n"));
}

TEST_F(ScenarioFileTest, TheBuiltInScenarioPrintedIsTheSameMachine) {
  const Finished printed = velsimWith({"--print-scenario"});
  const std::string path = folder() + "/printed.json";
  std::ofstream(path) << printed.out;
  const Finished again = velsimWith({"--scenario", path, "--print-scenario"});

  EXPECT_EQ(printed.status, 0);
  EXPECT_EQ(again.out, printed.out);
  EXPECT_THAT(again.err, IsEmpty());

  startVelsim();
  const std::string builtIn = velctl({"device", "list"}).out + velctl({"vm", "list"}).out;
  stopVelsim(SIGTERM);
  startVelsim({"--scenario", path});
  EXPECT_EQ(velctl({"device", "list"}).out + velctl({"vm", "list"}).out, builtIn);
}

}  // namespace
}  // namespace end_to_end
