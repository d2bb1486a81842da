// One running instance of a service, bound to its unique name on one connection: it never reaches
// a later instance, and a signal of another sender is no event of it.

#ifndef BUS_DBUS_SERVICE_HANDLE_H
#define BUS_DBUS_SERVICE_HANDLE_H

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "base/result.h"
#include "bus/dbus/handler_threads.h"
#include "bus/dbus/link.h"
#include "bus/dbus/listeners.h"
#include "bus/qxbus.h"
#include "platform/mutex.h"

namespace qxbus {

class ServiceHandle : public std::enable_shared_from_this<ServiceHandle> {
 public:
  ServiceHandle(std::shared_ptr<HandlerThreads> threads, std::shared_ptr<Link> link,
                std::string service);
  ~ServiceHandle();

  ServiceHandle(const ServiceHandle&) = delete;
  ServiceHandle& operator=(const ServiceHandle&) = delete;

  // Finds the instance that runs now. Fails when there is none or it is refused.
  base::Result<void> attach(QXBusSecurityFlags flags, Clock::time_point deadline);

  std::shared_ptr<QXBusMessage> call(QXBusMessage& message, int timeoutMs);
  void call(QXBusMessage& message, int timeoutMs,
            std::function<void(std::shared_ptr<QXBusMessage>)> done);

  void setDeathCallback(std::function<void()> callback);
  void addEventListener(const std::string& name, QXBusEventCallback* listener,
                        QXBusSecurityFlags flags);
  Listeners& listeners() { return listeners_; }

  // For the client, which reads the connection.
  bool isOn(const Link& link) const { return &link == link_.get(); }
  bool sends(std::string_view sender, std::string_view path, std::string_view interface) const;
  void ownerChanged(std::string_view busName, std::string_view from, std::string_view to);
  void connectionLost() { reportDeath(); }

 private:
  base::Result<std::string> encode(QXBusMessage& message, wire::MessageWriter* call) const;
  void reportDeath();
  // To be called on a thread of its own; null when nothing is left to be called.
  std::function<void()> takeDeathCallback();
  std::string owner() const;

  const std::shared_ptr<HandlerThreads> threads_;
  const std::shared_ptr<Link> link_;
  const std::string service_;
  const std::string busName_;  // also the name of its interface
  const std::string path_;
  std::vector<std::string> rules_;  // asked for, and not refused
  Listeners listeners_;

  mutable platform::Mutex mutex_;
  std::string owner_ QX_GUARDED_BY(mutex_);
  // Owners that were seen to go before owner_ was known.
  std::vector<std::string> formerOwners_ QX_GUARDED_BY(mutex_);
  bool isDead_ QX_GUARDED_BY(mutex_) = false;
  bool isDeathReported_ QX_GUARDED_BY(mutex_) = false;  // or about to be
  std::function<void()> deathCallback_ QX_GUARDED_BY(mutex_);
};

}  // namespace qxbus

#endif  // BUS_DBUS_SERVICE_HANDLE_H
