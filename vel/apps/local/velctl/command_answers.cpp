#include "vel/apps/local/velctl/command_answers.h"

#include <list>
#include <new>
#include <utility>

#include "vel/apps/local/velctl/text.h"

namespace velctl {
namespace {

constexpr char kService[] = "vel";
constexpr char kServiceEvent[] = "velevent";
constexpr int kWaitForTheBus = -1;
constexpr int kInterfaceMode = 1;

constexpr int kVmAt = 0;
constexpr int kCodeAt = 1;
constexpr int kRecordAt = 2;
constexpr int kCommandAnswer = 66;

// The bus may be calling a listener when that is removed, so none is freed.
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
    json["hex"] = hex(*answer.record);
    json["text"] = jsonText(answer.record->substr(0, answer.record->find('\0')));
  }
  return json;
}

CommandAnswers::CommandAnswers(std::function<void(CommandAnswer)> take) {
  QXBusSerivceManager* const bus = QXBusSerivceManager::initSync(kWaitForTheBus);
  if (!bus) {
    return;
  }
  service_ =
      bus->getServiceProxyInterface(kService, QXBUS_SECURITY_SAME_USER_OR_ROOT, kInterfaceMode);
  if (!service_) {
    return;
  }
  listener_ = newListener([take = std::move(take)](const std::shared_ptr<QXBusMessage>& event) {
    if (event->getInt32(kCodeAt) == kCommandAnswer) {
      take({event->getUInt32(kVmAt), bytesAt(*event, kRecordAt)});
    }
  });
  service_->addEventListener(kServiceEvent, listener_, QXBUS_SECURITY_SAME_USER_OR_ROOT);
}

CommandAnswers::~CommandAnswers() {
  if (service_) {
    service_->removeEventListener(kServiceEvent, listener_);
  }
}

}  // namespace velctl
