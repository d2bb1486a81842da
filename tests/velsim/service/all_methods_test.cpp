// Every method of the protocol: velsim answers it, takes its arguments, and refuses all others.

#include <algorithm>
#include <map>

#include "tests/velsim/service/simulated_service.h"
#include "vel/protocol/methods.h"

namespace velsim {
namespace {

using qxbus::Bytes;
using qxbus::Value;
using qxbus::Values;
using ::testing::StartsWith;
using velprotocol::Argument;
using velprotocol::ArgumentList;
using velprotocol::Subject;
using velprotocol::ValueType;

// The source that has the handlers of a subject.
const char* sourceOf(Subject subject) {
  switch (subject) {
    case Subject::kService:
    case Subject::kVms:
      return "session_methods.cpp";
    case Subject::kPrinters:
      return "printer_methods.cpp";
    case Subject::kDevices:
    case Subject::kNetworkDevices:
      return "device_methods.cpp";
    case Subject::kPolicies:
      return "policy_methods.cpp";
    case Subject::kCommands:
      return "service_command_methods.cpp";
    case Subject::kQuality:
      return "stream_report_methods.cpp";
    case Subject::kDiagnosis:
      return "diagnosis_methods.cpp";
    case Subject::kSharedPrinters:
      return "shared_printer_methods.cpp";
    case Subject::kPrintQueues:
      return "print_queue_methods.cpp";
    case Subject::kNewDevices:
      return "new_device_methods.cpp";
    case Subject::kJoysticks:
      return "joystick_methods.cpp";
  }
  return "";
}

TEST(HandlersTest, ThereIsOneForEachMethodOfTheProtocol) {
  std::map<std::string_view, int> handlers;
  for (const MethodRow& row : allMethods()) {
    ++handlers[row.name];
  }

  for (const velprotocol::Method& method : velprotocol::kMethods) {
    EXPECT_EQ(handlers[method.name], 1)
        << method.name << " needs one handler, and one row that names it, in vel/apps/local/velsim/"
        << "service/" << sourceOf(method.subject);
  }
}

TEST(HandlersTest, EachAnswersAMethodOfTheProtocol) {
  for (const MethodRow& row : allMethods()) {
    EXPECT_NE(velprotocol::find(row.name), nullptr)
        << row.name << " has a handler in velsim, but no row in vel/protocol/methods.h";
  }
}

// A call that fits the arguments of a method.
struct Call {
  std::string name;
  std::string method;
  Values arguments;
};

void PrintTo(const Call& call, std::ostream* stream) {
  *stream << call.name;
}

Value valueFor(const Argument& argument) {
  constexpr std::int32_t kKnownVm = 101;
  switch (argument.type) {
    case ValueType::kInt16:
      return std::int16_t{1};
    case ValueType::kInt32:
      return argument.name == "vm" ? kKnownVm : std::int32_t{argument.name != "unused"};
    case ValueType::kUInt64:
      return std::uint64_t{1};
    case ValueType::kInt64:
      return std::int64_t{1};
    case ValueType::kDouble:
      return 1.0;
    case ValueType::kString:
      return std::string("text");
    case ValueType::kBytes:
      return argument.size != 0 ? Bytes(argument.size) : Bytes{'t', 'e', 'x', 't'};
  }
  return {};
}

// The arguments up to the one at end, and rounds times those that repeat.
Values valuesFor(const ArgumentList& arguments, std::size_t end, std::int32_t rounds) {
  Values values;
  for (std::size_t i = 0; i < std::min(end, arguments.repeatedFrom()); ++i) {
    values.push_back(valueFor(arguments[i]));
  }
  if (arguments.repeatedFrom() < end) {
    values.back() = rounds;
  }
  for (std::int32_t round = 0; round < rounds; ++round) {
    for (std::size_t i = arguments.repeatedFrom(); i < end; ++i) {
      values.push_back(valueFor(arguments[i]));
    }
  }
  return values;
}

// Lists of none and of two, and optional arguments missing and there.
std::vector<Call> callsOf(const velprotocol::Method& method) {
  const std::string name(method.name);
  const ArgumentList arguments(method.arguments);
  std::vector<Call> calls = {{name, name, valuesFor(arguments, arguments.optionalFrom(), 2)}};
  if (arguments.repeatedFrom() < arguments.size()) {
    calls.push_back({name + "OfNone", name, valuesFor(arguments, arguments.size(), 0)});
  }
  if (arguments.optionalFrom() < arguments.size()) {
    calls.push_back({name + "WithAllArguments", name, valuesFor(arguments, arguments.size(), 2)});
  }
  return calls;
}

// Of the methods that have a handler. HandlersTest names the others.
std::vector<Call> allCalls() {
  std::vector<Call> all;
  for (const MethodRow& row : allMethods()) {
    if (const velprotocol::Method* const method = velprotocol::find(row.name)) {
      const std::vector<Call> calls = callsOf(*method);
      all.insert(all.end(), calls.begin(), calls.end());
    }
  }
  return all;
}

// Not as long as any block of exact size.
const Value kOneOfEachType[] = {
    std::int16_t{1},     std::int32_t{1}, std::uint64_t{1}, std::int64_t{1}, 0.5,
    std::string("text"), Bytes{'t', 'e'}};

class MethodTest : public SimulatedServiceTest, public ::testing::WithParamInterface<Call> {
 protected:
  const Values& good() const { return GetParam().arguments; }
  ArgumentList stated() const {
    return ArgumentList(velprotocol::method(GetParam().method).arguments);
  }
  // The stated argument of which the value at an index is an instance.
  Argument statedAt(std::size_t index) const {
    const ArgumentList all = stated();
    const std::size_t once = all.repeatedFrom();
    return all[index < once ? index : once + (index - once) % (all.size() - once)];
  }

