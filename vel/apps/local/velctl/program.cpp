#include "vel/apps/local/velctl/program.h"

#include <cstdlib>
#include <exception>
#include <string_view>

#include "base/printable.h"
#include "vel/apps/local/velctl/completion/entry.h"
#include "vel/apps/local/velctl/failure.h"
#include "vel/apps/local/velctl/line/command_line.h"
#include "vel/apps/local/velctl/output/field.h"
#include "vel/apps/local/velctl/output/output.h"
#include "vel/apps/local/velctl/output/text_forms.h"
#include "vel/apps/local/velctl/run/invocation.h"
#include "vel/apps/local/velctl/run/session.h"

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

// Writes a failure to standard error, and to standard output in the JSON form.
ExitCode report(const Output& output, const ParsedLine& line, const Failure& failure) {
  const std::string text = failure.what();
  Json error = {{"kind", nameOf(failure.code())}, {"exitStatus", int{failure.code()}}};
  if (!failure.method().empty()) {
    error["operation"] = failure.method();
  }
  if (failure.status()) {
    addMember(error, {"status", Type::kMeaning, velprotocol::Legend("", velprotocol::kStatuses)},
              *failure.status());
  }
  // A mistake on the line begins with the words of the line.
  constexpr std::string_view kProgram = "velctl: ";
  const std::string message = (line.mistake.empty() ? std::string(kProgram) : "") + text;
  error["text"] =
      jsonText(message.rfind(kProgram, 0) == 0 ? message.substr(kProgram.size()) : message);
  Output::message(message);
  if (failure.code() != kExitOutputLost) {
    Json json = failure.known();
    json["error"] = error;
    output.json(json);
  }
  return failure.code();
}

ExitCode run(const Output& output, const ParsedLine& line) {
  if (!line.mistake.empty()) {
    throw Failure(kExitUsage, line.mistake);
  }
  if (!line.help.empty()) {
    output.text(line.help);
    return kExitDone;
  }
  if (line.command->action.runAlone) {
    return line.command->action.runAlone(line, output);
  }
  chooseLogLevel(line.isVerbose);
  if (line.bus) {
    ::setenv("QXBUS_ADDRESS", line.bus->c_str(), 1);
  }
  Session session(output, line.timeout);
  session.setBus(line.bus.value_or(""));
  Invocation invocation(*line.command, line.arguments, session);
  try {
    invocation.resolve();
    line.command->action.run(invocation);
    return kExitDone;
  } catch (const Interrupted&) {
    invocation.fail(kExitInterrupted, "interrupted");
  } catch (const TimeOver&) {
    invocation.fail(kExitNoReply, "not done within the time of --timeout");
  }
}

}  // namespace

ExitCode runCommandLine(const std::vector<std::string>& arguments, int dataDescriptor) {
  if (asksForCandidates(arguments)) {
    writeCandidates(arguments, Output(dataDescriptor, Form::kText, true));
    return kExitDone;
  }
  const ParsedLine line = parseLine(arguments);
  const Output output(dataDescriptor, line.isJson ? Form::kJson : Form::kText, line.isQuiet);
  try {
    try {
      return run(output, line);
    } catch (const Failure& failure) {
      return report(output, line, failure);
    } catch (const std::exception& error) {
      return report(output, line, Failure(kExitFailed, base::printable(error.what())));
    }
  } catch (const Failure& lost) {
    Output::error(lost.what());
    return lost.code();
  }
}

}  // namespace velctl
