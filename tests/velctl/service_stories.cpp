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
  return R"({"joystick":)" + std::to_string(position) + R"(,"mapping":)" + std::to_string(mapping) +
         R"(,"isCalibrated":)" + (isCalibrated ? "true" : "false") + R"(,"usbId":"7e57:0)" +
         base::hexOf(std::string(1, static_cast<char>(product >> 8))).substr(1) +
         base::hexOf(std::string(1, static_cast<char>(product & 0xFF))) + R"(","name":")" + name +
         R"(","hex":")" + base::hexOf(record) + "\"}";
}

std::string mapping(unsigned int position, const std::string& name) {
  std::string record;
  append(record, position);
  record += name;
  record.resize(130);
  return R"({"mapping":)" + std::to_string(position) + R"(,"name":")" + name + R"(","hex":")" +
         base::hexOf(record) + "\"}";
}

// The answer to a diagnosis and its progress.
std::string diagnosisText(const std::string& result) {
  return "{\"velservice\":0,\"status\":\"ok\",\"steps\":3}\n"
         "running (1): checking the device\n"
         "running (1): checking the session\n" +
         result + "\n";
}

std::string diagnosisJson(const std::string& method, const std::string& subject,
                          const std::string& id, const std::string& result) {
  const std::string before =
      R"({"event":"diagnosis","time":"...","code":9,"codeName":"diagnosis",)" +
      std::string(kForWin11) + R"("id":")" + id + R"(","device":null,"name":null,)";
  return R"({"operation":")" + method + "\"," + kForWin11 + subject +
         R"(,"text":"{\"velservice\":0,\"status\":\"ok\",\"steps\":3}"})" + "\n" + before +
         R"("status":1,"statusName":"running","text":"checking the device"})" + "\n" + before +
         R"("status":1,"statusName":"running","text":"checking the session"})" + "\n" + before +
         result + "}\n";
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
                 "POSITION  MAPPING  CALIBRATED  USB ID     NAME\n"
                 "0         0        no          7e57:0201  Flight stick\n"
                 "1         0        no          7e57:0202  Game pad\n"
                 "2         0        no          7e57:0203  Racing wheel"),
           shows("getJoystickMappingList", "mapping list",
                 "POSITION  NAME\n"
                 "0         Standard\n"
                 "1         Flight\n"
                 "2         Racing"),
           showsJson("getJoystickMappingList", "mapping list",
                     R"("mappings":[)" + mapping(0, "Standard") + "," + mapping(1, "Flight") + "," +
                         mapping(2, "Racing") + "]"),
           shows("setJoystickMapping", "joystick map 0 1", "joystick 0 has mapping 1"),
           showsJson("setJoystickMapping", "joystick map 2 2",
                     R"("joystick":2,"mapping":2,"status":0,"statusName":"ok")"),
           shows("calibrationJoystick", "joystick calibrate 1", "joystick 1 calibrated"),
           showsJson("calibrationJoystick", "joystick calibrate 2",
                     R"("joystick":2,"status":0,"statusName":"ok")"),
           showsJson("getJoystickDevList", "joystick list",
                     R"("joysticks":[)" + joystick(0, 0x0201, 1, false, "Flight stick") + "," +
                         joystick(1, 0x0202, 0, true, "Game pad") + "," +
                         joystick(2, 0x0203, 2, true, "Racing wheel") + "]"),
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
                     std::string(kForWin11) + R"("type":2)"),
           showsJson("setBwInfo", "bandwidth set 3 4 --vm win10",
                     std::string(kForWin10) + R"("first":"3","second":"4")"),
           knows("quality", reports(R"({"vm":101,"bandwidth":[1,18446744073709551615],"quality":[)"
                                    R"({"type":1,"figure":4294967295},{"type":2,"figure":null}]},)"
                                    R"({"vm":102,"bandwidth":[3,4],"quality":[]})")),
       }},
      {"ADiagnosisTellsItsProgressAndWhatItHasFound",
       {
           showsInAnyOrder("diagnoseDevice", "device diagnose 12 --vm win11 --follow 600 --until 2",
                           diagnosisText("fault (2): VM not connected")),
           shows("connectVm", "vm connect win11", "win11 connected"),
           showsJsonInAnyOrder(
               "diagnose",
               "device diagnose --source 0x7e5700020000000c --vm win11 --follow 600 --until 2",
               diagnosisJson("diagnose", R"("source":"9103745180342681612")", "9103745180342681612",
                             R"("status":2,"statusName":"fault","text":"not attached to the VM")")),
           shows("connectDevice", "device attach 12 --vm win11", "device 12 attached to win11"),
           showsJsonInAnyOrder(
               "diagnoseDevice", "device diagnose 12 --vm win11 --follow 600 --until 0",
               diagnosisJson("diagnoseDevice", R"("device":12)", "12",
                             R"("status":0,"statusName":"fine","text":"no fault found")")),
           shows("connectPrinter", "printer attach 21 --vm win11", "printer 21 attached to win11"),
           showsInAnyOrder(
               "diagnose",
               "device diagnose --source 0x7e57010000000015 --vm win11 --follow 600 --until 0",
               diagnosisText("fine (0): no fault found")),
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
                 R"({"id":70000,"command":"usb",)"
                 R"("answer":{"usb":[]}})"),
           knows("printers", R"({"printers":[{"number":21,"name":"Office laser",)"
                             R"("sourceId":"0x7e57010000000015","status":1,"vm":0},)"
                             R"({"number":22,"name":"Photo printer",)"
                             R"("sourceId":"0x7e57010000000016","status":1,"vm":0}]})"),
           shows("dovelcmd", "command run 7 'plug camera' --wait 600",
                 R"({"id":7,"command":"plug camera",)"
                 R"("answer":"plugged in 31"})"),
           shows("dovelcmd", "command run -1 joysticks --wait 0", "command -1 accepted"),
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
