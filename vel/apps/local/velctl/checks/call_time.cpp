#include "vel/apps/local/velctl/checks/call_time.h"

#include <algorithm>
#include <cstdio>

namespace velctl {

vel::Result<TimedCalls> timeCalls(const Invocation& invocation) {
  return invocation.session().call(
      {std::string("waiting for the answer to ") + kTimedMethod, timeLimitOf(kTimedMethod)},
      [](const vel::Client& client) -> vel::Result<TimedCalls> {
        // Making the connection is not a part of a call.
        if (const vel::Result<void> connected = client.connect(); !connected) {
          return vel::unexpected<vel::Error>(connected.error());
        }
        TimedCalls calls;
        std::vector<std::chrono::steady_clock::duration> times;
        for (int i = 0; i < kTimedCalls; ++i) {
          const std::chrono::steady_clock::time_point start = std::chrono::steady_clock::now();
          vel::Result<std::vector<vel::Vm>> vms = client.vms();
          times.push_back(std::chrono::steady_clock::now() - start);
          if (!vms) {
            return vel::unexpected<vel::Error>(vms.error());
          }
          calls.vms = *std::move(vms);
        }
        const auto middle = times.begin() + kTimedCalls / 2;
        std::nth_element(times.begin(), middle, times.end());
        calls.median = std::chrono::duration_cast<std::chrono::microseconds>(*middle);
        return calls;
      });
}

std::string durationText(std::chrono::microseconds duration) {
  constexpr double kUsPerMs = 1000;
  constexpr double kMsPerS = 1000;
  const auto us = static_cast<double>(duration.count());
  char text[32];
  if (us < kUsPerMs) {
    std::snprintf(text, sizeof text, "%.0f us", us);
  } else if (us < kUsPerMs * kMsPerS) {
    std::snprintf(text, sizeof text, "%.1f ms", us / kUsPerMs);
  } else {
    std::snprintf(text, sizeof text, "%.1f s", us / kUsPerMs / kMsPerS);
  }
  return text;
}

}  // namespace velctl
