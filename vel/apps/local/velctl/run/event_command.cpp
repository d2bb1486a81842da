#include "vel/apps/local/velctl/run/event_command.h"

#include <cerrno>
#include <memory>
#include <system_error>
#include <utility>

#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include "base/pipe.h"
#include "base/spawning.h"
#include "vel/apps/local/velctl/output/printable_json.h"
#include "vel/apps/local/velctl/output/text_forms.h"

namespace velctl {
namespace {

// As far as the command reads.
void writeAll(const base::Descriptor& to, const std::string& text) {
  std::size_t written = 0;
  while (written < text.size()) {
    const ssize_t count = ::write(to.number(), text.data() + written, text.size() - written);
    if (count < 0 && errno != EINTR) {
      return;
    }
    written += count > 0 ? static_cast<std::size_t>(count) : 0;
  }
}

// What is wrong with the end of a program; empty for nothing.
std::string faultIn(int state) {
  if (WIFSIGNALED(state)) {
    return "was ended by signal " + std::to_string(WTERMSIG(state));
  }
  const int status = WEXITSTATUS(state);
  return status == 0 ? "" : "has ended with exit status " + std::to_string(status);
}

}  // namespace

void EventCommand::run(const Json& event) const {
  const auto report = [this](const std::string& fault) {
    Output::error("the command " + printableInQuotes(command_) + ' ' + fault);
  };
  base::Pipe pipe = base::newPipe();
  if (!pipe.readEnd) {
    report("was not run: " + std::generic_category().message(errno));
    return;
  }
  base::Spawning spawning;
  spawning.pass(pipe.readEnd.number(), STDIN_FILENO);
  spawning.pass(session_.output().descriptor(), STDOUT_FILENO);
  const base::Result<pid_t> pid = spawning.run({"/bin/sh", "-c", command_});
  pipe.readEnd = base::Descriptor();
  if (!pid) {
    report("was not run: " + pid.reason());
    return;
  }
  // Shared, because functions are copied.
  const auto input = std::make_shared<base::Descriptor>(std::move(pipe.writeEnd));
  // The command may show it on the terminal.
  const std::string text =
      printableJson(event.dump(-1, ' ', false, Json::error_handler_t::replace)) + '\n';
  const auto end = session_.await({}, [input, text, pid = *pid]() -> vel::Result<int> {
    writeAll(*input, text);
    *input = base::Descriptor();
    int state = 0;
    while (::waitpid(pid, &state, 0) < 0 && errno == EINTR) {
    }
    return state;
  });
  const std::string fault = end ? faultIn(*end) : "was not waited for: " + end.error().text();
  if (!fault.empty()) {
    report(fault);
  }
}

}  // namespace velctl
