// A command of velctl, as a row: its words, its parameters, and what it does.

#ifndef VEL_APPS_LOCAL_VELCTL_LINE_COMMAND_H
#define VEL_APPS_LOCAL_VELCTL_LINE_COMMAND_H

#include <functional>
#include <string>
#include <vector>

#include "vel/apps/local/velctl/exit_codes.h"
#include "vel/apps/local/velctl/line/arguments.h"
#include "vel/apps/local/velctl/line/parameter.h"
#include "vel/apps/local/velctl/output/field.h"

namespace velctl {

class Invocation;
class Output;
struct ParsedLine;

// What a command does, and what its JSON form has behind the parameters. actions.h makes them.
struct Action {
  // Of the bus, and "operation" in the JSON form; empty: the command has no request of its own.
  std::string method;
  std::function<void(Invocation&)> run;
  // Members of the answer.
  std::vector<Member> members;
  // The answer has a list under this name, whose elements have these members; empty: none.
  std::string list;
  std::vector<Member> elements;
  // In place of the method for a device that --source names; empty: it cannot.
  std::string methodBySource = {};
  // In place of the method with --local; empty: there is no such option.
  std::string methodOfLocal = {};
  // Lines before the answer, or in its place.
  std::vector<EventLine> events = {};
  // In place of run, of a command that runs others: handles signals itself.
  ExitCode (*runAlone)(const ParsedLine& line, const Output& output) = nullptr;
};

struct Example {
  std::string line;  // behind "velctl"
  std::string meaning;
};

struct Command {
  // "device attach", "status"
  std::string path;
  // One sentence without a full stop.
  std::string summary;
  std::vector<Parameter> parameters;
  Action action;
  std::vector<Example> examples;
  // Further paragraphs of the help; empty for most.
  std::string details = {};
  // Earlier spellings, with ", " between several, of which a mistake says the new one; empty: none.
  std::string formerly = {};
  // What must hold between several parameters: returns the mistake, empty for none. May be null.
  std::string (*rule)(const Arguments& arguments) = nullptr;

  // Null: it has no such parameter.
  const Parameter* parameter(const std::string& name) const;
};

struct Noun {
  std::string name;
  // Empty: of a command of one word, which has its own.
  std::string summary;
};

// The first words, and what all commands with that word are about, in the order of the help.
const std::vector<Noun>& nouns();
// All commands, in the order of the help.
const std::vector<Command>& commands();

}  // namespace velctl

#endif  // VEL_APPS_LOCAL_VELCTL_LINE_COMMAND_H
