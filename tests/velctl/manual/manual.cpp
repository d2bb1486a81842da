#include "tests/velctl/manual/manual.h"

#include <string>
#include <string_view>

#include "vel/apps/local/velctl/exit_codes.h"
#include "vel/apps/local/velctl/line/command.h"
#include "vel/apps/local/velctl/line/command_line.h"

namespace velctl_manual {
namespace {

using velctl::Command;
using velctl::Parameter;

// Text that stands as it is, at any place of a line.
std::string plain(std::string_view text) {
  std::string escaped;
  for (const char c : text) {
    const bool isAtBegin = escaped.empty() || escaped.back() == '\n';
    if (isAtBegin && (c == '.' || c == '\'')) {
      escaped += "\\&";
    }
    switch (c) {
      case '\\':
        escaped += "\\e";
        break;
      case '-':
        escaped += "\\-";
        break;
      case '\'':
        escaped += "\\(aq";
        break;
      case '`':
        escaped += "\\(ga";
        break;
      case '"':
        escaped += "\\(dq";
        break;
      case '^':
        escaped += "\\(ha";
        break;
      case '~':
        escaped += "\\(ti";
        break;
      default:
        escaped += c;
    }
  }
  return escaped;
}

std::string bold(std::string_view text) {
  return "\\fB" + plain(text) + "\\fR";
}
std::string italic(std::string_view text) {
  return "\\fI" + plain(text) + "\\fR";
}

// "--vm VM", "-v, --verbose", "DEVICE"
std::string spelled(const Parameter& parameter) {
  if (!parameter.isOption()) {
    return italic(parameter.name) + (parameter.isRepeated ? "..." : "");
  }
  std::string text = parameter.letter.empty() ? "" : bold(parameter.letter) + ", ";
  text += bold(parameter.name);
  if (parameter.kind != velctl::Kind::kFlag) {
    text += ' ' + italic(parameter.valueName());
  }
  return text;
}

std::string entry(const std::string& term, const std::string& meaning) {
  return ".TP\n" + term + '\n' + meaning + '\n';
}

std::string sentence(std::string text) {
  if (!text.empty() && text.back() != '.') {
    text += '.';
  }
  return plain(text);
}

// "velctl device attach [DEVICE] --vm VM [OPTIONS]"
std::string synopsis(const Command& command) {
  std::string text = bold("velctl " + command.path);
  bool hasOptions = false;
  for (const Parameter& parameter : command.parameters) {
    if (parameter.isOption() && !parameter.isRequired) {
      hasOptions = true;
      continue;
    }
    const std::string shown = spelled(parameter);
    text += parameter.isRequired ? ' ' + shown : " [" + shown + ']';
  }
  return text + (hasOptions ? " [" + italic("OPTIONS") + ']' : "");
}

std::string commandText(const Command& command) {
  std::string text = entry(synopsis(command), sentence(command.summary));
  if (!command.details.empty()) {
    text += ".IP\n" + plain(command.details) + '\n';
  }
  if (!command.parameters.empty()) {
    text += ".RS\n";
    for (const Parameter& parameter : command.parameters) {
      text += entry(spelled(parameter), sentence(velctl::describedHelp(parameter)));
    }
    text += ".RE\n";
  }
  return text;
}

template <typename Write>
std::string forEachCommandOf(const velctl::Noun& noun, Write write) {
  std::string text;
  for (const Command& command : velctl::commands()) {
    if (command.path == noun.name || command.path.rfind(noun.name + ' ', 0) == 0) {
      text += write(command);
    }
  }
  return text;
}

std::string commandsText() {
  std::string text = ".SH COMMANDS\n";
  for (const velctl::Noun& noun : velctl::nouns()) {
    const std::string rows = forEachCommandOf(noun, commandText);
    if (!rows.empty()) {
      text += ".SS " + plain(noun.name) + '\n' +
              (noun.summary.empty() ? "" : sentence(noun.summary) + '\n') + rows;
    }
  }
  return text;
}

std::string examplesText() {
  std::string text = ".SH EXAMPLES\n";
  for (const velctl::Noun& noun : velctl::nouns()) {
    text += forEachCommandOf(noun, [](const Command& command) {
      std::string rows;
      for (const velctl::Example& example : command.examples) {
        rows += entry(bold("velctl " + example.line), sentence(example.meaning));
      }
      return rows;
    });
  }
  return text;
}

std::string exitStatusText() {
  std::string text =
      ".SH EXIT STATUS\n"
      "Each has a name, which is the \\(dqkind\\(dq of an error in JSON.\n";
  for (const velctl::ExitMeaning& each : velctl::kExitMeanings) {
    text += entry(bold(std::to_string(each.code) + ' ' + std::string(each.name)),
                  sentence(std::string(each.meaning)));
  }
  return text;
}

constexpr char kBeginning[] = R"(.\" Written by the target velctl_manual. Do not edit.
.TH VELCTL 1 "" velproxy "User commands"
.SH NAME
velctl \- control the peripheral\-device service of this machine
.SH SYNOPSIS
.B velctl
.I NOUN VERB
.RI [ WHAT ]
.RB [ \-\-vm
.IR VM ]
.RI [ OPTIONS ]
.SH DESCRIPTION
.B velctl
shows and changes what the service does with printers, USB devices, cameras, pens and joysticks of this machine and
of its VMs. The verbs list, show, add, remove, set and get mean the same for every noun.
.PP
Devices, printers, VMs and joysticks have names as well as numbers; a name that several have is a mistake whose message
lists the numbers. A number with a meaning is shown with it: attached (2).
.PP
Data goes to standard output, messages go to standard error. On a terminal, tables have its width, and colour unless
.B NO_COLOR
is set. With
.B \-\-json
every command writes JSON, one object a line, and so does every failure.
)";

constexpr char kEnd[] = R"(.SH FILES
.TP
.I $XDG_DATA_HOME/velproxy/velproxy.log
The log of the library, without XDG_DATA_HOME in ~/.local/share; on macOS in ~/Library/Logs/velproxy.
.TP
.I $XDG_DATA_HOME/velproxy/velctl_history
The lines of
.BR "velctl shell" ,
for their user alone; on macOS in ~/Library/Application Support/velproxy.
.SH SEE ALSO
.BR velsim (1)
)";

}  // namespace

std::string manualPage() {
  std::string text = kBeginning;
  text += ".SH OPTIONS\nEvery command has them.\n";
  for (const Parameter& option : velctl::globalOptions()) {
    text += entry(spelled(option), sentence(velctl::describedHelp(option)));
  }
  text += entry(bold("-h") + ", " + bold("--help"), "Show the help, and end.");
  text += entry(bold("--version"), "Show the version, and end.");
  text += commandsText() + exitStatusText() + ".SH ENVIRONMENT\n";
  for (const velctl::EnvironmentVariable& variable : velctl::kEnvironment) {
    text += entry(bold(variable.name), sentence(std::string(variable.meaning)));
  }
  return text + examplesText() + kEnd;
}

}  // namespace velctl_manual
