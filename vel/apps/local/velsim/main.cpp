// velsim: a simulated peripheral-device service, for trying clients without hardware.

#include <cstdio>
#include <exception>
#include <limits>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include <fcntl.h>

#include <CLI/CLI.hpp>

#include "base/standard_streams.h"
#include "base/text.h"
#include "base/unix_socket.h"
#include "vel/apps/local/velsim/ctl.h"
#include "vel/apps/local/velsim/exit_codes.h"
#include "vel/apps/local/velsim/options.h"
#include "vel/apps/local/velsim/record.h"
#include "vel/apps/local/velsim/replay.h"
#include "vel/apps/local/velsim/scenario_file.h"
#include "vel/apps/local/velsim/serve.h"

namespace {

void report(const std::string& error) {
  std::fprintf(stderr, "velsim: %s\n", error.c_str());
}

std::string openDescriptor(const std::string& text) {
  const auto number = base::parseDecimal(text, std::numeric_limits<int>::max());
  return number && ::fcntl(static_cast<int>(*number), F_GETFD) >= 0
             ? ""
             : base::quoted(text) + " is not the number of an open descriptor";
}

// Replaces "max" by 0.
std::string speedFactor(std::string& text) {
  if (text == "max") {
    text = "0";
    return "";
  }
  return CLI::PositiveNumber(text).empty()
             ? ""
             : base::quoted(text) + " is neither a number above 0 nor max";
}

int printOrServe(const velsim::Options& options, const velsim::Scenario& scenario,
                 const std::vector<velsim::Fault>& faults) {
  if (!options.isPrintingScenario) {
    return velsim::serve(options, scenario, faults);
  }
  const bool isWritten = std::fputs(scenario.text.c_str(), stdout) >= 0 && std::fflush(stdout) == 0;
  if (!isWritten) {
    report("cannot write the scenario");
  }
  return isWritten ? velsim::kExitStopped : velsim::kExitFailed;
}

int run(const velsim::Options& options) {
  if (options.scenario.empty()) {
    return printOrServe(options, velsim::builtInScenario(), {});
  }
  velsim::Mistakes mistakes(options.scenario);
  std::vector<velsim::Fault> faults;
  const std::optional<velsim::Scenario> scenario =
      velsim::loadScenario(options.scenario, mistakes, &faults);
  if (!scenario) {
    for (const std::string& line : mistakes.lines()) {
      std::fprintf(stderr, "%s\n", line.c_str());
    }
    report("the scenario has mistakes, nothing was started");
    return velsim::kExitScenario;
  }
  return printOrServe(options, *scenario, faults);
}

int parseAndServe(int argc, char** argv) {
  velsim::Options options;
  CLI::App app("A simulated peripheral-device service, to try velproxy without hardware.",
               "velsim");
  app.set_version_flag("--version", "velsim " VELSIM_VERSION);
  app.add_option("--address", options.address,
                 "D-Bus address of the bus, or direct:PATH, a socket of its own (default: "
                 "QXBUS_ADDRESS, else the session bus, without one direct:)");
  app.add_option("--scenario", options.scenario,
                 "Simulate the machine that FILE states, in JSON (docs/scenarios.md)")
      ->type_name("FILE");
  app.add_flag("--print-scenario", options.isPrintingScenario,
               "Write the scenario, the built-in one without --scenario, and end");
  app.add_flag("--step", options.isStepped,
               "Stop the time of the scenario, until the commands step and advance move it");
  app.add_option("--pen-port", options.penPort,
                 "Serve the far end of the pen port too, on a Unix socket created at PATH; "
                 "needs no bus")
      ->check(base::pathFault)
      ->type_name("PATH");
  app.add_flag("-q,--quiet", options.isQuiet, "Do not log requests, events and pen frames");
  app.add_flag("--json", options.isJson, "Log one JSON object per line (docs/velsim-log.md)");
  app.add_option("--control", options.control,
                 "Read control commands from standard input (-), the default at a terminal")
      ->check(CLI::IsMember({velsim::kStandardInput}));
  app.add_option("--parent", options.parent,
                 "Take control commands from the program at the other end of the socket FD, report "
                 "readiness there, and end when it is closed; for tests")
      ->check(openDescriptor)
      ->excludes("--control")
      ->type_name("FD");
  app.footer(
      "The log goes to standard error: one line for each request, event and pen frame. Exit\n"
      "status: 0 stopped by SIGINT or SIGTERM, 1 internal error, 2 wrong usage, 3 no bus, the\n"
      "service's name is taken, or no pen port, 4 bus connection lost, 6 the scenario or the\n"
      "recording has mistakes, 7 record: the file cannot be written, 8 replay: a request "
      "differed.\n"
      "With --pen-port, velsim\n"
      "serves the pen port only when the session bus cannot be reached.");
  velsim::CtlOptions control;
  CLI::App* const ctl = app.add_subcommand(
      "ctl", "Run one command of a velsim that runs; velsim ctl help lists them");
  ctl->add_option("--bus,--address", control.address, "Where it runs, as --address above");
  ctl->add_option("WORDS", control.words, "The command, in words or as one line")->required();
  ctl->positionals_at_end();
  ctl->footer(
      "  velsim ctl plug camera \"Front camera\"\n"
      "  velsim ctl fault getDeviceList 2-4 delay 500\n"
      "Exit status: 0 done, 2 wrong usage, 3 no velsim there, 4 no answer, 5 refused.");
  velsim::RecordOptions recording;
  CLI::App* const record = app.add_subcommand(
      "record", "Stand between clients and a service, and record all that passes");
  record->add_option("FILE", recording.file, "File to make; it must not hold anything")->required();
  record->add_option("--service", recording.service, "Address at which the service is")->required();
  record->add_option("--bus,--address", recording.address,
                     "Address at which clients find it here, as --address above");
  record->add_flag("--with-secrets", recording.isWithSecrets,
                   "Record tokens and passwords, too, which are masked otherwise");
  record->fallthrough();
  velsim::ReplayOptions replaying;
  CLI::App* const replay = app.add_subcommand("replay", "Answer as a recorded service did");
  replay->add_option("FILE", replaying.file, "A recording")->required();
  replay
      ->add_option("--order", replaying.order,
                   "match: a request gets the answer to the same request of the recording (the "
                   "default); strict: requests must come in its order")
      ->transform(CLI::CheckedTransformer(std::map<std::string, velsim::ReplayOrder>{
          {"match", velsim::ReplayOrder::kMatch}, {"strict", velsim::ReplayOrder::kStrict}}))
      ->type_name("match|strict");
  replay
      ->add_option("--speed", replaying.speed,
                   "1: as recorded (the default), 10: ten times as fast, max: without pauses")
      ->transform(CLI::Validator(speedFactor, "", "speed"))
      ->type_name("N|max");
  replay->add_option("--bus,--address", replaying.address,
                     "Address at which clients find it, as --address above");
  replay->fallthrough();
  try {
    app.parse(argc, argv);
    if (*record) {
      if (recording.address.empty()) {
        recording.address = options.address;
      }
      recording.parent = options.parent;
      recording.isQuiet = options.isQuiet;
      return velsim::record(recording);
    }
    if (*replay) {
      if (replaying.address.empty()) {
        replaying.address = options.address;
      }
      replaying.parent = options.parent;
      replaying.isQuiet = options.isQuiet;
      return velsim::replay(replaying);
    }
    if (*ctl) {
      return velsim::ctl(control);
    }
    return run(options);
  } catch (const CLI::Success& wanted) {  // --help, --version
    return app.exit(wanted);
  } catch (const CLI::ParseError& error) {
    report(std::string(error.what()) + "; see velsim --help");
    return velsim::kExitUsage;
  }
}

}  // namespace

int main(int argc, char** argv) {
  base::openClosedStandardStreams();
  try {
    return parseAndServe(argc, argv);
  } catch (const std::exception& error) {
    report(error.what());
    return velsim::kExitFailed;
  }
}
