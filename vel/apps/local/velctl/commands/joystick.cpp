// velctl joystick: joysticks and their mappings.

#include <memory>
#include <string>
#include <string_view>

#include "vel/apps/local/velctl/arguments.h"
#include "vel/apps/local/velctl/commands/commands.h"
#include "vel/apps/local/velctl/inbox.h"
#include "vel/apps/local/velctl/interruption.h"
#include "vel/apps/local/velctl/operation.h"
#include "vel/apps/local/velctl/text.h"

namespace velctl {
namespace {

// The library passes records on unread, and so do we.
template <typename Record>
std::string_view bytesOf(const Record& record) {
  return {reinterpret_cast<const char*>(record.bytes), sizeof record.bytes};
}

// Records are known by their positions.
template <typename Records>
void finishRecords(const Output& output, const Operation& operation, const std::string& name,
                   const std::string& one, const Records& records) {
  Json elements = Json::array();
  std::string text;
  for (const auto& record : records) {
    const std::size_t index = elements.size();
    text += (text.empty() ? "" : "\n") + one + " " + std::to_string(index) + "\n" +
            hexDump(bytesOf(record));
    elements.push_back({{"index", index}, {"hex", hex(bytesOf(record))}});
  }
  operation.finishList(output, name, elements, text);
}

void list(const Output& output) {
  const Operation operation("getJoystickDevList");
  finishRecords(output, operation, "joysticks", "joystick", operation->GetJoystickDevList());
}

void mappings(const Output& output) {
  const Operation operation("getJoystickMappingList");
  finishRecords(output, operation, "mappings", "mapping", operation->GetJoystickMappingList());
}

struct Choice {
  unsigned short joystick = 0;
  unsigned short mapping = 0;
};

void map(const Output& output, const Choice& choice) {
  const Operation operation("setJoystickMapping",
                            Json{{"joystick", choice.joystick}, {"mapping", choice.mapping}});
  operation.finish(output, operation->SetJoystickMapping(choice.joystick, choice.mapping),
                   "joystick " + std::to_string(choice.joystick) + " has mapping " +
                       std::to_string(choice.mapping));
}

struct One {
  unsigned short joystick = 0;
};

void calibrate(const Output& output, const One& one) {
  const Operation operation("calibrationJoystick", Json{{"joystick", one.joystick}});
  operation.finish(output, operation->CalibrationJoystick(one.joystick),
                   "joystick " + std::to_string(one.joystick) + " calibrated");
}

// --- Results -------------------------------------------------------------------------------------

struct Result {
  unsigned short code = 0;
  _JoystickResult record = {};
};

// Nothing stands for a new instance of the service, which knows of no subscription.
using Results = Inbox<std::optional<Result>>;

// Any name does for being told of the service's death.
constexpr char kAnyVm[] = "";

int onResult(unsigned short code, _JoystickResult record, void* results) {
  static_cast<Results*>(results)->add(Result{code, record});
  return 0;
}

int onDeath(unsigned short, void*, void* results) {
  static_cast<Results*>(results)->add(std::nullopt);
  return 0;
}

void subscribe(const Output& output, Results& results) {
  const Operation operation("registerJoystickCallback");
  operation->RegisterCallback(kAnyVm, &onDeath, &results);
  operation.finish(output, operation->RegisterJoystickCallback(&onResult, &results),
                   "subscribed to joystick results; interrupt to end");
}

void watch(const Output& output) {
  // Never destroyed: the callbacks may come as late as the end of the process.
  static Results& results = *new Results;
  const Interruption interruption([] { results.stop(); });
  subscribe(output, results);
  while (const std::optional<std::optional<Result>> next = results.next(std::nullopt)) {
    if (const std::optional<Result>& result = *next) {
      output.line(
          "joystick result (code " + std::to_string(result->code) + ")\n" +
              hexDump(bytesOf(result->record)),
          {{"event", "joystick"}, {"code", result->code}, {"hex", hex(bytesOf(result->record))}});
    } else {
      subscribe(output, results);
    }
  }
  const Operation operation("unregisterJoystickCallback");
  operation.finish(output, operation->UnregisterJoystickCallback(&results), "subscription ended");
}

}  // namespace

void addJoystickCommands(CommandLine& commandLine) {
  const ParserCommand group = commandLine.group("joystick", "Joysticks and their mappings");
  commandLine.command(group, "list", "List the joysticks; each is known by its position", list);
  commandLine.command(group, "mappings", "List the mappings; each is known by its position",
                      mappings);

  const auto [mapCommand, choice] =
      addCommand(commandLine, group, "map", "Choose a mapping for a joystick", map);
  addNumber(mapCommand, "joystick", choice.joystick, "Position of the joystick, from 0").required();
  addNumber(mapCommand, "mapping", choice.mapping, "Position of the mapping, from 0").required();

  const auto [calibrateCommand, one] =
      addCommand(commandLine, group, "calibrate", "Calibrate a joystick", calibrate);
  addNumber(calibrateCommand, "joystick", one.joystick, "Position of the joystick, from 0")
      .required();

  commandLine.command(group, "watch", "Subscribe to joystick results, until interrupted", watch);
}

}  // namespace velctl
