// Logging, as the library needs it. Replaceable at link time.
//
// THREADS  Both functions may be called from any thread.
// ERRORS   Nothing throws; a line that cannot be written is dropped.

#ifndef PLATFORM_LOG_H
#define PLATFORM_LOG_H

extern "C" {

// Writes one line.
//
// channel  0; kept for other users of the interface
// level    5 debug, 7 error; a higher number is more severe
// tag      names the component that logs
// format   printf style, with its arguments; a null pointer for %s prints "(null)"
//
// The environment variable QX_LOG_LEVEL (a number, or debug, info, warn, error, off) is the least
// level written. Before pellamLogInit no more than error lines are, to standard error, where control
// characters and bytes that are not UTF-8 are escaped.
void norvoLogPrint(int channel, int level, const char* tag, const char* format, ...)
#if defined(__GNUC__)
    __attribute__((format(printf, 4, 5)))
#endif
    ;

// Sends lines to rotating files in a directory from now on. Error lines reach the disk at once.
// Calling it again with the same directory changes nothing.
void pellamLogInit(const char* directory);

}  // extern "C"

#endif  // PLATFORM_LOG_H
