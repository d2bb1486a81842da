// velctl joystick: joysticks and their mappings.

#include <atomic>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "base/printable.h"
#include "base/result.h"
#include "base/text.h"
#include "vel/apps/local/velctl/arguments.h"
#include "vel/apps/local/velctl/background.h"
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
std::string_view bytesOf(const Record& record) {
  return {reinterpret_cast<const char*>(record.bytes), sizeof record.bytes};
}

// A record is identified by its position.
template <typename Records>
void finishRecords(const Output& output, const Operation& operation, const std::string& name,
                   const std::string& singular, const Records& records) {
  Json elements = Json::array();
  std::string text;
  for (const auto& record : records) {
    const std::size_t index = elements.size();
    text += (text.empty() ? "" : "\n") + singular + " " + std::to_string(index) + "\n" +
            hexDump(bytesOf(record));
    elements.push_back({{"index", index}, {"hex", base::hexOf(bytesOf(record))}});
  }
  operation.finishList(output, name, elements, text);
}

void listJoysticks(const Output& output) {
  Operation operation("getJoystickDevList");
  const auto joysticks = operation.call(&qx::VelProxy::GetJoystickDevList);
  finishRecords(output, operation, "joysticks", "joystick", joysticks);
}

void listMappings(const Output& output) {
  Operation operation("getJoystickMappingList");
  const auto mappings = operation.call(&qx::VelProxy::GetJoystickMappingList);
  finishRecords(output, operation, "mappings", "mapping", mappings);
}

struct MappingChoice {
  unsigned short joystick = 0;
  unsigned short mapping = 0;
};

void map(const Output& output, const MappingChoice& choice) {
  Operation operation("setJoystickMapping",
                      Json{{"joystick", choice.joystick}, {"mapping", choice.mapping}});
  const int status =
      operation.call(&qx::VelProxy::SetJoystickMapping, choice.joystick, choice.mapping);
  operation.finish(output, status,
                   "joystick " + std::to_string(choice.joystick) + " has mapping " +
                       std::to_string(choice.mapping));
}

struct JoystickPosition {
  unsigned short joystick = 0;
};

void calibrate(const Output& output, const JoystickPosition& given) {
  Operation operation("calibrationJoystick", Json{{"joystick", given.joystick}});
  const int status = operation.call(&qx::VelProxy::CalibrationJoystick, given.joystick);
  operation.finish(output, status, "joystick " + std::to_string(given.joystick) + " calibrated");
}

// --- Results -------------------------------------------------------------------------------------

struct ResultEvent {
  unsigned short code = 0;
  _JoystickResult record = {};
};

// nullopt stands for a new instance of the service, which has no subscription.
using Results = Inbox<std::optional<ResultEvent>>;

constexpr char kSubscribe[] = "registerJoystickCallback";
// Every name serves for the notification of the service's death.
constexpr char kAnyVm[] = "";

int onResult(unsigned short code, _JoystickResult record, void* results) {
  static_cast<Results*>(results)->add(ResultEvent{code, record});
  return 0;
}

int onDeath(unsigned short, void*, void* results) {
  static_cast<Results*>(results)->addAlways(std::nullopt);
  return 0;
}

// A request for a subscription, and its answer.
struct Subscription {
  std::shared_ptr<Operation> operation;
  int status;
};

// Subscribes again after a death, and in the first call.
Subscription subscribe(Results& results) {
  const auto operation = std::make_shared<Operation>(kSubscribe);
  operation->proxy().RegisterCallback(kAnyVm, &onDeath, &results);
  const int status = operation->call(&qx::VelProxy::RegisterJoystickCallback, &onResult, &results);
  return {operation, status};
}

void report(const Output& output, const Subscription& subscription) {
  subscription.operation->finish(output, subscription.status,
                                 "subscribed to joystick results; interrupt to end");
}

// The first subscription. The user may give it up before the service has answered.
class FirstSubscription {
 public:
  explicit FirstSubscription(Results& results) : results_(results) {}

  // From any thread.
  void stop() { ends_.stop(); }

  // Throws Failure, also when it is given up.
  static Subscription wait(const std::shared_ptr<FirstSubscription>& first) {
    Background<Subscription> request(
        "subscribe", [first] { return first->run(); }, [first] { first->ends_.addAlways({}); });
    if (!first->ends_.next()) {
      throw Failure(kExitInterrupted,
                    std::string(kSubscribe) + ": interrupted; " + first->cancel());
    }
    return request.get();
  }

 private:
  struct Ended {};

  Subscription run() {
    subscriber_ = qx::VelProxy::getInstance();
    if (ends_.isStopped()) {
      throw Interrupted();
    }
    return subscribe(results_);
  }

  // Without this the service would keep the subscription. Returns the result as a message.
  std::string cancel() const {
    const qx::VelProxy* const subscriber = subscriber_;
    if (!subscriber) {
      return "nothing was sent";
    }
    const base::Result<void> ended = endJoystickSubscription(*subscriber);
    return ended ? "the subscription has ended"
                 : "the service has not confirmed the end of the subscription: " +
                       base::printable(ended.reason());
  }

  Results& results_;
  Inbox<Ended> ends_;
  std::atomic<const qx::VelProxy*> subscriber_{nullptr};  // null until a request may be sent
};

void writeResult(const Output& output, const ResultEvent& result) {
  const std::string_view bytes = bytesOf(result.record);
  output.line("joystick result (code " + std::to_string(result.code) + ")\n" + hexDump(bytes),
              {{"event", "joystick"}, {"code", result.code}, {"hex", base::hexOf(bytes)}});
}

void writeResults(const Output& output, Results& results) {
  try {
    while (const std::optional<std::optional<ResultEvent>> next = results.next()) {
      Output::noteDropped(results.droppedBefore(), "result");
      if (*next) {
        writeResult(output, **next);
      } else if (!results.isStopped()) {
        report(output, subscribe(results));
      }
    }
  } catch (const Interrupted&) {
    // The result in hand is lost as well.
    Output::noteDropped(results.remaining() + 1, "result");
  }
}

void watchResults(const Output& output) {
  // Never destroyed: callbacks may come as late as the end of the process.
  static Results& results = *new Results;
  const auto first = std::make_shared<FirstSubscription>(results);
  const Interruption interruption([first] {
    first->stop();
    results.stop();
  });
  const Subscription subscription = FirstSubscription::wait(first);
  try {
    report(output, subscription);
  } catch (const Interrupted&) {
    // The subscription must end all the same.
  }
  writeResults(output, results);
  Operation operation("unregisterJoystickCallback");
  const int status = operation.call(&qx::VelProxy::UnregisterJoystickCallback, &results);
  try {
    operation.finish(output, status, "subscription ended");
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
