// The service side, seen by ordinary tools and by callers of every kind.

#include <atomic>
#include <thread>

#include "tests/dbus/dbus_test.h"
#include "tests/dbus/libdbus_messages.h"
#include "tests/dbus/raw_peer.h"

namespace {

using namespace dbustest;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;

class ServiceHostOverDBus : public DBusTest {
 protected:
  // The output of dbus-send.
  static std::string dbusSend(const std::vector<std::string>& arguments) {
    std::vector<std::string> command = {
        "dbus-send", isDirect() ? "--peer=" + directAddress() : "--bus=" + bus().address(),
        "--print-reply", "--reply-timeout=20000"};
    command.insert(command.end(), arguments.begin(), arguments.end());
    const processes::Finished sent = run(helper(command));
    EXPECT_EQ(sent.status, 0);
    return sent.out;
  }

  DBusMessageRef ask(const std::string& method, const Body& body = nullptr) {
    return client().call(kVelName, kVelPath, kVelName, method, body);
  }

  // A client that is another program, as far as the service knows.
  RawPeer& client() {
    if (!client_) {
      client_ = isDirect() ? std::make_unique<RawPeer>(directAddress(), RawPeer::Place::kAtAService)
                           : std::make_unique<RawPeer>(bus().address());
    }
    return *client_;
  }

  // The client receives the signals of an interface. A service that listens itself sends all of
  // them.
  void listenFor(const std::string& interface) {
    if (isDirect()) {
      client().call("", "/", "org.freedesktop.DBus.Peer", "Ping");
    } else {
      client().listen("type='signal',interface='" + interface + "'");
    }
  }

  // The number of replies that go over the bus to the client during an action.
  int repliesDuring(const std::function<void()>& action) {
    // Its own signing in is no reply that counts.
    client();
    RawPeer watcher(bus().address());
    const Body everything = [](DBusMessageIter* arguments) {
      DBusMessageIter rules;
      const dbus_uint32_t flags = 0;
      dbus_message_iter_open_container(arguments, DBUS_TYPE_ARRAY, "s", &rules);
      dbus_message_iter_close_container(arguments, &rules);
      dbus_message_iter_append_basic(arguments, DBUS_TYPE_UINT32, &flags);
    };
    EXPECT_EQ(errorNameOf(watcher.call(DBUS_SERVICE_DBUS, DBUS_PATH_DBUS, DBUS_INTERFACE_MONITORING,
                                       "BecomeMonitor", everything)),
              "");

    action();
    ask("echo", nativeString("the end"));

    for (int replies = 0;; ++replies) {
      DBusMessageRef seen = watcher.nextMessage();
      while (seen && (dbus_message_get_reply_serial(seen.get()) == 0 ||
                      !dbus_message_has_destination(seen.get(), client().uniqueName().c_str()))) {
        seen = watcher.nextMessage();
      }
      if (!seen || qxbus::readString(readBody(seen.get()), 0) == "the end") {
        EXPECT_TRUE(seen);
        return replies;
      }
    }
  }

