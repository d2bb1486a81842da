// What subscribers learn of the service's death and return, and what is repeated for them.

#include <atomic>

#include "tests/client/client_test.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Optional;

class ServiceDeathTest : public ClientTest {
 protected:
  ServiceDeathTest() {
    bus.knowsVm("linux", 8);
    bus.knowsVm("win11", 7);
  }

  // Notes deaths and returns in their order.
  vel::Subscription death = client.onServiceDeath([this](const vel::ServiceDeath& event) {
    notes.push_back("death");
    ended = event.vms;
  });
  vel::Subscription back = client.onServiceReturn([this](const vel::ServiceReturn& event) {
    notes.push_back("return");
    restored = event;
  });
  Strings notes;
  Strings ended;
  vel::ServiceReturn restored;
};

TEST_F(ServiceDeathTest, NamesTheVmsThatTheClientHasUsed) {
  client.vmNumber("win11");
  client.vmNumber("linux");

  restartService();

  EXPECT_THAT(notes, ElementsAre("death", "return"));
  EXPECT_THAT(ended, ElementsAre("linux", "win11"));
}

TEST_F(ServiceDeathTest, IsReportedBeforeTheServiceIsBack) {
  Strings found;
  death = client.onServiceDeath([&](const vel::ServiceDeath&) {
    found.push_back(client.connect().error().message());
    bus.setRegistered(true);
  });

  bus.serviceDies();
  bus.waitForDeaths();

  EXPECT_THAT(found, ElementsAre("no service on the bus"));
  EXPECT_THAT(notes, ElementsAre("return"));
}

TEST_F(ServiceDeathTest, IsReportedEachTime) {
  restartService();
  restartService();
  restartService();

  EXPECT_THAT(notes, ElementsAre("death", "return", "death", "return", "death", "return"));
}

TEST_F(ServiceDeathTest, IsFollowedByNoReturnWhenTheServiceStaysAway) {
  bus.serviceDies();
  bus.waitForDeaths();

  EXPECT_THAT(notes, ElementsAre("death"));
}

TEST_F(ServiceDeathTest, ConnectingFindsAServiceThatHasStayedAwayForLonger) {
  client.vmNumber("win11");
  bus.serviceDies();
  bus.waitForDeaths();
  EXPECT_FALSE(client.connect());
  EXPECT_THAT(notes, ElementsAre("death"));

  bus.setRegistered(true);
  EXPECT_TRUE(client.connect());
  EXPECT_TRUE(client.connect());

  EXPECT_THAT(notes, ElementsAre("death", "return")) << "once";
  EXPECT_THAT(restored.vms, ElementsAre("win11"));
}

TEST_F(ServiceDeathTest, AReturnThatConnectingHasFoundIsNotReportedAgain) {
  timeline.when("Error onServiceDeath: vel serviced death", [this] {
    bus.setRegistered(true);
    // The library looks for the service later.
    Background<bool>([this] { return client.connect().has_value(); }).result();
  });

  bus.serviceDies();
  bus.waitForDeaths();

  EXPECT_EQ(std::count(notes.begin(), notes.end(), "return"), 1);
}

TEST_F(ServiceDeathTest, TheNewServiceIsAskedForTheVmsSoThatTheirEventsArrive) {
  client.vmNumber("win11");
  Strings names;
  const auto noted = client.onDevice(
      [&](const vel::DeviceEvent& event) { names.push_back(event.vm + ": " + event.device.name); });
  restartService();
  EXPECT_THAT(restored.vms, ElementsAre("win11"));
  EXPECT_THAT(restored.failures, IsEmpty());

  bus.emit("velevent", eventOf(vel::EventCode::kDeviceAttached, deviceRecord(12, "Camera"), 7));

  EXPECT_THAT(names, ElementsAre("win11: Camera"));
}

TEST_F(ServiceDeathTest, AVmThatTheNewServiceDoesNotKnowIsReported) {
  client.vmNumber("win11");
  client.vmNumber("linux");
  timeline.when("Error onServiceDeath: vel serviced death", [this] { bus.knowsVm("linux", 0); });

  restartService();

  EXPECT_THAT(restored.vms, ElementsAre("win11"));
  ASSERT_EQ(restored.failures.size(), 1U);
  EXPECT_EQ(restored.failures[0].kind(), vel::ErrorKind::kUnknownVm);
  EXPECT_EQ(restored.failures[0].text(), "the service does not know a VM \"linux\"");
}

