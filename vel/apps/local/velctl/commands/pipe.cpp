// velctl pipe: data pipes of VM sessions.

#include <cstring>
#include <limits>
#include <list>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "vel/apps/local/velctl/commands/commands.h"
#include "vel/apps/local/velctl/numbers.h"
#include "vel/apps/local/velctl/operation.h"

namespace velctl {
namespace {

struct Pipes {
  std::string vmId;
  std::vector<std::string> descriptions;
};

// What stands before the next comma; the rest stays in text.
std::string_view cutField(std::string_view& text) {
  const std::size_t comma = text.find(',');
  const std::string_view field = text.substr(0, comma);
  text.remove_prefix(comma == std::string_view::npos ? text.size() : comma + 1);
  return field;
}

template <std::size_t size>
bool copyName(char (&to)[size], std::string_view name) {
  if (name.size() >= size) {
    return false;
  }
  std::memcpy(to, name.data(), name.size());
  return true;
}

// Reads HANDLE[,NAME1[,NAME2]]. What is wrong with it, or an empty text.
std::string parsePipe(std::string_view description, _CHANNEL_HANDLE* pipe) {
  constexpr unsigned long long kMost = std::numeric_limits<unsigned long long>::max();
  const std::string whole(description);
  const std::optional<unsigned long long> handle = readNumber(cutField(description), kMost);
  if (!handle) {
    return whole + ": the handle " + notANumber(kMost);
  }
  pipe->handle = *handle;
  const std::string_view name1 = cutField(description);
  if (!copyName(pipe->name1, name1) || !copyName(pipe->name2, description)) {
    return whole + ": a name has at most 127 bytes";
  }
  return {};
}

std::list<_CHANNEL_HANDLE> handlesOf(const Pipes& pipes) {
  std::list<_CHANNEL_HANDLE> handles;
  for (const std::string& description : pipes.descriptions) {
    handles.emplace_back();
    handles.back().vmId = pipes.vmId;
    parsePipe(description, &handles.back());
  }
  return handles;
}

std::string counted(std::size_t count) {
  return std::to_string(count) + (count == 1 ? " pipe " : " pipes ");
}

void create(const Output& output, const Pipes& pipes) {
  const Operation operation("createPipe", pipes.vmId);
  operation.finish(output, operation->CreatePipe(pipes.vmId, handlesOf(pipes)),
                   counted(pipes.descriptions.size()) + "created");
}

void destroy(const Output& output, const Pipes& pipes) {
  const Operation operation("destroyPipe", pipes.vmId);
  operation.finish(output, operation->DestroyPipe(pipes.vmId, handlesOf(pipes)),
                   counted(pipes.descriptions.size()) + "destroyed");
}

void add(CommandLine& commandLine, const ParserCommand& group, const std::string& name,
         const std::string& help, void (*run)(const Output&, const Pipes&)) {
  const auto pipes = std::make_shared<Pipes>();
  const ParserCommand command = commandLine.command(
      group, name, help, [run, pipes](const Output& output) { run(output, *pipes); });
  command.addOption("vm", pipes->vmId, "Name of the VM; \"\" is this machine").required();
  command.addOption("pipe", pipes->descriptions, "HANDLE[,NAME1[,NAME2]]")
      .required()
      .check([](const std::string& description) {
        _CHANNEL_HANDLE pipe;
        return parsePipe(description, &pipe);
      });
}

}  // namespace

void addPipeCommands(CommandLine& commandLine) {
  const ParserCommand group = commandLine.group("pipe", "Data pipes of VM sessions");
  add(commandLine, group, "create", "Open pipes", create);
  add(commandLine, group, "destroy", "Close pipes", destroy);
}

}  // namespace velctl
