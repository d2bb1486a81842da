// The statements of vel_proxy.h on waiting: which operations wait for a callback that runs or for a
// call of another thread, and which do not.

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "tests/library/blocks.h"
#include "tests/library/proxy_test.h"

namespace {

struct NamedCall {
  std::string name;
  std::function<void()> run;
};

int userData;
int otherUserData;

int deviceCallback(unsigned short, CommonDevice*, void*) {
  scripted::Timeline::the().record("device callback runs");
  return 0;
}

int cmdCallback(unsigned short, CmdResponse*, void* data) {
  scripted::Timeline::the().record("command callback runs");
  *static_cast<int*>(data) = 66;
  scripted::Timeline::the().record("command callback ends");
  return 0;
}

int resultCallback(unsigned short, _ConfigNewDeviceResult*, void*) {
  return 0;
}

int vmCallback(unsigned short code, void*, void* data) {
  *static_cast<int*>(data) += code;
  return 0;
}

class WaitingTest : public ProxyTest {
 protected:
  WaitingTest() {
    proxy->RegisterDeviceCallback(&deviceCallback, &userData);
    proxy->RegisterCmdCallback(&cmdCallback, &userData);
    bus.answer("resetService", Reply().int32(0));
    forget();
  }

  // On a thread of the bus, until the gate of its callback is open.
  Background<bool> emitting(int code) {
    return Background<bool>([this, code] {
      bus.emit("velevent", eventWithCode(code));
      return true;
    });
  }
  static std::string endOf(const std::string& name) { return name + " has returned"; }
  std::function<bool()> recorded(const NamedCall& call) {
    return [this, call] {
      call.run();
      timeline.record(endOf(call.name));
      return true;
    };
  }
  void expectToReturn(const NamedCall& call) {
    const Background<bool> called(recorded(call));
    EXPECT_TRUE(timeline.waitFor(endOf(call.name))) << call.name << " waits";
  }

