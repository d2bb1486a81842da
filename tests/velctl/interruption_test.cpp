// Interrupted commands.

#include <csignal>
#include <string>
#include <vector>

#include "tests/velctl/process_test.h"

namespace velctl_tests {
namespace {

using ::testing::Each;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

// The service answers nothing, so a command that went on would fail with another status.
TEST_F(FakeServiceTest, AnInterruptEndsTheFirstCallOfACommandAtOnce) {
  struct Row {
    std::string line;
    std::string method;
  };
  const Row rows[] = {
      {"vm list", "getVmList"},
      {"joystick watch", "registerJoystickCallback"},
      {"device attach 12 --vm win11", "connectDevice"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.line);
    service().hold(row.method);
    const std::size_t before = service().requests().size();
    Process process(options(row.line));
    ASSERT_TRUE(comesTrue([&] { return service().requests().size() > before; })) << process.err();

    const Finished finished = process.end(SIGINT);

    EXPECT_EQ(finished.status, velctl::kExitInterrupted);
    EXPECT_THAT(finished.out, IsEmpty());
  }
}

TEST_F(FakeServiceTest, AnInterruptEndsTheFirstCallOfAWatchAtOnceAndWithSuccess) {
  service().hold("getVmList");
  Process watch(options("watch"));
  ASSERT_TRUE(comesTrue([&] { return !service().requests().empty(); })) << watch.err();

  EXPECT_EQ(watch.end(SIGINT).status, velctl::kExitDone);
}

TEST_F(FakeServiceTest, ASearchThatIsNotDoneInTimeIsStopped) {
  service().hold("searchSharePrinter");

  const Finished search = processes::endedInItsMidst(
      [this](const std::string& seconds) {
        return velctl("shared-printer search 10.0.0.7 --timeout " + seconds);
      },
      [this](const Finished& /*search*/) { return !service().requests().empty(); });

  EXPECT_EQ(search.status, velctl::kExitNoReply);
  EXPECT_THAT(search.err,
              EndsWith("velctl: searchSharePrinter \"10.0.0.7\": not done within the "
                       "time of --timeout; the service was asked to stop the search\n"));
  EXPECT_THAT(service().requests(), ::testing::Contains("stopSearchSharePrinter()"));
}

// The service does not know the search yet, or another client's was the one that it stopped.
TEST_F(FakeServiceTest, AStopThatEndsNoSearchIsRepeated) {
  service().hold("searchSharePrinter");
  service().answer("stopSearchSharePrinter", qxbus::Values{std::int32_t{17}});
  Process search(options("shared-printer search 10.0.0.7"));
  ASSERT_TRUE(comesTrue([&] { return service().requests().size() == 1; })) << search.err();

  search.signal(SIGINT);
  ASSERT_TRUE(comesTrue([&] { return service().requests().size() >= 3; })) << search.err();
  service().answer("stopSearchSharePrinter", qxbus::Values{std::int32_t{0}});
  service().release();

  const Finished finished = search.wait();
  EXPECT_EQ(finished.status, velctl::kExitInterrupted);
}

TEST_F(FakeServiceTest, AnInterruptedSearchForSharedPrintersIsStopped) {
  for (const int signalNumber : {SIGINT, SIGTERM}) {
    service().hold("searchSharePrinter");
    const std::size_t before = service().requests().size();
    Process search(options("shared-printer search 10.0.0.7"));
    ASSERT_TRUE(comesTrue([&] { return service().requests().size() > before; })) << search.err();

    const Finished finished = search.end(signalNumber);

    EXPECT_EQ(finished.status, velctl::kExitInterrupted);
    EXPECT_THAT(finished.out, IsEmpty());
    EXPECT_THAT(finished.err,
                EndsWith("velctl: searchSharePrinter \"10.0.0.7\": interrupted; the service was "
                         "asked to stop the search\n"));
    std::vector<std::string> requests = service().requests();
    requests.erase(requests.begin(), requests.begin() + static_cast<std::ptrdiff_t>(before));
    // The service does not end the search, so it is asked again.
    ASSERT_GE(requests.size(), 2u);
    EXPECT_EQ(requests.front(), "searchSharePrinter(string \"10.0.0.7\")");
    requests.erase(requests.begin());
    EXPECT_THAT(requests, Each("stopSearchSharePrinter()"));
    service().release();
  }
}

TEST_F(FakeServiceTest, ASearchThatCannotBeStoppedIsReported) {
  service().hold("searchSharePrinter");
  service().answer("stopSearchSharePrinter", FakeService::Error{"out of order"});
  Process search(options("shared-printer search 10.0.0.7"));
  ASSERT_TRUE(comesTrue([&] { return service().requests().size() == 1; })) << search.err();

  const Finished finished = search.end(SIGINT);

  EXPECT_EQ(finished.status, velctl::kExitInterrupted);
  EXPECT_THAT(finished.err,
              EndsWith(": interrupted; the search could not be stopped: out of order\n"));
}

// The stop of the search has no answer either.
TEST_F(FakeServiceTest, ASecondInterruptEndsASearchAtOnce) {
  service().hold("searchSharePrinter");
  service().hold("stopSearchSharePrinter");
  Process search(options("shared-printer search 10.0.0.7"));
  ASSERT_TRUE(comesTrue([&] { return service().requests().size() == 1; })) << search.err();

  search.signal(SIGINT);
  ASSERT_TRUE(comesTrue([&] { return service().requests().size() == 2; })) << search.err();
  const Finished finished = search.end(SIGINT);

  EXPECT_EQ(finished.status, 128 + SIGINT);
  EXPECT_THAT(finished.err, ::testing::Not(HasSubstr("interrupted")));
}

TEST_F(FakeServiceTest, AnIgnoredSignalDoesNotEndAWatch) {
  struct Row {
    std::string ignored;
    int ignoredNumber;
    int endNumber;
  };
  for (const Row& row : {Row{"INT", SIGINT, SIGTERM}, Row{"TERM", SIGTERM, SIGINT}}) {
    SCOPED_TRACE(row.ignored);
    Process::Options ignoring = options("watch");
    ignoring.command.insert(ignoring.command.begin(),
                            {"sh", "-c", "trap '' " + row.ignored + "; exec \"$0\" \"$@\""});
    Process watch(ignoring);
    ASSERT_TRUE(isWatching(watch)) << watch.err();

    watch.signal(row.ignoredNumber);
    service().emit({std::int32_t{0}, std::int32_t{1}, printerBlock(51, 0, 0, "Laser")});

    EXPECT_TRUE(comesTrue([&] { return !watch.out().empty(); }));
    EXPECT_EQ(watch.end(row.endNumber).status, velctl::kExitDone);
  }
}

// --- The first call of joystick watch ------------------------------------------------------------

class InterruptedSubscriptionTest : public FakeServiceTest {
 protected:
  InterruptedSubscriptionTest() { service().hold("registerJoystickCallback"); }

