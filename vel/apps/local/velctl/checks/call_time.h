// How long a call of the service takes now.

#ifndef VEL_APPS_LOCAL_VELCTL_CHECKS_CALL_TIME_H
#define VEL_APPS_LOCAL_VELCTL_CHECKS_CALL_TIME_H

#include <chrono>
#include <string>
#include <vector>

#include "vel/apps/local/velctl/run/invocation.h"

namespace velctl {

struct TimedCalls {
  std::vector<vel::Vm> vms;  // the answer to the last one
  std::chrono::microseconds median{0};
};

inline constexpr char kTimedMethod[] = "getVmList";
inline constexpr int kTimedCalls = 5;

// Calls the method so many times, one call after the other. Interruptible.
vel::Result<TimedCalls> timeCalls(const Invocation& invocation);

// "180 us", "1.2 ms"
std::string durationText(std::chrono::microseconds duration);

}  // namespace velctl

#endif  // VEL_APPS_LOCAL_VELCTL_CHECKS_CALL_TIME_H
