#include "bus/dbus/handler_threads.h"

#include <chrono>
#include <thread>

namespace qxbus {
namespace {

constexpr char kDeathThread[] = "qxbus-death";
// Retry interval when no thread could be created.
constexpr std::chrono::milliseconds kThreadRetry{100};

}  // namespace

HandlerThreads::HandlerThreads()
    : events_("qxbus-event"), completions_("qxbus-done"), deaths_(kDeathThread) {}

base::Result<void> HandlerThreads::started() const {
  for (const Worker* const worker : {&events_, &completions_, &deaths_}) {
    if (!worker->started()) {
      return worker->started();
    }
  }
  return {};
}

void HandlerThreads::runDeath(const std::function<void()>& report) {
  if (startDetached(kDeathThread, report)) {
    return;
  }
  deaths_.post([report] {
    while (!startDetached(kDeathThread, report)) {
      std::this_thread::sleep_for(kThreadRetry);
    }
  });
}

}  // namespace qxbus
