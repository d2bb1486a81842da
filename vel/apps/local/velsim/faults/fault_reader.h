// Faults in a file of a user:
//
//   "faults": [
//     {"fault": "delay", "method": "getDeviceList", "calls": "2-4", "ms": 500},
//     {"fault": "error", "calls": "*/3", "text": "out of paper"},
//     {"fault": "duplicate-events", "method": "events"}
//   ]

#ifndef VEL_APPS_LOCAL_VELSIM_FAULTS_FAULT_READER_H
#define VEL_APPS_LOCAL_VELSIM_FAULTS_FAULT_READER_H

#include <vector>

#include "vel/apps/local/velsim/faults/fault_plan.h"
#include "vel/apps/local/velsim/scenario/json_node.h"

namespace velsim {

// Those without a mistake.
std::vector<Fault> readFaults(const JsonNode& node, Mistakes& mistakes);

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_FAULTS_FAULT_READER_H
