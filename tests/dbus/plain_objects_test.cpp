// Objects beside that of a service, with methods in plain D-Bus types; and answers that no service
// in good order gives.

#include <atomic>
#include <chrono>

#include "bus/dbus/plain_call.h"
#include "tests/dbus/dbus_test.h"
#include "tests/dbus/libdbus_messages.h"
#include "tests/dbus/raw_peer.h"

namespace {

using namespace dbustest;
using qxbus::PlainReply;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

constexpr char kLampPath[] = "/qx/lamp";
constexpr char kLampInterface[] = "qx.Lamp";
constexpr std::chrono::seconds kEnough{20};

class PlainObjectTest : public DBusTest {
 protected:
  // "switch" gives its text back, "dark" refuses, "number" breaks its own promise, "mute" never
  // answers.
  PlainObjectTest()
      : host_("", "vel",
              {{"echo", [](qxbus::Request request) { request.reply(request.arguments()); }}},
              {"velevent"},
              {{kLampPath,
                kLampInterface,
                {{"switch", "s", "s",
                  [](qxbus::Request request) { request.reply(request.arguments()); }},
                 {"dark", "", "s", [](qxbus::Request request) { request.fail("no bulb"); }},
                 {"number", "", "s",
                  [](qxbus::Request request) { request.reply({std::int32_t{7}}); }},
                 {"mute", "", "s", [this](qxbus::Request request) {
                    unanswered_.push_back(std::move(request));
                  }}}}}) {}

  RawPeer& client() {
    if (!client_) {
      client_ = isDirect() ? std::make_unique<RawPeer>(directAddress(), RawPeer::Place::kAtAService)
                           : std::make_unique<RawPeer>(bus().address());
    }
    return *client_;
  }
  DBusMessageRef ask(const std::string& method, const Body& body = nullptr) {
    return client().call(kVelName, kLampPath, kLampInterface, method, body);
  }
  static PlainReply callLamp(const std::string& method, const std::string& signature = "",
                             const qxbus::Values& arguments = {}) {
    return qxbus::callPlain("", {"vel", kLampPath, kLampInterface, method, signature, arguments},
                            kEnough);
  }

