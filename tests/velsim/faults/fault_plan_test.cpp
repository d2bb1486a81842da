// Faults as data: ranges of calls, sections of files, control commands, and their counts.

#include <fstream>
#include <set>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include "tests/velsim/service/simulated_service.h"
#include "vel/apps/local/velsim/control.h"
#include "vel/apps/local/velsim/fault_commands.h"
#include "vel/apps/local/velsim/faults/fault_reader.h"
#include "vel/apps/local/velsim/faults/faults.h"

namespace velsim {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

// The calls up to the tenth that a range has.
std::vector<int> callsOf(const std::string& text) {
  const base::Result<CallRange> range = parseCallRange(text);
  EXPECT_TRUE(range) << range.reason();
  std::vector<int> calls;
  for (int call = 1; range && call <= 10; ++call) {
    if (range->has(static_cast<std::uint64_t>(call))) {
      calls.push_back(call);
    }
  }
  EXPECT_TRUE(!range || textOf(*range) == text) << textOf(*range);
  return calls;
}

TEST(CallRangeTest, HasTheCallsOfItsText) {
  EXPECT_THAT(callsOf("*"), ElementsAre(1, 2, 3, 4, 5, 6, 7, 8, 9, 10));
  EXPECT_THAT(callsOf("3"), ElementsAre(3));
  EXPECT_THAT(callsOf("2-4"), ElementsAre(2, 3, 4));
  EXPECT_THAT(callsOf("8-"), ElementsAre(8, 9, 10));
  EXPECT_THAT(callsOf("*/3"), ElementsAre(3, 6, 9));
  EXPECT_THAT(callsOf("5-/2"), ElementsAre(6, 8, 10));
  EXPECT_THAT(callsOf("2-7/3"), ElementsAre(4, 7));
}

TEST(CallRangeTest, OtherTextsAreRefused) {
  for (const char* const text : {"", "0", "-", "-3", "4-2", "0-2", "x", "2-x", "*/0", "*/", "/2",
                                 "3/x", "2--4", "1.5", " 3", "99999999999999999999"}) {
    const base::Result<CallRange> range = parseCallRange(text);

    EXPECT_FALSE(range) << text;
    EXPECT_THAT(range.reason(), HasSubstr("expected calls such as *, 3, 2-4, 5- or */3, got \""));
  }
}

TEST(FaultTest, ANumberMayBeAsLargeAsItsKindAllows) {
  Fault fault;
  fault.kind = FaultKind::kDelay;
  const std::uint64_t most = rowOf(fault.kind).most;

  fault.number = most;
  EXPECT_EQ(refusalOf(fault), "");

  fault.number = most + 1;
  EXPECT_EQ(refusalOf(fault), "delay: at most " + std::to_string(most));
}

TEST(FaultTest, TheSchemaOfScenariosDescribesEachKindAsTheHelpDoes) {
  std::ifstream file(SCENARIO_SCHEMA);
  const std::string schema(std::istreambuf_iterator<char>(file), {});

  for (const FaultKindRow& row : faultKinds()) {
    EXPECT_THAT(schema, HasSubstr(std::string("\"description\": \"") + row.help + '"'));
  }
}

// --- Files ---------------------------------------------------------------------------------------

std::vector<Fault> readFrom(const std::string& text, std::vector<std::string>* lines) {
  Mistakes mistakes("file");
  const std::unique_ptr<JsonNode> root = parseJson(text, mistakes);
  std::vector<Fault> faults;
  if (root) {
    faults = readFaults(*root, mistakes);
  }
  *lines = mistakes.lines();
  return faults;
}

TEST(FaultReaderTest, ReadsFaults) {
  std::vector<std::string> mistakes;

  const std::vector<Fault> faults = readFrom(R"([
    {"fault": "delay", "method": "getDeviceList", "calls": "2-4", "ms": "0.5s"},
    {"fault": "error", "text": "out of paper"},
    {"fault": "random-blocks", "seed": 7},
    {"fault": "duplicate-events"}])",
                                             &mistakes);

  EXPECT_THAT(mistakes, IsEmpty());
  ASSERT_EQ(faults.size(), 4u);
  EXPECT_EQ(faults[0].method + " " + textOf(faults[0].calls) + " " + describe(faults[0]),
            "getDeviceList 2-4 delay 500");
  EXPECT_EQ(faults[1].method + " " + textOf(faults[1].calls) + " " + describe(faults[1]),
            "* * error \"out of paper\"");
  EXPECT_EQ(describe(faults[2]), "random-blocks 7");
  EXPECT_EQ(faults[3].method, kMethodOfEvents);
}

