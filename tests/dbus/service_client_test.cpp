// The client that passes requests on: calls, events and the end of one instance.

#include "bus/dbus/service_client.h"

#include "tests/dbus/dbus_test.h"
#include "tests/dbus/waiting.h"

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
  EXPECT_THAT(client.reason(), HasSubstr("nosuch"));
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

}  // namespace
