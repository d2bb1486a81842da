// velctl status and velctl doctor on a scripted bus: what no real service shows at will.

#include <nlohmann/json.hpp>

#include "tests/velctl/in_process.h"

namespace velctl_tests {
namespace {

using qxbus::BusLink;
using testing::Each;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

class StatusTest : public InProcessTest {
 protected:
  using Json = nlohmann::json;

  // Runs it in both forms, which must agree.
  Json status(velctl::ExitCode code, const std::string& service, const std::string& error = "") {
    const Ran asText = velctl("status");
    const Ran asJson = velctl("status", Form::kJson);
    EXPECT_EQ(asText.status, code) << asText.err;
    EXPECT_EQ(asJson.status, code);
    EXPECT_THAT(asText.out, HasSubstr("\nservice  " + service + '\n'));
    EXPECT_THAT(asText.err, error.empty() ? testing::Matcher<std::string>(IsEmpty())
                                          : testing::Matcher<std::string>(HasSubstr(error)));
    Json json = Json::parse(asJson.out, nullptr, false);
    EXPECT_EQ(json["service"], service);
    EXPECT_EQ(json.contains("error"), code != velctl::kExitDone);
    return json;
  }
};

TEST_F(StatusTest, ShowsTheVmsOfAServiceThatRuns) {
  const Json json = status(velctl::kExitDone, "running");

  EXPECT_EQ(json["bus"], "reachable");
  EXPECT_EQ(json["vms"],
            (Json::array({{{"vm", kVm}, {"vmNumber", kVmNumber}, {"attachedDevices", 0}}})));
  EXPECT_GE(json["callMicroseconds"].get<long>(), 0);
}

TEST_F(StatusTest, TakesTheTimeOfSeveralCalls) {
  velctl("status");

  const std::vector<std::string> sent = requests();
  ASSERT_THAT(sent, SizeIs(6));
  EXPECT_THAT(std::vector<std::string>(sent.begin(), sent.end() - 1), Each("getVmList(int32 0)"));
}

TEST_F(StatusTest, NeverShowsAnAddressRaw) {
  EXPECT_THAT(velctl("status").out, Not(HasSubstr("\x1b")));
  EXPECT_THAT(velctl("status", Form::kJson).out, Not(HasSubstr("\x1b")));
  EXPECT_THAT(velctl("doctor").out, Not(HasSubstr("\x1b")));
  EXPECT_THAT(velctl("doctor", Form::kJson).out, Not(HasSubstr("\x1b")));
}

TEST_F(StatusTest, OfAServiceThatAnswersWithErrorsSaysSo) {
  bus.answer("getVmList", Reply::error("out of order"));

  const Json json = status(velctl::kExitErrorReply, "answering with errors", "out of order");

  EXPECT_EQ(json["vms"], nullptr);
  EXPECT_EQ(json["callMicroseconds"], nullptr);
}

TEST_F(StatusTest, AReplyWithoutItsValueIsAnError) {
  bus.answer("getVmList", Reply());

  status(velctl::kExitErrorReply, "answering with errors", "getVmList: ");
}

TEST_F(StatusTest, AServiceWithoutVmsIsAServiceThatRuns) {
  bus.answer("getVmList", Reply().int32(0));

  EXPECT_EQ(status(velctl::kExitDone, "running")["vms"], Json::array());
}

TEST_F(StatusTest, WithoutTheDevicesTheVmsAreShown) {
  bus.answer("getDeviceList", Reply::error("out of order"));

  const Json json = status(velctl::kExitDone, "running");

  EXPECT_EQ(json["vms"][0]["attachedDevices"], nullptr);
}

TEST_F(StatusTest, OfAServiceThatHasJustGoneItIsAbsent) {
  bus.setRegistered(false);

  status(velctl::kExitNoService, "absent", "getVmList: no service on the bus; ");
}

TEST_F(StatusTest, OfAServiceOfAnotherUserItIsRefused) {
  wayToService.broken = BusLink::kServiceUser;
  wayToService.reason = "it runs as user 1234";
  wayToService.user = 1234;

  const Json json = status(velctl::kExitNoService, "refused", "it runs as user 1234; ");

  EXPECT_EQ(json["user"], 1234);
}

TEST_F(StatusTest, OfABusThatCannotBeReachedNothingIsAsked) {
  wayToService.broken = BusLink::kConnection;
  wayToService.reason = "no connection to the bus: \x1b[2J";

  const Json json =
      status(velctl::kExitNoBus, "absent", "velctl: status: no connection to the bus: \\x1b[2J; ");

  EXPECT_EQ(json["bus"], "unreachable");
  EXPECT_THAT(requests(), IsEmpty());
}

TEST_F(StatusTest, WithoutABusInBetweenTheWayIsThatOfTheService) {
  isBusDirect = true;
  EXPECT_EQ(status(velctl::kExitDone, "running")["bus"], "direct");

  wayToService.broken = BusLink::kConnection;
  wayToService.reason = "no service listens";
  EXPECT_EQ(status(velctl::kExitNoService, "absent",
                   "no service listens; the program that listened there")["bus"],
            "direct");
}

}  // namespace
}  // namespace velctl_tests
