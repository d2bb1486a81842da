#include "vel/protocol/methods.h"

#include <set>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

#include "vel/protocol/events.h"

namespace velprotocol {
namespace {

TEST(MethodsTest, AreFoundByName) {
  EXPECT_EQ(find("resetService"), &kMethods[0]);
  EXPECT_EQ(method("unregisterJoystickCallback").name, "unregisterJoystickCallback");
  EXPECT_EQ(find("noSuchMethod"), nullptr);
  EXPECT_EQ(find(""), nullptr);
  EXPECT_THROW(method("noSuchMethod"), std::out_of_range);
}

TEST(MethodsTest, HaveOneOfTheTimeLimits) {
  for (const Method& each : kMethods) {
    const std::set<int> limits = {kAsynchronousMs, kQuickMs, kShortMs,
                                  kUsualMs,        kSlowMs,  kSearchMs};
    EXPECT_EQ(limits.count(each.timeoutMs), 1u) << each.name;
  }
}

TEST(EventsTest, AreFoundByCodeAndHaveANameOfTheirOwn) {
  std::set<std::string_view> names;
  for (const Event& event : kEvents) {
    EXPECT_EQ(findEvent(event.code), &event) << event.name;
    EXPECT_TRUE(names.insert(event.name).second) << event.name;
    EXPECT_EQ(nameOf(event.code), event.name);
  }
  EXPECT_EQ(findEvent(static_cast<EventCode>(11)), nullptr);
  EXPECT_EQ(nameOf(static_cast<EventCode>(11)), "");
}

}  // namespace
}  // namespace velprotocol
