// The control object: the commands of velsim for D-Bus tools and for velsim ctl, beside the service
// on its connection.
//
//   name        qx.bus.vel; none over a direct connection
//   object      /qx/velsim/control
//   interface   qx.velsim.Control
//   Run(s line) -> s answer     runs a command (see control.h); a refused one is the error
//                               qx.bus.Error.Failed with the reason
//   Help() -> s text            one line for each command
//
// Whoever may call the service may call it: the same connections, the same users.

#ifndef VEL_APPS_LOCAL_VELSIM_CONTROL_OBJECT_H
#define VEL_APPS_LOCAL_VELSIM_CONTROL_OBJECT_H

#include "bus/dbus/service_host.h"
#include "vel/apps/local/velsim/control.h"
#include "vel/apps/local/velsim/log.h"

namespace velsim {

inline constexpr char kControlPath[] = "/qx/velsim/control";
inline constexpr char kControlInterface[] = "qx.velsim.Control";
inline constexpr char kControlRun[] = "Run";

// Control and log must outlive the host of the object.
qxbus::PlainObject controlObject(Control& control, Log& log);

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_CONTROL_OBJECT_H
