// Connecting to the service, releasing it, and the steps after its death. creation_test.cpp tests
// the creation of the process-wide instance.

#include <atomic>
#include <functional>

#include "tests/library/blocks.h"
#include "tests/library/proxy_test.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

std::string standardOutputOf(const std::function<void()>& action) {
  testing::internal::CaptureStdout();
  action();
  return testing::internal::GetCapturedStdout();
}

// --- Init ---------------------------------------------------------------------------------------

// A proxy that has never connected, beside a connected instance.
class InitTest : public ProxyTest {
 protected:
  InitTest() { scripted::setDataPath(kDataPath); }

  qx::VelProxy fresh;
};

TEST_F(InitTest, TakesItsStepsInOrder) {
  EXPECT_EQ(fresh.Init(), 0u);

  ASSERT_EQ(bus.interfaceListeners().size(), 3u) << "instance, proxy, fresh";
  EXPECT_THAT(timeline.all(),
              ElementsAre("GetAppDataPath()", "pellamLogInit(\"/data/of/the/test\")",
                          "Debug Init: logPath:/data/of/the/test", "initSync(-1)",
                          "isServiceRegistered(\"vel\")", "getServiceProxyInterface(\"vel\", 1, 1)",
                          "Debug Init: init callback : " +
                              pointer(bus.interfaceListeners().back().listener),
                          "interface addEventListener(\"velevent\", 1)", "setDeathCallback()",
                          "initSync(-1)", "manager addEventListener(\"mountedEvent\", 1)"));
  EXPECT_THAT(log.summaries(),
              ElementsAre(debugLine("Init", "logPath:%s", "logPath:/data/of/the/test"),
                          debugLine("Init", "init callback : %p",
                                    "init callback : " +
                                        pointer(bus.interfaceListeners().back().listener))));
}

TEST_F(InitTest, WritesTheLogPathToStandardOutput) {
  EXPECT_EQ(standardOutputOf([this] { fresh.Init(); }), "set vel log path:/data/of/the/test \n");
}

TEST_F(InitTest, WithoutADataPathItOnlyLogsTheEmptyPath) {
  scripted::setDataPath("");

  EXPECT_EQ(standardOutputOf([this] { EXPECT_EQ(fresh.Init(), 0u); }), "");

  EXPECT_EQ(timeline.count("pellamLogInit"), 0);
  EXPECT_EQ(log.summaries().front(), debugLine("Init", "logPath:%s", "logPath:"));
}

TEST_F(InitTest, ASecondOneWhileConnectedDoesNothing) {
  fresh.Init();
  forget();

  EXPECT_EQ(fresh.Init(), 0u);

  EXPECT_THAT(timeline.all(), IsEmpty());
}

TEST_F(InitTest, WhileConnectedItWaitsForNoCall) {
  bus.answer("resetService", Reply().int32(0));
  Gate gate = timeline.hold("call resetService(");
  Background call([this] { return proxy->ResetService(); });
  ASSERT_TRUE(gate.isReached());

  Background init([this] { return proxy->Init(); });

  ASSERT_TRUE(init.isDone());
  EXPECT_EQ(init.result(), 0u);
  gate.open();
  EXPECT_EQ(call.result(), 0u);
}

TEST_F(InitTest, OfTwoAtOnceOnlyOneConnects) {
  Gate gate = timeline.hold("initSync(");
  Background first([this] { return fresh.Init(); });
  ASSERT_TRUE(gate.isReached());
  Background second([this] { return fresh.Init(); });

  EXPECT_FALSE(timeline.happensSoon(second.id(), ""));
  gate.open();

  EXPECT_EQ(first.result(), 0u);
  EXPECT_EQ(second.result(), 0u);
  EXPECT_EQ(timeline.count("getServiceProxyInterface("), 1);
  EXPECT_EQ(timeline.count("interface addEventListener("), 1);
  EXPECT_EQ(timeline.count("manager addEventListener("), 1);
  EXPECT_EQ(timeline.count("GetAppDataPath()"), 1);
}

TEST_F(InitTest, HoldsTheCallMutexUntilItIsDone) {
  bus.answer("resetService", Reply().int32(0));
  Gate gate = timeline.hold("manager addEventListener(");
  Background init([this] { return fresh.Init(); });
  ASSERT_TRUE(gate.isReached());

  Background call([this] { return fresh.ResetService(); });

  ASSERT_TRUE(timeline.waitFor(call.id(), "Debug ResetService: enter"));
  EXPECT_FALSE(timeline.happensSoon(call.id(), "make "));
  gate.open();
  EXPECT_EQ(init.result(), 0u);
  EXPECT_EQ(call.result(), 0u);
}

TEST_F(InitTest, FailsWithoutABus) {
  bus.setReachable(false);

  EXPECT_EQ(fresh.Init(), kFailed);

  EXPECT_THAT(timeline.all(), ElementsAre("GetAppDataPath()", StartsWith("pellamLogInit("),
                                          StartsWith("Debug Init: logPath:"), "initSync(-1)",
                                          "Error Init: QXBusSerivceManager::initSync failed"));
  EXPECT_EQ(log.summaries().back(), errorLine("Init", "QXBusSerivceManager::initSync failed"));
}