TEST(FaultReaderTest, NamesTheLineAndTheMistake) {
  std::vector<std::string> mistakes;

  readFrom(R"([
    {"fault": "dely"},
    {"fault": "delay", "calls": "soon"},
    {"fault": "error"},
    {"fault": "delay", "method": "getDevices"},
    {"fault": "delay", "size": 3},
    {"fault": "delay", "method": "events"}])",
           &mistakes);

  ASSERT_EQ(mistakes.size(), 6u);
  EXPECT_THAT(mistakes[0], HasSubstr("file:2: [0].fault: "));
  EXPECT_THAT(mistakes[1], HasSubstr("file:3: [1].calls: expected calls such as"));
  EXPECT_THAT(mistakes[2], HasSubstr("file:4: [2].text: missing"));
  EXPECT_THAT(mistakes[3], HasSubstr("file:5: [3].method: unknown method \"getDevices\""));
  EXPECT_THAT(mistakes[4], HasSubstr("file:6: [4].size: unknown member"));
  EXPECT_THAT(mistakes[5], HasSubstr("file:7: [5].method: delay concerns calls, not events"));
}

TEST(FaultReaderTest, AMistakeDoesNotMakeTheOtherMembersUnknown) {
  std::vector<std::string> mistakes;

  const std::vector<Fault> faults =
      readFrom(R"([{"fault": "delay", "calls": "0", "ms": 500}])", &mistakes);

  EXPECT_THAT(faults, IsEmpty());
  ASSERT_EQ(mistakes.size(), 1u);
  EXPECT_THAT(mistakes[0], HasSubstr("[0].calls: expected calls such as"));
}

// --- While velsim runs ---------------------------------------------------------------------------

class FaultCommandsTest : public SimulatedServiceTest {
 protected:
  FaultCommandsTest() { control.add(faultCommands(faults)); }

  std::string run(const std::string& line) {
    const Control::Answer answer = control.run(line);
    return answer ? *answer : "refused: " + answer.reason();
  }
  bool isDropped(const std::string& method) { return faults.onCall(method).isDropped; }

  std::vector<std::string> reported;
  Faults faults{[this](const std::string& line) { reported.push_back(line); }};
  Control control{simulator, [] {}};
};

TEST_F(FaultCommandsTest, SetListAndClearFaults) {
  EXPECT_EQ(run("fault getDeviceList 2-3 no-answer"), "set fault 1\n");
  EXPECT_EQ(run("fault * */2 delay 5"), "set fault 2\n");
  faults.onCall("getDeviceList");
  faults.onCall("getDeviceList");
  faults.onCall("getVmList");

  EXPECT_EQ(run("faults"),
            "  1  getDeviceList             2-3       no-answer; met 1 of 2\n"
            "  2  *                         */2       delay 5; met 1 of 3\n");
  EXPECT_EQ(run("clear-faults 1"), "cleared fault 1\n");
  EXPECT_THAT(run("faults"), ::testing::StartsWith("  2  "));
  EXPECT_EQ(run("clear-faults all"), "cleared all faults\n");
  EXPECT_EQ(run("faults"), "");
}

TEST_F(FaultCommandsTest, CountTheCallsOfTheirMethodSinceTheyWereSet) {
  faults.onCall("getDeviceList");
  run("fault getDeviceList 2 no-answer");

  EXPECT_FALSE(isDropped("getDeviceList"));
  EXPECT_FALSE(isDropped("getVmList"));
  EXPECT_TRUE(isDropped("getDeviceList"));
  EXPECT_FALSE(isDropped("getDeviceList"));
}

TEST_F(FaultCommandsTest, TheStarCountsAllMethodsTogether) {
  run("fault * 2 no-answer");

  EXPECT_FALSE(isDropped("getDeviceList"));
  EXPECT_TRUE(isDropped("getVmList"));
  EXPECT_FALSE(isDropped("getVmList"));
}

