// Subscriptions: what their callbacks receive, where they run, and how they end.

#include <atomic>
#include <chrono>
#include <memory>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

#include "tests/client/client_test.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class SubscriptionsTest : public ClientTest {
 protected:
  // A callback that notes the name of the device.
  auto noteName() {
    return [this](const vel::DeviceEvent& event) { names.push_back(event.device.name); };
  }

  Strings names;
};

TEST_F(SubscriptionsTest, AnyNumberReceivesEachEventInTheOrderOfTheirBeginning) {
  Strings order;
  const auto first = client.onDevice([&](const vel::DeviceEvent&) { order.push_back("first"); });
  const auto second = client.onDevice([&](const vel::DeviceEvent&) { order.push_back("second"); });
  const vel::Client other(*proxy);
  const auto third = other.onDevice([&](const vel::DeviceEvent&) { order.push_back("third"); });

  emitDevice("Camera");

  EXPECT_THAT(order, ElementsAre("first", "second", "third"));
}

TEST_F(SubscriptionsTest, ReceiveTheWholeEventAsAValue) {
  bus.knowsVm("win11", 7);
  client.vmNumber("win11");
  std::vector<vel::DeviceEvent> events;
  const auto noted = client.onDevice([&](const vel::DeviceEvent& e) { events.push_back(e); });
  vel::Device device;
  device.number = vel::DeviceNumber(12);
  device.name = "Front camera";
  device.status = vel::DeviceStatus::kAttached;
  device.vmNumber = vel::VmNumber(7);
  device.source = vel::SourceId(0x7e5700020000000c);
  device.usb = {0x7e57, 2};
  device.type = vel::DeviceType::kCamera;
  vel::internal::DeviceRecord record(device);

  bus.emit("velevent", eventOf(vel::EventCode::kDeviceAttached,
                               bytesOf(record.get(), velprotocol::device::kLayout.size()), 7));

  ASSERT_EQ(events.size(), 1U);
  EXPECT_EQ(vel::name(events[0].code), "device attached");
  EXPECT_EQ(events[0].vmNumber, vel::VmNumber(7));
  EXPECT_EQ(events[0].vm, "win11");
  EXPECT_EQ(events[0].device.number, vel::DeviceNumber(12));
  EXPECT_EQ(events[0].device.name, "Front camera");
  EXPECT_TRUE(events[0].device.isAttached());
  EXPECT_EQ(events[0].device.vm, "win11");
  EXPECT_EQ(events[0].device.source, vel::SourceId(0x7e5700020000000c));
  EXPECT_EQ(events[0].device.usb, (vel::UsbId{0x7e57, 2}));
  EXPECT_EQ(events[0].device.type, vel::DeviceType::kCamera);
}

TEST_F(SubscriptionsTest, ARecordThatIsTooShortIsReadAsIfZeroesFollowed) {
  std::vector<vel::DeviceEvent> events;
  const auto noted = client.onDevice([&](const vel::DeviceEvent& e) { events.push_back(e); });

  bus.emit("velevent", eventOf(vel::EventCode::kDevicePlugged, {12}));

  ASSERT_EQ(events.size(), 1U);
  EXPECT_EQ(events[0].device.number, vel::DeviceNumber(12)) << "its second byte is missing";
  EXPECT_EQ(events[0].device.name, "");
}

TEST_F(SubscriptionsTest, TextThatIsNotUtf8IsReplaced) {
  const auto noted = client.onDevice(noteName());

  emitDevice("M\xFCller \xC3\xBC");

  EXPECT_THAT(names, ElementsAre("M\xEF\xBF\xBDller \xC3\xBC"));
}

TEST_F(SubscriptionsTest, EndWithTheirObject) {
  {
    const auto noted = client.onDevice(noteName());
    emitDevice("first");
  }
  emitDevice("second");

  EXPECT_THAT(names, ElementsAre("first"));
}

TEST_F(SubscriptionsTest, MayOutliveTheirClient) {
  auto brief = std::make_unique<vel::Client>(*proxy);
  const auto noted = brief->onDevice(noteName());
  brief.reset();

  emitDevice("Camera");

  EXPECT_THAT(names, ElementsAre("Camera"));
}

