#include "vel/apps/local/velsim/serve.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <unistd.h>

#include "base/printable.h"
#include "bus/dbus/bus_failure.h"
#include "vel/apps/local/velsim/bus_service.h"
#include "vel/apps/local/velsim/control.h"
#include "vel/apps/local/velsim/control_object.h"
#include "vel/apps/local/velsim/fault_commands.h"
#include "vel/apps/local/velsim/faults/faults.h"
#include "vel/apps/local/velsim/line_reader.h"
#include "vel/apps/local/velsim/line_writer.h"
#include "vel/apps/local/velsim/log.h"
#include "vel/apps/local/velsim/machine_commands.h"
#include "vel/apps/local/velsim/parent.h"
#include "vel/apps/local/velsim/pen_port.h"
#include "vel/apps/local/velsim/presence.h"
#include "vel/apps/local/velsim/program_commands.h"
#include "vel/apps/local/velsim/service/simulator.h"
#include "vel/apps/local/velsim/service/stepped_clock.h"
#include "vel/apps/local/velsim/service/timer_thread.h"
#include "vel/apps/local/velsim/stop_signals.h"
#include "vel/apps/local/velsim/timeline.h"

namespace velsim {
namespace {

[[noreturn]] void vanish() {
  for (;;) {
    ::kill(::getpid(), SIGKILL);
  }
}

// A program in the background must not read from its terminal.
bool isInForegroundOfTerminal() {
  return ::isatty(STDIN_FILENO) != 0 && ::tcgetpgrp(STDIN_FILENO) == ::getpgrp();
}

// Reads control commands for as long as it lives.
class ControlInput {
 public:
  ControlInput(const Options& options, Control& control, Log& log)
      : isPrompting_(!options.isJson && ::isatty(STDIN_FILENO) != 0 &&
                     ::isatty(STDOUT_FILENO) != 0 && ::isatty(STDERR_FILENO) != 0),
        log_(log),
        control_(control) {
    if (options.control != kStandardInput && !isInForegroundOfTerminal()) {
      return;
    }
    // Reading fails when velsim is sent to the background; without this it would be halted.
    std::signal(SIGTTIN, SIG_IGN);
    log.setPrompting(isPrompting_);
    log.write("reading control commands; type help for the list, quit to end");
    reader_.emplace(
        STDIN_FILENO, [this](const std::string& line) { run(line); }, [this] { end(); });
  }
  ~ControlInput() { log_.setPrompting(false); }

  ControlInput(const ControlInput&) = delete;
  ControlInput& operator=(const ControlInput&) = delete;

 private:
  void run(const std::string& line) {
    if (line.size() > LineReader::kLongestLine) {
      log_.write("control: " + LineReader::tooLong());
      return;
    }
    const Control::Answer answer = control_.run(line);
    if (!answer) {
      log_.write("control: " + answer.reason());
      return;
    }
    const std::string shown = *answer + (isPrompting_ ? kPrompt : "");
    if (!shown.empty()) {
      answers_.write(shown);
    }
  }

  void end() {
    log_.setPrompting(false);
    log_.write("control input has ended; velsim goes on until SIGINT or SIGTERM");
  }

  // The log and the answers share the terminal with the lines of the user.
  const bool isPrompting_;
  Log& log_;
  LineWriter answers_{STDOUT_FILENO, "control answer"};
  Control& control_;
  std::optional<LineReader> reader_;
};

// Empty when the session bus is meant, or a socket of the service's own where there is none.
std::string namedAddress(const Options& options) {
  if (!options.address.empty()) {
    return options.address;
  }
  const char* const fromEnvironment = std::getenv("QXBUS_ADDRESS");
  return fromEnvironment ? fromEnvironment : "";
}

class Server {
 public:
  Server(const Options& options, const Scenario& scenario, const std::vector<Fault>& faults,
         Log& log)
      : options_(options),
        log_(log),
        stepped_(options.isStepped ? new SteppedClock : nullptr),
        simulator_(scenario.setup, clock()),
        timeline_(scenario.timeline, simulator_.clock(),
                  [this](const std::string& line) { runScheduled(line); }) {
    for (const Fault& fault : faults) {
      faults_.add(fault);
    }
    control_.add(faultCommands(faults_));
    control_.add(programCommands({&presence_, &timeline_, stepped_, StopSignals::raise}));
    control_.add(answeringCommands(scenario.setup.commands));
    simulator_.setCommands(&control_);
  }
  ~Server() { simulator_.setCommands(nullptr); }

