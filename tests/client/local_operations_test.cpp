// The operations of vel::Client that send no request of their own.

#include "tests/client/client_test.h"
#include "tests/library/remote_operations.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using LocalOperationsTest = ClientTest;

TEST_F(LocalOperationsTest, ConnectingReportsWhatIsMissing) {
  qx::VelProxy fresh;
  const vel::Client unconnected(fresh);

  bus.setReachable(false);
  EXPECT_EQ(unconnected.connect().error().kind(), vel::ErrorKind::kNoBus);
  EXPECT_EQ(unconnected.connect().error().message(), "the bus cannot be reached");
  bus.setReachable(true);
  bus.setRegistered(false);
  EXPECT_EQ(unconnected.connect().error().kind(), vel::ErrorKind::kNoService);
  bus.setRegistered(true);
  EXPECT_TRUE(unconnected.connect());
  EXPECT_TRUE(unconnected.connect());
}

// A bus may begin its reason with the method, as after a time-out.
TEST_F(LocalOperationsTest, AMessageNamesTheMethodOnce) {
  bus.answer("getDeviceList", Reply::error("getDeviceList: late", MESSAGE_TYPE_NO_REPLY));
  EXPECT_EQ(client.localDevices().error().message(), "getDeviceList: late");

  bus.answer("getDeviceList", Reply::error("late", MESSAGE_TYPE_NO_REPLY));
  EXPECT_EQ(client.localDevices().error().message(), "getDeviceList: late");
}

// Not what was missing at an earlier attempt.
TEST_F(LocalOperationsTest, AfterDisconnectingTheServiceIsMissing) {
  qx::VelProxy fresh;
  const vel::Client other(fresh);
  bus.setReachable(false);
  ASSERT_FALSE(other.connect());
  EXPECT_EQ(other.reset().error().kind(), vel::ErrorKind::kNoBus);
  bus.setReachable(true);
  ASSERT_TRUE(other.connect());

  other.disconnect();

  EXPECT_EQ(other.reset().error().kind(), vel::ErrorKind::kNoService);
}

TEST_F(LocalOperationsTest, TheProcessHasAProxyThatConnectsByItself) {
  bus.answer("resetService", Reply().int32(0));
  const vel::Client ofTheProcess;
  EXPECT_EQ(&ofTheProcess.proxy(), instance);
  ofTheProcess.disconnect();

  EXPECT_TRUE(ofTheProcess.reset());
}

TEST_F(LocalOperationsTest, TheNameOfAVmIsKnownOnceItsNumberIs) {
  bus.knowsVm("win\xFF", 12);
  EXPECT_EQ(client.vmName(vel::VmNumber(12)), std::nullopt);
  EXPECT_EQ(client.vmName(vel::VmNumber()), std::nullopt);

  ASSERT_EQ(*client.vmNumber("win\xFF"), vel::VmNumber(12));

  EXPECT_EQ(client.vmName(vel::VmNumber(12)), "win\xEF\xBF\xBD");
}

TEST_F(LocalOperationsTest, AVmWithoutANumberIsUnknown) {
  const vel::Result<vel::VmNumber> number = client.vmNumber("solaris10");

  ASSERT_FALSE(number);
  EXPECT_EQ(number.error().kind(), vel::ErrorKind::kUnknownVm);
}

// Each pipe names its own VM, whose number is asked for before anything is sent.
TEST_F(LocalOperationsTest, APipeOfAnUnknownVmIsNotSent) {
  bus.knowsVm(kVm, kVmNumber);
  const std::vector<vel::Pipe> pipes = {{kVm, 1, "a", "b"}, {"solaris10", 2, "c", "d"}};

  const vel::Result<void> created = client.createPipes(kVm, pipes);

  ASSERT_FALSE(created);
  EXPECT_EQ(created.error().kind(), vel::ErrorKind::kUnknownVm);
  EXPECT_THAT(created.error().text(), testing::HasSubstr("solaris10"));
  EXPECT_THAT(bus.requests(), testing::Each(testing::StartsWith("getVmListSize(")));
}

TEST_F(LocalOperationsTest, TheEmptyNameIsThisMachine) {
  bus.answer("connectDevice", Reply().int32(0));

  EXPECT_TRUE(client.attach("", vel::DeviceNumber(12)));

  EXPECT_THAT(bus.requests(), ElementsAre("connectDevice(int32 0, int16 12)"));
}

TEST_F(LocalOperationsTest, TimeLimitsAreThoseOfTheMethods) {
  using std::chrono::milliseconds;
  static_assert(vel::Client::timeLimit("connectVm") == milliseconds(2000));
  EXPECT_EQ(vel::Client::timeLimit("searchAllPrinter"), milliseconds(30000));
  EXPECT_EQ(vel::Client::timeLimit("startManager"), milliseconds(0));
  EXPECT_EQ(vel::Client::timeLimit("no such method"), milliseconds(0));
}

TEST_F(LocalOperationsTest, AddressesAreChecked) {
  EXPECT_TRUE(vel::Client::isAddress("10.0.0.7:631"));
  EXPECT_FALSE(vel::Client::isAddress("printer.local"));
}

TEST_F(LocalOperationsTest, UsbDevicesOfTheClientNeedNoRequest) {
  EXPECT_TRUE(client.connectUsb(kVm, {}));
  EXPECT_TRUE(client.disconnectUsb(kVm, {}));

  EXPECT_THAT(bus.calls(), IsEmpty());
}

TEST_F(LocalOperationsTest, AMessageOfAPortHasItsHeaderAtLeast) {
  EXPECT_EQ(client.receivePortData("space.port.2", std::vector<unsigned char>(7)).error().kind(),
            vel::ErrorKind::kRefusedArgument);
  EXPECT_TRUE(client.receivePortData("space.port.2", std::vector<unsigned char>(8)));
}

TEST_F(LocalOperationsTest, APortIsOpenedWithItsWriter) {
  std::string written = "nothing";
  client.openPort("space.port.2", false,
                  [&](const std::string& port, unsigned int, unsigned char*) {
                    written = port;
                    return 0U;
                  });
  client.setPortOpen("space.port.2", true);
  client.setPortOpen("space.port.2", false);

  EXPECT_EQ(written, "nothing");
  EXPECT_THAT(bus.calls(), IsEmpty());
}

}  // namespace
