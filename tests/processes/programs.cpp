#include "tests/processes/programs.h"

namespace processes {
namespace {

Process::Options optionsOf(const char* program, const PrivateBus& bus,
                           const std::vector<std::string>& arguments) {
  std::vector<std::string> command = {program};
  command.insert(command.end(), arguments.begin(), arguments.end());
  return bus.options(command);
}

}  // namespace

Process::Options velctlOptions(const PrivateBus& bus, const std::vector<std::string>& arguments) {
  return optionsOf(VELCTL_PATH, bus, arguments);
}

Process::Options velsimOptions(const PrivateBus& bus, const std::vector<std::string>& arguments) {
  return optionsOf(VELSIM_PATH, bus, arguments);
}

bool isReady(const Process& velsim) {
  return comesTrue([&] { return velsim.err().find("velsim: ready ") != std::string::npos; });
}

std::vector<std::string> with(std::vector<std::string> arguments, const std::string& last) {
  arguments.push_back(last);
  return arguments;
}

}  // namespace processes