TEST_F(InitTest, FailsWithoutAService) {
  bus.setRegistered(false);

  EXPECT_EQ(fresh.Init(), kFailed);

  EXPECT_THAT(timeline.all(), ElementsAre("GetAppDataPath()", StartsWith("pellamLogInit("),
                                          StartsWith("Debug Init: logPath:"), "initSync(-1)",
                                          "isServiceRegistered(\"vel\")",
                                          "Error Init: isServiceRegistered failed"));
  EXPECT_EQ(log.summaries().back(), errorLine("Init", "isServiceRegistered failed"));
}

TEST_F(InitTest, FailsWithoutAnInterface) {
  bus.setRefusing(true);

  EXPECT_EQ(fresh.Init(), kFailed);

  EXPECT_THAT(timeline.all(),
              ElementsAre("GetAppDataPath()", StartsWith("pellamLogInit("),
                          StartsWith("Debug Init: logPath:"), "initSync(-1)",
                          "isServiceRegistered(\"vel\")", "getServiceProxyInterface(\"vel\", 1, 1)",
                          "Error Init: getServiceProxyInterface failed"));
  EXPECT_EQ(log.summaries().back(), errorLine("Init", "getServiceProxyInterface failed"));
  EXPECT_EQ(fresh.ResetService(), kFailed);
}

TEST_F(InitTest, EachAttemptBeginsAnewAndOneMaySucceed) {
  bus.setReachable(false);
  EXPECT_EQ(fresh.Init(), kFailed);
  bus.setReachable(true);
  bus.setRegistered(false);
  EXPECT_EQ(fresh.Init(), kFailed);
  bus.setRegistered(true);
  bus.setRefusing(true);
  EXPECT_EQ(fresh.Init(), kFailed);
  EXPECT_THAT(bus.broadcastListeners().size(), 2u) << "instance and proxy; a failure adds none";
  bus.setRefusing(false);

  EXPECT_EQ(fresh.Init(), 0u);

  EXPECT_EQ(timeline.count("GetAppDataPath()"), 4);
  EXPECT_EQ(timeline.count("pellamLogInit("), 4);
  EXPECT_EQ(bus.broadcastListeners().size(), 3u);
}

TEST_F(InitTest, EachAttemptWritesTheLogPath) {
  bus.setRegistered(false);

  const std::string written = standardOutputOf([this] {
    EXPECT_EQ(fresh.Init(), kFailed);
    EXPECT_EQ(fresh.Init(), kFailed);
  });

  const std::string line = "set vel log path:/data/of/the/test \n";
  EXPECT_EQ(written, line + line);
}

TEST_F(InitTest, AFailureFreesTheCallMutex) {
  bus.setReachable(false);
  EXPECT_EQ(fresh.Init(), kFailed);
  bus.setReachable(true);
  bus.setRegistered(false);
  EXPECT_EQ(fresh.Init(), kFailed);
  bus.setRegistered(true);
  bus.setRefusing(true);
  EXPECT_EQ(fresh.Init(), kFailed);

  Background release([this] {
    fresh.ReleaseService();
    return true;
  });

  EXPECT_TRUE(release.isDone());
}

// --- InitBroadcast, broadcasts -------------------------------------------------------------------

TEST_F(InitTest, InitBroadcastAddsOneListenerEachTime) {
  const std::size_t before = bus.broadcastListeners().size();

  EXPECT_EQ(fresh.InitBroadcast(), 0u);
  EXPECT_EQ(fresh.InitBroadcast(), 0u);

  EXPECT_THAT(timeline.all(),
              ElementsAre("initSync(-1)", "manager addEventListener(\"mountedEvent\", 1)",
                          "initSync(-1)", "manager addEventListener(\"mountedEvent\", 1)"));
  ASSERT_EQ(bus.broadcastListeners().size(), before + 2);
  EXPECT_NE(bus.broadcastListeners()[before].listener,
            bus.broadcastListeners()[before + 1].listener);
}

TEST_F(InitTest, InitBroadcastIsHarmlessWithoutABus) {
  bus.setReachable(false);

  EXPECT_EQ(fresh.InitBroadcast(), 0u);
}

TEST_F(InitTest, EachSuccessfulInitAddsABroadcastListenerThatStays) {
  const std::size_t before = bus.broadcastListeners().size();

  for (std::size_t times = 1; times <= 3; ++times) {
    EXPECT_EQ(fresh.Init(), 0u);
    fresh.ReleaseService();
    EXPECT_EQ(bus.broadcastListeners().size(), before + times);
  }

  for (const scripted::Listening& listening : bus.broadcastListeners()) {
    EXPECT_EQ(listening.event, "mountedEvent");
    EXPECT_EQ(listening.flags, 1);
  }
}

