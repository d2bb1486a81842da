// Requests and events as lines of the log: as text for people, and as JSON for programs.
//
//   connectDevice(vm 101 "win11", device 99) -> refused: unknown device (6)
//   event device attached (6): vm 101 "win11", devNumber 12, status 2 (attached), ...
//
// docs/velsim-log.md describes the JSON.

#ifndef VEL_APPS_LOCAL_VELSIM_LOG_LINES_H
#define VEL_APPS_LOCAL_VELSIM_LOG_LINES_H

#include <map>
#include <string>

#include <nlohmann/json.hpp>

#include "bus/dbus/value.h"
#include "vel/apps/local/velsim/service/bus_events.h"
#include "vel/apps/local/velsim/service/simulator.h"

namespace velsim {

struct LogLine {
  std::string text;
  nlohmann::ordered_json json;
};

// A request, with the names of its VM and device at the time of the request: an answer may remove
// them.
class RequestLine {
 public:
  RequestLine(const Simulator& simulator, std::string method, qxbus::Values arguments);

  LogLine with(const Simulator::Answer& answer) const;

 private:
  std::string method_;
  qxbus::Values arguments_;
  std::map<std::string, std::string> names_;  // by the name of the argument
};

LogLine lineOf(const BusEvent& event);

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_LOG_LINES_H
