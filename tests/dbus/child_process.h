// A program that a test runs beside itself. Includes nothing of this project but the standard
// library, so any test can use it.

#ifndef TESTS_DBUS_CHILD_PROCESS_H
#define TESTS_DBUS_CHILD_PROCESS_H

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>
#if defined(__linux__)
#include <sys/prctl.h>
#endif

namespace dbustest {

// Started by the constructor, killed and waited for by the destructor at the latest. It does not
// outlive the thread that started it.
class ChildProcess {
 public:
  // Where its standard error goes: this process's, or nowhere.
  enum class Errors { kShown, kHidden };

  // arguments[0] is the program, looked for as a shell does. Throws std::runtime_error when the
  // process cannot be started.
  explicit ChildProcess(const std::vector<std::string>& arguments, Errors errors = Errors::kShown) {
    // Everything that allocates comes before the fork: other threads may hold locks there.
    std::vector<char*> argv;
    argv.reserve(arguments.size() + 1);
    for (const std::string& argument : arguments) {
      argv.push_back(const_cast<char*>(argument.c_str()));
    }
    argv.push_back(nullptr);
    int output[2];
    if (::pipe(output) != 0) {
      throw std::runtime_error(std::string("no pipe: ") + std::strerror(errno));
    }
    ::fcntl(output[0], F_SETFD, FD_CLOEXEC);
    ::fcntl(output[1], F_SETFD, FD_CLOEXEC);
    pid_ = ::fork();
    if (pid_ == 0) {
      become(argv.data(), output[1], errors);
    }
    ::close(output[1]);
    output_ = output[0];
    if (pid_ < 0) {
      ::close(output_);
      throw std::runtime_error(std::string("no process: ") + std::strerror(errno));
    }
  }

  ~ChildProcess() {
    kill();
    ::close(output_);
  }

  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  pid_t pid() const { return pid_; }

  void signal(int number) const {
    if (!ended_) {
      ::kill(pid_, number);
    }
  }

  // SIGKILL; returns when the process is gone.
  void kill() {
    signal(SIGKILL);
    wait();
  }

  // Waits for the process to end by itself: its exit status, or minus the signal that ended it.
  int wait() {
    while (!ended_) {
      int status = 0;
      const pid_t waited = ::waitpid(pid_, &status, 0);
      if (waited < 0 && errno == EINTR) {
        continue;
      }
      ended_ = true;
      status_ = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    }
    return status_;
  }

  // The next line of its standard output without the newline; what there is of it when the output
  // ends or the time is over.
  std::string readLine(std::chrono::milliseconds within = std::chrono::seconds(20)) {
    std::string line;
    const auto deadline = std::chrono::steady_clock::now() + within;
    char c = 0;
    while (isReadable(deadline) && ::read(output_, &c, 1) == 1 && c != '\n') {
      line += c;
    }
    return line;
  }

  // All that is left of its standard output, up to its end.
  std::string readAll() {
    std::string text;
    char bytes[4096];
    for (;;) {
      const ssize_t count = ::read(output_, bytes, sizeof bytes);
      if (count < 0 && errno == EINTR) {
        continue;
      }
      if (count <= 0) {
        return text;
      }
      text.append(bytes, static_cast<std::size_t>(count));
    }
  }

 private:
  [[noreturn]] static void become(char* const* argv, int output, Errors errors) {
#if defined(__linux__)
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
#endif
    const int nothing = ::open("/dev/null", O_RDWR);
    ::dup2(nothing, STDIN_FILENO);
    ::dup2(output, STDOUT_FILENO);
    if (errors == Errors::kHidden) {
      ::dup2(nothing, STDERR_FILENO);
    }
    ::execvp(argv[0], argv);
    ::_exit(127);
  }

  bool isReadable(std::chrono::steady_clock::time_point deadline) const {
    for (;;) {
      const auto left =
          std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
      pollfd polled = {output_, POLLIN, 0};
      const int ready = ::poll(&polled, 1, left.count() > 0 ? static_cast<int>(left.count()) : 0);
      if (ready >= 0 || errno != EINTR) {
        return ready > 0;
      }
    }
  }

  pid_t pid_ = -1;
  int output_ = -1;
  bool ended_ = false;
  int status_ = 0;
};

}  // namespace dbustest

#endif  // TESTS_DBUS_CHILD_PROCESS_H
