// Every command against the simulated service, which refuses requests that it does not understand.

#include <csignal>
#include <memory>

#include "tests/velctl/commands.h"
#include "tests/velctl/velctl_test.h"

namespace velctl_tests {
namespace {

using ::testing::AnyOf;

TEST_F(VelctlAloneTest, VelsimUnderstandsEveryCommand) {
  Process velsim(processes::velsimOptions(bus(), {}));
  ASSERT_TRUE(processes::isReady(velsim)) << velsim.err();

  for (const Command& command : commands()) {
    const Finished finished = velctl(with(command.arguments, "--json"));

    // It may well have no such device.
    EXPECT_THAT(finished.status, AnyOf(velctl::kExitOk, velctl::kExitRefused))
        << command.name << ": " << finished.err;
    EXPECT_NE(velsim.err().find("velsim: " + command.method() + "("), std::string::npos)
        << command.name;
  }

  EXPECT_EQ(velsim.end(SIGTERM).status, 0);
}

}  // namespace
}  // namespace velctl_tests
