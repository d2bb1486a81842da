// Registering per-VM callbacks. connection_test.cpp tests their calls.

#include "tests/library/proxy_test.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// Records its calls: pass `this` as user data.
struct Listener {
  static int called(unsigned short code, void* data, void* userData) {
    auto& self = *static_cast<Listener*>(userData);
    self.codes.push_back(code);
    self.data.push_back(data);
    return 1;
  }

  std::vector<unsigned short> codes;
  std::vector<void*> data;
};

int otherCallback(unsigned short, void*, void* userData) {
  ++*static_cast<int*>(userData);
  return 0;
}

std::string pointerTo(VmCallback callback) {
  return pointer(reinterpret_cast<void*>(callback));
}

class CallbacksTest : public ProxyTest {
 protected:
  // The service dies, which calls every callback and ends its registration.
  void endEverySession() {
    disconnect(*instance);
    bus.serviceDies();
    bus.waitForDeaths();
    bus.setRegistered(true);
    proxy->Init();
  }
};

TEST_F(CallbacksTest, RegisteringLogsItsArgumentsAndSendsNothing) {
  Listener listener;
  disconnect(*instance);

  EXPECT_EQ(proxy->RegisterCallback("win11", &Listener::called, &listener), 0);

  EXPECT_THAT(
      log.summaries(),
      ElementsAre(debugLine("RegisterCallback", "registerCallback:vmId:%s callback %p userdata:%p",
                            "registerCallback:vmId:win11 callback " + pointerTo(&Listener::called) +
                                " userdata:" + pointer(&listener)),
                  debugLine("RegisterCallback", "end")));
  EXPECT_EQ(timeline.all().size(), 2u) << "neither a connection nor a call";
}

TEST_F(CallbacksTest, UnregisteringLogsTheVmAndSendsNothing) {
  disconnect(*instance);

  EXPECT_EQ(proxy->UnregisterCallback("win11"), 0);

  EXPECT_THAT(log.summaries(),
              ElementsAre(debugLine("UnregisterCallback", "unregistercallback vmid:%s",
                                    "unregistercallback vmid:win11")));
  EXPECT_EQ(timeline.all().size(), 1u) << "neither a connection nor a call";
}

TEST_F(CallbacksTest, ALaterCallbackTakesThePlaceOfTheEarlier) {
  Listener earlier;
  int laterCalls = 0;
  proxy->RegisterCallback("win11", &Listener::called, &earlier);
  proxy->RegisterCallback("win11", &otherCallback, &laterCalls);

  endEverySession();

  EXPECT_THAT(earlier.codes, IsEmpty());
  EXPECT_EQ(laterCalls, 1);
}

TEST_F(CallbacksTest, ManyVmsMayShareOneUserData) {
  Listener listener;
  proxy->RegisterCallback("win11", &Listener::called, &listener);
  proxy->RegisterCallback("linux9", &Listener::called, &listener);
  proxy->RegisterCallback("", &Listener::called, &listener);

  endEverySession();

  EXPECT_THAT(listener.codes, ElementsAre(5, 5, 5));
}

TEST_F(CallbacksTest, UnregisteringEndsOnlyTheCallbackOfThatVm) {
  Listener removed;
  Listener kept;
  proxy->RegisterCallback("win11", &Listener::called, &removed);
  proxy->RegisterCallback("win1", &Listener::called, &kept);

  EXPECT_EQ(proxy->UnregisterCallback("win11"), 0);
  EXPECT_EQ(proxy->UnregisterCallback("win"), 0);
  endEverySession();

  EXPECT_THAT(removed.codes, IsEmpty());
  EXPECT_THAT(kept.codes, ElementsAre(5));
}

TEST_F(CallbacksTest, ANullCallbackIsRegisteredAndNeverCalled) {
  Listener listener;
  EXPECT_EQ(proxy->RegisterCallback("linux9", nullptr, &listener), 0);
  EXPECT_EQ(proxy->RegisterCallback("win11", &Listener::called, &listener), 0);

  endEverySession();

  EXPECT_THAT(listener.codes, ElementsAre(5));
  EXPECT_THAT(log.errors(), testing::Contains("erase vmId: linux9"));
}

TEST_F(CallbacksTest, RegisteringWaitsForNoCall) {
  Listener listener;
  bus.answer("resetService", Reply().int32(0));
  Gate gate = timeline.hold("call resetService(");
  Background call([this] { return proxy->ResetService(); });
  ASSERT_TRUE(gate.isReached());

  Background registration([&] {
    return proxy->RegisterCallback("win11", &Listener::called, &listener) +
           proxy->UnregisterCallback("win11");
  });

  EXPECT_TRUE(registration.isDone());
  gate.open();
  EXPECT_EQ(call.result(), 0u);
}

TEST_F(CallbacksTest, ManyThreadsMayRegisterWhileTheServiceDies) {
  Listener listeners[4];
  std::vector<std::unique_ptr<Background<int>>> threads;
  for (Listener& listener : listeners) {
    threads.push_back(std::make_unique<Background<int>>([this, &listener] {
      const std::string vm = "vm" + pointer(&listener);
      for (int i = 0; i < 50; ++i) {
        proxy->RegisterCallback(vm, &Listener::called, &listener);
        proxy->UnregisterCallback(vm);
      }
      return proxy->RegisterCallback(vm, &Listener::called, &listener);
    }));
  }
  endEverySession();
  for (const auto& thread : threads) {
    ASSERT_EQ(thread->result(), 0);
  }

  endEverySession();

  // Each callback was registered at the first death or later, so at least one of the two deaths
  // called it.
  for (const Listener& listener : listeners) {
    EXPECT_THAT(listener.codes, testing::AllOf(testing::Each(5), testing::Not(IsEmpty())));
  }
}

}  // namespace
