// The stories, one step after the other, against velsim.

#include <algorithm>

#include "tests/velctl/stories.h"
#include "tests/velctl/velsim_test.h"

namespace velctl_tests {
namespace {

using ::testing::HasSubstr;

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
