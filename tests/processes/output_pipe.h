// A pipe as the output of a program, whose reader is the test.

#ifndef TESTS_PROCESSES_OUTPUT_PIPE_H
#define TESTS_PROCESSES_OUTPUT_PIPE_H

#include <string>

namespace processes {

// ERRORS    std::runtime_error when the system is out of descriptors.
class OutputPipe {
 public:
  OutputPipe();
  ~OutputPipe();

  OutputPipe(const OutputPipe&) = delete;
  OutputPipe& operator=(const OutputPipe&) = delete;

  // For a program: Process::Options::out or err. Writing there blocks when the pipe is full.
  int writeEnd() const { return ends_[1]; }

  // Whether writing to a full pipe waits, for every program that has the end. True at first.
  void setBlocking(bool isBlocking) const;
  // Leaves no room in the pipe, whose write end is a blocking one afterwards.
  void fill() const;
  // The bytes that can be read without waiting.
  std::string read() const;
  void closeReadEnd();

 private:
  int ends_[2] = {-1, -1};
};

}  // namespace processes

#endif  // TESTS_PROCESSES_OUTPUT_PIPE_H
