// What penpad's exit status says.

#ifndef EXAMPLES_PENPAD_EXIT_CODES_H
#define EXAMPLES_PENPAD_EXIT_CODES_H

namespace penpad {

enum ExitCode : int {
  kExitOk = 0,          // the window was closed, or the picture is written
  kExitFailed = 1,      // a defect of penpad, or the system is out of something
  kExitUsage = 2,       // the command line makes no sense
  kExitBadStroke = 3,   // the file to replay cannot be read, or holds something else
  kExitNotWritten = 4,  // the picture cannot be written
};

}  // namespace penpad

#endif  // EXAMPLES_PENPAD_EXIT_CODES_H
