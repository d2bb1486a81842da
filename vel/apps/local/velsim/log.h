// The log of velsim: lines on standard error, each after the name of the program.

#ifndef VEL_APPS_LOCAL_VELSIM_LOG_H
#define VEL_APPS_LOCAL_VELSIM_LOG_H

#include <string>

#include <unistd.h>

#include "vel/apps/local/velsim/line_writer.h"

namespace velsim {

// THREADS   Any thread may call; nothing waits for the reader of the log.
class Log {
 public:
  explicit Log(bool isQuiet) : isQuiet_(isQuiet) {}

  void write(const std::string& line) { writer_.write("velsim: " + line + "\n"); }
  bool hasDetails() const { return !isQuiet_; }
  // One request, event or pen frame: not in a quiet log.
  void writeDetail(const std::string& line) {
    if (hasDetails()) {
      write(line);
    }
  }

 private:
  const bool isQuiet_;
  LineWriter writer_{STDERR_FILENO, "log line"};
};

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_LOG_H
