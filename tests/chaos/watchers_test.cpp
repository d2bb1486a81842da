// The watchers of chaos see each broken promise, and no other.

#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>

#include "tests/chaos/registrations.h"

namespace {

using chaos::Registrations;
using chaos::SessionOrder;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class ChaosWatchers : public testing::Test {
 protected:
  std::function<void(const std::string&)> noting() {
    return [this](const std::string& promise) { broken.push_back(promise); };
  }
  std::vector<std::string> broken;
};

TEST_F(ChaosWatchers, ACallAfterTheEndOfARegistrationIsSeen) {
  Registrations registrations(noting());
  void* const userData = registrations.begin();

  EXPECT_TRUE(registrations.isCalled(userData));
  EXPECT_THAT(broken, IsEmpty());
  registrations.end(userData);

  EXPECT_FALSE(registrations.isCalled(userData));
  EXPECT_THAT(broken, ElementsAre(HasSubstr("no callback after its registration")));
}

TEST_F(ChaosWatchers, ALateCallIsSeenAlsoWhenThePlaceHasAnotherRegistration) {
  Registrations registrations(noting());
  void* const first = registrations.begin();
  registrations.end(first);
  for (int i = 0; i < 5000; ++i) {
    registrations.end(registrations.begin());
  }

  EXPECT_FALSE(registrations.isToldOfDeath(first));
  EXPECT_EQ(broken.size(), 1u);
}

TEST_F(ChaosWatchers, ASecondCode5IsSeen) {
  Registrations registrations(noting());
  void* const userData = registrations.begin();

  EXPECT_TRUE(registrations.isToldOfDeath(userData));
  EXPECT_THAT(broken, IsEmpty());
  EXPECT_FALSE(registrations.isToldOfDeath(userData));
  EXPECT_THAT(broken, ElementsAre(HasSubstr("it came 2 times")));
}

TEST_F(ChaosWatchers, NamesShowTheInstanceOfTheService) {
  EXPECT_EQ(SessionOrder::instanceIn("i12 camera", 10), 12u);
  EXPECT_EQ(SessionOrder::instanceIn("i12 camera", 3), 0u);
  EXPECT_EQ(SessionOrder::instanceIn("i camera", 8), 0u);
  EXPECT_EQ(SessionOrder::instanceIn("idle", 4), 0u);
  EXPECT_EQ(SessionOrder::instanceIn("i99999999999999999999 ", 22), 0u);
}

TEST_F(ChaosWatchers, AnEventOfAnOldSessionIsSeenOnceTheEndOfTheSessionIsReported) {
  SessionOrder order(noting());
  order.event(1);
  order.killed(1);
  order.gone();
  // Not yet reported to all.
  order.event(1);
  order.event(2);
  EXPECT_THAT(broken, IsEmpty());

  order.back();
  order.event(2);
  EXPECT_THAT(broken, IsEmpty());
  order.event(1);
  EXPECT_THAT(broken, ElementsAre(HasSubstr("one of instance 1 came after")));
}

TEST_F(ChaosWatchers, AnInstanceThatLeavesAndReturnsMaySendEvents) {
  SessionOrder order(noting());
  order.event(3);
  order.gone();
  order.back();
  order.event(3);

  EXPECT_THAT(broken, IsEmpty());
}

}  // namespace
