// The requests of the library against the rows of vel/protocol/methods.h: two statements of the
// protocol that know nothing of each other.

#include "vel/protocol/methods.h"

#include <set>

#include "tests/library/remote_operation_test.h"

namespace {

using velprotocol::ArgumentList;
using velprotocol::ValueType;

template <typename>
struct TypeOf;
template <>
struct TypeOf<std::int16_t> : std::integral_constant<ValueType, ValueType::kInt16> {};
template <>
struct TypeOf<std::int32_t> : std::integral_constant<ValueType, ValueType::kInt32> {};
template <>
struct TypeOf<std::uint64_t> : std::integral_constant<ValueType, ValueType::kUInt64> {};
template <>
struct TypeOf<std::int64_t> : std::integral_constant<ValueType, ValueType::kInt64> {};
template <>
struct TypeOf<double> : std::integral_constant<ValueType, ValueType::kDouble> {};
template <>
struct TypeOf<std::string> : std::integral_constant<ValueType, ValueType::kString> {};
template <>
struct TypeOf<scripted::CString> : std::integral_constant<ValueType, ValueType::kString> {};
template <>
struct TypeOf<Bytes> : std::integral_constant<ValueType, ValueType::kBytes> {};

ValueType typeOf(const scripted::Argument& argument) {
  return std::visit([](const auto& value) { return TypeOf<std::decay_t<decltype(value)>>::value; },
                    argument);
}

// "int32", "bytes[8]"
std::string shownType(ValueType type, std::size_t size) {
  return std::string(nameOf(type)) + (size != 0 ? "[" + std::to_string(size) + "]" : "");
}

// The arguments that the notation states for a message with these arguments: the optional ones when
// there are so many, the repeated ones as often as the count in the message says.
std::vector<velprotocol::Argument> expandedFor(const std::vector<scripted::Argument>& sent,
                                               const ArgumentList& notation) {
  std::vector<velprotocol::Argument> expanded;
  for (std::size_t i = 0; i < notation.repeatedFrom(); ++i) {
    if (i == notation.optionalFrom() && sent.size() <= i) {
      return expanded;
    }
    expanded.push_back(notation[i]);
  }
  const std::size_t counter = notation.repeatedFrom() - 1;
  const auto* const count = notation.repeatedFrom() < notation.size() && counter < sent.size()
                                ? std::get_if<std::int32_t>(&sent[counter])
                                : nullptr;
  for (std::int32_t k = 0; count && k < *count; ++k) {
    expanded.insert(expanded.end(), notation.begin() + notation.repeatedFrom(), notation.end());
  }
  return expanded;
}

Strings typesIn(const std::vector<velprotocol::Argument>& arguments) {
  Strings types;
  for (const velprotocol::Argument& argument : arguments) {
    types.push_back(shownType(argument.type, argument.size));
  }
  return types;
}

// With the size of a block where the notation states one.
Strings typesOf(const std::vector<scripted::Argument>& sent,
                const std::vector<velprotocol::Argument>& expected) {
  Strings types;
  for (std::size_t i = 0; i < sent.size(); ++i) {
    const auto* const block = std::get_if<Bytes>(&sent[i]);
    const bool hasSize = block && i < expected.size() && expected[i].size != 0;
    types.push_back(shownType(typeOf(sent[i]), hasSize ? block->size() : 0));
  }
  return types;
}

class ProtocolTest : public RemoteOperationTest {
 protected:
  void SetUp() override {
    method_ = velprotocol::find(operation().method());
    ASSERT_NE(method_, nullptr) << operation().name() << " calls " << operation().method()
                                << ", which has no row in vel/protocol/methods.h";
  }

  const velprotocol::Method& method() const { return *method_; }
  void expectTheRequestOf(const RemoteOperation::Run& run) {
    forget();
    run(*proxy);
    ASSERT_EQ(bus.calls().size(), 1u);
    const scripted::Call call = bus.calls().front();
    const auto expected = expandedFor(call.arguments, ArgumentList(method().arguments));
    EXPECT_EQ(call.method, method().name);
    EXPECT_EQ(typesOf(call.arguments, expected), typesIn(expected))
        << call.text() << " differs from its row in vel/protocol/methods.h";
    EXPECT_EQ(call.timeoutMs, method().timeoutMs) << call.method;
    EXPECT_EQ(call.waits, method().timeoutMs != velprotocol::kAsynchronousMs) << call.method;
  }

 private:
  const velprotocol::Method* method_ = nullptr;
};

TEST_P(ProtocolTest, StatesTheRequest) {
  expectTheRequestOf([this](qx::VelProxy& on) { return operation().runOn(on); });
  for (const RemoteOperation::Run& variation : operation().variations()) {
    expectTheRequestOf(variation);
  }
}

TEST_P(ProtocolTest, NamesTheArgumentThatHoldsTheNumberOfTheVm) {
  const ArgumentList arguments(method().arguments);

  EXPECT_EQ(arguments.size() > 0 && arguments[0].name == "vm", operation().hasVm());
}

// The good answer of the row. Behind it may stand arguments that the operation does not read, and
// its records are shorter.
TEST_P(ProtocolTest, StatesTheReply) {
  std::vector<scripted::Argument> answered = operation().reply().arguments;
  const ArgumentList reply(method().reply);
  // An operation that reads only the status of a search may be answered without the list.
  auto expected = expandedFor(answered, reply);
  for (velprotocol::Argument& argument : expected) {
    argument.size = 0;
  }
  ASSERT_GE(answered.size(), expected.size());
  answered.resize(expected.size());

  EXPECT_EQ(typesOf(answered, expected), typesIn(expected));
}

INSTANTIATE_TEST_SUITE_P(All, ProtocolTest, testing::ValuesIn(remoteOperations()), testNameOf);

TEST(ProtocolRowsTest, HaveARowOfTheLibraryEach) {
  std::set<std::string> called;
  for (const RemoteOperation& operation : remoteOperations()) {
    called.insert(operation.method());
  }

  for (const velprotocol::Method& method : velprotocol::kMethods) {
    EXPECT_EQ(called.count(std::string(method.name)), 1u)
        << "no operation calls " << method.name
        << " of vel/protocol/methods.h: add the row of the operation in tests/library/rows/";
  }
}

}  // namespace
