// velctl status, beside a velsim.

#include <unistd.h>

#include "tests/velctl/state_test.h"

namespace velctl_tests {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;

class StatusProcessTest : public StateTest {};

INSTANTIATE_TEST_SUITE_P(Ways, StatusProcessTest, testing::Values(Way::kBus, Way::kDirect),
                         nameOfWay);

TEST_P(StatusProcessTest, ShowsWhoRunsTheServiceAndSinceWhen) {
  startVelsim();

  const Finished status = velctl("status --json");

  ASSERT_EQ(status.status, velctl::kExitDone) << status.err;
  EXPECT_THAT(status.err, IsEmpty());
  const Json json = jsonOf(status);
  EXPECT_EQ(json["bus"], isDirect() ? "direct" : "reachable");
  EXPECT_EQ(json["address"], address());
  EXPECT_EQ(json["addressSource"], "QXBUS_ADDRESS");
  EXPECT_EQ(json["service"], "running");
  EXPECT_EQ(json["user"], ::geteuid());
  EXPECT_EQ(json["process"], velsim().pid());
  EXPECT_THAT(json["command"].get<std::string>(), HasSubstr("velsim"));
  EXPECT_THAT(json["since"].get<std::string>(),
              MatchesRegex("20[0-9][0-9]-[0-9][0-9]-[0-9][0-9]T[0-9:]{8}Z"));
  EXPECT_GT(json["callMicroseconds"].get<int>(), 0);
}

TEST_P(StatusProcessTest, ShowsTheVmsAndTheirDevices) {
  startVelsim();
  ASSERT_EQ(velctl("vm connect win11").status, velctl::kExitDone);
  ASSERT_EQ(velctl("device attach 12 --vm win11").status, velctl::kExitDone);

  const Finished text = velctl("status");
  const Json json = jsonOf(velctl("status --json"));

  EXPECT_THAT(text.out, HasSubstr("win11 (101), 1 device attached\n"));
  EXPECT_THAT(text.out, HasSubstr("win10 (102), no device attached\n"));
  EXPECT_THAT(json["vms"],
              testing::Contains(Json{{"vm", "win11"}, {"vmNumber", 101}, {"attachedDevices", 1}}));
}

TEST_P(StatusProcessTest, ForPeopleHasALineForEach) {
  startVelsim();

  const Finished status = velctl("status");

  EXPECT_EQ(status.status, velctl::kExitDone);
  EXPECT_THAT(status.err, IsEmpty());
  std::vector<std::string> names;
  std::istringstream lines(status.out);
  for (std::string line; std::getline(lines, line);) {
    if (line.front() != ' ') {
      names.push_back(line.substr(0, line.find(' ')));
    }
  }
  EXPECT_THAT(names, testing::ElementsAre("bus", "address", "service", "user", "process", "since",
                                          "VMs", "call"));
  EXPECT_THAT(status.out, HasSubstr("process  " + std::to_string(velsim().pid()) + " velsim\n"));
}

TEST_P(StatusProcessTest, WithoutAServiceShowsWhatIsKnownBesideTheError) {
  const Finished text = velctl("status");
  const Finished asJson = velctl("status --json");

  EXPECT_EQ(text.status, velctl::kExitNoService);
  EXPECT_THAT(text.out, HasSubstr("service  absent\n"));
  EXPECT_THAT(text.err, HasSubstr("velctl: status: no service "));
  EXPECT_THAT(text.err, HasSubstr("; start velserviced, or velsim to try without hardware"));
  EXPECT_EQ(asJson.status, velctl::kExitNoService);
  const Json json = jsonOf(asJson);
  EXPECT_EQ(json["bus"], isDirect() ? "direct" : "reachable");
  EXPECT_EQ(json["service"], "absent");
  EXPECT_EQ(json["process"], nullptr);
  EXPECT_EQ(json["vms"], nullptr);
  EXPECT_EQ(json["error"]["kind"], "no-service");
  EXPECT_EQ(json["error"]["exitStatus"], velctl::kExitNoService);
}

TEST_P(StatusProcessTest, OfAServiceThatHangsSaysSo) {
  startVelsim();
  hangVelsim();

  const Finished status = velctl("status --json");

  const Json json = jsonOf(status);
  // Without a bus in between, the service itself does not let the client in.
  EXPECT_EQ(status.status, isDirect() ? velctl::kExitNoService : velctl::kExitNoReply);
  EXPECT_EQ(json["service"], isDirect() ? "absent" : "not answering");
  EXPECT_THAT(status.err, HasSubstr(isDirect() ? "no reply in time" : "getVmList: "));
  if (!isDirect()) {
    EXPECT_EQ(json["process"], velsim().pid());
  }
}

TEST_P(StatusProcessTest, OfAServiceThatAnswersWithErrorsSaysSo) {
  startVelsim();
  velsim().control("fault getVmList * error \"out of order\"");

  const Finished status = velctl("status --json");

  EXPECT_EQ(status.status, velctl::kExitErrorReply);
  const Json json = jsonOf(status);
  EXPECT_EQ(json["service"], "answering with errors");
  EXPECT_EQ(json["process"], velsim().pid());
  EXPECT_EQ(json["error"]["kind"], "error-reply");
  EXPECT_THAT(status.err, HasSubstr("out of order"));
}

TEST_P(StatusProcessTest, WithoutABusSaysWhyItCannotBeReached) {
  const Finished status = velctl("status --json --bus unix:path=" + pathIn("nothing"));

  EXPECT_EQ(status.status, velctl::kExitNoBus);
  const Json json = jsonOf(status);
  EXPECT_EQ(json["bus"], "unreachable");
  EXPECT_EQ(json["service"], "absent");
  EXPECT_EQ(json["error"]["kind"], "no-bus");
  EXPECT_THAT(status.err, HasSubstr(pathIn("nothing") + ": No such file or directory"));
}

TEST_P(StatusProcessTest, WithoutVmsIsNoFailure) {
  startVelsim();
  for (const char* const vm : {"win11", "win10", "ubuntu", "debian"}) {
    velsim().control(std::string("vm remove \"") + vm + '"');
  }

  const Finished text = velctl("status");

  EXPECT_EQ(text.status, velctl::kExitDone) << text.err;
  EXPECT_THAT(text.out, MatchesRegex("(.|\n)*\nVMs +none\n(.|\n)*"));
  EXPECT_EQ(jsonOf(velctl("status --json"))["vms"], Json::array());
}

}  // namespace
}  // namespace velctl_tests