TEST_F(SubscriptionsTest, EndInsideTheirOwnCallback) {
  vel::Subscription once;
  bool isOver = true;
  once = client.onDevice([&](const vel::DeviceEvent& event) {
    names.push_back(event.device.name);
    isOver = once.end();
  });

  emitDevice("first");
  emitDevice("second");

  EXPECT_THAT(names, ElementsAre("first"));
  EXPECT_FALSE(isOver) << "the callback was still running";
}

TEST_F(SubscriptionsTest, EndInsideTheCallbackOfAnother) {
  vel::Subscription noted;
  const auto ender = client.onDevice([&](const vel::DeviceEvent&) { EXPECT_TRUE(noted.end()); });
  noted = client.onDevice(noteName());

  emitDevice("first");
  emitDevice("second");

  EXPECT_THAT(names, IsEmpty()) << "it had not been called when it ended";
}

TEST_F(SubscriptionsTest, BeginInsideACallbackWithTheNextEvent) {
  vel::Subscription noted;
  const auto beginner = client.onDevice([&](const vel::DeviceEvent&) {
    if (!noted) {
      noted = client.onDevice(noteName());
    }
  });

  emitDevice("first");
  emitDevice("second");

  EXPECT_THAT(names, ElementsAre("second"));
}

TEST_F(SubscriptionsTest, EveryKindBeginsAndEndsInsideACallback) {
  bool hasRun = false;
  const auto all = client.onDevice([&](const vel::DeviceEvent&) {
    const auto device = client.onDevice([](const vel::DeviceEvent&) {});
    const auto printer = client.onPrinter([](const vel::PrinterEvent&) {});
    const auto result = client.onNewDevice([](const vel::NewDeviceEvent&) {});
    const auto diagnosis = client.onDiagnosis([](const vel::DiagnosisEvent&) {});
    const auto command = client.onCommand([](const vel::CommandEvent&) {});
    const auto death = client.onServiceDeath([](const vel::ServiceDeath&) {});
    const auto back = client.onServiceReturn([](const vel::ServiceReturn&) {});
    const auto session = client.onSessionEnd("win11", [](const vel::SessionEnd&) {});
    const vel::Client inside(*proxy);
    hasRun = true;
  });

  emitDevice("Camera");

  EXPECT_TRUE(hasRun);
}

TEST_F(SubscriptionsTest, TheFirstSubscriptionToJoysticksIsRefusedInsideACallback) {
  std::string refusal;
  const auto device = client.onDevice([&](const vel::DeviceEvent&) {
    refusal = client.onJoystick([](const vel::JoystickEvent&) {}).error().message();
  });

  emitDevice("Camera");

  EXPECT_EQ(refusal,
            "registerJoystickCallback: the first subscription cannot begin inside a callback");
}

// A callback that runs on a thread of the bus until a gate opens.
class RunningCallbackTest : public SubscriptionsTest {
 protected:
  RunningCallbackTest()
      : running(client.onDevice(
            [pass = gate.pass(), kept = captured](const vel::DeviceEvent&) { pass(); })),
        watched(std::exchange(captured, nullptr)),
        event([this] { emitDevice("Camera"); }) {
    EXPECT_TRUE(gate.isReached());
  }
  // Before the threads are waited for.
  ~RunningCallbackTest() override { gate.open(); }

  Gate gate;
  std::shared_ptr<int> captured = std::make_shared<int>(0);
  vel::Subscription running;
  std::weak_ptr<int> watched;
  Background<void> event;
};

TEST_F(RunningCallbackTest, EndingWaitsForIt) {
  Background<bool> ender([this] { return running.end(); });
  EXPECT_FALSE(ender.isDoneSoon());

  gate.open();

  EXPECT_TRUE(ender.result());
  EXPECT_TRUE(watched.expired()) << "what the callback has captured ends with the subscription";
}

// Its destructor takes its time.
class SlowEnd {
 public:
  explicit SlowEnd(std::atomic<bool>& hasEnded) : hasEnded_(hasEnded) {}
  ~SlowEnd() {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    hasEnded_ = true;
  }
  SlowEnd(const SlowEnd&) = delete;
  SlowEnd& operator=(const SlowEnd&) = delete;

 private:
  std::atomic<bool>& hasEnded_;
};

