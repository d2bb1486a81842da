#include "vel/apps/local/velctl/shell/child.h"

#include <atomic>
#include <cerrno>
#include <csignal>

#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include "base/spawning.h"
#include "vel/apps/local/velctl/output/output.h"

namespace velctl {
namespace {

std::atomic<pid_t> child{0};
static_assert(std::atomic<pid_t>::is_always_lock_free, "a signal handler reads it");

extern "C" void endChildAndSelf(int signal) {
  if (const pid_t pid = child) {
    ::kill(pid, SIGTERM);
  }
  // Its handler has been reset: the signal ends this process once the handler returns.
  ::raise(signal);
}

// Replaces what a signal does, for its scope.
class SignalScope {
 public:
  SignalScope(int signal, void (*handler)(int), int flags) : signal_(signal) {
    struct sigaction wanted = {};
    wanted.sa_handler = handler;
    wanted.sa_flags = flags;
    sigemptyset(&wanted.sa_mask);
    ::sigaction(signal, &wanted, &before_);
  }
  ~SignalScope() { ::sigaction(signal_, &before_, nullptr); }
  SignalScope(const SignalScope&) = delete;
  SignalScope& operator=(const SignalScope&) = delete;

 private:
  const int signal_;
  struct sigaction before_ = {};
};

constexpr auto kResetHandler = static_cast<int>(SA_RESETHAND);

}  // namespace

ExitCode runChild(const std::vector<std::string>& command, int out, bool hasInput) {
  const SignalScope interruption(SIGINT, SIG_IGN, 0);
  const SignalScope quitting(SIGQUIT, SIG_IGN, 0);
  const SignalScope termination(SIGTERM, endChildAndSelf, kResetHandler);
  const SignalScope hangUp(SIGHUP, endChildAndSelf, kResetHandler);

  base::Spawning spawning;
  if (!hasInput) {
    spawning.readNothing();
  }
  spawning.pass(out, STDOUT_FILENO);
  const base::Result<pid_t> pid = spawning.run(command);
  if (!pid) {
    Output::error("shell: " + pid.reason());
    return kExitFailed;
  }
  child = *pid;
  int status = 0;
  while (::waitpid(*pid, &status, 0) < 0 && errno == EINTR) {
  }
  child = 0;
  if (WIFEXITED(status)) {
    return static_cast<ExitCode>(WEXITSTATUS(status));
  }
  const int signal = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
  if (signal == SIGINT) {
    return kExitInterrupted;
  }
  Output::error("shell: the command was ended by signal " + std::to_string(signal));
  return kExitFailed;
}

}  // namespace velctl
