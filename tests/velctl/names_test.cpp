// Things of the service by their names and their numbers.

#include "tests/velctl/in_process.h"
#include "tests/velctl/right_lines.h"
#include "vel/apps/local/velctl/run/things.h"
#include "vel/protocol/access.h"
#include "vel/protocol/records.h"

namespace velctl_tests {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using velctl::Kind;
using velctl::Parameter;

Bytes deviceWithSource(int number, std::uint64_t source, const std::string& name) {
  Bytes block = deviceBlock(number, 1, 0, 0, name, "");
  velprotocol::write(block, velprotocol::device::kSourceId, source);
  return block;
}

Bytes joystickNamed(const std::string& name) {
  Bytes block(velprotocol::joystick::kLayout.size());
  velprotocol::write(block, velprotocol::joystick::kName, name);
  return block;
}

Bytes mappingNamed(const std::string& name) {
  Bytes block(velprotocol::joystick_mapping::kLayout.size());
  velprotocol::write(block, velprotocol::joystick_mapping::kName, name);
  return block;
}

// Two of the things have the same name.
class NamesTest : public InProcessTest {
 protected:
  NamesTest() {
    bus.answer("getDeviceList", Reply()
                                    .int32(4)
                                    .bytes(deviceWithSource(12, 7001, "Front camera"))
                                    .bytes(deviceWithSource(13, 18446744073709551615U, "Twin"))
                                    .bytes(deviceWithSource(14, 7003, "Twin"))
                                    .bytes(deviceWithSource(15, 7004, "12")));
    bus.answer("getPrinterList", Reply()
                                     .int32(3)
                                     .bytes(printerBlock(51, 1, 0, "Laser"))
                                     .bytes(printerBlock(52, 1, 0, "Twin"))
                                     .bytes(printerBlock(53, 1, 0, "Twin")));
    bus.answer("getJoystickDevList", Reply()
                                         .int32(3)
                                         .bytes(joystickNamed("Pad"))
                                         .bytes(joystickNamed("Twin"))
                                         .bytes(joystickNamed("Twin")));
    bus.answer("getJoystickMappingList", Reply()
                                             .int32(3)
                                             .bytes(mappingNamed("Twin"))
                                             .bytes(mappingNamed("Twin"))
                                             .bytes(mappingNamed("Racing")));
  }

