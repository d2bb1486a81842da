// Statuses of requests. 0 is success; clients get the others as the service's own statuses.

#ifndef VEL_APPS_LOCAL_VELSIM_MACHINE_STATUS_H
#define VEL_APPS_LOCAL_VELSIM_MACHINE_STATUS_H

#include "vel/protocol/meanings.h"

namespace velsim {

using velprotocol::Status;

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_MACHINE_STATUS_H
