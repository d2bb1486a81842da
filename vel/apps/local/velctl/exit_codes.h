// The exit statuses of velctl. Their numbers never change: scripts test them.

#ifndef VEL_APPS_LOCAL_VELCTL_EXIT_CODES_H
#define VEL_APPS_LOCAL_VELCTL_EXIT_CODES_H

#include <string_view>

namespace velctl {

enum ExitCode : int {
  kExitDone = 0,
  kExitFailed = 1,
  kExitUsage = 2,
  kExitNoBus = 3,
  kExitNoService = 4,
  kExitNoReply = 5,
  kExitRefused = 6,
  kExitUnknown = 7,
  kExitOutputLost = 8,
  kExitErrorReply = 9,
  kExitInterrupted = 130,  // as shells give it to a process that SIGINT ends: 128 + 2
};

struct ExitMeaning {
  ExitCode code;
  // The kind of an error in the JSON form.
  std::string_view name;
  std::string_view meaning;
};

inline constexpr ExitMeaning kExitMeanings[] = {
    {kExitDone, "done", "done; also a watch without a limit that was interrupted"},
    {kExitFailed, "failed", "a defect of velctl, or the system has run out of something"},
    {kExitUsage, "usage", "wrong command line, or wrong content of a file or standard input"},
    {kExitNoBus, "no-bus", "the message bus cannot be reached"},
    {kExitNoService, "no-service", "no service on the bus, or no listener at the pen port"},
    {kExitNoReply, "no-reply", "no reply, answer or event in time"},
    {kExitRefused, "refused",
     "the service answered with a status other than 0, or the library "
     "refused to send the request"},
    {kExitUnknown, "unknown", "no VM or thing of this name or number, or several of this name"},
    {kExitOutputLost, "output-lost", "standard output cannot be written"},
    {kExitErrorReply, "error-reply", "the service answered with an error, or without a value"},
    {kExitInterrupted, "interrupted", "interrupted before the end"},
};

constexpr std::string_view nameOf(ExitCode code) {
  for (const ExitMeaning& each : kExitMeanings) {
    if (each.code == code) {
      return each.name;
    }
  }
  return {};
}

}  // namespace velctl

#endif  // VEL_APPS_LOCAL_VELCTL_EXIT_CODES_H