  void expectUnknown(const std::vector<std::string>& arguments, const std::string& text) {
    std::vector<std::string> words = {"--json"};
    words.insert(words.end(), arguments.begin(), arguments.end());

    const Ran ran = velctl(words);

    EXPECT_EQ(ran.status, velctl::kExitUnknown);
    EXPECT_THAT(ran.err, HasSubstr(text));
    EXPECT_THAT(ran.err, isOneLine());
    EXPECT_THAT(ran.out, HasSubstr(R"({"error":{"kind":"unknown","exitStatus":7,"operation":")"));
  }
};

TEST_F(NamesTest, AThingMayBeNamed) {
  struct Row {
    std::vector<std::string> arguments;
    std::vector<std::string> requests;
    std::string json;
  };
  const std::string ok = R"("status":0,"statusName":"ok"})";
  const Row rows[] = {
      {{"device", "attach", "Front camera", "--vm", "win11"},
       {"getDeviceList(int32 0)", "connectDevice(int32 101, int16 12)"},
       R"({"operation":"connectDevice","vm":"win11","vmNumber":101,"device":12,)" + ok},
      {{"device", "detach", "--source", "Front camera", "--vm", "win11"},
       {"getDeviceList(int32 0)", "disconnectDeviceBySrcId(int32 101, uint64 7001)"},
       R"({"operation":"disconnectDeviceBySrcId","vm":"win11","vmNumber":101,"source":"7001",)" +
           ok},
      {{"new-device", "ignore", "Front camera"},
       {"getDeviceList(int32 0)",
        "configNewDeviceAsIgnore(bytes[8] 591b000000000000, int32 0, int32 0, int32 0)"},
       R"({"operation":"configNewDeviceAsIgnore","source":"7001","type":0,"autoConnect":0,)"
       R"("popup":0,)" +
           ok},
      {{"printer", "attach", "Laser", "--vm", "win11"},
       {"getPrinterList(int32 0)", "connectPrinter(int32 101, int16 51)"},
       R"({"operation":"connectPrinter","vm":"win11","vmNumber":101,"printer":51,)" + ok},
      {{"joystick", "map", "Pad", "Racing"},
       {"getJoystickDevList()", "getJoystickMappingList()", "setJoystickMapping(int16 0, int16 2)"},
       R"({"operation":"setJoystickMapping","joystick":0,"mapping":2,)" + ok},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.json);
    std::vector<std::string> words = {"--json"};
    words.insert(words.end(), row.arguments.begin(), row.arguments.end());

    const Ran ran = velctl(words);

    EXPECT_EQ(ran.status, velctl::kExitDone) << ran.err;
    EXPECT_EQ(ran.out, row.json + '\n');
    EXPECT_EQ(requests(), row.requests);
  }
}

TEST_F(NamesTest, TheTextNamesTheNumberThatTheNameStandsFor) {
  EXPECT_EQ(velctl("device attach 'Front camera' --vm win11").out, "device 12 attached to win11\n");
}

TEST_F(NamesTest, ADeviceOfANumberIsFoundByTheNumberAlsoIfAnotherHasThatName) {
  EXPECT_EQ(velctl("device attach 12 --vm win11").status, velctl::kExitDone);
  EXPECT_THAT(requests(), ElementsAre("connectDevice(int32 101, int16 12)"));
}

TEST_F(NamesTest, ANameThatSeveralHaveListsThem) {
  expectUnknown({"device", "attach", "Twin", "--vm", "win11"},
                "velctl: connectDevice \"Twin\" for \"win11\": 2 devices have the name \"Twin\": "
                "13, 14; give the number\n");
  EXPECT_THAT(requests(), ElementsAre("getDeviceList(int32 0)"));
  expectUnknown({"new-device", "ignore", "Twin"},
                "2 devices have the name \"Twin\": 18446744073709551615, 7003; give the number\n");
  expectUnknown({"printer", "show", "Twin"},
                "2 printers have the name \"Twin\": 52, 53; give the number\n");
  expectUnknown({"joystick", "calibrate", "Twin"},
                "2 joysticks have the name \"Twin\": 1, 2; give the number\n");
  expectUnknown({"joystick", "map", "Pad", "Twin"},
                "2 mappings have the name \"Twin\": 0, 1; give the number\n");
}

bool isNamed(Kind kind) {
  return kind == Kind::kDevice || kind == Kind::kPrinter || kind == Kind::kSource ||
         kind == Kind::kJoystick || kind == Kind::kMapping;
}

TEST_F(NamesTest, ANameThatNothingHasIsUnknownInEveryCommand) {
  for (const velctl::Command& command : velctl::commands()) {
    for (const Parameter& parameter : command.parameters) {
      const RightLine line = rightLineOf(command);
      if (!isNamed(parameter.kind) || !line.has(parameter.name) || command.action.method.empty()) {
        continue;
      }
      for (const char* const name : {"nosuch", "\xff\x1b[2J", "front camera", "{}"}) {
        SCOPED_TRACE(command.path + ' ' + parameter.name);

        expectUnknown(line.with(parameter.name, name).words(),
                      "no " + velctl::nounOf(parameter.kind) + " has this name; " +
                          velctl::listingOf(parameter.kind) + " shows them\n");

        EXPECT_THAT(requests(),
                    ElementsAre(testing::StartsWith(velctl::listMethodOf(parameter.kind) + '(')));
      }
    }
  }
}

TEST_F(NamesTest, ALookUpThatFailsIsNoUnknownName) {
  bus.answer("getDeviceList", Reply::error("out of order"));

  const Ran failed = velctl("device attach 'Front camera' --vm win11");

  EXPECT_EQ(failed.status, velctl::kExitErrorReply);
  EXPECT_THAT(failed.err, HasSubstr("connectDevice \"Front camera\" for \"win11\": no usable "
                                    "answer: out of order; "));
}

// --- VMs -----------------------------------------------------------------------------------------

TEST_F(InProcessTest, AVmMayBeGivenByItsNumber) {
  const Ran text = velctl("device attach 12 --vm 101");
  EXPECT_EQ(text.status, velctl::kExitDone) << text.err;
  EXPECT_EQ(text.out, "device 12 attached to win11\n");
  EXPECT_THAT(requests(), ElementsAre("getVmList(int32 0)", "connectDevice(int32 101, int16 12)"));

  EXPECT_EQ(velctl("vm show 101", Form::kJson).out,
            R"({"operation":"getVmList","vm":"win11","vmNumber":101})"
            "\n");
}

TEST_F(InProcessTest, ANumberThatNoVmHasIsUnknown) {
  for (const char* const number : {"102", "0101", "1", "99999999999999999999"}) {
    SCOPED_TRACE(number);

    const Ran ran = velctl({"device", "attach", "12", "--vm", number});

    EXPECT_EQ(ran.status, velctl::kExitUnknown);
    EXPECT_EQ(ran.err, "velctl: connectDevice 12 for \"" + std::string(number) +
                           "\": the service has no VM of this name; velctl vm list shows its "
                           "VMs\n");
    EXPECT_THAT(requests(), ElementsAre("getVmList(int32 0)"));
  }
}

// Scripts that name a VM must not depend on the numbers of others.
TEST_F(InProcessTest, ANameOfDigitsComesBeforeANumber) {
  bus.answer("getVmList", Reply().int32(2).string("7").int32(104).string("win11").int32(7));
  bus.knowsVm("7", 104);

  const Ran ran = velctl("device attach 12 --vm 7", Form::kJson);

  EXPECT_EQ(ran.out, R"({"operation":"connectDevice","vm":"7","vmNumber":104,"device":12,)"
                     R"("status":0,"statusName":"ok"})"
                     "\n");
  EXPECT_THAT(requests(), ElementsAre("getVmList(int32 0)", "connectDevice(int32 104, int16 12)"));
}

TEST_F(InProcessTest, ZeroIsThisMachineByItsEmptyNameOnly) {
  EXPECT_EQ(velctl("device attach 12 --vm 0").status, velctl::kExitUnknown);
  EXPECT_EQ(velctl("device attach 12 --vm ''").status, velctl::kExitDone);
  EXPECT_THAT(requests(), ElementsAre("connectDevice(int32 0, int16 12)"));
}

}  // namespace
}  // namespace velctl_tests
