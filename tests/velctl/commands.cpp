#include "tests/velctl/commands.h"

#include <algorithm>
#include <iterator>

namespace velctl_tests {
namespace {

void append(std::vector<Command>& all, std::vector<Command> some) {
  std::move(some.begin(), some.end(), std::back_inserter(all));
}

}  // namespace

std::string Command::method() const {
  const auto own = std::find_if(requests.rbegin(), requests.rend(), [](const std::string& request) {
    return request != "getVmList(int32 0)";
  });
  const std::string& request = own != requests.rend() ? *own : requests.front();
  return request.substr(0, request.find('('));
}

void PrintTo(const Command& command, std::ostream* stream) {
  *stream << command.name;
}

const std::vector<Command>& commands() {
  static const auto* const all = [] {
    auto* const made = new std::vector<Command>;
    append(*made, sessionCommands());
    append(*made, deviceCommands());
    append(*made, policyCommands());
    append(*made, printerCommands());
    append(*made, serviceCommands());
    return made;
  }();
  return *all;
}

}  // namespace velctl_tests
