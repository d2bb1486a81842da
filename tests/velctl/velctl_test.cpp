#include "tests/velctl/velctl_test.h"

namespace velctl_tests {

Process::Options velctlOptions(const std::string& busAddress, const std::string& folder,
                               const std::vector<std::string>& arguments) {
  Process::Options options;
  options.command = {VELCTL_PATH};
  options.command.insert(options.command.end(), arguments.begin(), arguments.end());
  options.folder = folder;
  options.environment = {
      {"QXBUS_ADDRESS", busAddress}, {"QX_APP_DATA", folder + "/data"}, {"HOME", folder},
      {"QX_LOG_LEVEL", ""},          {"DBUS_SESSION_BUS_ADDRESS", ""},  {"LC_ALL", "C"}};
  return options;
}

std::vector<std::string> with(std::vector<std::string> arguments, const std::string& last) {
  arguments.push_back(last);
  return arguments;
}

}  // namespace velctl_tests
