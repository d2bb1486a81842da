// Tests that run once inside each kind of handler.

#ifndef TESTS_DBUS_FROM_A_HANDLER_H
#define TESTS_DBUS_FROM_A_HANDLER_H

#include <functional>
#include <memory>
#include <string>
#include <utility>

#include "tests/dbus/dbus_test.h"

namespace dbustest {

enum class Kind { kEvent, kBroadcast, kCompletion, kDeath };

inline std::string nameOf(const testing::TestParamInfo<Kind>& info) {
  switch (info.param) {
    case Kind::kEvent:
      return "Event";
    case Kind::kBroadcast:
      return "Broadcast";
    case Kind::kCompletion:
      return "Completion";
    default:
      return "Death";
  }
}

constexpr Kind kEachKind[] = {Kind::kEvent, Kind::kBroadcast, Kind::kCompletion, Kind::kDeath};

class FromAHandler : public DBusTest, public testing::WithParamInterface<Kind> {
 protected:
  // Makes a handler of this kind run the action; false when it has not come back in time.
  bool run(const std::function<void()>& action) {
    const auto started = std::make_shared<Gate>();
    const auto finished = std::make_shared<Gate>();
    start([action, started, finished] {
      // The action may give up what start() uses.
      started->wait();
      action();
      finished->open();
    });
    started->open();
    return finished->wait();
  }

  // The same, without waiting for the action's end.
  void start(std::function<void()> action) {
    const auto once = std::make_shared<std::function<void()>>(std::move(action));
    const auto handler = [once](const MessageRef&) {
      if (const auto now = std::exchange(*once, nullptr)) {
        now();
      }
    };
    switch (GetParam()) {
      case Kind::kEvent:
        trigger_->addEventListener("triggered", lastingListener(handler), QXBUS_SECURITY_ANY_USER);
        triggerService_->emit("triggered", {});
        break;
      case Kind::kBroadcast: {
        const std::string name = newBroadcastName();
        manager().addEventListener(name, lastingListener(handler), QXBUS_SECURITY_ANY_USER);
        triggerService_->host().broadcast(name, {});
        break;
      }
      case Kind::kCompletion:
        trigger_->callWithReply(messageTo(*trigger_, "echo"), handler, 10000);
        break;
      case Kind::kDeath:
        trigger_->setDeathCallback([handler] { handler(nullptr); });
        triggerService_.reset();
        break;
    }
  }

  // The interface on which the handler runs; empty it inside one to give up the last reference.
  ProxyRef& trigger() { return trigger_; }

 private:
  std::unique_ptr<TestService> triggerService_ = std::make_unique<TestService>("trigger");
  ProxyRef trigger_ = proxyOf("trigger");
};

}  // namespace dbustest

#endif  // TESTS_DBUS_FROM_A_HANDLER_H
