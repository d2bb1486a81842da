// The devices of this machine. The rows are in rows/devices.cpp, tests of all lists in
// hostile_blocks_test.cpp.

#include <cstdlib>
#include <cstring>
#include <functional>

#include "tests/library/blocks.h"
#include "tests/library/proxy_test.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::size_t kVmIdText = offsetof(CommonDevice, vmIdText);

// A device's record. Bytes that the library does not write are '#'.
Bytes device(unsigned short number, unsigned short status, unsigned int vm, const std::string& name,
             std::size_t size = 720) {
  Bytes block(size, '#');
  put(block, 0, number);
  put(block, 8, status);
  put(block, 20, vm);
  std::memcpy(block.data() + offsetof(CommonDevice, name), name.c_str(), name.size() + 1);
  return block;
}

// The bytes at vmIdText.
std::string vmIdTextOf(const Bytes& block) {
  return std::string(block.begin() + kVmIdText, block.end());
}

class DevicesTest : public ProxyTest {
 protected:
  DevicesTest() {
    bus.knowsVm("win11", 7);
    bus.knowsVm("linux9", 0x80000002);
    proxy->GetVmIdInt("win11");
    proxy->GetVmIdInt("linux9");
    forget();
  }

  // The record that a block becomes in a list, and in the status of a device.
  Bytes listed(const Bytes& block) {
    bus.answer("getDeviceList", Reply().int32(1).bytes(block));
    return onlyOneOf(proxy->GetDeviceList(""), block.size());
  }
  Bytes statusOf(const Bytes& block) {
    bus.answer("getDeviceStatus", Reply().int32(1).bytes(block));
    return onlyOneOf(proxy->GetDeviceStatus(12), block.size());
  }

  Bytes onlyOneOf(const std::list<CommonDevice*>& devices, std::size_t size) {
    const Bytes bytes = devices.size() == 1 ? bytesOf(devices.front(), size) : Bytes();
    proxy->FreeDeviceList(devices);
    return bytes;
  }
};

// --- GetDeviceList, GetDeviceStatus -------------------------------------------------------------

TEST_F(DevicesTest, AListGivesTheDevicesInTheOrderOfTheReply) {
  Bytes camera = device(12, 1, 7, "Front camera");
  put(camera, 10, static_cast<short>(-5));
  put(camera, 424, 'p');
  put(camera, 425, '\0');
  bus.answer("getDeviceList",
             Reply().int32(2).bytes(camera).bytes(device(65535, 0, 0xFFFFFFFF, "Drawing tablet")));

  const std::list<CommonDevice*> devices = proxy->GetDeviceList("win11");

  ASSERT_EQ(devices.size(), 2u);
  EXPECT_EQ(devices.front()->devNumber, 12);
  EXPECT_EQ(devices.front()->status, 1);
  EXPECT_EQ(devices.front()->policy, -5);
  EXPECT_EQ(devices.front()->vmId, 7u);
  EXPECT_STREQ(devices.front()->name, "Front camera");
  EXPECT_STREQ(devices.front()->policyText, "p");
  EXPECT_EQ(devices.back()->devNumber, 65535);
  EXPECT_EQ(devices.back()->vmId, 0xFFFFFFFF);
  EXPECT_STREQ(devices.back()->name, "Drawing tablet");
  EXPECT_EQ(bus.lastCall(), "getDeviceList(int32 7)");
  proxy->FreeDeviceList(devices);
}

TEST_F(DevicesTest, AListStopsAtTheFirstEmptyBlockWithAnError) {
  bus.answer("getDeviceList", Reply()
                                  .int32(3)
                                  .bytes(device(12, 1, 0, "Front camera"))
                                  .bytes({})
                                  .bytes(device(13, 1, 0, "Drawing tablet")));

  const std::list<CommonDevice*> devices = proxy->GetDeviceList("");

  ASSERT_EQ(devices.size(), 1u);
  EXPECT_STREQ(devices.front()->name, "Front camera");
  EXPECT_THAT(log.summaries(), ElementsAre(debugLine("GetDeviceList", "vmId: %s", "vmId: "),
                                           debugLine("GetDeviceList", "vmId: %s, list size: %d",
                                                     "vmId: , list size: 3"),
                                           errorLine("GetDeviceList", "buf: %p, size: %d",
                                                     "buf: " + pointer(nullptr) + ", size: 3")));
  proxy->FreeDeviceList(devices);
}

