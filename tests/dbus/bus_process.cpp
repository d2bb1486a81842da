// What the tests need in a process of its own.
//
//   bus_process serve ADDRESS SERVICE [UID]
//       runs a service, as another user if one is given; prints "running" when its name is taken
//   bus_process connect [VARIABLE=VALUE]
//       prints "connected" or "no bus", then the milliseconds that it took to find out
//   bus_process wait VARIABLE=VALUE
//       prints "no bus" when there is none at first, and "connected" as soon as there is one

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <future>
#include <memory>
#include <string>
#include <thread>

#include <grp.h>
#include <unistd.h>

#include "bus/dbus/wire.h"

#include "bus/dbus/service_host.h"
#include "bus/qxbus.h"
#include "platform/log.h"

namespace {

void say(const std::string& line) {
  std::printf("%s\n", line.c_str());
  std::fflush(stdout);
}

bool become(unsigned int uid) {
  return ::setgroups(0, nullptr) == 0 && ::setgid(uid) == 0 && ::setuid(uid) == 0;
}

int serve(const std::string& address, const std::string& service) {
  // A handler may run before the constructor of its host has returned.
  std::promise<qxbus::ServiceHost*> made;
  const std::shared_future<qxbus::ServiceHost*> running = made.get_future().share();
  const qxbus::Method echo = {"echo",
                              [](qxbus::Request request) { request.reply(request.arguments()); }};
  const auto shout = [running] {
    for (std::int32_t i = 0; i < 3; ++i) {
      running.get()->emitEvent("velevent", {i});
    }
  };
  const qxbus::Method stay = {"shout", [shout](qxbus::Request request) {
                                shout();
                                request.reply({});
                              }};
  const qxbus::Method leave = {"shoutAndEnd", [shout](const qxbus::Request&) {
                                 shout();
                                 ::_exit(0);
                               }};
  const qxbus::Method broadcast = {"broadcast", [running](qxbus::Request request) {
                                     running.get()->broadcast(
                                         qxbus::readString(request.arguments(), 0), {});
                                     request.reply({});
                                   }};
  qxbus::ServiceHost host(address, service, {echo, stay, leave, broadcast});
  made.set_value(&host);
  say("running");
  for (;;) {
    ::pause();
  }
}

void setVariable(const std::string& assignment) {
  const std::size_t equals = assignment.find('=');
  ::setenv(assignment.substr(0, equals).c_str(), assignment.substr(equals + 1).c_str(), 1);
}

int connect() {
  const auto begun = std::chrono::steady_clock::now();
  const QXBusSerivceManager* const manager = QXBusSerivceManager::initSync(-1);
  const auto took = std::chrono::duration_cast<std::chrono::milliseconds>(
      std::chrono::steady_clock::now() - begun);
  say(manager ? "connected" : "no bus");
  say(std::to_string(took.count()));
  return 0;
}

int waitForBus() {
  if (!QXBusSerivceManager::initSync(-1)) {
    say("no bus");
  }
  while (!QXBusSerivceManager::initSync(-1)) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  say("connected");
  return 0;
}

int run(int argc, char** argv) {
  const std::string mode = argc > 1 ? argv[1] : "";
  if (mode == "serve" && argc > 3) {
    if (argc > 4 && !become(static_cast<unsigned int>(std::strtoul(argv[4], nullptr, 10)))) {
      std::perror("bus_process");
      return 1;
    }
    return serve(argv[2], argv[3]);
  }
  for (const char* const variable :
       {"QXBUS_ADDRESS", "DBUS_SESSION_BUS_ADDRESS", "XDG_RUNTIME_DIR"}) {
    ::unsetenv(variable);
  }
  if (argc > 2) {
    setVariable(argv[2]);
  }
  return mode == "wait" ? waitForBus() : connect();
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return run(argc, argv);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "bus_process: %s\n", error.what());
    return 1;
  }
}

extern "C" void norvoLogPrint(int /*channel*/, int /*level*/, const char* /*tag*/,
                              const char* /*format*/, ...) {}
