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
  app.add_option("--address", options.address, "Address of the bus, or direct:PATH, a socket")
      ->type_name("ADDRESS");
  app.add_option("--scenario", options.scenario, "Simulate the machine that FILE states, in JSON")
      ->type_name("FILE");
  app.add_flag("--print-scenario", options.isPrintingScenario, "Write the scenario, and end");
  app.add_flag("--step", options.isStepped,
               "Stop the scenario's time; the commands step and advance move it");
  app.add_option("--pen-port", options.penPort, "Serve the pen port, on a new socket at PATH")
      ->check(base::pathFault)
      ->type_name("PATH");
  app.add_flag("-q,--quiet", options.isQuiet, "Do not log requests, events and pen frames");
  app.add_flag("--json", options.isJson, "Log one JSON object per line");
  app.add_option("--control", options.control,
                 "Read commands from standard input, the default at a terminal")
      ->check(CLI::IsMember({velsim::kStandardInput}))
      ->option_text("-");
  app.add_option("--parent", options.parent, "Obey the test at the socket FD, and end with it")
      ->check(openDescriptor)
      ->excludes("--control")
      ->option_text("FD");
  app.footer(
      "Examples:\n"
      "  velsim --scenario examples/scenarios/office.json\n"
      "  velsim ctl plug camera \"Front camera\"\n"
      "  velsim record field.jsonl --service direct: --bus direct:/tmp/recorder/vel\n"
      "The manual page velsim(1), docs/velsim.1, has exit statuses and environment.");
  velsim::CtlOptions control;
  CLI::App* const ctl = app.add_subcommand(
      "ctl", "Run one command of a velsim that runs; velsim ctl help lists them");
  ctl->add_option("--bus,--address", control.address, "Where it runs, as --address above");
  ctl->add_option("WORDS", control.words, "The command, in words or as one line")->required();
  ctl->positionals_at_end();
  ctl->footer(
      "Examples:\n"
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
  record->footer(
      "Example:\n"
      "  velsim record field.jsonl --service direct: --bus direct:/tmp/recorder/vel\n"
      "Exit status: 0 stopped, 2 wrong usage, 3 no bus, 7 FILE cannot be written.");
  record->fallthrough();
  velsim::ReplayOptions replaying;
  CLI::App* const replay = app.add_subcommand("replay", "Answer as a recorded service did");
  replay->add_option("FILE", replaying.file, "A recording")->required();
  replay
      ->add_option("--order", replaying.order,
                   "match: by the same request (default); strict: "
                   "in the order recorded")
      ->transform(CLI::CheckedTransformer(std::map<std::string, velsim::ReplayOrder>{
          {"match", velsim::ReplayOrder::kMatch}, {"strict", velsim::ReplayOrder::kStrict}}))
      ->option_text("match|strict");
  replay
      ->add_option("--speed", replaying.speed,
                   "1: as recorded (default), 10: ten times as fast, max: no pauses")
      ->transform(CLI::Validator(speedFactor, "", "speed"))
      ->type_name("N|max");
  replay->add_option("--bus,--address", replaying.address,
                     "Address at which clients find it, as --address above");
  replay->footer(
      "Example:\n"
      "  velsim replay field.jsonl --bus direct:/tmp/replay/vel\n"
      "Exit status: 0 stopped, 2 wrong usage, 3 no bus, 6 FILE has mistakes, 8 a request "
      "differed.");
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
