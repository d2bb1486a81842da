#include "vel/apps/local/velctl/elapsed_time.h"

#include <csignal>
#include <cstdio>
#include <utility>

#include <unistd.h>

#include "base/thread.h"

namespace velctl {
namespace {

// Ends the line, so that the prompt of the shell gets a line of its own, and then the process, in
// the way that shells expect (128 + SIGINT).
extern "C" void endLineAndProcess(int signal) {
  [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, "\n", 1);
  ::signal(signal, SIG_DFL);
  ::raise(signal);
}

void handleInterrupts(void (*handler)(int)) {
  struct sigaction current = {};
  ::sigaction(SIGINT, nullptr, &current);
  // The process was started to ignore it.
  if (current.sa_handler == SIG_IGN) {
    return;
  }
  struct sigaction wanted = {};
  wanted.sa_handler = handler;
  sigemptyset(&wanted.sa_mask);
  wanted.sa_flags = SA_RESTART;
  ::sigaction(SIGINT, &wanted, nullptr);
}

}  // namespace

ElapsedTime::ElapsedTime(const std::string& activity, std::chrono::seconds limit)
    : activity_(activity), limit_(limit) {
  if (!::isatty(STDERR_FILENO)) {
    return;
  }
  // Without a thread nothing is shown.
  if (base::Result<std::thread> thread = base::startThread("elapsed time", [this] { run(); })) {
    thread_ = std::move(*thread);
    handleInterrupts(endLineAndProcess);
  }
}

ElapsedTime::~ElapsedTime() {
  if (!thread_.joinable()) {
    return;
  }
  {
    const platform::MutexLock lock(mutex_);
    isOver_ = true;
    changed_.notifyOne();
  }
  thread_.join();
  erase();
  handleInterrupts(SIG_DFL);
}

void ElapsedTime::run() {
  const auto start = platform::Condition::Clock::now();
  std::chrono::seconds elapsed{0};
  platform::MutexLock lock(mutex_);
  while (!isOver_) {
    if (!changed_.waitUntil(lock, start + elapsed + std::chrono::seconds{1})) {
      ++elapsed;
      show(elapsed);
    }
  }
}

void ElapsedTime::show(std::chrono::seconds elapsed) {
  eraseLocked();
  const std::string line = "velctl: " + activity_ + ", " + std::to_string(elapsed.count()) +
                           " s of at most " + std::to_string(limit_.count());
  std::fputs(line.c_str(), stderr);
  shownColumns_ = line.size();
}

void ElapsedTime::erase() {
  const platform::MutexLock lock(mutex_);
  eraseLocked();
}

void ElapsedTime::eraseLocked() {
  if (shownColumns_ > 0) {
    std::fprintf(stderr, "\r%*s\r", static_cast<int>(shownColumns_), "");
    shownColumns_ = 0;
  }
}

}  // namespace velctl
