// Calls of the client's code: callbacks, and on threads of the bus also the operations that a
// subclass overrides.

#ifndef VEL_APPS_LOCAL_VELPROXY_INTERNAL_CLIENT_CODE_H
#define VEL_APPS_LOCAL_VELPROXY_INTERNAL_CLIENT_CODE_H

#include <map>

#include "vel/apps/local/velproxy/internal/vel_log.h"

namespace qx {

// Runs an action that calls the client's code once, and logs an exception. Each call has an action
// of its own, so that an exception skips no other call.
template <typename Action>
void withoutExceptions(const Action& action) {
  try {
    action();
  } catch (...) {
    VEL_ERROR("a callback has thrown an exception");
  }
}

// Calls each callback of a table in ascending order of user data, and after(userData) after each.
template <typename Record, typename After>
void callEach(const std::map<void*, int (*)(unsigned short, Record, void*)>& callbacks,
              unsigned short code, const Record& record, After after) {
  for (const auto& [userData, callback] : callbacks) {
    withoutExceptions([&, call = callback, data = userData] { call(code, record, data); });
    after(userData);
  }
}

}  // namespace qx

#endif  // VEL_APPS_LOCAL_VELPROXY_INTERNAL_CLIENT_CODE_H
