// velctl wait, beside a velsim that changes meanwhile.

#include "tests/velctl/state_test.h"

namespace velctl_tests {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;

class WaitTest : public StateTest {
 protected:
  // Starts a wait for something that is not so yet, and returns when it has looked.
  std::unique_ptr<Process> waitThatHasLooked(const std::string& line, const std::string& method) {
    auto process = std::make_unique<Process>(options(line));
    EXPECT_TRUE(hasLooked(*process, method)) << process->err();
    // The answer to a later request shows that the one to the look has been sent, too.
    EXPECT_EQ(velctl("vm list").status, velctl::kExitDone);
    return process;
  }
  bool hasLooked(Process& process, const std::string& method) {
    return comesTrue([&] {
             return process.hasEnded() || velsim().log().find(method) != std::string::npos;
           }) &&
           !process.hasEnded();
  }
  // Waits for the end of a wait that was successful.
  static std::string outputOf(Process& process) {
    const Finished finished = process.wait();
    EXPECT_EQ(finished.status, velctl::kExitDone) << finished.err;
    return finished.out;
  }
  static Json shownBy(Process& process) { return Json::parse(outputOf(process), nullptr, false); }
};

INSTANTIATE_TEST_SUITE_P(Ways, WaitTest, testing::Values(Way::kBus, Way::kDirect), nameOfWay);

constexpr char kLook[] = "getDeviceList";
constexpr char kPrinterLook[] = "getPrinterList";

// --- The service ---------------------------------------------------------------------------------

TEST_P(WaitTest, EndsAtOnceWhenTheServiceIsThere) {
  startVelsim();

  const Finished text = velctl("wait service");
  const Finished json = velctl("wait service --json");
  const Finished quiet = velctl("wait service --quiet");

  EXPECT_EQ(text.status, velctl::kExitDone);
  EXPECT_EQ(text.out, "the service is there\n");
  EXPECT_THAT(text.err, IsEmpty());
  EXPECT_EQ(jsonOf(json), (Json{{"service", "running"}}));
  EXPECT_EQ(quiet.status, velctl::kExitDone);
  EXPECT_THAT(quiet.out + quiet.err, IsEmpty());
}

TEST_P(WaitTest, EndsWhenTheServiceComes) {
  Process wait(options("wait service"));

  startVelsim();

  EXPECT_EQ(outputOf(wait), "the service is there\n");
}

TEST_P(WaitTest, EndsWhenTheBusComesAndThenTheService) {
  if (isDirect()) {
    GTEST_SKIP() << "there is no bus";
  }
  bus().kill();
  Process wait(options("wait service"));

  bus().start();
  startVelsim();

  EXPECT_EQ(outputOf(wait), "the service is there\n");
}

TEST_P(WaitTest, EndsWithNoReplyWhenTheTimeIsOver) {
  for (const char* const line :
       {"wait service --timeout 0.1 --json", "wait device --timeout 0.1 --json",
        "wait printer --timeout 0.1 --json"}) {
    const Finished finished = velctl(line);

    EXPECT_EQ(finished.status, velctl::kExitNoReply) << line;
    EXPECT_EQ(jsonOf(finished)["error"]["kind"], "no-reply") << line;
    EXPECT_THAT(finished.err, AllOf(HasSubstr("velctl: wait "), HasSubstr("--timeout"))) << line;
  }
}

TEST_P(WaitTest, EndsWhenItIsInterrupted) {
  startVelsim();
  const auto wait = waitThatHasLooked("wait device nothing --json", kLook);

  const Finished finished = wait->end(SIGINT);

  EXPECT_EQ(finished.status, velctl::kExitInterrupted);
  EXPECT_EQ(jsonOf(finished)["error"]["kind"], "interrupted");
}

// --- Devices -------------------------------------------------------------------------------------

TEST_P(WaitTest, EndsAtOnceWhenTheDeviceIsThere) {
  startVelsim();

  for (const char* const device : {"12", "'Built-in camera'"}) {
    const Finished finished = velctl(std::string("wait device ") + device + " --json");
    ASSERT_EQ(finished.status, velctl::kExitDone) << finished.err;
    EXPECT_EQ(jsonOf(finished)["device"], 12);
    EXPECT_EQ(jsonOf(finished)["name"], "Built-in camera");
    EXPECT_EQ(jsonOf(finished)["statusName"], "available");
  }
}

TEST_P(WaitTest, TakesVendorAndProductIdInEitherCase) {
  startVelsim();

  const Json json = jsonOf(velctl("wait device 7E57:0002 --json"));

  EXPECT_EQ(json["device"], 12);
  EXPECT_EQ(json["usbId"], "7e57:0002");
}

TEST_P(WaitTest, ShowsTheDeviceInFull) {
  startVelsim();

  const Finished waited = velctl("wait device 12");
  const Finished shown = velctl("device show 12");

  EXPECT_EQ(waited.status, velctl::kExitDone);
  EXPECT_EQ(waited.out, shown.out);
}

TEST_P(WaitTest, EndsWhenTheDeviceIsPluggedIn) {
  startVelsim();
  const auto wait = waitThatHasLooked("wait device 'Front camera' --json", kLook);

  velsim().control("plug camera \"Other camera\"");
  velsim().control("plug camera \"Front camera\"");

  const Json json = shownBy(*wait);
  EXPECT_EQ(json["name"], "Front camera");
  EXPECT_EQ(json["statusName"], "available");
}

TEST_P(WaitTest, DoesNotTakeADeviceThatIsRemoved) {
  startVelsim();
  velsim().control("plug camera \"Front camera\"");
  const auto wait = waitThatHasLooked("wait device 'Front camera' --attached --json", kLook);

  velsim().control("unplug \"Front camera\"");
  velsim().control("plug camera \"Front camera\"");
  velsim().control("vm connect \"win11\"");
  velsim().control("attach \"Front camera\" \"win11\"");

  const Json json = shownBy(*wait);
  EXPECT_EQ(json["statusName"], "attached");
  EXPECT_EQ(json["vm"], "win11");
  EXPECT_EQ(json["vmNumber"], 101);
}

TEST_P(WaitTest, ForAVmDoesNotTakeTheAttachmentToAnother) {
  startVelsim();
  velsim().control("vm connect \"win10\"");
  velsim().control("vm connect \"win11\"");
  velsim().control("attach 12 \"win10\"");
  const auto byName = waitThatHasLooked("wait device 12 --vm win11 --json", kLook);
  Process byNumber(options("wait device 12 --vm 101 --json"));

  velsim().control("detach 12");
  velsim().control("attach 13 \"win11\"");
  velsim().control("attach 12 \"win11\"");

  for (Process* const wait : {byName.get(), &byNumber}) {
    const Json json = shownBy(*wait);
    EXPECT_EQ(json["device"], 12);
    EXPECT_EQ(json["vm"], "win11");
  }
}

TEST_P(WaitTest, ForAVmThatIsUnknownFailsAtOnce) {
  startVelsim();

  const Finished finished = velctl("wait device --vm nosuch --json");

  EXPECT_EQ(finished.status, velctl::kExitUnknown);
  EXPECT_THAT(finished.err, HasSubstr("velctl vm list shows its VMs"));
}

TEST_P(WaitTest, OutlivesTheService) {
  startVelsim();
  const auto wait = waitThatHasLooked("wait device 'Front camera' --json", kLook);

  velsim().kill();
  velsim().start();
  ASSERT_TRUE(hasLooked(*wait, kLook)) << wait->err();
  velsim().control("plug camera \"Front camera\"");

  EXPECT_EQ(shownBy(*wait)["name"], "Front camera");
}

TEST_P(WaitTest, FindsTheDeviceThatCameWithTheService) {
  Process wait(options("wait device 'Memory stick' --json"));

  startVelsim();

  EXPECT_EQ(shownBy(wait)["name"], "Memory stick");
}

TEST_P(WaitTest, FindsWhatHasChangedWhileTheServiceWasAway) {
  startVelsim();
  velsim().control("unplug \"Memory stick\"");
  const auto wait = waitThatHasLooked("wait device 'Memory stick' --json", kLook);

  // The scenario has the device again.
  velsim().kill();
  velsim().start();

  EXPECT_EQ(shownBy(*wait)["name"], "Memory stick");
}

TEST_P(WaitTest, ReportsAnErrorOfTheService) {
  startVelsim();
  velsim().control("fault getDeviceList * error \"out of order\"");

  const Finished finished = velctl("wait device");

  EXPECT_EQ(finished.status, velctl::kExitErrorReply);
  EXPECT_THAT(finished.err, HasSubstr("out of order"));
}

// --- Printers ------------------------------------------------------------------------------------

TEST_P(WaitTest, EndsAtOnceWhenThePrinterIsThereOrHasTheStatus) {
  startVelsim();

  for (const char* const line :
       {"wait printer 'Office laser' --json", "wait printer 21 --status available --json",
        "wait printer --status 1 --json"}) {
    const Finished finished = velctl(line);
    ASSERT_EQ(finished.status, velctl::kExitDone) << line << finished.err;
    EXPECT_EQ(jsonOf(finished)["printer"], 21) << line;
  }
}

TEST_P(WaitTest, EndsWhenThePrinterGetsTheStatus) {
  startVelsim();
  const auto wait =
      waitThatHasLooked("wait printer 'Office laser' --status paper-jam --json", kPrinterLook);

  velsim().control("trouble \"Photo printer\" paper-jam");
  velsim().control("trouble \"Office laser\" out-of-ink");
  velsim().control("trouble \"Office laser\" paper-jam");

  const Json json = shownBy(*wait);
  EXPECT_EQ(json["printer"], 21);
  EXPECT_EQ(json["statusName"], "paper-jam");
}

TEST_P(WaitTest, EndsWhenThePrinterHasAnotherStatusThanAtFirst) {
  startVelsim();
  velsim().control("trouble \"Office laser\" paper-jam");
  const auto wait = waitThatHasLooked("wait printer 'Office laser' --changed --json", kPrinterLook);

  velsim().control("trouble \"Photo printer\" paper-jam");
  velsim().control("trouble \"Office laser\" offline");

  const Json json = shownBy(*wait);
  EXPECT_EQ(json["printer"], 21);
  EXPECT_EQ(json["statusName"], "offline");
}

TEST_P(WaitTest, TakesTheRemovalOfAPrinterForAChange) {
  startVelsim();
  const auto wait = waitThatHasLooked("wait printer --changed --json", kPrinterLook);

  velsim().control("unplug \"Office laser\"");

  const Json json = shownBy(*wait);
  EXPECT_EQ(json["printer"], 21);
  EXPECT_EQ(json["statusName"], "gone");
}

TEST_P(WaitTest, SeesTheChangeOfAPrinterThatHappenedWhileTheServiceWasAway) {
  startVelsim();
  velsim().control("trouble \"Office laser\" paper-jam");
  const auto wait = waitThatHasLooked("wait printer 'Office laser' --changed --json", kPrinterLook);

  velsim().kill();
  velsim().start();

  EXPECT_EQ(shownBy(*wait)["statusName"], "available");
}

TEST_P(WaitTest, EndsAtOnceForAPrinterThatIsGone) {
  startVelsim();

  const Json json = jsonOf(velctl("wait printer 'No such printer' --status gone --json"));

  EXPECT_EQ(json["statusName"], "gone");
  EXPECT_EQ(json["name"], "No such printer");
}

TEST_P(WaitTest, TakesOneAimForAPrinter) {
  const Finished finished = velctl("wait printer --changed --status 1");

  EXPECT_EQ(finished.status, velctl::kExitUsage);
  EXPECT_THAT(finished.err, HasSubstr("give --status or --changed, not both"));
}

}  // namespace
}  // namespace velctl_tests
