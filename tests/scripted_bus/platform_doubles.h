// Logging, the data path and pauses, as doubles that are linked in place of the real ones.
//
// Their events on the timeline:
//   Debug Init: logPath:/data       a log line: level, function, message
//   GetAppDataPath()
//   pellamLogInit("/data")
//   pause 5 s                       nobody really sleeps: stop it with Timeline::hold if need be

#ifndef TESTS_SCRIPTED_BUS_PLATFORM_DOUBLES_H
#define TESTS_SCRIPTED_BUS_PLATFORM_DOUBLES_H

#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace scripted {

// One call of norvoLogPrint.
struct LogLine {
  int channel;
  int level;
  std::string tag;
  std::string format;  // as given
  std::string text;    // formatted, prefix and all
  // The first three arguments, when the format begins as all formats should.
  std::string file;
  std::string function;
  int line;
  std::thread::id thread;

  // The message alone, formatted and without its quotes.
  std::string message() const;
  // The whole line in the form that debugLine and errorLine give, or what is wrong with it.
  std::string summary() const;
};

// What the summary of a line should be. format is the message alone, without prefix and quotes:
// both are compared as they were given to norvoLogPrint. A message without arguments is its format.
std::string debugLine(const std::string& function, const std::string& format,
                      const std::string& message);
std::string debugLine(const std::string& function, const std::string& message);
std::string errorLine(const std::string& function, const std::string& format,
                      const std::string& message);
std::string errorLine(const std::string& function, const std::string& message);

// How %p prints a pointer.
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

 private:
  mutable std::mutex mutex_;
  std::vector<LogLine> lines_;
};

// What GetAppDataPath gives from now on; empty at first.
void setDataPath(const std::string& path);

}  // namespace scripted

#endif  // TESTS_SCRIPTED_BUS_PLATFORM_DOUBLES_H
