// Each operation of vel::Client once: the value, and what velsim refuses.

#include "tests/client/velsim/velsim_test.h"

namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::Not;

// The statuses of velsim.
enum Refusal : std::int32_t {
  kUnknownPipe = 3,
  kPipeExists = 4,
  kUnknownDevice = 6,
  kBusy = 7,
  kNotAttached = 8,
  kUnknownCommand = 10,
  kNotStorage = 11,
  kUnknownPrinter = 12,
  kExists = 13,
  kSearchStopped = 16,
  kNotSearching = 17,
  kUnknownDriver = 18,
  kUnknownJoystick = 19,
  kUnknownMapping = 20,
  kUnknownTest = 22,
};

using VelsimOperationsTest = VelsimTest;

vel::VmSession sessionOf(const std::string& vm) {
  vel::VmSession session;
  session.vm = vm;
  return session;
}

TEST_F(VelsimOperationsTest, Vms) {
  EXPECT_EQ(shown(valueOf(client.vms())),
            "\"debian\" 104; \"ubuntu\" 103; \"win10\" 102; \"win11\" 101");
  EXPECT_EQ(valueOf(client.vmNumber(kWindows)), vel::VmNumber(101));
  EXPECT_EQ(client.vmName(vel::VmNumber(101)), kWindows);

  const vel::Result<vel::VmNumber> unknown = client.vmNumber("solaris10");
  ASSERT_FALSE(unknown);
  EXPECT_EQ(unknown.error().kind(), vel::ErrorKind::kUnknownVm);
}

TEST_F(VelsimOperationsTest, Sessions) {
  EXPECT_THAT(client.connectVm(sessionOf(kWindows)), Succeeds());
  EXPECT_THAT(client.startVm(kWindows), Succeeds());
  EXPECT_THAT(client.setPortStatus(kWindows, vel::PortNumber(3), 1), Succeeds());
  EXPECT_THAT(client.setFocus(kWindows, vel::WindowId(1), true), Succeeds());
  EXPECT_THAT(client.reportBandwidth(kWindows, 1000, 2000), Succeeds());
  EXPECT_THAT(client.reportQuality(kWindows, 1, 30), Succeeds());
  EXPECT_THAT(client.reportQuality(kWindows, 2), Succeeds());
  EXPECT_THAT(client.updateDriveToken("token"), Succeeds());

  const std::vector<vel::Pipe> pipes = {{kWindows, 7, "in", "out"}};
  EXPECT_THAT(client.destroyPipes(kWindows, pipes), IsRefusedWith(kUnknownPipe));
  EXPECT_THAT(client.createPipes(kWindows, pipes), Succeeds());
  EXPECT_THAT(client.createPipes(kWindows, pipes), IsRefusedWith(kPipeExists));
  EXPECT_THAT(client.destroyPipes(kWindows, pipes), Succeeds());

  EXPECT_THAT(client.disconnectVm(kWindows), Succeeds());
  EXPECT_THAT(client.connectVm(sessionOf("solaris10")), Not(Succeeds()));
}

TEST_F(VelsimOperationsTest, Devices) {
  EXPECT_EQ(valueOf(client.localDevices()).size(), 5U);
  EXPECT_EQ(shownDevice(vel::DeviceNumber(99)), "");

  EXPECT_THAT(client.attach(kWindows, kCamera), Succeeds());
  EXPECT_THAT(shown(valueOf(client.devices(kWindows))), HasSubstr(shownDevice(kCamera)));
  EXPECT_THAT(shown(valueOf(client.devices(kUbuntu))), Not(HasSubstr("Built-in camera")));
  EXPECT_THAT(shownDevice(kCamera),
              testing::MatchesRegex("12 \"Built-in camera\" attached none \"\" vm 101 \"win11\" "
                                    "source [1-9][0-9]* 7e57:0002 camera not mounted attached"));
  EXPECT_THAT(client.attach(kUbuntu, kCamera), IsRefusedWith(kBusy));
  EXPECT_THAT(client.redirect(kUbuntu, kCamera, 1), Succeeds());
  EXPECT_THAT(client.redirect(kUbuntu, kCamera, 9), IsRefusedWith(kUnknownCommand));
  EXPECT_THAT(client.detach(kWindows, kCamera), IsRefusedWith(kNotAttached));
  EXPECT_THAT(client.detach(kUbuntu, kCamera), Succeeds());

  const vel::SourceId source = sourceOf(kCamera);
  EXPECT_THAT(client.attach(kWindows, source), Succeeds());
  EXPECT_THAT(client.detach(kWindows, source), Succeeds());
  EXPECT_THAT(client.detach(kWindows, source), IsRefusedWith(kNotAttached));
  EXPECT_THAT(client.attach(kWindows, vel::SourceId(99)), IsRefusedWith(kUnknownDevice));
  EXPECT_THAT(client.attach("solaris10", kCamera), Not(Succeeds()));
}

