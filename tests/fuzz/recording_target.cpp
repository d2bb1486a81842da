// Recordings: any file, and the replay of those without a mistake.
// Covers: vel/apps/local/velsim/recording/

#include <sstream>
#include <vector>

#include "tests/fuzz/target.h"
#include "vel/apps/local/velsim/recording/player.h"
#include "vel/apps/local/velsim/recording/recording_file.h"

namespace fuzz::recording {
namespace {

using namespace velsim;

// Each recorded call is repeated in its order, so that no call differs.
void replay(const std::vector<RecordedLine>& lines, ReplayOrder order) {
  Player player("fuzzed.jsonl", lines, order);
  for (const RecordedLine& line : lines) {
    if (line.kind != RecordedLine::Kind::kCall) {
      continue;
    }
    qxbus::Values arguments;
    for (const MaskableValue& value : line.values) {
      arguments.push_back(value.value_or(qxbus::Value(qxbus::Bytes{1})));
    }
    require(player.take(line.name, arguments).call != nullptr,
            "a recorded call is found: " + jsonOf(line));
  }
  require(player.rest() == 0, "no call is left");
}

void run(Input& input) {
  const bool hasHeader = input.flag();
  const bool isStrict = input.flag();
  std::istringstream file((hasHeader ? headerJson("fuzzed", false) + "\n" : "") +
                          std::string(input.rest()));
  std::vector<std::string> mistakes;
  const std::vector<RecordedLine> lines = readRecording(file, "fuzzed.jsonl", &mistakes);

  for (const std::string& mistake : mistakes) {
    require(mistake.rfind("fuzzed.jsonl:", 0) == 0, "a mistake names its file: " + mistake);
  }
  for (const RecordedLine& line : lines) {
    const std::string once = jsonOf(line);
    const auto again = parseLine(once);
    require(static_cast<bool>(again), "what was read can be written: " + once);
    require(jsonOf(*again) == once, "a line comes back as it was: " + once);
    for (const bool isWithSecrets : {false, true}) {
      require(masked(line, isWithSecrets).size() == line.values.size(), "masking keeps places");
    }
  }
  if (mistakes.empty()) {
    replay(lines, isStrict ? ReplayOrder::kStrict : ReplayOrder::kMatch);
  }
}

const Registration registration("recording", run);

}  // namespace
}  // namespace fuzz::recording