TEST_F(RunningCallbackTest, EndingWaitsUntilWhatItHasCapturedHasEnded) {
  gate.open();
  event.result();
  std::atomic<bool> hasEnded{false};
  Gate second;
  vel::Subscription slow =
      client.onPrinter([pass = second.pass(), kept = std::make_shared<SlowEnd>(hasEnded)](
                           const vel::PrinterEvent&) { pass(); });
  Background<void> printer(
      [this] { bus.emit("velevent", eventOf(vel::EventCode::kPrinterChanged, Bytes(144))); });
  ASSERT_TRUE(second.isReached());
  Background<bool> ender([&] { return slow.end(); });
  EXPECT_FALSE(ender.isDoneSoon());

  second.open();

  EXPECT_TRUE(ender.result());
  EXPECT_TRUE(hasEnded);
}

TEST_F(RunningCallbackTest, StoppingDoesNotWaitForIt) {
  running.stop();

  EXPECT_FALSE(running);
  EXPECT_FALSE(watched.expired());
  gate.open();
  event.result();
  EXPECT_TRUE(watched.expired());
}

TEST_F(RunningCallbackTest, EndingInsideAnotherCallbackDoesNotWaitForIt) {
  Loop loop;
  bool isOver = true;
  const auto ender =
      client.onPrinter([&](const vel::PrinterEvent&) { isOver = running.end(); }, vel::on(loop));
  gate.open();
  event.result();
  bus.emit("velevent", eventOf(vel::EventCode::kPrinterChanged, Bytes(144)));
  Gate second;
  running = client.onDevice([pass = second.pass()](const vel::DeviceEvent&) { pass(); });
  Background<void> next([this] { emitDevice("Camera"); });
  ASSERT_TRUE(second.isReached());

  EXPECT_EQ(loop.run(), 1U);

  EXPECT_FALSE(isOver);
  second.open();
}

TEST_F(SubscriptionsTest, EndOnTwoThreadsWhileEventsArrive) {
  std::atomic<bool> isDone{false};
  Background<void> events([&] {
    while (!isDone) {
      emitDevice("Camera");
    }
  });
  const auto subscribe = [&] {
    for (int i = 0; i < 200; ++i) {
      auto uses = std::make_unique<int>(0);
      vel::Subscription one = client.onDevice([&uses](const vel::DeviceEvent&) { ++*uses; });
      vel::Subscription two = client.onDevice([&one](const vel::DeviceEvent&) { one.end(); });
      two.end();
      one.end();
      uses.reset();
    }
  };
  Background<void> first(subscribe);
  Background<void> second(subscribe);
  first.result();
  second.result();
  isDone = true;
}

TEST_F(RunningCallbackTest, SeveralThreadsMayEndTheSameSubscription) {
  Background<bool> first([this] { return running.end(); });
  Background<bool> second([this] { return running.end(); });
  EXPECT_FALSE(first.isDoneSoon());
  EXPECT_FALSE(second.isDoneSoon());

  gate.open();

  EXPECT_TRUE(first.result());
  EXPECT_TRUE(second.result());
}

// --- Executors ----------------------------------------------------------------------------------

TEST_F(SubscriptionsTest, AnExecutorRunsTheCallbacks) {
  Loop loop;
  const auto noted = client.onDevice(noteName(), vel::on(loop));

  emitDevice("first");
  emitDevice("second");
  EXPECT_THAT(names, IsEmpty());

  EXPECT_EQ(loop.run(), 2U);
  EXPECT_THAT(names, ElementsAre("first", "second"));
}

TEST_F(SubscriptionsTest, AnExecutorMayBeAFunction) {
  std::vector<vel::Action> posted;
  const auto noted = client.onDevice(
      noteName(), vel::on([&](vel::Action action) { posted.push_back(std::move(action)); }));

  emitDevice("Camera");

  ASSERT_EQ(posted.size(), 1U);
  posted.front()();
  EXPECT_THAT(names, ElementsAre("Camera"));
}

TEST_F(SubscriptionsTest, WhatWaitsInAnExecutorDoesNotRunAfterTheEnd) {
  Loop loop;
  auto noted = client.onDevice(noteName(), vel::on(loop));
  emitDevice("Camera");

  EXPECT_TRUE(noted.end());

  EXPECT_EQ(loop.run(), 1U);
  EXPECT_THAT(names, IsEmpty());
}

TEST_F(SubscriptionsTest, ACallbackInAnExecutorMayRegisterWithTheProxy) {
  Loop loop;
  bool hasRun = false;
  const auto device = client.onDevice(
      [&](const vel::DeviceEvent&) {
        proxy->UnregisterDeviceCallback(&hasRun);
        hasRun = true;
      },
      vel::on(loop));
  emitDevice("Camera");

  loop.run();

  EXPECT_TRUE(hasRun);
}

