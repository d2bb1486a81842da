// velctl pipe: data pipes of VM sessions.

#include <cstddef>
#include <limits>
#include <memory>
#include <optional>
#include <string>
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

// HANDLE[,NAME1[,NAME2]]
base::Result<vel::Pipe> parsePipe(std::string_view description) {
  constexpr std::size_t kLongestName = 127;
  constexpr unsigned long long kMost = std::numeric_limits<unsigned long long>::max();
  const std::string whole(description);
  const std::optional<unsigned long long> handle = base::parseNumber(cutField(description), kMost);
  if (!handle) {
    return base::Failed{whole + ": the handle " + numberRule(kMost)};
  }
  vel::Pipe pipe;
  pipe.handle = *handle;
  pipe.name1 = cutField(description);
  pipe.name2 = description;
  if (pipe.name1.size() > kLongestName || pipe.name2.size() > kLongestName) {
    return base::Failed{whole + ": a name has at most 127 bytes"};
  }
  return pipe;
}

std::vector<vel::Pipe> parsed(const Pipes& pipes) {
  std::vector<vel::Pipe> parsed;
  for (const std::string& description : pipes.descriptions) {
    parsed.push_back(*parsePipe(description));
    parsed.back().vm = pipes.vmId;
  }
  return parsed;
}

void create(const Output& output, const Pipes& pipes) {
  const Operation operation("createPipe", pipes.vmId);
  operation.finish(output, operation.client().createPipes(pipes.vmId, parsed(pipes)),
                   base::counted(pipes.descriptions.size(), "pipe") + " created");
}

void destroy(const Output& output, const Pipes& pipes) {
  const Operation operation("destroyPipe", pipes.vmId);
  operation.finish(output, operation.client().destroyPipes(pipes.vmId, parsed(pipes)),
                   base::counted(pipes.descriptions.size(), "pipe") + " destroyed");
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
