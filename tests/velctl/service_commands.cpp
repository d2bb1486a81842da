// Rows of velctl joystick, mapping, bandwidth, quality, self-test and service.

#include <cstdint>

#include "tests/velctl/blocks.h"
#include "tests/velctl/commands.h"
#include "vel/protocol/access.h"
#include "vel/protocol/records.h"

namespace velctl_tests {
namespace {

using velprotocol::write;
namespace joystick = velprotocol::joystick;
namespace mapping = velprotocol::joystick_mapping;

// The service's position need not be that in the list, which counts.
Bytes joystickBlock(int mappingPosition, bool isCalibrated, const std::string& name) {
  Bytes block(joystick::kLayout.size());
  write(block, joystick::kVid, std::uint16_t{0x046d});
  write(block, joystick::kPid, std::uint16_t{0xc215});
  write(block, joystick::kMapping, static_cast<std::uint16_t>(mappingPosition));
  write(block, joystick::kIsCalibrated, static_cast<std::uint16_t>(isCalibrated ? 1 : 0));
  write(block, joystick::kName, name);
  return block;
}

Bytes mappingBlock(const std::string& name) {
  Bytes block(mapping::kLayout.size());
  write(block, mapping::kName, name);
  return block;
}

// The digits of such a block: everything behind the first bytes is 0.
std::string digits(std::size_t size, const std::string& first) {
  std::string text = first;
  text.resize(2 * size, '0');
  return text;
}

const std::string& padDigits() {
  static const auto& all = *new std::string(digits(138, "00006d0415c202000100506164"));
  return all;
}

Reply joysticks() {
  return Reply()
      .int32(2)
      .bytes(joystickBlock(2, true, "Pad"))
      .bytes(joystickBlock(0, false, "Flight stick"));
}

Reply mappings() {
  return Reply().int32(2).bytes(mappingBlock("Standard")).bytes(mappingBlock("x"));
}

}  // namespace

std::vector<Command> serviceCommands() {
  return {
      Command("JoystickList", "joystick list")
          .sends("getJoystickDevList()")
          .reads(Answer::kContent)
          .answered(joysticks())
          .prints("POSITION  MAPPING  CALIBRATED  USB ID     NAME\n"
                  "0         2        yes         046d:c215  Pad\n"
                  "1         0        no          046d:c215  Flight stick")
          .printsJson(R"({"operation":"getJoystickDevList","joysticks":[)"
                      R"({"joystick":0,"mapping":2,"isCalibrated":true,"usbId":"046d:c215",)"
                      R"("name":"Pad","hex":")" +
                      padDigits() +
                      R"("},{"joystick":1,"mapping":0,"isCalibrated":false,"usbId":"046d:c215",)"
                      R"("name":"Flight stick","hex":")" +
                      digits(138, "00006d0415c200000000466c6967687420737469636b") + R"("}]})"),
      Command("JoystickShow", "joystick show 0")
          .sends("getJoystickDevList()")
          .reads(Answer::kContent)
          .answered(joysticks())
          .prints("joystick      0\n"
                  "mapping       2\n"
                  "isCalibrated  yes\n"
                  "usbId         046d:c215\n"
                  "name          Pad\n"
                  "hex           " +
                  padDigits())
          .printsJson(R"({"operation":"getJoystickDevList","joystick":0,"mapping":2,)"
                      R"("isCalibrated":true,"usbId":"046d:c215","name":"Pad","hex":")" +
                      padDigits() + R"("})"),
      Command("JoystickMap", "joystick map 65535 2")
          .sends("setJoystickMapping(int16 -1, int16 2)")
          .prints("joystick 65535 has mapping 2")
          .printsJson(R"({"operation":"setJoystickMapping","joystick":65535,"mapping":2,)"
                      R"("status":0,"statusName":"ok"})"),
      Command("JoystickCalibrate", "joystick calibrate 3")
          .sends("calibrationJoystick(int16 3)")
          .prints("joystick 3 calibrated")
          .printsJson(R"({"operation":"calibrationJoystick","joystick":3,)"
                      R"("status":0,"statusName":"ok"})"),
      Command("MappingList", "mapping list")
          .sends("getJoystickMappingList()")
          .reads(Answer::kContent)
          .answered(mappings())
          .prints("POSITION  NAME\n"
                  "0         Standard\n"
                  "1         x")
          .printsJson(R"({"operation":"getJoystickMappingList","mappings":[)"
                      R"({"mapping":0,"name":"Standard","hex":")" +
                      digits(130, "00005374616e64617264") +
                      R"("},{"mapping":1,"name":"x","hex":")" + digits(130, "000078") + R"("}]})"),
      Command("MappingShow", "mapping show 1")
          .sends("getJoystickMappingList()")
          .reads(Answer::kContent)
          .answered(mappings())
          .prints("mapping  1\n"
                  "name     x\n"
                  "hex      " +
                  digits(130, "000078"))
          .printsJson(R"({"operation":"getJoystickMappingList","mapping":1,"name":"x","hex":")" +
                      digits(130, "000078") + R"("})"),
      Command("BandwidthSet", "bandwidth set 1 18446744073709551615 --vm win11")
          .sends("setBwInfo(int32 101, uint64 1, uint64 18446744073709551615)")
          .sends(kConfirmation)
          .reads(Answer::kNotAwaited)
          .prints("bandwidth of win11 reported")
          .printsJson(R"({"operation":"setBwInfo","vm":"win11","vmNumber":101,"first":"1",)"
                      R"("second":"18446744073709551615"})"),
      Command("QualitySetWithAFigure", "quality set 1 4294967295 --vm win11")
          .sends("setRtcQosInfo(int32 101, uint64 1, uint64 4294967295)")
          .sends(kConfirmation)
          .reads(Answer::kNotAwaited)
          .prints("quality of win11 reported")
          .printsJson(R"({"operation":"setRtcQosInfo","vm":"win11","vmNumber":101,"type":1,)"
                      R"("figure":4294967295})"),
      Command("QualitySetWithoutAFigure", "quality set 2 --vm win11")
          .sends("setRtcQosInfo(int32 101, uint64 2)")
          .sends(kConfirmation)
          .reads(Answer::kNotAwaited)
          .prints("quality of win11 reported")
          .printsJson(R"({"operation":"setRtcQosInfo","vm":"win11","vmNumber":101,"type":2})"),
      Command("SelfTestRun", "self-test run 65535")
          .sends("doveltest(int32 0, int16 -1)")
          .prints("test 65535 passed")
          .printsJson(R"({"operation":"doveltest","test":65535,"status":0,"statusName":"ok"})"),
      Command("ServiceReset", "service reset")
          .sends("resetService()")
          .reads(Answer::kIgnored)
          .prints("the service has been reset")
          .printsJson(R"({"operation":"resetService"})"),
  };
}

}  // namespace velctl_tests
