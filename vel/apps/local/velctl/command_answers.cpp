#include "vel/apps/local/velctl/command_answers.h"

#include <list>
#include <new>
#include <utility>

#include "base/text.h"
#include "platform/mutex.h"
#include "vel/apps/local/velctl/display.h"
#include "vel/apps/local/velctl/service_interface.h"
#include "vel/protocol/events.h"
#include "vel/protocol/names.h"

namespace velctl {
namespace {

// The bus may be calling a listener while it is removed, so none is freed.
QXBusEventCallback* newListener(std::function<void(std::shared_ptr<QXBusMessage>)> handler) {
  static auto* const listeners = new std::list<QXBusEventCallback>;
  listeners->emplace_back().handler = std::move(handler);
  return &listeners->back();
}

std::optional<std::string> bytesAt(QXBusMessage& message, int index) {
  int length = 0;
  unsigned char* const bytes = message.getBytes(index, &length);
  if (!bytes) {
    return std::nullopt;
  }
  std::string copy(reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(length));
  ::operator delete(bytes);
  return copy;
}

}  // namespace

std::string describe(const CommandAnswer& answer) {
  return answer.record ? hexDump(*answer.record) : "an empty answer";
}

Json toJson(const CommandAnswer& answer) {
  Json json = {{"vmNumber", answer.vmNumber}, {"hex", nullptr}, {"text", nullptr}};
  if (answer.record) {
    json["hex"] = base::hexOf(*answer.record);
    json["text"] = jsonText(answer.record->substr(0, answer.record->find('\0')));
  }
  return json;
}

// Shared with the listeners, which outlive the object that made them.
class CommandAnswers::Receiver {
 public:
  explicit Receiver(std::function<void(CommandAnswer)> take) : take_(std::move(take)) {}

  void receive(QXBusMessage& event) {
    const velprotocol::EventCode code{event.getInt32(velprotocol::kEventCode)};
    if (code != velprotocol::EventCode::kCommandAnswer) {
      return;
    }
    const CommandAnswer answer = {event.getUInt32(velprotocol::kEventVm),
                                  bytesAt(event, velprotocol::kEventRecord)};
    const platform::MutexLock lock(mutex_);
    if (take_) {
      take_(answer);
    }
  }

  void stop() {
    const platform::MutexLock lock(mutex_);
    take_ = nullptr;
  }

 private:
  platform::Mutex mutex_;
  std::function<void(CommandAnswer)> take_ QX_GUARDED_BY(mutex_);
};

CommandAnswers::CommandAnswers(std::function<void(CommandAnswer)> take)
    : receiver_(std::make_shared<Receiver>(std::move(take))) {
  if (QXBusSerivceManager* const bus = busManager()) {
    // The bus has no way to remove it.
    bus->addEventListener(
        velprotocol::kBroadcastEvent,
        newListener([receiver = receiver_](const auto& event) { receiver->receive(*event); }),
        QXBUS_SECURITY_SAME_USER_OR_ROOT);
  }
  followService();
}

CommandAnswers::~CommandAnswers() {
  leaveService();
  receiver_->stop();
}

void CommandAnswers::followService() {
  leaveService();
  service_ = serviceInterface();
  if (!service_) {
    return;
  }
  listener_ = newListener([receiver = receiver_](const auto& event) { receiver->receive(*event); });
  service_->addEventListener(velprotocol::kServiceEvent, listener_,
                             QXBUS_SECURITY_SAME_USER_OR_ROOT);
}

void CommandAnswers::leaveService() {
  if (service_) {
    service_->removeEventListener(velprotocol::kServiceEvent, listener_);
    service_ = nullptr;
  }
}

}  // namespace velctl
