// The client's side of one instance of a service, for programs that pass requests on: calls with
// any arguments, every event, and the end of the instance, in the order in which they come.
//
// THREADS   Any thread may call any member, but not inside a handler or an answer. These run one at
// a
//           time on the thread that reads the connection, and must be quick. The answer to a call
//           that cannot be sent runs inside call().
// ORDER     Of an event and a reply that are read at once, the event comes first.

#ifndef BUS_DBUS_SERVICE_CLIENT_H
#define BUS_DBUS_SERVICE_CLIENT_H

#include <functional>
#include <memory>
#include <string>

#include "base/result.h"
#include "bus/dbus/value.h"

namespace qxbus {

struct ServiceReply {
  enum class Kind {
    kReturn,
    kError,         // the service's own, or of the bus in its place; text: its words
    kDisconnected,  // the service has gone, before or while it worked on the call; text: the reason
  };
  Kind kind = Kind::kDisconnected;
  Values values;
  std::string text;
};

class ServiceClient {
 public:
  struct Handlers {
    // An event of this instance. Broadcasts of others are not among them.
    std::function<void(const std::string& name, bool isBroadcast, const Values& values)> onEvent;
    // The instance has gone. Called once, after the answers to its calls.
    std::function<void()> onGone;
  };

  // Finds the instance that runs now. Events come from now on.
  //
  // address    a D-Bus address or a direct one; empty stands for QXBUS_ADDRESS, else the session
  // bus returns    a failure when there is none, or it runs as another user than this one or root
  static base::Result<std::unique_ptr<ServiceClient>> attach(const std::string& address,
                                                             const std::string& service,
                                                             Handlers handlers);
  // No handler and no answer runs any more when it returns.
  ~ServiceClient();

  ServiceClient(const ServiceClient&) = delete;
  ServiceClient& operator=(const ServiceClient&) = delete;

  // Waits without limit for the reply.
  void call(const std::string& method, const Values& arguments,
            std::function<void(ServiceReply)> answer);

 private:
  class Core;
  explicit ServiceClient(std::shared_ptr<Core> core);

  const std::shared_ptr<Core> core_;
};

}  // namespace qxbus

#endif  // BUS_DBUS_SERVICE_CLIENT_H
