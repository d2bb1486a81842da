// velsim: a peripheral-device service without hardware, to try clients against.

#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <unistd.h>
#include <CLI/CLI.hpp>

#include "bus/dbus/service_host.h"
#include "vel/apps/local/velsim/control.h"
#include "vel/apps/local/velsim/exit_codes.h"
#include "vel/apps/local/velsim/line_reader.h"
#include "vel/apps/local/velsim/pen_port.h"
#include "vel/apps/local/velsim/service/simulator.h"
#include "vel/protocol/events.h"
#include "vel/protocol/methods.h"

namespace {

constexpr char kStandardInput[] = "-";

struct Options {
  std::string address;
  std::string control;  // where control lines come from; empty: standard input if somebody is there
  std::string penPort;  // path of a socket; empty: none
  bool isQuiet = false;
};

void say(const std::string& line) {
  std::fprintf(stderr, "velsim: %s\n", line.c_str());
}

// SIGINT and SIGTERM are blocked in every thread, so construct it before there is a second one.
class StopSignals {
 public:
  StopSignals() {
    sigemptyset(&signals_);
    sigaddset(&signals_, SIGINT);
    sigaddset(&signals_, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals_, nullptr);
  }

  void wait() const {
    int signal = 0;
    sigwait(&signals_, &signal);
  }

  // Ends the wait from another thread.
  static void raise() { ::kill(::getpid(), SIGTERM); }

 private:
  sigset_t signals_ = {};
};

void answer(velsim::Simulator& simulator, qxbus::Request request, bool isQuiet) {
  const auto kept = std::make_shared<qxbus::Request>(std::move(request));
  const auto respond = [kept, isQuiet](const velsim::Simulator::Answer& given) {
    if (!isQuiet) {
      say(velsim::describe(kept->method(), kept->arguments(), given));
    }
    if (const auto* const error = std::get_if<velsim::Simulator::Error>(&given)) {
      kept->fail(error->text);
    } else {
      kept->reply(std::get<qxbus::Values>(given));
    }
  };
  simulator.answer(kept->method(), kept->arguments(), respond);
}

std::vector<qxbus::Method> methodsOf(velsim::Simulator& simulator, bool isQuiet) {
  std::vector<qxbus::Method> methods;
  for (const std::string& name : simulator.methods()) {
    methods.push_back({name, [&simulator, isQuiet](qxbus::Request request) {
                         answer(simulator, std::move(request), isQuiet);
                       }});
  }
  return methods;
}

// Sends the simulator's events for as long as it lives.
class EventConnection {
 public:
  EventConnection(velsim::Simulator& simulator, qxbus::ServiceHost& host, bool isQuiet)
      : simulator_(simulator) {
    simulator.setEventSink([&host, isQuiet](const velsim::BusEvent& event) {
      if (!isQuiet) {
        say(velsim::describe(event));
      }
      if (velsim::isBroadcast(event)) {
        host.broadcast(velprotocol::kBroadcastEvent, velsim::argumentsOf(event));
      } else {
        host.emitEvent(velprotocol::kServiceEvent, velsim::argumentsOf(event));
      }
    });
  }
  ~EventConnection() { simulator_.setEventSink(nullptr); }

  EventConnection(const EventConnection&) = delete;
  EventConnection& operator=(const EventConnection&) = delete;

 private:
  velsim::Simulator& simulator_;
};

[[noreturn]] void vanish() {
  for (;;) {
    ::kill(::getpid(), SIGKILL);
  }
}

void runControlLine(velsim::Control& control, const std::string& line) {
  if (line.size() > velsim::LineReader::kLongestLine) {
    say("control: a line has at most " + std::to_string(velsim::LineReader::kLongestLine) +
        " bytes");
    return;
  }
  const velsim::Control::Result result = control.run(line);
  if (!result.isOk) {
    say("control: " + result.text);
    return;
  }
  std::fputs(result.text.c_str(), stdout);
  std::fflush(stdout);
}

// Whether a person is typing at us; the terminal of a program in the background is somebody else's.
bool isAtTerminal() {
  return ::isatty(STDIN_FILENO) != 0 && ::tcgetpgrp(STDIN_FILENO) == ::getpgrp();
}

// Reads control lines for as long as it lives.
class ControlInput {
 public:
  ControlInput(velsim::Simulator& simulator, const Options& options) : control_(simulator, vanish) {
    if (options.control == kStandardInput || isAtTerminal()) {
      // Sent to the background, it is to lose its input rather than be halted.
      std::signal(SIGTTIN, SIG_IGN);
      say("reading control lines; try help");
      reader_.emplace(STDIN_FILENO,
                      [this](const std::string& line) { runControlLine(control_, line); });
    }
  }

