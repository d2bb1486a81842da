// JSON as the service puts it into texts: on one line, members in the order they were added.

#ifndef VEL_APPS_LOCAL_VELSIM_SERVICE_JSON_TEXT_H
#define VEL_APPS_LOCAL_VELSIM_SERVICE_JSON_TEXT_H

#include <string>

#include <nlohmann/json.hpp>

namespace velsim {

using Json = nlohmann::ordered_json;

// Clients name things, and not always in UTF-8.
inline std::string textOf(const Json& json) {
  return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_SERVICE_JSON_TEXT_H
