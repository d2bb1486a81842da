// What only a direct connection has: no daemon, so no names, and a socket that can be stale, taken
// or flooded.

#include <atomic>
#include <filesystem>
#include <set>
#include <thread>

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include "base/unix_socket.h"
#include "bus/dbus/bus_failure.h"
#include "tests/dbus/dbus_test.h"
#include "tests/dbus/libdbus_messages.h"

namespace {

using namespace dbustest;
using testing::ElementsAre;
using testing::HasSubstr;

constexpr char kDirect[] = "direct:";

class DirectConnection : public DBusTest {
 protected:
  static std::string socket() {
    return std::string(std::getenv("QXBUS_ADDRESS")).substr(sizeof kDirect - 1) + "vel";
  }
  static std::string libdbusAddress() { return "unix:path=" + socket(); }

  // libdbus as a client of the service.
  class LibdbusClient {
   public:
    LibdbusClient() {
      connection_ = dbus_connection_open_private(libdbusAddress().c_str(), nullptr);
      if (connection_) {
        dbus_connection_set_exit_on_disconnect(connection_, FALSE);
      }
    }
    ~LibdbusClient() {
      if (connection_) {
        dbus_connection_close(connection_);
        dbus_connection_unref(connection_);
      }
    }
    LibdbusClient(const LibdbusClient&) = delete;
    LibdbusClient& operator=(const LibdbusClient&) = delete;

    bool isConnected() const { return connection_ != nullptr; }

    DBusMessageRef call(const char* path, const char* interface, const char* method,
                        const Body& body = nullptr) {
      const DBusMessageRef request(dbus_message_new_method_call(nullptr, path, interface, method));
      if (body) {
        DBusMessageIter arguments;
        dbus_message_iter_init_append(request.get(), &arguments);
        body(&arguments);
      }
      return DBusMessageRef(
          dbus_connection_send_with_reply_and_block(connection_, request.get(), 10000, nullptr));
    }

    DBusMessageRef nextSignal() {
      const auto deadline = TestClock::now() + kLongestWait;
      while (TestClock::now() < deadline) {
        dbus_connection_read_write(connection_, 100);
        if (DBusMessage* const message = dbus_connection_pop_message(connection_)) {
          if (dbus_message_get_type(message) == DBUS_MESSAGE_TYPE_SIGNAL) {
            return DBusMessageRef(message);
          }
          dbus_message_unref(message);
        }
      }
      return nullptr;
    }

