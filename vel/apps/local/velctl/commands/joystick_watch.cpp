// velctl joystick watch: results of joysticks.

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>

#include "base/printable.h"
#include "base/text.h"
#include "vel/apps/local/velctl/commands/commands.h"
#include "vel/apps/local/velctl/output/text_forms.h"
#include "vel/apps/local/velctl/output/time_forms.h"
#include "vel/apps/local/velctl/run/actions.h"
#include "vel/apps/local/velctl/run/service_interface.h"

namespace velctl {
namespace {

constexpr char kSubscribe[] = "registerJoystickCallback";
constexpr char kUnsubscribe[] = "unregisterJoystickCallback";

struct SeenResult {
  std::chrono::system_clock::time_point time;
  vel::JoystickEvent event;
};

// A result, or the service's answer to a request for a subscription.
using Arrival = std::variant<SeenResult, vel::Result<void>>;

// The subscription to the results, which the service has not answered at first. A call that has
// been given up may still use it.
struct Subscribing {
  Inbox<Arrival> inbox;
  // The last: their callbacks use the inbox.
  vel::Subscription returns;
  vel::Subscription results;
};

vel::Result<void> subscribe(const vel::Client& client,
                            const std::shared_ptr<Subscribing>& subscribing) {
  Inbox<Arrival>* const inbox = &subscribing->inbox;
  subscribing->returns = client.onServiceReturn([inbox](const vel::ServiceReturn& back) {
    if (back.joysticks) {
      inbox->addAlways(*back.joysticks ? vel::Result<void>()
                                       : vel::unexpected<vel::Error>(back.failures.back()));
    }
  });
  if (inbox->isStopped()) {
    return vel::unexpected<vel::Error>(
        vel::Error(vel::ErrorKind::kRefusedArgument, kSubscribe, "interrupted"));
  }
  auto begun = client.onJoystick([inbox](const vel::JoystickEvent& event) {
    inbox->add(SeenResult{std::chrono::system_clock::now(), event});
  });
  if (!begun) {
    return vel::unexpected<vel::Error>(begun.error());
  }
  subscribing->results = std::move(*begun);
  return {};
}

// Without this the service would keep the subscription that it has not answered. Returns the result
// as a message.
std::string giveUp(const vel::Client& client) {
  const base::Result<void> ended = endJoystickSubscription(client.proxy());
  return ended ? "the subscription has ended"
               : "the service has not confirmed the end of the subscription: " +
                     base::printable(ended.reason());
}

void writeResult(const Output& output, const SeenResult& seen) {
  const std::string_view bytes = textOf(seen.event.result.bytes);
  output.line(clockTime(seen.time) + "  joystick result (" + std::to_string(seen.event.code) +
                  ")\n" + hexDump(bytes),
              {{"event", "joystick"},
               {"time", isoTime(seen.time)},
               {"code", seen.event.code},
               {"hex", base::hexOf(bytes)}});
}

// Until it is interrupted or its output is closed.
void writeArrivals(const Invocation& invocation, Inbox<Arrival>& inbox) {
  Progress progress("waiting for the subscription", timeLimitOf(kSubscribe),
                    invocation.output().isQuiet());
  Progress idle("", std::chrono::seconds(0), true);
  bool isSubscribed = false;
  for (;;) {
    const auto arrival = invocation.session().next(inbox, isSubscribed ? idle : progress);
    isSubscribed = true;
    Output::noteDropped(inbox.droppedBefore(), "result");
    const auto* const result = std::get_if<SeenResult>(&*arrival);
    try {
      if (result) {
        writeResult(invocation.output(), *result);
      } else {
        invocation.finish(std::get<vel::Result<void>>(*arrival),
                          "subscribed to joystick results; interrupt to end");
      }
    } catch (const Interrupted&) {
      // A result in hand is lost as well.
      Output::noteDropped(inbox.remaining() + (result ? 1 : 0), "result");
      throw;
    }
  }
}

// Ends the subscription, which the service has confirmed. The waits of the session are over, so
// this one has only the limit of the call.
void end(Invocation& invocation, Subscribing& subscribing) {
  subscribing.results.end();
  invocation.setMethod(kUnsubscribe);
  try {
    invocation.finish(subscribing.results.outcome(), "subscription ended");
  } catch (const Interrupted&) {
    // The subscription has ended all the same.
  } catch (const OutputClosed&) {
  }
}

void watchResults(Invocation& invocation) {
  invocation.session().stopWithOutput();
  invocation.check(
      invocation.call([](const vel::Client& client, const Values&) { return client.connect(); }));
  // Made while there is a connection, so that it does not wait.
  const vel::Client client;
  const auto subscribing = std::make_shared<Subscribing>();
  const Background<void> task(vel::Task<void>(
      [subscribing] { return subscribe(vel::Client(), subscribing); }, {},
      [subscribing](const vel::Result<void>& answer) { subscribing->inbox.addAlways(answer); },
      {}));
  ExitCode status = kExitDone;
  std::string why;
  try {
    writeArrivals(invocation, subscribing->inbox);
  } catch (const Interrupted&) {
    status = kExitInterrupted;
    why = "interrupted; ";
  } catch (const OutputClosed&) {
    // As good an end as any.
  } catch (const TimeOver&) {
    status = kExitNoReply;
    why = "not done within the time of --timeout; ";
  }
  subscribing->inbox.stop();
  const bool isAnswered = task.task().isReady();
  if (isAnswered && task.task().get()) {
    end(invocation, *subscribing);
    return;
  }
  const std::string result = isAnswered ? "there is no subscription yet" : giveUp(client);
  if (status != kExitDone) {
    invocation.fail(status, why + result);
  }
}

}  // namespace

Command joystickWatchCommand() {
  Action action = runs(kSubscribe, &watchResults, statusMembers());
  action.events = {
      {"joystick", {{"time", Type::kText}, {"code", Type::kInteger}, {"hex", Type::kHex}}}};
  return {"joystick watch",
          "Show joystick results until interrupted",
          {},
          action,
          {{"joystick watch", "Results, as their bytes"}},
          "An interrupt, a closed pipe and --timeout end it with exit status 0, after the service "
          "has confirmed\nthe end of the subscription."};
}

}  // namespace velctl
