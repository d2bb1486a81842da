// What another program writes.

#ifndef BASE_PROGRAM_OUTPUT_H
#define BASE_PROGRAM_OUTPUT_H

#include <chrono>
#include <string>
#include <vector>

#include "base/result.h"

namespace base {

// Runs a program without input, and returns what it writes to standard output until it closes it.
// The program is killed then, if it has not ended. What it writes to standard error is dropped.
//
// command    a path, or a name to look for in PATH, and the arguments
// returns    a failure when there is no such program, or it has not ended within the limit. An exit
//            status other than 0 is none.
Result<std::string> outputOf(const std::vector<std::string>& command,
                             std::chrono::milliseconds limit);

}  // namespace base

#endif  // BASE_PROGRAM_OUTPUT_H
