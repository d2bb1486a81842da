// velctl quality: reports on the quality of the stream.

#include <optional>
#include <string>

#include "vel/apps/local/velctl/arguments.h"
#include "vel/apps/local/velctl/commands/commands.h"
#include "vel/apps/local/velctl/failure.h"
#include "vel/apps/local/velctl/operation.h"

namespace velctl {
namespace {

// The only type of report with a figure.
constexpr unsigned int kTypeWithFigure = 1;

struct Bandwidth {
  unsigned long long first = 0;
  unsigned long long second = 0;
  std::string vmId;
};

void reportBandwidth(const Output& output, const Bandwidth& report) {
  const Operation operation("setBwInfo", report.vmId,
                            Json{{"first", report.first}, {"second", report.second}});
  operation.finishSent(output,
                       operation.client().reportBandwidth(report.vmId, report.first, report.second),
                       "bandwidth reported");
}

struct RtcReport {
  unsigned int type = 0;
  std::optional<unsigned int> figure;
  std::string vmId;
};

void reportRtc(const Output& output, const RtcReport& report) {
  if (report.figure.has_value() != (report.type == kTypeWithFigure)) {
    throw Failure(kExitUsage, "setRtcQosInfo: type 1 needs a figure, and no other type has one");
  }
  Json details = {{"type", report.type}};
  if (report.figure) {
    details["figure"] = *report.figure;
  }
  const Operation operation("setRtcQosInfo", report.vmId, details);
  operation.finishSent(output,
                       operation.client().reportQuality(report.vmId, report.type, report.figure),
                       "quality reported");
}

}  // namespace

void addQualityCommands(CommandLine& commandLine) {
  const ParserCommand group =
      commandLine.group("quality", "Report the quality of the stream; the service does not answer");

  const auto [bandwidthCommand, bandwidth] = addCommand(
      commandLine, group, "bandwidth", "Report two figures on the bandwidth", reportBandwidth);
  addNumber(bandwidthCommand, "first", bandwidth.first, "First figure").required();
  addNumber(bandwidthCommand, "second", bandwidth.second, "Second figure").required();
  addVm(bandwidthCommand, bandwidth.vmId).required();

  const auto [rtcCommand, rtc] = addCommand(
      commandLine, group, "rtc", "Report the quality of real-time communication", reportRtc);
  addNumber(rtcCommand, "type", rtc.type, "Type of the report").required();
  addNumber(rtcCommand, "figure", rtc.figure, "The figure, for type 1 only");
  addVm(rtcCommand, rtc.vmId).required();
}

}  // namespace velctl