 private:
  std::vector<qxbus::Request> unanswered_;  // a request that is dropped is answered with an error
  qxbus::ServiceHost host_;
  std::unique_ptr<RawPeer> client_;
};

TEST_F(PlainObjectTest, TakesAndGivesArgumentsOfItsOwnTypes) {
  const DBusMessageRef reply = ask("switch", nativeString("on"));

  EXPECT_STREQ(dbus_message_get_signature(reply.get()), "s");
  EXPECT_EQ(firstText(reply), "on");
}

TEST_F(PlainObjectTest, RefusesArgumentsOfOtherTypes) {
  for (const Body& body : {nativeInt32(7), variants({std::string("on")}), Body()}) {
    const DBusMessageRef reply = ask("switch", body);

    EXPECT_EQ(errorNameOf(reply), DBUS_ERROR_INVALID_ARGS);
    EXPECT_THAT(firstText(reply), HasSubstr("switch takes arguments of the D-Bus types \"s\""));
  }
}

TEST_F(PlainObjectTest, GivesAnErrorInPlaceOfAReplyThatDoesNotFit) {
  EXPECT_THAT(firstText(ask("number")), HasSubstr("number does not fit its D-Bus types"));
  EXPECT_EQ(firstText(ask("dark")), "no bulb");
}

TEST_F(PlainObjectTest, StandsBesideTheObjectOfTheService) {
  EXPECT_EQ(errorNameOf(client().call(kVelName, kVelPath, kVelName, "echo", nativeInt32(1))), "");
  EXPECT_EQ(errorNameOf(client().call(kVelName, kVelPath, kVelName, "switch")),
            DBUS_ERROR_UNKNOWN_METHOD);
  EXPECT_EQ(errorNameOf(ask("echo")), DBUS_ERROR_UNKNOWN_METHOD);
  EXPECT_EQ(errorNameOf(client().call(kVelName, kLampPath, kVelName, "switch")),
            DBUS_ERROR_UNKNOWN_INTERFACE);
}

TEST_F(PlainObjectTest, IsNotFoundByIntrospectionWhereItIsNot) {
  constexpr char kIntrospectable[] = "org.freedesktop.DBus.Introspectable";

  EXPECT_EQ(errorNameOf(client().call(kVelName, "/nowhere", kIntrospectable, "Introspect")),
            DBUS_ERROR_UNKNOWN_OBJECT);
  EXPECT_EQ(errorNameOf(client().call(kVelName, kLampPath, kIntrospectable, "Inspect")),
            DBUS_ERROR_UNKNOWN_INTERFACE);
}

TEST_F(PlainObjectTest, IsFoundByIntrospectionFromTheRoot) {
  const auto xmlOf = [this](const std::string& path) {
    return firstText(
        client().call(kVelName, path, "org.freedesktop.DBus.Introspectable", "Introspect"));
  };

  EXPECT_THAT(xmlOf("/qx"),
              AllOf(HasSubstr("<node name=\"bus\"/>"), HasSubstr("<node name=\"lamp\"/>")));
  EXPECT_THAT(xmlOf(kLampPath),
              AllOf(HasSubstr("<interface name=\"qx.Lamp\">"), HasSubstr("\"switch\""),
                    HasSubstr("type=\"s\" direction=\"in\""), Not(HasSubstr("velevent"))));
  EXPECT_THAT(xmlOf(kVelPath), AllOf(HasSubstr("\"echo\""), HasSubstr("type=\"av\""),
                                     HasSubstr("velevent"), Not(HasSubstr("switch"))));
}

TEST_F(PlainObjectTest, IsCalledWithOneFunction) {
  const PlainReply reply = callLamp("switch", "s", {std::string("on")});

  EXPECT_EQ(reply.kind, PlainReply::Kind::kReturn);
  EXPECT_EQ(qxbus::describe(reply.values), "string \"on\"");
}

TEST_F(PlainObjectTest, PassesTheWordsOfARefusalOn) {
  EXPECT_EQ(callLamp("dark").kind, PlainReply::Kind::kError);
  EXPECT_EQ(callLamp("dark").text, "no bulb");
  EXPECT_EQ(callLamp("switch", "i", {std::string("on")}).kind, PlainReply::Kind::kError);
}

class PlainCallTest : public DBusTest {};

TEST_F(PlainCallTest, NamesTheServiceThatIsNotThere) {
  const PlainReply reply =
      qxbus::callPlain("", {"nosuch", kLampPath, kLampInterface, "switch", "", {}}, kEnough);

  EXPECT_EQ(reply.kind, PlainReply::Kind::kNoService);
  EXPECT_THAT(reply.text, HasSubstr("nosuch"));
}

TEST_F(PlainObjectTest, IsCalledForAsLongAsTheCallerSays) {
  const PlainReply reply = qxbus::callPlain("", {"vel", kLampPath, kLampInterface, "mute", "", {}},
                                            std::chrono::milliseconds(0));

  EXPECT_EQ(reply.kind, PlainReply::Kind::kNoReply);
  EXPECT_EQ(reply.text, "no reply in time");
}

TEST_F(PlainCallTest, NamesTheBusThatIsNotThere) {
  const PlainReply reply = qxbus::callPlain(
      "unix:path=/nonexistent/bus", {"vel", kLampPath, kLampInterface, "switch", "", {}}, kEnough);

  EXPECT_EQ(reply.kind, PlainReply::Kind::kNoService);
  EXPECT_THAT(reply.text, HasSubstr("/nonexistent/bus"));
}

// --- Answers of a service in trouble -------------------------------------------------------------

class AnswerInTroubleTest : public DBusTest {};

TEST_F(AnswerInTroubleTest, ADroppedRequestIsNeverAnswered) {
  const auto dropped = std::make_shared<std::atomic<int>>(0);
  TestService service("vel", {{"drop", [dropped](qxbus::Request request) {
                                 request.drop();
                                 request.reply({std::int32_t{1}});
                                 ++*dropped;
                               }}});
  const ProxyRef proxy = proxyOf();

  EXPECT_THAT(call(*proxy, "drop", {}, 50), IsNoReply());

  EXPECT_TRUE(waitUntil([&] { return *dropped == 1; }));
  // What was answered later would have come before this.
  EXPECT_THAT(call(*proxy, "echo"), IsReply());
}

TEST_F(AnswerInTroubleTest, AReplyMayHaveAnotherForm) {
  TestService service("vel", {{"plain", [](qxbus::Request request) {
                                 request.replyAs("is", {std::int32_t{7}, std::string("seven")});
                               }}});

  const MessageRef reply = call(*proxyOf(), "plain");

  EXPECT_THAT(reply, IsReply());
  EXPECT_EQ(reply->getInt32(0), 7);
  EXPECT_EQ(reply->getString(1), "seven");
}

TEST_F(AnswerInTroubleTest, WhatWasSentIsOutAfterAFlush) {
  static constexpr std::size_t size = 8 * kMegabyte;
  TestService service(
      "vel", {{"large", [](qxbus::Request request) { request.reply({qxbus::Bytes(size)}); }}});
  const ProxyRef proxy = proxyOf();

  const MessageRef reply = call(*proxy, "large");

  EXPECT_EQ(bytesOf(*reply, 0).size(), size);
  EXPECT_TRUE(service.host().flush(std::chrono::milliseconds(0)));
}

TEST_F(AnswerInTroubleTest, AFlushGivesUpOnAClientThatDoesNotRead) {
  if (!isDirect()) {
    GTEST_SKIP() << "a bus daemon reads";
  }
  TestService service;
  RawPeer client(directAddress(), RawPeer::Place::kAtAService);
  client.call("", kVelPath, kVelName, "echo");

  service.emit("velevent", {qxbus::Bytes(8 * kMegabyte)});
  RawPeer next(directAddress(), RawPeer::Place::kAtAService);
  next.call("", kVelPath, kVelName, "echo");

  // The next one is there in time.
  EXPECT_FALSE(service.host().flush(std::chrono::milliseconds(20)));
}

}  // namespace
