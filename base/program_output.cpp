#include "base/program_output.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <system_error>

#include <poll.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include "base/pipe.h"
#include "base/spawning.h"

namespace base {
namespace {

using Clock = std::chrono::steady_clock;

// False at the deadline.
bool readToTheEnd(const Descriptor& from, Clock::time_point deadline, std::string* output) {
  for (;;) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
    constexpr std::chrono::milliseconds::rep kMost = 1000;
    pollfd polled = {from.number(), POLLIN, 0};
    const int ready = ::poll(
        &polled, 1, static_cast<int>(std::clamp<std::chrono::milliseconds::rep>(left, 0, kMost)));
    if (ready <= 0) {
      if (left <= 0) {
        return false;
      }
      continue;
    }
    char bytes[4096];
    const ssize_t count = ::read(from.number(), bytes, sizeof bytes);
    if (count > 0) {
      output->append(bytes, static_cast<std::size_t>(count));
    } else if (count == 0 || errno != EINTR) {
      return true;
    }
  }
}

void endProgram(pid_t pid) {
  ::kill(pid, SIGKILL);
  while (::waitpid(pid, nullptr, 0) < 0 && errno == EINTR) {
  }
}

}  // namespace

Result<std::string> outputOf(const std::vector<std::string>& command,
                             std::chrono::milliseconds limit) {
  Pipe pipe = newPipe();
  if (!pipe.readEnd) {
    return Failed{"no pipe: " + std::generic_category().message(errno)};
  }
  Spawning spawning;
  spawning.readNothing();
  spawning.pass(pipe.writeEnd.number(), STDOUT_FILENO);
  spawning.dropOutput(STDERR_FILENO);
  const Result<pid_t> pid = spawning.run(command);
  pipe.writeEnd = Descriptor();
  if (!pid) {
    return pid.failed();
  }
  std::string output;
  const bool isComplete = readToTheEnd(pipe.readEnd, Clock::now() + limit, &output);
  endProgram(*pid);
  return isComplete ? Result<std::string>(output)
                    : Failed{command.front() + " has not ended in time"};
}

}  // namespace base