TEST_F(VelsimOperationsTest, NewDevices) {
  EXPECT_THAT(
      client.attachNewDevice(kWindows, sourceOf(kCamera), vel::DeviceType::kCamera, true, 2),
      Succeeds());
  EXPECT_EQ(valueOf(client.autoConnect(vel::DeviceType::kCamera)), 1);
  EXPECT_THAT(client.ignoreNewDevice(sourceOf(kCamera), vel::DeviceType::kCamera, false, 2),
              IsRefusedWith(kBusy));
  EXPECT_THAT(client.ignoreNewDevice(sourceOf(kStick), vel::DeviceType::kStorage, false, 2),
              Succeeds());
  EXPECT_THAT(shownDevice(kStick), HasSubstr("ignored"));
  EXPECT_THAT(client.commandStorage(kWindows, sourceOf(kStick), 2), Succeeds());
  EXPECT_THAT(shownDevice(kStick), HasSubstr("not mounted"));
  EXPECT_THAT(client.commandStorage(kWindows, sourceOf(kCamera), 1), IsRefusedWith(kNotStorage));
}

TEST_F(VelsimOperationsTest, NetworkDevicesAndUsb) {
  EXPECT_THAT(client.addNetworkDevice(6, "scanner at 10.0.0.9"), Succeeds());
  EXPECT_THAT(shown(valueOf(client.localDevices())), HasSubstr("scanner at 10.0.0.9"));
  EXPECT_THAT(client.removeNetworkDevice("scanner at 10.0.0.9"), Succeeds());
  EXPECT_THAT(client.removeNetworkDevice("scanner at 10.0.0.9"), IsRefusedWith(kUnknownDevice));
  EXPECT_THAT(client.setUsbStatus(kWindows, {{1, 2, 3}}, 4), Succeeds());
}

TEST_F(VelsimOperationsTest, Policies) {
  EXPECT_THAT(client.setLocalPolicy(kCamera, vel::LocalPolicy::kForbidden, "Door", "never"),
              Succeeds());
  EXPECT_THAT(shownDevice(kCamera), HasSubstr("12 \"Door\" available forbidden \"never\""));
  EXPECT_THAT(client.setLocalPolicy(vel::DeviceNumber(99), vel::LocalPolicy::kNone, "", ""),
              IsRefusedWith(kUnknownDevice));

  EXPECT_EQ(valueOf(client.autoConnect(vel::DeviceType::kTablet)), 0);
  EXPECT_THAT(client.setAutoConnect(vel::DeviceType::kTablet, 3), Succeeds());
  EXPECT_EQ(valueOf(client.autoConnect(vel::DeviceType::kTablet)), 3);

  const vel::UsbId camera{0x7E57, 0x0002};
  EXPECT_EQ(valueOf(client.property(camera)), 30);
  EXPECT_EQ(valueOf(client.localProperty(camera)), 0);
  EXPECT_THAT(client.setProperty(camera, vel::DeviceType::kCamera, -40), Succeeds());
  EXPECT_EQ(valueOf(client.property(camera)), -40);
  EXPECT_EQ(valueOf(client.localProperty(camera)), -40);
  EXPECT_THAT(client.setTurboConfig(camera, "fast"), Succeeds());
  EXPECT_EQ(valueOf(client.turboConfig(camera)), "fast");
  EXPECT_EQ(shown(valueOf(client.policies())), "7e57:0002 camera -40 \"fast\"");
  EXPECT_THAT(client.resetProperties(), Succeeds());
  EXPECT_EQ(valueOf(client.property(camera)), 30);
  EXPECT_EQ(valueOf(client.autoConnect(vel::DeviceType::kTablet)), 0);
}

