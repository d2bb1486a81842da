// A velsim for the tests of a client: starts with the object, ends with it, and listens at a socket
// in a private directory, so that tests need no bus daemon and may run beside each other.
//
//   velsim_testing::VelsimProcess velsim("office.json");   // returns when it takes requests
//   velsim.exportAddress();                                // the client library finds it
//   velsim.control("plug camera \"Front camera\"");        // returns when the camera is there
//
// Header-only: it needs C++17 and POSIX. In CMake, velproxy_velsim_test(target) does the rest.
//
// END       The destructor stops velsim. It also ends by itself when the test process ends in any
//           other way, for instance by SIGKILL, because the socket between both is closed then.
// ADDRESS   Objects of one process that follow each other have the same address: a client library
//           that reads QXBUS_ADDRESS once finds them all. Its first calls may fail until it has
//           noticed the end of the one before. Objects that live at the same time have different
//           ones.
// THREADS   Use an object from one thread at a time.
// ERRORS    VelsimError, with the log of velsim. No other failure is silent; destructors never
// throw. TIME      Nothing sleeps. A velsim that does not answer within a minute has failed.

#ifndef VEL_APPS_LOCAL_VELSIM_TESTING_VELSIM_PROCESS_H
#define VEL_APPS_LOCAL_VELSIM_TESTING_VELSIM_PROCESS_H

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include "base/spawning.h"
#include "vel/apps/local/velsim/testing/internal.h"

// The path of the program, which velproxy_velsim_test() defines.
#ifndef VELSIM_PATH
#define VELSIM_PATH "velsim"
#endif

namespace velsim_testing {

class VelsimProcess {
 public:
  struct Options {
    std::string scenario;  // path of a file; empty: the built-in scenario
    // Of a bus, or direct:PATH; empty: a socket in the private directory.
    std::string address;
    std::vector<std::string> arguments;              // more of velsim's command line
    std::map<std::string, std::string> environment;  // on top of this process's
    std::string program = VELSIM_PATH;               // a path, or a name to look for in PATH
  };

  // Returns when velsim takes requests. Throws the reason when it cannot start.
  explicit VelsimProcess(const std::string& scenario = {}) : VelsimProcess(with(scenario)) {}
  explicit VelsimProcess(Options options) : options_(std::move(options)) {
    if (options_.address.empty()) {
      place_ = internal::Places::ofThisProcess().take();
      options_.address = "direct:" + place_;
    }
    try {
      start();
    } catch (...) {
      leavePlace();
      throw;
    }
  }
  ~VelsimProcess() {
    stop();
    leavePlace();
  }

  VelsimProcess(const VelsimProcess&) = delete;
  VelsimProcess& operator=(const VelsimProcess&) = delete;

  // The value of QXBUS_ADDRESS for clients of this velsim.
  const std::string& address() const { return options_.address; }
  // Sets QXBUS_ADDRESS in this process. No other thread may use the environment meanwhile.
  void exportAddress() const { ::setenv("QXBUS_ADDRESS", address().c_str(), 1); }

  // Runs a control command, such as `plug camera "Front camera"`, and returns its answer without
  // the last newline; "help" lists the commands. Throws the reason when velsim refuses the command.
  std::string control(const std::string& line) {
    send(line + '\n');
    std::string answer;
    for (;;) {
      const std::string got = readLine("has not answered \"" + line + '"');
      if (got == "ok") {
        return answer;
      }
      if (got.compare(0, kError.size(), kError) == 0) {
        throw VelsimError("velsim refused \"" + line + "\": " + got.substr(kError.size()));
      }
      answer += (answer.empty() ? "" : "\n") + got.substr(kAnswer.size());
    }
  }

  // The log since start(), with a line for each request and event: what to show when a test fails.
  std::string log() const { return log_->content(); }
  // Standard output since start(): velsim itself writes nothing there.
  std::string output() const { return output_->content(); }

  pid_t pid() const { return pid_; }
  bool hasEnded() { return reap(WNOHANG); }
  void signal(int number) {
    if (!hasEnded()) {
      ::kill(pid_, number);
    }
  }

  // These return the exit status, or 128 + the signal that ended velsim.

  // The orderly end: clients see the service go. No effect on a velsim that has ended.
  int stop() {
    if (!hasEnded()) {
      ::shutdown(socket_.number(), SHUT_WR);
    }
    return wait();
  }
  // The death of the service: SIGKILL.
  int kill() {
    signal(SIGKILL);
    return wait();
  }
  // Waits until velsim ends by itself; after a minute it is killed.
  int wait() {
    const auto deadline = Clock::now() + kPatience;
    // Its end of the socket is closed when it ends.
    while (!hasEnded() && receive(deadline)) {
    }
    if (!hasEnded() && !isClosed_) {
      ::kill(pid_, SIGKILL);
    }
    reap(0);
    return status_;
  }
  // Starts it anew, at the same address and from the same scenario, after it has ended.
  void start() {
    stop();
    launch();
    if (readLine("has not become ready") != "ready") {
      fail("velsim is not the program that answers");
    }
  }

 private:
  using Clock = std::chrono::steady_clock;
  static constexpr std::chrono::seconds kPatience{60};
  static constexpr int kSocketOfVelsim = 3;
  static constexpr int kSignalled = 128;
  inline static const std::string kError = "error ";
  inline static const std::string kAnswer = " ";

