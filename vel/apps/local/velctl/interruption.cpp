#include "vel/apps/local/velctl/interruption.h"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <utility>

#include <unistd.h>

#include "base/thread.h"
#include "vel/apps/local/velctl/failure.h"

namespace velctl {
namespace {

// Its only effect is that a write that waits returns. Without a handler it is ignored, so one that
// comes late does no harm.
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
  sigemptyset(&awaited_);
  // The destructor ends the thread with it.
  sigaddset(&awaited_, SIGTERM);
  if (!isIgnored(SIGINT)) {
    sigaddset(&awaited_, SIGINT);
  }
  ::pthread_sigmask(SIG_BLOCK, &awaited_, &maskBefore_);

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
  // Ends sigwait(). The thread blocks the signal.
  ::pthread_kill(thread_.native_handle(), SIGTERM);  // NOLINT(bugprone-bad-signal-to-kill-thread)
  thread_.join();
  ::sigaction(kWakeUpSignal, &wakeUpBefore_, nullptr);
  ::pthread_sigmask(SIG_SETMASK, &maskBefore_, nullptr);
}

void Interruption::run() {
  int signal = 0;
  ::sigwait(&awaited_, &signal);
  {
    const platform::MutexLock lock(mutex_);
    if (isOver_) {
      return;
    }
  }
  isStopRequested = true;
  onStop_();
  for (;;) {
    // Before isOver_ is tested: the destructor, too, sends a signal.
    const bool isNextPending = isPending();
    platform::MutexLock lock(mutex_);
    if (isOver_) {
      return;
    }
    if (isNextPending) {
      // The signal has its usual effect on the process.
      ::pthread_sigmask(SIG_UNBLOCK, &awaited_, nullptr);
    }
    if (isWriting) {
      ::pthread_kill(owner_, kWakeUpSignal);
    }
    changed_.waitUntil(lock, platform::Condition::Clock::now() + kWakeUpInterval);
  }
}

bool Interruption::isPending() const {
  sigset_t pending;
  ::sigpending(&pending);
  return sigismember(&pending, SIGTERM) != 0 ||
         (sigismember(&awaited_, SIGINT) != 0 && sigismember(&pending, SIGINT) != 0);
}

int writeInterruptibly(int descriptor, std::string_view data) {
  const WritingScope scope;
  while (!data.empty()) {
    const ssize_t count = ::write(descriptor, data.data(), data.size());
    if (count >= 0) {
      data.remove_prefix(static_cast<std::size_t>(count));
    } else if (errno != EINTR) {
      return errno;
    } else if (isStopRequested) {
      throw Interrupted();
    }
  }
  return 0;
}

}  // namespace velctl
