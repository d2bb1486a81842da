// A request to the service that a call of the library must not delay.

#ifndef VEL_APPS_LOCAL_VELCTL_RUN_SERVICE_INTERFACE_H
#define VEL_APPS_LOCAL_VELCTL_RUN_SERVICE_INTERFACE_H

#include "base/result.h"

namespace qx {
class VelProxy;
}

namespace velctl {

// Ends the subscription of a proxy to joystick results while its registration still waits for the
// reply: the proxy's own operation would wait for that reply, too. The bus keeps the order of
// requests, so the service receives this one after the registration.
//
// Waits half a second at most. Fails when the service has not confirmed the end.
base::Result<void> endJoystickSubscription(const qx::VelProxy& subscriber);

}  // namespace velctl

#endif  // VEL_APPS_LOCAL_VELCTL_RUN_SERVICE_INTERFACE_H
