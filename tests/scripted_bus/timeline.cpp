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
  std::unique_lock<std::mutex> lock(state_->mutex);
  return state_->changed.wait_for(lock, kLongEnough, [this] { return state_->isReached; });
}

void Gate::open() {
  const std::lock_guard<std::mutex> lock(state_->mutex);
  state_->isOpen = true;
  state_->changed.notify_all();
}

std::function<void()> Gate::pass() const {
  return [state = state_] {
    std::unique_lock<std::mutex> lock(state->mutex);
    state->isReached = true;
    state->changed.notify_all();
    state->changed.wait(lock, [&state] { return state->isOpen; });
  };
}

// Never destroyed: the library logs as late as the destructors of other statics.
Timeline& Timeline::the() {
  static auto* const timeline = new Timeline;
  return *timeline;
}

void Timeline::add(const std::string& text) {
  std::vector<std::function<void()>> actions;
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    events_.push_back({text, std::this_thread::get_id()});
    actions = actionsLocked(text);
    changed_.notify_all();
  }
  for (const std::function<void()>& action : actions) {
    action();
  }
}

void Timeline::pass(const std::string& text) {
  std::vector<std::function<void()>> actions;
  {
    const std::lock_guard<std::mutex> lock(mutex_);
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
  const std::lock_guard<std::mutex> lock(mutex_);
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
  const std::lock_guard<std::mutex> lock(mutex_);
  std::vector<std::string> texts;
  for (const Event& event : events_) {
    if (startsWith(event.text, start)) {
      texts.push_back(event.text);
    }
  }
  return texts;
}

std::vector<std::string> Timeline::of(Thread thread) const {
  const std::lock_guard<std::mutex> lock(mutex_);
  std::vector<std::string> texts;
  for (const Event& event : events_) {
    if (event.thread == thread) {
      texts.push_back(event.text);
    }
  }
  return texts;
}

int Timeline::count(const std::string& start) const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return countLocked(nullptr, start);
}

int Timeline::countLocked(const Thread* thread, const std::string& start) const {
  return static_cast<int>(std::count_if(events_.begin(), events_.end(), [&](const Event& event) {
    return startsWith(event.text, start) && (!thread || event.thread == *thread);
  }));
}

template <typename Condition>
bool Timeline::wait(std::chrono::milliseconds limit, Condition condition) const {
  std::unique_lock<std::mutex> lock(mutex_);
  return changed_.wait_for(lock, limit, condition);
}

bool Timeline::waitFor(const std::string& start, int times) const {
  return wait(kLongEnough, [&] { return countLocked(nullptr, start) >= times; });
}

bool Timeline::waitFor(Thread thread, const std::string& start, int times) const {
  return wait(kLongEnough, [&] { return countLocked(&thread, start) >= times; });
}

bool Timeline::happensSoon(const std::string& start, int times) const {
  return wait(kAMoment, [&] { return countLocked(nullptr, start) >= times; });
}

bool Timeline::happensSoon(Thread thread, const std::string& start) const {
  return wait(kAMoment, [&] { return countLocked(&thread, start) >= 1; });
}

void Timeline::clear() {
  const std::lock_guard<std::mutex> lock(mutex_);
  events_.clear();
}

void Timeline::reset() {
  const std::lock_guard<std::mutex> lock(mutex_);
  events_.clear();
  actions_.clear();
}

}  // namespace scripted
