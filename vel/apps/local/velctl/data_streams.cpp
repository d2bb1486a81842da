#include "vel/apps/local/velctl/data_streams.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include <fcntl.h>
#include <unistd.h>

#include "vel/apps/local/velctl/failure.h"

namespace velctl {

int reserveStandardOutput() {
  const int data = ::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
  std::fflush(stdout);
  const int nowhere = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
  // Without it the lines go where messages go: never between data.
  ::dup2(nowhere >= 0 ? nowhere : STDERR_FILENO, STDOUT_FILENO);
  if (nowhere >= 0) {
    ::close(nowhere);
  }
  return data;
}

std::string readStandardInput() {
  std::string text;
  for (;;) {
    char bytes[4096];
    const ssize_t count = ::read(STDIN_FILENO, bytes, sizeof bytes);
    if (count == 0) {
      return text;
    }
    if (count > 0) {
      text.append(bytes, static_cast<std::size_t>(count));
    } else if (errno != EINTR) {
      throw Failure(kExitUsage, std::string("reading standard input: ") + std::strerror(errno));
    }
  }
}

std::string textOrStandardInput(const std::string& text) {
  if (text != "-") {
    return text;
  }
  std::string read = readStandardInput();
  while (!read.empty() && read.back() == '\n') {
    read.pop_back();
  }
  return read;
}

}  // namespace velctl
