// Callbacks that throw: the library guards each call by itself, so the other callbacks run, tables
// are cleared, and no exception leaves an operation. Exceptions in events stand in events_test.cpp.

#include <stdexcept>

#include "tests/library/blocks.h"
#include "tests/library/proxy_test.h"

namespace {

using testing::ElementsAre;

constexpr char kThrown[] = "a callback has thrown an exception";

// Counts its calls and throws in each of them: pass `this` as user data.
struct ThrowingListener {
  template <typename Record>
  static int called(unsigned short, Record, void* userData) {
    ++static_cast<ThrowingListener*>(userData)->calls;
    throw std::runtime_error("full");
  }

  int calls = 0;
};

class ExceptionsTest : public ProxyTest {
 protected:
  ExceptionsTest() { disconnect(*instance); }

  // The service dies and is back at once.
  void dieAndWait() {
    proxy->Init();
    forget();
    timeline.when("Error onServiceDeath: vel serviced death", [this] { bus.setRegistered(true); });
    bus.serviceDies();
    bus.waitForDeaths();
  }

  ThrowingListener listeners[3];
};

TEST_F(ExceptionsTest, EachSessionThatEndsIsReported) {
  proxy->RegisterCallback("a", &ThrowingListener::called<void*>, &listeners[0]);
  proxy->RegisterCallback("b", &ThrowingListener::called<void*>, &listeners[1]);
  proxy->RegisterCallback("c", &ThrowingListener::called<void*>, &listeners[2]);

  dieAndWait();

  for (const ThrowingListener& listener : listeners) {
    EXPECT_EQ(listener.calls, 1);
  }
  EXPECT_THAT(log.errors(), ElementsAre("vel serviced death", "erase vmId: a", kThrown,
                                        "erase vmId: b", kThrown, "erase vmId: c", kThrown));
}

TEST_F(ExceptionsTest, ASessionThatHasEndedIsNotReportedAgain) {
  proxy->RegisterCallback("a", &ThrowingListener::called<void*>, &listeners[0]);
  dieAndWait();

  dieAndWait();

  EXPECT_EQ(listeners[0].calls, 1);
}

TEST_F(ExceptionsTest, EachDeviceCallbackRuns) {
  for (ThrowingListener& listener : listeners) {
    proxy->RegisterDeviceCallback(&ThrowingListener::called<CommonDevice*>, &listener);
  }
  log.clear();
  CommonDevice device = {};

  int result = -1;
  EXPECT_NO_THROW(result = proxy->DeviceBaseInfoNotify(4, &device));

  EXPECT_EQ(result, 0);
  for (const ThrowingListener& listener : listeners) {
    EXPECT_EQ(listener.calls, 1);
  }
  EXPECT_THAT(log.errors(), ElementsAre(kThrown, kThrown, kThrown));
  EXPECT_EQ(log.summariesOf("DeviceBaseInfoNotify").size(), 3u) << "one line behind each callback";
}

TEST_F(ExceptionsTest, EachCallbackForNewDevicesRuns) {
  for (ThrowingListener& listener : listeners) {
    proxy->RegisterConfigNewDevResultCallback(&ThrowingListener::called<_ConfigNewDeviceResult*>,
                                              &listener);
  }
  _ConfigNewDeviceResult record = {};

  int result = -1;
  EXPECT_NO_THROW(result = proxy->ConfigNewDeviceResultNotify(2, &record));

  EXPECT_EQ(result, 0);
  for (const ThrowingListener& listener : listeners) {
    EXPECT_EQ(listener.calls, 1);
  }
  EXPECT_THAT(log.errors(), ElementsAre(kThrown, kThrown, kThrown));
}

TEST_F(ExceptionsTest, EachJoystickCallbackRuns) {
  bus.answer("registerJoystickCallback", Reply().int32(0));
  for (ThrowingListener& listener : listeners) {
    proxy->RegisterJoystickCallback(&ThrowingListener::called<_JoystickResult>, &listener);
  }

  int result = -1;
  EXPECT_NO_THROW(result = proxy->JoystickResultNotify(1, nullptr));

  EXPECT_EQ(result, 0);
  for (const ThrowingListener& listener : listeners) {
    EXPECT_EQ(listener.calls, 1);
  }
  EXPECT_THAT(log.errors(), ElementsAre(kThrown, kThrown, kThrown));
  EXPECT_EQ(proxy->UnregisterDeviceCallback(), 0) << "the callback mutex is free";
}

TEST_F(ExceptionsTest, ARefusedCommandReturnsItsStatus) {
  bus.answer("dovelcmd", Reply::error("unknown command"));
  bus.answer("resetService", Reply().int32(0));
  proxy->RegisterCmdCallback(&ThrowingListener::called<CmdResponse*>, &listeners[0]);

  int result = 0;
  EXPECT_NO_THROW(result = proxy->DoVelCmd("", "walk", 1));

  EXPECT_EQ(result, -1);
  EXPECT_EQ(listeners[0].calls, 1);
  EXPECT_THAT(log.errors(), ElementsAre("reply type: 3(unknown command)", kThrown));
  EXPECT_EQ(proxy->ResetService(), 0u) << "the call mutex is free";
}

TEST_F(ExceptionsTest, AnEventIsHandledToItsEnd) {
  struct ThrowingNotify : VelDiagnoseNotify {
    void DiagnoseResultNotify(std::string, unsigned long long, unsigned int, std::string) override {
      throw std::runtime_error("full");
    }
  } notify;
  proxy->RegisterPrinterCallback(&ThrowingListener::called<PrinterDevice*>, &listeners[0]);
  proxy->RegisterCmdCallback(&ThrowingListener::called<CmdResponse*>, &listeners[1]);
  proxy->Diagnose("", 0, &notify);
  disconnect(*instance);

  for (const int code : {1, 9, 66}) {
    bus.emit("velevent", EventArguments().int32(0).int32(code).bytes(Bytes(40, 0)));
  }

  EXPECT_THAT(log.errors(), ElementsAre(kThrown, kThrown, kThrown));
  EXPECT_EQ(timeline.count("Debug HandleEvent: end"), 3);
  EXPECT_EQ(timeline.count("Debug HandleEvent: cb exec end"), 2);
  proxy->Diagnose("", 0, nullptr);
}

}  // namespace
