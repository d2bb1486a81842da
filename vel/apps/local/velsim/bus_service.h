// The simulated service on a bus: passes requests to a simulator, and its answers and events back.

#ifndef VEL_APPS_LOCAL_VELSIM_BUS_SERVICE_H
#define VEL_APPS_LOCAL_VELSIM_BUS_SERVICE_H

#include <functional>
#include <string>
#include <vector>

#include "bus/dbus/service_host.h"
#include "vel/apps/local/velsim/faults/faulty_service.h"
#include "vel/apps/local/velsim/log.h"
#include "vel/apps/local/velsim/service/simulator.h"

namespace velsim {

class BusService {
 public:
  // Serves from now on. onLost runs once, on a thread of the bus, when the bus closes the
  // connection. Throws std::runtime_error when the bus cannot be reached (see bus_failure.h), or
  // the name of the service is taken or refused.
  //
  // objects   beside that of the service
  // faults    of its answers and events
  // die       ends the program as a crash does
  BusService(const std::string& address, Simulator& simulator, Faults& faults, Log& log,
             std::function<void()> onLost, std::function<void()> die,
             std::vector<qxbus::PlainObject> objects = {});
  ~BusService();

  // Where clients find the service.
  const std::string& place() const { return host_.place(); }

  BusService(const BusService&) = delete;
  BusService& operator=(const BusService&) = delete;

 private:
  FaultyService service_;
  qxbus::ServiceHost host_;
};

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_BUS_SERVICE_H
