#include "base/self_pipe.h"

#include <cerrno>

#include <fcntl.h>
#include <unistd.h>

namespace base {

SelfPipe::SelfPipe() : pipe_(newPipe()) {
  if (isOpen()) {
    ::fcntl(pipe_.readEnd.number(), F_SETFL, O_NONBLOCK);
    ::fcntl(pipe_.writeEnd.number(), F_SETFL, O_NONBLOCK);
  }
}

void SelfPipe::wake() const {
  const int before = errno;
  const char byte = 0;
  [[maybe_unused]] const ssize_t written = ::write(pipe_.writeEnd.number(), &byte, 1);
  errno = before;
}

void SelfPipe::drain() const {
  char bytes[64];
  while (::read(pipe_.readEnd.number(), bytes, sizeof bytes) > 0) {
  }
}

}  // namespace base
