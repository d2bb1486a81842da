// chaos: see --help.

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>
#include <thread>
#include <vector>

#include <CLI/CLI.hpp>

#include "tests/chaos/modes.h"

namespace {

constexpr char kAbout[] =
    "Uses the library from several threads while its service, its bus and this process fail, and\n"
    "checks what must hold all the time. Ends with status 1 and a report as soon as one thing "
    "does\n"
    "not hold.\n\n"
    "The seed determines what each thread chooses and in which order; the order between threads\n"
    "is the system's. So a seed repeats the choices of a run, not its every step.";

std::string commandLine(int argc, char** argv) {
  std::string text;
  for (int i = 0; i < argc; ++i) {
    text += (i == 0 ? "" : " ") + std::string(argv[i]);
  }
  return text;
}

std::vector<std::string> namesOfInjuries() {
  std::vector<std::string> names;
  for (const chaos::InjuryName& injury : chaos::Injuries::names()) {
    names.emplace_back(injury.name);
  }
  return names;
}

}  // namespace

int main(int argc, char** argv) {
  chaos::Options options;
  std::string bus = "direct";
  CLI::App app(kAbout, "chaos");
  app.add_option("--seed", options.seed, "seed of all choices")->capture_default_str();
  app.add_option("--seconds", options.seconds, "how long to go on")->capture_default_str();
  app.add_option("--bus", bus, "daemon or direct")
      ->check(CLI::IsMember({"daemon", "direct"}))
      ->capture_default_str();
  app.add_option("--threads", options.threads, "threads that act as clients")
      ->check(CLI::Range(1, 16))
      ->capture_default_str();
  app.add_option("--faults", options.faults, "only these, with commas: see --list")
      ->delimiter(',')
      ->check(CLI::IsMember(namesOfInjuries()));
  app.add_option("--restarts", options.restarts,
                 "instead: restarts so often, and checks that nothing grows");
  app.add_option("--crashes", options.crashes,
                 "instead: the service crashes every second, so often");
  app.add_option("--slack", options.slackMs,
                 "milliseconds by which an operation may exceed its limit on this machine")
      ->capture_default_str();
  app.add_option("--json", options.json, "file for the figures");
  bool lists = false;
  app.add_flag("--list", lists, "prints what may happen, and ends");
  CLI11_PARSE(app, argc, argv);
  if (lists) {
    for (const chaos::InjuryName& injury : chaos::Injuries::names()) {
      std::printf("%-12s  %s\n", injury.name, injury.what);
    }
    return EXIT_SUCCESS;
  }
  options.bus = bus == "daemon" ? chaos::Bus::kDaemon : chaos::Bus::kDirect;
  options.command = commandLine(argc, argv);
  // The library prints there.
  if (!std::freopen("/dev/null", "w", stdout)) {
    return EXIT_FAILURE;
  }
  try {
    return chaos::run(options);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "chaos: %s\n", error.what());
    return EXIT_FAILURE;
  }
}
