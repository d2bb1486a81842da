// The client that passes requests on: calls, events and the end of one instance.

#include "bus/dbus/service_client.h"

#include <atomic>
#include <thread>

#include "tests/dbus/hostile_test.h"
#include "tests/dbus/played_daemon.h"

namespace {

using namespace dbustest;
using qxbus::ServiceClient;
using qxbus::ServiceReply;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr char kService[] = "passed";

class ServiceClientOverDBus : public DBusTest {
 protected:
  struct Seen {
    Record<std::string> events;
    Record<ServiceReply> replies;
    std::atomic<int> ends{0};
  };

  std::unique_ptr<ServiceClient> attached() {
    ServiceClient::Handlers handlers;
    handlers.onEvent = [this](const std::string& name, bool isBroadcast,
                              const qxbus::Values& values) {
      seen.events.add(name + (isBroadcast ? " to all: " : ": ") + qxbus::describe(values));
    };
    handlers.onGone = [this] { ++seen.ends; };
    auto client = ServiceClient::attach("", kService, std::move(handlers));
    EXPECT_TRUE(client) << client.reason();
    return client ? std::move(*client) : nullptr;
  }

  void call(ServiceClient& client, const std::string& method, const qxbus::Values& arguments) {
    client.call(method, arguments, [this](const ServiceReply& reply) { seen.replies.add(reply); });
  }