  // Operations that do not wait, according to the header.
  std::vector<NamedCall> localCalls() {
    return {
        {"CheckPrinterCallback", [this] { proxy->CheckPrinterCallback(); }},
        {"CheckDeviceCallback", [this] { proxy->CheckDeviceCallback(); }},
        {"RegisterCmdCallback", [this] { proxy->RegisterCmdCallback(nullptr, nullptr); }},
        {"GetVmIdString", [this] { proxy->GetVmIdString(1); }},
        {"FreeDeviceList", [this] { proxy->FreeDeviceList({}); }},
        {"FreePolicyList", [this] { proxy->FreePolicyList({}); }},
        {"ConnectUsbredir", [this] { proxy->ConnectUsbredir("win11", {}); }},
        {"DisconnectUsbredir", [this] { proxy->DisconnectUsbredir("win11", {}); }},
        {"PortInit", [this] { proxy->PortInit("space.port.2", true, nullptr); }},
        {"PortStatus", [this] { proxy->PortStatus("space.port.2", true); }},
        {"PortData", [this] { proxy->PortData("space.port.2", nullptr, 0); }},
        {"getInstance", [] { qx::VelProxy::getInstance(); }},
        {"Init", [this] { proxy->Init(); }},
    };
  }
};

TEST_F(WaitingTest, OperationsThatRegisterUnregisterOrNotifyWaitForACallback) {
  CommonDevice device = {};
  _ConfigNewDeviceResult result = {};
  const std::vector<NamedCall> calls = {
      {"RegisterCallback", [&] { proxy->RegisterCallback("win11", nullptr, nullptr); }},
      {"UnregisterCallback", [&] { proxy->UnregisterCallback("win11"); }},
      {"UnregisterPrinterCallback", [&] { proxy->UnregisterPrinterCallback(); }},
      {"RegisterDeviceCallback",
       [&] { proxy->RegisterDeviceCallback(&deviceCallback, &otherUserData); }},
      {"UnregisterDeviceCallback", [&] { proxy->UnregisterDeviceCallback(&otherUserData); }},
      {"RegisterConfigNewDevResultCallback",
       [&] { proxy->RegisterConfigNewDevResultCallback(&resultCallback, &userData); }},
      {"UnregisterConfigNewDevResultCallback",
       [&] { proxy->UnregisterConfigNewDevResultCallback(&userData); }},
      {"UnregisterJoystickCallback", [&] { proxy->UnregisterJoystickCallback(&userData); }},
      {"DeviceBaseInfoNotify", [&] { proxy->DeviceBaseInfoNotify(7, &device); }},
      {"ConfigNewDeviceResultNotify", [&] { proxy->ConfigNewDeviceResultNotify(2, &result); }},
      {"JoystickResultNotify", [&] { proxy->JoystickResultNotify(1, nullptr); }},
      {"HandleEvent",
       [&] { proxy->HandleEvent(scripted::ScriptedBus::messageOf(eventWithCode(4))); }},
  };
  Gate gate = timeline.hold("device callback runs");
  Background<bool> event = emitting(4);
  ASSERT_TRUE(gate.isReached());

  std::vector<std::unique_ptr<Background<bool>>> waiting;
  for (const NamedCall& call : calls) {
    waiting.push_back(std::make_unique<Background<bool>>(recorded(call)));
  }

  for (const NamedCall& call : calls) {
    EXPECT_FALSE(timeline.happensSoon(endOf(call.name))) << call.name << " does not wait";
  }
  gate.open();
  for (const NamedCall& call : calls) {
    EXPECT_TRUE(timeline.waitFor(endOf(call.name))) << call.name;
  }
}

TEST_F(WaitingTest, OtherLocalOperationsDoNotWaitForACallback) {
  Gate gate = timeline.hold("device callback runs");
  Background<bool> event = emitting(4);
  ASSERT_TRUE(gate.isReached());

  for (const NamedCall& call : localCalls()) {
    expectToReturn(call);
  }

  gate.open();
}

TEST_F(WaitingTest, RegisteringACommandCallbackDoesNotWaitForTheEarlierOne) {
  userData = 0;
  Gate gate = timeline.hold("command callback runs");
  Background<bool> event = emitting(66);
  ASSERT_TRUE(gate.isReached());

  expectToReturn({"RegisterCmdCallback", [this] { proxy->RegisterCmdCallback(nullptr, nullptr); }});

  EXPECT_EQ(timeline.count("command callback ends"), 0);
  gate.open();
  EXPECT_TRUE(event.isDone());
  EXPECT_EQ(userData, 66) << "the callback has used its user data after its registration";
}

TEST_F(WaitingTest, LocalOperationsDoNotWaitForACall) {
  Gate gate = timeline.hold("call resetService(");
  Background call([this] { return proxy->ResetService(); });
  ASSERT_TRUE(gate.isReached());

  for (const NamedCall& local : localCalls()) {
    expectToReturn(local);
  }

  gate.open();
  EXPECT_EQ(call.result(), 0u);
}

TEST_F(WaitingTest, ThreadsThatWaitedForAnAttemptToConnectShareItsFailure) {
  constexpr unsigned int kFailed = 0xFFFFFFFF;
  const std::string attempt = "isServiceRegistered(";
  qx::VelProxy own;
  bus.setRegistered(false);
  forget();
  Gate gate = timeline.hold(attempt);
  const auto connect = [&own] { return own.Init(); };
  Background first(connect);
  ASSERT_TRUE(gate.isReached());

  Background second(connect);
  Background third(connect);
  Background fourth(connect);
  EXPECT_FALSE(timeline.happensSoon(attempt, 2)) << "a thread does not wait";
  gate.open();

  EXPECT_EQ(first.result(), kFailed);
  EXPECT_EQ(second.result(), kFailed);
  EXPECT_EQ(third.result(), kFailed);
  EXPECT_EQ(fourth.result(), kFailed);
  // A thread that was slow to start makes an attempt of its own.
  EXPECT_LT(timeline.count(attempt), 4);
}

TEST_F(WaitingTest, ARegistrationBetweenADeathAndCode5EndsWithCode5) {
  int codes = 0;
  // The second death is that of the instance as well, on another thread.
  std::atomic<bool> isRegistered{false};
  disconnect(*instance);
  timeline.when("Error onServiceDeath: vel serviced death", [&] {
    if (!isRegistered.exchange(true)) {
      proxy->RegisterCallback("win11", &vmCallback, &codes);
    }
    bus.setRegistered(true);
  });
  bus.serviceDies();
  bus.waitForDeaths();
  EXPECT_EQ(codes, 5);

  ASSERT_EQ(proxy->Init(), 0u);
  bus.serviceDies();
  bus.waitForDeaths();

  EXPECT_EQ(codes, 5) << "the registration has outlived code 5";
}

}  // namespace