TEST_F(ServiceDeathTest, JoysticksAreSubscribedToAgain) {
  bus.answer("registerJoystickCallback", Reply().int32(0));
  bus.answer("unregisterJoystickCallback", Reply().int32(0));
  const auto joystick = client.onJoystick([](const vel::JoystickEvent&) {});
  forget();

  restartService();

  EXPECT_THAT(bus.requests(), ElementsAre(testing::StartsWith("registerJoystickCallback(")));
  EXPECT_THAT(restored.joysticks, Optional(true));
}

TEST_F(ServiceDeathTest, JoysticksThatTheNewServiceRefusesAreReported) {
  bus.answer("registerJoystickCallback", Reply().int32(0));
  bus.answer("unregisterJoystickCallback", Reply().int32(0));
  auto joystick = client.onJoystick([](const vel::JoystickEvent&) {});
  bus.answer("registerJoystickCallback", Reply().int32(19));

  restartService();

  EXPECT_THAT(restored.joysticks, Optional(false));
  ASSERT_EQ(restored.failures.size(), 1U);
  EXPECT_EQ(restored.failures[0].status(), 19);
}

TEST_F(ServiceDeathTest, WithoutJoysticksNothingIsSaidOfThem) {
  restartService();

  EXPECT_EQ(restored.joysticks, std::nullopt);
}

TEST_F(ServiceDeathTest, EndsTheSessionOfEachVmThatIsSubscribedTo) {
  Strings sessions;
  const auto note = [&](const vel::SessionEnd& event) { sessions.push_back(event.vm); };
  const auto win11 = client.onSessionEnd("win11", note);
  const auto linux_ = client.onSessionEnd("linux", note);

  restartService();
  restartService();

  EXPECT_THAT(sessions, ElementsAre("win11", "linux", "win11", "linux"));
}

TEST_F(ServiceDeathTest, SubscriptionsLast) {
  Strings names;
  const auto noted =
      client.onDevice([&](const vel::DeviceEvent& event) { names.push_back(event.device.name); });

  restartService();
  emitDevice("Camera");

  EXPECT_THAT(names, ElementsAre("Camera"));
}

TEST_F(ServiceDeathTest, ASubscriptionMayEndAndBeginInItsCallback) {
  int deaths = 0;
  vel::Subscription once;
  vel::Subscription begun;
  once = client.onServiceDeath([&](const vel::ServiceDeath&) {
    once.end();
    begun = client.onServiceDeath([&](const vel::ServiceDeath&) { ++deaths; });
  });

  restartService();
  restartService();

  EXPECT_EQ(deaths, 1);
}

TEST_F(ServiceDeathTest, SubscriptionsEndOnOtherThreadsMeanwhile) {
  std::atomic<bool> isDone{false};
  Background<void> deaths([&] {
    for (int i = 0; i < 20; ++i) {
      restartService();
    }
    isDone = true;
  });
  while (!isDone) {
    int calls = 0;
    vel::Subscription one = client.onServiceDeath([&calls](const vel::ServiceDeath&) { ++calls; });
    vel::Subscription two =
        client.onServiceReturn([&one](const vel::ServiceReturn&) { one.end(); });
    two.end();
    one.end();
  }
  deaths.result();
}

TEST_F(ServiceDeathTest, AClientOfTheProxyThatTakesThePlaceOfADestroyedOneReceivesEvents) {
  // The hub of a proxy is found by the address.
  for (int i = 0; i < 3; ++i) {
    alignas(qx::VelProxy) unsigned char place[sizeof(qx::VelProxy)];
    auto* const successive = new (place) qx::VelProxy;
    successive->Init();
    {
      const vel::Client itsClient(*successive);
      Strings names;
      const auto noted = itsClient.onDevice(
          [&](const vel::DeviceEvent& event) { names.push_back(event.device.name); });
      emitDevice("Camera");
      EXPECT_THAT(names, ElementsAre("Camera")) << i;
    }
    successive->~VelProxy();
  }
}

}  // namespace