  Seen seen;
};

const qxbus::Values kValues = {std::int32_t{7}, std::string("seven"), qxbus::Bytes{7, 0},
                               std::uint32_t{7}};

TEST_F(ServiceClientOverDBus, PassesArgumentsRepliesAndErrorsOn) {
  TestService service(kService);
  const auto client = attached();
  ASSERT_TRUE(client);

  call(*client, "echo", kValues);
  ASSERT_TRUE(seen.replies.waitFor(1));
  call(*client, "fail", {std::string("no")});
  ASSERT_TRUE(seen.replies.waitFor(2));
  call(*client, "nosuch", {});
  ASSERT_TRUE(seen.replies.waitFor(3));

  const auto replies = seen.replies.items();
  EXPECT_EQ(replies[0].kind, ServiceReply::Kind::kReturn);
  EXPECT_EQ(replies[0].values, kValues);
  EXPECT_EQ(replies[1].kind, ServiceReply::Kind::kError);
  EXPECT_EQ(replies[1].text, "no");
  EXPECT_EQ(replies[2].kind, ServiceReply::Kind::kError);
  EXPECT_THAT(replies[2].text, HasSubstr("nosuch"));
}

TEST_F(ServiceClientOverDBus, HearsTheEventsOfItsServiceInTheirOrder) {
  TestService other("another");
  TestService service(kService);
  const auto client = attached();
  ASSERT_TRUE(client);

  other.host().broadcast("mounted", {std::int32_t{1}});
  service.emit("velevent", {std::int32_t{2}});
  service.host().broadcast("mounted", {std::int32_t{3}});

  ASSERT_TRUE(seen.events.waitFor(2));
  EXPECT_THAT(seen.events.items(), ElementsAre("velevent: int32 2", "mounted to all: int32 3"));
}

TEST_F(ServiceClientOverDBus, TheEndOfTheServiceComesOnceAndAfterTheAnswers) {
  auto service = std::make_unique<TestService>(kService);
  const auto client = attached();
  ASSERT_TRUE(client);
  call(*client, "hold", {});
  ASSERT_TRUE(service->waitForHeld(1));
  const auto held = service->takeHeld();
  EXPECT_EQ(seen.ends, 0);

  service.reset();
  held->front().drop();
  held->clear();

  ASSERT_TRUE(waitUntil([&] { return seen.ends > 0; }));
  if (isDirect()) {
    // The connection is the instance: its calls have ended with it.
    ASSERT_EQ(seen.replies.items().size(), 1u);
    EXPECT_EQ(seen.replies.items()[0].kind, ServiceReply::Kind::kDisconnected);
  }
  EXPECT_EQ(seen.ends, 1);
}

TEST_F(ServiceClientOverDBus, WithoutAServiceThereIsAReason) {
  const auto client = ServiceClient::attach("", "nosuch", {});

  ASSERT_FALSE(client);
  if (isDirect()) {
    EXPECT_THAT(client.reason(), HasSubstr("no service listens at "));
  } else {
    EXPECT_EQ(client.reason(), "qx.bus.nosuch has no owner");
  }
}

TEST_F(ServiceClientOverDBus, NothingIsCalledOnceItIsDestroyed) {
  auto service = std::make_unique<TestService>(kService);
  auto client = attached();
  ASSERT_TRUE(client);
  call(*client, "hold", {});
  ASSERT_TRUE(service->waitForHeld(1));

  client.reset();
  service->release({});
  service->emit("velevent", {});
  service.reset();

  // Another client has seen what came meanwhile.
  TestService next(kService);
  const auto later = attached();
  ASSERT_TRUE(later);
  next.emit("last", {});
  ASSERT_TRUE(seen.events.waitFor(1));
  EXPECT_THAT(seen.events.items(), ElementsAre("last: "));
  EXPECT_THAT(seen.replies.items(), IsEmpty());
  EXPECT_EQ(seen.ends, 0);
}

TEST_F(ServiceClientOverDBus, AMethodWithoutANameTakesTheCallsOfAllOthers) {
  TestService service(
      kService,
      {{qxbus::kAnyMethod, [](qxbus::Request request) { request.reply({request.method()}); }}});
  const auto client = attached();
  ASSERT_TRUE(client);

  call(*client, "unheardOf", {});
  ASSERT_TRUE(seen.replies.waitFor(1));
  call(*client, "echo", {std::string("known")});

  ASSERT_TRUE(seen.replies.waitFor(2));
  EXPECT_EQ(seen.replies.items()[0].values, qxbus::Values{std::string("unheardOf")});
  EXPECT_EQ(seen.replies.items()[1].values, qxbus::Values{std::string("known")});
}

TEST_F(ServiceClientOverDBus, NeedsNoHandlers) {
  auto service = std::make_unique<TestService>(kService);
  const auto client = ServiceClient::attach("", kService, {});
  ASSERT_TRUE(client) << client.reason();

  service->emit("velevent", {});
  call(**client, "echo", {});
  ASSERT_TRUE(seen.replies.waitFor(1));
  service.reset();

  EXPECT_TRUE(waitUntil([this, &client] {
    const std::size_t before = seen.replies.size();
    call(**client, "echo", {});
    return seen.replies.waitFor(before + 1) &&
           seen.replies.items()[before].kind == ServiceReply::Kind::kDisconnected;
  }));
}

TEST_F(ServiceClientOverDBus, SaysThatArgumentsAreTooLarge) {
  const TestService service(kService);
  const auto client = attached();
  ASSERT_TRUE(client);

  call(*client, "echo", {qxbus::Bytes(64 * kMegabyte)});

  ASSERT_EQ(seen.replies.size(), 1u);
  EXPECT_EQ(seen.replies.items()[0].kind, ServiceReply::Kind::kError);
  EXPECT_THAT(seen.replies.items()[0].text, HasSubstr("too large for the bus"));
}

// --- Buses that leave nothing to chance ----------------------------------------------------------

class PassingClient : public HostileTest {
 protected:
  struct Seen {
    Record<std::string> events;
    Record<int> ends;
    Record<ServiceReply> replies;
  };

  std::unique_ptr<ServiceClient> attachedTo(const PlayedDaemon& bus) {
    ServiceClient::Handlers handlers;
    handlers.onEvent = [this](const std::string& name, bool, const qxbus::Values&) {
      seen_.events.add(name);
    };
    handlers.onGone = [this] { seen_.ends.add(1); };
    auto client = ServiceClient::attach(bus.address(), "vel", std::move(handlers));
    EXPECT_TRUE(client) << client.reason();
    return client ? std::move(*client) : nullptr;
  }

  // Whether all has been read that was sent before.
  bool hasReadAll(ServiceClient& client) {
    const std::size_t before = seen_.replies.size();
    client.call("echo", {}, [this](const ServiceReply& reply) { seen_.replies.add(reply); });
    return seen_.replies.waitFor(before + 1);
  }

  static std::string ownerChange(std::string_view sender, const std::string& name,
                                 const std::string& from) {
    return signalFrom(sender, kBusPath, kBus, "NameOwnerChanged", "sss",
                      {name, from, std::string()});
  }
  static std::string event(std::string_view name, std::string_view sender = PlayedDaemon::kOwner) {
    return signalFrom(sender, kVelPath, kVelName, name);
  }

