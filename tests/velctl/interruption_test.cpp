// Interrupted commands.

#include <csignal>
#include <string>
#include <vector>

#include "tests/velctl/process_test.h"

namespace velctl_tests {
namespace {

using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::IsEmpty;

// The service answers nothing, so a command that went on would fail with another status.
TEST_F(FakeServiceTest, AnInterruptEndsTheFirstCallOfACommandAtOnce) {
  struct Row {
    std::string line;
    std::string method;
  };
  const Row rows[] = {
      {"vm list", "getVmList"},
      {"watch", "getVmList"},
      {"joystick watch", "registerJoystickCallback"},
      {"device connect 12 --vm win11", "connectDevice"},
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

TEST_F(FakeServiceTest, AnInterruptedSearchForSharedPrintersIsStopped) {
  for (const int signalNumber : {SIGINT, SIGTERM}) {
    service().hold("searchSharePrinter");
    const std::size_t before = service().requests().size();
    Process search(options("printer shared search 10.0.0.7"));
    ASSERT_TRUE(comesTrue([&] { return service().requests().size() > before; })) << search.err();

    const Finished finished = search.end(signalNumber);

    EXPECT_EQ(finished.status, velctl::kExitInterrupted);
    EXPECT_THAT(finished.out, IsEmpty());
    EXPECT_THAT(finished.err,
                EndsWith("velctl: searchSharePrinter \"10.0.0.7\": interrupted; the service was "
                         "asked to stop the search\n"));
    std::vector<std::string> requests = service().requests();
    requests.erase(requests.begin(), requests.begin() + static_cast<std::ptrdiff_t>(before));
    EXPECT_THAT(requests,
                ElementsAre("searchSharePrinter(string \"10.0.0.7\")", "stopSearchSharePrinter()"));
    service().release();
  }
}

TEST_F(FakeServiceTest, ASearchThatCannotBeStoppedIsReported) {
  service().hold("searchSharePrinter");
  service().answer("stopSearchSharePrinter", FakeService::Error{"out of order"});
  Process search(options("printer shared search 10.0.0.7"));
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
  Process search(options("printer shared search 10.0.0.7"));
  ASSERT_TRUE(comesTrue([&] { return service().requests().size() == 1; })) << search.err();

  search.signal(SIGINT);
  ASSERT_TRUE(comesTrue([&] { return service().requests().size() == 2; })) << search.err();
  const Finished finished = search.end(SIGINT);

  EXPECT_EQ(finished.status, 128 + SIGINT);
  EXPECT_THAT(finished.err, ::testing::Not(::testing::HasSubstr("interrupted")));
}

TEST_F(FakeServiceTest, AnIgnoredInterruptDoesNotEndAWatch) {
  Process::Options ignoring = options("watch");
  ignoring.command.insert(ignoring.command.begin(),
                          {"sh", "-c", "trap '' INT; exec \"$0\" \"$@\""});
  Process watch(ignoring);
  ASSERT_TRUE(isWatching(watch)) << watch.err();

  watch.signal(SIGINT);
  service().emit({std::int32_t{0}, std::int32_t{1}, printerBlock(51, 0, 0, "Laser")});

  EXPECT_TRUE(comesTrue([&] { return !watch.out().empty(); }));
  EXPECT_EQ(watch.end(SIGTERM).status, velctl::kExitOk);
}

}  // namespace
}  // namespace velctl_tests
