// Mistakes in scenarios: where they stand, and what the reader expected.

#include <gmock/gmock.h>

#include "vel/apps/local/velsim/scenario/json_reader.h"
#include "vel/apps/local/velsim/scenario_file.h"

namespace velsim {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

std::vector<std::string> mistakesIn(const std::string& text) {
  Mistakes mistakes("s.json");
  const bool isRead = parseScenario(text, mistakes).has_value();
  EXPECT_EQ(isRead, mistakes.isEmpty()) << text;
  return mistakes.lines();
}

TEST(ScenarioMistakesTest, AllOfAFileAreReportedInTheOrderOfItsLines) {
  const std::string text = R"({
  "vms": [ { "id": "win11", "number": 101, "connection": {} },
           { "id": "win11", "number": 0 } ],
  "devices": [
    { "number": 12, "type": "camra", "name": "Front" },
    { "number": 12, "type": "generic", "nmae": "Scanner", "vm": "win1" },
    { "number": 65536, "type": "storage", "name": "" }
  ],
  "cameras": true,
  "printers": {},
  "device": []
})";

  EXPECT_THAT(
      mistakesIn(text),
      ElementsAre(
          "s.json:3: vms[1].number: expected a whole number from 1 to 2000000000, found 0",
          "s.json:3: vms[1].id: VM \"win11\" stands twice; first in line 2",
          "s.json:5: devices[0].type: expected \"camera\", found the text \"camra\"",
          "s.json:6: devices[1].number: number 12 stands twice; first in line 5",
          "s.json:6: devices[1].name: missing",
          "s.json:6: devices[1].vm: no VM \"win1\"; did you mean \"win11\"?",
          "s.json:6: devices[1].nmae: unknown member; did you mean \"name\"?",
          "s.json:7: devices[2].number: expected a whole number from 1 to 65535, found 65536",
          "s.json:7: devices[2].name: expected a text of 1 to 127 bytes, found 0 bytes",
          "s.json:9: cameras: expected one of the words allowed, denied, found true",
          "s.json:10: printers: expected an array, found an object",
          "s.json:11: device: unknown member; did you mean \"devices\"?"));
}

// One section with a mistake, and the mistake without its file.
struct Row {
  const char* section;
  const char* mistake;
};

void PrintTo(const Row& row, std::ostream* stream) {
  *stream << row.section;
}

class WrongSectionTest : public testing::TestWithParam<Row> {};

TEST_P(WrongSectionTest, IsOneMistakeWithItsPath) {
  const std::string begin = R"({"vms": [{"id": "a", "number": 1}, )"
                            R"({"id": "b", "number": 2, "connection": {}}], )";

  EXPECT_THAT(mistakesIn(begin + GetParam().section + "}"),
              ElementsAre(std::string("s.json:1: ") + GetParam().mistake));
}

const Row kRows[] = {
    {R"("firstPluggedNumber": 0)",
     "firstPluggedNumber: expected a whole number from 1 to 65535, found 0"},
    {R"("devices": [{"number": 1, "type": "camera", "name": "c", "vid": 1}])",
     "devices[0]: expected both vid and pid, or neither"},
    {R"("devices": [{"number": 1, "type": "camera", "name": "c", "networkType": 1}])",
     "devices[0].networkType: only a device of the type network has one"},
    {R"("devices": [{"number": 1, "type": "camera", "name": "c", "vm": "a"}])",
     "devices[0].vm: the VM \"a\" is not connected; give it a connection, such as {}"},
    {R"("devices": [{"number": 1, "type": "camera", "name": "c", "vm": "b", "isIgnored": true}])",
     "devices[0]: expected vm or isIgnored, not both"},
    {R"("devices": [{"number": 1, "type": "camera", "name": "c", "isMounted": true}])",
     "devices[0].isMounted: only storage that is not attached to a VM can be mounted"},
    {R"("printers": [{"number": 1, "name": "p", "trouble": "no-paper"}])",
     "printers[0].trouble: expected one of the words none, out-of-paper, paper-jam, out-of-ink, "
     "offline, found the text \"no-paper\""},
    {R"("printers": [{"number": 1, "name": "p"}], "networkPrinters": [{"number": 1, "name": "n", "address": "x"}])",
     "networkPrinters[0].number: number 1 stands twice; first in line 1"},
    {R"("networkPrinters": [{"number": 1, "name": "n", "address": "x"}, {"number": 2, "name": "n", "address": "y"}])",
     "networkPrinters[1].name: network printer \"n\" stands twice; first in line 1"},
    {R"("networkPrinters": [{"number": 1, "name": "n"}])", "networkPrinters[0].address: missing"},
    {R"("sharedPrinters": {"searchTime": "soon"})",
     "sharedPrinters.searchTime: expected a time of at most a day, such as \"1.5s\", \"250ms\", "
     "\"2min\", or a whole number of milliseconds, found the text \"soon\""},
    {R"("sharedPrinters": {"found": [{"address": "10.0.0.7:80", "name": "n"}]})",
     "sharedPrinters.found[0].address: expected an IPv4 address without a port, found the text "
     "\"10.0.0.7:80\""},
    {R"("drivers": [{"name": "d", "words": "w"}])",
     "drivers[0].words: expected an array, found the text \"w\""},
    {R"("drivers": [{"name": "Laser", "words": []}], "printQueues": [{"name": "q", "uri": "u", "driver": "Lasre"}])",
     "printQueues[0].driver: no driver \"Lasre\"; did you mean \"Laser\"?"},
    {R"("printQueues": [{"name": "q", "uri": "u", "driver": "d"}])",
     "printQueues[0].driver: no driver \"d\"; there are no drivers"},
    {R"("joysticks": [{"vid": 1, "pid": 2, "name": "j"}])",
     "joysticks[0]: there is no mapping for it; name one in joystickMappings"},
    {R"("joystickMappings": ["m", "m"])",
     "joystickMappings[1]: mapping \"m\" stands twice; first in line 1"},
    {R"("joystickMappings": ["Standard"], "joysticks": [{"vid": 1, "pid": 2, "name": "j", "mapping": "Flight"}])",
     "joysticks[0].mapping: no mapping \"Flight\"; the mappings are Standard"},
    {R"("policies": {"autoConnect": [{"deviceType": 2, "setting": 1}, {"deviceType": 2, "setting": 0}]})",
     "policies.autoConnect[1].deviceType: device type 2 stands twice; first in line 1"},
    {R"("policies": {"byVidPid": [{"vid": "0x7e57", "pid": "7e57"}]})",
     "policies.byVidPid[0].pid: expected a number up to \"0xffff\", such as \"0x1f\", found the "
     "text \"7e57\""},
    {R"("commands": [{"word": "uptime"}])", "commands[0].answer: missing"},
    {R"("diagnosis": {"findings": [{"number": 7, "status": "fault", "text": "t"}]})",
     "diagnosis.findings[0].number: no device or printer has the number 7"},
    {R"("title": "a", "title": "b")", "title: the member stands twice; first in line 1"},
};

