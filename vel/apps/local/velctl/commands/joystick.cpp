// velctl joystick: joysticks and their mappings.

#include <optional>
#include <string>
#include <string_view>

#include "base/text.h"
#include "vel/apps/local/velctl/arguments.h"
#include "vel/apps/local/velctl/commands/commands.h"
#include "vel/apps/local/velctl/display.h"
#include "vel/apps/local/velctl/inbox.h"
#include "vel/apps/local/velctl/interruption.h"
#include "vel/apps/local/velctl/operation.h"

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

void list(const Output& output) {
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

struct Result {
  unsigned short code = 0;
  _JoystickResult record = {};
};

// nullopt stands for a new instance of the service, which has no subscription.
using Results = Inbox<std::optional<Result>>;

// Every name serves for the notification of the service's death.
constexpr char kAnyVm[] = "";

int onResult(unsigned short code, _JoystickResult record, void* results) {
  static_cast<Results*>(results)->add(Result{code, record});
  return 0;
}

int onDeath(unsigned short, void*, void* results) {
  static_cast<Results*>(results)->addAlways(std::nullopt);
  return 0;
}

void subscribe(const Output& output, Results& results) {
  Operation operation("registerJoystickCallback");
  operation.proxy().RegisterCallback(kAnyVm, &onDeath, &results);
  const int status = operation.call(&qx::VelProxy::RegisterJoystickCallback, &onResult, &results);
  operation.finish(output, status, "subscribed to joystick results; interrupt to end");
}

void write(const Output& output, const Result& result) {
  const std::string_view bytes = bytesOf(result.record);
  output.line("joystick result (code " + std::to_string(result.code) + ")\n" + hexDump(bytes),
              {{"event", "joystick"}, {"code", result.code}, {"hex", base::hexOf(bytes)}});
}

void noteDropped(std::size_t count) {
  if (count > 0) {
    Output::note(base::counted(count, "result") + " dropped: standard output was blocked");
  }
}

void writeResults(const Output& output, Results& results) {
  try {
    while (const std::optional<std::optional<Result>> next = results.next()) {
      noteDropped(results.droppedBefore());
      if (*next) {
        write(output, **next);
      } else if (!results.isStopped()) {
        subscribe(output, results);
      }
    }
  } catch (const Interrupted&) {
    // The result in hand is lost as well.
    noteDropped(results.remaining() + 1);
  }
}

void watch(const Output& output) {
  // Never destroyed: callbacks may come as late as the end of the process.
  static Results& results = *new Results;
  // Until here a signal ends the process, as it does while any other command waits for an answer.
  subscribe(output, results);
  const Interruption interruption([] { results.stop(); });
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
  commandLine.command(group, "list", "List the joysticks; the position identifies each", list);
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

  commandLine.command(group, "watch", "Print joystick results until interrupted", watch);
}

}  // namespace velctl
