// velctl diagnose: has the service diagnose a redirection.

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "vel/apps/local/velctl/arguments.h"
#include "vel/apps/local/velctl/background.h"
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
using Arrivals = Inbox<std::optional<Progress>>;

// One for the process, never destroyed: progress may come as late as the end of the process.
class Receiver : public VelDiagnoseNotify {
 public:
  static Receiver& instance() {
    static Receiver& receiver = *new Receiver;
    return receiver;
  }

  void start(unsigned long long id, std::shared_ptr<Arrivals> arrivals) {
    const platform::MutexLock lock(mutex_);
    id_ = id;
    arrivals_ = std::move(arrivals);
  }

  void DiagnoseResultNotify(std::string vmId, unsigned long long id, unsigned int status,
                            std::string result) override {
    const platform::MutexLock lock(mutex_);
    // The service sends the progress of every client's diagnoses.
    if (id == id_) {
      arrivals_->add(Progress{std::move(vmId), id, status, std::move(result)});
    }
  }

 private:
  platform::Mutex mutex_;
  unsigned long long id_ QX_GUARDED_BY(mutex_) = 0;
  std::shared_ptr<Arrivals> arrivals_ QX_GUARDED_BY(mutex_);
};

struct Options {
  std::string vmId;
  unsigned int followSeconds = 1;
  std::optional<unsigned int> finalStatus;
};

struct Diagnosis {
  std::string method;
  Json details;
  unsigned long long id = 0;  // of the progress
  std::function<std::string(Operation&, VelDiagnoseNotify*)> request;
};

struct Answer {
  std::string text;
  Json json;
};

Answer requestAnswer(const Diagnosis& diagnosis, const std::string& vmId,
                     VelDiagnoseNotify* notify) {
  Operation operation(diagnosis.method, vmId, diagnosis.details);
  const std::string text = diagnosis.request(operation, notify);
  return {printableLines(text), operation.answered(Json{{"text", jsonText(text)}})};
}

void writeProgress(const Output& output, const Progress& progress) {
  Json json = {{"event", "diagnosis"}};
  json.update(toJson(progress));
  output.line("status " + std::to_string(progress.status) + ": " + printableLines(progress.text),
              json);
}

// Writes progress until the request has ended; returns whether some of it was final.
bool writeWhileWaiting(const Output& output, Arrivals& arrivals, const std::string& method,
                       const Options& options) {
  ElapsedTime elapsed("diagnosing", timeLimitOf(method));
  bool isFinal = false;
  for (;;) {
    const std::optional<Progress> progress = *arrivals.next();
    elapsed.erase();
    Output::noteDropped(arrivals.droppedBefore(), kProgress);
    if (!progress) {
      return isFinal;
    }
    writeProgress(output, *progress);
    isFinal = isFinal || progress->status == options.finalStatus;
  }
}

// Writes progress until some of it is final, or the time has passed; returns whether it was.
bool writeWhileFollowing(const Output& output, Arrivals& arrivals, const Options& options) {
  const auto deadline = Arrivals::Clock::now() + std::chrono::seconds(options.followSeconds);
  while (const std::optional<std::optional<Progress>> next = arrivals.next(deadline)) {
    Output::noteDropped(arrivals.droppedBefore(), kProgress);
    writeProgress(output, **next);
    if ((*next)->status == options.finalStatus) {
      return true;
    }
  }
  Output::noteDropped(arrivals.remaining(), kProgress);
  return false;
}

void diagnose(const Output& output, const Options& options, const Diagnosis& diagnosis) {
  if (options.vmId.empty()) {
    throw Failure(kExitUsage, diagnosis.method + ": name a VM; there is none on this machine");
  }
  const auto arrivals = std::make_shared<Arrivals>();
  Receiver::instance().start(diagnosis.id, arrivals);

  // Progress comes while the request still waits for its answer.
  Background<Answer> request(
      "diagnose",
      [diagnosis, vmId = options.vmId] {
        return requestAnswer(diagnosis, vmId, &Receiver::instance());
      },
      [arrivals] { arrivals->addAlways(std::nullopt); });
  const bool wasFinal = writeWhileWaiting(output, *arrivals, diagnosis.method, options);
  const Answer answer = request.get();
  output.line(answer.text, answer.json);

  const bool isFinal = wasFinal || writeWhileFollowing(output, *arrivals, options);
  if (options.finalStatus && !isFinal) {
    throw Failure(kExitNoAnswer, diagnosis.method + " for " + quotedName(options.vmId) +
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
  diagnose(output, given.options,
           {"diagnose", Json{{"source", given.source}}, given.source,
            [given](Operation& operation, VelDiagnoseNotify* notify) {
              return operation.call(&qx::VelProxy::Diagnose, given.options.vmId, given.source,
                                    notify);
            }});
}

struct DeviceDiagnosis {
  unsigned short device = 0;
  Options options;
};

void diagnoseDevice(const Output& output, const DeviceDiagnosis& given) {
  diagnose(output, given.options,
           {"diagnoseDevice", Json{{"device", given.device}}, given.device,
            [given](Operation& operation, VelDiagnoseNotify* notify) {
              return operation.call(&qx::VelProxy::DiagnoseDevice, given.options.vmId, given.device,
                                    notify);
            }});
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
