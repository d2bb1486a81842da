// The values of calls, replies and events by name, for people and for tools such as jq. What does
// not follow the tables of vel/protocol is left away: the values themselves stand beside this.

#ifndef VEL_APPS_LOCAL_VELSIM_RECORDING_DECODING_H
#define VEL_APPS_LOCAL_VELSIM_RECORDING_DECODING_H

#include <string>

#include "vel/apps/local/velsim/recording/value_json.h"

namespace velsim {

// Masked values have the text "masked".
OrderedJson decodedArguments(const std::string& method, const MaskableValues& values);
OrderedJson decodedReply(const std::string& method, const MaskableValues& values);
OrderedJson decodedEvent(const MaskableValues& values);

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_RECORDING_DECODING_H
