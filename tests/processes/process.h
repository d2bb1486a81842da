// Programs that a test runs beside itself.

#ifndef TESTS_PROCESSES_PROCESS_H
#define TESTS_PROCESSES_PROCESS_H

#include <functional>
#include <map>
#include <string>
#include <vector>

#include <sys/types.h>

#include "tests/processes/temporary_file.h"

namespace processes {

// Much longer than anything takes, also on a busy machine under a sanitizer. A test that waits this
// long has failed.
constexpr int kPatienceSeconds = 240;

// Waits until the condition is true; false when it has not become true in time.
bool comesTrue(const std::function<bool()>& condition);

// The result of a program.
struct Finished {
  // The exit status (127: no such program), 128 + the signal that ended the program, or -1 when the
  // program did not end.
  int status = -1;
  std::string out;
  std::string err;
};

// A running program. It is killed with its object, and does not outlive the thread that started it.
//
// THREADS   Use it from one thread.
// ERRORS    std::runtime_error when the system is out of a resource.
class Process {
 public:
  struct Options {
    std::vector<std::string> command;                // a path, or a name to look for in PATH
    std::map<std::string, std::string> environment;  // on top of ours
    std::string input;                               // standard input
    bool isInputOpen = false;                        // standard input comes from write() instead
    bool isOutClosed = false;                        // standard output is closed
    bool isErrShown = false;                         // standard error is that of the test
    int out = -1;  // descriptors that take the place of the files behind out() and err()
    int err = -1;
  };

  explicit Process(const Options& options);
  ~Process();

  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;

  pid_t pid() const { return pid_; }

  // The output so far.
  std::string out() const;
  std::string err() const;
  // The next line of standard output without the newline. At the end of the program, the rest.
  std::string readLine();

  void write(const std::string& text) const;

  bool hasEnded();
  void signal(int number) const;
  Finished wait();
  // Sends a signal and waits for the end.
  Finished end(int signalNumber);

 private:
  TemporaryFile out_;
  TemporaryFile err_;
  int input_ = -1;
  pid_t pid_ = -1;
  int status_ = -1;
  std::size_t read_ = 0;  // by readLine()
};

// Stops a program that this process has started, until SIGCONT. It answers nothing any more once
// this returns: a signal alone takes effect later, on a busy machine much later.
void hang(pid_t program);

// Runs a program to its end.
Finished run(const Process::Options& options);

}  // namespace processes

#endif  // TESTS_PROCESSES_PROCESS_H
