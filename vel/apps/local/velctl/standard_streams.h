// Descriptors 0, 1 and 2 of the process.

#ifndef VEL_APPS_LOCAL_VELCTL_STANDARD_STREAMS_H
#define VEL_APPS_LOCAL_VELCTL_STANDARD_STREAMS_H

#include <string>

namespace velctl {

// Opens /dev/null in place of closed standard streams. Otherwise the next socket or file would get
// their numbers, and messages would go into it. Reading from a closed standard input and writing to
// a closed standard output go on failing; messages to a closed standard error are lost.
//
// Call it before anything is opened.
void openClosedStandardStreams();

// Reserves standard output for data: returns a new descriptor for it, and redirects what the
// library prints there to standard error.
int reserveStandardOutput();

// Everything up to the end of standard input. Throws Failure when it cannot be read.
std::string readStandardInput();

}  // namespace velctl

#endif  // VEL_APPS_LOCAL_VELCTL_STANDARD_STREAMS_H
