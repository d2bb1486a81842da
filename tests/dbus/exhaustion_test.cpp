// A system that runs out of threads, descriptors or memory.

#include <csignal>
#include <cstdlib>
#include <filesystem>

#include "tests/dbus/hostile_test.h"

namespace {

using namespace dbustest;

class ScarceSystem : public DBusTest {
 protected:
  static Process start(const std::string& mode, const std::string& argument = "") {
    std::vector<std::string> arguments = {BUS_PROCESS, mode, "QXBUS_ADDRESS=" + bus().address()};
    if (!argument.empty()) {
      arguments.push_back(argument);
    }
    return Process(helper(arguments));
  }
};

// A thread that cannot be started once ended the process, or the use of the bus; and a death that
// came just then was never reported.
TEST_F(ScarceSystem, MayRunOutOfThreadsForAWhile) {
  auto service = std::make_unique<TestService>();
  Process process = start("threads");
  const std::string first = process.readLine();
  if (first == "no limit") {
    GTEST_SKIP() << "this system does not limit threads";
  }
  EXPECT_THAT(first, testing::StartsWith("no bus: the system cannot start another thread"));
  EXPECT_EQ(process.readLine(), "connected");
  ASSERT_EQ(process.readLine(), "limited");

  service.reset();
  process.signal(SIGUSR1);
  EXPECT_EQ(process.readLine(), "unreported");
  EXPECT_EQ(process.readLine(), "death");
  ASSERT_EQ(process.readLine(), "limited");

  bus().kill();
  bus().start();
  service = std::make_unique<TestService>();
  process.signal(SIGUSR1);
  EXPECT_EQ(process.readLine(), "not there");
  EXPECT_EQ(process.readLine(), "there");
  EXPECT_EQ(process.wait().status, 0);
}

// As programs do that become daemons.
TEST_F(ScarceSystem, MayHaveEveryDescriptorClosedByTheProgram) {
  const TestService service;
  Process process = start("close", "all");

  EXPECT_EQ(process.readLine(), "death");
  EXPECT_EQ(process.readLine(), "there");
}

TEST_F(ScarceSystem, MayHaveItsSocketClosedByTheProgram) {
  const TestService service;
  Process process = start("close", "sockets");

  EXPECT_EQ(process.readLine(), "death");
  EXPECT_EQ(process.readLine(), "there");
}

TEST_F(ScarceSystem, IsNotUsedUpByAskingForWhatIsAbsent) {
  Process process = start("absent");

  const std::string blocks = process.readLine();

  if (blocks == "uncounted") {
    GTEST_SKIP() << "memory is not counted in this build";
  }
  ASSERT_NE(blocks, "");
  EXPECT_LT(std::atoi(blocks.c_str()), 100);
}

// Interfaces of a service have the same match rules, each for itself. One that had not come so far
// as to add its own took those of another away.
TEST_F(ScarceSystem, TakesNoNewsFromOneInterfaceWhenAnotherFindsNoMemory) {
  Process process = start("memory");

  const std::string failures = process.readLine();

  if (failures == "0") {
    GTEST_SKIP() << "memory is not counted in this build";
  }
  EXPECT_GT(std::atoi(failures.c_str()), 20);
  EXPECT_EQ(process.readLine(), "0") << "deaths were not reported";
}

// --- Without a bus -------------------------------------------------------------------------------

#if defined(TAKES_ALL_DESCRIPTORS)
class ScarceService : public HostileTest {};

TEST_F(ScarceService, SaysWhatTheSystemIsOutOf) {
  std::filesystem::permissions(directory(), std::filesystem::perms(0777));
  Process process(helper({BUS_PROCESS, "scarce", address()}));

  std::vector<std::string> lines;
  for (std::string line = process.readLine(); !line.empty(); line = process.readLine()) {
    lines.push_back(line);
  }

  if (lines == std::vector<std::string>{"no limit"}) {
    GTEST_SKIP() << "this system does not limit threads";
  }
  EXPECT_THAT(lines, testing::IsSupersetOf({testing::HasSubstr("cannot start another thread"),
                                            testing::HasSubstr("no pipe left"),
                                            testing::HasSubstr("Too many open files")}));
  EXPECT_EQ(lines.back(), "running");
}
#endif

class ScarceMemory : public HostileTest {};

// Whatever failed, nothing is left of it: neither a lock that is held nor a turn to read.
TEST_F(ScarceMemory, MayFailAtEachAllocationOfACaller) {
  const qxbus::ServiceHost host(
      address(), "vel",
      {{"echo", [](qxbus::Request request) { request.reply(request.arguments()); }}});
  Process process(helper({BUS_PROCESS, "allocations", address()}));
  const std::string failed = process.readLine();
  if (failed == "uncounted") {
    GTEST_SKIP() << "no allocation can fail in this build";
  }

  EXPECT_GT(std::atoi(failed.c_str()), 10);
  EXPECT_EQ(process.readLine(), "called");
  EXPECT_EQ(process.readLine(), "not sent");
  EXPECT_EQ(process.readLine(), "lost");
}

}  // namespace