TEST_F(InitTest, ABroadcastFetchesTheInstanceTwicePerListener) {
  disconnect(*instance);
  bus.setRegistered(false);
  ASSERT_EQ(bus.broadcastListeners().size(), 2u) << "instance and proxy";

  bus.emit("mountedEvent", EventArguments().int32(0).int32(1));

  EXPECT_EQ(timeline.count("Error getInstance: retry to get qxbus interface failed"), 4);
}

TEST_F(InitTest, ABroadcastIsHandledOncePerSuccessfulInit) {
  fresh.Init();
  fresh.ReleaseService();
  ASSERT_EQ(bus.broadcastListeners().size(), 3u) << "instance, proxy, fresh";
  forget();

  bus.emit("mountedEvent", EventArguments().int32(0).int32(4));

  EXPECT_EQ(timeline.count("Debug HandleEvent: enter"), 3);
}

TEST_F(InitTest, BroadcastCallbackMayRunOnAnyThread) {
  const auto made = QXBusSerivceManager::initSync(-1)
                        ->getServiceProxyInterface("vel", QXBUS_SECURITY_SAME_USER_OR_ROOT, 1)
                        ->makeMethodCallMessage("an event");
  made->appendInt32(0);
  made->appendInt32(4);
  forget();

  qx::VelProxy::BroadcastCallback(made);

  EXPECT_EQ(timeline.count("Debug HandleEvent: enter"), 1);
}

// --- Virtual dispatch ---------------------------------------------------------------------------

// Calls the operations of VelProxy, and what the test adds before.
class ProxyOfItsOwnLife : public qx::VelProxy {
 public:
  unsigned int InitBroadcast() override {
    ++initBroadcasts;
    qx::VelProxy::InitBroadcast();
    return initBroadcastResult;
  }
  void HandleEvent(std::shared_ptr<QXBusMessage> event) override {
    eventCodes.push_back(event->getInt32(1));
    eventThread = std::this_thread::get_id();
  }
  void ReleaseService() override {
    if (onRelease) {
      onRelease();
    }
    qx::VelProxy::ReleaseService();
  }
  void onServiceDeath() override {
    deathThread = std::this_thread::get_id();
    ++deaths;
    if (dies) {
      qx::VelProxy::onServiceDeath();
    }
  }

  int initBroadcasts = 0;
  unsigned int initBroadcastResult = 0;
  std::vector<int> eventCodes;
  std::thread::id eventThread;
  std::function<void()> onRelease;
  bool dies = true;
  int deaths = 0;
  std::thread::id deathThread;
};

class OverridingTest : public ProxyTestOf<ProxyOfItsOwnLife> {};

TEST_F(OverridingTest, InitGivesTheResultOfTheVirtualInitBroadcast) {
  ProxyOfItsOwnLife fresh;
  fresh.initBroadcastResult = 123;

  EXPECT_EQ(fresh.Init(), 123u);

  EXPECT_EQ(fresh.initBroadcasts, 1);
}

TEST_F(OverridingTest, AnEventReachesTheVirtualHandleEventOnAThreadOfTheBus) {
  bus.emit("velevent", EventArguments().int32(0).int32(77));

  EXPECT_THAT(proxy->eventCodes, ElementsAre(77));
  EXPECT_NE(proxy->eventThread, std::this_thread::get_id());
}

TEST_F(OverridingTest, ADeathReachesTheVirtualOnServiceDeathOnAThreadOfTheBus) {
  disconnect(*instance);
  proxy->dies = false;

  bus.serviceDies();
  bus.waitForDeaths();

  EXPECT_EQ(proxy->deaths, 1);
  EXPECT_NE(proxy->deathThread, std::this_thread::get_id());
  EXPECT_EQ(timeline.count("Error onServiceDeath"), 0);
}

TEST_F(OverridingTest, AfterReleasingNoEventAndNoDeathArrives) {
  proxy->ReleaseService();

  bus.emit("velevent", EventArguments().int32(0).int32(77));
  bus.serviceDies();
  bus.waitForDeaths();

  EXPECT_THAT(proxy->eventCodes, IsEmpty());
  EXPECT_EQ(proxy->deaths, 0);
}

TEST_F(OverridingTest, TheCacheIsEmptyBeforeTheVirtualReleaseService) {
  bus.knowsVm("win11", 7);
  proxy->GetVmIdInt("win11");
  disconnect(*instance);
  std::string seen = "not called";
  proxy->onRelease = [&] {
    seen = proxy->GetVmIdString(7);
    timeline.record("released");
  };

  bus.serviceDies();
  bus.waitForDeaths();

  EXPECT_EQ(seen, "");
  const auto events = timeline.all();
  EXPECT_THAT(Strings(events.begin(), events.begin() + 3),
              ElementsAre("Error onServiceDeath: vel serviced death", "released",
                          "Debug ReleaseService: "));
  proxy->onRelease = nullptr;
}

// --- ReleaseService, destruction -----------------------------------------------------------------

