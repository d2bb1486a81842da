// Stories of velctl joystick, quality, diagnose and exec.

#include <cstdint>
#include <string>

#include "base/text.h"
#include "tests/velctl/stories.h"
#include "vel/apps/local/velctl/output/text_forms.h"

namespace velctl_tests {
namespace {

void append(std::string& record, unsigned int number) {
  record += static_cast<char>(number & 0xFF);
  record += static_cast<char>(number >> 8);
}

// As velsim makes them: position, ids, mapping, whether it is calibrated, name.
std::string joystick(unsigned int position, unsigned int product, unsigned int mapping,
                     bool isCalibrated, const std::string& name) {
  std::string record;
  for (const unsigned int number : {position, 0x7e57U, product, mapping, isCalibrated ? 1U : 0U}) {
    append(record, number);
  }
  record += name;
  record.resize(138);
  return record;
}

std::string mapping(unsigned int position, const std::string& name) {
  std::string record;
  append(record, position);
  record += name;
  record.resize(130);
  return record;
}

std::string listText(const std::string& one, const std::vector<std::string>& records) {
  std::string text;
  for (std::size_t i = 0; i < records.size(); ++i) {
    text += (text.empty() ? "" : "\n") + one + " " + std::to_string(i) + "\n" +
            velctl::hexDump(records[i]);
  }
  return text;
}

std::string listJson(const std::string& name, const std::vector<std::string>& records) {
  std::string json = "\"" + name + "\":[";
  for (std::size_t i = 0; i < records.size(); ++i) {
    json += (i == 0 ? "" : ",") + (R"({"index":)" + std::to_string(i)) + R"(,"hex":")" +
            base::hexOf(records[i]) + "\"}";
  }
  return json + "]";
}

const std::vector<std::string>& mappings() {
  static const auto* const all = new std::vector<std::string>{
      mapping(0, "Standard"), mapping(1, "Flight"), mapping(2, "Racing")};
  return *all;
}

// The answer to a diagnosis and its progress.
std::string diagnosisText(const std::string& result) {
  return "{\"velservice\":0,\"status\":\"ok\",\"steps\":3}\n"
         "status 1: checking the device\n"
         "status 1: checking the session\n" +
         result + "\n";
}

std::string diagnosisJson(const std::string& method, const std::string& subject,
                          const std::string& id, const std::string& result) {
  const std::string before = R"({"event":"diagnosis","vm":"win11","id":)" + id + ",";
  return R"({"operation":")" + method + "\"," + kForWin11 + subject +
         R"(,"text":"{\"velservice\":0,\"status\":\"ok\",\"steps\":3}"})" + "\n" + before +
         R"("status":1,"text":"checking the device"})" + "\n" + before +
         R"("status":1,"text":"checking the session"})" + "\n" + before + result + "}\n";
}

std::string reports(const std::string& elements) {
  return R"({"reports":[)" + elements + "]}";
}

}  // namespace

