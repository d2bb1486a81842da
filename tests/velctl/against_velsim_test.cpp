// velctl against velsim, as a user sees it.

#include <algorithm>
#include <csignal>
#include <memory>
#include <sstream>
#include <utility>

#include "base/text.h"
#include "tests/velctl/process_test.h"
#include "tests/velctl/stories.h"

namespace velctl_tests {
namespace {

using ::testing::HasSubstr;
using velsim_testing::VelsimProcess;

class VelsimTest : public ProcessTest {
 protected:
  void SetUp() override {
    ASSERT_NO_THROW(velsim_ = std::make_unique<VelsimProcess>(processes::velsimOptions(bus(), {})));
  }

  void TearDown() override { EXPECT_EQ(velsim_->stop(), 0) << velsim_->log(); }

  std::size_t logSize() const { return velsim_->log().size(); }
  // Waits until velsim has logged a request that begins with this text, after the first seen bytes
  // of its log.
  bool isAsked(const std::string& request, std::size_t seen = 0) const {
    return comesTrue(
        [&] { return velsim_->log().find("velsim: " + request, seen) != std::string::npos; });
  }

  // A control command of velsim, and its answer.
  std::string type(const std::string& line) { return velsim_->control(line); }

 private:
  std::unique_ptr<VelsimProcess> velsim_;
};

// --- Stories -------------------------------------------------------------------------------------

class StoryTest : public VelsimTest, public ::testing::WithParamInterface<Story> {
 protected:
  // A line for velsim has double quotes where the step has single ones.
  void runControlCommand(const Step& step) {
    std::string line = step.command;
    std::replace(line.begin(), line.end(), '\'', '"');
    ASSERT_EQ(type(line) + '\n', step.out);
  }

  void runCommand(const Step& step) {
    std::vector<std::string> arguments = wordsOf(step.command);
    if (step.form == Form::kJson) {
      arguments.emplace_back("--json");
    }
    const std::size_t seen = logSize();

    const Finished finished = velctl(arguments);

    ASSERT_EQ(finished.status, step.status) << finished.err;
    ASSERT_EQ(step.normalize ? step.normalize(finished.out) : finished.out, step.out);
    ASSERT_THAT(finished.err, HasSubstr(step.err));
    ASSERT_TRUE(isAsked(step.method + "(", seen));
  }
};

TEST_P(StoryTest, GoesAsWritten) {
  for (const Step& step : GetParam().steps) {
    SCOPED_TRACE(step.command);
    if (step.method.empty()) {
      ASSERT_NO_FATAL_FAILURE(runControlCommand(step));
    } else {
      ASSERT_NO_FATAL_FAILURE(runCommand(step));
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Of, StoryTest, ::testing::ValuesIn(stories()),
                         [](const auto& row) { return row.param.name; });

}  // namespace
}  // namespace velctl_tests
