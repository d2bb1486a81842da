#include "base/pipe.h"

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

Pipe newPipe() {
  int ends[2] = {-1, -1};
  if (openPipe(ends) != 0) {
    return {};
  }
  for (const int end : ends) {
    ::fcntl(end, F_SETFD, FD_CLOEXEC);
  }
  return {Descriptor(ends[0]), Descriptor(ends[1])};
}

}  // namespace base