TEST_F(VelsimOperationsTest, Printers) {
  EXPECT_EQ(shown(valueOf(client.printers(""))),
            "21 \"Office laser\" available vm 0 \"\" not attached; "
            "22 \"Photo printer\" available vm 0 \"\" not attached");
  EXPECT_THAT(client.attach(kWindows, kLaser), Succeeds());
  EXPECT_EQ(shown(valueOf(client.printer(kLaser))),
            "21 \"Office laser\" attached vm 101 \"win11\" attached");
  EXPECT_EQ(shown(valueOf(client.printers(kUbuntu))),
            "22 \"Photo printer\" available vm 0 \"\" not attached");
  EXPECT_THAT(client.attach(kUbuntu, kLaser), IsRefusedWith(kBusy));
  EXPECT_THAT(client.detach(kWindows, kLaser), Succeeds());
  EXPECT_THAT(client.detach(kWindows, kLaser), IsRefusedWith(kNotAttached));
  // The answer says no more.
  EXPECT_THAT(client.commandPrinter(kWindows, vel::SourceId(99), 1), Succeeds());
}

TEST_F(VelsimOperationsTest, NetworkPrinters) {
  EXPECT_THAT(client.addNetworkPrinter("10.0.0.6", "Lobby"), Succeeds());
  EXPECT_THAT(client.addNetworkPrinter("10.0.0.6", "Lobby"), IsRefusedWith(kExists));
  EXPECT_THAT(client.addNetworkPrinter("10.0.0.5"), Succeeds());
  EXPECT_THAT(client.renameNetworkPrinter("Lobby", "Hall"), Succeeds());
  EXPECT_THAT(shown(valueOf(client.networkPrinters())),
              HasSubstr("\"Hall\" at \"10.0.0.6\" available vm 0 \"\""));
  EXPECT_THAT(shown(valueOf(client.networkPrinters())),
              HasSubstr("\"defaultPrinter\" at \"10.0.0.5\""));
  EXPECT_THAT(client.renameNetworkPrinter("Lobby", "Hall"), IsRefusedWith(kUnknownPrinter));
  EXPECT_THAT(client.removeNetworkPrinter("Hall"), Succeeds());
  EXPECT_THAT(client.removeNetworkPrinter("Hall"), IsRefusedWith(kUnknownPrinter));
}

TEST_F(VelsimOperationsTest, SharedPrinters) {
  EXPECT_THAT(client.stopSharedPrinterSearch(), IsRefusedWith(kNotSearching));
  const std::string reception =
      "\"10.0.0.7\" \"Reception\" \"Ground floor\"; \"10.0.0.7\" \"Archive\" \"Basement\"";
  EXPECT_EQ(shown(valueOf(client.searchSharedPrinters("10.0.0.7"))), reception);

  const vel::SharedPrinter studio = {"192.168.1.20", "Studio", "Large format"};
  EXPECT_THAT(client.removeSharedPrinter(studio), IsRefusedWith(kUnknownPrinter));
  EXPECT_THAT(client.addSharedPrinters({studio}), Succeeds());
  EXPECT_THAT(valueOf(client.allPrinters()), HasSubstr("Large format"));
  EXPECT_THAT(client.removeSharedPrinter(studio), Succeeds());
}

TEST_F(VelsimOperationsTest, OthersDoNotWaitForASlowOneApart) {
  velsim().control("fault searchSharePrinter 1 delay 4000");
  const vel::Client apart = vel::Client::apart();
  const auto search = apart.startSharedPrinterSearch("10.0.0.7");
  ASSERT_TRUE(processes::comesTrue(
      [] { return velsim().control("faults").find("met 1") != std::string::npos; }));

  EXPECT_EQ(valueOf(client.localDevices()).size(), 5U);

  EXPECT_FALSE(search.isReady());
  EXPECT_THAT(search.stop(), Succeeds());
  EXPECT_THAT(search.get(), IsRefusedWith(kSearchStopped));
  EXPECT_EQ(&vel::Client::apart().proxy(), &apart.proxy());
  velsim().control("clear-faults all");
}

