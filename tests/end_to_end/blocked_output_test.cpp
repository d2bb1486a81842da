// velsim with blocked output: a full pipe whose reader does not read.

#include <chrono>
#include <csignal>

#include "tests/end_to_end/end_to_end_test.h"
#include "tests/processes/output_pipe.h"
#include "vel/apps/local/velsim/exit_codes.h"

namespace end_to_end {
namespace {

using processes::OutputPipe;

constexpr std::size_t kLongRequests = 15;

// Seconds that a program needs to end, with room for a busy machine.
constexpr std::chrono::seconds kPromptly{15};

class BlockedOutputTest : public EndToEndTest {
 protected:
  // The line that logs the request is as long: those of kLongRequests are more than velsim queues.
  Finished sendLongRequest() const {
    return call("qx.bus.vel.getVmListSize", {"string:" + std::string(100000, 'x')});
  }
  bool isServing() const {
    return comesTrue([this] { return velctl({"vm", "list"}).status == 0; });
  }
  static void expectPromptStop(Process* velsim) {
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(velsim->end(SIGTERM).status, velsim::kExitStopped);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, kPromptly);
  }

  OutputPipe output;
};

TEST_F(BlockedOutputTest, ABlockedLogHoldsUpNeitherAnswersNorTheEnd) {
  output.fill();
  Process::Options options = this->options({VELSIM_PATH});
  options.err = output.writeEnd();
  Process velsim(options);
  ASSERT_TRUE(isServing());

  for (std::size_t i = 0; i < kLongRequests; ++i) {
    EXPECT_EQ(sendLongRequest().status, 0);
  }

  expectPromptStop(&velsim);
}

TEST_F(BlockedOutputTest, DroppedLogLinesAreCountedAndReported) {
  output.fill();
  Process::Options options = this->options({VELSIM_PATH});
  options.err = output.writeEnd();
  Process velsim(options);
  ASSERT_TRUE(isServing());
  for (std::size_t i = 0; i < kLongRequests; ++i) {
    sendLongRequest();
  }

  std::string log;
  const auto logs = [&](const std::string& text) {
    return comesTrue([&] {
      log += output.read();
      return log.find(text) != std::string::npos;
    });
  };
  ASSERT_TRUE(logs(" dropped while the output was blocked\n"));
  const std::string request = "velsim: getVmListSize(vmId \"xxx";
  std::size_t logged = 0;
  for (std::size_t at = log.find(request); at != std::string::npos;
       at = log.find(request, at + 1)) {
    ++logged;
  }
  EXPECT_GT(logged, 0u);
  const std::string dropped = std::to_string(kLongRequests - logged) + " log lines dropped";
  EXPECT_NE(log.find("\nvelsim: " + dropped), std::string::npos) << dropped;
  EXPECT_EQ(velctl({"vm", "start", "win11"}).status, 0);
  EXPECT_TRUE(logs("velsim: startManager(vm 101 \"win11\") -> ok\n"));

  expectPromptStop(&velsim);
}

TEST_F(BlockedOutputTest, BlockedControlAnswersHoldUpNeitherRequestsNorTheEnd) {
  output.fill();
  Process::Options options = this->options({VELSIM_PATH, "--control", "-"});
  options.isInputOpen = true;
  options.out = output.writeEnd();
  Process velsim(options);
  ASSERT_TRUE(processes::isReady(velsim));

  velsim.write("list\nlist\nplug camera \"Front camera\"\n");

  EXPECT_TRUE(comesTrue([this] {
    return velctl({"device", "list"}).out.find("Front camera") != std::string::npos;
  }));
  expectPromptStop(&velsim);
}

}  // namespace
}  // namespace end_to_end
