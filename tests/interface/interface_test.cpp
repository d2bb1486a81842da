// Programs that were compiled with the declarations of an earlier version run with the library of
// this one.

#include <gmock/gmock.h>

#include "tests/processes/process.h"
#include "vel/apps/local/velsim/testing/velsim_process.h"

namespace {

TEST(EarlierClientsTest, AClientOfVersion01Works) {
  const velsim_testing::VelsimProcess velsim;
  processes::Process::Options options;
  options.command = {CLIENT};
  options.environment["QXBUS_ADDRESS"] = velsim.address();
  options.environment["QX_APP_DATA"] = CLIENT ".data";

  const processes::Finished client = processes::run(options);

  EXPECT_EQ(client.status, 0);
  EXPECT_EQ(client.err,
            "own 0\n"
            "policy 0\n"
            "VMs 4\n"
            "device 11 Memory stick\n"
            "device 12 Built-in camera\n"
            "device 13 Drawing tablet\n"
            "device 14 Label printer\n"
            "device 15 Barcode scanner\n"
            "attach 0\n"
            "attached Built-in camera\n"
            "joysticks 3\n"
            "address 1\n");
}

}  // namespace
