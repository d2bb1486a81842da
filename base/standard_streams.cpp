#include "base/standard_streams.h"

#include <cerrno>
#include <initializer_list>

#include <fcntl.h>
#include <unistd.h>

namespace base {

void openClosedStandardStreams() {
  // The direction that is not used fails as a closed descriptor does.
  constexpr int kModes[] = {O_WRONLY, O_RDONLY, O_WRONLY};
  for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (::fcntl(descriptor, F_GETFD) < 0 && errno == EBADF) {
      // The lowest free number, which is this one.
      ::open("/dev/null", kModes[descriptor]);
    }
  }
}

}  // namespace base
