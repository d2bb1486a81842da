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

// An answer does not say to which command it belongs.
struct CommandAnswer {
  unsigned int vmNumber = 0;          // 0: none
  std::optional<std::string> record;  // bytes whose meaning the service and its commands know
};

// What an answer says, without the VM: "an empty answer" or a dump of its bytes.
std::string describe(const CommandAnswer& answer);
Json toJson(const CommandAnswer& answer);

// Listens to the service that runs when it is constructed, until it is destroyed. It listens on the
// bus, because the library's callback does not tell how long a record is.
class CommandAnswers {
 public:
  // take runs on a thread of the bus, at the latest a moment after the end of this object.
  explicit CommandAnswers(std::function<void(CommandAnswer)> take);
  ~CommandAnswers();

  CommandAnswers(const CommandAnswers&) = delete;
  CommandAnswers& operator=(const CommandAnswers&) = delete;

 private:
  std::shared_ptr<QXBusProxyInterface> service_;
  QXBusEventCallback* listener_ = nullptr;
};

}  // namespace velctl

#endif  // VEL_APPS_LOCAL_VELCTL_COMMAND_ANSWERS_H
