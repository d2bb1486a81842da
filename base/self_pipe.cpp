#include "base/self_pipe.h"

#include <cerrno>

#include <fcntl.h>
#include <unistd.h>

namespace base {

namespace {

// Closed on exec from the beginning, where the system can do that.
int openPipe(int (&ends)[2]) {
#if defined(__APPLE__)
  return ::pipe(ends);
#else
  return ::pipe2(ends, O_CLOEXEC);
#endif
}

}  // namespace

SelfPipe::SelfPipe() {
  if (openPipe(ends_) != 0) {
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
