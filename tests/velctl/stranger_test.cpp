// Programs of two users on one machine.

#include <filesystem>

#include <sys/stat.h>

#include "tests/velctl/state_test.h"

namespace velctl_tests {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

class StrangerTest : public StateTest {
 protected:
  void SetUp() override {
    if (!canBeAStranger()) {
      GTEST_SKIP() << "needs root, and setpriv to become another user";
    }
  }
};

INSTANTIATE_TEST_SUITE_P(Ways, StrangerTest, testing::Values(Way::kBus, Way::kDirect), nameOfWay);

// Root may connect to every socket; others are kept out by the mode of this one.
TEST_P(StrangerTest, IsNoServiceAndLearnsNothing) {
  const std::string folder = pathIn("stranger");
  std::filesystem::create_directory(folder);
  ASSERT_EQ(::chown(folder.c_str(), 65534, 65534), 0);
  const std::string place = isDirect() ? "direct:" + folder + "/vel" : address();
  Process::Options options = bus().options(asAStranger({VELSIM_PATH}));
  options.environment["QXBUS_ADDRESS"] = place;
  const Process stranger(options);
  ASSERT_TRUE(processes::isReady(stranger)) << stranger.err();

  for (const char* const line :
       {"device list", "device attach 12 --vm win11", "token set secret"}) {
    const Finished refused = velctl(line, {{"QXBUS_ADDRESS", place}, {"QX_APP_DATA", "/dev/null"}});

    EXPECT_EQ(refused.status, velctl::kExitNoService) << refused.err;
    EXPECT_THAT(refused.err, HasSubstr(std::string("it runs as user ") + kStranger));
  }

  EXPECT_THAT(stranger.err(), AllOf(Not(HasSubstr("getVmList")), Not(HasSubstr("secret")),
                                    Not(HasSubstr("connectDevice"))));
}

TEST_P(StrangerTest, IsNoClientOfADirectService) {
  if (!isDirect()) {
    GTEST_SKIP() << "the bus decides who may send";
  }
  startVelsim();
  // Even if its folder and its mode let it in.
  ASSERT_EQ(::chmod(socket().c_str(), 0666), 0);
  Process::Options stranger = options("device list");
  stranger.command = asAStranger(stranger.command);

  const Finished refused = processes::run(stranger);

  EXPECT_EQ(refused.status, velctl::kExitNoService) << refused.err;
  EXPECT_THAT(refused.err, HasSubstr("it seems to refuse this user, 65534"));
  EXPECT_THAT(velsim().log(), Not(HasSubstr("getVmList")));
}

}  // namespace
}  // namespace velctl_tests
