// Logging, the data path and pauses, as doubles that are linked in place of the real ones.
//
// Their events on the timeline:
//   Debug Init: logPath:/data       a log line: level, function, message
//   GetAppDataPath()
//   pellamLogInit("/data")
//   pause 5 s                       without a sleep; Timeline::hold can stop the thread

#ifndef TESTS_SCRIPTED_BUS_PLATFORM_DOUBLES_H
#define TESTS_SCRIPTED_BUS_PLATFORM_DOUBLES_H

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "platform/mutex.h"

namespace scripted {

// One call of norvoLogPrint.
struct LogLine {
  int channel;
  int level;
  std::string tag;
  std::string format;  // unchanged
  std::string text;    // formatted, with the prefix
  // The first three arguments, when the format begins with the common prefix.
  std::string file;
  std::string function;
  int line;
  std::thread::id thread;

  // The message alone, formatted and without its quotes.
  std::string message() const;
  // The line in the form of debugLine and errorLine, or a description of its defect.
  std::string summary() const;
};

inline constexpr int kDebugLevel = 5;
inline constexpr int kErrorLevel = 7;
// Of each format.
inline constexpr char kPrefix[] = "%s %s(%d): ";
// As summaries name the level.
std::string wordOf(int level);

// The expected summary of a line. format is that of the message alone, without prefix and quotes,
// and is compared unchanged. A message without arguments is its own format.
std::string debugLine(const std::string& function, const std::string& format,
                      const std::string& message);
std::string debugLine(const std::string& function, const std::string& message);
std::string errorLine(const std::string& function, const std::string& format,
                      const std::string& message);
std::string errorLine(const std::string& function, const std::string& message);

// A pointer as %p prints it.
std::string pointer(const void* address);

class RecordedLog {
 public:
  static RecordedLog& the();

  std::vector<LogLine> lines() const;
  std::vector<std::string> summaries() const;
  std::vector<std::string> summariesOf(const std::string& function) const;
  // The lines of one level, formatted.
  std::vector<std::string> errors() const;

  void add(LogLine line);
  void clear();

  // false: lines are formatted and forgotten, and are no events on the timeline.
  void setKeeping(bool keeping) { isKeeping_.store(keeping); }
  bool isKeeping() const { return isKeeping_.load(); }

 private:
  std::atomic<bool> isKeeping_{true};
  mutable platform::Mutex mutex_;
  std::vector<LogLine> lines_ QX_GUARDED_BY(mutex_);
};

// The path that GetAppDataPath returns from now on; empty at first.
void setDataPath(const std::string& path);

}  // namespace scripted

#endif  // TESTS_SCRIPTED_BUS_PLATFORM_DOUBLES_H