TEST_F(InitTest, ReleasingRemovesTheListenerThatConnectingAdded) {
  fresh.Init();
  const std::vector<scripted::Listening> before = bus.interfaceListeners();
  const std::size_t broadcasts = bus.broadcastListeners().size();
  forget();

  fresh.ReleaseService();

  EXPECT_THAT(timeline.all(),
              ElementsAre("Debug ReleaseService: ", "interface removeEventListener(\"velevent\")",
                          "interface destroyed"));
  EXPECT_THAT(log.summaries(), ElementsAre(debugLine("ReleaseService", "")));
  EXPECT_EQ(bus.interfaceListeners().size(), before.size() - 1);
  for (const scripted::Listening& listening : bus.interfaceListeners()) {
    EXPECT_NE(listening.listener, before.back().listener);
  }
  EXPECT_EQ(bus.broadcastListeners().size(), broadcasts);
}

TEST_F(InitTest, ReleasingWithoutAConnectionOnlyLogs) {
  fresh.ReleaseService();

  EXPECT_THAT(timeline.all(), ElementsAre("Debug ReleaseService: "));
}

TEST_F(InitTest, ReleasingTwiceRemovesTheListenerOnce) {
  fresh.Init();
  fresh.ReleaseService();
  forget();

  fresh.ReleaseService();

  EXPECT_THAT(timeline.all(), ElementsAre("Debug ReleaseService: "));
}

TEST_F(InitTest, ReleasingLogsAndThenWaitsForTheCallMutex) {
  bus.answer("resetService", Reply().int32(0));
  Gate gate = timeline.hold("call resetService(");
  Background call([this] { return proxy->ResetService(); });
  ASSERT_TRUE(gate.isReached());

  Background release([this] {
    proxy->ReleaseService();
    return true;
  });

  ASSERT_TRUE(timeline.waitFor(release.id(), "Debug ReleaseService: "));
  EXPECT_FALSE(timeline.happensSoon(release.id(), "interface "));
  gate.open();
  EXPECT_EQ(call.result(), 0u);
  EXPECT_TRUE(release.isDone());
}

// Destroying an interface may take long, and calls of other threads must not wait for it.
TEST_F(InitTest, TheInterfaceIsDestroyedAfterTheCallMutexIsFree) {
  fresh.Init();
  struct Meanwhile {
    std::unique_ptr<Background<unsigned int>> init;
    bool isDone = false;
  };
  // Shared, because the interface of this Init lives until the end of the test.
  const auto meanwhile = std::make_shared<Meanwhile>();
  timeline.when("interface destroyed", [this, meanwhile] {
    if (!meanwhile->init) {
      meanwhile->init = std::make_unique<Background<unsigned int>>([this] { return fresh.Init(); });
      meanwhile->isDone = meanwhile->init->isDone();
    }
  });

  fresh.ReleaseService();

  ASSERT_TRUE(meanwhile->init);
  EXPECT_TRUE(meanwhile->isDone);
  EXPECT_EQ(meanwhile->init->result(), 0u);
}

TEST_F(InitTest, AReleasedProxyConnectsAnew) {
  fresh.Init();
  fresh.ReleaseService();
  const int live = bus.liveInterfaces();
  forget();

  EXPECT_EQ(fresh.Init(), 0u);

  EXPECT_EQ(timeline.count("getServiceProxyInterface("), 1);
  EXPECT_EQ(timeline.count("interface addEventListener("), 1);
  EXPECT_EQ(timeline.count("setDeathCallback()"), 1);
  EXPECT_EQ(bus.liveInterfaces(), live + 1);
}

TEST_F(InitTest, DestructionLogsAndReleases) {
  auto gone = std::make_unique<qx::VelProxy>();
  gone->Init();
  forget();

  gone.reset();

  EXPECT_THAT(timeline.all(),
              ElementsAre("Debug ~VelProxy: velproxy destroyed ...", "Debug ReleaseService: ",
                          "interface removeEventListener(\"velevent\")", "interface destroyed"));
  EXPECT_EQ(log.summaries().front(), debugLine("~VelProxy", "velproxy destroyed ..."));
}

TEST_F(InitTest, ConstructionDoesNotConnect) {
  forget();
  {
    const qx::VelProxy quiet;
    EXPECT_THAT(timeline.all(), IsEmpty());
  }
  EXPECT_THAT(timeline.all(),
              ElementsAre("Debug ~VelProxy: velproxy destroyed ...", "Debug ReleaseService: "));
}

// --- Listeners ----------------------------------------------------------------------------------

// A listener is one object of its own on the heap, so that a bus may free it once it is removed.
TEST_F(InitTest, ABusMayFreeTheListenersThatItHasRemoved) {
  bus.setFreeing(true);

  for (int connection = 0; connection < 3; ++connection) {
    EXPECT_EQ(fresh.Init(), 0u);
    fresh.ReleaseService();
  }
  EXPECT_EQ(fresh.Init(), 0u);
  bus.emit("velevent", EventArguments().int32(0).int32(1));

  EXPECT_EQ(timeline.count("Debug HandleEvent: enter"), 3) << "instance, proxy, fresh";
}

