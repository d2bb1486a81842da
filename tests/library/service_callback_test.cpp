// The callbacks for the death and the return of the service, and the event that callbacks can ask
// for.

#include <algorithm>
#include <memory>

#include "tests/library/proxy_test.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// Notes its calls on the timeline: pass it as user data.
struct Watcher {
  static void called(qx::ServiceState state, const std::vector<std::string>& vmIds,
                     void* userData) {
    auto& self = *static_cast<Watcher*>(userData);
    scripted::Timeline::the().record(
        std::string(state == qx::ServiceState::kGone ? "gone" : "back") + " " + self.name);
    self.vmIds = vmIds;
  }

  std::string name;
  std::vector<std::string> vmIds;
};

int sessionEnded(unsigned short, void*, void*) {
  scripted::Timeline::the().record("session ended");
  return 0;
}

class ServiceCallbackTest : public ProxyTest {
 protected:
  void restartService() {
    timeline.when("Error onServiceDeath: vel serviced death", [this] { bus.setRegistered(true); });
    dieForGood();
    // The library connects the instance only.
    proxy->Init();
  }
  void dieForGood() {
    bus.serviceDies();
    bus.waitForDeaths();
  }

  Watcher watcher{"watcher", {}};
};

TEST_F(ServiceCallbackTest, ComesAtOnceAndAgainAfterTheCallbacksOfTheVms) {
  proxy->RegisterServiceCallback(&Watcher::called, &watcher);
  proxy->RegisterCallback("win11", &sessionEnded, &watcher);

  restartService();

  EXPECT_EQ(timeline.count("gone watcher"), 1);
  const Strings notes = timeline.all();
  const auto at = [&](const std::string& note) {
    return std::find(notes.begin(), notes.end(), note) - notes.begin();
  };
  EXPECT_LT(at("gone watcher"), at("session ended"));
  EXPECT_LT(at("session ended"), at("back watcher"));
}

TEST_F(ServiceCallbackTest, NamesTheVmsThatWereLookedUpAtTheServiceThatDied) {
  bus.knowsVm("win11", 7);
  bus.knowsVm("linux", 8);
  proxy->GetVmIdInt("win11");
  proxy->GetVmIdInt("linux");
  proxy->RegisterServiceCallback(&Watcher::called, &watcher);

  restartService();
  EXPECT_THAT(watcher.vmIds, ElementsAre("linux", "win11"));

  restartService();
  EXPECT_THAT(watcher.vmIds, IsEmpty()) << "none was looked up again";
}

TEST_F(ServiceCallbackTest, LastsUntilNullEndsIt) {
  proxy->RegisterServiceCallback(&Watcher::called, &watcher);
  EXPECT_TRUE(proxy->CheckServiceCallback(&watcher));
  restartService();
  restartService();
  EXPECT_EQ(timeline.count("gone watcher"), 2);
  EXPECT_EQ(timeline.count("back watcher"), 2);

  proxy->RegisterServiceCallback(nullptr, &watcher);
  EXPECT_FALSE(proxy->CheckServiceCallback(&watcher));
  restartService();

  EXPECT_EQ(timeline.count("gone watcher"), 2);
}

TEST_F(ServiceCallbackTest, DoesNotReportAReturnOfAServiceThatStaysAway) {
  proxy->RegisterServiceCallback(&Watcher::called, &watcher);

  dieForGood();

  EXPECT_EQ(timeline.count("gone watcher"), 1);
  EXPECT_EQ(timeline.count("back watcher"), 0);
}

