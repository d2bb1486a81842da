// Standard input and standard output, as commands use them.

#ifndef VEL_APPS_LOCAL_VELCTL_DATA_STREAMS_H
#define VEL_APPS_LOCAL_VELCTL_DATA_STREAMS_H

#include <string>

namespace velctl {

// Reserves standard output for data: returns a new descriptor for it, which other programs do not
// inherit, and drops the lines that the library prints there, which its log has too.
int reserveStandardOutput();

// Everything up to the end of standard input. Throws Failure when it cannot be read.
std::string readStandardInput();

// The text; for "-" standard input without the newlines at its end. Throws Failure.
std::string textOrStandardInput(const std::string& text);

}  // namespace velctl

#endif  // VEL_APPS_LOCAL_VELCTL_DATA_STREAMS_H
