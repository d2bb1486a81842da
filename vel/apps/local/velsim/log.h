// The log of velsim: lines on standard error, each with its time.
//
//   05:03:02.123 velsim: ready at direct:/run/user/1000/velproxy/vel, pid 4711, VMs: 4
//
// In the form for programs each line is one JSON object; docs/velsim-log.md describes its members.

#ifndef VEL_APPS_LOCAL_VELSIM_LOG_H
#define VEL_APPS_LOCAL_VELSIM_LOG_H

#include <atomic>
#include <string>

#include <unistd.h>

#include "vel/apps/local/velsim/line_writer.h"
#include "vel/apps/local/velsim/log_lines.h"

namespace velsim {

constexpr char kPrompt[] = "velsim> ";

// THREADS   Any thread may call; nothing waits for the reader of the log.
class Log {
 public:
  enum class Form { kText, kJson };

  explicit Log(bool isQuiet, Form form = Form::kText);

  void write(const std::string& line);
  bool hasDetails() const { return !isQuiet_; }
  // One request, event, command or pen frame: not in a quiet log.
  void writeDetail(const std::string& line, const char* kind = "message");
  void writeDetail(const LogLine& line);

  // Whether a prompt stands behind the log, for a terminal that control commands come from.
  void setPrompting(bool isPrompting) { isPrompting_ = isPrompting; }

 private:
  void write(const std::string& text, nlohmann::ordered_json json);

  const bool isQuiet_;
  const Form form_;
  std::atomic<bool> isPrompting_{false};
  LineWriter writer_;
};

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_LOG_H
