// velctl service, self-test, bandwidth, quality: the service itself, and reports on the stream.

#include <cstdint>
#include <optional>
#include <string>

#include "vel/apps/local/velctl/commands/commands.h"
#include "vel/apps/local/velctl/run/actions.h"

namespace velctl {
namespace {

// The only type of report with a figure.
constexpr std::uint32_t kTypeWithFigure = 1;

std::string figureOfType(const Arguments& arguments) {
  const auto type = arguments.find("TYPE");
  if (type == arguments.end()) {
    return {};
  }
  const auto number = numberIn(velctl::number<std::uint32_t>("TYPE", ""), type->second.front());
  return (arguments.count("FIGURE") != 0) != (number == kTypeWithFigure)
             ? "type 1 needs a figure, and no other type has one"
             : "";
}

}  // namespace

std::vector<Command> serviceCommands() {
  return {
      {"service reset",
       "Reset the service: it forgets the state that clients have set",
       {},
       asksWithoutStatus(
           "resetService", [](const vel::Client& client, const Values&) { return client.reset(); },
           "the service has been reset"),
       {{"service reset", "As after its start"}},
       "",
       "reset"},
      {"self-test run",
       "Run a self-test of the service",
       {number<std::uint16_t>("TEST", "Number of the test")},
       asks(
           "doveltest",
           [](const vel::Client& client, const Values& values) {
             return client.selfTest(values.number<std::uint16_t>("TEST"));
           },
           "test {TEST} passed"),
       {{"self-test run 1", "The first self-test"}},
       "",
       "exec test"},
      {"bandwidth set",
       "Report two figures on the bandwidth of the stream; the service does not answer",
       {number<std::uint64_t>("FIRST", "First figure, in the service's unit"),
        number<std::uint64_t>("SECOND", "Second figure"), vmOption().required()},
       sends(
           "setBwInfo",
           [](const vel::Client& client, const Values& values) {
             return client.reportBandwidth(values.vm(), values.number<std::uint64_t>("FIRST"),
                                           values.number<std::uint64_t>("SECOND"));
           },
           "bandwidth of {--vm} reported"),
       {{"bandwidth set 100 200 --vm win11", "Two figures for win11"}},
       "",
       "quality bandwidth"},
      {"quality set",
       "Report the quality of real-time communication; the service does not answer",
       {number<std::uint32_t>("TYPE", "Type of the report"),
        number<std::uint32_t>("FIGURE", "The figure, for type 1 only").optional(),
        vmOption().required()},
       sends(
           "setRtcQosInfo",
           [](const vel::Client& client, const Values& values) {
             return client.reportQuality(values.vm(), values.number<std::uint32_t>("TYPE"),
                                         values.optionalNumber<std::uint32_t>("FIGURE"));
           },
           "quality of {--vm} reported"),
       {{"quality set 1 80 --vm win11", "Type 1 with the figure 80"}},
       "",
       "quality rtc",
       &figureOfType},
  };
}

}  // namespace velctl