// --- Exceptions ---------------------------------------------------------------------------------

TEST_F(SubscriptionsTest, AnExceptionOfOneIsLoggedAndSkipsNoOther) {
  const auto throwing =
      client.onDevice([](const vel::DeviceEvent&) { throw std::runtime_error("of the client"); });
  const auto noted = client.onDevice(noteName());

  emitDevice("Camera");

  EXPECT_THAT(names, ElementsAre("Camera"));
  ASSERT_EQ(log.errors().size(), 1U);
}

// --- The other kinds of events ------------------------------------------------------------------

TEST_F(SubscriptionsTest, TwoExceptionsSkipNoOther) {
  const auto throwing = [](const vel::DeviceEvent&) { throw std::runtime_error("of the client"); };
  const auto first = client.onDevice(throwing);
  const auto second = client.onDevice(throwing);
  const auto noted = client.onDevice(noteName());

  emitDevice("Camera");

  EXPECT_THAT(names, ElementsAre("Camera"));
  EXPECT_EQ(log.errors().size(), 1U);
}

TEST_F(SubscriptionsTest, OneThatHasNotBegunHasEnded) {
  vel::Subscription none;

  none.stop();

  EXPECT_TRUE(none.end());
  EXPECT_TRUE(none.outcome());
  EXPECT_FALSE(none);
}

TEST_F(SubscriptionsTest, OneThatIsAssignedToItselfGoesOn) {
  vel::Subscription subscription = client.onDevice(noteName());
  vel::Subscription& same = subscription;

  subscription = std::move(same);
  emitDevice("Camera");

  EXPECT_THAT(names, ElementsAre("Camera"));
}

TEST_F(SubscriptionsTest, APrinterEventHasItsPrinter) {
  std::vector<vel::PrinterEvent> events;
  const auto noted = client.onPrinter([&](const vel::PrinterEvent& e) { events.push_back(e); });
  Bytes record(16);
  record[0] = 21;
  record[12] = 1;
  for (const char c : std::string("Ink printer, which has a name that runs to the end")) {
    record.push_back(static_cast<unsigned char>(c));
  }

  bus.emit("velevent", eventOf(vel::EventCode::kPrinterChanged, record));

  ASSERT_EQ(events.size(), 1U);
  EXPECT_EQ(events[0].printer.number, vel::PrinterNumber(21));
  EXPECT_EQ(vel::name(events[0].printer.status), "available");
  EXPECT_EQ(events[0].printer.name, "Ink printer, which has a name that runs to the end");
}

TEST_F(SubscriptionsTest, ResultsOfNewDevicesKeepCodesThatHaveNoName) {
  std::vector<vel::NewDeviceEvent> events;
  const auto noted = client.onNewDevice([&](const vel::NewDeviceEvent& e) { events.push_back(e); });
  vel::NewDeviceEvent sent;
  sent.usb = {0x7e57, 9};
  sent.isSuccess = true;
  sent.name = "Stick";
  sent.result = "ok";
  vel::internal::NewDeviceRecord record(sent);
  const Bytes bytes = bytesOf(record.get(), velprotocol::new_device_result::kLayout.size());

  bus.emit("velevent", eventOf(vel::EventCode::kNewDeviceIgnored, bytes));
  bus.emit("velevent", eventOf(static_cast<vel::EventCode>(70000), bytes));

  ASSERT_EQ(events.size(), 2U);
  EXPECT_EQ(events[0].code, vel::EventCode::kNewDeviceIgnored);
  EXPECT_EQ(events[0].usb, (vel::UsbId{0x7e57, 9}));
  EXPECT_TRUE(events[0].isSuccess);
  EXPECT_EQ(events[0].name, "Stick");
  EXPECT_EQ(events[0].result, "ok");
  EXPECT_EQ(vel::number(events[1].code), 70000) << "callbacks of the library receive its low bits";
}

TEST_F(SubscriptionsTest, DiagnosesReportTheirProgress) {
  bus.knowsVm("win11", 7);
  bus.answer("diagnose", Reply().string("{}"));
  std::vector<vel::DiagnosisEvent> events;
  const auto noted = client.onDiagnosis([&](const vel::DiagnosisEvent& e) { events.push_back(e); });
  ASSERT_TRUE(client.diagnose("win11", vel::SourceId(5)));
  Bytes record(16);
  record[0] = 5;
  record[8] = 1;
  record[12] = 7;
  record.push_back('s');

  bus.emit("velevent", eventOf(vel::EventCode::kDiagnosis, record, 7));

  ASSERT_EQ(events.size(), 1U);
  EXPECT_EQ(events[0].vm, "win11");
  EXPECT_EQ(events[0].id, 5U);
  EXPECT_EQ(vel::name(events[0].status), "running");
  EXPECT_EQ(events[0].text, "s");
}