TEST_F(VelsimOperationsTest, PrintQueues) {
  EXPECT_THAT(valueOf(client.allPrinters()), HasSubstr("\"name\":\"office\""));
  EXPECT_THAT(valueOf(client.printerDrivers("photo")), HasSubstr("Photo raster"));
  EXPECT_THAT(client.addLocalPrinter("desk", "usb://1", "Label strip"), Succeeds());
  EXPECT_THAT(client.addLocalPrinter("desk", "usb://1", "Label strip"), IsRefusedWith(kExists));
  EXPECT_THAT(client.autoAddPrinter("attic", "usb://2", "label"), Succeeds());
  EXPECT_THAT(client.autoAddPrinter("attic", "usb://2", "label"), IsRefusedWith(kExists));
  EXPECT_THAT(client.setPrinterDriver("desk", "Generic text"), Succeeds());
  EXPECT_THAT(client.setPrinterDriver("desk", "no driver"), IsRefusedWith(kUnknownDriver));
  EXPECT_THAT(client.printTestPage("desk"), Succeeds());
  EXPECT_THAT(client.printTestPage("cellar"), IsRefusedWith(kUnknownPrinter));
  EXPECT_THAT(client.removePrinter("desk"), Succeeds());
  EXPECT_THAT(client.removePrinter("desk"), IsRefusedWith(kUnknownPrinter));
}

TEST_F(VelsimOperationsTest, DiagnosesAndCommands) {
  EXPECT_EQ(valueOf(client.diagnose(kWindows, kCamera)),
            "{\"velservice\":0,\"status\":\"ok\",\"steps\":3}");
  EXPECT_THAT(valueOf(client.diagnose(kWindows, sourceOf(kCamera))), HasSubstr("\"steps\":3"));
  // A diagnosis that cannot begin says so in the service's text.
  EXPECT_THAT(valueOf(client.diagnose(kWindows, vel::DeviceNumber(99))),
              HasSubstr("unknown-device"));

  EXPECT_EQ(valueOf(client.cameraStatus()), vel::CameraStatus::kAllowed);
  EXPECT_THAT(client.selfTest(0), Succeeds());
  EXPECT_THAT(client.selfTest(999), IsRefusedWith(kUnknownTest));
  EXPECT_THAT(valueOf(client.commandHelp(kWindows)), HasSubstr("plug"));
  EXPECT_THAT(client.command(kWindows, "fly", 1), IsRefusedWith(kUnknownCommand));
}

TEST_F(VelsimOperationsTest, Joysticks) {
  EXPECT_THAT(client.setJoystickMapping(vel::JoystickIndex(1), vel::MappingIndex(2)), Succeeds());
  EXPECT_THAT(client.calibrateJoystick(vel::JoystickIndex(1)), Succeeds());
  const std::vector<vel::Joystick> joysticks = valueOf(client.joysticks());
  ASSERT_EQ(joysticks.size(), 3U);
  EXPECT_EQ(shown(joysticks[1]), "1 0100.. of 138 \"Game pad\" 7e57:0202 mapping 2 calibrated");
  EXPECT_EQ(shown(valueOf(client.joystickMappings())),
            "0 0000.. of 130 \"Standard\"; 1 0100.. of 130 \"Flight\"; 2 0200.. of 130 "
            "\"Racing\"");
  EXPECT_THAT(client.setJoystickMapping(vel::JoystickIndex(1), vel::MappingIndex(9)),
              IsRefusedWith(kUnknownMapping));
  EXPECT_THAT(client.calibrateJoystick(vel::JoystickIndex(9)), IsRefusedWith(kUnknownJoystick));
  EXPECT_THAT(client.onJoystick([](const vel::JoystickEvent&) {}), Succeeds());
}

}  // namespace