TEST_F(DevicesTest, AStatusLogsEachRecordAndStopsAtTheFirstEmptyBlock) {
  bus.answer("getDeviceStatus", Reply()
                                    .int32(4)
                                    .bytes(device(12, 3, 7, "Front camera"))
                                    .bytes(device(65535, 65534, 0x80000002, "Drawing tablet"))
                                    .bytes({})
                                    .bytes(device(13, 0, 0, "Scanner")));

  const std::list<CommonDevice*> devices = proxy->GetDeviceStatus(12);

  EXPECT_EQ(devices.size(), 2u);
  EXPECT_THAT(
      log.summaries(),
      ElementsAre(debugLine("GetDeviceStatus", "devNumber: %d", "devNumber: 12"),
                  debugLine("GetDeviceStatus", "devNumber: %d, list size: %d",
                            "devNumber: 12, list size: 4"),
                  debugLine("GetDeviceStatus", "vmId:%d, devNumber:%d, status:%d, name:%s",
                            "vmId:7, devNumber:12, status:3, name:Front camera"),
                  debugLine("GetDeviceStatus", "vmId:%d, devNumber:%d, status:%d, name:%s",
                            "vmId:-2147483646, devNumber:65535, status:65534, name:Drawing tablet"),
                  debugLine("GetDeviceStatus", "buf: %p, size: %d",
                            "buf: " + pointer(nullptr) + ", size: 4")));
  proxy->FreeDeviceList(devices);
}

// --- The name of a record's VM ------------------------------------------------------------------

TEST_F(DevicesTest, ARecordOfStatus2GetsTheNameOfItsVmWithoutAnEnd) {
  Bytes expected = device(12, 2, 7, "Front camera");
  const Bytes received = expected;
  std::memcpy(expected.data() + kVmIdText, "win11", 5);

  EXPECT_EQ(listed(received), expected);

  EXPECT_EQ(vmIdTextOf(expected), "win11" + std::string(35, '#'));
}

TEST_F(DevicesTest, ARecordOfAnyOtherStatusStaysUnchanged) {
  // The last three share only some bits with 2.
  constexpr unsigned short kOthers[] = {0, 1, 3, 65535, 0x0200, 0x0102, 0x0202};
  for (const unsigned short status : kOthers) {
    const Bytes block = device(12, status, 7, "Front camera");

    EXPECT_EQ(listed(block), block) << status;
  }
}

TEST_F(DevicesTest, ARecordOfAVmThatWasNeverLookedUpStaysUnchanged) {
  const Bytes block = device(12, 2, 8, "Front camera");

  EXPECT_EQ(listed(block), block);

  EXPECT_THAT(bus.requests(), ElementsAre("getDeviceList(int32 0)")) << "no look-up";
}

TEST_F(DevicesTest, ARecordsVmHasAll32Bits) {
  EXPECT_EQ(vmIdTextOf(listed(device(12, 2, 0x80000002, "Front camera"))),
            "linux9" + std::string(34, '#'));
}

TEST_F(DevicesTest, TheVmOfAListIsLookedUpBeforeTheListIsRead) {
  bus.knowsVm("new", 99);
  bus.answer("getDeviceList", Reply().int32(1).bytes(device(12, 2, 99, "Front camera")));

  EXPECT_EQ(vmIdTextOf(onlyOneOf(proxy->GetDeviceList("new"), 720)), "new" + std::string(37, '#'));
}

