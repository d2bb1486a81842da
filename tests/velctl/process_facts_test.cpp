// What the system says of a process.

#include "vel/apps/local/velctl/checks/process_facts.h"

#include <ostream>

#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/processes/process.h"

namespace velctl_tests {
namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;
using velctl::parseProcessFacts;
using velctl::processFactsOf;

struct LineRow {
  const char* description;
  const char* line;
  const char* command;
  std::chrono::seconds age;
};

void PrintTo(const LineRow& row, std::ostream* out) {
  *out << row.description;
}

class ProcessLineTest : public testing::TestWithParam<LineRow> {};

TEST_P(ProcessLineTest, HasAnAgeAndACommand) {
  const auto facts = parseProcessFacts(GetParam().line);

  ASSERT_TRUE(facts);
  EXPECT_EQ(facts->command, GetParam().command);
  EXPECT_EQ(facts->age, GetParam().age);
}

INSTANTIATE_TEST_SUITE_P(
    Lines, ProcessLineTest,
    testing::Values(
        LineRow{"seconds", "      00:00 sh\n", "sh", 0s},
        LineRow{"minutes", "      59:58 velserviced\n", "velserviced", 59min + 58s},
        LineRow{"hours", "   23:59:59 velserviced\n", "velserviced", 23h + 59min + 59s},
        LineRow{"days", " 1-00:00:01 velserviced\n", "velserviced", 24h + 1s},
        LineRow{"many days", "1234-05:06:07 velserviced", "velserviced",
                1234 * 24h + 5h + 6min + 7s},
        LineRow{"a start after now", "441077234-00:18:40 velserviced\n", "velserviced", 0s},
        LineRow{"a blank", "00:01 tmux: server\n", "tmux: server", 1s},
        LineRow{"a path", "00:01 /usr/libexec/velserviced\n", "/usr/libexec/velserviced", 1s}));

TEST(ProcessFactsTest, OtherLinesAreNoProcess) {
  for (const char* const line :
       {"", "\n", "velserviced", "00:01", "00:01 ", "1 sh", ":01 sh", "a:01 sh", "1-2-03:04:05 sh",
        "99999999999999999999:01 sh", "ps: unrecognized option: p"}) {
    EXPECT_FALSE(parseProcessFacts(line)) << line;
  }
}

TEST(ProcessFactsTest, OfAProcessThatRunsAreItsNameAndItsAge) {
  const processes::Process sleeper([] {
    processes::Process::Options options;
    options.command = {"sleep", "1000"};
    return options;
  }());

  const auto facts = processFactsOf(sleeper.pid());

  ASSERT_TRUE(facts);
  EXPECT_THAT(facts->command, HasSubstr("sleep"));
  EXPECT_GE(facts->age, 0s);
  EXPECT_LT(facts->age, std::chrono::seconds(2 * processes::kPatienceSeconds));
}

TEST(ProcessFactsTest, OfAProcessThatHasEndedThereAreNone) {
  processes::Process::Options options;
  options.command = {"true"};
  processes::Process ended(options);
  const pid_t pid = ended.pid();
  ended.wait();

  EXPECT_FALSE(processFactsOf(pid));
}

TEST(ProcessFactsTest, AUserHasANameOrNone) {
  constexpr uid_t kNameless = 3999999999;

  EXPECT_EQ(velctl::userNameOf(0), "root");
  EXPECT_EQ(velctl::userNameOf(kNameless), std::nullopt);
}

}  // namespace
}  // namespace velctl_tests