TEST_F(ServiceCallbackTest, MayRegisterAndCall) {
  bus.answer("connectDevice", Reply().int32(0));
  static qx::VelProxy* registering = nullptr;
  static int status = -1;
  registering = proxy.get();
  status = -1;
  proxy->RegisterServiceCallback(
      [](qx::ServiceState state, const std::vector<std::string>&, void* userData) {
        registering->RegisterCallback("win11", &sessionEnded, userData);
        registering->UnregisterDeviceCallback(userData);
        if (state == qx::ServiceState::kBack) {
          status = registering->Init() == 0 ? registering->ConnectDevice("", 12) : -1;
        }
      },
      &watcher);

  restartService();
  EXPECT_EQ(status, 0);
  EXPECT_EQ(timeline.count("session ended"), 1) << "registered when the service died";

  restartService();
  EXPECT_EQ(timeline.count("session ended"), 2) << "registered again when it was back";
}

TEST_F(ServiceCallbackTest, AnExceptionSkipsNoOther) {
  Watcher other{"other", {}};
  Watcher* const first = std::min(&watcher, &other);
  Watcher* const second = std::max(&watcher, &other);
  proxy->RegisterServiceCallback(
      [](qx::ServiceState, const std::vector<std::string>&, void*) { throw 1; }, first);
  proxy->RegisterServiceCallback(&Watcher::called, second);

  restartService();

  EXPECT_EQ(timeline.count("gone " + second->name), 1);
  EXPECT_EQ(timeline.count("back " + second->name), 1);
}

TEST_F(ServiceCallbackTest, DoesNotRunForAnObjectThatEndsWhileItWaits) {
  proxy->RegisterServiceCallback(&Watcher::called, &watcher);
  Gate pause = timeline.hold("pause");
  bus.serviceDies();
  ASSERT_TRUE(pause.isReached());
  // The pause may be that of the instance, which dies too.
  ASSERT_TRUE(timeline.waitFor("gone watcher"));
  Background destruction([this] {
    proxy.reset();
    return 0;
  });

  pause.open();
  destruction.result();
  bus.waitForDeaths();

  EXPECT_EQ(timeline.count("gone watcher"), 1);
  EXPECT_EQ(timeline.count("back watcher"), 0);
}

// --- currentEvent -------------------------------------------------------------------------------

struct Seen {
  static int onDevice(unsigned short, CommonDevice*, void* userData) {
    auto& self = *static_cast<Seen*>(userData);
    self.event = qx::VelProxy::currentEvent();
    return 0;
  }

  std::shared_ptr<QXBusMessage> event;
};

TEST_F(ServiceCallbackTest, ACallbackCanAskForItsEvent) {
  bus.knowsVm("win11", 7);
  proxy->GetVmIdInt("win11");
  Seen seen;
  proxy->RegisterDeviceCallback(&Seen::onDevice, &seen);

  bus.emit("velevent", EventArguments().int32(7).int32(6).bytes(Bytes(20, 1)));

  ASSERT_TRUE(seen.event);
  EXPECT_EQ(seen.event->getInt32(0), 7);
  EXPECT_EQ(seen.event->getInt32(1), 6);
  int length = 0;
  ::operator delete(seen.event->getBytes(2, &length));
  EXPECT_EQ(length, 20);
  EXPECT_FALSE(qx::VelProxy::currentEvent()) << "this thread delivers none";
}

TEST_F(ServiceCallbackTest, ThereIsNoEventInACallThatTheClientMakes) {
  Seen seen;
  seen.event = scripted::ScriptedBus::messageOf(EventArguments());
  proxy->RegisterDeviceCallback(&Seen::onDevice, &seen);
  std::vector<unsigned char> device(936);

  proxy->DeviceBaseInfoNotify(4, reinterpret_cast<CommonDevice*>(device.data()));

  EXPECT_FALSE(seen.event);
}

TEST_F(ServiceCallbackTest, TheEventOfThisThreadEndsWithIt) {
  Seen seen;
  proxy->RegisterDeviceCallback(&Seen::onDevice, &seen);

  proxy->HandleEvent(
      scripted::ScriptedBus::messageOf(EventArguments().int32(0).int32(4).bytes(Bytes(20, 1))));

  EXPECT_TRUE(seen.event);
  EXPECT_FALSE(qx::VelProxy::currentEvent());
}

}  // namespace
