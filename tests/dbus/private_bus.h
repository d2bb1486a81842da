// A message bus of a test's own: a dbus-daemon in a new directory, which goes away with the object.
//
//   PrivateBus bus;
//   setenv("QXBUS_ADDRESS", bus.address().c_str(), 1);
//
// Needs nothing but child_process.h beside it.
//
// THREADS   Use it from one thread.
// ERRORS    std::runtime_error when the bus cannot be started.

#ifndef TESTS_DBUS_PRIVATE_BUS_H
#define TESTS_DBUS_PRIVATE_BUS_H

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>

#include "tests/dbus/child_process.h"

namespace dbustest {

class PrivateBus {
 public:
  // Makes the directory and starts the bus.
  PrivateBus() {
    std::string pattern = (std::filesystem::temp_directory_path() / "private-bus-XXXXXX").string();
    if (!::mkdtemp(pattern.data())) {
      throw std::runtime_error("no directory for the bus: " + std::string(std::strerror(errno)));
    }
    directory_ = pattern;
    // Other users may find the socket; the bus lets them in.
    std::filesystem::permissions(directory_, std::filesystem::perms(0755));
    std::filesystem::create_directory(serviceDirectory());
    std::ofstream(directory_ / "bus.conf") << configuration();
    start();
  }

  ~PrivateBus() {
    daemon_.reset();
    std::error_code ignored;
    std::filesystem::remove_all(directory_, ignored);
  }

  PrivateBus(const PrivateBus&) = delete;
  PrivateBus& operator=(const PrivateBus&) = delete;

  // The same before and after a restart.
  std::string address() const { return "unix:path=" + socket().string(); }
  pid_t pid() const { return daemon_->pid(); }
  bool isRunning() const { return daemon_ != nullptr; }

  // An empty directory of files *.service, read when the bus starts. The files of a test may stand
  // beside it.
  std::filesystem::path serviceDirectory() const { return directory_ / "services"; }
  const std::filesystem::path& directory() const { return directory_; }

  // Returns when clients can connect. No effect on a bus that runs.
  void start() {
    if (daemon_) {
      return;
    }
    std::filesystem::remove(socket());
    // It complains of limits that it may not raise, which nobody needs to read.
    daemon_ = std::make_unique<ChildProcess>(
        std::vector<std::string>{"dbus-daemon",
                                 "--config-file=" + (directory_ / "bus.conf").string(), "--nofork",
                                 "--nopidfile", "--print-address=1"},
        ChildProcess::Errors::kHidden);
    if (daemon_->readLine().empty()) {
      daemon_.reset();
      throw std::runtime_error("dbus-daemon does not start");
    }
  }

  // SIGKILL; every connection breaks.
  void kill() { daemon_.reset(); }

  // A bus that hangs takes connections and messages, and answers nothing.
  void hang() const { daemon_->signal(SIGSTOP); }
  void resume() const { daemon_->signal(SIGCONT); }

 private:
  std::filesystem::path socket() const { return directory_ / "bus"; }

  std::string configuration() const {
    return R"(<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <keep_umask/>
  <listen>unix:path=)" +
           socket().string() + R"(</listen>
  <auth>EXTERNAL</auth>
  <servicedir>)" +
           serviceDirectory().string() + R"(</servicedir>
  <policy context="default">
    <allow user="*"/>
    <allow own="*"/>
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
  </policy>
  <limit name="max_incoming_bytes">1000000000</limit>
  <limit name="max_outgoing_bytes">1000000000</limit>
  <limit name="max_message_size">1000000000</limit>
  <limit name="service_start_timeout">120000</limit>
  <limit name="auth_timeout">240000</limit>
  <limit name="max_completed_connections">100000</limit>
  <limit name="max_incomplete_connections">10000</limit>
  <limit name="max_connections_per_user">100000</limit>
  <limit name="max_pending_service_starts">10000</limit>
  <limit name="max_names_per_connection">50000</limit>
  <limit name="max_match_rules_per_connection">50000</limit>
  <limit name="max_replies_per_connection">50000</limit>
</busconfig>
)";
  }

  std::filesystem::path directory_;
  std::unique_ptr<ChildProcess> daemon_;
};

}  // namespace dbustest

#endif  // TESTS_DBUS_PRIVATE_BUS_H
