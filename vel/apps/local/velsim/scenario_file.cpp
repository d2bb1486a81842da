#include "vel/apps/local/velsim/scenario_file.h"

#include <cerrno>
#include <cstdio>
#include <memory>
#include <system_error>
#include <utility>

#include "vel/apps/local/velsim/control.h"
#include "vel/apps/local/velsim/fault_commands.h"
#include "vel/apps/local/velsim/faults/fault_reader.h"
#include "vel/apps/local/velsim/program_commands.h"
#include "vel/apps/local/velsim/service/simulator.h"
#include "vel/apps/local/velsim/service/stepped_clock.h"

namespace velsim {
namespace {

// The commands of a velsim that does not run, to check lines.
struct CheckingControl {
  CheckingControl() {
    control.add(programCommands({}));
    control.add(faultCommands(faults));
  }

  Simulator simulator{Setup(), std::make_unique<SteppedClock>()};
  Faults faults{[](const std::string& /*seed*/) {}};
  Control control{simulator, [] {}};
};

}  // namespace

std::optional<Scenario> parseScenario(const std::string& text, Mistakes& mistakes,
                                      std::vector<Fault>* faults) {
  static const CheckingControl checking;
  ScenarioParts parts;
  parts.checkLine = [](const std::string& line) { return checking.control.check(line); };
  parts.isCommand = [](const std::string& word) { return checking.control.knows(word); };
  parts.readFaults = [faults](const JsonNode& node, Mistakes& found) {
    std::vector<Fault> read = readFaults(node, found);
    if (faults) {
      *faults = std::move(read);
    }
  };
  return readScenario(text, parts, mistakes);
}

std::optional<Scenario> loadScenario(const std::string& path, Mistakes& mistakes,
                                     std::vector<Fault>* faults) {
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"),
                                                             std::fclose);
  std::string text;
  if (file) {
    // One byte more than a scenario may have, which the parser refuses.
    text.resize(kMostJsonBytes + 1);
    text.resize(std::fread(text.data(), 1, text.size(), file.get()));
  }
  if (!file || std::ferror(file.get()) != 0) {
    mistakes.add(1, "", "cannot read it: " + std::generic_category().message(errno));
    return std::nullopt;
  }
  return parseScenario(text, mistakes, faults);
}

}  // namespace velsim
