#include "vel/apps/local/velctl/run/output_end.h"

#include <cerrno>
#include <iterator>
#include <system_error>
#include <utility>

#include <poll.h>

#include "base/thread.h"
#include "vel/apps/local/velctl/failure.h"

namespace velctl {

OutputEnd::OutputEnd(int descriptor, std::function<void()> onEnd)
    : descriptor_(descriptor), onEnd_(std::move(onEnd)) {
  if (!stop_.isOpen()) {
    throw Failure(kExitFailed, "no pipe: " + std::generic_category().message(errno));
  }
  base::Result<std::thread> thread = base::startThread("output end", [this] { run(); });
  if (!thread) {
    throw Failure(kExitFailed, thread.reason());
  }
  thread_ = std::move(*thread);
  struct sigaction ignore = {};
  ignore.sa_handler = SIG_IGN;
  sigemptyset(&ignore.sa_mask);
  ::sigaction(SIGPIPE, &ignore, &pipeBefore_);
}

OutputEnd::~OutputEnd() {
  stop_.wake();
  thread_.join();
  ::sigaction(SIGPIPE, &pipeBefore_, nullptr);
}

void OutputEnd::run() const {
  // Without events only the end of the reader ends the wait; systems report it in different ways.
  pollfd polled[] = {{descriptor_, 0, 0}, {stop_.readEnd(), POLLIN, 0}};
  while (::poll(polled, std::size(polled), -1) < 0 && errno == EINTR) {
  }
  if ((polled[0].revents & (POLLERR | POLLHUP)) != 0) {
    onEnd_();
  }
}

}  // namespace velctl
