// What happens inside callbacks, those of other code of the program too.

#include <functional>
#include <memory>
#include <utility>

#include "tests/client/client_test.h"

namespace {

using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

class InsideCallbacksTest : public ClientTest {
 protected:
  InsideCallbacksTest() {
    bus.answer("registerJoystickCallback", Reply().int32(0));
    bus.answer("unregisterJoystickCallback", Reply().int32(0));
  }
  ~InsideCallbacksTest() override { proxy->UnregisterDeviceCallback(&other); }

  // A callback for devices that other code has registered at the proxy.
  void registerOther(std::function<void()> callback) {
    other = std::move(callback);
    proxy->RegisterDeviceCallback(
        [](unsigned short, CommonDevice*, void* self) {
          (*static_cast<std::function<void()>*>(self))();
          return 0;
        },
        &other);
  }

  std::function<void()> other;
};

TEST_F(InsideCallbacksTest, ACallbackMayHoldTheJoystickSubscriptionThatEndsWithIt) {
  auto joystick =
      std::make_shared<vel::Subscription>(*client.onJoystick([](const vel::JoystickEvent&) {}));
  const std::weak_ptr<vel::Subscription> watched = joystick;
  vel::Subscription once;
  once = client.onDevice(
      [&once, held = std::exchange(joystick, nullptr)](const vel::DeviceEvent&) { once.end(); });

  emitDevice("Camera");

  EXPECT_TRUE(watched.expired());
}

TEST_F(InsideCallbacksTest, AJoystickSubscriptionMayEndInACallbackOfOtherCode) {
  auto joystick = client.onJoystick([](const vel::JoystickEvent&) {});
  registerOther([&] { joystick->end(); });
  forget();

  emitDevice("Camera");

  EXPECT_FALSE(*joystick);
  EXPECT_THAT(bus.requests(), IsEmpty());
}

TEST_F(InsideCallbacksTest, WhatTheLibraryCannotDoIsRefusedInACallbackOfOtherCode) {
  Strings refusals;
  registerOther([&] {
    refusals.push_back(client.announceDevice(vel::EventCode::kDeviceChanged, {}).error().message());
    refusals.push_back(client.onJoystick([](const vel::JoystickEvent&) {}).error().message());
  });

  emitDevice("Camera");

  EXPECT_THAT(refusals,
              ElementsAre("not inside a callback",
                          "registerJoystickCallback: the first subscription cannot begin inside a "
                          "callback"));
  EXPECT_THAT(bus.requests(), IsEmpty());
}

TEST_F(InsideCallbacksTest, ThePrinterCallbackOfOtherCodeIsTakenOutsideCallbacksOnly) {
  int others = 0;
  proxy->RegisterPrinterCallback(
      [](unsigned short, PrinterDevice*, void* count) { return ++*static_cast<int*>(count); },
      &others);
  Strings order;
  const auto note = [&](const char* name) {
    return [&order, name](const vel::PrinterEvent&) { order.emplace_back(name); };
  };
  vel::Subscription inside;
  registerOther([&] { inside = client.onPrinter(note("inside")); });
  const auto printerEvent = eventOf(vel::EventCode::kPrinterChanged, Bytes(144));

  emitDevice("Camera");
  bus.emit("velevent", printerEvent);
  EXPECT_EQ(others, 1);
  EXPECT_THAT(order, IsEmpty());

  const auto outside = client.onPrinter(note("outside"));
  bus.emit("velevent", printerEvent);
  EXPECT_EQ(others, 1);
  EXPECT_THAT(order, ElementsAre("inside", "outside"));
}

TEST_F(InsideCallbacksTest, ACommandOfOtherCodeThatFailsInACallbackIsNoAnswer) {
  bus.answer("dovelcmd", Reply::error("no"));
  int answers = 0;
  const auto noted = client.onCommand([&](const vel::CommandEvent&) { ++answers; });
  registerOther([&] { proxy->DoVelCmd("", "plug", 66); });

  emitDevice("Camera");

  EXPECT_EQ(answers, 0);
}

TEST_F(InsideCallbacksTest, AMountArrivesOnceAlsoWhenAnotherEventComesInBetween) {
  Strings names;
  const auto noted =
      client.onDevice([&](const vel::DeviceEvent& e) { names.push_back(e.device.name); });
  const auto first = bus.messageOf(eventOf(vel::EventCode::kMounted, deviceRecord(11, "first")));
  const auto second = bus.messageOf(eventOf(vel::EventCode::kMounted, deviceRecord(12, "second")));
  vel::Device announced;
  announced.name = "announced";

  proxy->HandleEvent(first);
  ASSERT_TRUE(client.announceDevice(vel::EventCode::kDeviceChanged, announced));
  proxy->HandleEvent(second);
  proxy->HandleEvent(first);
  proxy->HandleEvent(second);

  EXPECT_THAT(names, ElementsAre("first", "announced", "second"));
}

TEST_F(InsideCallbacksTest, AnEmptyCallbackDropsTheEvents) {
  const auto device = client.onDevice({});
  const auto session = client.onSessionEnd("win11", {});

  emitDevice("Camera");
  restartService();

  EXPECT_THAT(log.errors(), Each("vel serviced death")) << "no exception";
}

TEST_F(InsideCallbacksTest, ADiagnosisNamesTheVmOfItsRecordByNumberToo) {
  bus.knowsVm("win11", 7);
  bus.answer("diagnose", Reply().string("{}"));
  std::vector<vel::DiagnosisEvent> events;
  const auto noted = client.onDiagnosis([&](const vel::DiagnosisEvent& e) { events.push_back(e); });
  ASSERT_TRUE(client.diagnose("win11", vel::SourceId(5)));
  Bytes record(16);
  record[12] = 7;

  bus.emit("velevent", eventOf(vel::EventCode::kDiagnosis, record, 0));

  ASSERT_EQ(events.size(), 1U);
  EXPECT_EQ(events[0].vm, "win11");
  EXPECT_EQ(events[0].vmNumber, vel::VmNumber(7));
}

TEST_F(InsideCallbacksTest, AJoystickSubscriptionThatBeginsWhileTheLastOneEndsIsTheServices) {
  auto last = client.onJoystick([](const vel::JoystickEvent&) {});
  vel::Result<vel::Subscription> next;
  const auto device = client.onDevice(
      [&](const vel::DeviceEvent&) { next = client.onJoystick([](const vel::JoystickEvent&) {}); });
  Gate ending = timeline.hold("call unregisterJoystickCallback");
  Background<bool> ender([&last] { return last->end(); });
  ASSERT_TRUE(ending.isReached());
  emitDevice("Camera");
  ASSERT_TRUE(next) << next.error().message();

  ending.open();
  EXPECT_TRUE(ender.result());

  EXPECT_THAT(bus.lastCall(), StartsWith("registerJoystickCallback("));
}

}  // namespace
