// What every connection answers, whether or not it has a service.

#include "tests/dbus/dbus_test.h"
#include "tests/dbus/raw_peer.h"

namespace {

using namespace dbustest;
using testing::HasSubstr;
using testing::MatchesRegex;

constexpr char kStandardCalls[] = "org.freedesktop.DBus.Peer";

class CallOfAClient : public DBusTest {
 protected:
  DBusMessageRef callClient(const std::string& interface, const std::string& method) {
    return stranger_.call(client_, "/", interface, method);
  }

 private:
  TestService service_{
      "vel", {{"whoAmI", [](qxbus::Request request) { request.reply({request.sender()}); }}}};
  std::string client_ = call(*proxyOf(), "whoAmI")->getString(0);
  RawPeer stranger_{bus().address()};
};

TEST_F(CallOfAClient, ThatPingsIsAnswered) {
  EXPECT_EQ(errorNameOf(callClient(kStandardCalls, "Ping")), "");
}

TEST_F(CallOfAClient, ThatAsksForTheMachineGetsItsId) {
  const DBusMessageRef reply = callClient(kStandardCalls, "GetMachineId");

  // A machine without an id is an error with a text.
  EXPECT_THAT(firstText(reply),
              errorNameOf(reply).empty() ? MatchesRegex("[0-9a-f]{32}") : MatchesRegex(".*no id"));
}

TEST_F(CallOfAClient, ThatAsksForAnythingElseFailsWithAReason) {
  const DBusMessageRef reply = callClient(kVelName, "echo");

  EXPECT_EQ(errorNameOf(reply), DBUS_ERROR_UNKNOWN_OBJECT);
  EXPECT_THAT(firstText(reply), HasSubstr("no objects"));
}

}  // namespace
