// The faults of a service while it runs: counts its calls and events, and says what goes wrong with
// each. A call has every fault that concerns it, in the order of their setting.
//
// THREADS   Any thread may call.

#ifndef VEL_APPS_LOCAL_VELSIM_FAULTS_FAULTS_H
#define VEL_APPS_LOCAL_VELSIM_FAULTS_FAULTS_H

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "platform/mutex.h"
#include "vel/apps/local/velsim/faults/distortion.h"
#include "vel/apps/local/velsim/faults/fault_plan.h"
#include "vel/apps/local/velsim/service/bus_events.h"

namespace velsim {

// What goes wrong with one call.
struct Treatment {
  struct Flood {
    int fault;  // its number
    std::uint64_t perSecond;
  };

  std::chrono::milliseconds delay{0};
  std::optional<std::string> error;
  bool isDropped = false;
  bool hasAnotherType = false;  // the reply
  bool diesBefore = false;
  bool diesAfter = false;
  std::vector<Distortion> distortions;
  std::vector<Flood> floods;
  std::string faults;  // for the log; empty: nothing goes wrong
};

class Faults {
 public:
  // report   gets a line for each seed that is drawn
  explicit Faults(std::function<void(const std::string& line)> report);

  // Sets a fault that refusalOf() admits, and returns its number. Its count of calls begins now.
  int add(Fault fault);
  // False when there is no such fault.
  bool clear(int number);
  void clearAll();
  bool isSet(int number) const;
  // One line for each, with the number of calls that it has counted and met.
  std::string list() const;

  // How long the service waits before it appears.
  std::chrono::milliseconds startDelay() const;

  // Counts a call.
  Treatment onCall(const std::string& method);
  // Counts an event, and returns those to send now.
  std::vector<BusEvent> onEvent(BusEvent event);
  // Those that wait for the next one.
  std::vector<BusEvent> takeHeldEvents();

 private:
  struct Active {
    Fault fault;
    std::uint64_t counted = 0;
    std::uint64_t met = 0;
  };

  // Whether the fault concerns the call that is counted now.
  static bool meets(Active& active);

  const std::function<void(const std::string& line)> report_;
  mutable platform::Mutex mutex_;
  int last_ QX_GUARDED_BY(mutex_) = 0;
  std::map<int, Active> active_ QX_GUARDED_BY(mutex_);
  std::vector<BusEvent> held_ QX_GUARDED_BY(mutex_);
};

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_FAULTS_FAULTS_H
