// Starts dbus-broker on a socket, without the launcher, which needs a system manager:
//
//   broker_controller PATH
//
// dbus-broker takes its sockets and its policy from a controller, over D-Bus on a socket that it
// inherits. This controller allows everything, as the configuration of the other daemon does.
// Writes "ready" when a client can connect, and ends with its input; the broker ends with it.

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>

#include <signal.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <systemd/sd-bus.h>
#include <unistd.h>

#include "benchmarks/peers/workload.h"

namespace {

constexpr char kAnyMachine[] = "00000000000000000000000000000001";
constexpr char kLimit[] = "1000000000";  // as much as the other daemon may hold

constexpr std::uint32_t kAnyUser = static_cast<std::uint32_t>(-1);
constexpr std::uint64_t kPriority = 1;

// What a user may do: connect, own names by prefix, send, receive.
#define BATCH "bta(btbs)a(btssssuutt)a(btssssuutt)"

void check(int result, const char* what) {
  if (result < 0) {
    peers::fail(std::string("broker: ") + what + ": " + std::strerror(-result));
  }
}

int listenAt(const std::string& path) {
  const int listener = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  path.copy(address.sun_path, sizeof address.sun_path - 1);
  if (::bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
      ::listen(listener, SOMAXCONN) != 0) {
    check(-errno, "listening");
  }
  return listener;
}

// Returns the controller's end of the socket.
int startBroker() {
  int ends[2] = {-1, -1};
  if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0, ends) != 0) {
    check(-errno, "socketpair");
  }
  const pid_t child = ::fork();
  if (child == 0) {
    ::close(ends[0]);
    const std::string end = std::to_string(ends[1]);
    ::execlp("dbus-broker", "dbus-broker", "--controller", end.c_str(), "--machine-id", kAnyMachine,
             "--max-bytes", kLimit, "--max-fds", "1000", "--max-matches", "10000",
             static_cast<char*>(nullptr));
    std::perror("broker: dbus-broker");
    ::_exit(127);
  }
  check(child < 0 ? -errno : 0, "fork");
  ::close(ends[1]);
  return ends[0];
}

void appendBatch(sd_bus_message* call) {
  constexpr int kOneRule = 1;
  constexpr int kEveryType = 0;
  constexpr int kBroadcastOrNot = 0;
  constexpr std::uint64_t kFewestDescriptors = 0;
  constexpr std::uint64_t kMostDescriptors = UINT64_MAX;
  check(sd_bus_message_append(call, "(" BATCH ")", 1, kPriority,       // connect
                              kOneRule, 1, kPriority, 1, "",           // own
                              kOneRule, 1, kPriority, "", "", "", "",  // send
                              kEveryType, kBroadcastOrNot, kFewestDescriptors, kMostDescriptors,
                              kOneRule, 1, kPriority, "", "", "", "",  // receive
                              kEveryType, kBroadcastOrNot, kFewestDescriptors, kMostDescriptors),
        "policy");
}

// tail  the types behind the rules, which depend on the version: whether labels are checked, and
//       the name of the kind of bus
int addListener(sd_bus* controller, int listener, const std::string& tail) {
  const std::string policy = "a(u(" BATCH "))a(buu(" BATCH "))a(ss)" + tail;
  sd_bus_message* call = nullptr;
  check(sd_bus_message_new_method_call(controller, &call, nullptr, "/org/bus1/DBus/Broker",
                                       "org.bus1.DBus.Broker", "AddListener"),
        "new call");
  check(sd_bus_message_append(call, "oh", "/org/bus1/DBus/Listener/0", listener), "listener");
  check(sd_bus_message_open_container(call, 'v', ("(" + policy + ")").c_str()), "policy");
  check(sd_bus_message_open_container(call, 'r', policy.c_str()), "policy");
  check(sd_bus_message_open_container(call, 'a', "(u(" BATCH "))"), "policy");
  check(sd_bus_message_open_container(call, 'r', "u(" BATCH ")"), "policy");
  check(sd_bus_message_append(call, "u", kAnyUser), "policy");
  appendBatch(call);
  check(sd_bus_message_close_container(call), "policy");
  check(sd_bus_message_close_container(call), "policy");
  check(sd_bus_message_append(call, "a(buu(" BATCH "))", 0), "policy");
  check(sd_bus_message_append(call, "a(ss)", 0), "policy");
  check(sd_bus_message_append(call, "b", 0), "policy");
  if (tail == "bs") {
    check(sd_bus_message_append(call, "s", "session"), "policy");
  }
  check(sd_bus_message_close_container(call), "policy");
  check(sd_bus_message_close_container(call), "policy");
  const int result = sd_bus_call(controller, call, 0, nullptr, nullptr);
  sd_bus_message_unref(call);
  return result;
}

// The broker closes the connection of a controller whose policy it cannot read.
sd_bus* startWith(int listener, const char* tail) {
  const int end = startBroker();
  sd_bus* controller = nullptr;
  check(sd_bus_new(&controller), "new");
  check(sd_bus_set_fd(controller, end, end), "socket");
  check(sd_bus_start(controller), "start");
  if (addListener(controller, listener, tail) >= 0) {
    return controller;
  }
  sd_bus_unref(controller);
  return nullptr;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    peers::fail("usage: broker_controller PATH");
  }
  ::signal(SIGPIPE, SIG_IGN);
  const int listener = listenAt(argv[1]);
  sd_bus* controller = startWith(listener, "bs");
  if (!controller) {
    controller = startWith(listener, "b");
  }
  if (!controller) {
    peers::fail("dbus-broker does not take the policy");
  }
  ::close(listener);
  std::puts("ready");
  std::fflush(stdout);
  char byte = 0;
  while (::read(STDIN_FILENO, &byte, 1) > 0) {
  }
  sd_bus_unref(controller);
  while (::wait(nullptr) > 0) {
  }
  return 0;
}
