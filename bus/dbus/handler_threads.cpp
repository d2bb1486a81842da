#include "bus/dbus/handler_threads.h"

#include <chrono>
#include <thread>

#include "base/memory.h"

namespace qxbus {
namespace {

// Retry interval when no thread could be created.
constexpr std::chrono::milliseconds kThreadRetry{100};

}  // namespace

HandlerThreads::HandlerThreads()
    : starter_(kDeathThread),
      events_([this](const std::function<void()>& run) { start("qxbus-event", run); }),
      completions_([this](const std::function<void()>& run) { start("qxbus-done", run); }) {}

void HandlerThreads::start(const char* name, const std::function<void()>& task) {
  const auto started = base::onceThereIsMemory([&] { return startDetached(name, task); });
  if (started) {
    return;
  }
  starter_.post(base::onceThereIsMemory([&]() -> std::function<void()> {
    return [name, task] {
      while (!base::onceThereIsMemory([&] { return startDetached(name, task); })) {
        std::this_thread::sleep_for(kThreadRetry);
      }
    };
  }));
}

}  // namespace qxbus