// --- onServiceDeath -----------------------------------------------------------------------------

struct Registration {
  static int called(unsigned short code, void* data, void* userData) {
    auto& self = *static_cast<Registration*>(userData);
    ++self.calls;
    self.code = code;
    self.data = data;
    scripted::Timeline::the().record("called " + self.vmId);
    if (self.action) {
      self.action();
    }
    return 0;
  }

  std::string vmId;
  int calls = 0;
  int code = 0;
  void* data = &calls;
  std::function<void()> action;
};

std::string callbackAddress() {
  return pointer(reinterpret_cast<void*>(&Registration::called));
}

// The instance is disconnected, so that the only death is that of the proxy's interface.
class DeathTest : public ProxyTest {
 protected:
  DeathTest() {
    scripted::setDataPath(kDataPath);
    disconnect(*instance);
  }

  void add(Registration& registration, const std::string& vmId) {
    registration.vmId = vmId;
    proxy->RegisterCallback(vmId, &Registration::called, &registration);
    forget();
  }
  void dieAndWait() {
    bus.serviceDies();
    bus.waitForDeaths();
  }
  // The service is back at the n-th pause before a poll.
  void serviceReturnsAtPause(int n) {
    timeline.when("pause 2 s", [this, n] {
      if (timeline.count("pause 2 s") == n) {
        bus.setRegistered(true);
      }
    });
  }
};

TEST_F(DeathTest, TakesItsStepsInOrder) {
  Registration win;
  add(win, "win11");
  serviceReturnsAtPause(2);

  dieAndWait();

  ASSERT_EQ(bus.interfaceListeners().size(), 1u) << "that of the instance";
  EXPECT_THAT(
      timeline.all(),
      ElementsAre(
          "Error onServiceDeath: vel serviced death",
          "Debug ReleaseService: ", "interface removeEventListener(\"velevent\")",
          "interface destroyed", "isServiceRegistered(\"vel\")",
          "Debug onServiceDeath: wait for velservice ....", "pause 2 s",
          "isServiceRegistered(\"vel\")", "Debug onServiceDeath: wait for velservice ....",
          "pause 2 s", "isServiceRegistered(\"vel\")",
          "Debug onServiceDeath: wait for velservice ...., waiting cnt=2", "GetAppDataPath()",
          StartsWith("pellamLogInit("), StartsWith("Debug Init: logPath:"), "initSync(-1)",
          "isServiceRegistered(\"vel\")", "getServiceProxyInterface(\"vel\", 1, 1)",
          StartsWith("Debug Init: init callback : "), "interface addEventListener(\"velevent\", 1)",
          "setDeathCallback()", "initSync(-1)", "manager addEventListener(\"mountedEvent\", 1)",
          "Error onServiceDeath: erase vmId: win11", "isServiceRegistered(\"vel\")",
          StartsWith("Debug onServiceDeath: ServiceRegistered:1 count=2 callback="),
          "called win11"));
}

TEST_F(DeathTest, LogsEachStep) {
  Registration win;
  add(win, "win11");
  serviceReturnsAtPause(1);

  dieAndWait();

  EXPECT_THAT(log.summariesOf("onServiceDeath"),
              ElementsAre(errorLine("onServiceDeath", "vel serviced death"),
                          debugLine("onServiceDeath", "wait for velservice ...."),
                          debugLine("onServiceDeath", "wait for velservice ...., waiting cnt=%d",
                                    "wait for velservice ...., waiting cnt=1"),
                          errorLine("onServiceDeath", "erase vmId: %s", "erase vmId: win11"),
                          debugLine("onServiceDeath",
                                    "ServiceRegistered:%d count=%d callback=%p userdata=%p",
                                    "ServiceRegistered:1 count=1 callback=" + callbackAddress() +
                                        " userdata=" + pointer(&win))));
}

TEST_F(DeathTest, AServiceThatIsBackAtOnceNeedsNoPause) {
  Registration win;
  add(win, "win11");
  timeline.when("Error onServiceDeath: vel serviced death", [this] { bus.setRegistered(true); });

  dieAndWait();

  EXPECT_EQ(timeline.count("pause"), 0);
  EXPECT_EQ(timeline.count("Debug onServiceDeath: wait for velservice ...., waiting cnt=0"), 1);
  EXPECT_EQ(win.calls, 1);
}

TEST_F(DeathTest, EachCallbackRunsOnceInOrderAndIsThenUnregistered) {
  Registration b;
  Registration a;
  Registration c;
  add(b, "b");
  add(c, "c");
  add(a, "a");
  timeline.when("Error onServiceDeath: vel serviced death", [this] { bus.setRegistered(true); });

  dieAndWait();

  EXPECT_THAT(timeline.startingWith("called "), ElementsAre("called a", "called b", "called c"));
  EXPECT_THAT(log.errors(),
              ElementsAre("vel serviced death", "erase vmId: a", "erase vmId: b", "erase vmId: c"));
  for (const Registration* const registration : {&a, &b, &c}) {
    EXPECT_EQ(registration->calls, 1);
    EXPECT_EQ(registration->code, 5);
    EXPECT_EQ(registration->data, nullptr);
  }

  ASSERT_EQ(proxy->Init(), 0u);
  dieAndWait();

  EXPECT_EQ(timeline.count("called "), 3) << "the registrations ended with the first death";
}