INSTANTIATE_TEST_SUITE_P(All, WrongSectionTest, testing::ValuesIn(kRows));

TEST(ScenarioMistakesTest, ASourceIdStandsOnceAmongDevicesAndPrinters) {
  EXPECT_THAT(
      mistakesIn(R"({"devices": [{"number": 1, "type": "camera", "name": "c", "sourceId": "0x1"}],
"printers": [{"number": 2, "name": "p", "sourceId": 1}]})"),
      ElementsAre(
          "s.json:2: printers[0]: source id 0x0000000000000001 stands twice; first in line 1"));
}

TEST(ScenarioMistakesTest, TextsMayFillTheirFieldsAndNoMore) {
  const auto device = [](std::size_t nameBytes) {
    return R"({"devices": [{"number": 1, "type": "camera", "name": ")" +
           std::string(nameBytes, 'n') + "\"}]}";
  };
  EXPECT_THAT(mistakesIn(device(127)), IsEmpty());
  EXPECT_THAT(mistakesIn(device(128)),
              ElementsAre("s.json:1: devices[0].name: expected a text of 1 to 127 bytes, found 128 "
                          "bytes"));
}

TEST(ScenarioMistakesTest, AFileFullOfMistakesIsReadInABoundedTime) {
  std::string text = R"({"vms": [{"id": "a", "number": 1})";
  for (int i = 2; i <= 1000; ++i) {
    text += R"(,{"id": ")" + std::string(60, 'x') + std::to_string(i) + R"(", "number": )" +
            std::to_string(i) + "}";
  }
  text += R"(], "devices": [{})";
  for (int i = 0; i < 20'000; ++i) {
    text += R"(,{"vm": ")" + std::string(30, 'y') + "\"}";
  }

  EXPECT_THAT(mistakesIn(text + "]}"), SizeIs(Mistakes::kMost + 1));
}

TEST(ScenarioMistakesTest, AFileThatCannotBeReadIsAMistake) {
  Mistakes mistakes("no/such/file");
  EXPECT_EQ(loadScenario("no/such/file", mistakes), std::nullopt);
  EXPECT_THAT(mistakes.lines(), ElementsAre("no/such/file:1: cannot read it: No such file or "
                                            "directory"));

  Mistakes directory("/");
  EXPECT_EQ(loadScenario("/", directory), std::nullopt);
  EXPECT_THAT(directory.lines(), ElementsAre("/:1: cannot read it: Is a directory"));
}

TEST(ScenarioMistakesTest, AnEmptyObjectIsAMachineWithoutAnything) {
  EXPECT_THAT(mistakesIn("{}"), IsEmpty());
}

TEST(ScenarioMistakesTest, TheFirstHundredAreReported) {
  Mistakes mistakes("s.json");
  for (int line = 1; line <= 100; ++line) {
    EXPECT_FALSE(mistakes.isFull());
    mistakes.add(line, "", "wrong");
  }

  EXPECT_TRUE(mistakes.isFull());
}

TEST(ScenarioMistakesTest, NamesThatAreVeryLongAreNotSuggested) {
  const std::string most(64, 'v');

  EXPECT_EQ(nearestName(most, {std::string(63, 'v') + 'w'}), std::string(63, 'v') + 'w');
  EXPECT_EQ(nearestName(most, {most + 'w'}), std::nullopt);
  EXPECT_EQ(nearestName(most + 'w', {most}), std::nullopt);
}

}  // namespace
}  // namespace velsim