std::vector<Story> serviceStories() {
  return {
      {"AJoystickTakesAMappingAndACalibration",
       {
           shows("getJoystickDevList", "joystick list",
                 listText("joystick", {joystick(0, 0x0201, 0, false, "Flight stick"),
                                       joystick(1, 0x0202, 0, false, "Game pad"),
                                       joystick(2, 0x0203, 0, false, "Racing wheel")})),
           shows("getJoystickMappingList", "mapping list", listText("mapping", mappings())),
           showsJson("getJoystickMappingList", "mapping list", listJson("mappings", mappings())),
           shows("setJoystickMapping", "joystick map 0 1", "joystick 0 has mapping 1"),
           showsJson("setJoystickMapping", "joystick map 2 2",
                     R"("joystick":2,"mapping":2,"status":0,"statusName":"ok")"),
           shows("calibrationJoystick", "joystick calibrate 1", "joystick 1 calibrated"),
           showsJson("calibrationJoystick", "joystick calibrate 2",
                     R"("joystick":2,"status":0,"statusName":"ok")"),
           showsJson("getJoystickDevList", "joystick list",
                     listJson("joysticks", {joystick(0, 0x0201, 1, false, "Flight stick"),
                                            joystick(1, 0x0202, 0, true, "Game pad"),
                                            joystick(2, 0x0203, 2, true, "Racing wheel")})),
           refuses("setJoystickMapping", "joystick map 3 0", 19),
           refusesInJson("setJoystickMapping", "joystick map 0 3", 20),
           refuses("calibrationJoystick", "joystick calibrate 65535", 19),
       }},
      {"TheQualityOfAStreamIsReported",
       {
           shows("setBwInfo", "bandwidth set 1 18446744073709551615 --vm win11",
                 "bandwidth of win11 reported"),
           shows("setRtcQosInfo", "quality set 1 4294967295 --vm win11",
                 "quality of win11 reported"),
           showsJson("setRtcQosInfo", "quality set 2 --vm win11",
                     std::string(kForWin11) + R"("type":2,"status":0,"statusName":"ok")"),
           showsJson(
               "setBwInfo", "bandwidth set 3 4 --vm win10",
               std::string(kForWin10) + R"("first":3,"second":4,"status":0,"statusName":"ok")"),
           knows("quality", reports(R"({"vm":101,"bandwidth":[1,18446744073709551615],"quality":[)"
                                    R"({"type":1,"figure":4294967295},{"type":2,"figure":null}]},)"
                                    R"({"vm":102,"bandwidth":[3,4],"quality":[]})")),
       }},
      {"ADiagnosisTellsItsProgressAndWhatItHasFound",
       {
           showsInAnyOrder("diagnoseDevice", "device diagnose 12 --vm win11 --follow 600 --until 2",
                           diagnosisText("status 2: VM not connected")),
           shows("connectVm", "vm connect win11", "win11 connected"),
           showsJsonInAnyOrder(
               "diagnose",
               "device diagnose --source 0x7e5700020000000c --vm win11 --follow 600 --until 2",
               diagnosisJson("diagnose", R"("source":"9103745180342681612")", "9103745180342681612",
                             R"("status":2,"text":"not attached to the VM")")),
           shows("connectDevice", "device attach 12 --vm win11", "device 12 attached to win11"),
           showsJsonInAnyOrder("diagnoseDevice",
                               "device diagnose 12 --vm win11 --follow 600 --until 0",
                               diagnosisJson("diagnoseDevice", R"("device":12)", "12",
                                             R"("status":0,"text":"no fault found")")),
           shows("connectPrinter", "printer attach 21 --vm win11", "printer 21 attached to win11"),
           showsInAnyOrder(
               "diagnose",
               "device diagnose --source 0x7e57010000000015 --vm win11 --follow 600 --until 0",
               diagnosisText("status 0: no fault found")),
           shows("diagnose", "device diagnose --source 1 --vm win11 --follow 0",
                 R"({"velservice":6,"status":"unknown-device"})"),
           showsJson(
               "diagnoseDevice", "device diagnose 99 --vm win11 --follow 0",
               std::string(kForWin11) +
                   R"("device":99,"text":"{\"velservice\":6,\"status\":\"unknown-device\"}")"),
       }},
      {"ACommandForTheServiceIsAnsweredInAnEvent",
       {
           showsLine("getvelcmdhelp", "command help --vm win11",
                     "usb                             USB devices redirected by clients"),
           showsLine("getvelcmdhelp", "command help",
                     "unplug DEVICE                   unplug a device or a printer"),
           shows("dovelcmd", "command run 70000 usb --vm win11 --wait 600",
                 velctl::hexDump(std::string(R"({"id":70000,"command":"usb",)"
                                             R"("answer":{"usb":[]}})") +
                                 '\0')),
           knows("printers", R"({"printers":[{"number":21,"name":"Office laser",)"
                             R"("sourceId":"0x7e57010000000015","status":1,"vm":0},)"
                             R"({"number":22,"name":"Photo printer",)"
                             R"("sourceId":"0x7e57010000000016","status":1,"vm":0}]})"),
           shows("dovelcmd", "command run 7 'plug camera' --wait 600",
                 velctl::hexDump(std::string(R"({"id":7,"command":"plug camera",)"
                                             R"("answer":"plugged in 31"})") +
                                 '\0')),
           shows("dovelcmd", "command run -1 joysticks --wait 0",
                 "this machine: command -1 accepted"),
           refuses("dovelcmd", "command run 1 nosuch --vm win11", 10),
           refusesInJson("dovelcmd", "command run 1", 10),
       }},
      {"SelfTestsOfTheService",
       {
           shows("doveltest", "self-test run 0", "test 0 passed"),
           showsJson("doveltest", "self-test run 2", R"("test":2,"status":0,"statusName":"ok")"),
           refuses("doveltest", "self-test run 3", 22),
           refusesInJson("doveltest", "self-test run 65535", 22),
       }},
  };
}

}  // namespace velctl_tests