TEST_F(DeathTest, TheServiceIsAskedForOncePerCallback) {
  Registration a;
  Registration b;
  add(a, "a");
  add(b, "b");
  // The service is there for the poll and Init, gone for the first callback, there for the second.
  timeline.when("Error onServiceDeath: vel serviced death", [this] { bus.setRegistered(true); });
  timeline.when("Error onServiceDeath: erase vmId: a", [this] { bus.setRegistered(false); });
  timeline.when("Error onServiceDeath: erase vmId: b", [this] { bus.setRegistered(true); });

  dieAndWait();

  EXPECT_EQ(timeline.count("isServiceRegistered("), 4) << "the poll, Init, and once for each";
  EXPECT_EQ(timeline.count("Debug onServiceDeath: ServiceRegistered:0 count=0 "), 1);
  EXPECT_EQ(timeline.count("Debug onServiceDeath: ServiceRegistered:1 count=0 "), 1);
}

TEST_F(DeathTest, GivesUpAfter500Polls) {
  Registration win;
  add(win, "win11");

  dieAndWait();

  EXPECT_EQ(timeline.count("pause 2 s"), 500);
  EXPECT_EQ(timeline.count("pause"), 500);
  EXPECT_EQ(timeline.count("Debug onServiceDeath: wait for velservice ...."), 501);
  EXPECT_EQ(timeline.count("Debug onServiceDeath: wait for velservice ...., waiting cnt=500"), 1);
  EXPECT_EQ(timeline.count("isServiceRegistered("), 501 + 1 + 1) << "polls, Init, callback";
  EXPECT_EQ(timeline.count("Error Init: isServiceRegistered failed"), 1);
  EXPECT_EQ(timeline.count("Error getInstance"), 0) << "Init itself, not through getInstance";
  EXPECT_EQ(timeline.count("Debug onServiceDeath: ServiceRegistered:0 count=500 "), 1);
  EXPECT_EQ(win.calls, 1);
}

TEST_F(DeathTest, AServiceThatReturnsAtTheLastPollIsFound) {
  Registration win;
  add(win, "win11");
  serviceReturnsAtPause(500);

  dieAndWait();

  EXPECT_EQ(timeline.count("Debug onServiceDeath: wait for velservice ...., waiting cnt=500"), 1);
  EXPECT_EQ(timeline.count("Error Init: isServiceRegistered failed"), 0);
  EXPECT_EQ(timeline.count("Debug onServiceDeath: ServiceRegistered:1 count=500 "), 1);
}

TEST_F(DeathTest, WaitsFiveSecondsFirstWithoutCallbacks) {
  serviceReturnsAtPause(1);

  dieAndWait();

  EXPECT_THAT(timeline.all(), testing::IsSupersetOf({"pause 5 s", "pause 2 s"}));
  const Strings events = timeline.all();
  EXPECT_THAT(Strings(events.begin() + 3, events.begin() + 6),
              ElementsAre("interface destroyed", "pause 5 s", "isServiceRegistered(\"vel\")"));
  EXPECT_EQ(timeline.count("pause 5 s"), 1);
}

int noDevice(unsigned short, CommonDevice*, void*) {
  return 0;
}
int noPrinter(unsigned short, PrinterDevice*, void*) {
  return 0;
}
int noCommand(unsigned short, CmdResponse*, void*) {
  return 0;
}
int noResult(unsigned short, _ConfigNewDeviceResult*, void*) {
  return 0;
}

TEST_F(DeathTest, ADeviceCallbackMakesTheFiveSecondsUnnecessary) {
  int userData = 0;
  ASSERT_EQ(proxy->RegisterDeviceCallback(&noDevice, &userData), 0);
  serviceReturnsAtPause(1);

  dieAndWait();

  EXPECT_EQ(timeline.count("pause 5 s"), 0);
  EXPECT_EQ(timeline.count("pause 2 s"), 1);
}

TEST_F(DeathTest, OtherCallbacksDoNotReplaceTheFiveSeconds) {
  int userData = 0;
  ASSERT_EQ(proxy->RegisterPrinterCallback(&noPrinter, &userData), 0);
  ASSERT_EQ(proxy->RegisterCmdCallback(&noCommand, &userData), 0);
  ASSERT_EQ(proxy->RegisterConfigNewDevResultCallback(&noResult, &userData), 0);
  serviceReturnsAtPause(1);

  dieAndWait();

  EXPECT_EQ(timeline.count("pause 5 s"), 1);
}