  Values withArgument(std::size_t index, const Value& value) const {
    Values arguments = good();
    arguments[index] = value;
    return arguments;
  }

  void expectRefusal(const Values& arguments, std::size_t index) {
    EXPECT_THAT(error(GetParam().method, arguments),
                StartsWith(GetParam().method + ": argument " + std::to_string(index + 1) + " "));
  }
};

TEST_P(MethodTest, TakesItsArguments) {
  EXPECT_EQ(error(GetParam().method, good()), "");
}

TEST_P(MethodTest, NamesTheArgumentThatDoesNotFit) {
  for (std::size_t i = 0; i < good().size(); ++i) {
    for (const Value& other : kOneOfEachType) {
      if (other.index() != good()[i].index()) {
        expectRefusal(withArgument(i, other), i);
      }
    }
    if (const std::size_t exact = statedAt(i).size; exact != 0) {
      for (const std::size_t size : {exact - 1, exact + 1, std::size_t{0}}) {
        expectRefusal(withArgument(i, Bytes(size)), i);
      }
    }
  }
}

TEST_P(MethodTest, NeedsEachArgumentButTheOptionalOnes) {
  for (std::size_t size = 0; size < good().size(); ++size) {
    if (size != stated().optionalFrom()) {
      const auto end = good().begin() + static_cast<std::ptrdiff_t>(size);
      expectRefusal(Values(good().begin(), end), size);
    }
  }
}

TEST_P(MethodTest, TakesNoFurtherArgument) {
  Values tooMany = good();
  tooMany.emplace_back(0.5);

  expectRefusal(tooMany, good().size());
}

TEST_P(MethodTest, ChangesNothingAndEmitsNothingWhenItRefuses) {
  const Values devices = call("getDeviceList", {std::int32_t{0}});
  Values arguments = good();
  arguments.emplace_back(0.5);

  error(GetParam().method, arguments);

  EXPECT_EQ(takeEventCodes().size(), 0u);
  EXPECT_EQ(call("getDeviceList", {std::int32_t{0}}), devices);
}

INSTANTIATE_TEST_SUITE_P(All, MethodTest, ::testing::ValuesIn(allCalls()),
                         [](const auto& instance) { return instance.param.name; });

}  // namespace
}  // namespace velsim
