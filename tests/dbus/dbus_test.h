// Shared by the tests of the bus over D-Bus: one private bus and one manager per process,
// services in this process, and the log.

#ifndef TESTS_DBUS_DBUS_TEST_H
#define TESTS_DBUS_DBUS_TEST_H

#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "bus/dbus/service_host.h"
#include "bus/qxbus.h"
#include "tests/dbus/waiting.h"
#include "tests/processes/private_bus.h"

namespace dbustest {

using processes::PrivateBus;
using processes::Process;

using MessageRef = std::shared_ptr<QXBusMessage>;
using ProxyRef = std::shared_ptr<QXBusProxyInterface>;
using Messages = Record<MessageRef>;

// As VelProxy asks for.
constexpr QXBusSecurityFlags kSafe = QXBUS_SECURITY_SAME_USER_OR_ROOT;

// Service "vel" on D-Bus.
constexpr char kVelName[] = "qx.bus.vel";
constexpr char kVelPath[] = "/qx/bus/vel";

constexpr std::size_t kMegabyte = std::size_t{1024} * 1024;

// The lines that were logged since the test began.
std::vector<std::string> loggedLines();

// The number of files in a directory; 0 when there is no such directory.
std::ptrdiff_t entriesOf(const std::string& directory);

// A service in this process, on a connection of its own. Its methods:
//   echo    replies with its arguments
//   fail    fails with its first argument as the text
//   hold    is kept, unanswered, until release()
class TestService {
 public:
  explicit TestService(const std::string& name = "vel", std::vector<qxbus::Method> more = {},
                       const std::vector<std::string>& events = {});
  ~TestService();

  qxbus::ServiceHost& host() { return *host_; }
  void emit(const std::string& event, const qxbus::Values& values) {
    host_->emitEvent(event, values);
  }

  bool waitForHeld(std::size_t count) const;
  std::size_t held() const;
  // Answers every request that is held with these values.
  void release(const qxbus::Values& values);
  // Hands over the requests that are held.
  std::shared_ptr<std::deque<qxbus::Request>> takeHeld();

 private:
  struct Held;
  std::shared_ptr<Held> held_;
  std::unique_ptr<qxbus::ServiceHost> host_;
};

// Runs a helper of a test with its standard error shown.
inline Process::Options helper(const std::vector<std::string>& command) {
  Process::Options options;
  options.command = command;
  options.isErrShown = true;
  return options;
}

// First in a test of what only a bus daemon has: names that change hands, peers besides the
// service.
#define NEEDS_DAEMON()                                              \
  if (isDirect()) {                                                 \
    GTEST_SKIP() << "a direct connection has nothing of this kind"; \
  }                                                                 \
  static_assert(true)

class DBusTest : public testing::Test {
 protected:
  DBusTest();
  ~DBusTest() override;

  // Whether QXBUS_ADDRESS leads straight to the services of a test, instead of to a private bus.
  static bool isDirect();
  static PrivateBus& bus();
  // The address, for libdbus, of a service that listens itself.
  static std::string directAddress(const std::string& service = "vel");
  // Connected when the test begins.
  static QXBusSerivceManager& manager() { return *QXBusSerivceManager::initSync(-1); }
  // An interface of a service that runs; the test fails if there is none.
  static ProxyRef proxyOf(const std::string& service = "vel");

  // A listener that lives as long as the process: the bus never says when it has done with one.
  static QXBusEventCallback* lastingListener(std::function<void(MessageRef)> handler);
  // A broadcast event that no other test listens to.
  static std::string newBroadcastName();
};

// Calls a method with these arguments and waits for the reply.
MessageRef call(QXBusProxyInterface& proxy, const std::string& method,
                const qxbus::Values& arguments = {}, int timeoutMs = 10000);
MessageRef messageTo(QXBusProxyInterface& proxy, const std::string& method,
                     const qxbus::Values& arguments = {});

std::string bytesOf(QXBusMessage& message, int index);

std::int32_t firstNumber(const MessageRef& message);
std::vector<std::int32_t> firstNumbers(const Messages& messages);

inline bool isFailure(const MessageRef& message, QXBusMessageType type) {
  return message && message->type() == type && !message->getString(0).empty();
}
MATCHER(IsReply, "") {
  return arg && arg->type() == MESSAGE_TYPE_METHOD_RETURN;
}
// Failed calls: the type of the message, and a text.
MATCHER(IsError, "") {
  return isFailure(arg, MESSAGE_TYPE_ERROR);
}
MATCHER(IsNoReply, "") {
  return isFailure(arg, MESSAGE_TYPE_NO_REPLY);
}
MATCHER(IsDisconnected, "") {
  return isFailure(arg, MESSAGE_TYPE_DISCONNECTED);
}

}  // namespace dbustest

// How a failed expectation shows a message.
void PrintTo(const std::shared_ptr<QXBusMessage>& message, std::ostream* stream);

#endif  // TESTS_DBUS_DBUS_TEST_H
