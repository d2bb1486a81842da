// Questions about the state of the simulated machine, with answers in JSON.

#ifndef VEL_APPS_LOCAL_VELSIM_SERVICE_QUERIES_H
#define VEL_APPS_LOCAL_VELSIM_SERVICE_QUERIES_H

#include <vector>

#include "vel/apps/local/velsim/machine/machine_state.h"
#include "vel/apps/local/velsim/service/json_text.h"

namespace velsim {

struct Query {
  const char* word;
  const char* help;
  Json (*answer)(const MachineState& machine);
};

const std::vector<Query>& queries();

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_SERVICE_QUERIES_H
