// Destroying a proxy of one's own while the bus works for it: in a service death, in an event, and
// inside a callback.

#include <functional>
#include <stdexcept>

#include "tests/library/proxy_test.h"

namespace {

using testing::IsEmpty;

// Records its calls, and runs an action of the test in each: pass `this` as user data. Each call is
// an event on the timeline: "called win11".
struct ActingListener {
  template <typename Record>
  static int called(unsigned short, Record, void* userData) {
    auto& self = *static_cast<ActingListener*>(userData);
    // The action may end the test's interest in this object.
    const std::function<void()> action = self.action;
    ++self.calls;
    scripted::Timeline::the().record("called " + self.name);
    if (action) {
      action();
    }
    return 0;
  }

  std::string name = "listener";
  std::function<void()> action;
  int calls = 0;
};

// The instance is disconnected, so that events and deaths are those of the proxy.
class DestructionTest : public ProxyTest {
 protected:
  DestructionTest() { disconnect(*instance); }

  void registerVm(ActingListener& listener, const std::string& vmId) {
    listener.name = vmId;
    proxy->RegisterCallback(vmId, &ActingListener::called<void*>, &listener);
    forget();
  }
  bool destroy() {
    proxy.reset();
    return true;
  }
  void emitDeviceEvent() {
    bus.emit("velevent", EventArguments().int32(0).int32(4).bytes(Bytes(700, 0)));
  }
  // Whether a thread has begun to destroy the proxy and then waits.
  bool waitsForOthers(const Background<bool>& destroying) {
    return timeline.waitFor(destroying.id(), "Debug ~VelProxy: ") &&
           !timeline.happensSoon(destroying.id(), "Debug ReleaseService: ");
  }
};

TEST_F(DestructionTest, EndsTheWaitForAServiceThatHasDied) {
  ActingListener win;
  registerVm(win, "win11");
  Gate pause = timeline.hold("pause 2 s");
  bus.serviceDies();
  ASSERT_TRUE(pause.isReached());

  Background destroying([this] { return destroy(); });

  EXPECT_TRUE(waitsForOthers(destroying));
  pause.open();
  EXPECT_TRUE(destroying.isDone());
  bus.waitForDeaths();
  EXPECT_EQ(timeline.count("pause 2 s"), 1);
  EXPECT_EQ(timeline.count("isServiceRegistered("), 1) << "the poll before the pause";
  EXPECT_EQ(win.calls, 0);
}

TEST_F(DestructionTest, EndsTheWaitThatAServiceDeathBeginsWithWithoutCallbacks) {
  Gate pause = timeline.hold("pause 5 s");
  bus.serviceDies();
  ASSERT_TRUE(pause.isReached());

  Background destroying([this] { return destroy(); });

  EXPECT_TRUE(waitsForOthers(destroying));
  pause.open();
  EXPECT_TRUE(destroying.isDone());
  bus.waitForDeaths();
  EXPECT_EQ(timeline.count("isServiceRegistered("), 0);
}

TEST_F(DestructionTest, WaitsForTheCallbackOfADeathAndSkipsTheRest) {
  ActingListener first;
  ActingListener second;
  registerVm(first, "a");
  registerVm(second, "b");
  Gate callback = timeline.hold("called a");
  timeline.when("Error onServiceDeath: vel serviced death", [this] { bus.setRegistered(true); });
  bus.serviceDies();
  ASSERT_TRUE(callback.isReached());

  Background destroying([this] { return destroy(); });

  EXPECT_TRUE(waitsForOthers(destroying));
  callback.open();
  EXPECT_TRUE(destroying.isDone());
  bus.waitForDeaths();
  EXPECT_EQ(first.calls, 1);
  EXPECT_EQ(second.calls, 0);
}

TEST_F(DestructionTest, IsPossibleInTheCallbackOfADeath) {
  ActingListener first;
  ActingListener second;
  registerVm(first, "a");
  registerVm(second, "b");
  first.action = [this] { destroy(); };
  timeline.when("Error onServiceDeath: vel serviced death", [this] { bus.setRegistered(true); });

  bus.serviceDies();
  bus.waitForDeaths();

  EXPECT_EQ(first.calls, 1);
  EXPECT_EQ(second.calls, 0);
  EXPECT_EQ(timeline.count("Debug ~VelProxy: "), 1);
}

TEST_F(DestructionTest, IsPossibleInACallbackThatThenThrows) {
  ActingListener first;
  registerVm(first, "a");
  first.action = [this] {
    destroy();
    throw std::runtime_error("full");
  };
  timeline.when("Error onServiceDeath: vel serviced death", [this] { bus.setRegistered(true); });

  bus.serviceDies();
  bus.waitForDeaths();

  EXPECT_EQ(first.calls, 1);
}

// The event waits for the callback mutex, which the death holds during its callbacks.
TEST_F(DestructionTest, InTheCallbackOfADeathWaitsForAnEventThatWaitsForIt) {
  ActingListener win;
  ActingListener device;
  device.name = "device";
  proxy->RegisterDeviceCallback(&ActingListener::called<CommonDevice*>, &device);
  registerVm(win, "win11");
  // The service is back, and its event arrives while the callback runs.
  timeline.when("Error onServiceDeath: vel serviced death", [this] { bus.setRegistered(true); });
  QXBusEventCallback* const listener = bus.interfaceListeners().back().listener;
  const auto message = QXBusSerivceManager::initSync(-1)
                           ->getServiceProxyInterface("vel", QXBUS_SECURITY_SAME_USER_OR_ROOT, 1)
                           ->makeMethodCallMessage("an event");
  message->appendInt32(0);
  message->appendInt32(4);
  const Bytes block(700, 0);
  message->appendBytes(block.data(), static_cast<int>(block.size()));
  Gate callback = timeline.hold("called win11");
  win.action = [this] { destroy(); };
  bus.serviceDies();
  ASSERT_TRUE(callback.isReached());
  Background event([&] {
    listener->handler(message);
    return true;
  });
  ASSERT_TRUE(timeline.waitFor(event.id(), "Debug HandleEvent: devNum:"));
  EXPECT_FALSE(timeline.happensSoon("called device"));

  callback.open();

  EXPECT_TRUE(event.isDone());
  bus.waitForDeaths();
  EXPECT_EQ(device.calls, 1);
  EXPECT_EQ(timeline.count("Debug ~VelProxy: "), 1);
}

TEST_F(DestructionTest, WaitsForTheCallbackOfAnEvent) {
  ActingListener device;
  device.name = "device";
  proxy->RegisterDeviceCallback(&ActingListener::called<CommonDevice*>, &device);
  Gate callback = timeline.hold("called device");
  Background event([this] {
    emitDeviceEvent();
    return true;
  });
  ASSERT_TRUE(callback.isReached());

  Background destroying([this] { return destroy(); });

  EXPECT_TRUE(waitsForOthers(destroying));
  callback.open();
  EXPECT_TRUE(destroying.isDone());
  EXPECT_TRUE(event.isDone());
}

// A bus hands events out over a snapshot of its listeners.
TEST_F(DestructionTest, DropsAnEventThatIsOnItsWay) {
  QXBusEventCallback* const listener = bus.interfaceListeners().back().listener;
  destroy();
  forget();

  listener->handler(nullptr);
  listener->handler(std::shared_ptr<QXBusMessage>());

  EXPECT_THAT(timeline.all(), IsEmpty());
}

TEST_F(DestructionTest, DropsADeathThatIsOnItsWay) {
  Gate death = timeline.hold("death");
  bus.serviceDies();
  ASSERT_TRUE(death.isReached());
  destroy();
  forget();

  death.open();
  bus.waitForDeaths();

  EXPECT_THAT(timeline.all(), IsEmpty());
}

TEST_F(DestructionTest, LeavesTheOtherProxiesAlone) {
  ActingListener win;
  instance->Init();
  instance->RegisterCallback("win11", &ActingListener::called<void*>, &win);
  Gate pause = timeline.hold("pause 5 s");
  bus.serviceDies();
  ASSERT_TRUE(pause.isReached());

  Background destroying([this] { return destroy(); });
  EXPECT_TRUE(waitsForOthers(destroying));
  bus.setRegistered(true);
  pause.open();
  bus.waitForDeaths();

  EXPECT_TRUE(destroying.isDone());
  EXPECT_EQ(win.calls, 1) << "of the instance, which lives on";
}

}  // namespace