  // A watch whose subscription the service has received, and not answered.
  Finished interruptWatch(int signalNumber) {
    const std::size_t before = service().requests().size();
    Process watch(options("joystick watch"));
    EXPECT_TRUE(comesTrue([&] { return service().requests().size() > before; })) << watch.err();
    return watch.end(signalNumber);
  }
};

// Otherwise the service would keep the subscription.
TEST_F(InterruptedSubscriptionTest, IsEndedInTheService) {
  for (const int signalNumber : {SIGINT, SIGTERM}) {
    const std::size_t before = service().requests().size();

    const Finished finished = interruptWatch(signalNumber);

    EXPECT_EQ(finished.status, velctl::kExitInterrupted);
    EXPECT_THAT(finished.out, IsEmpty());
    EXPECT_THAT(finished.err, EndsWith("velctl: registerJoystickCallback: interrupted; the "
                                       "subscription has ended\n"));
    const std::vector<std::string> requests = service().requests();
    ASSERT_EQ(requests.size(), before + 2);
    const std::string subscriber = requests[before].substr(requests[before].find('('));
    EXPECT_EQ(requests[before], "registerJoystickCallback" + subscriber);
    EXPECT_EQ(requests[before + 1], "unregisterJoystickCallback" + subscriber);
  }
}

TEST_F(InterruptedSubscriptionTest, IsReportedWhenTheServiceDoesNotConfirmItsEnd) {
  service().hold("unregisterJoystickCallback");
  const Finished silent = interruptWatch(SIGINT);
  service().release();
  service().hold("registerJoystickCallback");
  service().answer("unregisterJoystickCallback", FakeService::Error{"out of order"});
  const Finished failed = interruptWatch(SIGINT);

  const std::string message =
      "velctl: registerJoystickCallback: interrupted; the service has not confirmed the end of the "
      "subscription: ";
  EXPECT_EQ(silent.status, velctl::kExitInterrupted);
  EXPECT_THAT(silent.err, HasSubstr(message));
  EXPECT_EQ(failed.status, velctl::kExitInterrupted);
  EXPECT_THAT(failed.err, EndsWith(message + "out of order\n"));
}

}  // namespace
}  // namespace velctl_tests
