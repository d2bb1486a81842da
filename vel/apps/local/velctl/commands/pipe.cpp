// velctl pipe: data pipes of VM sessions.

#include <cstring>
#include <limits>
#include <list>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "base/result.h"
#include "base/text.h"
#include "vel/apps/local/velctl/arguments.h"
#include "vel/apps/local/velctl/commands/commands.h"
#include "vel/apps/local/velctl/operation.h"

namespace velctl {
namespace {

struct Pipes {
  std::string vmId;
  std::vector<std::string> descriptions;
};

// Removes the text up to the next comma, and returns it.
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

// HANDLE[,NAME1[,NAME2]]
base::Result<_CHANNEL_HANDLE> parsePipe(std::string_view description) {
  constexpr unsigned long long kMost = std::numeric_limits<unsigned long long>::max();
  const std::string whole(description);
  const std::optional<unsigned long long> handle = base::parseNumber(cutField(description), kMost);
  if (!handle) {
    return base::Failed{whole + ": the handle " + numberRule(kMost)};
  }
  _CHANNEL_HANDLE pipe;
  pipe.handle = *handle;
  const std::string_view name1 = cutField(description);
  if (!copyName(pipe.name1, name1) || !copyName(pipe.name2, description)) {
    return base::Failed{whole + ": a name has at most 127 bytes"};
  }
  return pipe;
}

std::list<_CHANNEL_HANDLE> handlesOf(const Pipes& pipes) {
  std::list<_CHANNEL_HANDLE> handles;
  for (const std::string& description : pipes.descriptions) {
    handles.push_back(*parsePipe(description));
    handles.back().vmId = pipes.vmId;
  }
  return handles;
}

void create(const Output& output, const Pipes& pipes) {
  Operation operation("createPipe", pipes.vmId);
  const unsigned int status =
      operation.call(&qx::VelProxy::CreatePipe, pipes.vmId, handlesOf(pipes));
  operation.finish(output, status, base::counted(pipes.descriptions.size(), "pipe") + " created");
}

void destroy(const Output& output, const Pipes& pipes) {
  Operation operation("destroyPipe", pipes.vmId);
  const unsigned int status =
      operation.call(&qx::VelProxy::DestroyPipe, pipes.vmId, handlesOf(pipes));
  operation.finish(output, status, base::counted(pipes.descriptions.size(), "pipe") + " destroyed");
}

void addPipeCommand(CommandLine& commandLine, const ParserCommand& group, const std::string& name,
                    const std::string& help, void (*run)(const Output&, const Pipes&)) {
  const auto [command, pipes] = addCommand(commandLine, group, name, help, run);
  command.addOption("vm", pipes.vmId, kVmHelp).required();
  command.addOption("pipe", pipes.descriptions, "HANDLE[,NAME1[,NAME2]]")
      .required()
      .check([](const std::string& description) { return parsePipe(description).reason(); });
}

}  // namespace

void addPipeCommands(CommandLine& commandLine) {
  const ParserCommand group = commandLine.group("pipe", "Data pipes of VM sessions");
  addPipeCommand(commandLine, group, "create", "Open pipes", create);
  addPipeCommand(commandLine, group, "destroy", "Close pipes", destroy);
}

}  // namespace velctl
