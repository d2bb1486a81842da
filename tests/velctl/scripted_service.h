// A service that answers as a test tells it to, and remembers what it was asked.

#ifndef TESTS_VELCTL_SCRIPTED_SERVICE_H
#define TESTS_VELCTL_SCRIPTED_SERVICE_H

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <variant>
#include <vector>

#include "bus/dbus/service_host.h"
#include "bus/dbus/value.h"
#include "vel/protocol/names.h"
#include "vel/protocol/events.h"

namespace velctl_tests {

// The VM that the service knows.
constexpr char kVm[] = "win11";
constexpr int kVmNumber = 101;

// THREADS  Any.
class ScriptedService {
 public:
  struct Error {
    std::string text;
  };
  using Answer = std::variant<qxbus::Values, Error>;

  // Runs on the bus at an address. Unless told otherwise every method answers int32 0, and
  // getVmListSize and getVmList know kVm.
  explicit ScriptedService(const std::string& address);

  void answer(const std::string& method, Answer answer);
  // Runs on each request of a method, before it is answered.
  void before(const std::string& method, std::function<void()> run);
  // Keeps requests of a method unanswered until release(), which lets go of all methods.
  void hold(const std::string& method);
  void release();

  // In the order of their arrival: connectDevice(int32 101, int16 12). The names of VMs that were
  // looked up are left out.
  std::vector<std::string> requests() const;
  // The unique names of those who asked, in the order of requests().
  std::vector<std::string> senders() const;

  void emit(const qxbus::Values& values) { host_->emitEvent(velprotocol::kServiceEvent, values); }
  void broadcast(const qxbus::Values& values) {
    host_->broadcast(velprotocol::kBroadcastEvent, values);
  }

 private:
  void handle(qxbus::Request request);
  Answer answerTo(const qxbus::Request& request) const;

  mutable std::mutex mutex_;  // guards the rest, but not the host
  std::map<std::string, Answer> answers_;
  std::map<std::string, std::function<void()>> before_;
  std::vector<std::string> requests_;
  std::vector<std::string> senders_;
  std::set<std::string> held_;
  std::vector<qxbus::Request> waiting_;
  // Last: its thread uses what stands above.
  std::unique_ptr<qxbus::ServiceHost> host_;
};

// Blocks of the bus, as long as their texts make them.
qxbus::Bytes printerBlock(int number, int status, int vmNumber, const std::string& name);
qxbus::Bytes deviceBlock(int number, int status, int policy, int vmNumber, const std::string& name,
                         const std::string& policyText);
qxbus::Bytes newDeviceBlock(int vendor, int product, bool isConfigured, const std::string& name,
                            const std::string& result);
qxbus::Bytes diagnosisBlock(unsigned long long id, unsigned int status, int vmNumber,
                            const std::string& text);
qxbus::Bytes bytesOf(const std::string& text);

}  // namespace velctl_tests

#endif  // TESTS_VELCTL_SCRIPTED_SERVICE_H