TEST_F(DevicesTest, TheNameOfAVmEndsWithTheBlock) {
  const std::string name = "a-rather-long-name-of-a-vm";
  bus.knowsVm(name, 40);
  proxy->GetVmIdInt(name);
  for (const std::size_t space : {name.size() + 1, name.size(), name.size() - 1, std::size_t{1}}) {
    const Bytes block = device(12, 2, 40, "Front camera", kVmIdText + space);

    const std::string expected = space > name.size() ? name + "#" : name.substr(0, space);
    EXPECT_EQ(vmIdTextOf(listed(block)), expected) << space;
  }
}

TEST_F(DevicesTest, AStatusNeverGetsTheNameOfAVm) {
  const Bytes block = device(12, 2, 7, "Front camera");

  EXPECT_EQ(statusOf(block), block);
}

TEST_F(DevicesTest, EachRecordOfAListGetsTheNameOfItsOwnVm) {
  bus.answer("getDeviceList", Reply()
                                  .int32(3)
                                  .bytes(device(12, 2, 7, "Front camera"))
                                  .bytes(device(13, 1, 7, "Drawing tablet"))
                                  .bytes(device(14, 2, 0x80000002, "Scanner")));

  const std::list<CommonDevice*> devices = proxy->GetDeviceList("");

  Strings texts;
  for (const CommonDevice* const device : devices) {
    texts.push_back(vmIdTextOf(bytesOf(device, 720)).substr(0, 7));
  }
  EXPECT_THAT(texts, ElementsAre("win11##", "#######", "linux9#"));
  proxy->FreeDeviceList(devices);
}

// --- Virtual dispatch ---------------------------------------------------------------------------

class ProxyOfItsOwnLists : public qx::VelProxy {
 public:
  std::string GetVmIdString(unsigned int id) override {
    namesAskedFor.push_back(id);
    if (onGetVmIdString) {
      onGetVmIdString();
    }
    return "its own";
  }
  std::list<CommonDevice*> GetDeviceList(std::string vmId) override {
    listsAskedFor.push_back(vmId);
    return lists ? qx::VelProxy::GetDeviceList(std::move(vmId)) : std::list{&unreal};
  }

  std::vector<unsigned int> namesAskedFor;
  std::function<void()> onGetVmIdString;
  Strings listsAskedFor;
  bool lists = true;
  CommonDevice unreal = {};
};

class OverriddenDevicesTest : public ProxyTestOf<ProxyOfItsOwnLists> {};

TEST_F(OverriddenDevicesTest, AListAsksTheVirtualLookUpForTheNamesOfVms) {
  bus.answer("getDeviceList", Reply()
                                  .int32(3)
                                  .bytes(device(12, 2, 7, "Front camera"))
                                  .bytes(device(13, 1, 8, "Drawing tablet"))
                                  .bytes(device(14, 2, 9, "Scanner")));

  const std::list<CommonDevice*> devices = proxy->GetDeviceList("");

  EXPECT_THAT(proxy->namesAskedFor, ElementsAre(7u, 9u));
  ASSERT_EQ(devices.size(), 3u);
  EXPECT_EQ(vmIdTextOf(bytesOf(devices.front(), 720)), "its own" + std::string(33, '#'));
  proxy->FreeDeviceList(devices);
}

TEST_F(OverriddenDevicesTest, AListHoldsTheLockWhileItLooksUpNames) {
  bus.answer("getDeviceList", Reply().int32(1).bytes(device(12, 2, 7, "Front camera")));
  bus.answer("resetService", Reply().int32(0));
  Gate gate;
  proxy->onGetVmIdString = gate.pass();
  Background list([this] { return proxy->FreeDeviceList(proxy->GetDeviceList("")); });
  ASSERT_TRUE(gate.isReached());

  Background other([this] { return proxy->ResetService(); });

  ASSERT_TRUE(timeline.waitFor(other.id(), "Debug ResetService: enter"));
  EXPECT_FALSE(timeline.happensSoon(other.id(), "make "));
  gate.open();
  EXPECT_EQ(list.result(), 0);
  EXPECT_EQ(other.result(), 0u);
}

