#include "vel/apps/local/velsim/line_reader.h"

#include <cerrno>
#include <stdexcept>
#include <system_error>
#include <utility>

#include <poll.h>
#include <unistd.h>

#include "base/result.h"
#include "base/thread.h"
#include "base/would_block.h"

namespace velsim {

LineReader::LineReader(int input, std::function<void(const std::string& line)> onLine,
                       std::function<void()> onEnd)
    : input_(input), onLine_(std::move(onLine)), onEnd_(std::move(onEnd)) {
  if (!stop_.isOpen()) {
    throw std::system_error(errno, std::generic_category(), "no pipe");
  }
  base::Result<std::thread> thread = base::startThread("velsim control", [this] { run(); });
  if (!thread) {
    throw std::runtime_error(thread.reason());
  }
  thread_ = std::move(*thread);
}

LineReader::~LineReader() {
  stop_.wake();
  thread_.join();
}

void LineReader::run() {
  constexpr std::size_t kChunk = 512;
  for (;;) {
    pollfd polled[] = {{input_, POLLIN, 0}, {stop_.readEnd(), POLLIN, 0}};
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
    if (count < 0 && (errno == EINTR || base::wouldBlock(errno))) {
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
  if (onEnd_) {
    onEnd_();
  }
}

std::string LineReader::tooLong() {
  return "line longer than " + std::to_string(kLongestLine) + " bytes";
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