TEST_F(DeathTest, DeviceAndPrinterCallbacksStay) {
  int device = 0;
  int printer = 0;
  ASSERT_EQ(proxy->RegisterDeviceCallback(&noDevice, &device), 0);
  ASSERT_EQ(proxy->RegisterPrinterCallback(&noPrinter, &printer), 0);

  dieAndWait();

  EXPECT_EQ(proxy->CheckDeviceCallback(), &device);
  EXPECT_EQ(proxy->CheckPrinterCallback(), &printer);
}

// A client has asked for the service just before its return.
TEST_F(DeathTest, DoesNotShareTheFailureOfAnAttemptFromBeforeTheReturn) {
  disconnect(*instance);
  Gate pause = timeline.hold("pause 5 s");
  bus.serviceDies();
  ASSERT_TRUE(pause.isReached());
  Gate attempt = timeline.hold("Error Init: isServiceRegistered failed");
  Background client([this] { return instance->Init(); });
  ASSERT_TRUE(attempt.isReached());
  bus.setRegistered(true);
  pause.open();
  ASSERT_TRUE(timeline.waitFor("Debug onServiceDeath: wait for velservice ...., waiting cnt=0"));
  EXPECT_FALSE(timeline.happensSoon("setDeathCallback()")) << "the attempt holds the call mutex";

  attempt.open();

  EXPECT_EQ(client.result(), kFailed);
  bus.waitForDeaths();
  EXPECT_EQ(timeline.count("setDeathCallback()"), 1) << "the instance has not connected again";
}

TEST_F(DeathTest, OnlyTheInstanceConnectsAgain) {
  serviceReturnsAtPause(1);

  dieAndWait();
  forget();

  EXPECT_EQ(instance->Init(), 0u);
  EXPECT_EQ(timeline.count("getServiceProxyInterface("), 0) << "it was connected already";
  EXPECT_EQ(proxy->ResetService(), kFailed);
  EXPECT_THAT(log.errors(), Contains("wait velserviced restart when it death"));
}

TEST_F(DeathTest, TheCallbacksOfOneObjectAreNotThoseOfAnother) {
  Registration win;
  win.vmId = "win11";
  instance->RegisterCallback("win11", &Registration::called, &win);

  dieAndWait();

  EXPECT_EQ(win.calls, 0);
  instance->UnregisterCallback("win11");
}

TEST_F(DeathTest, ACallbackMayCallRemoteOperations) {
  Registration win;
  add(win, "win11");
  unsigned int result = 0;
  unsigned int number = 1;
  win.action = [&] {
    result = proxy->ResetService();
    number = instance->GetVmIdInt("win11");
  };
  bus.knowsVm("win11", 7);
  serviceReturnsAtPause(1);

  dieAndWait();

  EXPECT_EQ(win.calls, 1);
  EXPECT_EQ(result, kFailed) << "this object is not connected";
  EXPECT_EQ(number, 7u);
}

TEST_F(DeathTest, ARegistrationWaitsUntilTheCallbacksAreDone) {
  Registration win;
  Registration late;
  late.vmId = "late";
  add(win, "win11");
  Gate gate = timeline.hold("called win11");
  timeline.when("Error onServiceDeath: vel serviced death", [this] { bus.setRegistered(true); });
  bus.serviceDies();
  ASSERT_TRUE(gate.isReached());

  Background registration(
      [&] { return proxy->RegisterCallback("late", &Registration::called, &late); });

  ASSERT_TRUE(timeline.waitFor(registration.id(), "Debug RegisterCallback: registerCallback:"));
  EXPECT_FALSE(timeline.happensSoon(registration.id(), "Debug RegisterCallback: end"));
  gate.open();
  bus.waitForDeaths();
  EXPECT_EQ(registration.result(), 0);
  EXPECT_EQ(late.calls, 0);

  ASSERT_EQ(proxy->Init(), 0u);
  dieAndWait();

  EXPECT_EQ(late.calls, 1) << "a registration made meanwhile stays";
  EXPECT_EQ(win.calls, 1);
}

TEST_F(DeathTest, CallsFailAtOnceWhileTheServiceIsAwayAndWorkAgainLater) {
  Gate gate = timeline.hold("pause 2 s");
  bus.answer("resetService", Reply().int32(0));
  bus.serviceDies();
  ASSERT_TRUE(gate.isReached());

  EXPECT_EQ(instance->ResetService(), kFailed);
  bus.setRegistered(true);
  EXPECT_EQ(instance->ResetService(), 0u) << "no call waits for the polling thread";
  gate.open();
  bus.waitForDeaths();
}

TEST_F(DeathTest, NothingElseWaitsForThePollingThread) {
  Registration win;
  Gate gate = timeline.hold("pause 2 s");
  bus.serviceDies();
  ASSERT_TRUE(gate.isReached());
  bus.setRegistered(true);

  Background others([&] {
    proxy->RegisterCallback("win11", &Registration::called, &win);
    proxy->UnregisterCallback("win11");
    proxy->ReleaseService();
    return proxy->GetVmIdString(1).size() + proxy->Init();
  });

  ASSERT_TRUE(others.isDone());
  EXPECT_EQ(others.result(), 0u);
  gate.open();
  bus.waitForDeaths();
  EXPECT_EQ(proxy->ResetService(), kFailed);
  EXPECT_THAT(log.errors(), Contains(HasSubstr("no answer was scripted for resetService")))
      << "it has stayed connected";
}

