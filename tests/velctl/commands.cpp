#include "tests/velctl/commands.h"

#include <algorithm>
#include <iterator>

namespace velctl_tests {

std::string Command::method() const {
  const auto own = std::find_if(requests.rbegin(), requests.rend(), [](const std::string& request) {
    return request != kConfirmation;
  });
  const std::string& request = own != requests.rend() ? *own : requests.front();
  return request.substr(0, request.find('('));
}

void PrintTo(const Command& command, std::ostream* stream) {
  *stream << command.name;
}

const std::vector<Command>& commands() {
  static const auto* const all = [] {
    auto* const rows = new std::vector<Command>;
    for (std::vector<Command>& some : std::vector<std::vector<Command>>{
             sessionCommands(), deviceCommands(), policyCommands(), printerCommands(),
             serviceCommands(), waitingCommands()}) {
      std::move(some.begin(), some.end(), std::back_inserter(*rows));
    }
    return rows;
  }();
  return *all;
}

}  // namespace velctl_tests
