// What a fault makes of the values of a reply, and of the record of an event.

#ifndef VEL_APPS_LOCAL_VELSIM_FAULTS_DISTORTION_H
#define VEL_APPS_LOCAL_VELSIM_FAULTS_DISTORTION_H

#include <cstddef>
#include <cstdint>
#include <random>
#include <string>

#include "bus/dbus/value.h"
#include "vel/apps/local/velsim/faults/fault_plan.h"
#include "vel/protocol/layout.h"
#include "vel/protocol/notation.h"

namespace velsim {

class Distortion {
 public:
  // number   as in the fault; its default when it has none
  // call     of the fault, which with a seed gives the same bytes each time
  Distortion(FaultKind kind, std::uint64_t number, std::uint64_t call);

  // The reply of a method that answers with these arguments. A fault that does not concern the
  // values changes nothing.
  qxbus::Values reply(qxbus::Values values, const velprotocol::ArgumentList& arguments);
  // record: null for a block without a layout
  qxbus::Bytes block(qxbus::Bytes bytes, const velprotocol::Layout* record);

 private:
  qxbus::Value value(qxbus::Value given, const velprotocol::Layout* record);

  const FaultKind kind_;
  const std::uint64_t number_;
  std::mt19937_64 random_;
};

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_FAULTS_DISTORTION_H