TEST_F(SubscriptionsTest, DiagnosesOfOtherProcessesAreReportedToo) {
  std::vector<std::uint64_t> ids;
  const auto noted =
      client.onDiagnosis([&](const vel::DiagnosisEvent& event) { ids.push_back(event.id); });
  Bytes record(16);
  record[0] = 5;
  record.push_back('s');

  bus.emit("velevent", eventOf(vel::EventCode::kDiagnosis, record));

  EXPECT_THAT(ids, ElementsAre(5U));
}

TEST_F(SubscriptionsTest, AnAnswerMayComeOnTheThreadThatGivesTheCommand) {
  bus.answer("dovelcmd", Reply().int32(0));
  timeline.when("call dovelcmd", [this] {
    bus.emit("velevent", eventOf(vel::EventCode::kCommandAnswer, {'o', 'k'}));
  });
  std::vector<std::string> answers;
  const auto noted = client.onCommand(
      [&](const vel::CommandEvent& event) { answers.push_back(event.answer.value_or("")); });

  EXPECT_TRUE(client.command("", "plug", 66));

  EXPECT_THAT(answers, ElementsAre("ok"));
}

TEST_F(SubscriptionsTest, AnswersToCommandsHaveExactlyTheBytesOfTheService) {
  std::vector<vel::CommandEvent> events;
  const auto noted = client.onCommand([&](const vel::CommandEvent& e) { events.push_back(e); });

  bus.emit("velevent", eventOf(vel::EventCode::kCommandAnswer, {'o', 0, 'k'}));
  bus.emit("velevent",
           EventArguments().int32(0).int32(vel::number(vel::EventCode::kCommandAnswer)));

  ASSERT_EQ(events.size(), 2U);
  EXPECT_EQ(events[0].answer, std::string("o\0k", 3));
  EXPECT_EQ(events[1].answer, std::nullopt);
}

TEST_F(SubscriptionsTest, ACommandThatFailsIsNoAnswer) {
  bus.answer("dovelcmd", Reply::error("no"));
  int answers = 0;
  std::string error;
  const auto noted = client.onCommand([&](const vel::CommandEvent&) { ++answers; });
  const auto device = client.onDevice(
      [&](const vel::DeviceEvent&) { error = client.command("", "plug", 66).error().message(); });

  emitDevice("Camera");

  EXPECT_EQ(error, "dovelcmd: no");
  EXPECT_EQ(answers, 0);
}

TEST_F(SubscriptionsTest, AMountArrivesOnceHoweverOftenTheLibraryHasConnected) {
  Strings events;
  const auto noted = client.onDevice([&](const vel::DeviceEvent& e) {
    events.push_back(std::string(vel::name(e.code)) + ": " + e.device.name);
  });
  // Broadcasts go to the instance.
  const vel::Client ofTheInstance(*instance);
  const auto alsoNoted = ofTheInstance.onDevice([&](const vel::DeviceEvent& e) {
    events.push_back(std::string(vel::name(e.code)) + ": " + e.device.name);
  });
  instance->ReleaseService();
  instance->Init();
  ASSERT_GT(bus.broadcastListeners().size(), 2U);
  const auto mount = eventOf(vel::EventCode::kMounted, deviceRecord(11, "Stick"));

  bus.emit("mountedEvent", mount);
  bus.emit("mountedEvent", mount);

  EXPECT_THAT(events, ElementsAre("storage mounted: Stick", "storage mounted: Stick"))
      << "the service has sent it twice";
}

TEST_F(SubscriptionsTest, ABroadcastAnswerArrivesOnceAsWell) {
  int answers = 0;
  const vel::Client ofTheInstance(*instance);
  const auto noted = ofTheInstance.onCommand([&](const vel::CommandEvent&) { ++answers; });
  instance->ReleaseService();
  instance->Init();
  ASSERT_GT(bus.broadcastListeners().size(), 1U);

  bus.emit("mountedEvent", eventOf(vel::EventCode::kCommandAnswer, {'o', 'k'}));

  EXPECT_EQ(answers, 1);
}

