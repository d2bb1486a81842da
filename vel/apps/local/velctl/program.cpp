#include "vel/apps/local/velctl/program.h"

#include <cstdlib>
#include <exception>

#include "vel/apps/local/velctl/command_line.h"
#include "vel/apps/local/velctl/commands/commands.h"
#include "vel/apps/local/velctl/failure.h"
#include "vel/apps/local/velctl/interruption.h"
#include "vel/apps/local/velctl/output.h"

namespace velctl {
namespace {

// The library logs each step at level debug, into files that it shares with every other client of
// this user. A tool that runs often would fill them, so it logs errors only unless asked.
void chooseLogLevel(bool isVerbose) {
  constexpr char kLevel[] = "QX_LOG_LEVEL";
  const char* const chosen = std::getenv(kLevel);
  if (isVerbose) {
    ::setenv(kLevel, "debug", 1);
  } else if (!chosen || *chosen == '\0') {
    ::setenv(kLevel, "error", 1);
  }
}

ExitCode parseAndRun(const std::vector<std::string>& arguments, int dataDescriptor) {
  CommandLine commandLine;
  addCommands(commandLine);
  const CommandLine::Parsed parsed = commandLine.parse(arguments);
  if (!parsed.mistake.empty()) {
    Output::message(parsed.mistake);
    return kExitUsage;
  }
  const Output output(dataDescriptor, commandLine.form());
  if (!parsed.help.empty()) {
    output.text(parsed.help);
    return kExitOk;
  }
  chooseLogLevel(commandLine.isVerbose());
  commandLine.run(output);
  return kExitOk;
}

}  // namespace

ExitCode runCommandLine(const std::vector<std::string>& arguments, int dataDescriptor) {
  try {
    return parseAndRun(arguments, dataDescriptor);
  } catch (const Failure& failure) {
    Output::note(failure.what());
    return failure.code();
  } catch (const Interrupted&) {
    return kExitInterrupted;
  } catch (const std::exception& error) {
    Output::note(error.what());
    return kExitFailed;
  }
}

}  // namespace velctl
