#include "tests/processes/output_pipe.h"

#include <cerrno>
#include <cstring>
#include <stdexcept>

#include <fcntl.h>
#include <unistd.h>

namespace processes {

OutputPipe::OutputPipe() {
  if (::pipe(ends_) != 0) {
    throw std::runtime_error(std::string("a pipe: ") + std::strerror(errno));
  }
  for (const int end : ends_) {
    ::fcntl(end, F_SETFD, FD_CLOEXEC);
  }
  ::fcntl(ends_[0], F_SETFL, O_NONBLOCK);
}

OutputPipe::~OutputPipe() {
  closeReadEnd();
  ::close(ends_[1]);
}

void OutputPipe::setBlocking(bool isBlocking) const {
  ::fcntl(ends_[1], F_SETFL, isBlocking ? 0 : O_NONBLOCK);
}

void OutputPipe::fill() const {
  setBlocking(false);
  const std::string much(1024, '.');
  while (::write(ends_[1], much.data(), much.size()) > 0 || ::write(ends_[1], ".", 1) > 0) {
  }
  setBlocking(true);
}

std::string OutputPipe::read() const {
  std::string text;
  char bytes[4096];
  for (;;) {
    const ssize_t count = ::read(ends_[0], bytes, sizeof bytes);
    if (count <= 0) {
      return text;
    }
    text.append(bytes, static_cast<std::size_t>(count));
  }
}

void OutputPipe::closeReadEnd() {
  if (ends_[0] >= 0) {
    ::close(ends_[0]);
    ends_[0] = -1;
  }
}

}  // namespace processes
