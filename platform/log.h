// The log that the library writes. Another implementation may be linked in its place.
//
// THREADS  Both functions may be called from any thread.
// ERRORS   Nothing throws; a line that cannot be written is dropped.

#ifndef PLATFORM_LOG_H
#define PLATFORM_LOG_H

extern "C" {

// Writes one line.
//
// channel  0; other users of the interface have other channels
// level    5 debug, 7 error; a higher number is more severe
// tag      names the component that logs
// format   printf style, with its arguments; a null pointer for %s prints "(null)"
//
// The environment variable QX_LOG_LEVEL (a number, or debug, info, warn, error, off) is the least
// level written. Before pellamLogInit only error lines are written, to standard error. Control
// characters and bytes that are not UTF-8 are escaped, so that a message is one line.
void norvoLogPrint(int channel, int level, const char* tag, const char* format, ...)
#if defined(__GNUC__)
    __attribute__((format(printf, 4, 5)))
#endif
    ;

// Writes lines to files in a directory from now on: velproxy.log, and up to three older files of
// 5 MiB. Several processes may share the directory. Error lines are written at once, other lines
// when they come to 4096 bytes or the process exits.
//
// The directory must belong to this user, and no other user may have write permission. It is
// created if it is missing, with mode 0700; the files have mode 0600. A directory that cannot be
// used, or a symbolic link in its place or in the file's, is reported on standard error, once, and
// error lines go there.
//
// On macOS, where logs have a place of their own, ~/Library/Logs/velproxy takes the place of the
// directory that GetAppDataPath() has by default.
//
// A second call with the same directory changes nothing.
void pellamLogInit(const char* directory);

}  // extern "C"

#endif  // PLATFORM_LOG_H
