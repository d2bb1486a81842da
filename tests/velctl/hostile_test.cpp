// Texts of the service, and of the user, that would do something to a terminal or to a reader.

#include <algorithm>

#include "base/utf8.h"
#include "tests/velctl/commands.h"
#include "tests/velctl/in_process.h"
#include "tests/velctl/right_lines.h"
#include "vel/protocol/access.h"
#include "vel/protocol/records.h"

namespace velctl_tests {
namespace {

using testing::HasSubstr;
using velctl::Kind;
using velctl::Parameter;

// None of them may leave velctl as it is.
const std::vector<std::string>& hostileTexts() {
  static const auto& all = *new std::vector<std::string>{
      "\x1b[2J",           // clears the terminal
      "\x1b]0;title\x07",  // its title
      "\xC2\x9B"
      "31m",               // a sequence that begins with one character above ASCII
      "\r",                // back to the beginning of the line
      "\x08",              // erases
      "\x7F",              //
      "\xE2\x80\x8F",      // right-to-left mark
      "\xE2\x80\xAE",      // right-to-left override
      "\xE2\x81\xA7",      // right-to-left isolate
      "\xD8\x9C",          // Arabic letter mark
      "\xE2\x80\x8B",      // zero-width space
      "\xE2\x80\x8D",      // zero-width joiner
      "\xE2\x81\xA0",      // word joiner
      "\xEF\xBB\xBF",      // zero-width no-break space
      "\xC2\xAD",          // soft hyphen
      "\xE2\x80\xA8",      // line separator
      "\xF3\xA0\x81\x81",  // tag
      "\xEF\xB8\x8F",      // variation selector
      "\xFF",              // not UTF-8
      "\xED\xA0\x80",      // a surrogate
      // A stack of marks, the last of which would cover the lines above.
      "a\xCC\x81\xCC\x81\xCC\x81\xCC\x81\xCC\x81",
  };
  return all;
}

std::string hostileName(bool isUtf8 = false) {
  std::string name = "Mal";
  for (const std::string& text : hostileTexts()) {
    name += isUtf8 && !base::isUtf8(text) ? "" : text + 'x';
  }
  return name + "lory";
}

class HostileTest : public InProcessTest {
 protected:
  static void expectHarmless(const Ran& ran) {
    for (const std::string& text : hostileTexts()) {
      EXPECT_EQ(ran.out.find(text), std::string::npos) << testing::PrintToString(text);
      EXPECT_EQ(ran.err.find(text), std::string::npos) << testing::PrintToString(text);
    }
  }