TEST_F(OverriddenDevicesTest, AStatusLooksUpNoNames) {
  bus.answer("getDeviceStatus", Reply().int32(1).bytes(device(12, 2, 7, "Front camera")));

  proxy->FreeDeviceList(proxy->GetDeviceStatus(12));

  EXPECT_THAT(proxy->namesAskedFor, IsEmpty());
}

TEST_F(OverriddenDevicesTest, TheDevicesOfThisMachineAreTheVirtualListOfNoVm) {
  proxy->lists = false;

  const std::list<CommonDevice*> devices = proxy->GetLocalDeviceList();

  EXPECT_THAT(proxy->listsAskedFor, ElementsAre(""));
  EXPECT_THAT(devices, ElementsAre(&proxy->unreal));
  EXPECT_THAT(timeline.all(), IsEmpty());
}

TEST_F(DevicesTest, TheDevicesOfThisMachineAreThoseOfVm0) {
  bus.answer("getDeviceList", Reply().int32(1).bytes(device(12, 2, 7, "Front camera")));

  const Bytes found = onlyOneOf(proxy->GetLocalDeviceList(), 720);

  EXPECT_EQ(vmIdTextOf(found), "win11" + std::string(35, '#'));
  EXPECT_THAT(bus.requests(), ElementsAre("getDeviceList(int32 0)"));
  EXPECT_EQ(bus.lastTimeoutMs(), 3000);
  EXPECT_THAT(log.summaries(), ElementsAre(debugLine("GetDeviceList", "vmId: %s", "vmId: "),
                                           debugLine("GetDeviceList", "vmId: %s, list size: %d",
                                                     "vmId: , list size: 1")));
}

TEST_F(DevicesTest, TheDevicesOfThisMachineAreAnEmptyListWithoutAService) {
  bus.answer("getDeviceList", Reply::error("too busy"));
  EXPECT_THAT(proxy->GetLocalDeviceList(), IsEmpty());
  EXPECT_THAT(log.errors(), ElementsAre("reply type: 3(too busy)"));

  disconnect(*proxy);
  EXPECT_THAT(proxy->GetLocalDeviceList(), IsEmpty());
  EXPECT_THAT(bus.madeMessages(), IsEmpty());
  EXPECT_THAT(log.errors(), ElementsAre("wait velserviced restart when it death"));
}

// --- FreeDeviceList -----------------------------------------------------------------------------

TEST_F(DevicesTest, FreeingAnEmptyListGives0) {
  EXPECT_EQ(proxy->FreeDeviceList({}), 0);
}

// AddressSanitizer finds records that are not freed, or freed in another way.
TEST_F(DevicesTest, FreeingFreesEachRecordAndNotTheCallersList) {
  std::list<CommonDevice*> devices;
  for (const std::size_t size : {1u, 681u, 5000u}) {
    devices.push_back(static_cast<CommonDevice*>(std::malloc(size)));
  }

  EXPECT_EQ(proxy->FreeDeviceList(devices), 0);

  EXPECT_EQ(devices.size(), 3u);
}

TEST_F(DevicesTest, FreeingNeedsNoServiceAndNoLock) {
  bus.answer("resetService", Reply().int32(0));
  Gate gate = timeline.hold("call resetService(");
  Background call([this] { return proxy->ResetService(); });
  ASSERT_TRUE(gate.isReached());
  disconnect(*instance);

  Background freeing(
      [this] { return proxy->FreeDeviceList({static_cast<CommonDevice*>(std::malloc(681))}); });

  EXPECT_TRUE(freeing.isDone());
  EXPECT_EQ(timeline.count("return "), 0) << "the call is still under way";
  EXPECT_THAT(timeline.of(freeing.id()), IsEmpty());
  gate.open();
  EXPECT_EQ(call.result(), 0u);
}

// --- Attaching and detaching --------------------------------------------------------------------

