// Reads lines from a file descriptor, such as standard input, on a thread of its own.

#ifndef VEL_APPS_LOCAL_VELSIM_LINE_READER_H
#define VEL_APPS_LOCAL_VELSIM_LINE_READER_H

#include <functional>
#include <string>
#include <thread>

namespace velsim {

class LineReader {
 public:
  static constexpr std::size_t kLongestLine = 4096;

  // onLine is called with each line, without its newline, until the input ends or fails; the last
  // line need not have one. A line that is too long is cut to one byte more than the longest.
  // Throws std::system_error when there are no more file descriptors or threads.
  LineReader(int input, std::function<void(const std::string& line)> onLine);
  // Waits for a call of onLine that is running. The input stays open.
  ~LineReader();

  LineReader(const LineReader&) = delete;
  LineReader& operator=(const LineReader&) = delete;

 private:
  void run();
  void take(const char* bytes, std::size_t count);
  void finishLine();

  const int input_;
  const std::function<void(const std::string& line)> onLine_;
  std::string line_;
  int stop_[2] = {-1, -1};  // a pipe: reading ends when something can be read here
  std::thread thread_;
};

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_LINE_READER_H
