// One running instance of a service, bound to its unique name on one connection: a handle never
// reaches a later instance, and another peer's signal is no event of the instance.
//
// THREADS   Any thread may call any member but attach.

#ifndef BUS_DBUS_SERVICE_HANDLE_H
#define BUS_DBUS_SERVICE_HANDLE_H

#include <functional>
#include <memory>
#include <string>
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
  ServiceHandle(std::shared_ptr<Link> link, std::shared_ptr<HandlerThreads> threads,
                std::string service);
  // Removes the match rules, and does not wait for that.
  ~ServiceHandle();

  ServiceHandle(const ServiceHandle&) = delete;
  ServiceHandle& operator=(const ServiceHandle&) = delete;

  // Finds the instance that runs now. Fails when there is none or it is refused.
  base::Result<void> attach(QXBusSecurityFlags flags, Clock::time_point deadline);

  std::shared_ptr<QXBusMessage> call(QXBusMessage& message, int timeoutMs);
  // done runs once, on the completion thread.
  void call(QXBusMessage& message, int timeoutMs,
            std::function<void(std::shared_ptr<QXBusMessage>)> done);

  void setDeathCallback(std::function<void()> callback);
  void addEventListener(const std::string& name, QXBusEventCallback* listener,
                        QXBusSecurityFlags flags);
  Listeners& listeners() { return listeners_; }

  // For the client, which reads from the bus.
  bool isOn(const Link& link) const { return &link == link_.get(); }
  bool sends(const std::string& sender, const std::string& path,
             const std::string& interface) const;
  void ownerChanged(const std::string& busName, const std::string& from, const std::string& to);
  // The instance is gone: calls the death callback, now or when it is set.
  void reportDeath();

 private:
  base::Result<MessagePtr> encode(QXBusMessage& message) const;
  // Empty when the interface was released before a thread could call the callback.
  std::function<void()> takeDeathCallback();
  std::string owner() const;

  const std::shared_ptr<Link> link_;
  const std::shared_ptr<HandlerThreads> threads_;
  const std::string service_;
  const std::string busName_;  // also the name of its interface
  const std::string path_;
  std::vector<std::string> rules_;
  Listeners listeners_;

  mutable platform::Mutex mutex_;
  std::string owner_ QX_GUARDED_BY(mutex_);
  // Seen to go before owner_ was known.
  std::vector<std::string> formerOwners_ QX_GUARDED_BY(mutex_);
  bool isDead_ QX_GUARDED_BY(mutex_) = false;
  bool isDeathReported_ QX_GUARDED_BY(mutex_) = false;  // or about to be
  std::function<void()> deathCallback_ QX_GUARDED_BY(mutex_);
};

}  // namespace qxbus

#endif  // BUS_DBUS_SERVICE_HANDLE_H
