// A service on a real bus that gives the answers of a test, and records the requests.

#ifndef TESTS_VELCTL_FAKE_SERVICE_H
#define TESTS_VELCTL_FAKE_SERVICE_H

#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <variant>
#include <vector>

#include "bus/dbus/service_host.h"
#include "bus/dbus/value.h"
#include "platform/mutex.h"
#include "tests/velctl/blocks.h"
#include "vel/protocol/names.h"

namespace velctl_tests {

// THREADS  Any.
class FakeService {
 public:
  struct Error {
    std::string text;
  };
  using Answer = std::variant<qxbus::Values, Error>;

  // Runs on the bus at an address. By default every method answers int32 0, and getVmListSize and
  // getVmList know kVm.
  explicit FakeService(const std::string& address);

  void answer(const std::string& method, Answer answer);
  // Runs on each request of a method, before it is answered.
  void before(const std::string& method, std::function<void()> run);
  // Keeps requests of a method unanswered until release(), which answers those of all methods.
  void hold(const std::string& method);
  void release();

  // In the order of their arrival: connectDevice(int32 101, int16 12). The names of VMs that were
  // looked up are left out.
  std::vector<std::string> requests() const;
  // The unique names of the clients, in the order of requests().
  std::vector<std::string> senders() const;

  void emit(const qxbus::Values& values) { host_->emitEvent(velprotocol::kServiceEvent, values); }
  void broadcast(const qxbus::Values& values) {
    host_->broadcast(velprotocol::kBroadcastEvent, values);
  }

 private:
  void handle(qxbus::Request request);
  Answer answerTo(const qxbus::Request& request) const QX_REQUIRES(mutex_);

  mutable platform::Mutex mutex_;
  std::map<std::string, Answer> answers_ QX_GUARDED_BY(mutex_);
  std::map<std::string, std::function<void()>> before_ QX_GUARDED_BY(mutex_);
  std::vector<std::string> requests_ QX_GUARDED_BY(mutex_);
  std::vector<std::string> senders_ QX_GUARDED_BY(mutex_);
  std::set<std::string> held_ QX_GUARDED_BY(mutex_);
  std::vector<qxbus::Request> waiting_ QX_GUARDED_BY(mutex_);
  // Last: its thread uses the other members.
  std::unique_ptr<qxbus::ServiceHost> host_;
};

}  // namespace velctl_tests

#endif  // TESTS_VELCTL_FAKE_SERVICE_H
