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

std::string withoutWatchTimes(const std::string& out) {
  static const std::regex column("(^|\n)[0-9]{2}:[0-9]{2}:[0-9]{2}\\.[0-9]{3}  ");
  static const std::regex member(R"("time":"[-0-9]{10}T[0-9:.]{12}[-+Z0-9:]*",)");
  return std::regex_replace(std::regex_replace(out, column, "$1"), member, "");
}

std::vector<std::string> with(std::vector<std::string> arguments, const std::string& last) {
  arguments.push_back(last);
  return arguments;
}

}  // namespace processes
