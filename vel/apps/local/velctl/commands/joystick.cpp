// velctl joystick: joysticks and their mappings.

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "base/printable.h"
#include "base/result.h"
#include "base/text.h"
#include "vel/apps/local/velctl/arguments.h"
#include "vel/apps/local/velctl/commands/commands.h"
#include "vel/apps/local/velctl/display.h"
#include "vel/apps/local/velctl/failure.h"
#include "vel/apps/local/velctl/inbox.h"
#include "vel/apps/local/velctl/interruption.h"
#include "vel/apps/local/velctl/operation.h"
#include "vel/apps/local/velctl/service_interface.h"

namespace velctl {
namespace {

// Records are shown as bytes: neither the library nor velctl interprets them.
template <typename Record>
void finishRecords(const Output& output, const Operation& operation, const std::string& name,
                   const std::string& singular, const vel::Result<std::vector<Record>>& records) {
  Json elements = Json::array();
  std::string text;
  for (const Record& record : received(records)) {
    const std::string_view bytes = textOf(record.bytes);
    const unsigned short index = record.index.value();
    text +=
        (text.empty() ? "" : "\n") + singular + " " + std::to_string(index) + "\n" + hexDump(bytes);
    elements.push_back({{"index", index}, {"hex", base::hexOf(bytes)}});
  }
  operation.finishList(output, name, elements, text, records);
}

void listJoysticks(const Output& output) {
  const Operation operation("getJoystickDevList");
  finishRecords(output, operation, "joysticks", "joystick", operation.client().joysticks());
}

void listMappings(const Output& output) {
  const Operation operation("getJoystickMappingList");
  finishRecords(output, operation, "mappings", "mapping", operation.client().joystickMappings());
}

struct MappingChoice {
  unsigned short joystick = 0;
  unsigned short mapping = 0;
};

void map(const Output& output, const MappingChoice& choice) {
  const Operation operation("setJoystickMapping",
                            Json{{"joystick", choice.joystick}, {"mapping", choice.mapping}});
  const auto result = operation.client().setJoystickMapping(vel::JoystickIndex(choice.joystick),
                                                            vel::MappingIndex(choice.mapping));
  operation.finish(output, result,
                   "joystick " + std::to_string(choice.joystick) + " has mapping " +
                       std::to_string(choice.mapping));
}

struct JoystickPosition {
  unsigned short joystick = 0;
};

void calibrate(const Output& output, const JoystickPosition& given) {
  const Operation operation("calibrationJoystick", Json{{"joystick", given.joystick}});
  const auto result = operation.client().calibrateJoystick(vel::JoystickIndex(given.joystick));
  operation.finish(output, result, "joystick " + std::to_string(given.joystick) + " calibrated");
}

// --- Results -------------------------------------------------------------------------------------

// A result, or the service's answer to a request for a subscription.
using JoystickArrival = std::variant<vel::JoystickEvent, vel::Result<void>>;
using JoystickArrivals = Inbox<JoystickArrival>;

constexpr char kSubscribe[] = "registerJoystickCallback";

// The subscription to the results, which the service has not answered at first.
class Subscribing {
 public:
  Subscribing(const vel::Client& client, std::shared_ptr<JoystickArrivals> arrivals)
      : client_(client),
        task_(client.start(
            [arrivals, subscription = subscription_](const vel::Client& its) -> vel::Result<void> {
              if (arrivals->isStopped()) {
                return vel::unexpected<vel::Error>(
                    vel::Error(vel::ErrorKind::kRefusedArgument, kSubscribe, "interrupted"));
              }
              auto begun = its.onJoystick(
                  [arrivals](const vel::JoystickEvent& event) { arrivals->add(event); });
              if (!begun) {
                return vel::unexpected<vel::Error>(begun.error());
              }
              *subscription = std::move(*begun);
              return {};
            },
            [arrivals](const vel::Result<void>& answer) { arrivals->addAlways(answer); })) {}

  bool isAnswered() const { return task_.isReady(); }
  const vel::Result<void>& answer() const { return task_.get(); }

