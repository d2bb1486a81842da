// Network devices and USB redirection; the rows are in rows/network_devices.cpp.

#include <limits>

#include "tests/library/proxy_test.h"

namespace {

using testing::IsEmpty;

constexpr UDevInfo kUsbDevice = {{0x88, 0x77, 0x66, 0x55, 0x44, 0x33, 0x22, 0x11}};

class NetworkDevicesTest : public ProxyTest {
 protected:
  NetworkDevicesTest() {
    bus.knowsVm("linux9", 0x80000002);
    bus.answer("addNetworkDevice", Reply().int32(6));
    bus.answer("deleteNetworkDevice", Reply().int32(6));
    bus.answer("setUsbredirStatus", Reply().int32(6));
  }
};

// --- AddNetworkDevice, DeleteNetworkDevice ------------------------------------------------------

TEST_F(NetworkDevicesTest, AnEmptyTextIsAnEmptyBlock) {
  std::string device;
  std::string detail;

  EXPECT_EQ(proxy->AddNetworkDevice(1, device), 6);
  EXPECT_EQ(bus.lastCall(), "addNetworkDevice(int32 1, bytes[0])");

  EXPECT_EQ(proxy->DeleteNetworkDevice(device, detail), 6);
  EXPECT_EQ(bus.lastCall(), "deleteNetworkDevice(bytes[0], bytes[0])");
  EXPECT_EQ(device, "");
  EXPECT_EQ(detail, "");
}

TEST_F(NetworkDevicesTest, ATextKeepsEveryByte) {
  std::string device;
  for (int byte = 0; byte < 256; ++byte) {
    device += static_cast<char>(byte);
  }
  std::string detail(device.rbegin(), device.rend());

  EXPECT_EQ(proxy->AddNetworkDevice(1, device), 6);
  EXPECT_EQ(bus.lastBytes(1), bytesOf(device));

  EXPECT_EQ(proxy->DeleteNetworkDevice(device, detail), 6);
  EXPECT_EQ(bus.lastBytes(0), bytesOf(device));
  EXPECT_EQ(bus.lastBytes(1), bytesOf(detail));
}

TEST_F(NetworkDevicesTest, TextsAreOnlyReadWhateverTheReply) {
  std::string device = "scanner";
  std::string detail = "detail";
  const std::string answer = "something else";
  for (const Reply& reply : {Reply().int32(0), Reply().string(answer), Reply::error(answer),
                             Reply().bytes(bytesOf(answer)).bytes(bytesOf(answer))}) {
    bus.answer("addNetworkDevice", reply);
    bus.answer("deleteNetworkDevice", reply);

    proxy->AddNetworkDevice(1, device);
    proxy->DeleteNetworkDevice(device, detail);

    EXPECT_EQ(device, "scanner");
    EXPECT_EQ(detail, "detail");
  }
}

TEST_F(NetworkDevicesTest, ATypeKeepsAll32Bits) {
  std::string device = "a";
  for (const int type : {0, -1, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()}) {
    EXPECT_EQ(proxy->AddNetworkDevice(type, device), 6);

    EXPECT_EQ(bus.lastCall(), "addNetworkDevice(int32 " + std::to_string(type) + ", bytes[1] 61)");
  }
}

// --- USB redirection ----------------------------------------------------------------------------

TEST_F(NetworkDevicesTest, AUsbStatusGoesBeforeTheDevice) {
  const struct {
    unsigned short status;
    const char* sent;
  } rows[] = {{0, "0"}, {1, "1"}, {32767, "32767"}, {32768, "-32768"}, {65535, "-1"}};
  for (const auto& [status, sent] : rows) {
    EXPECT_EQ(proxy->SetUsbredirStatus("linux9", kUsbDevice, status), 6);

    EXPECT_EQ(bus.lastCall(), "setUsbredirStatus(int32 -2147483646, int16 " + std::string(sent) +
                                  ", bytes[8] 8877665544332211)");
  }
}

TEST_F(NetworkDevicesTest, AUsbStatusOfNoVmIsSentWith0) {
  EXPECT_EQ(proxy->SetUsbredirStatus("", kUsbDevice, 3), 6);

  EXPECT_EQ(bus.requests(),
            Strings{"setUsbredirStatus(int32 0, int16 3, bytes[8] 8877665544332211)"});
}

TEST_F(NetworkDevicesTest, ConnectingAUsbDeviceDoesNothing) {
  bus.answer("resetService", Reply().int32(0));
  Gate gate = timeline.hold("call resetService(");
  Background call([this] { return proxy->ResetService(); });
  ASSERT_TRUE(gate.isReached());
  disconnect(*instance);

  Background connecting([this] {
    return proxy->ConnectUsbredir("linux9", kUsbDevice) == 0 &&
           proxy->DisconnectUsbredir("linux9", kUsbDevice) == 0;
  });

  EXPECT_TRUE(connecting.isDone()) << "no lock";
  EXPECT_TRUE(connecting.result());
  EXPECT_THAT(timeline.of(connecting.id()), IsEmpty());
  gate.open();
  EXPECT_EQ(call.result(), 0u);
}

TEST_F(NetworkDevicesTest, ConnectingAUsbDeviceNeedsNoService) {
  disconnect(*proxy);
  bus.setRegistered(false);

  EXPECT_EQ(proxy->ConnectUsbredir("linux9", kUsbDevice), 0);
  EXPECT_EQ(proxy->DisconnectUsbredir("linux9", kUsbDevice), 0);

  EXPECT_THAT(timeline.all(), IsEmpty());
}

}  // namespace
