// Destroying a proxy of one's own while the bus works for it: in a service death, in an event, and
// inside a callback.

#include <functional>
#include <stdexcept>

#include "tests/library/blocks.h"
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
  void registerDevice(ActingListener& listener) {
    listener.name = "device";
    proxy->RegisterDeviceCallback(&ActingListener::called<CommonDevice*>, &listener);
    forget();
  }
  // The listener of the proxy for events of the service.
  QXBusEventCallback* eventListener() const { return bus.interfaceListeners().back().listener; }
  Background<bool> handlingAnEvent(QXBusEventCallback* listener) {
    return Background<bool>([listener] {
      listener->handler(scripted::ScriptedBus::messageOf(eventWithCode(4)));
      return true;
    });
  }
  // The service dies and is back at once.
  void restartService() {
    timeline.when("Error onServiceDeath: vel serviced death", [this] { bus.setRegistered(true); });
    bus.serviceDies();
  }
  void destroy() { proxy.reset(); }
  // Destroys the proxy on another thread, which must wait until the gate is open.
  void destroyBehind(Gate& gate) {
    Background destroying([this] {
      destroy();
      return true;
    });
    EXPECT_TRUE(timeline.waitFor(destroying.id(), kDestruction));
    EXPECT_FALSE(timeline.happensSoon(destroying.id(), "Debug ReleaseService: "));
    gate.open();
    EXPECT_TRUE(destroying.isDone());
    bus.waitForDeaths();
  }

  static constexpr char kDestruction[] = "Debug ~VelProxy: ";
};

// --- On another thread ---------------------------------------------------------------------------

TEST_F(DestructionTest, EndsTheWaitForAServiceThatHasDied) {
  ActingListener win;
  registerVm(win, "win11");
  Gate pause = timeline.hold("pause 2 s");
  bus.serviceDies();
  ASSERT_TRUE(pause.isReached());

  destroyBehind(pause);

  EXPECT_EQ(timeline.count("pause 2 s"), 1);
  EXPECT_EQ(timeline.count("isServiceRegistered("), 1) << "the poll before the pause";
  EXPECT_EQ(win.calls, 0);
}

TEST_F(DestructionTest, EndsTheWaitThatAServiceDeathBeginsWithWithoutCallbacks) {
  Gate pause = timeline.hold("pause 5 s");
  bus.serviceDies();
  ASSERT_TRUE(pause.isReached());

  destroyBehind(pause);

  EXPECT_EQ(timeline.count("isServiceRegistered("), 0);
}

TEST_F(DestructionTest, WaitsForTheCallbackOfADeathAndSkipsTheRest) {
  ActingListener first;
  ActingListener second;
  registerVm(first, "a");
  registerVm(second, "b");
  Gate callback = timeline.hold("called a");
  restartService();
  ASSERT_TRUE(callback.isReached());

  destroyBehind(callback);

  EXPECT_EQ(first.calls, 1);
  EXPECT_EQ(second.calls, 0);
}

TEST_F(DestructionTest, WaitsForTheCallbackOfAnEvent) {
  ActingListener device;
  registerDevice(device);
  Gate callback = timeline.hold("called device");
  Background<bool> event = handlingAnEvent(eventListener());
  ASSERT_TRUE(callback.isReached());

  destroyBehind(callback);

  EXPECT_TRUE(event.isDone());
  EXPECT_EQ(device.calls, 1);
}

TEST_F(DestructionTest, LeavesTheOtherProxiesAlone) {
  ActingListener win;
  instance->Init();
  instance->RegisterCallback("win11", &ActingListener::called<void*>, &win);
  Gate pause = timeline.hold("pause 5 s");
  bus.serviceDies();
  ASSERT_TRUE(pause.isReached());
  bus.setRegistered(true);

  destroyBehind(pause);

  EXPECT_EQ(win.calls, 1) << "of the instance, which lives on";
}

// --- Inside a callback ---------------------------------------------------------------------------

TEST_F(DestructionTest, IsPossibleInTheCallbackOfADeath) {
  ActingListener first;
  ActingListener second;
  registerVm(first, "a");
  registerVm(second, "b");
  first.action = [this] { destroy(); };

  restartService();
  bus.waitForDeaths();

  EXPECT_EQ(first.calls, 1);
  EXPECT_EQ(second.calls, 0);
  EXPECT_EQ(timeline.count(kDestruction), 1);
}

TEST_F(DestructionTest, IsPossibleInACallbackThatThenThrows) {
  ActingListener first;
  registerVm(first, "a");
  first.action = [this] {
    destroy();
    throw std::runtime_error("full");
  };

  restartService();
  bus.waitForDeaths();

  EXPECT_EQ(first.calls, 1);
}

// The event waits for the callback mutex, which the death holds during its callbacks.
TEST_F(DestructionTest, InTheCallbackOfADeathWaitsForAnEventThatWaitsForIt) {
  ActingListener win;
  ActingListener device;
  registerDevice(device);
  registerVm(win, "win11");
  win.action = [this] { destroy(); };
  Gate callback = timeline.hold("called win11");
  QXBusEventCallback* const listener = eventListener();
  restartService();
  ASSERT_TRUE(callback.isReached());
  Background<bool> event = handlingAnEvent(listener);
  ASSERT_TRUE(timeline.waitFor(event.id(), "Debug HandleEvent: devNum:"));
  EXPECT_FALSE(timeline.happensSoon("called device"));

  callback.open();

  EXPECT_TRUE(event.isDone());
  bus.waitForDeaths();
  EXPECT_EQ(device.calls, 1);
  EXPECT_EQ(timeline.count(kDestruction), 1);
}

// --- Before an event or a death arrives ----------------------------------------------------------

// A bus sends an event to a snapshot of its listeners.
TEST_F(DestructionTest, DropsAnEventThatIsOnItsWay) {
  QXBusEventCallback* const listener = eventListener();
  destroy();
  forget();

  EXPECT_TRUE(handlingAnEvent(listener).isDone());

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

}  // namespace
