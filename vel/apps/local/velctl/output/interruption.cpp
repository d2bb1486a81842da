#include "vel/apps/local/velctl/output/interruption.h"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <utility>

#include <poll.h>
#include <unistd.h>

#include "base/thread.h"
#include "base/would_block.h"
#include "vel/apps/local/velctl/failure.h"

namespace velctl {
namespace {

// Its only effect is that a write that waits returns, and that the thread below does not wait for a
// signal any longer. Without a handler it is ignored, so one that comes late does no harm.
constexpr int kWakeUpSignal = SIGURG;
// A wake-up that comes just before the write begins is lost, so it is repeated.
constexpr std::chrono::milliseconds kWakeUpInterval{20};

std::atomic<bool> isStopRequested{false};
std::atomic<bool> isWriting{false};

class WritingScope {
 public:
  WritingScope() { isWriting = true; }
  ~WritingScope() { isWriting = false; }
  WritingScope(const WritingScope&) = delete;
  WritingScope& operator=(const WritingScope&) = delete;
};

bool isIgnored(int signal) {
  struct sigaction current = {};
  ::sigaction(signal, nullptr, &current);
  return current.sa_handler == SIG_IGN;
}

extern "C" void returnFromWrite(int) {}

}  // namespace

Interruption::Interruption(std::function<void()> onStop)
    : onStop_(std::move(onStop)), owner_(::pthread_self()) {
  isStopRequested = false;
  sigemptyset(&stopSignals_);
  for (const int signal : {SIGINT, SIGTERM}) {
    if (!isIgnored(signal)) {
      sigaddset(&stopSignals_, signal);
    }
  }
  ::pthread_sigmask(SIG_BLOCK, &stopSignals_, &maskBefore_);

  struct sigaction wakeUp = {};
  wakeUp.sa_handler = returnFromWrite;
  sigemptyset(&wakeUp.sa_mask);
  ::sigaction(kWakeUpSignal, &wakeUp, &wakeUpBefore_);
  sigset_t wakeUpOnly;
  sigemptyset(&wakeUpOnly);
  sigaddset(&wakeUpOnly, kWakeUpSignal);
  ::pthread_sigmask(SIG_UNBLOCK, &wakeUpOnly, nullptr);

  base::Result<std::thread> thread = base::startThread("interruption", [this] { run(); });
  if (!thread) {
    throw Failure(kExitFailed, thread.reason());
  }
  thread_ = std::move(*thread);
}

Interruption::~Interruption() {
  {
    const platform::MutexLock lock(mutex_);
    isOver_ = true;
    changed_.notifyAll();
  }
  // Ends sigwait().
  ::pthread_kill(thread_.native_handle(), kWakeUpSignal);
  thread_.join();
  ::sigaction(kWakeUpSignal, &wakeUpBefore_, nullptr);
  ::pthread_sigmask(SIG_SETMASK, &maskBefore_, nullptr);
}

void Interruption::run() {
  sigset_t awaited = stopSignals_;
  sigaddset(&awaited, kWakeUpSignal);
  int signal = kWakeUpSignal;
  while (signal == kWakeUpSignal) {
    ::sigwait(&awaited, &signal);
    const platform::MutexLock lock(mutex_);
    if (isOver_) {
      return;
    }
  }
  isStopRequested = true;
  onStop_();
  for (;;) {
    platform::MutexLock lock(mutex_);
    if (isOver_) {
      return;
    }
    if (isStopPending()) {
      // The signal has its usual effect on the process.
      ::pthread_sigmask(SIG_UNBLOCK, &stopSignals_, nullptr);
    }
    if (isWriting) {
      ::pthread_kill(owner_, kWakeUpSignal);
    }
    changed_.waitUntil(lock, platform::Condition::Clock::now() + kWakeUpInterval);
  }
}

bool Interruption::isStopPending() const {
  sigset_t pending;
  ::sigpending(&pending);
  for (const int signal : {SIGINT, SIGTERM}) {
    if (sigismember(&stopSignals_, signal) == 1 && sigismember(&pending, signal) == 1) {
      return true;
    }
  }
  return false;
}

int writeInterruptibly(int descriptor, std::string_view data) {
  const WritingScope scope;
  while (!data.empty()) {
    const ssize_t count = ::write(descriptor, data.data(), data.size());
    if (count >= 0) {
      data.remove_prefix(static_cast<std::size_t>(count));
      continue;
    }
    if (base::wouldBlock(errno)) {
      // Another program that shares the output has made it non-blocking.
      pollfd polled = {descriptor, POLLOUT, 0};
      if (::poll(&polled, 1, -1) >= 0) {
        continue;
      }
    }
    if (errno != EINTR) {
      return errno;
    }
    if (isStopRequested) {
      throw Interrupted();
    }
  }
  return 0;
}

}  // namespace velctl
