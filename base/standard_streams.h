// Descriptors 0, 1 and 2 of a process.

#ifndef BASE_STANDARD_STREAMS_H
#define BASE_STANDARD_STREAMS_H

namespace base {

// Opens /dev/null in place of closed standard streams. Otherwise the next socket or file would get
// their numbers, and messages would go into it. Reading from a closed standard input and writing to
// a closed standard output go on failing; messages to a closed standard error are lost.
//
// Call it before anything is opened.
void openClosedStandardStreams();

}  // namespace base

#endif  // BASE_STANDARD_STREAMS_H
