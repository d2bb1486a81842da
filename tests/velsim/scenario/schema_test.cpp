// The published schema and the reader: the same members at each place, and the scenarios of the
// examples.

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <regex>
#include <set>
#include <sstream>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include "vel/apps/local/velsim/control.h"
#include "vel/apps/local/velsim/scenario_file.h"
#include "vel/apps/local/velsim/service/simulator.h"
#include "vel/apps/local/velsim/service/stepped_clock.h"

namespace velsim {
namespace {

using nlohmann::json;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr char kUnknown[] = "qqqqqqqqqqqqqqqqqqqqqqqq";

json schema() {
  std::ifstream file(SCENARIO_SCHEMA);
  return json::parse(file);
}

// The schema of a value, behind its references.
json resolved(const json& root, const json& node) {
  const auto ref = node.find("$ref");
  return ref == node.end() ? node : root.at(json::json_pointer(ref->get<std::string>().substr(1)));
}

// The members that the reader knows at a place: those that it names for an unknown one.
std::set<std::string> membersOfReader(const std::string& text, std::string* required) {
  Mistakes mistakes("s");
  parseScenario(text, mistakes);
  const std::string marker = std::string(kUnknown) + ": unknown member; the members are ";
  std::set<std::string> members;
  std::set<std::string> needed;
  std::string place;
  for (const std::string& line : mistakes.lines()) {
    const std::size_t at = line.find(marker);
    if (at != std::string::npos) {
      place = line.substr(0, at);
      std::istringstream names(line.substr(at + marker.size()));
      for (std::string name; std::getline(names >> std::ws, name, ',');) {
        members.insert(name);
      }
    }
  }
  for (const std::string& line : mistakes.lines()) {
    static const std::regex missing("([A-Za-z]+): missing");
    std::smatch match;
    const bool isHere = line.compare(0, place.size(), place) == 0;
    const std::string rest = isHere ? line.substr(place.size()) : "";
    if (std::regex_match(rest, match, missing)) {
      needed.insert(match[1]);
    }
  }
  for (const std::string& name : needed) {
    *required += name + " ";
  }
  return members;
}

// Compares an object of the schema with the reader, and those inside it. The text of the file
// stands around it in before and after.
void compare(const json& root, const json& given, const std::string& before,
             const std::string& after, const std::string& place, int* compared) {
  const json node = resolved(root, given);
  if (node.contains("items")) {
    compare(root, node.at("items"), before + "[", "]" + after, place + "[]", compared);
  }
  if (!node.contains("properties")) {
    return;
  }
  ++*compared;
  std::set<std::string> members;
  std::string required;
  for (const auto& [name, property] : node.at("properties").items()) {
    members.insert(name);
    compare(root, property, before + "{\"" + name + "\": ", "}" + after, place + "." + name,
            compared);
  }
  std::set<std::string> needed;
  if (node.contains("required")) {
    needed = node.at("required").get<std::set<std::string>>();
  }
  std::string neededText;
  for (const std::string& name : needed) {
    neededText += name + " ";
  }
  const std::string text = before + "{\"" + kUnknown + "\": 0}" + after;
  EXPECT_EQ(membersOfReader(text, &required), members) << place;
  EXPECT_EQ(required, neededText) << place;
  EXPECT_EQ(node.at("additionalProperties"), false) << place;
}

TEST(ScenarioSchemaTest, HasTheMembersThatAreReadAndNoOthers) {
  const json root = schema();
  int compared = 0;

  compare(root, root, "", "", "", &compared);

  EXPECT_EQ(compared, 20);
}

TEST(ScenarioSchemaTest, HasTheWordsAndLimitsOfTheReader) {
  const json root = schema();
  const json& properties = root.at("properties");
  const json& device = properties.at("devices").at("items").at("properties");
  for (const json& word : device.at("type").at("enum")) {
    Mistakes mistakes("s");
    parseScenario(json{{"devices", {{{"number", 1}, {"type", word}, {"name", "n"}}}}}.dump(),
                  mistakes);
    EXPECT_THAT(mistakes.lines(), IsEmpty());
  }
  for (const json& word : root.at("$defs").at("trouble").at("enum")) {
    Mistakes mistakes("s");
    parseScenario(json{{"printers", {{{"number", 1}, {"trouble", word}, {"name", "n"}}}}}.dump(),
                  mistakes);
    EXPECT_THAT(mistakes.lines(), IsEmpty());
  }
  const auto mistakesOfName = [](std::size_t length) {
    Mistakes mistakes("s");
    parseScenario(
        json{{"devices", {{{"number", 1}, {"type", "camera"}, {"name", std::string(length, 'n')}}}}}
            .dump(),
        mistakes);
    return mistakes.lines().size();
  };
  const auto longest = device.at("name").at("maxLength").get<std::size_t>();
  EXPECT_EQ(mistakesOfName(longest), 0u);
  EXPECT_EQ(mistakesOfName(longest + 1), 1u);
}

// --- Examples ------------------------------------------------------------------------------------

Scenario exampleNamed(const std::string& name) {
  const std::string path = std::string(SCENARIO_EXAMPLES) + "/" + name;
  Mistakes mistakes(path);
  const std::optional<Scenario> scenario = loadScenario(path, mistakes);
  EXPECT_THAT(mistakes.lines(), IsEmpty());
  return scenario.value_or(Scenario());
}

TEST(ScenarioExamplesTest, EachIsLoadedAndItsTimeLineHasNoFailure) {
  std::vector<std::string> names;
  for (const auto& file : std::filesystem::directory_iterator(SCENARIO_EXAMPLES)) {
    names.push_back(file.path().filename().string());
    const Scenario scenario = exampleNamed(names.back());
    Simulator simulator(scenario.setup, std::make_unique<SteppedClock>());
    Control control(simulator, [] {});
    for (const TimelineEntry& entry : scenario.timeline) {
      if (entry.line != "leave" && entry.line != "return") {
        const Control::Answer answer = control.run(entry.line);
        EXPECT_TRUE(answer) << names.back() << ": " << answer.reason();
      }
    }
  }
  std::sort(names.begin(), names.end());
  EXPECT_THAT(names, ElementsAre("classroom.json", "clinic.json", "demo.json", "empty.json",
                                 "office.json"));
}

TEST(ScenarioExamplesTest, TheyHaveWhatTheyAreNamedAfter) {
  EXPECT_EQ(exampleNamed("classroom.json").setup.devices.size(), 200u);
  EXPECT_EQ(exampleNamed("classroom.json").setup.vms.size(), 50u);
  EXPECT_EQ(exampleNamed("clinic.json").setup.printers.at(1).trouble, PrinterTrouble::kOutOfPaper);
  EXPECT_THAT(exampleNamed("empty.json").setup.devices, IsEmpty());
  EXPECT_THAT(exampleNamed("empty.json").setup.vms, IsEmpty());
}

}  // namespace
}  // namespace velsim
