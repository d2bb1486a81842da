#include "base/self_pipe.h"

#include <cerrno>

#include <fcntl.h>
#include <unistd.h>

namespace base {

SelfPipe::SelfPipe() {
  // POSIX of 2008 has no pipe2().
  if (::pipe(ends_) != 0) {
    ends_[0] = ends_[1] = -1;
    return;
  }
  for (const int end : ends_) {
    ::fcntl(end, F_SETFL, O_NONBLOCK);
    ::fcntl(end, F_SETFD, FD_CLOEXEC);
  }
}

SelfPipe::~SelfPipe() {
  if (isOpen()) {
    ::close(ends_[0]);
    ::close(ends_[1]);
  }
}

void SelfPipe::wake() const {
  const int before = errno;
  const char byte = 0;
  [[maybe_unused]] const ssize_t written = ::write(ends_[1], &byte, 1);
  errno = before;
}

void SelfPipe::drain() const {
  char bytes[64];
  while (::read(ends_[0], bytes, sizeof bytes) > 0) {
  }
}

}  // namespace base
