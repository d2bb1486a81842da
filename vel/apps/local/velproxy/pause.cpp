#include "vel/apps/local/velproxy/internal/pause.h"

#include <thread>

namespace qx {

void pauseFor(std::chrono::seconds duration) {
  std::this_thread::sleep_for(duration);
}

}  // namespace qx