TEST_F(DeathTest, ACallbackThatRunsDelaysNoPoll) {
  int userData = 0;
  ASSERT_EQ(proxy->RegisterDeviceCallback(
                [](unsigned short, CommonDevice*, void*) {
                  scripted::Timeline::the().record("device callback");
                  return 0;
                },
                &userData),
            0);
  Gate callback = timeline.hold("device callback");
  Background event([this] {
    bus.emit("velevent", eventWithCode(4));
    return true;
  });
  ASSERT_TRUE(callback.isReached());
  serviceReturnsAtPause(1);

  bus.serviceDies();

  EXPECT_TRUE(timeline.waitFor("Debug onServiceDeath: wait for velservice ...., waiting cnt=1"));
  EXPECT_EQ(timeline.count("pause 5 s"), 0) << "a device callback is registered";
  callback.open();
  bus.waitForDeaths();
  EXPECT_TRUE(event.isDone());
}

TEST_F(DeathTest, ACallThatWaitsForADeadServiceEndsBeforeTheRelease) {
  Registration win;
  add(win, "win11");
  bus.answer("resetService", Reply().int32(0));
  Gate gate = timeline.hold("call resetService(");
  Background call([this] { return proxy->ResetService(); });
  ASSERT_TRUE(gate.isReached());
  disconnect(*instance);
  timeline.when("Error onServiceDeath: vel serviced death", [this] { bus.setRegistered(true); });

  bus.serviceDies();

  ASSERT_TRUE(timeline.waitFor("Debug ReleaseService: "));
  EXPECT_FALSE(timeline.happensSoon("interface removeEventListener("));
  gate.open();
  EXPECT_EQ(call.result(), kFailed);
  EXPECT_THAT(log.errors(), Contains("reply type: 3(the service is gone)"));
  bus.waitForDeaths();
  EXPECT_EQ(win.calls, 1);
}

TEST_F(DeathTest, ADeathBeforeTheFirstConnectionIsHarmless) {
  qx::VelProxy fresh;

  fresh.onServiceDeath();

  EXPECT_EQ(timeline.count("isServiceRegistered("), 1) << "Init of the instance; no manager to ask";
  EXPECT_EQ(timeline.count("pause 2 s"), 500);
  EXPECT_EQ(timeline.count("Debug onServiceDeath: wait for velservice ...., waiting cnt=500"), 1);
}

TEST_F(DeathTest, ADeathBeforeTheCallbackIsSetIsHandledOnConnecting) {
  qx::VelProxy late;
  timeline.when("setDeathCallback()", [this] {
    if (timeline.count("setDeathCallback()") == 1) {
      bus.serviceDies();
    }
  });

  EXPECT_EQ(late.Init(), 0u);
  bus.waitForDeaths();

  EXPECT_EQ(late.ResetService(), kFailed);
  EXPECT_THAT(log.errors(), Contains("wait velserviced restart when it death"));
}

// --- Many threads -------------------------------------------------------------------------------

TEST_F(DeathTest, ManyThreadsMayCallWhileTheServiceDiesAndComesBack) {
  bus.answer("resetService", Reply().int32(0));
  bus.answer("getVmList", Reply().int32(1).string("win11").int32(7));
  bus.answer("disconnectVm", Reply().int32(0));
  bus.knowsVm("win11", 7);
  std::atomic<bool> isOver{false};
  std::vector<std::unique_ptr<Background<int>>> threads;
  for (int i = 0; i < 3; ++i) {
    threads.push_back(std::make_unique<Background<int>>([&] {
      int successes = 0;
      while (!isOver) {
        qx::VelProxy* const current = qx::VelProxy::getInstance();
        successes += current->ResetService() == 0 ? 1 : 0;
        successes += current->GetVmList().size() == 1 ? 1 : 0;
        successes += current->DisconnectVm("win11") == 0 ? 1 : 0;
        std::this_thread::yield();
      }
      return successes;
    }));
  }
  Registration registrations[5];
  for (Registration& registration : registrations) {
    registration.vmId = "win11";
    instance->RegisterCallback("win11", &Registration::called, &registration);
    // Connects, unless another thread has: only a connection can die.
    qx::VelProxy::getInstance();
    bus.emit("velevent", EventArguments().int32(0).int32(4));
    bus.serviceDies();
    bus.setRegistered(true);
    bus.waitForDeaths();
    bus.complete();
  }
  isOver = true;
  for (const auto& thread : threads) {
    EXPECT_GE(thread->result(), 0);
  }
  for (const Registration& registration : registrations) {
    EXPECT_EQ(registration.calls, 1);
  }
  bus.complete();
  EXPECT_EQ(instance->Init(), 0u);
}

}  // namespace
