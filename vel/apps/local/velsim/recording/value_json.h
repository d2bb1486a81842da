// Values of messages as JSON that loses nothing: {"i":7}, {"s":"Front camera"}, {"ay":"00ff"}, and
// {"masked":"ay"} for a value that is kept secret. The keys are D-Bus types.

#ifndef VEL_APPS_LOCAL_VELSIM_RECORDING_VALUE_JSON_H
#define VEL_APPS_LOCAL_VELSIM_RECORDING_VALUE_JSON_H

#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "base/result.h"
#include "bus/dbus/value.h"

namespace velsim {

using OrderedJson = nlohmann::ordered_json;

// nullopt: masked.
using MaskableValue = std::optional<qxbus::Value>;
using MaskableValues = std::vector<MaskableValue>;

OrderedJson jsonOf(const qxbus::Value& value);
OrderedJson maskedJsonOf(const qxbus::Value& value);

// The failure names what was expected.
base::Result<MaskableValue> maskableValueOf(const nlohmann::json& json);

// One line without its newline. Bytes that are not UTF-8 are replaced.
std::string lineOf(const OrderedJson& json);

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_RECORDING_VALUE_JSON_H
