#include "vel/apps/local/velctl/elapsed_time.h"

#include <csignal>
#include <cstdio>

#include <unistd.h>

namespace velctl {
namespace {

// Ends the line, so that the prompt of the shell has one of its own, and then the process, in the
// way that shells expect (128 + SIGINT).
extern "C" void endLineAndDie(int signal) {
  // What cannot be written is lost.
  [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, "\n", 1);
  ::signal(signal, SIG_DFL);
  ::raise(signal);
}

void handleInterrupts(void (*handler)(int)) {
  struct sigaction current = {};
  ::sigaction(SIGINT, nullptr, &current);
  // Whoever started this process may have wanted it to go on.
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

ElapsedTime::ElapsedTime(const std::string& what, std::chrono::seconds most)
    : what_(what), most_(most) {
  if (::isatty(STDERR_FILENO)) {
    handleInterrupts(endLineAndDie);
    thread_ = std::thread(&ElapsedTime::show, this);
  }
}

ElapsedTime::~ElapsedTime() {
  if (!thread_.joinable()) {
    return;
  }
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    isOver_ = true;
    changed_.notify_one();
  }
  thread_.join();
  erase();
  handleInterrupts(SIG_DFL);
}

void ElapsedTime::show() {
  const auto start = std::chrono::steady_clock::now();
  std::chrono::seconds elapsed{0};
  std::unique_lock<std::mutex> lock(mutex_);
  for (;;) {
    ++elapsed;
    if (changed_.wait_until(lock, start + elapsed, [this] { return isOver_; })) {
      return;
    }
    eraseLocked();
    const std::string line = "velctl: " + what_ + ", " + std::to_string(elapsed.count()) +
                             " s of at most " + std::to_string(most_.count());
    std::fputs(line.c_str(), stderr);
    shown_ = line.size();
  }
}

void ElapsedTime::erase() {
  const std::lock_guard<std::mutex> lock(mutex_);
  eraseLocked();
}

void ElapsedTime::eraseLocked() {
  if (shown_ > 0) {
    std::fprintf(stderr, "\r%*s\r", static_cast<int>(shown_), "");
    shown_ = 0;
  }
}

}  // namespace velctl
