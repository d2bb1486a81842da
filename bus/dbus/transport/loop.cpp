#include "bus/dbus/transport/loop.h"

#include <algorithm>
#include <climits>
#include <new>
#include <utility>

#include "base/memory.h"
#include "base/thread.h"

namespace qxbus {
namespace {

// How long the turn stays free for a caller that is about to call again. Calls in a row are some
// tens of microseconds apart.
constexpr std::chrono::microseconds kRest{500};
// How often the loop's thread looks whether the callers have left the turn free: less and less
// often while they go on. An event that arrives behind the last call waits as long at most.
constexpr std::chrono::microseconds kLongestRest{2000};
// After so many rests with the same thread reading, the loop's thread waits to be woken.
constexpr int kRestsBeforeSleep = 10;

// Events that follow each other faster than this are a stream.
constexpr std::chrono::milliseconds kStream{1};
// How long an event of a stream may wait for others.
constexpr std::chrono::microseconds kGathering{300};
// When fewer have gathered, each event may be an answer to the last one, whose sender now waits,
// too. The next ones are then read at once.
constexpr std::size_t kWorthGathering = 4;
constexpr int kTurnsWithoutGathering = 100;

int pollTimeout(Clock::time_point deadline) {
  if (deadline == Clock::time_point::max()) {
    return -1;
  }
  const Clock::time_point now = Clock::now();
  if (deadline <= now) {
    return 0;
  }
  // Rounded up: a poll that ends before the deadline would be repeated.
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - now).count();
  return static_cast<int>(std::clamp<std::chrono::milliseconds::rep>(left, 0, INT_MAX));
}

// Runs a part of a source's work. Without memory the source ends: what it has read is incomplete.
template <typename Work>
void orAbandon(Loop::Source& source, const Work& work) {
  try {
    work(source);
  } catch (const std::bad_alloc&) {
    source.abandon();
  }
}

}  // namespace

base::Result<std::shared_ptr<Loop>> Loop::start(const char* threadName) {
  std::shared_ptr<Loop> loop(new Loop);
  if (!loop->wake_.isOpen()) {
    return base::Failed{"the system has no pipe left"};
  }
  {
    // Who starts a loop is about to use it.
    const platform::MutexLock lock(loop->mutex_);
    loop->lastTurn_ = Clock::now();
  }
  base::Result<std::thread> thread = base::startThread(threadName, [loop] { loop->runWhenIdle(); });
  if (!thread) {
    return thread.failed();
  }
  // Detached: the last owner of the loop may stand on this very thread.
  thread->detach();
  return loop;
}

void Loop::add(std::shared_ptr<Source> source) {
  {
    const platform::MutexLock lock(mutex_);
    sources_.push_back(std::move(source));
  }
  wake();
}

void Loop::stop() {
  {
    const platform::MutexLock lock(mutex_);
    isStopped_ = true;
    free_.notifyOne();
  }
  wake();
}

void Loop::stopWithLastSource() {
  {
    const platform::MutexLock lock(mutex_);
    isEnding_ = true;
  }
  wake();
}

bool Loop::runUntilFinished(Wait* wait, Clock::time_point deadline) {
  platform::MutexLock lock(mutex_);
  while (!wait->isDone_ && Clock::now() < deadline) {
    if (isTaken_) {
      waiting_.append(*wait);
      wait->changed_.waitUntil(lock, deadline);
      waiting_.remove(*wait);
      continue;
    }
    takeTurn();
    do {
      lock.unlock();
      step(deadline);
      lock.lock();
    } while (!wait->isDone_ && Clock::now() < deadline);
    isTaken_ = false;
    lastTurn_ = Clock::now();
    ++turns_;
  }
  passOn();
  return wait->isDone_;
}

// A caller that waits gets a free turn at once; the loop's thread finds it by itself.
void Loop::passOn() {
  if (isTaken_) {
    return;
  }
  for (Wait* next = waiting_.first(); next; next = waiting_.behind(*next)) {
    if (!next->isDone_) {
      next->changed_.notifyOne();
      return;
    }
  }
  if (isAsleep_) {
    isAsleep_ = false;
    free_.notifyOne();
  }
}

void Loop::takeTurn() {
  isTaken_ = true;
  reader_ = std::this_thread::get_id();
}

