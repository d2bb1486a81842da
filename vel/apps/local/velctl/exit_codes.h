// What velctl's exit status says. Numbers stay as they are: scripts test them.

#ifndef VEL_APPS_LOCAL_VELCTL_EXIT_CODES_H
#define VEL_APPS_LOCAL_VELCTL_EXIT_CODES_H

namespace velctl {

enum ExitCode : int {
  kExitOk = 0,      // done; watch: interrupted, which is how it ends
  kExitFailed = 1,  // a defect of velctl, or the system is out of something
  kExitUsage = 2,   // the command line, or a file that it names, makes no sense; nothing was sent
  kExitNoBus = 3,   // the message bus cannot be reached
  kExitNoService = 4,  // nobody on the bus is the service, or nobody listens at the port
  kExitNoAnswer = 5,   // an error reply, or none in time, or a list of VMs that is empty; or the
                       // port was silent, or was closed
  kExitRefused = 6,    // the service answered a status other than 0, or the library never sends it
  kExitUnknownVm = 7,  // the service has no VM of that name; nothing was sent
  kExitOutputFailed = 8,   // standard output cannot be written to
  kExitInterrupted = 130,  // before it was done; what shells make of a process that SIGINT ends
};

}  // namespace velctl

#endif  // VEL_APPS_LOCAL_VELCTL_EXIT_CODES_H
