// What a recording does not show, unless it is asked to, and what a replay does not compare.

#ifndef VEL_APPS_LOCAL_VELSIM_RECORDING_SECRETS_H
#define VEL_APPS_LOCAL_VELSIM_RECORDING_SECRETS_H

#include <cstddef>
#include <string>
#include <string_view>

#include "bus/dbus/value.h"

namespace velsim {

// Whether an argument of a call is kept secret: tokens of drives, the extra text of a network
// printer, descriptions of network devices, and texts with a user in a URI ("ipp://me:pw@host").
bool isSecret(std::string_view method, std::size_t argument, const qxbus::Value& value);

// The text with "masked" in place of the user and the password of each URI.
std::string withoutUsers(const std::string& text);

// Whether an argument is another in each run of the same program: the identity of a subscriber.
bool differsEachTime(std::string_view method, std::size_t argument);

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_RECORDING_SECRETS_H
