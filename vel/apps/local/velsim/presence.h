// The service on the bus, or away from it while velsim runs on: a service that ends and starts
// again with the same machine. Clients see its death and its return. Events while it is away are
// lost.
//
// THREADS   Any thread may call, also inside a handler of the bus, but no simulator may be locked.

#ifndef VEL_APPS_LOCAL_VELSIM_PRESENCE_H
#define VEL_APPS_LOCAL_VELSIM_PRESENCE_H

#include <functional>
#include <memory>
#include <string>

#include "base/result.h"
#include "platform/mutex.h"
#include "vel/apps/local/velsim/bus_service.h"
#include "vel/apps/local/velsim/service/simulator.h"

namespace velsim {

class Presence {
 public:
  // serve   goes to the bus; throws std::runtime_error when it cannot
  Presence(Simulator& simulator, std::function<std::unique_ptr<BusService>()> serve);
  // Leaves the bus.
  ~Presence();

  Presence(const Presence&) = delete;
  Presence& operator=(const Presence&) = delete;

  // Goes to the bus, and returns the place where clients find the service. Fails when the bus
  // cannot be reached, and when the service is there, or on its way.
  base::Result<std::string> arrive();
  // Fails when the service is away, or on its way.
  base::Result<void> leave();

 private:
  enum class State { kAway, kArriving, kHere, kLeaving };

  Simulator& simulator_;
  const std::function<std::unique_ptr<BusService>()> serve_;
  platform::Mutex mutex_;
  platform::Condition changed_;
  State state_ QX_GUARDED_BY(mutex_) = State::kAway;
  std::unique_ptr<BusService> service_ QX_GUARDED_BY(mutex_);
};

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_PRESENCE_H
