#include "tests/scripted_bus/timeline.h"

#include <algorithm>

namespace scripted {
namespace {

bool startsWith(const std::string& text, const std::string& start) {
  return text.compare(0, start.size(), start) == 0;
}

}  // namespace

Gate::Gate() : state_(std::make_shared<State>()) {}

Gate::~Gate() {
  if (state_) {
    open();
  }
}

bool Gate::isReached() const {
  const auto deadline = platform::Condition::Clock::now() + kLongEnough;
  platform::MutexLock lock(state_->mutex);
  while (!state_->isReached && state_->changed.waitUntil(lock, deadline)) {
  }
  return state_->isReached;
}

void Gate::open() {
  const platform::MutexLock lock(state_->mutex);
  state_->isOpen = true;
  state_->changed.notifyAll();
}

std::function<void()> Gate::pass() const {
  return [state = state_] {
    platform::MutexLock lock(state->mutex);
    state->isReached = true;
    state->changed.notifyAll();
    while (!state->isOpen) {
      state->changed.wait(lock);
    }
  };
}

// Never destroyed: destructors of other statics may still log.
Timeline& Timeline::the() {
  static auto* const timeline = new Timeline;
  return *timeline;
}

void Timeline::record(const std::string& text) {
  std::vector<std::function<void()>> actions;
  {
    const platform::MutexLock lock(mutex_);
    events_.push_back({text, std::this_thread::get_id()});
    actions = actionsLocked(text);
    changed_.notifyAll();
  }
  for (const std::function<void()>& action : actions) {
    action();
  }
}

void Timeline::trigger(const std::string& text) {
  std::vector<std::function<void()>> actions;
  {
    const platform::MutexLock lock(mutex_);
    actions = actionsLocked(text);
  }
  for (const std::function<void()>& action : actions) {
    action();
  }
}

std::vector<std::function<void()>> Timeline::actionsLocked(const std::string& text) const {
  std::vector<std::function<void()>> actions;
  for (const auto& [start, action] : actions_) {
    if (startsWith(text, start)) {
      actions.push_back(action);
    }
  }
  return actions;
}

void Timeline::when(const std::string& start, std::function<void()> action) {
  const platform::MutexLock lock(mutex_);
  actions_.emplace_back(start, std::move(action));
}

Gate Timeline::hold(const std::string& start) {
  Gate gate;
  when(start, gate.pass());
  return gate;
}

std::vector<std::string> Timeline::all() const {
  return startingWith("");
}

std::vector<std::string> Timeline::startingWith(const std::string& start) const {
  const platform::MutexLock lock(mutex_);
  std::vector<std::string> texts;
  for (const Event& event : events_) {
    if (startsWith(event.text, start)) {
      texts.push_back(event.text);
    }
  }
  return texts;
}

std::vector<std::string> Timeline::of(Thread thread) const {
  const platform::MutexLock lock(mutex_);
  std::vector<std::string> texts;
  for (const Event& event : events_) {
    if (event.thread == thread) {
      texts.push_back(event.text);
    }
  }
  return texts;
}

int Timeline::count(const std::string& start) const {
  const platform::MutexLock lock(mutex_);
  return countLocked(nullptr, start);
}

int Timeline::countLocked(const Thread* thread, const std::string& start) const {
  return static_cast<int>(std::count_if(events_.begin(), events_.end(), [&](const Event& event) {
    return startsWith(event.text, start) && (!thread || event.thread == *thread);
  }));
}

bool Timeline::wait(std::chrono::milliseconds limit, const Thread* thread, const std::string& start,
                    int times) const {
  const auto deadline = platform::Condition::Clock::now() + limit;
  platform::MutexLock lock(mutex_);
  while (countLocked(thread, start) < times && changed_.waitUntil(lock, deadline)) {
  }
  return countLocked(thread, start) >= times;
}

bool Timeline::waitFor(const std::string& start, int times) const {
  return wait(kLongEnough, nullptr, start, times);
}

bool Timeline::waitFor(Thread thread, const std::string& start, int times) const {
  return wait(kLongEnough, &thread, start, times);
}

bool Timeline::happensSoon(const std::string& start, int times) const {
  return wait(kAMoment, nullptr, start, times);
}

bool Timeline::happensSoon(Thread thread, const std::string& start) const {
  return wait(kAMoment, &thread, start, 1);
}

void Timeline::clear() {
  const platform::MutexLock lock(mutex_);
  events_.clear();
}

void Timeline::reset() {
  const platform::MutexLock lock(mutex_);
  events_.clear();
  actions_.clear();
}

}  // namespace scripted