void Loop::finish(Wait* wait) {
  const platform::MutexLock lock(mutex_);
  wait->isDone_ = true;
  wait->changed_.notifyOne();
  // The thread that waits may be the one that reads.
  if (isTaken_ && reader_ != std::this_thread::get_id()) {
    wake();
  }
  // The caller is likely to call again: it shall find the turn free.
  lastTurn_ = Clock::now();
}

void Loop::runWhenIdle() {
  platform::MutexLock lock(mutex_);
  unsigned long turnsSeen = 0;
  int rests = 0;
  std::chrono::microseconds rest = kRest;
  while (!isStopped_) {
    const Clock::time_point restEnd = lastTurn_ + kRest;
    if (isTaken_ || !waiting_.empty() || Clock::now() < restEnd) {
      rests = turns_ == turnsSeen && isTaken_ ? rests + 1 : 0;
      rest = turns_ == turnsSeen ? kRest : std::min(2 * rest, kLongestRest);
      turnsSeen = turns_;
      if (rests < kRestsBeforeSleep) {
        free_.waitUntil(lock, std::max(restEnd, Clock::now() + rest));
      } else {
        isAsleep_ = true;
        while (isAsleep_ && !isStopped_) {
          free_.wait(lock);
        }
        isAsleep_ = false;
        rests = 0;
      }
      continue;
    }
    takeTurn();
    lock.unlock();
    eventsRead_ = 0;
    step(Clock::time_point::max());
    const std::size_t events = eventsRead_;
    lock.lock();
    isTaken_ = false;
    passOn();
    if (events > 0) {
      gather(events, lock);
    }
  }
  // Sources hold their loop.
  const std::vector<std::shared_ptr<Source>> ended = std::move(sources_);
  sources_.clear();
  lock.unlock();
}

void Loop::gather(std::size_t events, platform::MutexLock& lock) {
  if (std::exchange(hasGathered_, false) && events < kWorthGathering) {
    turnsToGather_ = kTurnsWithoutGathering;
  }
  const Clock::time_point now = Clock::now();
  const bool isStream = now - lastEvents_ < kStream;
  lastEvents_ = now;
  if (turnsToGather_ > 0) {
    --turnsToGather_;
  } else if (isStream && !isStopped_) {
    hasGathered_ = true;
    free_.waitUntil(lock, now + kGathering);
  }
}

// Notes what to poll, and returns when the next source is due.
Clock::time_point Loop::collect() {
  const platform::MutexLock lock(mutex_);
  sources_.erase(std::remove_if(sources_.begin(), sources_.end(),
                                [](const auto& source) { return source->descriptor() < 0; }),
                 sources_.end());
  if (isEnding_ && !isStopped_ && sources_.empty()) {
    isStopped_ = true;
    // The poll that follows would wait for ever, and the loop's thread may be asleep.
    wake();
    free_.notifyOne();
  }
  polledSources_ = sources_;
  polled_.assign(1, {wake_.readEnd(), POLLIN, {}});
  Clock::time_point due = Clock::time_point::max();
  for (const std::shared_ptr<Source>& source : polledSources_) {
    polled_.push_back({source->descriptor(), source->events(), {}});
    due = std::min(due, source->due());
  }
  return due;
}

// One poll, and what it has brought. Throws nothing: the turn must not be lost.
void Loop::step(Clock::time_point deadline) {
  const Clock::time_point due = base::onceThereIsMemory([this] { return collect(); });
  ::poll(polled_.data(), static_cast<nfds_t>(polled_.size()), pollTimeout(std::min(due, deadline)));
  if (polled_.front().revents != 0) {
    wake_.drain();
  }
  for (std::size_t i = 0; i < polledSources_.size(); ++i) {
    const short ready = polled_[i + 1].revents;
    if (ready != 0) {
      orAbandon(*polledSources_[i], [ready](Source& source) { source.onReady(ready); });
    }
  }
  if (due != Clock::time_point::max() && Clock::now() >= due) {
    for (const std::shared_ptr<Source>& source : polledSources_) {
      if (source->due() <= Clock::now()) {
        orAbandon(*source, [](Source& timed) { timed.onTime(); });
      }
    }
  }
  polledSources_.clear();
}

}  // namespace qxbus
