#include "tests/velctl/manual/manual.h"

#include <fstream>
#include <sstream>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/processes/process.h"
#include "vel/apps/local/velctl/exit_codes.h"
#include "vel/apps/local/velctl/line/command.h"
#include "vel/apps/local/velctl/line/command_line.h"

namespace velctl_manual {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

TEST(ManualTest, IsThePageInTheFolderOfDocuments) {
  std::ostringstream page;
  page << std::ifstream(VELCTL_MANUAL).rdbuf();

  EXPECT_EQ(page.str(), manualPage()) << "write it anew: build the target velctl_manual";
}

// As a reader has it.
TEST(ManualTest, ShowsEachCommandExampleAndExitStatus) {
  processes::Process::Options options;
  options.command = {"man", "-l", VELCTL_MANUAL};
  options.environment = {{"MANWIDTH", "1000"},
                         {"LC_ALL", "C.UTF-8"},
                         {"MANPAGER", "cat"},
                         {"MAN_KEEP_FORMATTING", ""}};
  const processes::Finished page = processes::run(options);
  if (page.status == 127) {
    GTEST_SKIP() << "there is no man";
  }
  ASSERT_EQ(page.status, 0) << page.err;

  EXPECT_THAT(page.err, IsEmpty());
  for (const velctl::Command& command : velctl::commands()) {
    EXPECT_THAT(page.out, HasSubstr("velctl " + command.path)) << command.path;
    for (const velctl::Example& example : command.examples) {
      EXPECT_THAT(page.out, HasSubstr("velctl " + example.line));
    }
  }
  for (const velctl::ExitMeaning& each : velctl::kExitMeanings) {
    EXPECT_THAT(page.out, HasSubstr(std::to_string(each.code) + ' ' + std::string(each.name)));
  }
}

TEST(ManualTest, EveryCommandHasAnExampleThatIsRight) {
  for (const velctl::Command& command : velctl::commands()) {
    EXPECT_THAT(command.examples, Not(IsEmpty())) << command.path;
    for (const velctl::Example& example : command.examples) {
      EXPECT_EQ(example.line.rfind(command.path, 0), 0U) << example.line;
    }
  }
}

TEST(ManualTest, EveryCommandBelongsToANoun) {
  for (const velctl::Command& command : velctl::commands()) {
    const std::string first = command.path.substr(0, command.path.find(' '));
    bool isThere = false;
    for (const velctl::Noun& noun : velctl::nouns()) {
      isThere = isThere || noun.name == first;
    }
    EXPECT_TRUE(isThere) << command.path;
  }
}

}  // namespace
}  // namespace velctl_manual
