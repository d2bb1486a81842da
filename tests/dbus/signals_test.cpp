// Which signals are events, and which listeners receive them.

#include "tests/dbus/dbus_test.h"
#include "tests/dbus/raw_peer.h"

namespace {

using namespace dbustest;
using testing::ElementsAre;

constexpr char kBroadcasts[] = "qx.bus.Broadcast";

class ForgedSignal : public DBusTest {
 protected:
  // The only event that arrives is the one that the service sends on its object and interface.
  void expectOnlyTheServicesOwnEvent() {
    service_.emit("velevent", {std::int32_t{1}});
    ASSERT_TRUE(events_->waitFor(1));
    EXPECT_TRUE(events_->stays(1));
    EXPECT_THAT(firstNumbers(*events_), ElementsAre(1));
  }

  void SetUp() override {
    proxy_->addEventListener(
        "velevent",
        lastingListener([events = events_](const MessageRef& event) { events->add(event); }),
        QXBUS_SECURITY_SAME_USER_OR_ROOT);
    proxy_->setDeathCallback([deaths = deaths_] { deaths->add("death"); });
  }

  std::string clientName() { return call(*proxy_, "whoAmI")->getString(0); }

  TestService service_{
      "vel", {{"whoAmI", [](qxbus::Request request) { request.reply({request.sender()}); }}}};
  ProxyRef proxy_ = proxyOf();
  RawPeer stranger_{bus().address()};
  std::shared_ptr<Messages> events_ = std::make_shared<Messages>();
  std::shared_ptr<Record<std::string>> deaths_ = std::make_shared<Record<std::string>>();
};

TEST_F(ForgedSignal, OfAThirdConnectionIsNoEvent) {
  stranger_.emit(kVelPath, kVelName, "velevent", nativeInt32(666));
  stranger_.emit(kVelPath, kVelName, "velevent", variants({std::int32_t{666}}));
  stranger_.sync();

  expectOnlyTheServicesOwnEvent();
}

// A signal that is addressed to the client passes by its match rules.
TEST_F(ForgedSignal, AddressedToTheClientIsNoEvent) {
  stranger_.emit(kVelPath, kVelName, "velevent", nativeInt32(666), clientName());
  stranger_.sync();

  expectOnlyTheServicesOwnEvent();
}

// The bus writes the name of the sender into each message, over any other.
TEST_F(ForgedSignal, WithTheSenderFieldOfTheServiceIsNoEvent) {
  for (const std::string& sender : {std::string(kVelName), stranger_.ownerOf(kVelName)}) {
    const DBusMessageRef forged(dbus_message_new_signal(kVelPath, kVelName, "velevent"));
    dbus_message_set_sender(forged.get(), sender.c_str());
    stranger_.send(forged);
  }
  stranger_.sync();

  expectOnlyTheServicesOwnEvent();
}

TEST_F(ForgedSignal, OfAConnectionThatOwnsAnotherServiceIsNoEvent) {
  ASSERT_TRUE(stranger_.own("qx.bus.other"));
  const ProxyRef other = proxyOf("other");
  const auto otherEvents = std::make_shared<Messages>();
  other->addEventListener("velevent", lastingListener([otherEvents](const MessageRef& event) {
                            otherEvents->add(event);
                          }),
                          QXBUS_SECURITY_SAME_USER_OR_ROOT);

  stranger_.emit(kVelPath, kVelName, "velevent", nativeInt32(666), clientName());
  stranger_.emit("/qx/bus/other", "qx.bus.other", "velevent", nativeInt32(2));

  ASSERT_TRUE(otherEvents->waitFor(1));
  EXPECT_THAT(firstNumbers(*otherEvents), ElementsAre(2));
  expectOnlyTheServicesOwnEvent();
}

TEST_F(ForgedSignal, ThatAnnouncesADeathIsNotBelieved) {
  const std::string client = clientName();
  const std::string owner =
      firstText(stranger_.call(DBUS_SERVICE_DBUS, DBUS_PATH_DBUS, DBUS_INTERFACE_DBUS,
                               "GetNameOwner", nativeString(kVelName)));
  ASSERT_NE(owner, "");
  const Body death = [&owner](DBusMessageIter* arguments) {
    for (const char* const text : {kVelName, owner.c_str(), ""}) {
      dbus_message_iter_append_basic(arguments, DBUS_TYPE_STRING, &text);
    }
  };
  stranger_.emit(DBUS_PATH_DBUS, DBUS_INTERFACE_DBUS, "NameOwnerChanged", death, client);
  stranger_.emit(DBUS_PATH_LOCAL, "qx.bus.vel", "Disconnected", nullptr, client);
  stranger_.sync();

  EXPECT_TRUE(deaths_->stays(0));
  EXPECT_THAT(call(*proxy_, "echo"), IsReply());
}

TEST_F(ForgedSignal, IsNoReply) {
  const auto replies = std::make_shared<Messages>();
  const std::string client = clientName();
  proxy_->callWithReply(
      messageTo(*proxy_, "hold"), [replies](const MessageRef& reply) { replies->add(reply); },
      10000);
  ASSERT_TRUE(service_.waitForHeld(1));

  for (dbus_uint32_t serial = 1; serial <= 3000; ++serial) {
    const DBusMessageRef forged(dbus_message_new(DBUS_MESSAGE_TYPE_METHOD_RETURN));
    dbus_message_set_reply_serial(forged.get(), serial);
    dbus_message_set_destination(forged.get(), client.c_str());
    stranger_.send(forged);
  }
  stranger_.sync();
  EXPECT_TRUE(replies->stays(0)) << testing::PrintToString(replies->items());
  service_.release({std::int32_t{1}});

  ASSERT_TRUE(replies->waitFor(1));
  EXPECT_THAT(firstNumbers(*replies), ElementsAre(1));
}

TEST_F(ForgedSignal, OfTheServiceOnAnotherObjectOrInterfaceIsNoEvent) {
  const ProxyRef other = (stranger_.own("qx.bus.other"), proxyOf("other"));
  const auto events = std::make_shared<Messages>();
  other->addEventListener(
      "velevent", lastingListener([events](const MessageRef& event) { events->add(event); }),
      QXBUS_SECURITY_SAME_USER_OR_ROOT);
  const std::string client = clientName();

  stranger_.emit("/qx/bus/else", "qx.bus.other", "velevent", nativeInt32(1), client);
  stranger_.emit("/qx/bus/other", "qx.bus.else", "velevent", nativeInt32(2), client);
  stranger_.emit("/qx/bus/other", "qx.bus.other", "elsevent", nativeInt32(3), client);
  stranger_.emit("/qx/bus/other", "qx.bus.other", "velevent", nativeInt32(4));

  ASSERT_TRUE(events->waitFor(1));
  EXPECT_THAT(firstNumbers(*events), ElementsAre(4));
}

// --- Broadcasts and registrations ----------------------------------------------------------------

using BroadcastOverDBus = ForgedSignal;

TEST_F(BroadcastOverDBus, MayComeFromAnyoneAndAnyObject) {
  const auto broadcasts = std::make_shared<Messages>();
  const std::string name = newBroadcastName();
  manager().addEventListener(
      name, lastingListener([broadcasts](const MessageRef& event) { broadcasts->add(event); }),
      QXBUS_SECURITY_SAME_USER_OR_ROOT);

  stranger_.emit("/", kBroadcasts, name, nativeInt32(1));
  stranger_.emit("/some/object", kBroadcasts, name, variants({std::int32_t{2}}));
  stranger_.emit(kVelPath, kBroadcasts, name, variants({std::int32_t{3}}));
  stranger_.emit("/", "qx.bus.Else", name, nativeInt32(4));
  stranger_.sync();
  RawPeer another(bus().address());
  another.emit("/another", kBroadcasts, name, nativeInt32(5));

  ASSERT_TRUE(broadcasts->waitFor(4));
  EXPECT_THAT(firstNumbers(*broadcasts), ElementsAre(1, 2, 3, 5));
}

class EachRegistration : public DBusTest {
 protected:
  QXBusEventCallback* counted() {
    return lastingListener([calls = calls_](const MessageRef& event) { calls->add(event); });
  }

