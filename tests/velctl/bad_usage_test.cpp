// Wrong command lines, and help.

#include <algorithm>

#include "base/text.h"
#include "tests/velctl/commands.h"
#include "tests/velctl/in_process.h"

namespace velctl_tests {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

// There is no bus: a command that tried to connect would fail with another status.
class BadUsageTest : public InProcessTest {
 protected:
  BadUsageTest() { bus.setReachable(false); }

  void expectBadUsage(const std::vector<std::string>& arguments, const std::string& error) {
    const Ran refused = velctl(arguments);

    EXPECT_EQ(refused.status, velctl::kExitUsage);
    EXPECT_THAT(refused.out, IsEmpty());
    EXPECT_THAT(refused.err, StartsWith("velctl"));
    EXPECT_THAT(refused.err, HasSubstr(error));
    EXPECT_EQ(std::count(refused.err.begin(), refused.err.end(), '\n'), 1) << refused.err;
  }
};

TEST_F(BadUsageTest, IsReportedInOneLine) {
  struct Row {
    std::vector<std::string> arguments;
    std::string error;
  };
  const std::string longText(128, 'x');
  const std::string notUsb = ": must be a USB vendor and product id, such as 046d:0825";
  const std::string tooLarge = "18446744073709551616";
  const Row rows[] = {
      {{}, "velctl: a command is missing; see velctl --help"},
      {{"--json"}, "velctl: a command is missing; see velctl --help"},
      {{"foo"}, "velctl: unknown command \"foo\"; see velctl --help"},
      {{"--foo"}, "velctl: unknown option --foo; see velctl --help"},
      {{"vm"}, "velctl vm: a command is missing; see velctl vm --help"},
      {{"vm", "lst"}, "velctl vm: unknown command \"lst\"; see velctl vm --help"},
      {{"vm", "list", "win11"}, "velctl vm list: the following argument was not expected: win11; "},
      {{"vm", "list", "reset"}, "velctl vm list: the following argument was not expected: reset; "},
      {{"status", "--foo"}, "velctl status: the following argument was not expected: --foo; "},
      {{"reset", "now"}, "velctl reset: the following argument was not expected: now; "},
      {{"vm", "connect"}, "velctl vm connect: vm is required; see velctl vm connect --help"},
      {{"vm", "connect", "win11", "--system-type", "x"}, "could not convert: --system-type = x;"},
      {{"vm", "connect", "win11", "--system-type", "2147483648"}, "could not convert: "},
      {{"vm", "connect", "win11", "--share-mode"}, "velctl vm connect: "},
      {{"vm", "connect", "win11", "win10"}, "not expected: win10; "},
      {{"vm", "start"}, "velctl vm start: vm is required; "},
      {{"vm", "disconnect"}, "velctl vm disconnect: vm is required; "},
      {{"vm", "focus"}, "velctl vm focus: vm is required; "},
      {{"vm", "focus", "win11", "--window", "-1"},
       "--window: -1: must be a number from 0 to 18446744073709551615, "},
      {{"vm", "focus", "win11", "--window", tooLarge},
       "--window: " + tooLarge + ": must be a number from 0 to "},
      {{"vm", "port", "win11", "1"}, "velctl vm port: status is required; "},
      {{"vm", "port", "win11", "-1", "1"}, "port: -1: must be a number from 0 to 4294967295, "},
      {{"vm", "port", "win11", "4294967296", "1"}, "port: 4294967296: must be a number from 0 to "},
      {{"vm", "token"}, "velctl vm token: token is required; "},
      {{"vm", "token", ""}, "updateDriveToken: the token is empty; "},
      {{"pipe", "create", "win11"}, "velctl pipe create: pipe is required; "},
      {{"pipe", "create", "win11", "x"}, "pipe: x: the handle must be a number "},
      {{"pipe", "create", "win11", ""}, "the handle must be a number "},
      {{"pipe", "create", "win11", "-1"}, "velctl pipe create: "},
      {{"pipe", "create", "win11", "0x"}, "pipe: 0x: the handle must be a number "},
      {{"pipe", "create", "win11", "7x"}, "pipe: 7x: the handle must be a number "},
      {{"pipe", "create", "win11", tooLarge}, "the handle must be a number "},
      {{"pipe", "create", "win11", "1", "y"}, "pipe: y: the handle must be a number "},
      {{"pipe", "create", "win11", "1," + longText}, ": a name has at most 127 bytes; "},
      {{"pipe", "destroy", "win11", "1,a," + longText}, ": a name has at most 127 bytes; "},
      {{"device"}, "velctl device: a command is missing; see velctl device --help"},
      {{"device", "network"}, "velctl device network: a command is missing; "},
      {{"printer", "shared", "find"}, "velctl printer shared: unknown command \"find\"; "},
      {{"device", "status", "12", "13"}, "not expected: 13; "},
      {{"device", "connect", "--vm", "win11"},
       "connectDevice: name the device by its number or with --source, not both"},
      {{"device", "connect", "12", "--source", "7", "--vm", "win11"},
       "connectDevice: name the device by its number or with --source, not both"},
      {{"device", "disconnect", "--vm", "win11"},
       "disconnectDevice: name the device by its number or with --source, not both"},
      {{"printer", "network", "add", ""},
       "addNetworkPrinter: the address is empty; give at least one character"},
      {{"printer", "network", "add", "10.0.0.7", ""}, "addNetworkPrinter: the name is empty; "},
      {{"printer", "network", "rename", "", "b"}, "renameNetworkPrinter: the old name is empty; "},
      {{"printer", "network", "rename", "a", ""}, "renameNetworkPrinter: the new name is empty; "},
      {{"printer", "shared", "search", "10.0.0"},
       "searchSharePrinter: \"10.0.0\" is not an IPv4 address such as 10.0.0.7 or 10.0.0.7:631"},
      {{"printer", "shared", "search", "10.0.0.7:65536"}, "is not an IPv4 address "},
      {{"printer", "shared", "add", "10.0.0.7", "Office"},
       "addSharePrinter: each printer needs an address, a name and a description; "},
      {{"printer", "shared", "add", "10.0.0.7", longText, ""}, " is longer than 127 bytes"},
      {{"printer", "shared", "delete", longText, "a"}, " is longer than 127 bytes"},
      {{"policy", "local", "12", "1", "--name", longText}, " is longer than 127 bytes"},
      {{"policy", "local", "12", "1", "--text", longText + longText}, " is longer than 255 bytes"},
      {{"policy", "property", "get", "046d"}, "id: 046d" + notUsb},
      {{"policy", "property", "get", "46d:0825"}, "id: 46d:0825" + notUsb},
      {{"policy", "property", "get", "046d:08255"}, "id: 046d:08255" + notUsb},
      {{"policy", "property", "local", "046g:0825"}, "id: 046g:0825" + notUsb},
      {{"quality", "rtc", "1", "--vm", "win11"},
       "setRtcQosInfo: type 1 needs a figure, and no other type has one"},
      {{"quality", "rtc", "2", "3", "--vm", "win11"},
       "setRtcQosInfo: type 1 needs a figure, and no other type has one"},
      {{"diagnose", "source", "1", "--vm", ""},
       "diagnose: name a VM; there is none on this machine"},
      {{"usb", "status", "01020304050607", "1", "--vm", "win11"},
       "device: 01020304050607: must be 16 hexadecimal digits"},
      {{"usb", "status", "010203040506070g", "1", "--vm", "win11"},
       "device: 010203040506070g: must be 16 hexadecimal digits"},
      {{"camera", "on"}, "not expected: on; "},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(base::joined(row.arguments, " "));
    expectBadUsage(row.arguments, row.error);
  }
}

TEST_F(BadUsageTest, RequiredArgumentsMustBeThere) {
  struct Row {
    std::string command;
    std::string missing;
  };
  const Row rows[] = {
      {"device status", "device"},
      {"device connect", "--vm"},
      {"device disconnect", "--vm"},
      {"device redirect --vm win11", "first"},
      {"device network add", "type"},
      {"device network add 1", "device"},
      {"device network remove", "device"},
      {"printer status", "printer"},
      {"printer connect --vm win11", "printer"},
      {"printer disconnect 51", "--vm"},
      {"printer command --vm win11", "source"},
      {"printer command 1 --vm win11", "command"},
      {"printer command 1 1", "--vm"},
      {"printer network add", "address"},
      {"printer network delete", "name"},
      {"printer network rename a", "new"},
      {"printer shared search", "address"},
      {"printer shared add", "printers"},
      {"printer shared delete 10.0.0.7", "name"},
      {"printer queue drivers", "printer"},
      {"printer queue add a", "second"},
      {"printer queue auto-add a b", "third"},
      {"printer queue delete", "printer"},
      {"printer queue driver a", "driver"},
      {"printer queue test-page", "printer"},
      {"policy local", "device"},
      {"policy auto-connect get", "type"},
      {"policy property get", "id"},
      {"policy property local", "id"},
      {"policy property set 046d:0825", "type"},
      {"policy turbo get", "id"},
      {"policy turbo set", "id"},
      {"new-device connect --vm win11", "source"},
      {"new-device ignore", "source"},
      {"new-device storage --vm win11", "source"},
      {"new-device storage 1 1", "--vm"},
      {"joystick map", "joystick"},
      {"joystick calibrate", "joystick"},
      {"quality bandwidth --vm win11", "first"},
      {"quality bandwidth 1 2", "--vm"},
      {"quality rtc --vm win11", "type"},
      {"quality rtc 2", "--vm"},
      {"diagnose source --vm win11", "source"},
      {"diagnose device --vm win11", "device"},
      {"diagnose device 12", "--vm"},
      {"exec run", "command"},
      {"exec test", "test"},
      {"device redirect 1 --vm win11", "second"},
      {"printer connect 51", "--vm"},
      {"device connect 12", "--vm"},
      {"printer queue add a b", "third"},
      {"policy local 12", "policy"},
      {"policy auto-connect set 1", "value"},
      {"policy property set 046d:0825 1", "value"},
      {"policy turbo set 046d:0825", "config"},
      {"new-device connect 1", "--vm"},
      {"new-device storage 1 --vm win11", "command"},
      {"joystick map 1", "mapping"},
      {"quality bandwidth 1 --vm win11", "second"},
      {"diagnose source 1", "--vm"},
      {"usb status 0102030405060708 1", "--vm"},
      {"usb status --vm win11", "device"},
      {"usb status 0102030405060708 --vm win11", "status"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.command);
    expectBadUsage(wordsOf(row.command), ": " + row.missing + " is required; ");
  }
}

TEST_F(BadUsageTest, ANumberMustBeOneAndNotTooLarge) {
  struct Row {
    std::string before;
    std::string name;  // of the number
    std::string after;
    std::string above;  // one more than the largest
  };
  const std::string u16 = "65536";
  const std::string u32 = "4294967296";
  const std::string u64 = "18446744073709551616";
  const std::string i16 = "32768";
  const std::string i32 = "2147483648";
  const std::string toVm = " --vm win11";
  const Row rows[] = {
      {"device status ", "device", "", u16},
      {"device connect ", "device", toVm, u16},
      {"device connect --source ", "--source", toVm, u64},
      {"device disconnect ", "device", toVm, u16},
      {"device disconnect --source ", "--source", toVm, u64},
      {"device redirect ", "first", " 1" + toVm, u16},
      {"device redirect 1 ", "second", toVm, u16},
      {"device network add ", "type", " x", i32},
      {"printer status ", "printer", "", u16},
      {"printer connect ", "printer", toVm, u16},
      {"printer disconnect ", "printer", toVm, u16},
      {"printer command ", "source", " 1" + toVm, u64},
      {"printer command 1 ", "command", toVm, u16},
      {"policy local ", "device", " 1", u16},
      {"policy local 1 ", "policy", "", i16},
      {"policy auto-connect get ", "type", "", u16},
      {"policy auto-connect set ", "type", " 1", u16},
      {"policy auto-connect set 1 ", "value", "", u16},
      {"policy property set 046d:0825 ", "type", " 1", u16},
      {"policy property set 046d:0825 1 ", "value", "", i32},
      {"new-device connect ", "source", toVm, u64},
      {"new-device connect 1 --type ", "--type", toVm, u16},
      {"new-device connect 1 --auto-connect ", "--auto-connect", toVm, u16},
      {"new-device connect 1 --popup ", "--popup", toVm, u16},
      {"new-device ignore ", "source", "", u64},
      {"new-device ignore 1 --type ", "--type", "", u16},
      {"new-device ignore 1 --auto-connect ", "--auto-connect", "", u16},
      {"new-device ignore 1 --popup ", "--popup", "", u16},
      {"new-device storage ", "source", " 1" + toVm, u64},
      {"new-device storage 1 ", "command", toVm, u16},
      {"usb status 0102030405060708 ", "status", toVm, u16},
      {"joystick map ", "joystick", " 1", u16},
      {"joystick map 1 ", "mapping", "", u16},
      {"joystick calibrate ", "joystick", "", u16},
      {"quality bandwidth ", "first", " 1" + toVm, u64},
      {"quality bandwidth 1 ", "second", toVm, u64},
      {"quality rtc ", "type", toVm, u32},
      {"quality rtc 1 ", "figure", toVm, u32},
      {"diagnose source ", "source", toVm, u64},
      {"diagnose source 1 --follow ", "--follow", toVm, u32},
      {"diagnose device ", "device", toVm, u16},
      {"diagnose device 1 --until ", "--until", toVm, u32},
      {"exec run ", "command", "", i32},
      {"exec run 1 --wait ", "--wait", "", u32},
      {"exec test ", "test", "", u16},
  };
  for (const Row& row : rows) {
    for (const std::string& number : {std::string("camera"), row.above}) {
      const std::string command = row.before + number + row.after;
      SCOPED_TRACE(command);
      const bool isSigned = row.above == i16 || row.above == i32;
      expectBadUsage(wordsOf(command),
                     isSigned ? ": could not convert: " + row.name + " = " + number
                              : ": " + row.name + ": " + number + ": must be a number from 0 to ");
    }
  }
  expectBadUsage({"device", "status", "-1"},
                 "device: -1: must be a number from 0 to 65535, decimal or 0x...; ");
}

TEST_F(BadUsageTest, AnUnknownOptionIsReported) {
  for (const Command& command : commands()) {
    SCOPED_TRACE(command.name);
    expectBadUsage(wordsOf(command.line + " --nosuch"), "not expected: --nosuch; ");
  }
}

TEST_F(InProcessTest, TheHelpOfEveryGroupNamesItsCommands) {
  struct Row {
    std::vector<std::string> group;
    std::vector<std::string> commands;
  };
  const Row rows[] = {
      {{},
       {"status", "vm", "pipe", "pen", "device", "policy", "new-device", "printer", "joystick",
        "camera", "usb", "quality", "diagnose", "exec", "reset", "watch"}},
      {{"device"}, {"list", "status", "connect", "disconnect", "redirect", "network"}},
      {{"device", "network"}, {"add", "remove"}},
      {{"policy"}, {"list", "local", "auto-connect", "property", "turbo", "reset"}},
      {{"policy", "auto-connect"}, {"get", "set"}},
      {{"policy", "property"}, {"get", "local", "set"}},
      {{"policy", "turbo"}, {"get", "set"}},
      {{"new-device"}, {"connect", "ignore", "storage"}},
      {{"printer"},
       {"list", "status", "connect", "disconnect", "command", "network", "shared", "queue"}},
      {{"printer", "network"}, {"list", "add", "delete", "rename"}},
      {{"printer", "shared"}, {"search", "stop", "add", "delete"}},
      {{"printer", "queue"},
       {"search", "drivers", "add", "auto-add", "delete", "driver", "test-page"}},
      {{"joystick"}, {"list", "mappings", "map", "calibrate", "watch"}},
      {{"usb"}, {"status"}},
      {{"quality"}, {"bandwidth", "rtc"}},
      {{"diagnose"}, {"source", "device"}},
      {{"exec"}, {"run", "help", "test"}},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(base::joined(row.group, " "));

    std::vector<std::string> arguments = row.group;
    arguments.emplace_back("--help");
    const Ran help = velctl(arguments);

    EXPECT_EQ(help.status, velctl::kExitDone);
    EXPECT_THAT(help.err, IsEmpty());
    for (const std::string& command : row.commands) {
      EXPECT_THAT(help.out, HasSubstr("\n  " + command + " "));
    }
  }
}

}  // namespace
}  // namespace velctl_tests
