// Rows of velctl joystick, quality, diagnose and exec.

#include <cstdint>

#include "tests/velctl/blocks.h"
#include "tests/velctl/commands.h"

namespace velctl_tests {
namespace {

// A block of a fixed size that begins with a text.
Bytes block(std::size_t size, const std::string& text) {
  Bytes bytes = bytesOf(text);
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
      Command("JoystickList", "joystick list")
          .sends("getJoystickDevList()")
          .reads(Answer::kContent)
          .answered(Reply().int32(2).bytes(block(138, "Pad")).bytes(block(138, "\x01")))
          .prints(
              "joystick 0\n" +
              dump(138,
                   "0000  50 61 64 00 00 00 00 00 00 00 00 00 00 00 00 00  |Pad.............|") +
              "\njoystick 1\n" +
              dump(138,
                   "0000  01 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00  |................|"))
          .printsJson(R"({"operation":"getJoystickDevList","joysticks":[{"index":0,"hex":")" +
                      digits(138, "506164") + R"("},{"index":1,"hex":")" + digits(138, "01") +
                      R"("}]})"),
      Command("JoystickMappings", "joystick mappings")
          .sends("getJoystickMappingList()")
          .reads(Answer::kContent)
          .answered(Reply().int32(1).bytes(block(130, "x")))
          .prints("mapping 0\n" +
                  dump(130,
                       "0000  78 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00  |x...............|"))
          .printsJson(R"({"operation":"getJoystickMappingList","mappings":[{"index":0,"hex":")" +
                      digits(130, "78") + R"("}]})"),
      Command("JoystickMap", "joystick map 65535 2")
          .sends("setJoystickMapping(int16 -1, int16 2)")
          .prints("joystick 65535 has mapping 2")
          .printsJson(
              R"({"operation":"setJoystickMapping","joystick":65535,"mapping":2,"status":0})"),
      Command("JoystickCalibrate", "joystick calibrate 3")
          .sends("calibrationJoystick(int16 3)")
          .prints("joystick 3 calibrated")
          .printsJson(R"({"operation":"calibrationJoystick","joystick":3,"status":0})"),
      Command("QualityBandwidth", "quality bandwidth 1 18446744073709551615 --vm win11")
          .sends("setBwInfo(int32 101, uint64 1, uint64 18446744073709551615)")
          .sends(kConfirmation)
          .reads(Answer::kNotAwaited)
          .prints("win11: bandwidth reported")
          .printsJson(R"({"operation":"setBwInfo","vm":"win11","number":101,"first":1,)"
                      R"("second":18446744073709551615,"status":0})"),
      Command("QualityRtcWithAFigure", "quality rtc 1 4294967295 --vm win11")
          .sends("setRtcQosInfo(int32 101, uint64 1, uint64 4294967295)")
          .sends(kConfirmation)
          .reads(Answer::kNotAwaited)
          .prints("win11: quality reported")
          .printsJson(R"({"operation":"setRtcQosInfo","vm":"win11","number":101,"type":1,)"
                      R"("figure":4294967295,"status":0})"),
      Command("QualityRtcWithoutAFigure", "quality rtc 2 --vm win11")
          .sends("setRtcQosInfo(int32 101, uint64 2)")
          .sends(kConfirmation)
          .reads(Answer::kNotAwaited)
          .prints("win11: quality reported")
          .printsJson(
              R"({"operation":"setRtcQosInfo","vm":"win11","number":101,"type":2,"status":0})"),
      Command("DiagnoseSource", "diagnose source 258 --vm win11 --follow 0")
          .sends("diagnose(int32 101, bytes[8] 0201000000000000)")
          .reads(Answer::kContent)
          .answered(Reply().string("{\"velservice\":4097}"))
          .prints("{\"velservice\":4097}")
          .printsJson(R"({"operation":"diagnose","vm":"win11","number":101,"source":258,)"
                      R"("text":"{\"velservice\":4097}"})"),
      Command("DiagnoseDevice", "diagnose device 65535 --vm win11 --follow 0")
          .sends("diagnoseDevice(int32 101, int32 65535)")
          .reads(Answer::kContent)
          .answered(Reply().string("fine"))
          .prints("fine")
          .printsJson(R"({"operation":"diagnoseDevice","vm":"win11","number":101,"device":65535,)"
                      R"("text":"fine"})"),
      Command("ExecRunWithoutWaiting", "exec run -7 'a b' --vm win11 --wait 0")
          .sends(R"(dovelcmd(int32 101, string "a b", int32 -7))")
          .prints("win11: command -7 accepted")
          .printsJson(
              R"({"operation":"dovelcmd","vm":"win11","number":101,"command":-7,"arguments":"a b",)"
              R"("status":0})"),
      Command("ExecHelp", "exec help --vm win11")
          .sends("getvelcmdhelp(int32 101)")
          .reads(Answer::kContent)
          .answered(Reply().string("1 restart\n2 dump\n"))
          .prints("1 restart\n2 dump")
          .printsJson(R"({"operation":"getvelcmdhelp","vm":"win11","number":101,)"
                      R"("text":"1 restart\n2 dump\n"})"),
      Command("ExecTest", "exec test 65535")
          .sends("doveltest(int32 0, int16 -1)")
          .prints("test 65535 passed")
          .printsJson(R"({"operation":"doveltest","test":65535,"status":0})"),
  };
}

}  // namespace velctl_tests
