// Exit statuses of velsim. The numbers are fixed: scripts test them.

#ifndef VEL_APPS_LOCAL_VELSIM_EXIT_CODES_H
#define VEL_APPS_LOCAL_VELSIM_EXIT_CODES_H

namespace velsim {

enum ExitCode : int {
  kExitStopped = 0,     // stopped by SIGINT or SIGTERM; ctl: done
  kExitFailed = 1,      // a defect of velsim, or the system ran out of a resource
  kExitUsage = 2,       // invalid command line
  kExitNotServing = 3,  // no bus, service name taken or refused, or no pen port; ctl: no velsim
  kExitBusLost = 4,     // the bus closed the connection; ctl: no answer
  kExitRefused = 5,     // ctl: velsim refused the command
  kExitScenario = 6,    // the scenario, or the recording, cannot be read, or has mistakes
  kExitNotWritten = 7,  // record: the file cannot be written
  kExitDiffers = 8,     // replay: a request differed from the recording
};

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_EXIT_CODES_H
