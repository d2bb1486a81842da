#ifndef VEL_APPS_LOCAL_VELPROXY_INTERNAL_PAUSE_H
#define VEL_APPS_LOCAL_VELPROXY_INTERNAL_PAUSE_H

#include <chrono>

namespace qx {

class Lifetime;

// Lets the thread sleep for a duration, or until the object that it works for is being destroyed.
// In a source of its own so that tests can put another function in its place.
void pauseFor(std::chrono::seconds duration, Lifetime& lifetime);

}  // namespace qx

#endif  // VEL_APPS_LOCAL_VELPROXY_INTERNAL_PAUSE_H
