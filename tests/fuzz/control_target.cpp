// Control lines of velsim: any lines on the built-in machine.
// Covers: vel/apps/local/velsim/control.cpp vel/apps/local/velsim/control_words.cpp
// Covers: vel/apps/local/velsim/machine_commands.cpp vel/apps/local/velsim/device_commands.cpp
// Covers: vel/apps/local/velsim/report_commands.cpp vel/apps/local/velsim/fault_commands.cpp
// Covers: vel/apps/local/velsim/command_arguments.cpp vel/apps/local/velsim/faults/fault_reader.cpp

#include <memory>

#include "tests/fuzz/target.h"
#include "vel/apps/local/velsim/control.h"
#include "vel/apps/local/velsim/control_words.h"
#include "vel/apps/local/velsim/fault_commands.h"
#include "vel/apps/local/velsim/service/simulator.h"
#include "vel/apps/local/velsim/service/stepped_clock.h"

namespace fuzz::control {
namespace {

using namespace velsim;

void checkWords(const std::string& line) {
  const auto words = wordsIn(line);
  require(words || !words.reason().empty(), "words or a reason");
  if (words) {
    const auto again = wordsIn(lineOf(*words));
    require(again && *again == *words, "words come back as they were");
  }
}

void run(Input& input) {
  Simulator simulator{std::make_unique<SteppedClock>()};
  simulator.setEventSink([](const BusEvent& event) { argumentsOf(event); });
  Faults faults([](const std::string& /*seed*/) {});
  Control control(simulator, [] {});
  control.add(faultCommands(faults));
  simulator.setCommands(&control);
  std::string_view text = input.rest();
  constexpr int kMostLines = 20;
  for (int i = 0; i < kMostLines && !text.empty(); ++i) {
    const std::string line(text.substr(0, text.find('\n')));
    text.remove_prefix(std::min(line.size() + 1, text.size()));
    checkWords(line);
    const auto check = control.check(line);
    const auto answer = control.run(line);
    require(check || !answer, "a line that is wrong for every machine fails");
    require(answer || !answer.reason().empty(), "a failure has a reason");
    control.cutsConnections(line);
    // As a service command, which answers with the same commands in JSON.
    simulator.answer("dovelcmd", {std::int32_t{0}, line, std::int32_t{1}},
                     [](const Simulator::Answer& /*answer*/) {});
  }
}

const Registration registration("control", run);

}  // namespace
}  // namespace fuzz::control
