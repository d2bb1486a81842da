// How long something takes on a machine that may be busy with other things.

#ifndef TESTS_DBUS_TIMING_H
#define TESTS_DBUS_TIMING_H

#include <algorithm>
#include <functional>
#include <vector>

#include "tests/dbus/waiting.h"
#include "tests/processes/busy_machine.h"

namespace dbustest {

inline Milliseconds timeOf(const std::function<void()>& action) {
  const auto begun = TestClock::now();
  action();
  return since(begun);
}

inline Milliseconds longestOf(const std::vector<Milliseconds>& times) {
  return *std::max_element(times.begin(), times.end());
}

// What a measurement gives that must stay below a limit.
inline Milliseconds measuredBelow(Milliseconds limit,
                                  const std::function<Milliseconds()>& measure) {
  // At the limit it is too late.
  return processes::onTime(
      [&](int /*number*/) { return measure(); },
      [limit](Milliseconds measured) { return measured - limit + Milliseconds(1); });
}

}  // namespace dbustest

#endif  // TESTS_DBUS_TIMING_H