// --- Events that the client hands on ------------------------------------------------------------

TEST_F(SubscriptionsTest, AnnouncedEventsReachThem) {
  bus.answer("registerJoystickCallback", Reply().int32(0));
  bus.answer("unregisterJoystickCallback", Reply().int32(0));
  vel::Device device;
  device.name = "Front camera";
  vel::NewDeviceEvent result;
  result.result = "unknown-device";
  vel::JoystickEvent moved;
  moved.code = 3;
  moved.result.bytes[145] = 9;
  std::vector<vel::JoystickEvent> joysticks;
  const auto named = client.onDevice(noteName());
  const auto results = client.onNewDevice(
      [this](const vel::NewDeviceEvent& event) { names.push_back(event.result); });
  const auto joystick =
      client.onJoystick([&](const vel::JoystickEvent& event) { joysticks.push_back(event); });
  ASSERT_TRUE(joystick) << joystick.error().message();

  EXPECT_TRUE(client.announceDevice(vel::EventCode::kDeviceChanged, device));
  EXPECT_TRUE(client.announceNewDevice(result));
  EXPECT_TRUE(client.announceJoystick(moved));

  EXPECT_THAT(names, ElementsAre("Front camera", "unknown-device"));
  ASSERT_EQ(joysticks.size(), 1U);
  EXPECT_EQ(joysticks[0].code, 3);
  EXPECT_EQ(joysticks[0].result.bytes, moved.result.bytes);
}

TEST_F(SubscriptionsTest, AnnouncingInsideACallbackIsRefused) {
  std::string refusal;
  const auto device = client.onDevice(
      [&](const vel::DeviceEvent&) { refusal = client.announceJoystick({}).error().message(); });

  emitDevice("Camera");

  EXPECT_EQ(refusal, "not inside a callback");
}

// --- Joysticks at the service -------------------------------------------------------------------

class JoystickSubscriptionsTest : public ClientTest {
 protected:
  JoystickSubscriptionsTest() {
    bus.answer("registerJoystickCallback", Reply().int32(0));
    bus.answer("unregisterJoystickCallback", Reply().int32(0));
  }

  vel::Result<vel::Subscription> subscribe() {
    return client.onJoystick([](const vel::JoystickEvent&) {});
  }
};

TEST_F(JoystickSubscriptionsTest, TheFirstBeginsAndTheLastEndsThatOfTheService) {
  {
    const auto first = subscribe();
    const auto second = subscribe();
    EXPECT_EQ(bus.requests().size(), 1U);
  }

  EXPECT_THAT(bus.requests(), ElementsAre(testing::StartsWith("registerJoystickCallback(bytes[8]"),
                                          testing::StartsWith("unregisterJoystickCallback(")));
}

TEST_F(JoystickSubscriptionsTest, HaveTheAnswerOfTheServiceToTheirEnd) {
  vel::Result<vel::Subscription> first = subscribe();
  vel::Result<vel::Subscription> last = subscribe();
  bus.answer("unregisterJoystickCallback", Reply().int32(6));
  EXPECT_TRUE(last->outcome()) << "it has not ended";

  first->end();
  last->end();

  EXPECT_TRUE(first->outcome()) << "the service was not asked";
  EXPECT_EQ(last->outcome().error().status(), 6);
}

TEST_F(JoystickSubscriptionsTest, ARefusalIsAnErrorAndLeavesNothingBehind) {
  bus.answer("registerJoystickCallback", Reply().int32(5));

  const auto refused = subscribe();

  ASSERT_FALSE(refused);
  EXPECT_EQ(refused.error().kind(), vel::ErrorKind::kRefused);
  EXPECT_EQ(refused.error().status(), 5);
  EXPECT_THAT(bus.lastCall(), testing::StartsWith("unregisterJoystickCallback("));
}

TEST_F(JoystickSubscriptionsTest, OneThatEndsInsideACallbackLeavesThatOfTheService) {
  auto last = subscribe();
  const auto device = client.onDevice([&](const vel::DeviceEvent&) { last->end(); });
  forget();

  emitDevice("Camera");
  EXPECT_THAT(bus.requests(), IsEmpty());

  { const auto next = subscribe(); }
  EXPECT_THAT(bus.requests(), ElementsAre(testing::StartsWith("unregisterJoystickCallback(")));
}

}  // namespace