 private:
  velsim::Control control_;
  std::optional<velsim::LineReader> reader_;
};

std::string nameOf(const std::string& address) {
  if (!address.empty()) {
    return address;
  }
  const char* const fromEnvironment = std::getenv("QXBUS_ADDRESS");
  return fromEnvironment && *fromEnvironment ? fromEnvironment : "the session bus";
}

// The far end of the pen port for as long as it lives, if the user wants one.
class PenInput {
 public:
  explicit PenInput(const Options& options) {
    if (options.penPort.empty()) {
      return;
    }
    port_.emplace(options.penPort, [isQuiet = options.isQuiet](const std::string& line) {
      if (!isQuiet) {
        say(line);
      }
    });
    say("pen port at " + options.penPort);
  }

 private:
  std::optional<velsim::PenPort> port_;
};

velsim::ExitCode serveOnBus(const Options& options, const StopSignals& stopSignals) {
  velsim::Simulator simulator;
  std::atomic<bool> isBusLost{false};
  try {
    qxbus::ServiceHost host(options.address, velprotocol::kServiceName,
                            methodsOf(simulator, options.isQuiet), {velprotocol::kServiceEvent});
    const EventConnection events(simulator, host, options.isQuiet);
    host.setLostCallback([&isBusLost] {
      isBusLost = true;
      StopSignals::raise();
    });
    say("ready on " + nameOf(options.address) + ", pid " + std::to_string(::getpid()) +
        ", VMs: " + std::to_string(simulator.machine().vms.numbers().size()));
    const ControlInput control(simulator, options);
    stopSignals.wait();
  } catch (const std::runtime_error& error) {
    say("cannot serve on " + nameOf(options.address) + ": " + error.what() +
        "; --address or QXBUS_ADDRESS names another bus");
    return velsim::kExitNotServing;
  }
  if (isBusLost) {
    say("the bus has closed the connection; start it and velsim again");
    return velsim::kExitBusLost;
  }
  say("stopped");
  return velsim::kExitStopped;
}

velsim::ExitCode serve(const Options& options) {
  const StopSignals stopSignals;
  std::optional<PenInput> penInput;
  try {
    penInput.emplace(options);
  } catch (const std::runtime_error& error) {
    say(std::string("cannot open the pen port: ") + error.what());
    return velsim::kExitNotServing;
  }
  return serveOnBus(options, stopSignals);
}

int parseAndServe(int argc, char** argv) {
  Options options;
  CLI::App app("A simulated peripheral-device service: what velproxy talks to, without hardware.",
               "velsim");
  app.set_version_flag("--version", "velsim " VELSIM_VERSION);
  app.add_option("--address", options.address,
                 "D-Bus address of the bus (default: QXBUS_ADDRESS, else the session bus)");
  app.add_option("--pen-port", options.penPort,
                 "Be the far end of the pen port too: a Unix socket to make at this path")
      ->check(penport::pathFault)
      ->type_name("PATH");
  app.add_flag("-q,--quiet", options.isQuiet,
               "Do not write a line for each request, event and pen frame");
  app.add_option("--control", options.control,
                 "- reads control lines from standard input, as is done at a terminal; try help")
      ->check(CLI::IsMember({kStandardInput}));
  app.footer(
      "Requests, events and pen frames go to standard error, one line each. Exit status: 0 "
      "stopped\n"
      "by SIGINT or SIGTERM, 2 bad usage, 3 no bus, the service's name is taken, or no pen port,\n"
      "4 bus connection lost.");
  try {
    app.parse(argc, argv);
    return serve(options);
  } catch (const CLI::Success& wanted) {  // --help, --version
    return app.exit(wanted);
  } catch (const CLI::ParseError& error) {
    say(std::string(error.what()) + "; see velsim --help");
    return velsim::kExitUsage;
  }
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return parseAndServe(argc, argv);
  } catch (const std::exception& error) {
    say(error.what());
    return velsim::kExitFailed;
  }
}