  // Without this the service would keep the subscription that it has not answered. Returns the
  // result as a message.
  std::string giveUp() {
    const base::Result<void> ended = endJoystickSubscription(client_.proxy());
    task_.detach();
    return ended ? "the subscription has ended"
                 : "the service has not confirmed the end of the subscription: " +
                       base::printable(ended.reason());
  }

  // Returns the service's answer to the end.
  vel::Result<void> end() {
    subscription_->end();
    return subscription_->outcome();
  }

 private:
  const vel::Client client_;
  // Shared with the thread that subscribes, which may outlive this object.
  const std::shared_ptr<vel::Subscription> subscription_ = std::make_shared<vel::Subscription>();
  vel::Task<void> task_;
};

void writeResult(const Output& output, const vel::JoystickEvent& event) {
  const std::string_view bytes = textOf(event.result.bytes);
  output.line("joystick result (code " + std::to_string(event.code) + ")\n" + hexDump(bytes),
              {{"event", "joystick"}, {"code", event.code}, {"hex", base::hexOf(bytes)}});
}

void writeJoystickArrivals(const Output& output, const Operation& operation,
                           JoystickArrivals& arrivals) {
  while (const std::optional<JoystickArrival> arrival = arrivals.next()) {
    Output::noteDropped(arrivals.droppedBefore(), "result");
    const auto* const event = std::get_if<vel::JoystickEvent>(&*arrival);
    try {
      if (event) {
        writeResult(output, *event);
      } else {
        operation.finish(output, std::get<vel::Result<void>>(*arrival),
                         "subscribed to joystick results; interrupt to end");
      }
    } catch (const Interrupted&) {
      // A result in hand is lost as well.
      Output::noteDropped(arrivals.remaining() + (event ? 1 : 0), "result");
      return;
    }
  }
}

void watchResults(const Output& output) {
  const Operation operation(kSubscribe);
  const auto arrivals = std::make_shared<JoystickArrivals>();
  const vel::Subscription returns =
      operation.client().onServiceReturn([arrivals](const vel::ServiceReturn& back) {
        if (back.joysticks) {
          arrivals->addAlways(*back.joysticks ? vel::Result<void>()
                                              : vel::unexpected<vel::Error>(back.failures.back()));
        }
      });
  const Interruption interruption([arrivals] { arrivals->stop(); });
  Subscribing subscribing(operation.client(), arrivals);
  writeJoystickArrivals(output, operation, *arrivals);
  if (!subscribing.isAnswered()) {
    throw Failure(kExitInterrupted,
                  std::string(kSubscribe) + ": interrupted; " + subscribing.giveUp());
  }
  operation.check(subscribing.answer());
  const Operation end("unregisterJoystickCallback");
  try {
    end.finish(output, subscribing.end(), "subscription ended");
  } catch (const Interrupted&) {
    // The subscription has ended all the same.
  }
}

}  // namespace

void addJoystickCommands(CommandLine& commandLine) {
  const ParserCommand group = commandLine.group("joystick", "Joysticks and their mappings");
  commandLine.command(group, "list", "List the joysticks; the position identifies each",
                      listJoysticks);
  commandLine.command(group, "mappings", "List the mappings; the position identifies each",
                      listMappings);

  const auto [mapCommand, choice] =
      addCommand(commandLine, group, "map", "Choose a mapping for a joystick", map);
  addNumber(mapCommand, "joystick", choice.joystick, "Position of the joystick, from 0").required();
  addNumber(mapCommand, "mapping", choice.mapping, "Position of the mapping, from 0").required();

  const auto [calibrateCommand, given] =
      addCommand(commandLine, group, "calibrate", "Calibrate a joystick", calibrate);
  addNumber(calibrateCommand, "joystick", given.joystick, "Position of the joystick, from 0")
      .required();

  commandLine.command(group, "watch", "Print joystick results until interrupted (exit status 0)",
                      watchResults);
}

}  // namespace velctl
