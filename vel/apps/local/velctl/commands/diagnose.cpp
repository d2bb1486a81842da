// velctl diagnose: has the service diagnose a redirection.

#include <chrono>
#include <memory>
#include <optional>
#include <string>

#include "vel/apps/local/velctl/arguments.h"
#include "vel/apps/local/velctl/commands/commands.h"
#include "vel/apps/local/velctl/display.h"
#include "vel/apps/local/velctl/elapsed_time.h"
#include "vel/apps/local/velctl/failure.h"
#include "vel/apps/local/velctl/inbox.h"
#include "vel/apps/local/velctl/operation.h"
#include "vel/apps/local/velctl/record_display.h"

namespace velctl {
namespace {

// In the report of dropped items.
constexpr char kProgress[] = "progress report";

// nullopt stands for the end of the request.
using Arrivals = Inbox<std::optional<vel::DiagnosisEvent>>;

struct Options {
  std::string vmId;
  unsigned int followSeconds = 1;
  std::optional<unsigned int> finalStatus;
};

// Whether this is the progress that the user waits for.
bool isFinal(const vel::DiagnosisEvent& progress, const Options& options) {
  return options.finalStatus && vel::number(progress.status) == *options.finalStatus;
}

void writeProgress(const Output& output, const vel::DiagnosisEvent& progress) {
  Json json = {{"event", "diagnosis"}};
  json.update(toJson(progress));
  output.line("status " + std::to_string(vel::number(progress.status)) + ": " +
                  printableLines(progress.text),
              json);
}

// Writes progress until the request has ended; returns whether some of it was final.
bool writeWhileWaiting(const Output& output, Arrivals& arrivals, const std::string& method,
                       const Options& options) {
  ElapsedTime elapsed("diagnosing", timeLimitOf(method));
  bool wasFinal = false;
  for (;;) {
    const std::optional<vel::DiagnosisEvent> progress = *arrivals.next();
    elapsed.erase();
    Output::noteDropped(arrivals.droppedBefore(), kProgress);
    if (!progress) {
      return wasFinal;
    }
    writeProgress(output, *progress);
    wasFinal = wasFinal || isFinal(*progress, options);
  }
}

// Writes progress until some of it is final, or the time has passed; returns whether it was.
bool writeWhileFollowing(const Output& output, Arrivals& arrivals, const Options& options) {
  const auto deadline = Arrivals::Clock::now() + std::chrono::seconds(options.followSeconds);
  while (const std::optional<std::optional<vel::DiagnosisEvent>> next = arrivals.next(deadline)) {
    Output::noteDropped(arrivals.droppedBefore(), kProgress);
    writeProgress(output, **next);
    if (isFinal(**next, options)) {
      return true;
    }
  }
  Output::noteDropped(arrivals.remaining(), kProgress);
  return false;
}

// subject is a source or a device, which the progress names by its number.
template <typename Subject>
void diagnose(const Output& output, const Options& options, const std::string& method,
              const char* argument, Subject subject) {
  if (options.vmId.empty()) {
    throw Failure(kExitUsage, method + ": name a VM; there is none on this machine");
  }
  const Operation operation(method, options.vmId, Json{{argument, subject.value()}});
  // Progress comes while the request still waits for its answer.
  const auto arrivals = std::make_shared<Arrivals>();
  const vel::Subscription subscription =
      operation.client().onDiagnosis([arrivals, subject](const vel::DiagnosisEvent& event) {
        // The service sends the progress of every client's diagnoses.
        if (event.id == subject.value()) {
          arrivals->add(event);
        }
      });
  vel::Task<std::string> request = operation.client().startDiagnosis(
      options.vmId, subject, [arrivals](const auto&) { arrivals->addAlways(std::nullopt); });
  bool wasFinal = false;
  try {
    wasFinal = writeWhileWaiting(output, *arrivals, method, options);
  } catch (const Failure&) {
    request.detach();
    throw;
  }
  const std::string text = operation.valueOf(request.get());
  operation.finishWith(output, printableLines(text), Json{{"text", jsonText(text)}});

  wasFinal = wasFinal || writeWhileFollowing(output, *arrivals, options);
  if (options.finalStatus && !wasFinal) {
    throw Failure(kExitNoAnswer, method + " for " + quotedName(options.vmId) +
                                     ": no progress with status " +
                                     std::to_string(*options.finalStatus) + " within " +
                                     std::to_string(options.followSeconds) +
                                     " s of the answer; --follow waits longer");
  }
}

struct SourceDiagnosis {
  unsigned long long source = 0;
  Options options;
};

void diagnoseSource(const Output& output, const SourceDiagnosis& given) {
  diagnose(output, given.options, "diagnose", "source", vel::SourceId(given.source));
}

struct DeviceDiagnosis {
  unsigned short device = 0;
  Options options;
};

void diagnoseDevice(const Output& output, const DeviceDiagnosis& given) {
  diagnose(output, given.options, "diagnoseDevice", "device", vel::DeviceNumber(given.device));
}

void addOptions(const ParserCommand& command, Options& options) {
  command.addOption("--vm", options.vmId, "Name of the VM").required().typeName("NAME");
  addNumber(command, "--follow", options.followSeconds,
            "Seconds to wait for progress after the answer [1]");
  addNumber(command, "--until", options.finalStatus,
            "Status of the progress that ends the command, which fails without such progress");
}

}  // namespace

void addDiagnoseCommands(CommandLine& commandLine) {
  const ParserCommand group =
      commandLine.group("diagnose", "Diagnose redirections and show the progress");
  const auto [sourceCommand, source] =
      addCommand(commandLine, group, "source",
                 "Diagnose the redirection of a source (takes up to 10 s)", diagnoseSource);
  addNumber(sourceCommand, "source", source.source, "Source id").required();
  addOptions(sourceCommand, source.options);

  const auto [deviceCommand, device] =
      addCommand(commandLine, group, "device",
                 "Diagnose the redirection of a device (takes up to 10 s)", diagnoseDevice);
  addNumber(deviceCommand, "device", device.device, "Number of the device").required();
  addOptions(deviceCommand, device.options);
}

}  // namespace velctl
