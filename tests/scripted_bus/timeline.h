// What happened in a test, in order: every call of the bus, every log line, every pause, on every
// thread. A test waits for an event here instead of waiting for a time, and can run code or stop a
// thread at the moment an event happens.
//
// An event is one line of text, such as
//   make connectVm()
//   call connectVm(int32 7, int32 1, int32 2, int32 3) within 2000 ms
//   Debug ConnectVm: vmId:win11, ...
// The headers of the other doubles list theirs. Events are chosen by how their text starts.

#ifndef TESTS_SCRIPTED_BUS_TIMELINE_H
#define TESTS_SCRIPTED_BUS_TIMELINE_H

#include <chrono>
#include <condition_variable>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace scripted {

// How long a test waits for what must happen.
constexpr std::chrono::seconds kLongEnough{30};
// How long a test looks for what must not happen.
constexpr std::chrono::milliseconds kAMoment{25};

// Stops the threads that come by until it is opened, by open() or by its end.
class Gate {
 public:
  Gate();
  Gate(Gate&&) = default;
  Gate& operator=(Gate&&) = delete;
  ~Gate();

  // Whether a thread has come by, within kLongEnough.
  [[nodiscard]] bool isReached() const;
  void open();

  // What a thread does at the gate. It never gives up: a lock that it holds by mistake would come
  // free just when a test stops waiting for it.
  std::function<void()> pass() const;

 private:
  struct State {
    std::mutex mutex;
    std::condition_variable changed;
    bool isOpen = false;
    bool isReached = false;
  };
  std::shared_ptr<State> state_;
};

class Timeline {
 public:
  using Thread = std::thread::id;

  static Timeline& the();

  // Records an event, then runs what was asked for it, on this thread.
  void add(const std::string& text);
  // Runs what was asked for it without recording it: for steps that no test wants to list.
  void pass(const std::string& text);

  // Runs action on the thread of each event that starts so, right after it.
  void when(const std::string& start, std::function<void()> action);
  // Stops the threads of such events.
  [[nodiscard]] Gate hold(const std::string& start);

  std::vector<std::string> all() const;
  std::vector<std::string> startingWith(const std::string& start) const;
  std::vector<std::string> of(Thread thread) const;
  int count(const std::string& start) const;

  // Whether so many such events have happened, waiting within kLongEnough.
  [[nodiscard]] bool waitFor(const std::string& start, int times = 1) const;
  [[nodiscard]] bool waitFor(Thread thread, const std::string& start, int times = 1) const;
  // The same within a moment: for what must not happen.
  [[nodiscard]] bool happensSoon(const std::string& start, int times = 1) const;
  [[nodiscard]] bool happensSoon(Thread thread, const std::string& start) const;

  // Forgets the events so far, but not what is to be done at later ones.
  void clear();
  void reset();

 private:
  struct Event {
    std::string text;
    Thread thread;
  };

  std::vector<std::function<void()>> actionsLocked(const std::string& text) const;
  template <typename Condition>
  bool wait(std::chrono::milliseconds limit, Condition condition) const;
  int countLocked(const Thread* thread, const std::string& start) const;

  mutable std::mutex mutex_;
  mutable std::condition_variable changed_;
  std::vector<Event> events_;
  std::vector<std::pair<std::string, std::function<void()>>> actions_;
};

// Runs a function on a thread of its own. Its end waits for the function.
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
