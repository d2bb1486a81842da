#include "vel/apps/local/velsim/parent.h"

#include <sstream>
#include <utility>

#include <fcntl.h>

#include "base/printable.h"

namespace velsim {
namespace {

constexpr char kReady[] = "ready\n";

std::string asAnswer(const Control::Answer& given) {
  if (!given) {
    return "error " + base::printable(given.reason()) + '\n';
  }
  std::string text;
  std::istringstream lines(*given);
  for (std::string line; std::getline(lines, line);) {
    text += ' ' + line + '\n';
  }
  return text + "ok\n";
}

}  // namespace

Parent::Parent(int socket, std::function<Control::Answer(const std::string& line)> run,
               std::function<void()> onClosed)
    : run_(std::move(run)), answers_(socket, "answer") {
  // Programs that velsim may run must not keep the socket open.
  ::fcntl(socket, F_SETFD, FD_CLOEXEC);
  answers_.write(kReady);
  reader_.emplace(
      socket, [this](const std::string& line) { answer(line); }, std::move(onClosed));
}

void Parent::answer(const std::string& line) {
  answers_.write(asAnswer(line.size() > LineReader::kLongestLine
                              ? Control::Answer(base::Failed{LineReader::tooLong()})
                              : run_(line)));
}

}  // namespace velsim
