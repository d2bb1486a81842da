#include "tests/processes/private_bus.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <stdexcept>
#include <system_error>

namespace processes {

PrivateBus::PrivateBus() {
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

PrivateBus::~PrivateBus() {
  daemon_.reset();
  std::error_code ignored;
  std::filesystem::remove_all(directory_, ignored);
}

Process::Options PrivateBus::options(const std::vector<std::string>& command) const {
  Process::Options options;
  options.command = command;
  options.environment = {
      {"QXBUS_ADDRESS", address()},     {"QX_APP_DATA", (directory_ / "data").string()},
      {"HOME", directory_.string()},    {"QX_LOG_LEVEL", ""},
      {"DBUS_SESSION_BUS_ADDRESS", ""}, {"LC_ALL", "C"}};
  return options;
}

void PrivateBus::start() {
  if (daemon_) {
    return;
  }
  std::filesystem::remove(socket());
  Process::Options options;
  options.command = {"dbus-daemon", "--config-file=" + (directory_ / "bus.conf").string(),
                     "--nofork", "--nopidfile", "--print-address=1"};
  daemon_ = std::make_unique<Process>(options);
  if (daemon_->readLine().empty()) {
    const std::string reason = daemon_->err();
    daemon_.reset();
    throw std::runtime_error("dbus-daemon does not start: " + reason);
  }
}

void PrivateBus::hang() const {
  processes::hang(daemon_->pid());
}

void PrivateBus::resume() const {
  daemon_->signal(SIGCONT);
}

std::string PrivateBus::configuration() const {
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

}  // namespace processes
