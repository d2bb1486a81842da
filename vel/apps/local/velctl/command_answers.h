// Answers to service commands (event 66).

#ifndef VEL_APPS_LOCAL_VELCTL_COMMAND_ANSWERS_H
#define VEL_APPS_LOCAL_VELCTL_COMMAND_ANSWERS_H

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "bus/qxbus.h"
#include "vel/apps/local/velctl/output.h"

namespace velctl {

// An answer does not identify its command.
struct CommandAnswer {
  unsigned int vmNumber = 0;          // 0: no VM
  std::optional<std::string> record;  // bytes whose meaning the service and its commands define
};

// An answer without the VM: "an empty answer" or a dump of its bytes.
std::string describe(const CommandAnswer& answer);
Json toJson(const CommandAnswer& answer);

// Listens on the bus, because the library's callback does not pass the length of a record. Takes
// the events of the service, and broadcast ones, as the library does.
class CommandAnswers {
 public:
  // take runs on threads of the bus, not after the end of this object.
  explicit CommandAnswers(std::function<void(CommandAnswer)> take);
  ~CommandAnswers();

  CommandAnswers(const CommandAnswers&) = delete;
  CommandAnswers& operator=(const CommandAnswers&) = delete;

  // Listens to the service that runs now, instead of an earlier one.
  void followService();

 private:
  class Receiver;

  void leaveService();

  std::shared_ptr<Receiver> receiver_;
  std::shared_ptr<QXBusProxyInterface> service_;
  QXBusEventCallback* listener_ = nullptr;
};

}  // namespace velctl

#endif  // VEL_APPS_LOCAL_VELCTL_COMMAND_ANSWERS_H
