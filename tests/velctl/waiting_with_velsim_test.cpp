// Watches and searches against velsim, over the bus daemon and without one.

#include <algorithm>
#include <csignal>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include "tests/velctl/process_test.h"
#include "tests/velctl/seen_lines.h"

namespace velctl_tests {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::UnorderedElementsAreArray;
using velsim_testing::VelsimProcess;

enum class Way { kDaemon, kDirect };

class WaitingTest : public ProcessTest, public ::testing::WithParamInterface<Way> {
 protected:
  void SetUp() override { ASSERT_NO_THROW(startVelsim()); }
  void TearDown() override {
    if (velsim_) {
      EXPECT_EQ(velsim_->stop(), 0) << velsim_->log();
    }
  }

  void startVelsim() {
    VelsimProcess::Options started = processes::velsimOptions(bus(), {});
    started.address = address();
    velsim_ = std::make_unique<VelsimProcess>(started);
  }
  void stopVelsim() {
    EXPECT_EQ(velsim_->stop(), 0) << velsim_->log();
    velsim_.reset();
  }

  Process::Options on(const std::string& line) {
    Process::Options there = options(line);
    there.environment["QXBUS_ADDRESS"] = address();
    return there;
  }
  Finished runVelctl(const std::string& line) { return run(on(line)); }
  std::string type(const std::string& line) { return velsim_->control(line); }
  bool isAsked(const std::string& request) const {
    return comesTrue(
        [&] { return velsim_->log().find("velsim: " + request) != std::string::npos; });
  }

  bool isAskedTwice(const std::string& request) const {
    return comesTrue([&] {
      const std::string log = velsim_->log();
      const std::size_t first = log.find(request);
      return first != std::string::npos && log.find(request, first + 1) != std::string::npos;
    });
  }

 private:
  std::string address() {
    return GetParam() == Way::kDaemon ? bus().address()
                                      : "direct:" + (bus().directory() / "vel").string();
  }

  std::unique_ptr<VelsimProcess> velsim_;
};

INSTANTIATE_TEST_SUITE_P(Over, WaitingTest, ::testing::Values(Way::kDaemon, Way::kDirect),
                         [](const auto& row) {
                           return row.param == Way::kDaemon ? "Daemon" : "Direct";
                         });

// --- Watching ------------------------------------------------------------------------------------

// A watch in each form.
class WatchOfVelsimTest : public WaitingTest {
 protected:
  void SetUp() override {
    WaitingTest::SetUp();
    text_ = std::make_unique<Process>(on("watch"));
    json_ = std::make_unique<Process>(on("watch --json"));
    ASSERT_TRUE(isWatching(*text_) && isWatching(*json_)) << text_->err();
  }
  void TearDown() override {
    EXPECT_EQ(text_->end(SIGINT).status, velctl::kExitDone);
    EXPECT_EQ(json_->end(SIGTERM).status, velctl::kExitDone);
    EXPECT_EQ(text_->readLine() + json_->readLine(), "") << "an unexpected event";
    WaitingTest::TearDown();
  }

  // Expects these lines next, and the same events in JSON. Broadcast events take another path, so
  // the order is not fixed.
  void expectEvents(const std::vector<std::string>& expected) {
    std::vector<std::string> lines;
    std::vector<std::string> events;
    std::vector<std::string> expectedEvents;
    for (const std::string& line : expected) {
      lines.push_back(withoutTime(text_->readLine()));
      const std::string json = withoutTime(json_->readLine());
      const auto event = nlohmann::json::parse(json, nullptr, false);
      ASSERT_TRUE(event.is_object()) << json;
      events.push_back(event.value("event", "") + ' ' + event.value("codeName", "") + " (" +
                       std::to_string(event.value("code", 0)) + ')');
      std::string beginning = line.substr(0, line.find(')') + 1);
      beginning.erase(std::unique(beginning.begin(), beginning.end(),
                                  [](char a, char b) { return a == ' ' && b == ' '; }),
                      beginning.end());
      expectedEvents.push_back(beginning);
    }
    EXPECT_THAT(lines, UnorderedElementsAreArray(expected));
    EXPECT_THAT(events, UnorderedElementsAreArray(expectedEvents));
  }

  Process& json() { return *json_; }

