// Writes lines to a file descriptor, such as standard error, on a thread of its own, so that a
// reader that stops reading delays only itself.
//
//   LineWriter log(STDERR_FILENO, "log line");
//   log.write("velsim: ready\n");
//
// Lines wait in a queue of at most a megabyte. When the queue is full, new lines are dropped until
// the output has taken those that wait; then a line reports how many were dropped.
//
// THREADS   Any thread may call write(), which never waits for the output.

#ifndef VEL_APPS_LOCAL_VELSIM_LINE_WRITER_H
#define VEL_APPS_LOCAL_VELSIM_LINE_WRITER_H

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <thread>

namespace velsim {

class LineWriter {
 public:
  static constexpr std::size_t kMostQueuedBytes = std::size_t{1} << 20;
  static constexpr std::chrono::seconds kFlushTime{2};
  using Report = std::function<std::string(const std::string& text)>;

  // Writes to a duplicate of the descriptor, which remains the caller's. A closed one fails like an
  // output without a reader. Throws std::runtime_error when the system cannot start a thread.
  //
  // noun     of one line, for the report of dropped lines
  // report   makes a line of that report, with its newline; null: "velsim: " stands before it
  LineWriter(int output, std::string noun, Report report = nullptr);
  // Writes the lines that wait, and gives up after kFlushTime.
  ~LineWriter();

  LineWriter(const LineWriter&) = delete;
  LineWriter& operator=(const LineWriter&) = delete;

  // Whole lines, each with its newline; discarded once the output has failed.
  void write(std::string lines);

 private:
  struct State;

  // Shared with the thread: a write that never returns outlives the writer.
  std::shared_ptr<State> state_;
  std::thread thread_;
};

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_LINE_WRITER_H
