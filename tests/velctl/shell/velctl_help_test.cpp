// velctl help, as a process.

#include <string>
#include <vector>

#include "tests/velctl/shell/shell_test.h"
#include "vel/apps/local/velctl/exit_codes.h"

namespace velctl_tests {
namespace {

using processes::Finished;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class VelctlHelpTest : public ShellTest {
 protected:
  Finished velctl(std::vector<std::string> arguments) const {
    arguments.insert(arguments.begin(), VELCTL_PATH);
    return run(arguments);
  }
};

TEST_F(VelctlHelpTest, IsThatOfTheOption) {
  EXPECT_EQ(velctl({"help", "device", "attach"}).out, velctl({"device", "attach", "--help"}).out);
  EXPECT_THAT(velctl({"help", "device", "attach"}).out, HasSubstr("\nExamples:\n  velctl device"));
  EXPECT_THAT(velctl({"help", "device"}).out, HasSubstr("Attach a device to a VM"));
  EXPECT_THAT(velctl({"help"}).out, HasSubstr("Exit status:"));
}

TEST_F(VelctlHelpTest, IsOneObjectInJson) {
  EXPECT_THAT(velctl({"help", "device", "attach", "--json"}).out,
              HasSubstr("\"help\":\"Attach a device to a VM\\nUsage: velctl device attach "));
}

TEST_F(VelctlHelpTest, AnUnknownCommandSuggestsTheNearOnes) {
  const Finished noun = velctl({"help", "devise"});
  EXPECT_EQ(noun.status, velctl::kExitUsage);
  EXPECT_THAT(noun.out, IsEmpty());
  EXPECT_EQ(noun.err,
            "velctl: help: unknown command \"devise\"; did you mean device?; see velctl help\n");

  EXPECT_THAT(velctl({"help", "device", "atach"}).err,
              HasSubstr("unknown command \"device atach\"; did you mean attach?"));
  EXPECT_THAT(velctl({"help", "\x1b[2J"}).err, HasSubstr("\"\\x1b[2J\""));
}

TEST_F(VelctlHelpTest, NeedsNoService) {
  velsim().stop();

  EXPECT_EQ(velctl({"help", "device"}).status, velctl::kExitDone);
  EXPECT_EQ(velctl({"completion", "bash"}).status, velctl::kExitDone);
  EXPECT_EQ(velctl({"completion", "tcsh"}).status, velctl::kExitUsage);
}

}  // namespace
}  // namespace velctl_tests
