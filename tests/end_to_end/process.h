// Programs that a test runs.

#ifndef TESTS_END_TO_END_PROCESS_H
#define TESTS_END_TO_END_PROCESS_H

#include <functional>
#include <map>
#include <string>
#include <vector>

#include <sys/types.h>

namespace end_to_end {

// Much longer than anything takes, also on a busy machine under a sanitizer. A test that waits this
// long has failed.
constexpr int kPatienceSeconds = 60;

// Whether the condition has come true; looks at it often.
bool comesTrue(const std::function<bool()>& condition);

// What a program has left.
struct Finished {
  int status = -1;  // its exit status, 128 + the signal that ended it, or -1 when it did not end
  std::string out;
  std::string err;
};

// A running program. It is killed with its object.
class Process {
 public:
  struct Options {
    std::vector<std::string> command;                // a path, or a name to look for in PATH
    std::map<std::string, std::string> environment;  // on top of ours
    std::string folder;                              // for what it writes
    std::string input;                               // what it reads
    std::string outTo;                               // a file for its standard output
    bool isOutClosed = false;                        // it has no standard output
  };

  explicit Process(const Options& options);
  ~Process();

  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;

  pid_t pid() const { return pid_; }
  // What it has written so far.
  std::string out() const;
  std::string err() const;

  void signal(int number) const;
  Finished wait();
  // Sends a signal and waits for the end.
  Finished end(int signalNumber);

 private:
  bool hasEnded();

  std::string outFile_;
  std::string errFile_;
  pid_t pid_ = -1;
  int status_ = -1;
};

// Runs a program to its end.
Finished run(const Process::Options& options);

}  // namespace end_to_end

#endif  // TESTS_END_TO_END_PROCESS_H
