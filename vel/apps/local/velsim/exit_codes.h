// What velsim's exit status says. Numbers stay as they are: scripts test them.

#ifndef VEL_APPS_LOCAL_VELSIM_EXIT_CODES_H
#define VEL_APPS_LOCAL_VELSIM_EXIT_CODES_H

namespace velsim {

enum ExitCode : int {
  kExitStopped = 0,     // asked to stop, by SIGINT or SIGTERM
  kExitFailed = 1,      // a defect of velsim, or the system is out of something
  kExitUsage = 2,       // the command line makes no sense
  kExitNotServing = 3,  // no bus, the name of the service is taken or refused, or no pen port
  kExitBusLost = 4,     // the bus has closed the connection
};

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_EXIT_CODES_H