  void expectHarmless(const std::vector<std::string>& words) {
    std::vector<std::string> json = {"--json"};
    json.insert(json.end(), words.begin(), words.end());
    expectHarmless(velctl(words));
    const Ran ran = velctl(json);
    expectHarmless(ran);
    // Strict: each line is JSON, and UTF-8.
    std::istringstream lines(ran.out);
    for (std::string line; std::getline(lines, line);) {
      EXPECT_TRUE(nlohmann::json::accept(line)) << line;
    }
  }
};

TEST_F(HostileTest, NamesInListsAndRecordsAreHarmless) {
  const std::string name = hostileName();
  Bytes joystick(velprotocol::joystick::kLayout.size());
  velprotocol::write(joystick, velprotocol::joystick::kName, name.substr(0, 127));
  Bytes mapping(velprotocol::joystick_mapping::kLayout.size());
  velprotocol::write(mapping, velprotocol::joystick_mapping::kName, name.substr(0, 127));
  Bytes policy(velprotocol::vid_pid_policy::kLayout.size());
  velprotocol::write(policy, velprotocol::vid_pid_policy::kIsSet, std::uint16_t{3});
  velprotocol::write(policy, velprotocol::vid_pid_policy::kTurboText, name);
  const Reply device = Reply().int32(1).bytes(deviceBlock(12, 2, 0, 7, name, name));
  const Reply printer = Reply().int32(1).bytes(printerBlock(51, 2, 7, name));
  // A text on the bus is UTF-8.
  const std::string vm = hostileName(true);
  bus.knowsVm(vm, 7);
  bus.answer("getVmList", Reply().int32(1).string(vm).int32(7));
  bus.answer("getDeviceList", device);
  bus.answer("getDeviceStatus", device);
  const std::string printerName = "Mal\x1b[2J\xE2\x80\x8F\xE2\x80\xAE";
  bus.answer("getNetworkPrinterList",
             Reply().int32(1).bytes(deviceBlock(12, 2, 0, 7, printerName, name)));
  bus.answer("getPrinterList", printer);
  bus.answer("getPrinterStatus", printer);
  bus.answer("getJoystickDevList", Reply().int32(1).bytes(joystick));
  bus.answer("getJoystickMappingList", Reply().int32(1).bytes(mapping));
  bus.answer("getPolicyListByVidPid", Reply().int32(1).bytes(policy));
  for (const char* const method :
       {"searchAllPrinter", "getPrinterDriverlList", "getTurboConfigWithVidPid", "getvelcmdhelp"}) {
    bus.answer(method, Reply().string(name));
  }
  const std::vector<std::string> lines[] = {
      {"vm", "list"},
      {"vm", "show", vm},
      {"vm", "show", "7"},
      {"device", "list"},
      {"device", "list", "--vm", "7"},
      {"device", "show", "12"},
      {"policy", "get", "12"},
      {"policy", "list"},
      {"printer", "list"},
      {"printer", "show", "51"},
      {"network-printer", "list"},
      {"network-printer", "show", printerName},
      {"joystick", "list"},
      {"joystick", "show", "0"},
      {"mapping", "list"},
      {"mapping", "show", "0"},
      {"queue", "search"},
      {"queue", "drivers", "x"},
      {"turbo", "get", "046d:0825"},
  };
  for (const std::vector<std::string>& words : lines) {
    SCOPED_TRACE(words[0] + ' ' + words[1]);

    expectHarmless(words);

    const Ran ran = velctl(words);
    EXPECT_EQ(ran.status, velctl::kExitDone) << ran.err;
    // It is there all the same.
    EXPECT_THAT(ran.out, HasSubstr("Mal"));
    EXPECT_THAT(ran.out, HasSubstr("[2J"));
  }
}

// A name of several lines must not look like another entry of a table.
TEST_F(HostileTest, ANameOfSeveralLinesStandsInOne) {
  bus.answer("getDeviceList",
             Reply().int32(1).bytes(deviceBlock(12, 1, 0, 0, "a\n13  attached\tb", "")));

  EXPECT_EQ(velctl("device list").out,
            "NUMBER  STATUS         POLICY    VM  NAME\n"
            "12      available (1)  none (0)  -   a\\x0a13  attached\\x09b\n");
}

TEST_F(HostileTest, DirectivesInANameAreText) {
  const std::string name = "%n%s%1$n%99999d {0}";
  bus.answer("getDeviceList", Reply().int32(1).bytes(deviceBlock(12, 1, 0, 0, name, "")));
  bus.answer("connectDevice", Reply::error(name));
  bus.knowsVm("win11", 7);

  EXPECT_THAT(velctl("device list").out, HasSubstr("  -   " + name + "\n"));
  EXPECT_THAT(velctl("device attach 12 --vm win11").err, HasSubstr(name));
}

TEST_F(HostileTest, TheReasonsOfErrorsAreHarmless) {
  for (const Command& command : commands()) {
    SCOPED_TRACE(command.name);
    bus.answer(command.method(), Reply::error(hostileName()));

    expectHarmless(wordsOf(command.line));
  }
}

TEST_F(HostileTest, TextsOfTheUserAreHarmless) {
  const std::string name = hostileName();
  const std::string vm = hostileName(true);
  bus.knowsVm(vm, 7);
  bus.answer("getVmList", Reply().int32(1).string(vm).int32(7));
  for (const velctl::Command& command : velctl::commands()) {
    const RightLine line = rightLineOf(command);
    for (const Parameter& parameter : command.parameters) {
      if (!line.has(parameter.name) || command.action.method.empty()) {
        continue;
      }
      SCOPED_TRACE(command.path + ' ' + parameter.name);

      expectHarmless(line.with(parameter.name, name).words());
      if (parameter.kind == Kind::kVm) {
        expectHarmless(line.with(parameter.name, vm).words());
      }
    }
  }
  expectHarmless({name});
  expectHarmless({"device", name});
  expectHarmless({"--" + name});
  expectHarmless({"device", "list", name});
}

}  // namespace
}  // namespace velctl_tests
