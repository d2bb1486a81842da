#include "vel/apps/local/velproxy/internal/pause.h"

#include "vel/apps/local/velproxy/internal/lifetime.h"

namespace qx {

void pauseFor(std::chrono::seconds duration, Lifetime& lifetime) {
  lifetime.waitForEnd(duration);
}

}  // namespace qx