  TestService service_;
  ProxyRef proxy_ = proxyOf();
  std::shared_ptr<Messages> calls_ = std::make_shared<Messages>();
};

TEST_F(EachRegistration, OfABroadcastListenerCounts) {
  const std::string name = newBroadcastName();
  QXBusEventCallback* const twice = counted();
  for (QXBusEventCallback* const listener : {counted(), twice, counted(), twice}) {
    manager().addEventListener(name, listener, QXBUS_SECURITY_SAME_USER_OR_ROOT);
  }

  service_.host().broadcast(name, {std::int32_t{7}});

  ASSERT_TRUE(calls_->waitFor(4));
  EXPECT_TRUE(calls_->stays(4));
  EXPECT_THAT(firstNumbers(*calls_), ElementsAre(7, 7, 7, 7));
}

TEST_F(EachRegistration, OfAnEventListenerCounts) {
  QXBusEventCallback* const twice = counted();
  for (QXBusEventCallback* const listener : {twice, twice, counted()}) {
    proxy_->addEventListener("velevent", listener, QXBUS_SECURITY_SAME_USER_OR_ROOT);
  }

  service_.emit("velevent", {});

  ASSERT_TRUE(calls_->waitFor(3));
  EXPECT_TRUE(calls_->stays(3));
}

TEST_F(EachRegistration, IsForItsOwnNameAndInterface) {
  const ProxyRef other = proxyOf();
  QXBusEventCallback* const listener = counted();
  proxy_->addEventListener("velevent", listener, QXBUS_SECURITY_SAME_USER_OR_ROOT);

  proxy_->removeEventListener("otherevent", listener);
  other->removeEventListener("velevent", listener);
  service_.emit("otherevent", {});
  service_.emit("velevent", {});

  ASSERT_TRUE(calls_->waitFor(1));
  EXPECT_TRUE(calls_->stays(1));
}

TEST_F(EachRegistration, OfNoListenerOrWithoutAHandlerIsHarmless) {
  proxy_->addEventListener("velevent", nullptr, QXBUS_SECURITY_SAME_USER_OR_ROOT);
  proxy_->removeEventListener("velevent", nullptr);
  manager().addEventListener("velevent", nullptr, QXBUS_SECURITY_SAME_USER_OR_ROOT);
  manager().addEventListener("no name for an event", counted(), QXBUS_SECURITY_SAME_USER_OR_ROOT);
  proxy_->addEventListener("velevent", lastingListener(nullptr), QXBUS_SECURITY_SAME_USER_OR_ROOT);
  proxy_->addEventListener("velevent", counted(), QXBUS_SECURITY_SAME_USER_OR_ROOT);

  service_.emit("velevent", {});

  EXPECT_TRUE(calls_->waitFor(1));
}

}  // namespace
