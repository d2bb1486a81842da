#ifndef VEL_APPS_LOCAL_VELPROXY_INTERNAL_PAUSE_H
#define VEL_APPS_LOCAL_VELPROXY_INTERNAL_PAUSE_H

#include <chrono>

namespace qx {

// Lets the thread sleep. In a source of its own so that tests can put another in its place.
void pauseFor(std::chrono::seconds duration);

}  // namespace qx

#endif  // VEL_APPS_LOCAL_VELPROXY_INTERNAL_PAUSE_H