TEST_F(FaultCommandsTest, ACallHasAllFaultsThatConcernIt) {
  run("fault getVmList * delay 5");
  run("fault * * delay 7");
  run("fault getVmList * error \"out of paper\"");

  const Treatment treatment = faults.onCall("getVmList");

  EXPECT_EQ(treatment.delay, std::chrono::milliseconds(12));
  EXPECT_EQ(treatment.error, "out of paper");
  EXPECT_EQ(treatment.faults, "delay 5, delay 7, error \"out of paper\"");
}

TEST_F(FaultCommandsTest, ReportTheSeedOfRandomFaults) {
  run("fault getDeviceList * random-blocks");
  run("fault getDeviceList * random-blocks 7");

  ASSERT_EQ(reported.size(), 2u);
  EXPECT_THAT(reported[0], ::testing::StartsWith("fault 1: seed "));
  EXPECT_EQ(reported[1], "fault 2: seed 7");
  EXPECT_THAT(run("faults"), HasSubstr(reported[0].substr(sizeof "fault 1: seed " - 1) + "; met"));
}

TEST_F(FaultCommandsTest, RefuseWhatTheyDoNotKnow) {
  EXPECT_EQ(run("fault getDeviceList 2 dely"),
            "refused: fault: unknown fault \"dely\"; type faults kinds for the list");
  EXPECT_EQ(run("fault getDeviceList 2 slow-start 5"),
            "refused: fault: unknown fault \"slow-start\"; type faults kinds for the list");
  EXPECT_THAT(run("fault getDevices 2 delay"), HasSubstr("unknown method \"getDevices\""));
  EXPECT_THAT(run("fault getDeviceList x delay"), HasSubstr("expected calls such as"));
  EXPECT_THAT(run("fault getDeviceList 2 delay soon"), HasSubstr("expected a number for ms"));
  EXPECT_THAT(run("fault getDeviceList 2 no-answer 5"), HasSubstr("no-answer takes no value"));
  EXPECT_THAT(run("fault getDeviceList 2 oversized-blocks 999999999999"), HasSubstr("at most"));
  EXPECT_THAT(run("fault getDeviceList 2 duplicate-events"), HasSubstr("concerns events"));
  EXPECT_THAT(run("clear-faults 7"), HasSubstr("there is no fault 7"));
  EXPECT_THAT(run("clear-faults some"), HasSubstr("there is no fault some"));
  EXPECT_EQ(run("faults"), "");
}

TEST_F(FaultCommandsTest, ListTheKinds) {
  const std::string kinds = run("faults kinds");

  for (const FaultKindRow& row : faultKinds()) {
    if (row.concern != FaultKindRow::Concern::kStart) {
      EXPECT_THAT(kinds, HasSubstr(row.word));
      EXPECT_THAT(kinds, HasSubstr(row.help));
    }
  }
}

// --- The published schema of scenarios -----------------------------------------------------------

TEST(FaultSchemaTest, HasEachKindWithItsValueAndItsLimit) {
  std::ifstream file(SCENARIO_SCHEMA);
  const nlohmann::json schema = nlohmann::json::parse(file);
  const nlohmann::json& kinds = schema.at("properties").at("faults").at("items").at("oneOf");
  ASSERT_EQ(kinds.size(), faultKinds().size());
  for (std::size_t i = 0; i < kinds.size(); ++i) {
    const FaultKindRow& row = faultKinds()[i];
    const nlohmann::json& properties = kinds[i].at("properties");
    EXPECT_EQ(properties.at("fault").at("const"), row.word);
    std::set<std::string> expected = {"calls", "fault", "method"};
    if (*row.value != '\0') {
      expected.insert(row.value);
    }
    std::set<std::string> members;
    for (const auto& [name, property] : properties.items()) {
      members.insert(name);
      if (property.contains("maximum")) {
        EXPECT_EQ(property.at("maximum"), row.most) << row.word;
      }
    }
    EXPECT_EQ(members, expected) << row.word;
    EXPECT_EQ(kinds[i].at("required").size(), row.kind == FaultKind::kError ? 2u : 1u);
    EXPECT_EQ(kinds[i].at("additionalProperties"), false) << row.word;
  }
}

}  // namespace
}  // namespace velsim
