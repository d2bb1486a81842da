// Operations of vel::Client that take their time, on a thread of their own.
//
//   auto search = client.startSharedPrinterSearch("10.0.0.7");
//   ...
//   search.cancel();
//   auto printers = search.get();

#ifndef VEL_CLIENT_TASK_H
#define VEL_CLIENT_TASK_H

#include <chrono>
#include <exception>
#include <functional>
#include <future>
#include <memory>
#include <thread>
#include <utility>

#include "base/thread.h"
#include "vel/client/error.h"
#include "vel/client/executor.h"
#include "vel/client/internal/task_end.h"

namespace vel {
inline namespace VEL_CLIENT_VARIANT {

// The result of an operation that another thread calls. The thread ends with the operation and
// takes no signals.
//
// THREADS   One thread at a time uses a task; cancel() may be called on any.
template <typename Value>
class [[nodiscard]] Task {
 public:
  // Receives the result where its executor runs it, otherwise on the task's thread, where it must
  // not throw; here when there is no thread. Not called for an operation that throws.
  using Done = std::function<void(const Result<Value>&)>;
  using Cancel = std::function<Result<void>()>;

  // Calls the operation.
  //
  // cancel     asks the service to end the operation early; empty: it cannot
  // done       may be empty
  Task(std::function<Result<Value>()> operation, Cancel cancel, Done done, Executor executor)
      : cancel_(std::move(cancel)) {
    auto promise = std::make_shared<std::promise<Result<Value>>>();
    result_ = promise->get_future().share();
    const auto finish = [promise, end = end_, done = std::move(done),
                         executor = std::move(executor),
                         result = result_](const std::function<Result<Value>()>& produce) {
      try {
        Result<Value> produced = produce();
        end->publish([&] { promise->set_value(std::move(produced)); });
      } catch (...) {
        end->publish([&] { promise->set_exception(std::current_exception()); });
        return;
      }
      if (!done) {
        return;
      }
      if (executor) {
        executor([done, result] { done(result.get()); });
      } else {
        done(result.get());
      }
    };
    base::Result<std::thread> started = base::startThread(
        "vel-task", [operation = std::move(operation), finish] { finish(operation); });
    if (started) {
      thread_ = std::move(*started);
    } else {
      finish([&]() -> Result<Value> {
        return unexpected<Error>(Error(ErrorKind::kNoThread, "", started.reason()));
      });
    }
  }

  Task(Task&&) noexcept = default;
  // Ends the earlier one, as the destructor does.
  Task& operator=(Task&& other) noexcept {
    if (this != &other) {
      finish();
      cancel_ = std::move(other.cancel_);
      result_ = std::move(other.result_);
      end_ = std::move(other.end_);
      thread_ = std::move(other.thread_);
    }
    return *this;
  }
  // Cancels the operation where it can be, and waits for its end and for done without an executor.
  ~Task() { finish(); }

  // Leaves the operation to itself, neither cancelled nor waited for: for a program that ends. The
  // callback still receives the result.
  void detach() {
    if (thread_.joinable()) {
      thread_.detach();
    }
  }

  // Waits for the result. Throws what the operation has thrown.
  const Result<Value>& get() const { return result_.get(); }

  // For programs that wait for several futures, or share one.
  const std::shared_future<Result<Value>>& future() const { return result_; }

  // Whether the result is there within so long a time.
  bool isReady(std::chrono::milliseconds within = std::chrono::milliseconds(0)) const {
    return end_->comesWithin(within);
  }

  // Whether the service can end the operation early.
  bool canCancel() const { return cancel_ != nullptr; }

  // Asks the service to end the operation, which then returns what it has. Fails when the service
  // has not confirmed, and when it cannot end the operation. Does nothing after the end, nor to an
  // operation that still waits for calls of other threads: isReady() shows it.
  Result<void> cancel() const {
    if (isReady()) {
      return {};
    }
    return cancel_ ? cancel_() : cannotEnd();
  }

  // The same without waiting, for threads that must not: another thread asks the service until the
  // operation has ended, also when the task has gone. Fails when the service cannot end the
  // operation, and when there is no thread.
  Result<void> stop() const {
    if (isReady()) {
      return {};
    }
    if (!cancel_) {
      return cannotEnd();
    }
    base::Result<std::thread> started = base::startThread(
        "vel-task", [cancel = cancel_, end = end_] { cancelUntil(*end, cancel); });
    if (!started) {
      return unexpected<Error>(Error(ErrorKind::kNoThread, "", started.reason()));
    }
    started->detach();
    return {};
  }

 private:
  void finish() {
    if (!thread_.joinable()) {
      return;
    }
    if (thread_.get_id() == std::this_thread::get_id()) {
      // Inside its own done.
      thread_.detach();
      return;
    }
    if (cancel_) {
      cancelUntil(*end_, cancel_);
    }
    thread_.join();
  }

  // The service does not see an operation that waits for other calls, so it is asked again.
  static void cancelUntil(internal::TaskEnd& end, const Cancel& cancel) {
    while (!end.comesWithin(std::chrono::milliseconds(0))) {
      static_cast<void>(cancel());
      if (end.comesWithin(kBetweenCancels)) {
        break;
      }
    }
  }

  static Result<void> cannotEnd() {
    return unexpected<Error>(
        Error(ErrorKind::kRefusedArgument, "", "the service cannot end this operation early"));
  }

  static constexpr std::chrono::milliseconds kBetweenCancels{100};

  Cancel cancel_;
  std::shared_future<Result<Value>> result_;
  std::shared_ptr<internal::TaskEnd> end_ = std::make_shared<internal::TaskEnd>();
  std::thread thread_;
};

}  // namespace VEL_CLIENT_VARIANT
}  // namespace vel

#endif  // VEL_CLIENT_TASK_H