  Seen seen_;
};

TEST_F(PassingClient, HearsWhatItsServiceSentBeforeItWasFound) {
  PlayedDaemon bus(socket(),
                   {{"GetNameOwner", [](PlayedDaemon& early, const PlayedDaemon::Call& call) {
                       early.send(event("early"));
                       early.reply(call, "s", {std::string(PlayedDaemon::kOwner)});
                     }}});
  const auto client = attachedTo(bus);
  ASSERT_TRUE(client);

  bus.send(event("late"));

  EXPECT_TRUE(seen_.events.waitFor(2));
  EXPECT_THAT(seen_.events.items(), ElementsAre("early", "late"));
}

TEST_F(PassingClient, HearsNothingThatIsNotItsServices) {
  PlayedDaemon bus(socket());
  const auto client = attachedTo(bus);
  ASSERT_TRUE(client);
  qxbus::wire::Header call;
  call.type = qxbus::wire::MessageType::kMethodCall;
  call.sender = PlayedDaemon::kOwner;
  call.path = kVelPath;
  call.interface = kVelName;
  call.member = "call";

  bus.send(serialized(call));
  bus.send(event("anothers", ":1.9"));
  bus.send(signalFrom(PlayedDaemon::kOwner, "/qx/bus/lamp", kVelName, "elsewhere"));
  bus.send(signalFrom(PlayedDaemon::kOwner, kVelPath, "qx.bus.lamp", "otherwise"));
  bus.send(signalFrom(kBus, kBusPath, kBus, "NameAcquired", "s", {std::string(":1.1")}));
  bus.send(ownerChange(":1.9", kVelName, PlayedDaemon::kOwner));
  bus.send(ownerChange(kBus, "qx.bus.lamp", PlayedDaemon::kOwner));
  bus.send(ownerChange(kBus, kVelName, ":1.6"));
  bus.send(event("its"));

  ASSERT_TRUE(hasReadAll(*client));
  EXPECT_THAT(seen_.events.items(), ElementsAre("its"));
  EXPECT_EQ(seen_.ends.size(), 0u);
}

TEST_F(PassingClient, HearsOfOneEndWhenTheBusEndsAfterItsService) {
  PlayedDaemon bus(socket());
  const auto client = attachedTo(bus);
  ASSERT_TRUE(client);

  bus.send(ownerChange(kBus, kVelName, PlayedDaemon::kOwner));
  ASSERT_TRUE(seen_.ends.waitFor(1));
  bus.close();

  EXPECT_TRUE(seen_.ends.stays(1));
}

TEST_F(PassingClient, MayBeGoneBeforeTheBusHasConfirmedTheEnd) {
  Record<PlayedDaemon::Call> pings;
  PlayedDaemon bus(
      socket(),
      {{"Ping", [&pings](PlayedDaemon&, const PlayedDaemon::Call& call) { pings.add(call); }}});
  auto client = attachedTo(bus);
  ASSERT_TRUE(client);
  bus.send(ownerChange(kBus, kVelName, PlayedDaemon::kOwner));
  ASSERT_TRUE(pings.waitFor(1));

  client.reset();
  bus.reply(pings.items()[0]);

  EXPECT_TRUE(seen_.ends.stays(0));
}

// Its connection is read until it is closed.
TEST_F(PassingClient, MayBeGoneWhileEventsStream) {
  PlayedDaemon bus(socket());
  auto client = attachedTo(bus);
  ASSERT_TRUE(client);
  std::atomic<bool> isOver{false};
  std::thread streaming([&] {
    std::string many;
    for (int i = 0; i < 500; ++i) {
      many += event("stream");
    }
    while (!isOver) {
      bus.send(many);
    }
  });
  ASSERT_TRUE(seen_.events.waitFor(1000));

  client.reset();
  const std::size_t heard = seen_.events.size();

  EXPECT_TRUE(seen_.events.stays(heard));
  isOver = true;
  streaming.join();
}

TEST_F(PassingClient, IsNotMadeWhenTheBusWillNotSendEvents) {
  const PlayedDaemon bus(socket(),
                         {{"AddMatch", [](PlayedDaemon& refusing, const PlayedDaemon::Call& call) {
                             refusing.refuse(call, "too many rules");
                           }}});

  const auto client = ServiceClient::attach(bus.address(), "vel", {});

  EXPECT_THAT(client.reason(), HasSubstr("too many rules"));
}

}  // namespace