TEST_F(DevicesTest, ANumberKeepsItsBitsOnTheBusAndItsValueInTheLog) {
  for (const char* const method : {"connectDevice", "disconnectDevice", "redirectDevice"}) {
    bus.answer(method, Reply().int32(0));
  }
  bus.answer("getDeviceStatus", Reply().int32(-1));
  const struct {
    unsigned short number;
    const char* sent;
  } rows[] = {{0, "0"}, {1, "1"}, {32767, "32767"}, {32768, "-32768"}, {65535, "-1"}};
  for (const auto& [number, sent] : rows) {
    const std::string argument = "int16 " + std::string(sent);
    const std::string value = std::to_string(number);

    EXPECT_THAT(proxy->GetDeviceStatus(number), IsEmpty());
    EXPECT_EQ(bus.lastCall(), "getDeviceStatus(" + argument + ")");
    EXPECT_THAT(log.summaries(),
                Contains(debugLine("GetDeviceStatus", "devNumber: %d", "devNumber: " + value)));
    EXPECT_THAT(log.summaries(),
                Contains(debugLine("GetDeviceStatus", "devNumber: %d, list size: %d",
                                   "devNumber: " + value + ", list size: -1")));

    EXPECT_EQ(proxy->ConnectDevice("", number), 0);
    EXPECT_EQ(bus.lastCall(), "connectDevice(int32 0, " + argument + ")");
    EXPECT_THAT(log.summaries(), Contains(debugLine("ConnectDevice", "vmId:%s, devNumber: %d",
                                                    "vmId:, devNumber: " + value)));

    EXPECT_EQ(proxy->DisconnectDevice("", number), 0);
    EXPECT_EQ(bus.lastCall(), "disconnectDevice(int32 0, " + argument + ")");
    EXPECT_THAT(log.summaries(), Contains(debugLine("DisconnectDevice", "vmId:%s, devNumber: %d",
                                                    "vmId:, devNumber: " + value)));

    EXPECT_EQ(proxy->RedirectDevice("", number, 17), 0);
    EXPECT_EQ(bus.lastCall(), "redirectDevice(int32 0, " + argument + ", int16 17)");
    EXPECT_EQ(proxy->RedirectDevice("", 17, number), 0);
    EXPECT_EQ(bus.lastCall(), "redirectDevice(int32 0, int16 17, " + argument + ")");
  }
}

TEST_F(DevicesTest, ASourceKeepsItsBitsOnTheBusAndIsLoggedWithASign) {
  bus.answer("connectDeviceBySrcId", Reply().int32(0));
  bus.answer("disconnectDeviceBySrcId", Reply().int32(0));
  const struct {
    unsigned long long source;
    const char* sent;
    const char* logged;
  } rows[] = {{0, "0", "0"},
              {0xFFFFFFFF, "4294967295", "4294967295"},
              {0x7FFFFFFFFFFFFFFF, "9223372036854775807", "9223372036854775807"},
              {0x8000000000000000, "9223372036854775808", "-9223372036854775808"},
              {0xFFFFFFFFFFFFFFFF, "18446744073709551615", "-1"}};
  for (const auto& [source, sent, logged] : rows) {
    EXPECT_EQ(proxy->ConnectDeviceBySrcId("win11", source), 0);
    EXPECT_EQ(bus.lastCall(), "connectDeviceBySrcId(int32 7, uint64 " + std::string(sent) + ")");
    EXPECT_EQ(log.summaries().back(), debugLine("ConnectDeviceBySrcId", "vmId:%s, srcid: %lld",
                                                "vmId:win11, srcid: " + std::string(logged)));

    EXPECT_EQ(proxy->DisconnectDeviceBySrcId("linux9", source), 0);
    EXPECT_EQ(bus.lastCall(),
              "disconnectDeviceBySrcId(int32 -2147483646, uint64 " + std::string(sent) + ")");
    EXPECT_EQ(log.summaries().back(), debugLine("DisconnectDeviceBySrcId", "vmId:%s,src: %lld",
                                                "vmId:linux9,src: " + std::string(logged)));
  }
}

}  // namespace