   private:
    DBusConnection* connection_ = nullptr;
  };
};

TEST_F(DirectConnection, IsMadeToTheServiceThatListens) {
  EXPECT_FALSE(manager().isServiceRegistered("vel"));
  EXPECT_THAT(qxbus::busFailure(), HasSubstr("no service listens at " + socket()));
  EXPECT_EQ(manager().getServiceProxyInterface("vel", kSafe, 1), nullptr);

  const TestService service;

  EXPECT_TRUE(manager().isServiceRegistered("vel"));
  EXPECT_EQ(qxbus::busFailure(), "");
  EXPECT_THAT(call(*proxyOf(), "echo", {std::int32_t{7}}), IsReply());
}

TEST_F(DirectConnection, EndsAndIsMadeAgainWithTheService) {
  auto service = std::make_unique<TestService>();
  const ProxyRef first = proxyOf();
  const auto death = std::make_shared<Gate>();
  first->setDeathCallback([death] { death->open(); });

  service.reset();

  EXPECT_TRUE(death->wait());
  EXPECT_THAT(call(*first, "echo"), IsDisconnected());
  EXPECT_TRUE(waitUntil([] { return !manager().isServiceRegistered("vel"); }));
  service = std::make_unique<TestService>();
  EXPECT_THAT(call(*proxyOf(), "echo"), IsReply());
  EXPECT_THAT(call(*first, "echo"), IsDisconnected());
}

// The other thread finds nothing until just now: that is about the time before the service.
TEST_F(DirectConnection, IsMadeAsSoonAsTheServiceListensWhileAnotherThreadLooksForIt) {
  std::atomic<bool> isLooking{true};
  std::thread other([&isLooking] {
    while (isLooking) {
      manager().isServiceRegistered("vel");
    }
  });

  int found = 0;
  for (int i = 0; i < 200; ++i) {
    const TestService service;
    found += manager().isServiceRegistered("vel") ? 1 : 0;
  }

  isLooking = false;
  other.join();
  EXPECT_EQ(found, 200);
}

TEST_F(DirectConnection, IsTheServicesForThisUserAlone) {
  const TestService service;

  struct stat status = {};
  ASSERT_EQ(::stat(socket().c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777, mode_t{S_IRUSR | S_IWUSR});
}

TEST_F(DirectConnection, TakesTheSocketOfAServiceThatWasKilled) {
  {
    // A socket that nothing listens at any more, as a crash leaves it.
    const int left = ::socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    socket().copy(address.sun_path, sizeof address.sun_path - 1);
    ASSERT_EQ(::bind(left, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    ::close(left);
  }
  ASSERT_TRUE(std::filesystem::exists(socket()));

  const TestService service;

  EXPECT_THAT(call(*proxyOf(), "echo"), IsReply());
}

TEST_F(DirectConnection, NeverTakesTheSocketOfAServiceThatRuns) {
  const TestService service;
  const ProxyRef proxy = proxyOf();

  EXPECT_THROW(TestService(), std::runtime_error);

  EXPECT_THAT(call(*proxy, "echo"), IsReply());
  EXPECT_THAT(call(*proxyOf(), "echo"), IsReply());
}

TEST_F(DirectConnection, RemovesItsSocketAtTheEnd) {
  std::make_unique<TestService>().reset();

  EXPECT_FALSE(std::filesystem::exists(socket()));
}

TEST_F(DirectConnection, CarriesEventsAndBroadcastsOfTheService) {
  const TestService service;
  const ProxyRef proxy = proxyOf();
  const auto events = std::make_shared<Messages>();
  const auto broadcasts = std::make_shared<Messages>();
  const std::string broadcast = newBroadcastName();
  proxy->addEventListener(
      "velevent", lastingListener([events](const MessageRef& event) { events->add(event); }),
      kSafe);
  manager().addEventListener(
      broadcast, lastingListener([broadcasts](const MessageRef& event) { broadcasts->add(event); }),
      kSafe);

  for (std::int32_t i = 0; i < 3; ++i) {
    const_cast<TestService&>(service).host().emitEvent("velevent", {i});
    const_cast<TestService&>(service).host().broadcast(broadcast, {i});
  }

  ASSERT_TRUE(events->waitFor(3));
  ASSERT_TRUE(broadcasts->waitFor(3));
  EXPECT_THAT(firstNumbers(*events), ElementsAre(0, 1, 2));
  EXPECT_THAT(firstNumbers(*broadcasts), ElementsAre(0, 1, 2));
}

TEST_F(DirectConnection, ServesSeveralClientsAtOnceAndTellsThemApart) {
  const auto senders = std::make_shared<Record<std::string>>();
  TestService service("vel", {{"whoAmI", [senders](qxbus::Request request) {
                                 senders->add(request.sender());
                                 request.reply({});
                               }}});
  LibdbusClient first;
  LibdbusClient second;
  ASSERT_TRUE(first.isConnected() && second.isConnected());

  EXPECT_TRUE(first.call(kVelPath, kVelName, "whoAmI"));
  EXPECT_TRUE(second.call(kVelPath, kVelName, "whoAmI"));
  EXPECT_THAT(call(*proxyOf(), "whoAmI"), IsReply());
  service.emit("velevent", {std::int32_t{5}});

  const std::vector<std::string> seen = senders->items();
  EXPECT_EQ(std::set<std::string>(seen.begin(), seen.end()).size(), 3u);
  for (LibdbusClient* const client : {&first, &second}) {
    const DBusMessageRef event = client->nextSignal();
    ASSERT_TRUE(event);
    EXPECT_STREQ(dbus_message_get_member(event.get()), "velevent");
    EXPECT_EQ(qxbus::readInt32(readBody(event.get()), 0), 5);
  }
}

TEST_F(DirectConnection, IsPlainDBusForAnyLibrary) {
  const TestService service;
  LibdbusClient client;
  ASSERT_TRUE(client.isConnected());

  const DBusMessageRef echoed =
      client.call(kVelPath, kVelName, "echo", variants({std::int32_t{7}, std::string("text")}));

  ASSERT_TRUE(echoed);
  EXPECT_EQ(qxbus::describe(readBody(echoed.get())), "int32 7, string \"text\"");
  EXPECT_TRUE(client.call("/", "org.freedesktop.DBus.Peer", "Ping"));
  EXPECT_TRUE(client.call(kVelPath, "org.freedesktop.DBus.Introspectable", "Introspect"));
  EXPECT_FALSE(client.call(kVelPath, kVelName, "noSuchMethod"));
}

TEST_F(DirectConnection, IsServedWhileOthersNeverAuthenticate) {
  const TestService service;
  std::vector<base::Socket> silent;
  for (int i = 0; i < 200; ++i) {
    silent.push_back(base::newSocket());
    base::connectTo(silent.back(), socket());
  }

  EXPECT_THAT(call(*proxyOf(), "echo"), IsReply());
  silent.clear();
  EXPECT_TRUE(waitUntil([] { return LibdbusClient().isConnected(); }));
}

TEST_F(DirectConnection, IsRefusedToAnotherUser) {
  if (::geteuid() != 0) {
    GTEST_SKIP() << "needs root to connect as another user";
  }
  const TestService service;
  constexpr char kOtherUser[] = "65534";
  // Even one who could open the socket.
  ::chmod(socket().c_str(), 0777);
  ::chmod(std::filesystem::path(socket()).parent_path().c_str(), 0755);

  Process process(helper({BUS_PROCESS, "connect-as", socket(), kOtherUser}));

  EXPECT_EQ(process.readLine(), "refused");
  ::chmod(std::filesystem::path(socket()).parent_path().c_str(), 0700);
}

}  // namespace
