// Policies and properties of devices. The rows are in rows/policies.cpp, GetLocalDeviceList is in
// devices_test.cpp, tests of all lists are in hostile_blocks_test.cpp.

#include <cstdlib>
#include <cstring>
#include <limits>

#include "tests/library/proxy_test.h"

namespace {

using testing::IsEmpty;

class PoliciesTest : public ProxyTest {
 protected:
  PoliciesTest() {
    for (const char* const method :
         {"setLocalPolicy", "setAutoConnect", "getAutoConnect", "setDevicePropertyWithVidPid",
          "getDevicePropertyWithVidPid", "getLocalDevicePropertyWithVidPid",
          "setTurboConfigWithVidPid", "resetAllDeviceProperty"}) {
      bus.answer(method, Reply().int32(6));
    }
  }
};

// A number as int16 and as int32.
struct Width {
  unsigned short value;
  const char* asInt16;
  const char* asInt32;
};

constexpr Width kWidths[] = {{0, "int16 0", "int32 0"},
                             {1, "int16 1", "int32 1"},
                             {32767, "int16 32767", "int32 32767"},
                             {32768, "int16 -32768", "int32 32768"},
                             {65535, "int16 -1", "int32 65535"}};

// --- SetDeviceLocalPolicy -----------------------------------------------------------------------

TEST_F(PoliciesTest, ALocalPolicySendsItsTextsToTheirFirstNul) {
  CommonDevice device;
  std::memset(&device, '#', sizeof device);
  device.devNumber = 0x5678;
  device.policy = 0x1234;
  std::memcpy(device.name, "cam\0era", 8);
  std::memcpy(device.policyText, "\0ask", 5);

  EXPECT_EQ(proxy->SetDeviceLocalPolicy(&device), 6);

  EXPECT_EQ(bus.lastCall(), "setLocalPolicy(int16 22136, int16 4660, bytes[3] 63616d, bytes[0])");
}

TEST_F(PoliciesTest, ALocalPolicyReadsNoTextBeyondItsField) {
  CommonDevice device = {};
  std::memset(device.name, 'n', sizeof device.name);
  std::memset(device.policyText, 'p', sizeof device.policyText);
  device.vmIdText[0] = 'v';

  EXPECT_EQ(proxy->SetDeviceLocalPolicy(&device), 6);

  EXPECT_EQ(bus.lastBytes(2), Bytes(128, 'n'));
  EXPECT_EQ(bus.lastBytes(3), Bytes(256, 'p'));
}

TEST_F(PoliciesTest, ALocalPolicyKeepsTheBitsOfItsNumbers) {
  for (const Width& number : kWidths) {
    CommonDevice device = {};
    device.devNumber = number.value;
    device.policy = -3;
    proxy->SetDeviceLocalPolicy(&device);
    EXPECT_EQ(bus.lastCall(),
              "setLocalPolicy(" + std::string(number.asInt16) + ", int16 -3, bytes[0], bytes[0])");

    device.devNumber = 9;
    device.policy = static_cast<short>(number.value);
    proxy->SetDeviceLocalPolicy(&device);
    EXPECT_EQ(bus.lastCall(),
              "setLocalPolicy(int16 9, " + std::string(number.asInt16) + ", bytes[0], bytes[0])");
  }
}

TEST_F(PoliciesTest, ALocalPolicyWithoutADeviceIsRefused) {
  EXPECT_EQ(proxy->SetDeviceLocalPolicy(nullptr), -1);

  EXPECT_THAT(bus.madeMessages(), IsEmpty());
}

// --- SetAutoConnect, GetAutoConnect -------------------------------------------------------------

TEST_F(PoliciesTest, AutoConnectSendsTheLow16BitsOfItsValue) {
  const struct {
    int value;
    const char* sent;
  } rows[] = {{0, "0"},
              {1, "1"},
              {-1, "-1"},
              {0x8000, "-32768"},
              {0x10001, "1"},
              {0x7FFF7FFF, "32767"},
              {std::numeric_limits<int>::min(), "0"}};
  for (const auto& [value, sent] : rows) {
    EXPECT_EQ(proxy->SetAutoConnect(2, value), 6);

    EXPECT_EQ(bus.lastCall(), "setAutoConnect(int32 0, int16 2, int16 " + std::string(sent) + ")");
  }
}

TEST_F(PoliciesTest, ADeviceTypeOfAutoConnectKeepsItsBits) {
  for (const Width& type : kWidths) {
    EXPECT_EQ(proxy->SetAutoConnect(type.value, 17), 6);
    EXPECT_EQ(bus.lastCall(),
              "setAutoConnect(int32 0, " + std::string(type.asInt16) + ", int16 17)");

    EXPECT_EQ(proxy->GetAutoConnect(type.value), 6);
    EXPECT_EQ(bus.lastCall(), "getAutoConnect(int32 0, " + std::string(type.asInt16) + ")");
  }
}

// --- Properties ---------------------------------------------------------------------------------

TEST_F(PoliciesTest, ASetPropertySendsItsTypeWithoutASign) {
  for (const Width& number : kWidths) {
    EXPECT_EQ(proxy->SetDevicePropertyWithVidPid(number.value, 11, 12, -13), 6);
    EXPECT_EQ(bus.lastCall(), "setDevicePropertyWithVidPid(int32 0, " +
                                  std::string(number.asInt16) + ", int16 11, int32 12, int32 -13)");

    EXPECT_EQ(proxy->SetDevicePropertyWithVidPid(11, number.value, 12, -13), 6);
    EXPECT_EQ(bus.lastCall(), "setDevicePropertyWithVidPid(int32 0, int16 11, " +
                                  std::string(number.asInt16) + ", int32 12, int32 -13)");

    EXPECT_EQ(proxy->SetDevicePropertyWithVidPid(11, 12, number.value, -13), 6);
    EXPECT_EQ(bus.lastCall(), "setDevicePropertyWithVidPid(int32 0, int16 11, int16 12, " +
                                  std::string(number.asInt32) + ", int32 -13)");
  }
}

TEST_F(PoliciesTest, ASetPropertyKeepsAll32BitsOfItsValue) {
  for (const int value : {0, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()}) {
    EXPECT_EQ(proxy->SetDevicePropertyWithVidPid(1, 2, 3, value), 6);

    EXPECT_EQ(bus.lastCall(),
              "setDevicePropertyWithVidPid(int32 0, int16 1, int16 2, int32 3, int32 " +
                  std::to_string(value) + ")");
  }
}

TEST_F(PoliciesTest, AGetterSendsTheProductIdTwiceAndNoType) {
  for (const Width& pid : kWidths) {
    const std::string arguments =
        "(int32 0, int16 4660, " + std::string(pid.asInt16) + ", " + pid.asInt32 + ")";
    constexpr unsigned short kTypes[] = {0, 3, 65535};
    for (const unsigned short type : kTypes) {
      EXPECT_EQ(proxy->GetDevicePropertyWithVidPid(0x1234, pid.value, type), 6);
      EXPECT_EQ(bus.lastCall(), "getDevicePropertyWithVidPid" + arguments);

      EXPECT_EQ(proxy->GetLocalDevicePropertyWithVidPid(0x1234, pid.value, type), 6);
      EXPECT_EQ(bus.lastCall(), "getLocalDevicePropertyWithVidPid" + arguments);
    }
  }
}

// --- Turbo configuration ------------------------------------------------------------------------

TEST_F(PoliciesTest, ATurboConfigurationKeepsEveryByte) {
  std::string config;
  for (int byte = 0; byte < 256; ++byte) {
    config += static_cast<char>(byte);
  }

  EXPECT_EQ(proxy->SetTurboConfigWithVidPid(1, 2, config), 6);

  EXPECT_EQ(bus.lastBytes(3), bytesOf(config));
  EXPECT_EQ(bus.calls().back().arguments.size(), 4u);
}

TEST_F(PoliciesTest, AnEmptyTurboConfigurationIsAnEmptyBlock) {
  EXPECT_EQ(proxy->SetTurboConfigWithVidPid(1, 2, ""), 6);

  EXPECT_EQ(bus.lastCall(), "setTurboConfigWithVidPid(int32 0, int16 1, int16 2, bytes[0])");
}

TEST_F(PoliciesTest, ATurboConfigurationIsReturnedAsTheServiceSentIt) {
  const std::string texts[] = {"", "fast=1\n", std::string("a\0b", 3), std::string(100000, 't')};
  for (const std::string& text : texts) {
    bus.answer("getTurboConfigWithVidPid", Reply().string(text));

    EXPECT_EQ(proxy->GetTurboConfigWithVidPid(0xFFFF, 0x8000), text);

    EXPECT_EQ(bus.lastCall(), "getTurboConfigWithVidPid(int32 0, int16 -1, int16 -32768)");
  }
}

// --- What a caller gets without an answer -------------------------------------------------------

TEST_F(PoliciesTest, SettersReturnMinusOneAndGettersZeroWithoutAnAnswer) {
  CommonDevice device = {};
  const auto expectNoAnswer = [&] {
    EXPECT_EQ(proxy->SetDeviceLocalPolicy(&device), -1);
    EXPECT_EQ(proxy->SetAutoConnect(1, 2), -1);
    EXPECT_EQ(proxy->SetDevicePropertyWithVidPid(1, 2, 3, 4), -1);
    EXPECT_EQ(proxy->GetAutoConnect(1), 0);
    EXPECT_EQ(proxy->GetDevicePropertyWithVidPid(1, 2, 3), 0);
    EXPECT_EQ(proxy->GetLocalDevicePropertyWithVidPid(1, 2, 3), 0);
    EXPECT_EQ(proxy->SetTurboConfigWithVidPid(1, 2, "x"), 0);
    EXPECT_EQ(proxy->ResetAllDeviceProperty(), 0);
    EXPECT_EQ(proxy->GetTurboConfigWithVidPid(1, 2), "");
    EXPECT_THAT(proxy->GetPolicyListByVidPid(), IsEmpty());
  };
  // The service knows none of the methods.
  bus.reset();
  expectNoAnswer();
  EXPECT_EQ(log.errors().size(), 10u);
  EXPECT_EQ(bus.calls().size(), 10u);

  disconnect(*proxy);
  expectNoAnswer();
  EXPECT_THAT(
      log.errors(),
      testing::AllOf(testing::SizeIs(10), testing::Each("wait velserviced restart when it death")));
  EXPECT_THAT(bus.madeMessages(), IsEmpty());
}

// --- FreePolicyList -----------------------------------------------------------------------------

// AddressSanitizer finds records that are not freed, or freed in another way.
TEST_F(PoliciesTest, FreeingPoliciesNeedsNoServiceAndNoLock) {
  bus.answer("resetService", Reply().int32(0));
  Gate gate = timeline.hold("call resetService(");
  Background call([this] { return proxy->ResetService(); });
  ASSERT_TRUE(gate.isReached());
  disconnect(*instance);
  std::list<CommonVidPidPolicy*> policies;
  for (const std::size_t size : {1u, 681u, 5000u}) {
    policies.push_back(static_cast<CommonVidPidPolicy*>(std::malloc(size)));
  }

  Background freeing([&] { return proxy->FreePolicyList(policies) + proxy->FreePolicyList({}); });

  EXPECT_TRUE(freeing.isDone());
  EXPECT_EQ(freeing.result(), 0);
  EXPECT_EQ(policies.size(), 3u) << "the caller's list is the caller's";
  EXPECT_THAT(timeline.of(freeing.id()), IsEmpty());
  gate.open();
  EXPECT_EQ(call.result(), 0u);
}

}  // namespace
