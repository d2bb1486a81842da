// velsim as the tests of a client run it.

#include <csignal>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include <sys/wait.h>
#include <unistd.h>

#include "tests/end_to_end/end_to_end_test.h"
#include "tests/processes/output_pipe.h"

namespace end_to_end {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;
using velsim_testing::VelsimError;

namespace fs = std::filesystem;

std::string socketOf(const VelsimProcess& velsim) {
  return velsim.address().substr(std::string("direct:").size());
}

Finished velctlAt(const VelsimProcess& velsim, const std::vector<std::string>& arguments) {
  Process::Options options;
  options.command = {VELCTL_PATH};
  options.command.insert(options.command.end(), arguments.begin(), arguments.end());
  options.environment = {{"QXBUS_ADDRESS", velsim.address()}, {"QX_LOG_LEVEL", "off"}};
  return processes::run(options);
}

template <typename Action>
std::string errorOf(Action action) {
  try {
    action();
  } catch (const VelsimError& error) {
    return error.what();
  }
  return "no error";
}

TEST(VelsimProcessTest, TakesRequestsAtOnceAndStopsWithSuccess) {
  VelsimProcess velsim;

  const Finished list = velctlAt(velsim, {"vm", "list"});

  EXPECT_EQ(list.status, 0) << list.err;
  EXPECT_TRUE(comesTrue([&] {
    return velsim.log().find("velsim: getVmList() -> ") != std::string::npos;
  })) << velsim.log();
  EXPECT_EQ(velsim.stop(), 0);
  EXPECT_THAT(velsim.log(), HasSubstr("velsim: stopped\n"));
  EXPECT_THAT(velsim.output(), IsEmpty());
  EXPECT_FALSE(fs::exists(socketOf(velsim)));
}

TEST(VelsimProcessTest, IsAtAnAddressThatTheTestMaySet) {
  const VelsimProcess velsim;

  velsim.exportAddress();

  EXPECT_EQ(std::getenv("QXBUS_ADDRESS"), velsim.address());
  ::unsetenv("QXBUS_ADDRESS");
}

TEST(VelsimProcessTest, HasTheAddressOfTheOneBeforeAndAnotherThanTheOneBeside) {
  std::string first;
  {
    const VelsimProcess velsim;
    first = velsim.address();
    const VelsimProcess beside;
    EXPECT_NE(beside.address(), first);
    EXPECT_EQ(velctlAt(beside, {"vm", "list"}).status, 0);
  }

  EXPECT_EQ(VelsimProcess().address(), first);
}

TEST(VelsimProcessTest, RunsControlCommandsAndGivesTheirAnswers) {
  VelsimProcess velsim;

  EXPECT_EQ(velsim.control("plug camera \"Front camera\""), "plugged in 31");
  EXPECT_THAT(velctlAt(velsim, {"device", "list"}).out, HasSubstr("Front camera"));
  EXPECT_EQ(velsim.control(""), "");
  EXPECT_THAT(velsim.control("help"), HasSubstr("\nunplug "));
  EXPECT_EQ(velsim.control("unplug 31"), "unplugged 31");
}

TEST(VelsimProcessTest, GivesTheReasonWhenACommandIsRefused) {
  VelsimProcess velsim;

  EXPECT_THAT(errorOf([&] { velsim.control("juggle 31"); }),
              AllOf(StartsWith("velsim refused \"juggle 31\": "), HasSubstr("juggle")));
  EXPECT_THAT(errorOf([&] { velsim.control("unplug " + std::string(10000, '9')); }),
              HasSubstr("line longer than 4096 bytes"));
  EXPECT_EQ(velsim.control("plug camera C"), "plugged in 31");
}

TEST(VelsimProcessTest, GivesTheReasonWhenVelsimCannotStart) {
  VelsimProcess::Options unknown;
  unknown.arguments = {"--foo"};
  VelsimProcess::Options taken;
  const VelsimProcess first;
  taken.address = first.address();
  VelsimProcess::Options missing;
  missing.program = "/nosuch/velsim";

  EXPECT_THAT(errorOf([&] { const VelsimProcess velsim(unknown); }),
              AllOf(HasSubstr("ended with status 2"), HasSubstr("velsim: "), HasSubstr("--foo")));
  EXPECT_THAT(errorOf([&] { const VelsimProcess velsim(taken); }),
              AllOf(HasSubstr("ended with status 3"), HasSubstr("listens there")));
  EXPECT_THAT(errorOf([&] { const VelsimProcess velsim(missing); }),
              AllOf(HasSubstr("/nosuch/velsim"), HasSubstr("No such file or directory")));
}

TEST(VelsimProcessTest, AnotherProgramInItsPlaceIsReported) {
  VelsimProcess::Options other;
  other.program = "true";

  EXPECT_THAT(errorOf([&] { const VelsimProcess velsim(other); }),
              HasSubstr("has not become ready; it has ended with status 0"));
}

TEST(VelsimProcessTest, CanDieAndStartAnew) {
  VelsimProcess velsim;
  velsim.control("plug camera C");

  EXPECT_EQ(velsim.kill(), 128 + SIGKILL);
  EXPECT_TRUE(velsim.hasEnded());
  EXPECT_NE(velctlAt(velsim, {"vm", "list"}).status, 0);
  EXPECT_THAT(errorOf([&] { velsim.control("list"); }), HasSubstr("signal 9 has ended it"));
  velsim.start();

  EXPECT_EQ(velctlAt(velsim, {"vm", "list"}).status, 0);
  EXPECT_EQ(velsim.control("plug camera C"), "plugged in 31");
}

TEST(VelsimProcessTest, EndsWithTheScopeThatAnExceptionLeaves) {
  std::string socket;
  try {
    const VelsimProcess velsim;
    socket = socketOf(velsim);
    EXPECT_TRUE(fs::is_socket(socket));
    throw std::runtime_error("the test fails");
  } catch (const std::runtime_error&) {
  }

  EXPECT_FALSE(fs::exists(socket));
}

// The process in the place of a test: nothing of it runs any more after SIGKILL.
TEST(VelsimProcessTest, EndsWhenTheTestIsKilled) {
  const processes::OutputPipe addresses;
  const pid_t test = ::fork();
  if (test == 0) {
    // Not the places of this process, which has them open already.
    const fs::path folder = fs::temp_directory_path() / ("killed-" + std::to_string(::getpid()));
    fs::create_directory(folder);
    VelsimProcess::Options options;
    options.address = "direct:" + (folder / "vel").string();
    const VelsimProcess velsim(options);
    const std::string line = socketOf(velsim) + '\n';
    if (::write(addresses.writeEnd(), line.data(), line.size()) > 0) {
      ::pause();
    }
    ::_exit(1);
  }
  std::string socket;
  ASSERT_TRUE(comesTrue([&] {
    socket += addresses.read();
    return !socket.empty() && socket.back() == '\n';
  }));
  socket.pop_back();
  EXPECT_TRUE(fs::is_socket(socket));

  ::kill(test, SIGKILL);
  ::waitpid(test, nullptr, 0);

  EXPECT_TRUE(comesTrue([&] { return !fs::exists(socket); }));
  fs::remove_all(fs::path(socket).parent_path());
}

TEST(VelsimProcessTest, EndsWhenTheTestEndsWithoutDestructors) {
  const VelsimProcess beside;  // so that this process owns the folder, and removes it
  const processes::OutputPipe sockets;
  const pid_t test = ::fork();
  if (test == 0) {
    const VelsimProcess velsim;
    const std::string line = socketOf(velsim) + '\n';
    const bool isWritten = ::write(sockets.writeEnd(), line.data(), line.size()) > 0;
    ::_exit(isWritten ? 0 : 1);
  }
  int status = -1;
  ::waitpid(test, &status, 0);
  std::string socket = sockets.read();
  ASSERT_THAT(socket, StartsWith("/"));
  socket.pop_back();

  EXPECT_EQ(status, 0);
  EXPECT_TRUE(comesTrue([&] { return !fs::exists(socket); }));
}

TEST(VelsimProcessTest, TheParentOptionNeedsAnOpenDescriptor) {
  for (const char* const number : {"77", "-1", "x", "99999999999"}) {
    Process::Options options;
    options.command = {VELSIM_PATH, "--parent", number};

    const Finished failed = processes::run(options);

    EXPECT_EQ(failed.status, 2);
    EXPECT_THAT(failed.err, HasSubstr("\"" + std::string(number) +
                                      "\" is not the number of an open descriptor; see velsim"));
  }
}

}  // namespace
}  // namespace end_to_end
