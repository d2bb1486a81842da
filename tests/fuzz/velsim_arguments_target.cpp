// Requests to the simulated service: every method, with arguments that fit and others.
// Covers: vel/apps/local/velsim/service/ vel/apps/local/velsim/machine/

#include <memory>
#include <vector>

#include "tests/fuzz/target.h"
#include "vel/apps/local/velsim/service/simulator.h"
#include "vel/apps/local/velsim/service/stepped_clock.h"
#include "vel/protocol/methods.h"

namespace fuzz::velsim_arguments {
namespace {

using qxbus::Value;
using qxbus::Values;
using velprotocol::ArgumentList;
using velprotocol::ValueType;

// Often the number of a VM, a device or a printer of the built-in machine.
template <typename Integer>
Integer integerIn(Input& input) {
  constexpr int kKnown[] = {0, 1, 2, 3, 11, 12, 13, 14, 15, 21, 22, 23, 31, 32, 101, 102, 103, -1};
  const std::size_t choice = input.byte();
  return choice < std::size(kKnown) ? static_cast<Integer>(kKnown[choice])
                                    : input.number<Integer>();
}

qxbus::Bytes blockOf(std::string_view bytes) {
  return qxbus::Bytes(bytes.begin(), bytes.end());
}

Value fittingIn(Input& input, const velprotocol::Argument& argument) {
  switch (argument.type) {
    case ValueType::kInt16:
      return integerIn<std::int16_t>(input);
    case ValueType::kInt32:
      return integerIn<std::int32_t>(input);
    case ValueType::kUInt64:
      return integerIn<std::uint64_t>(input);
    case ValueType::kInt64:
      return integerIn<std::int64_t>(input);
    case ValueType::kDouble:
      return input.number<double>();
    case ValueType::kString:
      return std::string(input.piece());
    case ValueType::kBytes:
      break;
  }
  if (argument.size == 0) {
    return blockOf(input.piece());
  }
  qxbus::Bytes block = blockOf(input.take(argument.size < 16 ? argument.size : input.byte()));
  block.resize(argument.size);
  return block;
}

Value anyIn(Input& input) {
  switch (input.below(9)) {
    case 0:
      return integerIn<std::int16_t>(input);
    case 1:
      return integerIn<std::int32_t>(input);
    case 2:
      return integerIn<std::uint64_t>(input);
    case 3:
      return integerIn<std::int64_t>(input);
    case 4:
      return input.number<double>();
    case 5:
      return std::string(input.piece());
    case 6:
      return integerIn<std::uint16_t>(input);
    case 7:
      return integerIn<std::uint32_t>(input);
    default:
      return blockOf(input.piece());
  }
}

Values fittingArgumentsIn(Input& input, const ArgumentList& list) {
  Values values;
  const std::size_t fixed =
      input.flag() ? list.repeatedFrom() : std::min(list.optionalFrom(), list.repeatedFrom());
  for (std::size_t i = 0; i < fixed; ++i) {
    values.push_back(fittingIn(input, list[i]));
  }
  if (fixed == list.repeatedFrom() && fixed < list.size()) {
    const auto rounds = static_cast<std::int32_t>(input.below(4));
    values.back() = rounds;
    for (std::int32_t round = 0; round < rounds; ++round) {
      for (std::size_t i = fixed; i < list.size(); ++i) {
        values.push_back(fittingIn(input, list[i]));
      }
    }
  }
  return values;
}

Values argumentsIn(Input& input, const velprotocol::Method& method) {
  Values values = fittingArgumentsIn(input, ArgumentList(method.arguments));
  switch (input.below(8)) {
    case 0:
      values.push_back(anyIn(input));
      break;
    case 1:
      values.resize(values.size() - (values.empty() ? 0 : 1));
      break;
    case 2:
      if (!values.empty()) {
        values[input.below(values.size())] = anyIn(input);
      }
      break;
    default:
      break;
  }
  return values;
}

// --- The check of arguments a second time --------------------------------------------------------

// Unsigned integers stand for the signed ones of their width, and bytes for a text that D-Bus
// cannot carry as a string.
bool fits(const Value& value, const velprotocol::Argument& argument) {
  const auto* const block = std::get_if<qxbus::Bytes>(&value);
  switch (argument.type) {
    case ValueType::kInt16:
      return std::holds_alternative<std::int16_t>(value) ||
             std::holds_alternative<std::uint16_t>(value);
    case ValueType::kInt32:
      return std::holds_alternative<std::int32_t>(value) ||
             std::holds_alternative<std::uint32_t>(value);
    case ValueType::kUInt64:
      return std::holds_alternative<std::uint64_t>(value);
    case ValueType::kInt64:
      return std::holds_alternative<std::int64_t>(value);
    case ValueType::kDouble:
      return std::holds_alternative<double>(value);
    case ValueType::kString:
      return std::holds_alternative<std::string>(value) ||
             (block && !qxbus::isText(std::string(block->begin(), block->end())));
    case ValueType::kBytes:
      break;
  }
  return block && (argument.size == 0 || block->size() == argument.size);
}

bool fit(const Values& values, const ArgumentList& list) {
  std::size_t next = 0;
  const std::size_t fixed =
      values.size() <= list.optionalFrom() ? list.optionalFrom() : list.repeatedFrom();
  for (; next < std::min(fixed, list.repeatedFrom()); ++next) {
    if (next >= values.size() || !fits(values[next], list[next])) {
      return false;
    }
  }
  if (next < list.repeatedFrom() || list.repeatedFrom() == list.size()) {
    return next == values.size();
  }
  const std::size_t width = list.size() - list.repeatedFrom();
  const std::int32_t count = qxbus::readInt32(values, static_cast<int>(next) - 1);
  const std::size_t rounds = (values.size() - next) / width;
  if (count < 0 || static_cast<std::size_t>(count) != rounds ||
      (values.size() - next) % width != 0) {
    return false;
  }
  for (; next < values.size(); ++next) {
    if (!fits(values[next], list[list.repeatedFrom() + (next - list.repeatedFrom()) % width])) {
      return false;
    }
  }
  return true;
}

// --- The target ----------------------------------------------------------------------------------

void request(Input& input, velsim::Simulator& simulator) {
  const velprotocol::Method& method = input.oneOf(velprotocol::kMethods);
  const Values arguments = argumentsIn(input, method);
  const bool areRight = fit(arguments, ArgumentList(method.arguments));
  const auto answers = std::make_shared<int>(0);
  simulator.answer(std::string(method.name), arguments,
                   [=, &method](const velsim::Simulator::Answer& answer) {
                     ++*answers;
                     require(*answers == 1, "one answer");
                     const auto* const values = std::get_if<Values>(&answer);
                     require((values != nullptr) == areRight, "the verdict on the arguments of " +
                                                                  std::string(method.name) + ": " +
                                                                  qxbus::describe(arguments));
                     require(!values || fit(*values, ArgumentList(method.reply)),
                             "the answer is one of " + std::string(method.name));
                   });
}

void run(Input& input) {
  auto* const clock = new velsim::SteppedClock;
  velsim::Simulator simulator{std::unique_ptr<velsim::Scheduler>(clock)};
  simulator.setEventSink([](const velsim::BusEvent& event) {
    require(velprotocol::findEvent(event.code) != nullptr, "an event of the protocol");
    require(velsim::argumentsOf(event).size() >= 2, "the arguments of an event");
  });
  constexpr int kMostRequests = 20;
  for (int i = 0; i < kMostRequests && !input.isEmpty(); ++i) {
    if (input.below(8) == 0) {
      clock->advance(std::chrono::milliseconds(input.number<std::uint16_t>()));
    } else {
      request(input, simulator);
    }
  }
}

const Registration registration("velsim_arguments", run);

}  // namespace
}  // namespace fuzz::velsim_arguments