  static Options with(const std::string& scenario) {
    Options options;
    options.scenario = scenario;
    return options;
  }

  void leavePlace() {
    if (!place_.empty()) {
      internal::Places::ofThisProcess().leave(place_);
    }
  }

  std::vector<std::string> command() const {
    std::vector<std::string> words = {options_.program, "--address", options_.address, "--parent",
                                      std::to_string(kSocketOfVelsim)};
    if (!options_.scenario.empty()) {
      words.insert(words.end(), {"--scenario", options_.scenario});
    }
    words.insert(words.end(), options_.arguments.begin(), options_.arguments.end());
    return words;
  }

  void launch() {
    int ends[2] = {-1, -1};
    if (::socketpair(AF_UNIX, SOCK_STREAM, 0, ends) != 0) {
      throw VelsimError("no socket: " + internal::systemReason());
    }
    internal::File ours(ends[0]);
    // Above the numbers that velsim has, so that none takes the place of another.
    const internal::File theirs(::fcntl(ends[1], F_DUPFD_CLOEXEC, kSocketOfVelsim + 1));
    ::close(ends[1]);
    if (theirs.number() < 0) {
      throw VelsimError("no descriptor: " + internal::systemReason());
    }
    log_ = std::make_unique<internal::Output>();
    output_ = std::make_unique<internal::Output>();
    base::Spawning spawning;
    spawning.readNothing();
    spawning.pass(output_->number(), STDOUT_FILENO);
    spawning.pass(log_->number(), STDERR_FILENO);
    spawning.pass(theirs.number(), kSocketOfVelsim);
    const base::Result<pid_t> pid = spawning.run(command(), options_.environment);
    if (!pid) {
      throw VelsimError(pid.reason());
    }
    pid_ = *pid;
    status_ = -1;
    socket_ = std::move(ours);
    received_.clear();
    isClosed_ = false;
  }

  // False: velsim has closed the socket, or the deadline has passed.
  bool receive(Clock::time_point deadline) {
    for (;;) {
      const auto left =
          std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
      pollfd polled = {socket_.number(), POLLIN, 0};
      const int ready = left > 0 ? ::poll(&polled, 1, static_cast<int>(left)) : 0;
      if (ready == 0) {
        return false;
      }
      char bytes[4096];
      const ssize_t count = ready > 0 ? ::recv(socket_.number(), bytes, sizeof bytes, 0) : -1;
      if (count > 0) {
        received_.append(bytes, static_cast<std::size_t>(count));
        return true;
      }
      if (count == 0 || errno != EINTR) {
        isClosed_ = true;
        return false;
      }
    }
  }

  std::string readLine(const std::string& failure) {
    const auto deadline = Clock::now() + kPatience;
    std::size_t newline = received_.find('\n');
    while (newline == std::string::npos && receive(deadline)) {
      newline = received_.find('\n');
    }
    if (newline == std::string::npos) {
      fail("velsim " + failure);
    }
    const std::string line = received_.substr(0, newline);
    received_.erase(0, newline + 1);
    return line;
  }

  void send(const std::string& text) {
#ifdef MSG_NOSIGNAL
    constexpr int kFlags = MSG_NOSIGNAL;
#else
    constexpr int kFlags = 0;
#endif
    std::size_t sent = 0;
    while (sent < text.size()) {
      const ssize_t count =
          ::send(socket_.number(), text.data() + sent, text.size() - sent, kFlags);
      if (count < 0 && errno != EINTR) {
        isClosed_ = true;
        fail("velsim takes no commands any more");
      }
      sent += count > 0 ? static_cast<std::size_t>(count) : 0;
    }
  }

  [[noreturn]] void fail(std::string what) {
    if (isClosed_) {
      wait();
      what += status_ < kSignalled
                  ? "; it has ended with status " + std::to_string(status_)
                  : "; signal " + std::to_string(status_ - kSignalled) + " has ended it";
    } else {
      kill();
    }
    throw VelsimError(what + "; its log:\n" + log());
  }

  // Whether velsim has ended, or was never there.
  bool reap(int flags) {
    if (pid_ < 0 || status_ >= 0) {
      return true;
    }
    int state = 0;
    pid_t reaped = -1;
    do {
      reaped = ::waitpid(pid_, &state, flags);
    } while (reaped < 0 && errno == EINTR);
    if (reaped == 0) {
      return false;
    }
    // Negative: the test ignores SIGCHLD, or has waited for it itself.
    status_ = reaped < 0           ? 0
              : WIFSIGNALED(state) ? kSignalled + WTERMSIG(state)
                                   : WEXITSTATUS(state);
    return true;
  }

  Options options_;
  std::string place_;  // empty: the address is the caller's
  std::unique_ptr<internal::Output> log_;
  std::unique_ptr<internal::Output> output_;
  internal::File socket_;
  std::string received_;
  bool isClosed_ = true;
  pid_t pid_ = -1;
  int status_ = -1;
};

}  // namespace velsim_testing

#endif  // VEL_APPS_LOCAL_VELSIM_TESTING_VELSIM_PROCESS_H
