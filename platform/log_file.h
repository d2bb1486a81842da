// The newest file of the log and the older files that it replaced.
//
// FILES      velproxy.log is the newest file. A file of 5 MiB is full: it becomes velproxy.1.log,
//            that one velproxy.2.log and that one velproxy.3.log, which is the oldest.
// PROCESSES  Several processes may log to one directory of a local file system. They share the
//            files. A line is lost only with the oldest file, lines are never torn, and lines of
//            one process keep their order.
// ACCESS     New files have mode 0600, new directories 0700. The directory must belong to the
//            effective user, and no other user may have write permission; its name and that of the
//            file may not be symbolic links. Otherwise another user could redirect the lines.
// THREADS    One thread at a time.

#ifndef PLATFORM_LOG_FILE_H
#define PLATFORM_LOG_FILE_H

#include <chrono>
#include <string>
#include <string_view>

#include <sys/types.h>

#include "base/descriptor.h"
#include "base/result.h"

namespace platform {

class LogFile {
 public:
  // Creates the directory and the file if they are missing.
  static base::Result<LogFile> open(const std::string& directory);

  // Whether a log is possible in the directory: as open(), and whether lines can be written there.
  // Leaves no other file than open() does.
  static base::Result<void> check(const std::string& directory);

  // Takes a line, which ends with a newline. The lines are written by flush(), or when they come
  // to 4096 bytes.
  void append(std::string_view line);
  // Lines that cannot be written, on a full disk for example, are dropped.
  void flush();
  // Drops the lines that are not written yet. A new process calls this after fork(), since its
  // parent writes them.
  void discard() { kept_.clear(); }

 private:
  LogFile(std::string directory, base::Descriptor file);

  using Clock = std::chrono::steady_clock;

  // Opens the file that another process has begun, or renames the full file and begins a new one.
  void replaceFullFile();
  bool isRemoved();
  bool reopen();

  std::string directory_;
  base::Descriptor file_;
  bool isFull_ = false;
  Clock::time_point nextLook_;
  std::string kept_;
};

}  // namespace platform

#endif  // PLATFORM_LOG_FILE_H
