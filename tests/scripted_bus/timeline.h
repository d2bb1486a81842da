// The events of a test, in order: every call of the bus, every log line, every pause, on every
// thread. A test waits for an event instead of a time, and can run code or stop a thread at the
// moment of an event.
//
// An event is one line of text, such as
//   make connectVm()
//   call connectVm(int32 7, int32 1, int32 2, int32 3) within 2000 ms
//   Debug ConnectVm: vmId:win11, ...
// The headers of the other doubles list their events. The start of its text selects an event.

#ifndef TESTS_SCRIPTED_BUS_TIMELINE_H
#define TESTS_SCRIPTED_BUS_TIMELINE_H

#include <chrono>
#include <functional>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "platform/mutex.h"

namespace scripted {

// Time limit for an event that must happen.
constexpr std::chrono::seconds kLongEnough{30};
// Time limit for an event that must not happen.
constexpr std::chrono::milliseconds kAMoment{25};

// Stops the threads that reach it until open() or its destructor opens it.
class Gate {
 public:
  Gate();
  Gate(Gate&&) = default;
  Gate& operator=(Gate&&) = delete;
  ~Gate();

  // Whether a thread reaches it within kLongEnough.
  [[nodiscard]] bool isReached() const;
  void open();

  // The function that stops a thread. It has no time limit: a lock that the thread holds by mistake
  // would be released just when a test stops waiting for it.
  std::function<void()> pass() const;

 private:
  struct State {
    platform::Mutex mutex;
    platform::Condition changed;
    bool isOpen QX_GUARDED_BY(mutex) = false;
    bool isReached QX_GUARDED_BY(mutex) = false;
  };
  std::shared_ptr<State> state_;
};

class Timeline {
 public:
  using Thread = std::thread::id;

  static Timeline& the();

  // Records an event, then runs its actions on this thread.
  void record(const std::string& text);
  // Runs the actions of an event that is not recorded, because no test lists it.
  void trigger(const std::string& text);

  // Runs action on the thread of each event with this start, right after the event.
  void when(const std::string& start, std::function<void()> action);
  // Stops the threads of these events.
  [[nodiscard]] Gate hold(const std::string& start);

  std::vector<std::string> all() const;
  std::vector<std::string> startingWith(const std::string& start) const;
  std::vector<std::string> of(Thread thread) const;
  int count(const std::string& start) const;

  // Whether so many of these events happen within kLongEnough.
  [[nodiscard]] bool waitFor(const std::string& start, int times = 1) const;
  [[nodiscard]] bool waitFor(Thread thread, const std::string& start, int times = 1) const;
  // The same within kAMoment, for events that must not happen.
  [[nodiscard]] bool happensSoon(const std::string& start, int times = 1) const;
  [[nodiscard]] bool happensSoon(Thread thread, const std::string& start) const;

  // Clears the events and keeps the actions.
  void clear();
  void reset();

 private:
  struct Event {
    std::string text;
    Thread thread;
  };

  std::vector<std::function<void()>> actionsLocked(const std::string& text) const
      QX_REQUIRES(mutex_);
  // thread  null stands for all
  bool wait(std::chrono::milliseconds limit, const Thread* thread, const std::string& start,
            int times) const;
  int countLocked(const Thread* thread, const std::string& start) const QX_REQUIRES(mutex_);

  mutable platform::Mutex mutex_;
  mutable platform::Condition changed_;
  std::vector<Event> events_ QX_GUARDED_BY(mutex_);
  std::vector<std::pair<std::string, std::function<void()>>> actions_ QX_GUARDED_BY(mutex_);
};

// Runs a function on a thread of its own. The destructor waits for the function.
template <typename Result>
class Background {
 public:
  explicit Background(std::function<Result()> function)
      : task_(std::move(function)), result_(task_.get_future()), thread_(std::ref(task_)) {}
  Background(const Background&) = delete;
  Background& operator=(const Background&) = delete;
  ~Background() { thread_.join(); }

  Timeline::Thread id() const { return thread_.get_id(); }
  // Whether the function has returned, within kLongEnough.
  [[nodiscard]] bool isDone() const {
    return result_.wait_for(kLongEnough) == std::future_status::ready;
  }
  // The same within kAMoment, for functions that must not return.
  [[nodiscard]] bool isDoneSoon() const {
    return result_.wait_for(kAMoment) == std::future_status::ready;
  }
  Result result() { return result_.get(); }

 private:
  std::packaged_task<Result()> task_;
  std::future<Result> result_;
  std::thread thread_;
};

template <typename Function>
Background(Function) -> Background<std::invoke_result_t<Function>>;

}  // namespace scripted

#endif  // TESTS_SCRIPTED_BUS_TIMELINE_H
