// velctl status.

#include "tests/velctl/in_process.h"

namespace velctl_tests {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;

class StatusTest : public InProcessTest {
 protected:
  void expectStatus(velctl::ExitCode status, const std::string& text, const std::string& json,
                    const std::string& error) {
    const Ran asText = velctl("status");
    const Ran asJson = velctl("status", Form::kJson);

    EXPECT_EQ(asText.status, status);
    EXPECT_EQ(asText.out, text);
    EXPECT_THAT(asText.err, HasSubstr(error));
    EXPECT_EQ(asJson.status, status);
    EXPECT_EQ(asJson.out, json + '\n');
  }
};

TEST_F(StatusTest, CountsTheVmsOfAServiceThatRuns) {
  expectStatus(velctl::kExitOk, "bus      reachable\nservice  running\nVMs      1\n",
               R"({"bus":"reachable","service":"running","vms":1})", "");
  EXPECT_THAT(velctl("status").err, IsEmpty());
}

TEST_F(StatusTest, AServiceThatGivesNoVmsDoesNotAnswer) {
  const std::string text = "bus      reachable\nservice  not answering\n";
  const std::string json = R"({"bus":"reachable","service":"not answering","vms":null})";
  bus.answer("getVmList", Reply::error("out of order"));
  expectStatus(velctl::kExitNoAnswer, text, json, "getVmList: no usable answer: out of order; ");
  bus.answer("getVmList", Reply());
  expectStatus(velctl::kExitNoAnswer, text, json, "getVmList: no usable answer: ");
  bus.answer("getVmList", Reply().int32(0));
  expectStatus(velctl::kExitNoAnswer, text, json,
               "getVmList: no usable answer: the service has no VMs; ");
}

TEST_F(StatusTest, WithoutAServiceItIsAbsent) {
  bus.setRegistered(false);

  expectStatus(velctl::kExitNoService, "bus      reachable\nservice  absent\n",
               R"({"bus":"reachable","service":"absent","vms":null})",
               "getVmList: no service on the bus; ");
}

TEST_F(StatusTest, WithoutABusInBetweenTheConnectionIsDirect) {
  isBusDirect = true;
  expectStatus(velctl::kExitOk, "bus      direct\nservice  running\nVMs      1\n",
               R"({"bus":"direct","service":"running","vms":1})", "");
}

TEST_F(StatusTest, WithoutABusInBetweenTheServiceIsAbsentForAReason) {
  isBusDirect = true;
  bus.setRegistered(false);

  expectStatus(velctl::kExitNoService, "bus      direct\nservice  absent\n",
               R"({"bus":"direct","service":"absent","vms":null})",
               "getVmList: scripted:\\x1b[2J: refused; start velserviced, or velsim ");
}

TEST_F(StatusTest, WithoutABusItIsUnreachable) {
  bus.setReachable(false);

  expectStatus(velctl::kExitNoBus, "bus      unreachable\nservice  absent\n",
               R"({"bus":"unreachable","service":"absent","vms":null})",
               "getVmList: the bus cannot be reached: ");
}

}  // namespace
}  // namespace velctl_tests
