#include "vel/apps/local/velctl/commands/commands.h"

#include <iterator>

namespace velctl {

const std::vector<Noun>& nouns() {
  static const auto& all = *new std::vector<Noun>{
      {"status", ""},
      {"doctor", ""},
      {"wait", "Wait until the service, a device or a printer is there"},
      {"device", "Devices of this machine and of the network"},
  };
  return all;
}

const std::vector<Command>& commands() {
  static const auto& all = *[] {
    auto* const rows = new std::vector<Command>;
    for (auto* const some : {&statusCommands, &doctorCommands, &waitCommands, &deviceCommands}) {
      std::vector<Command> more = some();
      std::move(more.begin(), more.end(), std::back_inserter(*rows));
    }
    return rows;
  }();
  return all;
}

}  // namespace velctl
