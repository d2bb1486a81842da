#include "vel/apps/local/velsim/scenario/scenario.h"

#include <stdexcept>
#include <utility>

#include "base/text.h"
#include "vel/apps/local/velsim/scenario/built_in_scenario.h"
#include "vel/apps/local/velsim/scenario/json_reader.h"
#include "vel/apps/local/velsim/scenario/setup_reader.h"

namespace velsim {
namespace {

constexpr std::size_t kLongestTitle = 1024;
constexpr std::size_t kLongestLine = 4096;

std::vector<TimelineEntry> readTimeline(const JsonNode* node, const ScenarioParts& parts,
                                        Mistakes& mistakes) {
  std::vector<TimelineEntry> timeline;
  for (const auto& child : readArray(node, mistakes)) {
    ObjectReader entry(*child, mistakes);
    const auto after = readDuration(entry.find("after"), mistakes);
    const JsonNode* const doNode = entry.need("do");
    const auto line = readText(doNode, mistakes, 1, kLongestLine);
    if (line) {
      const base::Result<void> checked = parts.checkLine(*line);
      if (!checked) {
        mistakes.add(*doNode, checked.reason());
      }
      timeline.push_back({after.value_or(std::chrono::milliseconds(0)), *line});
    }
  }
  return timeline;
}

}  // namespace

std::optional<Scenario> readScenario(std::string_view text, const ScenarioParts& parts,
                                     Mistakes& mistakes) {
  const std::unique_ptr<JsonNode> root = parseJson(text, mistakes);
  if (!root) {
    return std::nullopt;
  }
  Scenario scenario;
  scenario.text = text;
  {
    ObjectReader file(*root, mistakes);
    readText(file.find("$schema"), mistakes, 0, kLongestTitle);
    readText(file.find("title"), mistakes, 0, kLongestTitle);
    scenario.setup = SetupReader(mistakes, parts.isCommand).read(file);
    if (parts.checkLine) {
      scenario.timeline = readTimeline(file.find("timeline"), parts, mistakes);
    }
    if (parts.readFaults) {
      if (const JsonNode* const faults = file.find("faults")) {
        parts.readFaults(*faults, mistakes);
      }
    }
  }
  return mistakes.isEmpty() ? std::optional(std::move(scenario)) : std::nullopt;
}

const Scenario& builtInScenario() {
  static const Scenario scenario = [] {
    Mistakes mistakes("built-in scenario");
    std::optional<Scenario> read = readScenario(kBuiltInScenario, {}, mistakes);
    if (!read) {
      throw std::logic_error(base::joined(mistakes.lines(), "\n"));
    }
    return std::move(*read);
  }();
  return scenario;
}

}  // namespace velsim