  ExitCode run(const StopSignals& stopSignals) {
    if (!openPenPort()) {
      return kExitNotServing;
    }
    if (const std::chrono::milliseconds delay = faults_.startDelay(); delay.count() > 0) {
      log_.write("slow start: the service appears in " + std::to_string(delay.count()) + " ms");
      if (stopSignals.comeWithin(delay)) {
        return kExitStopped;
      }
    }
    if (!connectToBus()) {
      return kExitNotServing;
    }
    std::optional<Parent> parent;
    std::optional<ControlInput> input;
    if (options_.parent >= 0) {
      parent.emplace(
          options_.parent, [this](const std::string& line) { return control_.run(line); },
          StopSignals::raise);
    } else {
      input.emplace(options_, control_, log_);
    }
    timeline_.start();
    stopSignals.wait();
    // Nothing happens by itself from here on.
    simulator_.clock().stop();
    if (isBusLost_) {
      log_.write("the bus closed the connection; start the bus and velsim again");
      return kExitBusLost;
    }
    return kExitStopped;
  }

 private:
  // Whether the port is open, or not wanted.
  bool openPenPort() {
    if (options_.penPort.empty()) {
      return true;
    }
    try {
      penPort_.emplace(options_.penPort,
                       [this](const std::string& line) { log_.writeDetail(line, "pen"); });
    } catch (const std::runtime_error& error) {
      log_.write(std::string("cannot open the pen port: ") + error.what());
      return false;
    }
    log_.write("pen port at " + options_.penPort);
    return true;
  }

  // False: velsim must end. When the session bus cannot be reached, there can still be a pen port;
  // a bus that the user has named must be there.
  bool connectToBus() {
    const std::string named = namedAddress(options_);
    const std::string pid = ", pid " + std::to_string(::getpid());
    const base::Result<std::string> place = presence_.arrive();
    if (!place) {
      const bool isUnreachable = !qxbus::busFailure().empty();
      if (isUnreachable && penPort_ && named.empty()) {
        log_.write(place.reason());
        // Drops the events, which would wait for a sink.
        simulator_.setEventSink([](const BusEvent&) {});
        log_.write("ready at the pen port only" + pid);
        return true;
      }
      log_.write("cannot serve" + (named.empty() ? "" : " on " + named) + ": " + place.reason() +
                 "; name another bus with --address or QXBUS_ADDRESS");
      return false;
    }
    std::size_t vms = 0;
    simulator_.read([&vms](const MachineState& machine) { vms = machine.vms.numbers().size(); });
    log_.write("ready at " + *place + pid + ", VMs: " + std::to_string(vms));
    return true;
  }

  // For the simulator, which owns it.
  std::unique_ptr<Scheduler> clock() const {
    return stepped_ ? std::unique_ptr<Scheduler>(stepped_) : std::make_unique<TimerThread>();
  }

  std::unique_ptr<BusService> serveOnBus() {
    return std::make_unique<BusService>(
        options_.address, simulator_, faults_, log_,
        [this] {
          isBusLost_ = true;
          StopSignals::raise();
        },
        vanish, std::vector{controlObject(control_, log_)});
  }

  // One entry of the time line.
  void runScheduled(const std::string& line) {
    const Control::Answer answer = control_.run(line);
    log_.write("time line: " + base::printable(line) + " -> " +
               (answer ? base::printable(answer->substr(0, answer->find('\n')))
                       : "error: " + base::printable(answer.reason())));
  }

  const Options& options_;
  Log& log_;
  std::atomic<bool> isBusLost_{false};
  SteppedClock* const stepped_;  // null in real time
  Simulator simulator_;
  Faults faults_{[this](const std::string& line) { log_.write(line); }};
  Control control_{simulator_, vanish};
  std::optional<PenPort> penPort_;
  Timeline timeline_;
  Presence presence_{simulator_, [this] { return serveOnBus(); }};
};

}  // namespace

ExitCode serve(const Options& options, const Scenario& scenario, const std::vector<Fault>& faults) {
  const StopSignals stopSignals;
  Log log(options.isQuiet, options.isJson ? Log::Form::kJson : Log::Form::kText);
  const ExitCode status = Server(options, scenario, faults, log).run(stopSignals);
  if (status == kExitStopped) {
    log.write("stopped");
  }
  return status;
}

}  // namespace velsim
