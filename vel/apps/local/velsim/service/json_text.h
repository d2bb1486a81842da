// JSON texts in answers of the service: one line, members in the order of their addition.

#ifndef VEL_APPS_LOCAL_VELSIM_SERVICE_JSON_TEXT_H
#define VEL_APPS_LOCAL_VELSIM_SERVICE_JSON_TEXT_H

#include <string>

#include <nlohmann/json.hpp>

namespace velsim {

using Json = nlohmann::ordered_json;

// Names come from clients and need not be UTF-8, which JSON must be.
inline std::string jsonText(const Json& json) {
  return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_SERVICE_JSON_TEXT_H
