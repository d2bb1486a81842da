// The exit statuses of penpad.

#ifndef EXAMPLES_PENPAD_EXIT_CODES_H
#define EXAMPLES_PENPAD_EXIT_CODES_H

namespace penpad {

enum ExitCode : int {
  kExitOk = 0,          // the window was closed, or the picture is written
  kExitFailed = 1,      // a defect of penpad, or the system is out of a resource
  kExitUsage = 2,       // a wrong command line
  kExitBadStroke = 3,   // the file to replay cannot be read, or is not a stroke
  kExitNotWritten = 4,  // the picture cannot be written
};

}  // namespace penpad

#endif  // EXAMPLES_PENPAD_EXIT_CODES_H
