// Reads lines from a file descriptor, such as standard input, on a thread of its own.

#ifndef VEL_APPS_LOCAL_VELSIM_LINE_READER_H
#define VEL_APPS_LOCAL_VELSIM_LINE_READER_H

#include <functional>
#include <string>
#include <thread>

#include "base/self_pipe.h"

namespace velsim {

class LineReader {
 public:
  static constexpr std::size_t kLongestLine = 4096;

  // Calls onLine with each line, without its newline, until the input ends or fails. The last line
  // need not have a newline. A longer line is cut to kLongestLine + 1 bytes.
  // onEnd, if any, is called when the input has ended or failed.
  // Throws std::runtime_error when the system is out of file descriptors or threads.
  LineReader(int input, std::function<void(const std::string& line)> onLine,
             std::function<void()> onEnd = nullptr);
  // Waits for a running call. The input stays open.
  ~LineReader();

  // The error to report for a line that was cut.
  static std::string tooLong();

  LineReader(const LineReader&) = delete;
  LineReader& operator=(const LineReader&) = delete;

 private:
  void run();
  void take(const char* bytes, std::size_t count);
  void finishLine();

  const int input_;
  const std::function<void(const std::string& line)> onLine_;
  const std::function<void()> onEnd_;
  std::string line_;
  const base::SelfPipe stop_;  // wakes the thread to end
  std::thread thread_;
};

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_LINE_READER_H
