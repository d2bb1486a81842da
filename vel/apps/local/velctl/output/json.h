#ifndef VEL_APPS_LOCAL_VELCTL_OUTPUT_JSON_H
#define VEL_APPS_LOCAL_VELCTL_OUTPUT_JSON_H

#include <nlohmann/json.hpp>

namespace velctl {

// Keeps the order in which members are given.
using Json = nlohmann::ordered_json;

}  // namespace velctl

#endif  // VEL_APPS_LOCAL_VELCTL_OUTPUT_JSON_H
