#include "vel/apps/local/velsim/fault_commands.h"

#include <limits>
#include <optional>

#include "base/text.h"

namespace velsim {
namespace {

using Answer = Command::Answer;

constexpr char kAll[] = "all";

std::string listOfKinds() {
  std::string text;
  for (const FaultKindRow& row : faultKinds()) {
    if (row.concern == FaultKindRow::Concern::kStart) {
      continue;
    }
    std::string word = row.word;
    word += *row.value == '\0' ? "" : std::string(" ") + row.value;
    word += std::string(word.size() < 24 ? 24 - word.size() : 0, ' ');
    text += word + "  " + row.help + "\n";
  }
  return text;
}

// fault METHOD CALLS FAULT [VALUE]
Answer set(Faults& faults, const Words& arguments) {
  const FaultKindRow* const row = findFaultKind(arguments[2]);
  if (!row || row->concern == FaultKindRow::Concern::kStart) {
    return base::Failed{"fault: unknown fault " + base::quoted(arguments[2]) +
                        "; type faults kinds for the list"};
  }
  const base::Result<CallRange> calls = parseCallRange(arguments[1]);
  if (!calls) {
    return base::Failed{"fault: " + calls.reason()};
  }
  Fault fault;
  fault.kind = row->kind;
  fault.method = arguments[0];
  fault.calls = *calls;
  const bool hasValue = arguments.size() > 3;
  if (row->kind == FaultKind::kError) {
    fault.text = hasValue ? arguments[3] : "set to fail";
  } else if (hasValue) {
    if (*row->value == '\0') {
      return base::Failed{"fault: " + std::string(row->word) + " takes no value"};
    }
    fault.number = base::parseDecimal(arguments[3], std::numeric_limits<std::uint64_t>::max());
    if (!fault.number) {
      return base::Failed{"fault: expected a number for " + std::string(row->value) + ", got " +
                          base::quoted(arguments[3])};
    }
  }
  if (const std::string refusal = refusalOf(fault); !refusal.empty()) {
    return base::Failed{"fault: " + refusal};
  }
  return "set fault " + std::to_string(faults.add(fault)) + "\n";
}

Answer list(const Faults& faults, const Words& arguments) {
  if (!arguments.empty() && arguments[0] != "kinds") {
    return base::Failed{"faults: expected kinds or nothing, got " + base::quoted(arguments[0])};
  }
  return arguments.empty() ? faults.list() : listOfKinds();
}

Answer clear(Faults& faults, const Words& arguments) {
  if (arguments[0] == kAll) {
    faults.clearAll();
    return std::string("cleared all faults\n");
  }
  const auto number =
      base::parseDecimal(arguments[0], static_cast<unsigned>(std::numeric_limits<int>::max()));
  if (!number || !faults.clear(static_cast<int>(*number))) {
    return base::Failed{"clear-faults: there is no fault " + arguments[0] +
                        "; type faults for those that are set"};
  }
  return "cleared fault " + arguments[0] + "\n";
}

}  // namespace

std::vector<Command> faultCommands(Faults& faults) {
  return {
      {"fault", "METHOD CALLS FAULT [VALUE]", 3, 4,
       "let calls go wrong: fault getDeviceList 2-4 delay 500; METHOD * for all, or events",
       [&faults](const Words& arguments) { return set(faults, arguments); }},
      {"faults", "[kinds]", 0, 1, "list the faults that are set, or the kinds of faults",
       [&faults](const Words& arguments) { return list(faults, arguments); }},
      {"clear-faults", "NUMBER|all", 1, 1, "clear a fault, or all",
       [&faults](const Words& arguments) { return clear(faults, arguments); }},
  };
}

}  // namespace velsim
