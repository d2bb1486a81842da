// Command lines that make no sense, and help on those that do.

#include <algorithm>

#include "tests/velctl/velctl_test.h"

namespace velctl_tests {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

// Nobody is there: a command that tried to connect would say so.
Finished velctl(const std::vector<std::string>& arguments) {
  Process::Options options;
  options.command = {VELCTL_PATH};
  options.command.insert(options.command.end(), arguments.begin(), arguments.end());
  options.environment = {{"QXBUS_ADDRESS", "unix:path=/nonexistent/bus"}};
  return run(options);
}

TEST(BadUsageTest, IsToldInOneLineAndNothingIsSent) {
  struct Row {
    std::vector<std::string> arguments;
    std::string error;
  };
  const std::string longText(128, 'x');
  const std::string notU16 = ": must be a number from 0 to 65535, decimal or 0x...";
  const std::string notU64 = ": must be a number from 0 to 18446744073709551615, ";
  const std::string notUsb = ": must be a USB vendor and product id, such as 046d:0825";
  const Row rows[] = {
      {{"device"}, "velctl device: a command is missing; see velctl device --help"},
      {{"device", "network"}, "velctl device network: a command is missing; "},
      {{"printer", "shared", "find"}, "velctl printer shared: no command find; "},
      {{"device", "status"}, "velctl device status: device is required; "},
      {{"device", "status", "65536"}, "device: 65536" + notU16},
      {{"device", "status", "-1"}, "device: -1" + notU16},
      {{"device", "status", "camera"}, "device: camera" + notU16},
      {{"device", "status", "12", "13"}, "not expected: 13; "},
      {{"device", "connect", "12"}, "--vm is required; "},
      {{"device", "connect", "65536", "--vm", "win11"}, "device: 65536" + notU16},
      {{"device", "connect", "--vm", "win11"},
       "connectDevice: name the device by its number or with --source, not both"},
      {{"device", "connect", "12", "--source", "7", "--vm", "win11"},
       "connectDevice: name the device by its number or with --source, not both"},
      {{"device", "disconnect", "--vm", "win11"},
       "disconnectDevice: name the device by its number or with --source, not both"},
      {{"device", "connect", "--source", "18446744073709551616", "--vm", "win11"},
       "--source: 18446744073709551616" + notU64},
      {{"device", "redirect", "1", "--vm", "win11"}, "second is required; "},
      {{"device", "network", "add", "x", "y"}, "could not convert: type = x; "},
      {{"device", "network", "remove"}, "device is required; "},
      {{"printer", "connect", "51"}, "--vm is required; "},
      {{"printer", "status", "65536"}, "printer: 65536" + notU16},
      {{"printer", "command", "1", "65536", "--vm", "win11"}, "command: 65536" + notU16},
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
      {{"printer", "queue", "add", "a", "b"}, "third is required; "},
      {{"printer", "queue", "drivers"}, "printer is required; "},
      {{"policy", "local", "12"}, "policy is required; "},
      {{"policy", "local", "12", "32768"}, "could not convert: policy = 32768; "},
      {{"policy", "local", "12", "1", "--name", longText}, " is longer than 127 bytes"},
      {{"policy", "local", "12", "1", "--text", longText + longText}, " is longer than 255 bytes"},
      {{"policy", "auto-connect", "set", "1"}, "value is required; "},
      {{"policy", "auto-connect", "set", "1", "65536"}, "value: 65536" + notU16},
      {{"policy", "auto-connect", "get", "65536"}, "type: 65536" + notU16},
      {{"policy", "property", "get", "046d"}, "id: 046d" + notUsb},
      {{"policy", "property", "get", "46d:0825"}, "id: 46d:0825" + notUsb},
      {{"policy", "property", "get", "046d:08255"}, "id: 046d:08255" + notUsb},
      {{"policy", "property", "local", "046g:0825"}, "id: 046g:0825" + notUsb},
      {{"policy", "property", "set", "046d:0825", "1"}, "value is required; "},
      {{"policy", "turbo", "set", "046d:0825"}, "config is required; "},
      {{"new-device", "connect", "1"}, "--vm is required; "},
      {{"new-device", "ignore", "1", "--type", "65536"}, "--type: 65536" + notU16},
      {{"new-device", "storage", "1", "--vm", "win11"}, "command is required; "},
      {{"joystick", "map", "1"}, "mapping is required; "},
      {{"joystick", "calibrate", "65536"}, "joystick: 65536" + notU16},
      {{"quality", "bandwidth", "1", "--vm", "win11"}, "second is required; "},
      {{"quality", "rtc", "1", "--vm", "win11"},
       "setRtcQosInfo: type 1 needs a figure, and no other type has one"},
      {{"quality", "rtc", "2", "3", "--vm", "win11"},
       "setRtcQosInfo: type 1 needs a figure, and no other type has one"},
      {{"diagnose", "source", "1"}, "--vm is required; "},
      {{"diagnose", "source", "1", "--vm", ""},
       "diagnose: name a VM; there is none on this machine"},
      {{"diagnose", "device", "65536", "--vm", "win11"}, "device: 65536" + notU16},
      {{"exec", "run", "x"}, "could not convert: command = x; "},
      {{"exec", "run", "2147483648"}, "could not convert: command = 2147483648; "},
      {{"exec", "test", "65536"}, "test: 65536" + notU16},
      {{"usb", "status", "0102030405060708", "1"}, "--vm is required; "},
      {{"usb", "status", "01020304050607", "1", "--vm", "win11"},
       "device: 01020304050607: must be 16 hexadecimal digits"},
      {{"usb", "status", "010203040506070g", "1", "--vm", "win11"},
       "device: 010203040506070g: must be 16 hexadecimal digits"},
      {{"camera", "on"}, "not expected: on; "},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(joined(row.arguments));

    const Finished refused = velctl(row.arguments);

    EXPECT_EQ(refused.status, velctl::kExitUsage);
    EXPECT_THAT(refused.out, IsEmpty());
    EXPECT_THAT(refused.err, StartsWith("velctl"));
    EXPECT_THAT(refused.err, HasSubstr(row.error));
    EXPECT_EQ(std::count(refused.err.begin(), refused.err.end(), '\n'), 1) << refused.err;
  }
}

TEST(HelpTest, EveryGroupNamesItsCommands) {
  struct Row {
    std::vector<std::string> group;
    std::vector<std::string> commands;
  };
  const Row rows[] = {
      {{},
       {"status", "vm", "pipe", "device", "policy", "new-device", "printer", "joystick", "camera",
        "usb", "quality", "diagnose", "exec", "reset", "watch"}},
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
    SCOPED_TRACE(joined(row.group));

    const Finished help = velctl(with(row.group, "--help"));

    EXPECT_EQ(help.status, velctl::kExitOk);
    EXPECT_THAT(help.err, IsEmpty());
    for (const std::string& command : row.commands) {
      EXPECT_THAT(help.out, HasSubstr("\n  " + command + " "));
    }
  }
}

}  // namespace
}  // namespace velctl_tests
