// One run of velctl: its waiting for the service, which a signal and --timeout end.

#ifndef VEL_APPS_LOCAL_VELCTL_RUN_SESSION_H
#define VEL_APPS_LOCAL_VELCTL_RUN_SESSION_H

#include <algorithm>
#include <chrono>
#include <functional>
#include <list>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>

#include "platform/mutex.h"
#include "vel/apps/local/velctl/output/interruption.h"
#include "vel/apps/local/velctl/output/output.h"
#include "vel/apps/local/velctl/run/inbox.h"
#include "vel/apps/local/velctl/run/output_end.h"
#include "vel/apps/local/velctl/run/progress.h"
#include "vel/client/client.h"

namespace velctl {

// Thrown where the time of --timeout ends a wait.
class TimeOver {};

// A call on another thread, which is left to itself when its result is not waited for.
template <typename Value>
class Background {
 public:
  explicit Background(vel::Task<Value> task) : task_(std::move(task)) {}
  ~Background() {
    if (!task_.isReady()) {
      task_.detach();
    }
  }
  Background(const Background&) = delete;
  Background& operator=(const Background&) = delete;

  const vel::Task<Value>& task() const { return task_; }

 private:
  vel::Task<Value> task_;
};

// THREADS   The main thread, if no other is named. Functions that are called on another one may run
//           on after the command has ended: they hold all that they use.
class Session {
 public:
  using Clock = std::chrono::steady_clock;

  // What is waited for, for the progress line.
  struct Activity {
    std::string text;
    std::chrono::seconds limit{0};
  };

  // timeout: of the whole command. Constructs the Interruption; throws Failure.
  Session(const Output& output, std::optional<std::chrono::milliseconds> timeout);

  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  const Output& output() const { return output_; }
  std::optional<std::chrono::milliseconds> timeout() const { return timeout_; }
  // The address of --bus; empty without it.
  const std::string& bus() const { return bus_; }
  void setBus(const std::string& address) { bus_ = address; }

  using Listeners = std::list<std::function<void()>>;
  // Calls a function when the command is to stop, on another thread, at once if it is already;
  // until the result ends.
  class [[nodiscard]] StopListener {
   public:
    StopListener(Session& session, std::function<void()> onStop);
    ~StopListener();
    StopListener(const StopListener&) = delete;
    StopListener& operator=(const StopListener&) = delete;

   private:
    Session& session_;
    const Listeners::iterator entry_;
  };

  // The next item; nullopt when the time has passed, which may be never. Throws Interrupted,
  // OutputClosed and TimeOver.
  template <typename Item>
  std::optional<Item> next(Inbox<Item>& inbox, Progress& progress,
                           Clock::time_point until = Clock::time_point::max()) {
    const StopListener listener(*this, [&inbox] { inbox.stop(); });
    for (;;) {
      const Clock::time_point wake = wakeTime(progress, until);
      std::optional<Item> item = inbox.next(wake);
      if (item) {
        progress.erase();
        return item;
      }
      throwIfStopped();
      progress.update();
      if (Clock::now() >= until) {
        return std::nullopt;
      }
    }
  }

  // Calls an operation of the client on another thread, and waits for its result.
  template <typename Operation>
  auto call(const Activity& activity, Operation operation)
      -> std::invoke_result_t<Operation, const vel::Client&> {
    using Result = std::invoke_result_t<Operation, const vel::Client&>;
    return callResult<typename Result::value_type>(activity, std::move(operation));
  }

  // Calls a function that returns a vel::Result on another thread, and waits for its result.
  template <typename Function>
  auto await(const Activity& activity, Function function) -> std::invoke_result_t<Function> {
    using Result = std::invoke_result_t<Function>;
    return awaitResult<typename Result::value_type>(activity, std::move(function));
  }

  // From now on the command also stops when its data has no reader any longer: next() throws
  // OutputClosed then.
  void stopWithOutput();

  // Throws Interrupted, OutputClosed or TimeOver after a request to stop.
  void throwIfStopped() const;
  // When --timeout ends the command.
  Clock::time_point deadline() const { return deadline_; }

 private:
  struct Ended {};
  enum class Stop { kNone, kInterrupted, kOutputClosed };

  // Compiled once for each type of result, and not for each of the many functions.
  template <typename Value>
  vel::Result<Value> callResult(const Activity& activity,
                                std::function<vel::Result<Value>(const vel::Client&)> operation) {
    return awaitResult<Value>(
        activity, [operation = std::move(operation)] { return operation(vel::Client()); });
  }
  template <typename Value>
  vel::Result<Value> awaitResult(const Activity& activity,
                                 std::function<vel::Result<Value>()> function) {
    const auto result = std::make_shared<std::optional<vel::Result<Value>>>();
    const vel::Result<void> end = awaitEnd(
        activity, [result, function = std::move(function)] { result->emplace(function()); });
    return end ? **result : vel::unexpected<vel::Error>(end.error());
  }
  // Fails when there is no thread.
  vel::Result<void> awaitEnd(const Activity& activity, std::function<void()> function);
  Listeners::iterator addListener(std::function<void()> onStop) QX_EXCLUDES(mutex_);
  void removeListener(Listeners::iterator entry) QX_EXCLUDES(mutex_);
  void stop(Stop reason) QX_EXCLUDES(mutex_);
  Clock::time_point wakeTime(const Progress& progress, Clock::time_point until) const;

  const Output& output_;
  const std::optional<std::chrono::milliseconds> timeout_;
  std::string bus_;
  const Clock::time_point deadline_;
  mutable platform::Mutex mutex_;
  Stop stopped_ QX_GUARDED_BY(mutex_) = Stop::kNone;
  Listeners listeners_ QX_GUARDED_BY(mutex_);
  // The last: their threads use the others.
  Interruption interruption_;
  std::unique_ptr<OutputEnd> outputEnd_;
};

}  // namespace velctl

#endif  // VEL_APPS_LOCAL_VELCTL_RUN_SESSION_H
