#include "vel/apps/local/velsim/line_reader.h"

#include <cerrno>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace velsim {

LineReader::LineReader(int input, std::function<void(const std::string& line)> onLine)
    : input_(input), onLine_(std::move(onLine)) {
  if (::pipe(stop_) != 0) {
    throw std::system_error(errno, std::generic_category(), "no pipe");
  }
  for (const int end : stop_) {
    ::fcntl(end, F_SETFD, FD_CLOEXEC);
  }
  thread_ = std::thread([this] { run(); });
}

LineReader::~LineReader() {
  ::close(stop_[1]);
  thread_.join();
  ::close(stop_[0]);
}

void LineReader::run() {
  constexpr std::size_t kChunk = 512;
  for (;;) {
    pollfd polled[] = {{input_, POLLIN, 0}, {stop_[0], POLLIN, 0}};
    if (::poll(polled, std::size(polled), -1) < 0) {
      if (errno == EINTR) {
        continue;
      }
      break;
    }
    if (polled[1].revents != 0) {
      return;
    }
    char bytes[kChunk];
    const ssize_t count = ::read(input_, bytes, sizeof bytes);
    if (count < 0 && (errno == EINTR || errno == EAGAIN)) {
      continue;
    }
    if (count <= 0) {
      break;
    }
    take(bytes, static_cast<std::size_t>(count));
  }
  if (!line_.empty()) {
    finishLine();
  }
}

void LineReader::take(const char* bytes, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) {
    if (bytes[i] == '\n') {
      finishLine();
    } else if (line_.size() <= kLongestLine) {
      line_ += bytes[i];
    }
  }
}

void LineReader::finishLine() {
  const std::string line = std::exchange(line_, {});
  onLine_(line);
}

}  // namespace velsim
