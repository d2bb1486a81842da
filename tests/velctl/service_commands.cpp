// Rows of velctl joystick, quality, diagnose and exec.

#include <cstdint>

#include "tests/velctl/commands.h"
#include "tests/velctl/scripted_service.h"

namespace velctl_tests {
namespace {

// A block of a fixed size that begins with a text.
qxbus::Bytes block(std::size_t size, const std::string& text) {
  qxbus::Bytes bytes = bytesOf(text);
  bytes.resize(size);
  return bytes;
}

// The dump of such a block of 128 bytes and some: the text is at most 16 bytes long.
std::string dump(std::size_t size, const std::string& firstLine) {
  const std::size_t rest = size - 128;
  std::string digits;
  for (std::size_t i = 0; i < rest; ++i) {
    digits += " 00";
  }
  digits.resize(48, ' ');
  return firstLine +
         "\n0010  00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00  |................|\n*\n0080 " +
         digits + "  |" + std::string(rest, '.') + '|';
}

std::string digits(std::size_t size, const std::string& first) {
  std::string text = first;
  text.resize(2 * size, '0');
  return text;
}

}  // namespace

std::vector<Command> serviceCommands() {
  return {
      {"JoystickList",
       {"joystick", "list"},
       {"getJoystickDevList()"},
       Answer::kContent,
       {std::int32_t{2}, block(138, "Pad"), block(138, "\x01")},
       "joystick 0\n" +
           dump(138, "0000  50 61 64 00 00 00 00 00 00 00 00 00 00 00 00 00  |Pad.............|") +
           "\njoystick 1\n" +
           dump(138, "0000  01 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00  |................|"),
       R"({"operation":"getJoystickDevList","joysticks":[{"index":0,"hex":")" +
           digits(138, "506164") + R"("},{"index":1,"hex":")" + digits(138, "01") + R"("}]})"},
      {"JoystickMappings",
       {"joystick", "mappings"},
       {"getJoystickMappingList()"},
       Answer::kContent,
       {std::int32_t{1}, block(130, "x")},
       "mapping 0\n" +
           dump(130, "0000  78 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00  |x...............|"),
       R"({"operation":"getJoystickMappingList","mappings":[{"index":0,"hex":")" +
           digits(130, "78") + R"("}]})"},
      {"JoystickMap",
       {"joystick", "map", "65535", "2"},
       {"setJoystickMapping(int16 -1, int16 2)"},
       Answer::kStatus,
       kDone,
       "joystick 65535 has mapping 2",
       R"({"operation":"setJoystickMapping","joystick":65535,"mapping":2,"status":0})"},
      {"JoystickCalibrate",
       {"joystick", "calibrate", "3"},
       {"calibrationJoystick(int16 3)"},
       Answer::kStatus,
       kDone,
       "joystick 3 calibrated",
       R"({"operation":"calibrationJoystick","joystick":3,"status":0})"},
      {"QualityBandwidth",
       {"quality", "bandwidth", "1", "18446744073709551615", "--vm", "win11"},
       {"setBwInfo(int32 101, uint64 1, uint64 18446744073709551615)", kConfirmation},
       Answer::kUntold,
       kDone,
       "win11: bandwidth reported",
       R"({"operation":"setBwInfo","vm":"win11","number":101,"first":1,)"
       R"("second":18446744073709551615,"status":0})"},
      {"QualityRtcWithAFigure",
       {"quality", "rtc", "1", "4294967295", "--vm", "win11"},
       {"setRtcQosInfo(int32 101, uint64 1, uint64 4294967295)", kConfirmation},
       Answer::kUntold,
       kDone,
       "win11: quality reported",
       R"({"operation":"setRtcQosInfo","vm":"win11","number":101,"type":1,)"
       R"("figure":4294967295,"status":0})"},
      {"QualityRtcWithoutAFigure",
       {"quality", "rtc", "2", "--vm", "win11"},
       {"setRtcQosInfo(int32 101, uint64 2)", kConfirmation},
       Answer::kUntold,
       kDone,
       "win11: quality reported",
       R"({"operation":"setRtcQosInfo","vm":"win11","number":101,"type":2,"status":0})"},
      {"DiagnoseSource",
       {"diagnose", "source", "258", "--vm", "win11", "--follow", "0"},
       {"diagnose(int32 101, bytes[8] 02 01 00 00 00 00 00 00)"},
       Answer::kContent,
       // What the library also returns when there is no answer.
       {std::string("{\"velservice\":4097}")},
       "{\"velservice\":4097}",
       R"({"operation":"diagnose","vm":"win11","number":101,"source":258,)"
       R"("text":"{\"velservice\":4097}"})"},
      {"DiagnoseDevice",
       {"diagnose", "device", "65535", "--vm", "win11", "--follow", "0"},
       {"diagnoseDevice(int32 101, int32 65535)"},
       Answer::kContent,
       {std::string("fine")},
       "fine",
       R"({"operation":"diagnoseDevice","vm":"win11","number":101,"device":65535,)"
       R"("text":"fine"})"},
      {"ExecRunWithoutWaiting",
       {"exec", "run", "-7", "a b", "--vm", "win11", "--wait", "0"},
       {R"(dovelcmd(int32 101, string "a b", int32 -7))"},
       Answer::kStatus,
       kDone,
       "win11: command -7 accepted",
       R"({"operation":"dovelcmd","vm":"win11","number":101,"command":-7,"arguments":"a b",)"
       R"("status":0})"},
      {"ExecHelp",
       {"exec", "help", "--vm", "win11"},
       {"getvelcmdhelp(int32 101)"},
       Answer::kContent,
       {std::string("1 restart\n2 dump\n")},
       "1 restart\n2 dump",
       R"({"operation":"getvelcmdhelp","vm":"win11","number":101,"text":"1 restart\n2 dump\n"})"},
      {"ExecTest",
       {"exec", "test", "65535"},
       {"doveltest(int32 0, int16 -1)"},
       Answer::kStatus,
       kDone,
       "test 65535 passed",
       R"({"operation":"doveltest","test":65535,"status":0})"},
  };
}

}  // namespace velctl_tests
