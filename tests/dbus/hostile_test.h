// Shared by the tests of other ends that do what no D-Bus library does.

#ifndef TESTS_DBUS_HOSTILE_TEST_H
#define TESTS_DBUS_HOSTILE_TEST_H

#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

#include <stdlib.h>
#include <unistd.h>

#include "base/text.h"
#include "bus/dbus/client.h"
#include "bus/dbus/message_impl.h"
#include "bus/dbus/wire/message_writer.h"
#include "bus/dbus/wire/values.h"
#include "tests/dbus/dbus_test.h"
#include "tests/dbus/played_daemon.h"

namespace dbustest {

inline qxbus::wire::Header headerOf(qxbus::wire::MessageType type, std::string_view interface,
                                    std::string_view member) {
  qxbus::wire::Header header;
  header.type = type;
  header.path = kVelPath;
  header.interface = interface;
  header.member = member;
  header.signature = "av";
  return header;
}

// To the call with this number on its connection, beginning with 1.
inline std::string replyTo(std::uint32_t serial, std::string_view signature = "",
                           const qxbus::Values& values = {}) {
  qxbus::wire::Header header;
  header.type = qxbus::wire::MessageType::kMethodReturn;
  header.replySerial = serial;
  header.signature = signature;
  return serialized(header, values);
}

// What a client of this user says first.
inline std::string authenticated() {
  return std::string(1, '\0') + "AUTH EXTERNAL " + base::hexOf(std::to_string(::geteuid())) +
         "\r\nBEGIN\r\n";
}

// A number in kilobytes of /proc/PROCESS/status, in megabytes; -1 where there is no such file.
//
// process    a number, or "self"
inline long statusMegabytes(const std::string& process, const std::string& field) {
  std::string line;
  for (std::ifstream status("/proc/" + process + "/status"); std::getline(status, line);) {
    if (line.rfind(field + ':', 0) == 0) {
      return std::stol(line.substr(field.size() + 1)) / 1024;
    }
  }
  return -1;
}

// The most memory that this process has had since the last call, in megabytes.
inline long takePeakMemory() {
  const long peak = statusMegabytes("self", "VmHWM");
  std::ofstream("/proc/self/clear_refs") << 5;
  return peak;
}

// A test with a socket of its own for a direct connection.
class HostileTest : public DBusTest {
 protected:
  HostileTest() {
    if (!::mkdtemp(directory_.data())) {
      throw std::runtime_error("no temporary directory");
    }
  }
  ~HostileTest() override { std::filesystem::remove_all(directory_); }

  const std::string& directory() const { return directory_; }
  std::string socket() const { return directory_ + "/vel"; }
  std::string address() const { return "direct:" + socket(); }

  // Whether a well-behaved client is served.
  bool isServed() const {
    const auto client = qxbus::Client::connect(address());
    const auto service = client ? (*client)->handleOn("vel", kSafe) : nullptr;
    const auto request = qxbus::makeMessage(MESSAGE_TYPE_METHOD_CALL, "echo");
    return service && service->call(*request, 10000)->type() == MESSAGE_TYPE_METHOD_RETURN;
  }

 private:
  std::string directory_ =
      (std::filesystem::temp_directory_path() / "hostile-test.XXXXXX").string();
};

}  // namespace dbustest

#endif  // TESTS_DBUS_HOSTILE_TEST_H
