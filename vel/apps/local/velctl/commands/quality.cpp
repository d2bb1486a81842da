// velctl quality: figures on the quality of the stream.

#include <optional>
#include <string>

#include "vel/apps/local/velctl/arguments.h"
#include "vel/apps/local/velctl/commands/commands.h"
#include "vel/apps/local/velctl/failure.h"
#include "vel/apps/local/velctl/operation.h"

namespace velctl {
namespace {

// The one type of report that carries a figure.
constexpr unsigned int kTypeWithFigure = 1;
constexpr int kSent = 0;

struct Bandwidth {
  unsigned long long first = 0;
  unsigned long long second = 0;
  std::string vmId;
};

void bandwidth(const Output& output, const Bandwidth& figures) {
  const Operation operation("setBwInfo", figures.vmId,
                            Json{{"first", figures.first}, {"second", figures.second}});
  operation->SetBwInfo(figures.vmId, figures.first, figures.second);
  operation.finishSent(output, kSent, "bandwidth reported");
}

struct Rtc {
  unsigned int type = 0;
  std::optional<unsigned int> figure;
  std::string vmId;
};

void rtc(const Output& output, const Rtc& report) {
  if (report.figure.has_value() != (report.type == kTypeWithFigure)) {
    throw Failure(kExitUsage, "setRtcQosInfo: type 1 needs a figure, and no other type has one");
  }
  Json details = {{"type", report.type}};
  unsigned int figure = report.figure.value_or(0);
  if (report.figure) {
    details["figure"] = figure;
  }
  const Operation operation("setRtcQosInfo", report.vmId, details);
  operation->SetRtcQosInfo(report.vmId, report.type, report.figure ? &figure : nullptr);
  operation.finishSent(output, kSent, "quality reported");
}

}  // namespace

void addQualityCommands(CommandLine& commandLine) {
  const ParserCommand group = commandLine.group(
      "quality", "Figures on the quality of the stream; their outcome is not told");

  const auto [bandwidthCommand, figures] =
      addCommand(commandLine, group, "bandwidth", "Report two figures on the bandwidth", bandwidth);
  addNumber(bandwidthCommand, "first", figures.first, "First figure").required();
  addNumber(bandwidthCommand, "second", figures.second, "Second figure").required();
  addVm(bandwidthCommand, figures.vmId).required();

  const auto [rtcCommand, report] =
      addCommand(commandLine, group, "rtc", "Report on real-time communication", rtc);
  addNumber(rtcCommand, "type", report.type, "Type of the report").required();
  addNumber(rtcCommand, "figure", report.figure, "The figure, for type 1 only");
  addVm(rtcCommand, report.vmId).required();
}

}  // namespace velctl
