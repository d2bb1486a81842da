// The exit statuses of velctl. Their numbers never change: scripts test them.

#ifndef VEL_APPS_LOCAL_VELCTL_EXIT_CODES_H
#define VEL_APPS_LOCAL_VELCTL_EXIT_CODES_H

namespace velctl {

enum ExitCode : int {
  kExitOk = 0,         // done; watch: interrupted, which is how it ends
  kExitFailed = 1,     // a defect of velctl, or the system has run out of a resource
  kExitUsage = 2,      // wrong command line, or wrong content of a file or standard input that it
                       // names; nothing was sent
  kExitNoBus = 3,      // the message bus cannot be reached
  kExitNoService = 4,  // no service on the bus, or no listener at the pen port
  kExitNoAnswer = 5,  // error reply, no reply in time, reply without its value, or an empty list of
                      // VMs; the pen port was silent or closed
  kExitRefused = 6,   // the service answered with a status other than 0, or the library refused to
                      // send the request
  kExitUnknownVm = 7,     // the service has no VM of this name; nothing was sent
  kExitOutputFailed = 8,  // standard output cannot be written
  kExitInterrupted =
      130,  // interrupted before the end; shells give it to a process that SIGINT ends
};

}  // namespace velctl

#endif  // VEL_APPS_LOCAL_VELCTL_EXIT_CODES_H
