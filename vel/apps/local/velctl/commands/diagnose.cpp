// velctl diagnose: has the service look for what is wrong with a redirection.

#include <algorithm>
#include <chrono>
#include <functional>
#include <future>
#include <optional>
#include <string>
#include <utility>

#include "vel/apps/local/velctl/arguments.h"
#include "vel/apps/local/velctl/commands/commands.h"
#include "vel/apps/local/velctl/elapsed_time.h"
#include "vel/apps/local/velctl/failure.h"
#include "vel/apps/local/velctl/inbox.h"
#include "vel/apps/local/velctl/operation.h"
#include "vel/apps/local/velctl/records.h"
#include "vel/apps/local/velctl/text.h"

namespace velctl {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds kLimit{10};

// Nothing stands for the end of the request.
using Arrivals = Inbox<std::optional<Progress>>;

class Receiver : public VelDiagnoseNotify {
 public:
  explicit Receiver(unsigned long long id) : id_(id) {}

  Arrivals& arrivals() { return arrivals_; }

  void DiagnoseResultNotify(std::string vmId, unsigned long long id, unsigned int status,
                            std::string result) override {
    // The progress of everybody's diagnoses arrives.
    if (id == id_) {
      arrivals_.add(Progress{std::move(vmId), id, status, std::move(result)});
    }
  }

 private:
  const unsigned long long id_;
  Arrivals arrivals_;
};

struct Diagnosis {
  std::string method;
  Json details;
  unsigned long long id = 0;  // which its progress has
  std::function<std::string(const Operation&, VelDiagnoseNotify*)> ask;
};

struct Options {
  std::string vmId;
  unsigned int followSeconds = 1;
  std::optional<unsigned int> finalStatus;
};

struct Answer {
  std::string text;
  Json json;
};

void print(const Output& output, const Progress& progress) {
  Json json = {{"event", "diagnosis"}};
  json.update(toJson(progress));
  output.line("status " + std::to_string(progress.status) + ": " + printableLines(progress.text),
              json);
}

// Prints progress until the request has ended; whether some of it was final.
bool printWhileAsking(const Output& output, Arrivals& arrivals, const Options& options) {
  ElapsedTime elapsed("diagnosing", kLimit);
  bool isFinal = false;
  while (const std::optional<Progress> progress = *arrivals.next(std::nullopt)) {
    elapsed.erase();
    print(output, *progress);
    isFinal = isFinal || progress->status == options.finalStatus;
  }
  return isFinal;
}

// Prints progress until it is final, or the time is over; whether it was.
bool printWhileFollowing(const Output& output, Arrivals& arrivals, const Options& options) {
  const Clock::time_point end = Clock::now() + std::chrono::seconds(options.followSeconds);
  for (;;) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now());
    const std::optional<std::optional<Progress>> next =
        arrivals.next(std::max(left, std::chrono::milliseconds{0}));
    if (!next) {
      return false;
    }
    print(output, **next);
    if ((*next)->status == options.finalStatus) {
      return true;
    }
  }
}

void diagnose(const Output& output, const Options& options, const Diagnosis& diagnosis) {
  if (options.vmId.empty()) {
    throw Failure(kExitUsage, diagnosis.method + ": name a VM; there is none on this machine");
  }
  // Never destroyed: progress may come as late as the end of the process.
  static Receiver& receiver = *new Receiver(diagnosis.id);
  Arrivals& arrivals = receiver.arrivals();

  // Progress comes while the request is still waiting for its answer.
  std::future<Answer> request = std::async(std::launch::async, [&]() -> Answer {
    try {
      const Operation operation(diagnosis.method, options.vmId, diagnosis.details);
      const std::string text = diagnosis.ask(operation, &receiver);
      Answer answer = {printableLines(text), operation.answered(Json{{"text", jsonText(text)}})};
      arrivals.add(std::nullopt);
      return answer;
    } catch (...) {
      arrivals.add(std::nullopt);
      throw;
    }
  });
  const bool wasFinal = printWhileAsking(output, arrivals, options);
  const Answer answer = request.get();
  output.line(answer.text, answer.json);

  const bool isFinal = wasFinal || printWhileFollowing(output, arrivals, options);
  if (options.finalStatus && !isFinal) {
    throw Failure(kExitNoAnswer, diagnosis.method + " for " + shown(options.vmId) +
                                     ": no progress with status " +
                                     std::to_string(*options.finalStatus) + " within " +
                                     std::to_string(options.followSeconds) +
                                     " s of the answer; --follow waits longer");
  }
}

struct Source {
  unsigned long long source = 0;
  Options options;
};

void source(const Output& output, const Source& source) {
  diagnose(output, source.options,
           {"diagnose", Json{{"source", source.source}}, source.source,
            [&source](const Operation& operation, VelDiagnoseNotify* notify) {
              return operation->Diagnose(source.options.vmId, source.source, notify);
            }});
}

struct Device {
  unsigned short device = 0;
  Options options;
};

void device(const Output& output, const Device& device) {
  diagnose(output, device.options,
           {"diagnoseDevice", Json{{"device", device.device}}, device.device,
            [&device](const Operation& operation, VelDiagnoseNotify* notify) {
              return operation->DiagnoseDevice(device.options.vmId, device.device, notify);
            }});
}

void addOptions(const ParserCommand& command, Options& options) {
  command.addOption("--vm", options.vmId, "Name of the VM").required().typeName("NAME");
  addNumber(command, "--follow", options.followSeconds,
            "Seconds to wait for progress after the answer [1]");
  addNumber(command, "--until", options.finalStatus,
            "Status of the progress that ends it; fails when none comes");
}

}  // namespace

void addDiagnoseCommands(CommandLine& commandLine) {
  const ParserCommand group = commandLine.group(
      "diagnose", "Diagnose redirections, and show the progress that the service tells");
  const auto bySource =
      addCommand(commandLine, group, "source",
                 "Diagnose the redirection of a source (takes up to 10 s)", source);
  addNumber(bySource.command, "source", bySource.arguments.source, "Id of the source").required();
  addOptions(bySource.command, bySource.arguments.options);

  const auto byDevice =
      addCommand(commandLine, group, "device",
                 "Diagnose the redirection of a device (takes up to 10 s)", device);
  addNumber(byDevice.command, "device", byDevice.arguments.device, "Number of the device")
      .required();
  addOptions(byDevice.command, byDevice.arguments.options);
}

}  // namespace velctl
