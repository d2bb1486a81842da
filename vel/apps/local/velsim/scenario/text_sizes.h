// The longest texts of a scenario, in bytes of UTF-8. Those that stand in records fit their fields,
// with the NUL.

#ifndef VEL_APPS_LOCAL_VELSIM_SCENARIO_TEXT_SIZES_H
#define VEL_APPS_LOCAL_VELSIM_SCENARIO_TEXT_SIZES_H

#include <cstddef>

#include "vel/protocol/records.h"

namespace velsim {

constexpr std::size_t kNameBytes = velprotocol::device::kName.size - 1;
static_assert(velprotocol::printer::kName.size - 1 == kNameBytes);
static_assert(velprotocol::joystick::kName.size - 1 == kNameBytes);
static_assert(velprotocol::joystick_mapping::kName.size - 1 == kNameBytes);
constexpr std::size_t kPolicyTextBytes = velprotocol::device::kPolicyText.size - 1;
// An address stands in the place of the text of the policy.
constexpr std::size_t kAddressBytes = kPolicyTextBytes;
constexpr std::size_t kVmIdBytes = velprotocol::device::kVmIdText.size - 1;
constexpr std::size_t kTurboTextBytes = velprotocol::vid_pid_policy::kTurboText.size - 1;
// Texts that travel by themselves.
constexpr std::size_t kLongTextBytes = 4096;

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_SCENARIO_TEXT_SIZES_H
