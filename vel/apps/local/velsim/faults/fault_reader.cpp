#include "vel/apps/local/velsim/faults/fault_reader.h"

#include <optional>
#include <string>

#include "vel/apps/local/velsim/scenario/json_reader.h"

namespace velsim {
namespace {

constexpr std::size_t kLongestText = 1000;

std::optional<std::uint64_t> readNumber(const JsonNode* node, Mistakes& mistakes,
                                        const FaultKindRow& row) {
  if (std::string(row.value) == "ms") {
    const auto time = readDuration(node, mistakes);
    return time ? std::optional(static_cast<std::uint64_t>(time->count())) : std::nullopt;
  }
  return readUnsigned(node, mistakes, 0, row.most);
}

std::optional<Fault> readFault(const JsonNode& node, Mistakes& mistakes) {
  ObjectReader object(node, mistakes);
  const auto word = readWord(object.need("fault"), mistakes, faultWords());
  const JsonNode* const methodNode = object.find("method");
  const auto method = readText(methodNode, mistakes, 1, kLongestText);
  const JsonNode* const callsNode = object.find("calls");
  const auto calls = readText(callsNode, mistakes, 1, kLongestText);
  Fault fault;
  bool isWrong = false;
  if (calls) {
    const auto range = parseCallRange(*calls);
    if (range) {
      fault.calls = *range;
    } else {
      mistakes.add(*callsNode, range.reason());
      // What is not read would be called unknown.
      isWrong = true;
    }
  }
  if (!word) {
    return std::nullopt;
  }
  const FaultKindRow& row = *findFaultKind(*word);
  fault.kind = row.kind;
  fault.method = method.value_or(row.concern == FaultKindRow::Concern::kEvents ? kMethodOfEvents
                                                                               : kEveryMethod);
  if (row.kind == FaultKind::kError) {
    fault.text = readText(object.need(row.value), mistakes, 1, kLongestText).value_or("");
  } else if (*row.value != '\0') {
    fault.number = readNumber(object.find(row.value), mistakes, row);
  }
  if (const std::string refusal = refusalOf(fault); !refusal.empty()) {
    mistakes.add(methodNode ? *methodNode : node, refusal);
    isWrong = true;
  }
  return isWrong ? std::nullopt : std::optional(std::move(fault));
}

}  // namespace

std::vector<Fault> readFaults(const JsonNode& node, Mistakes& mistakes) {
  std::vector<Fault> faults;
  for (const auto& element : readArray(&node, mistakes)) {
    if (std::optional<Fault> fault = readFault(*element, mistakes)) {
      faults.push_back(std::move(*fault));
    }
  }
  return faults;
}

}  // namespace velsim