 private:
  std::unique_ptr<Process> text_;
  std::unique_ptr<Process> json_;
};

INSTANTIATE_TEST_SUITE_P(Over, WatchOfVelsimTest, ::testing::Values(Way::kDaemon, Way::kDirect),
                         [](const auto& row) {
                           return row.param == Way::kDaemon ? "Daemon" : "Direct";
                         });

TEST_P(WatchOfVelsimTest, ShowsDevicesThatComeAndGo) {
  const std::string stick = "31 \"Stick\", available (1), policy none (0)";
  EXPECT_EQ(type("plug storage Stick"), "plugged in 31");
  expectEvents({"device      device plugged in (4): " + stick,
                "device      storage mounted (64): " + stick});

  EXPECT_EQ(runVelctl("device attach Stick --vm win11").status, velctl::kExitDone);
  expectEvents({"device      storage unmounted (65): " + stick,
                "device      device attached (6): 31 \"Stick\", attached (2), policy none (0), "
                "VM win11"});

  EXPECT_EQ(type("unplug 31"), "unplugged 31");
  expectEvents({"device      device detached (7): " + stick + ", VM win11",
                "device      device unplugged (5): 31 \"Stick\", gone (0), policy none (0)"});

  EXPECT_EQ(type("plug printer \"Hall laser\""), "plugged in 32");
  expectEvents({"printer     printer changed (1): 32 \"Hall laser\", available (1)"});
}

TEST_P(WatchOfVelsimTest, ShowsWhatOtherClientsDo) {
  EXPECT_EQ(runVelctl("new-device ignore 'Drawing tablet'").status, velctl::kExitDone);
  expectEvents(
      {"device      device changed (10): 13 \"Drawing tablet\", ignored (3), policy none (0)",
       "new-device  result of ignoring a new device (3): 7e57:0003 \"Drawing tablet\", succeeded, "
       "result \"ok\""});

  EXPECT_EQ(runVelctl("self-test run 2").status, velctl::kExitDone);
  expectEvents({"printer     printer changed (1): 21 \"Office laser\", available (1)",
                "printer     printer changed (1): 22 \"Photo printer\", available (1)"});

  EXPECT_EQ(runVelctl("command run 7 usb --vm win11").out,
            "{\"id\":7,\"command\":\"usb\",\"answer\":{\"usb\":[]}}\n");
  expectEvents(
      {"command     answer to a command (66): "
       "{\"id\":7,\"command\":\"usb\",\"answer\":{\"usb\":[]}}, VM win11"});
}

// The service reports events of a VM to clients that have named it, and no event names a new VM.
TEST_P(WaitingTest, AWatchAndAWaitLearnOfAVmThatComesWhileTheyRun) {
  Process watch(on("watch --once --kind device"));
  ASSERT_TRUE(isWatching(watch)) << watch.err();
  Process wait(on("wait device 'Drawing tablet' --attached"));
  EXPECT_THAT(type("vm add fresh"), HasSubstr("added VM "));
  EXPECT_TRUE(isAskedTwice("getVmListSize(vmId \"fresh\")"));

  EXPECT_EQ(runVelctl("device attach 13 --vm fresh").status, velctl::kExitDone);

  EXPECT_THAT(watch.wait().out, HasSubstr("13 \"Drawing tablet\", attached (2)"));
  EXPECT_THAT(wait.wait().out, HasSubstr("attached (2)"));
}

TEST_P(WaitingTest, AWatchGoesOnWithTheNextService) {
  Process watch(on("watch"));
  ASSERT_TRUE(isWatching(watch)) << watch.err();

  stopVelsim();
  EXPECT_EQ(withoutTime(watch.readLine()),
            "service     the service is gone, and with it the sessions of debian, ubuntu, win10, "
            "win11");
  startVelsim();

  EXPECT_EQ(withoutTime(watch.readLine()),
            "service     the service is there, with the VMs debian, ubuntu, win10, win11");
  type("plug camera Cam");
  EXPECT_EQ(withoutTime(watch.readLine()),
            "device      device plugged in (4): 31 \"Cam\", available (1), policy none (0)");
}

TEST_P(WaitingTest, AWatchMayBeginBeforeTheService) {
  stopVelsim();
  Process watch(on("watch --device Cam --limit 1"));
  EXPECT_THAT(watch.readLine(), HasSubstr("service     the service is not there: "));

  startVelsim();
  ASSERT_TRUE(isWatching(watch)) << watch.err();
  type("plug camera Cam");

  EXPECT_EQ(watch.wait().status, velctl::kExitDone) << watch.err();
  EXPECT_THAT(seenLines(watch.out()).back(), HasSubstr("31 \"Cam\""));
}

TEST_P(WaitingTest, AnEventIsHandedToACommand) {
  Process::Options counting = on("watch --once --kind device");
  counting.command.insert(counting.command.end(), {"--exec", "sed 's/.*\"name\":/name /'"});
  Process watch(counting);
  ASSERT_TRUE(isWatching(watch)) << watch.err();

  type("plug camera Cam");

  EXPECT_THAT(watch.wait().out, ::testing::StartsWith("name \"Cam\","));
}

// --- Diagnoses -----------------------------------------------------------------------------------

TEST_P(WaitingTest, ADiagnosisShowsItsProgressUntilItIsFinal) {
  ASSERT_EQ(runVelctl("vm connect win11").status, velctl::kExitDone);
  ASSERT_EQ(runVelctl("device attach 12 --vm win11").status, velctl::kExitDone);

  const Finished diagnosis =
      runVelctl("device diagnose 'Built-in camera' --vm win11 --follow 600 --until fine");

  EXPECT_EQ(diagnosis.status, velctl::kExitDone) << diagnosis.err;
  EXPECT_THAT(diagnosis.out, HasSubstr("running (1): checking the device\n"));
  EXPECT_THAT(diagnosis.out, HasSubstr("\nfine (0): "));
}

// --- Searches ------------------------------------------------------------------------------------

TEST_P(WaitingTest, SharedPrintersAreFoundAtFourAddresses) {
  struct Row {
    std::string arguments;
    std::string out;
    std::string err;
  };
  const Row rows[] = {
      {"10.0.0.7",
       "ADDRESS   NAME       DESCRIPTION\n"
       "10.0.0.7  Reception  Ground floor\n"
       "10.0.0.7  Archive    Basement\n",
       ""},
      {"10.0.0.8:631 --json",
       R"({"operation":"searchSharePrinter","address":"10.0.0.8:631","printers":[)"
       R"({"address":"10.0.0.8","name":"Workshop","description":""}]})"
       "\n",
       ""},
      {"192.168.1.20",
       "ADDRESS       NAME    DESCRIPTION\n"
       "192.168.1.20  Studio  Large format\n"
       "192.168.1.20  Proofs  First floor\n"
       "192.168.1.20  Labels  Dispatch\n",
       ""},
      {"10.0.0.9", "", "velctl: no printers\n"},
  };

  // Each takes velsim a second.
  std::vector<std::unique_ptr<Process>> searches;
  for (const Row& row : rows) {
    searches.push_back(std::make_unique<Process>(on("shared-printer search " + row.arguments)));
  }

  for (std::size_t i = 0; i < searches.size(); ++i) {
    SCOPED_TRACE(rows[i].arguments);
    const Finished search = searches[i]->wait();
    EXPECT_EQ(search.status, velctl::kExitDone);
    EXPECT_EQ(search.out, rows[i].out);
    EXPECT_EQ(search.err, rows[i].err);
    const std::string address = rows[i].arguments.substr(0, rows[i].arguments.find(' '));
    EXPECT_TRUE(isAsked("searchSharePrinter(address \"" + address + "\") -> ok"));
  }
}

TEST_P(WaitingTest, ASearchForSharedPrintersIsStoppedByAnotherVelctl) {
  for (const std::string form : {"", " --json"}) {
    Finished searched;
    Finished stopped;
    // On a busy machine a search may be over before it is stopped; then there is another.
    ASSERT_TRUE(comesTrue([&] {
      Process searching(on("shared-printer search 10.0.0.7" + form));
      do {
        stopped = runVelctl("shared-printer stop" + form);
      } while (stopped.status == velctl::kExitRefused && !searching.hasEnded());
      searched = searching.wait();
      return stopped.status == velctl::kExitDone && searched.status == velctl::kExitRefused;
    })) << stopped.err
        << searched.err;

    EXPECT_EQ(stopped.out, form.empty() ? "search stopped\n"
                                        : "{\"operation\":\"stopSearchSharePrinter\",\"status\":0,"
                                          "\"statusName\":\"ok\"}\n");
    const std::string error = R"("status":16,"statusName":"search-stopped",)";
    EXPECT_EQ(searched.out.empty(), form.empty());
    EXPECT_THAT(searched.out, HasSubstr(form.empty() ? "" : error));
    EXPECT_THAT(searched.err, HasSubstr("the service refused with status search-stopped (16): "));
  }
}

// At any moment: before the search is sent, while it runs, and when it is over.
TEST_P(WaitingTest, AnInterruptedSearchLeavesTheServiceIdleWheneverItIsInterrupted) {
  for (int milliseconds = 0; milliseconds < 100; milliseconds += 7) {
    const Finished search =
        runVelctl("shared-printer search 10.0.0.7 --timeout 0." +
                  std::string(milliseconds < 10 ? "00" : "0") + std::to_string(milliseconds));
    ASSERT_EQ(search.status, velctl::kExitNoReply) << search.err;
    ASSERT_EQ(runVelctl("shared-printer stop").status, velctl::kExitRefused)
        << milliseconds << " ms: " << search.err;
  }
}

// --- Joysticks -----------------------------------------------------------------------------------

TEST_P(WaitingTest, AJoystickWatchIsSubscribedUntilItIsInterrupted) {
  const auto subscribers = [this] {
    const std::string out = runVelctl("command run 7 joysticks --json").out;
    const std::string name = R"(\"subscribers\":)";
    const std::size_t at = out.find(name);
    return at == std::string::npos ? out : out.substr(at + name.size(), 1);
  };
  struct Row {
    std::string line;
    std::string begun;
    std::string ended;
  };
  const Row rows[] = {
      {"joystick watch", "subscribed to joystick results; interrupt to end", "subscription ended"},
      {"joystick watch --json",
       R"({"operation":"registerJoystickCallback","status":0,"statusName":"ok"})",
       R"({"operation":"unregisterJoystickCallback","status":0,"statusName":"ok"})"},
  };
  for (const Row& row : rows) {
    Process watch(on(row.line));
    ASSERT_EQ(watch.readLine(), row.begun) << watch.err();
    EXPECT_EQ(subscribers(), "1");

    const Finished finished = watch.end(SIGINT);

    EXPECT_EQ(finished.status, velctl::kExitDone) << finished.err;
    EXPECT_EQ(finished.out, row.begun + '\n' + row.ended + '\n');
    EXPECT_EQ(subscribers(), "0");
  }
}

}  // namespace
}  // namespace velctl_tests
