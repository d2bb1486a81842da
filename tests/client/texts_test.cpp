// Texts that a record cannot hold, and values as keys.

#include <map>
#include <sstream>
#include <unordered_set>

#include "tests/client/client_test.h"

namespace {

using testing::AllOf;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;

class TextsTest : public ClientTest {
 protected:
  // The refusals of every operation that puts texts into a record.
  std::vector<vel::Error> refusalsOf(const std::string& text) {
    std::vector<vel::Error> refusals;
    const auto note = [&](const vel::Result<void>& result) {
      ASSERT_FALSE(result);
      refusals.push_back(result.error());
    };
    vel::Device device;
    device.policyText = text;
    vel::NewDeviceEvent named;
    named.name = text;
    vel::NewDeviceEvent ended;
    ended.result = text;
    const vel::LocalPolicy policy = vel::LocalPolicy::kAllowed;
    note(client.setLocalPolicy(vel::DeviceNumber(1), policy, text, ""));
    note(client.setLocalPolicy(vel::DeviceNumber(1), policy, "", text));
    note(client.addSharedPrinters({{"10.0.0.7", text, ""}}));
    note(client.removeSharedPrinter({text, "", ""}));
    note(client.createPipes("", {{"", 1, text, ""}}));
    note(client.destroyPipes("", {{"", 1, "", text}}));
    note(client.announceDevice(vel::EventCode::kDeviceChanged, device));
    note(client.announceNewDevice(named));
    note(client.announceNewDevice(ended));
    return refusals;
  }
};

constexpr std::size_t kLongerThanAnyField = 257;

TEST_F(TextsTest, ARecordTakesNoTextThatIsTooLong) {
  int events = 0;
  const auto device = client.onDevice([&](const vel::DeviceEvent&) { ++events; });
  const auto result = client.onNewDevice([&](const vel::NewDeviceEvent&) { ++events; });

  EXPECT_THAT(
      refusalsOf(std::string(kLongerThanAnyField, 'x')),
      Each(AllOf(testing::Property(&vel::Error::kind, vel::ErrorKind::kRefusedArgument),
                 testing::Property(&vel::Error::text, "a text is too long, or contains a NUL"))));
  EXPECT_THAT(bus.requests(), IsEmpty());
  EXPECT_EQ(events, 0);
}

TEST_F(TextsTest, ARecordTakesNoTextThatANulWouldEndEarly) {
  EXPECT_THAT(refusalsOf(std::string("be\0fore", 7)),
              Each(testing::Property(&vel::Error::text, "a text is too long, or contains a NUL")));
  EXPECT_THAT(bus.requests(), IsEmpty());
}

TEST_F(TextsTest, TheAddressOfAPrinterIsNotCutAtANul) {
  EXPECT_EQ(client.addNetworkPrinter(std::string("10.0.0.7\0x", 10)).error().message(),
            "addNetworkPrinter: a text is too long, or contains a NUL");
  EXPECT_THAT(bus.requests(), IsEmpty());
}

TEST_F(TextsTest, TheLongestTextsTravelWhole) {
  bus.answer("setLocalPolicy", Reply().int32(0));

  EXPECT_TRUE(client.setLocalPolicy(vel::DeviceNumber(1), vel::LocalPolicy::kAllowed,
                                    std::string(127, 'n'), std::string(255, 't')));

  EXPECT_EQ(bus.lastBytes(2).size(), 127U);
  EXPECT_EQ(bus.lastBytes(3).size(), 255U);
}

TEST(NumbersTest, AreOrderedAndMayBeKeys) {
  const vel::DeviceNumber one(1);
  const vel::DeviceNumber two(2);
  EXPECT_TRUE(one < two && one <= two && two > one && two >= one && one != two);
  EXPECT_FALSE(two <= one || one >= two);

  const std::map<vel::UsbId, int> ordered = {{{2, 1}, 3}, {{1, 9}, 2}, {{1, 2}, 1}};
  std::vector<int> order;
  for (const auto& [usb, position] : ordered) {
    order.push_back(position);
  }
  EXPECT_THAT(order, ElementsAre(1, 2, 3));
  EXPECT_TRUE((vel::UsbId{1, 2}) == (vel::UsbId{1, 2}));
  EXPECT_TRUE((vel::UsbId{1, 2}) != (vel::UsbId{2, 2}));
  EXPECT_TRUE((vel::UsbId{1, 2}) != (vel::UsbId{1, 3}));
  const std::unordered_set<vel::UsbId> hashed = {{1, 2}, {2, 1}, {1, 2}};
  EXPECT_EQ(hashed.size(), 2U);
}

TEST(ErrorKindTest, HasANameForPeople) {
  EXPECT_EQ(vel::nameOf(vel::ErrorKind::kNoThread), "no thread");
  EXPECT_EQ(vel::nameOf(static_cast<vel::ErrorKind>(1000)), "") << "of a later version";
}

}  // namespace
