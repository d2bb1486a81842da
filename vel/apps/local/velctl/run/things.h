// Things of the service by their names: a number, or a name that exactly one thing has.

#ifndef VEL_APPS_LOCAL_VELCTL_RUN_THINGS_H
#define VEL_APPS_LOCAL_VELCTL_RUN_THINGS_H

#include <cstdint>
#include <string>
#include <vector>

#include "vel/apps/local/velctl/line/parameter.h"
#include "vel/client/client.h"

namespace velctl {

struct Thing {
  std::string name;
  std::uint64_t number = 0;
};

// Things that have numbers, too.
bool isThing(Kind kind);

// What a parameter of this kind may name, as the service knows it now.
vel::Result<std::vector<Thing>> thingsOf(Kind kind, const vel::Client& client);

// "device", "printer"
std::string nounOf(Kind kind);
// The command that shows them: "velctl device list".
std::string listingOf(Kind kind);
// The method that thingsOf() calls.
std::string listMethodOf(Kind kind);

}  // namespace velctl

#endif  // VEL_APPS_LOCAL_VELCTL_RUN_THINGS_H
