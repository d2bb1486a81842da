// One event that the library delivers several times: it listens for broadcasts once more with each
// connection.

#include "tests/client/client_test.h"

namespace {

using testing::ElementsAre;

// Broadcasts go to the instance.
class RepeatedEventsTest : public ClientTest {
 protected:
  // Connects the instance once more, and sends the event to all its listeners.
  void broadcast(const EventArguments& event) {
    instance->ReleaseService();
    instance->Init();
    ASSERT_GT(bus.broadcastListeners().size(), 1U);
    bus.emit("mountedEvent", event);
  }

  const vel::Client ofTheInstance{*instance};
};

TEST_F(RepeatedEventsTest, APrinterEventArrivesOnce) {
  int events = 0;
  const auto noted = ofTheInstance.onPrinter([&](const vel::PrinterEvent&) { ++events; });

  broadcast(eventOf(vel::EventCode::kPrinterChanged, Bytes(144)));

  EXPECT_EQ(events, 1);
}

TEST_F(RepeatedEventsTest, AResultOfANewDeviceArrivesOnce) {
  int events = 0;
  const auto noted = ofTheInstance.onNewDevice([&](const vel::NewDeviceEvent&) { ++events; });
  vel::internal::NewDeviceRecord record((vel::NewDeviceEvent()));

  broadcast(eventOf(vel::EventCode::kNewDeviceIgnored,
                    bytesOf(record.get(), velprotocol::new_device_result::kLayout.size())));

  EXPECT_EQ(events, 1);
}

TEST_F(RepeatedEventsTest, ADiagnosisArrivesOnce) {
  int events = 0;
  const auto noted = ofTheInstance.onDiagnosis([&](const vel::DiagnosisEvent&) { ++events; });

  broadcast(eventOf(vel::EventCode::kDiagnosis, Bytes(17)));

  EXPECT_EQ(events, 1);
}

// --- Callbacks of other code --------------------------------------------------------------------

class OtherCodeTest : public ScriptedBusTest {};

TEST_F(OtherCodeTest, AClientLeavesThePrinterCallbackThatItFindsRegistered) {
  qx::VelProxy proxy;
  ASSERT_EQ(proxy.Init(), 0U);
  int others = 0;
  proxy.RegisterPrinterCallback(
      [](unsigned short, PrinterDevice*, void* count) { return ++*static_cast<int*>(count); },
      &others);

  const vel::Client client(proxy);
  bus.emit("velevent", eventOf(vel::EventCode::kPrinterChanged, Bytes(144)));

  EXPECT_EQ(others, 1);
}

TEST_F(ClientTest, ACommandOfOtherCodeThatFailsIsNoAnswer) {
  bus.answer("dovelcmd", Reply::error("no"));
  int answers = 0;
  const auto noted = client.onCommand([&](const vel::CommandEvent&) { ++answers; });

  proxy->DoVelCmd("", "plug", 66);

  EXPECT_EQ(answers, 0);
}

TEST_F(ClientTest, AnAnswerMayComeWithinTheCallOfTheCommand) {
  bus.answer("dovelcmd", Reply().int32(0));
  timeline.when("call dovelcmd", [this] {
    proxy->HandleEvent(
        scripted::ScriptedBus::messageOf(eventOf(vel::EventCode::kCommandAnswer, {'o', 'k'})));
  });
  Strings answers;
  const auto noted = client.onCommand(
      [&](const vel::CommandEvent& event) { answers.push_back(event.answer.value_or("")); });

  EXPECT_TRUE(client.command("", "plug", 66));

  EXPECT_THAT(answers, ElementsAre("ok"));
}

TEST_F(ClientTest, ConnectingInsideACallbackReportsNoReturn) {
  int returns = 0;
  bool isConnected = false;
  const auto back = client.onServiceReturn([&](const vel::ServiceReturn&) { ++returns; });
  const auto device =
      client.onDevice([&](const vel::DeviceEvent&) { isConnected = client.connect().has_value(); });
  bus.serviceDies();
  bus.waitForDeaths();
  bus.setRegistered(true);

  proxy->HandleEvent(scripted::ScriptedBus::messageOf(
      eventOf(vel::EventCode::kDevicePlugged, deviceRecord(12, "Camera"))));

  EXPECT_TRUE(isConnected);
  EXPECT_EQ(returns, 0) << "a subscriber may wait for the callback that runs";
  EXPECT_TRUE(client.connect());
  EXPECT_EQ(returns, 1);
}

}  // namespace