 private:
  std::unique_ptr<RawPeer> client_;
};

// --- Ordinary tools ------------------------------------------------------------------------------

TEST_F(ServiceHostOverDBus, DescribesItsObjectToAnOrdinaryTool) {
  const TestService service("vel", {}, {"velevent"});

  const std::string xml = dbusSend({std::string("--dest=") + kVelName, kVelPath,
                                    "org.freedesktop.DBus.Introspectable.Introspect"});

  EXPECT_THAT(xml,
              AllOf(HasSubstr("<interface name=\"qx.bus.vel\""), HasSubstr("<method name=\"echo\""),
                    HasSubstr("<method name=\"fail\""), HasSubstr("<signal name=\"velevent\""),
                    HasSubstr("org.freedesktop.DBus.Peer")));
}

TEST_F(ServiceHostOverDBus, LeadsAnOrdinaryToolFromTheRootToItsObject) {
  const TestService service;
  const auto childOf = [](const std::string& path) {
    return dbusSend({std::string("--dest=") + kVelName, path,
                     "org.freedesktop.DBus.Introspectable.Introspect"});
  };

  EXPECT_THAT(childOf("/"), HasSubstr("<node name=\"qx\""));
  EXPECT_THAT(childOf("/qx"), HasSubstr("<node name=\"bus\""));
  EXPECT_THAT(childOf("/qx/bus"), HasSubstr("<node name=\"vel\""));
}

TEST_F(ServiceHostOverDBus, AnswersAnOrdinaryToolThatPings) {
  const TestService service;

  EXPECT_THAT(
      dbusSend({std::string("--dest=") + kVelName, kVelPath, "org.freedesktop.DBus.Peer.Ping"}),
      HasSubstr("method return"));
  EXPECT_THAT(dbusSend({std::string("--dest=") + kVelName, kVelPath,
                        "org.freedesktop.DBus.Peer.GetMachineId"}),
              HasSubstr("string \""));
}

TEST_F(ServiceHostOverDBus, TakesNativeArgumentsFromAnOrdinaryTool) {
  const TestService service;

  const std::string printed =
      dbusSend({std::string("--dest=") + kVelName, kVelPath, "qx.bus.vel.echo", "int32:7",
                "string:text", "array:byte:1,2"});

  EXPECT_THAT(printed, AllOf(HasSubstr("int32 7"), HasSubstr("string \"text\""),
                             HasSubstr("array of bytes")));
}

// --- Calls ---------------------------------------------------------------------------------------

TEST_F(ServiceHostOverDBus, ReadsNativeAndVariantArguments) {
  TestService service("vel", {{"describe", [](qxbus::Request request) {
                                 request.reply({qxbus::describe(request.arguments())});
                               }}});
  const auto described = [&](const Body& body) {
    const DBusMessageRef reply = ask("describe", body);
    return qxbus::readString(readBody(reply.get()), 0);
  };

  EXPECT_EQ(described(nativeInt32(7)), "int32 7");
  EXPECT_EQ(described(nativeString("text")), "string \"text\"");
  EXPECT_EQ(described(variants({std::int32_t{7}, std::string("text")})),
            "int32 7, string \"text\"");
  EXPECT_EQ(described(variants({})), "");
  EXPECT_EQ(described(nullptr), "");
}

TEST_F(ServiceHostOverDBus, RepliesWithVariants) {
  const TestService service;

  EXPECT_STREQ(dbus_message_get_signature(ask("echo", nativeInt32(7)).get()), "av");
  EXPECT_STREQ(dbus_message_get_signature(ask("echo").get()), "av");
}

TEST_F(ServiceHostOverDBus, FailsWithOneText) {
  const TestService service;

  const DBusMessageRef reply = ask("fail", nativeString("no desktop connected"));

  EXPECT_NE(errorNameOf(reply), "");
  EXPECT_STREQ(dbus_message_get_signature(reply.get()), "s");
  EXPECT_EQ(firstText(reply), "no desktop connected");
}

TEST_F(ServiceHostOverDBus, FailsInCharactersThatEveryoneCanRead) {
  const TestService service(
      "vel", {{"refuse", [](qxbus::Request request) { request.fail("n\x7fo \xff\x01!"); }}});

  EXPECT_EQ(firstText(ask("refuse")), R"(n?o ??!)");
}

TEST_F(ServiceHostOverDBus, NamesTheMethodThatItDoesNotHave) {
  const TestService service;

  const DBusMessageRef reply = ask("startManger");

  EXPECT_EQ(errorNameOf(reply), DBUS_ERROR_UNKNOWN_METHOD);
  EXPECT_THAT(firstText(reply), HasSubstr("startManger"));
}

TEST_F(ServiceHostOverDBus, HasNoOtherObjectAndNoOtherInterface) {
  const TestService service;

  EXPECT_EQ(errorNameOf(client().call(kVelName, "/qx/bus/else", kVelName, "echo")),
            DBUS_ERROR_UNKNOWN_OBJECT);
  EXPECT_EQ(errorNameOf(client().call(kVelName, kVelPath, "qx.bus.else", "echo")),
            DBUS_ERROR_UNKNOWN_INTERFACE);
  EXPECT_EQ(errorNameOf(client().call(kVelName, kVelPath, "", "echo")), "");
}

TEST_F(ServiceHostOverDBus, NamesTheCaller) {
  const auto senders = std::make_shared<Record<std::string>>();
  TestService service("vel", {{"whoAmI", [senders](qxbus::Request request) {
                                 senders->add(request.method() + " " + request.sender());
                                 request.reply({});
                               }}});

  ask("whoAmI");

  // Without a bus to give the client a name, the service does.
  const std::string name = isDirect() ? ":direct.1" : client().uniqueName();
  EXPECT_THAT(senders->items(), ElementsAre("whoAmI " + name));
}

TEST_F(ServiceHostOverDBus, AnswersLater) {
  TestService service;
  std::thread answerer([&] {
    service.waitForHeld(1);
    service.release({std::string("at last")});
  });

  const DBusMessageRef reply = ask("hold");
  answerer.join();

  EXPECT_EQ(qxbus::readString(readBody(reply.get()), 0), "at last");
}

TEST_F(ServiceHostOverDBus, AnswersARequestThatIsDroppedWithAnError) {
  TestService service("vel", {{"drop", [](const qxbus::Request&) {}}});

  const DBusMessageRef reply = ask("drop");

  EXPECT_NE(errorNameOf(reply), "");
  EXPECT_THAT(firstText(reply), HasSubstr("drop"));
}

TEST_F(ServiceHostOverDBus, SendsOnlyTheFirstAnswer) {
  NEEDS_DAEMON();
  TestService service("vel", {{"twice",
                               [](qxbus::Request request) {
                                 request.reply({std::string("first")});
                                 request.fail("second");
                                 request.reply({std::string("third")});
                               }},
                              {"twiceNo", [](qxbus::Request request) {
                                 request.fail("first");
                                 request.reply({std::string("second")});
                               }}});

  EXPECT_EQ(repliesDuring([&] {
              EXPECT_EQ(qxbus::readString(readBody(ask("twice").get()), 0), "first");
              EXPECT_EQ(firstText(ask("twiceNo")), "first");
            }),
            2);
}

TEST_F(ServiceHostOverDBus, SendsNoReplyToACallThatWantsNone) {
  NEEDS_DAEMON();
  TestService service("vel", {{"drop", [](const qxbus::Request&) {}}});

  EXPECT_EQ(repliesDuring([&] {
              for (const char* const method : {"echo", "fail", "drop", "unknown"}) {
                const DBusMessageRef call(
                    dbus_message_new_method_call(kVelName, kVelPath, kVelName, method));
                dbus_message_set_no_reply(call.get(), TRUE);
                client().send(call);
              }
            }),
            0);
}

TEST_F(ServiceHostOverDBus, RunsItsHandlersOneAtATimeOnAThreadOfItsOwn) {
  std::atomic<int> running{0};
  std::atomic<int> most{0};
  const auto threads = std::make_shared<Record<std::thread::id>>();
  TestService service("vel", {{"work", [&, threads](qxbus::Request request) {
                                 most = std::max(most.load(), ++running);
                                 threads->add(std::this_thread::get_id());
                                 --running;
                                 request.reply({});
                               }}});
  const ProxyRef proxy = proxyOf();

  std::vector<std::thread> callers;
  callers.reserve(4);
  for (int i = 0; i < 4; ++i) {
    callers.emplace_back([&] {
      for (int round = 0; round < 20; ++round) {
        EXPECT_THAT(call(*proxy, "work"), IsReply());
      }
    });
  }
  for (std::thread& caller : callers) {
    caller.join();
  }

  EXPECT_EQ(most, 1);
  EXPECT_THAT(threads->items(), testing::Each(threads->items().front()));
  EXPECT_NE(threads->items().front(), std::this_thread::get_id());
}

// --- Its events ----------------------------------------------------------------------------------

TEST_F(ServiceHostOverDBus, SendsEventsAsVariantsFromItsObjectAndInterface) {
  TestService service;
  listenFor("qx.bus.vel");
  listenFor("qx.bus.Broadcast");

  service.emit("velevent", {std::int32_t{7}, std::string("text")});
  const DBusMessageRef event = client().nextSignal();
  service.host().broadcast("mountedEvent", {});
  const DBusMessageRef broadcast = client().nextSignal();

  ASSERT_TRUE(event && broadcast);
  EXPECT_TRUE(dbus_message_is_signal(event.get(), kVelName, "velevent"));
  EXPECT_STREQ(dbus_message_get_path(event.get()), kVelPath);
  EXPECT_STREQ(dbus_message_get_signature(event.get()), "av");
  EXPECT_EQ(qxbus::describe(readBody(event.get())), "int32 7, string \"text\"");
  EXPECT_TRUE(dbus_message_is_signal(broadcast.get(), "qx.bus.Broadcast", "mountedEvent"));
  EXPECT_STREQ(dbus_message_get_signature(broadcast.get()), "av");
}

TEST_F(ServiceHostOverDBus, DoesNotSendWhatDBusDoesNotAllow) {
  TestService service;
  const ProxyRef proxy = proxyOf();
  const auto events = std::make_shared<Messages>();
  proxy->addEventListener(
      "velevent", lastingListener([events](const MessageRef& event) { events->add(event); }),
      QXBUS_SECURITY_SAME_USER_OR_ROOT);

  service.emit("no event", {});
  service.emit("", {});
  service.emit("velevent", {qxbus::Bytes(70 * kMegabyte)});
  service.emit("velevent", {std::string("a\0b", 3)});

  ASSERT_TRUE(events->waitFor(1));
  EXPECT_TRUE(events->stays(1));
  EXPECT_EQ(events->items()[0]->getString(0), std::string("a\0b", 3));
}

}  // namespace
