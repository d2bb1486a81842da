// velsim replay: answers as a recorded service did.

#ifndef VEL_APPS_LOCAL_VELSIM_REPLAY_H
#define VEL_APPS_LOCAL_VELSIM_REPLAY_H

#include <string>

#include "vel/apps/local/velsim/exit_codes.h"
#include "vel/apps/local/velsim/recording/player.h"

namespace velsim {

struct ReplayOptions {
  std::string file;
  std::string address;  // at which clients find it; empty: as of a service
  ReplayOrder order = ReplayOrder::kMatch;
  double speed = 1;  // times as fast as recorded; 0: without pauses
  int parent = -1;   // as in Options
  bool isQuiet = false;
};

// Call it before there is a second thread, as serve().
ExitCode replay(const ReplayOptions& options);

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_REPLAY_H
