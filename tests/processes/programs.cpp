#include "tests/processes/programs.h"

#include <regex>

namespace processes {

Process::Options velctlOptions(const PrivateBus& bus, const std::vector<std::string>& arguments) {
  std::vector<std::string> command = {VELCTL_PATH};
  command.insert(command.end(), arguments.begin(), arguments.end());
  return bus.options(command);
}

velsim_testing::VelsimProcess::Options velsimOptions(const PrivateBus& bus,
                                                     const std::vector<std::string>& arguments) {
  velsim_testing::VelsimProcess::Options options;
  options.address = bus.address();
  options.arguments = arguments;
  options.environment = bus.options({}).environment;
  return options;
}

bool isReady(const Process& velsim) {
  return comesTrue([&] { return velsim.err().find("velsim: ready ") != std::string::npos; });
}

std::string withoutTimes(const std::string& log) {
  static const std::regex time("(^|\n)[0-9]{2}:[0-9]{2}:[0-9]{2}\\.[0-9]{3} (?=velsim: )");
  return std::regex_replace(log, time, "$1");
}

std::vector<std::string> with(std::vector<std::string> arguments, const std::string& last) {
  arguments.push_back(last);
  return arguments;
}

}  // namespace processes
