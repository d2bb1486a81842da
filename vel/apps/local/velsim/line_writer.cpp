#include "vel/apps/local/velsim/line_writer.h"

#include <cerrno>
#include <deque>
#include <stdexcept>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include "base/result.h"
#include "base/text.h"
#include "base/thread.h"
#include "base/would_block.h"
#include "platform/mutex.h"

namespace velsim {
namespace {

// False when the output has failed, for instance because its reader has gone.
bool writeAll(int output, const std::string& text) {
  std::size_t written = 0;
  while (written < text.size()) {
    const ssize_t count = ::write(output, text.data() + written, text.size() - written);
    if (count >= 0) {
      written += static_cast<std::size_t>(count);
    } else if (base::wouldBlock(errno)) {
      // Another program that shares the output has made it non-blocking.
      pollfd polled = {output, POLLOUT, 0};
      ::poll(&polled, 1, -1);
    } else if (errno != EINTR) {
      return false;
    }
  }
  return true;
}

}  // namespace

struct LineWriter::State {
  State(int descriptor, std::string nounOfLine, Report lineOfReport)
      : output(::fcntl(descriptor, F_DUPFD_CLOEXEC, 0)),
        noun(std::move(nounOfLine)),
        report(std::move(lineOfReport)) {}
  ~State() {
    if (output >= 0) {
      ::close(output);
    }
  }
  State(const State&) = delete;
  State& operator=(const State&) = delete;

  void run();
  // The next text to write; empty when everything is written and no more will come.
  std::string next();
  void finish();

  const int output;
  const std::string noun;
  const Report report;

  platform::Mutex mutex;
  platform::Condition changed;
  std::deque<std::string> queue QX_GUARDED_BY(mutex);
  std::size_t queuedBytes QX_GUARDED_BY(mutex) = 0;
  std::size_t dropped QX_GUARDED_BY(mutex) = 0;
  bool isStopping QX_GUARDED_BY(mutex) = false;
  bool isFinished QX_GUARDED_BY(mutex) = false;  // nothing will be written any more
};

LineWriter::LineWriter(int output, std::string noun, Report report)
    : state_(std::make_shared<State>(output, std::move(noun), std::move(report))) {
  base::Result<std::thread> thread =
      base::startThread("velsim output", [state = state_] { state->run(); });
  if (!thread) {
    throw std::runtime_error(thread.reason());
  }
  thread_ = std::move(*thread);
}

LineWriter::~LineWriter() {
  const auto deadline = platform::Condition::Clock::now() + kFlushTime;
  State& state = *state_;
  bool isFinished = false;
  {
    platform::MutexLock lock(state.mutex);
    state.isStopping = true;
    state.changed.notifyAll();
    while (!state.isFinished && state.changed.waitUntil(lock, deadline)) {
    }
    isFinished = state.isFinished;
  }
  if (isFinished) {
    thread_.join();
  } else {
    thread_.detach();
  }
}

void LineWriter::write(std::string lines) {
  State& state = *state_;
  const platform::MutexLock lock(state.mutex);
  if (state.isFinished) {
    return;
  }
  const bool isFull = !state.queue.empty() && state.queuedBytes + lines.size() > kMostQueuedBytes;
  if (isFull || state.dropped > 0) {
    ++state.dropped;
    return;
  }
  state.queuedBytes += lines.size();
  state.queue.push_back(std::move(lines));
  state.changed.notifyAll();
}

void LineWriter::State::run() {
  for (std::string text = next(); !text.empty(); text = next()) {
    if (!writeAll(output, text)) {
      break;
    }
  }
  finish();
}

std::string LineWriter::State::next() {
  platform::MutexLock lock(mutex);
  while (queue.empty() && dropped == 0 && !isStopping) {
    changed.wait(lock);
  }
  if (!queue.empty()) {
    std::string lines = std::move(queue.front());
    queue.pop_front();
    queuedBytes -= lines.size();
    return lines;
  }
  const std::size_t count = std::exchange(dropped, 0);
  if (count == 0) {
    return "";
  }
  const std::string text = base::counted(count, noun) + " dropped while the output was blocked";
  return report ? report(text) : "velsim: " + text + "\n";
}

void LineWriter::State::finish() {
  const platform::MutexLock lock(mutex);
  queue.clear();
  isFinished = true;
  changed.notifyAll();
}

}  // namespace velsim
