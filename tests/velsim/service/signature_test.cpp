#include "vel/apps/local/velsim/service/signature.h"

#include <gtest/gtest.h>

namespace velsim {
namespace {

using qxbus::Bytes;
using qxbus::Values;

constexpr std::int16_t kInt16 = 1;
constexpr std::int32_t kInt32 = 1;
constexpr std::int64_t kInt64 = 1;
constexpr std::uint64_t kUInt64 = 1;

struct Case {
  const char* name;
  const char* takes;
  Values arguments;
  const char* mismatch;  // "" when the arguments fit
};

void PrintTo(const Case& row, std::ostream* stream) {
  *stream << row.name;
}

class SignatureTest : public ::testing::TestWithParam<Case> {};

TEST_P(SignatureTest, NamesTheArgumentThatDoesNotFit) {
  const Signature signature(GetParam().takes);

  EXPECT_EQ(signature.mismatch(GetParam().arguments).value_or(""), GetParam().mismatch);
}

const Case kCases[] = {
    {"NothingFitsNothing", "", {}, ""},
    {"SomethingDoesNotFitNothing", "", {kInt32}, "argument 1 is one too many, got int32"},
    {"EveryTypeFitsItself",
     "a:n b:i c:t d:x e:d f:s g:ay",
     {kInt16, kInt32, kUInt64, kInt64, 0.5, "text", Bytes{1}},
     ""},
    {"Int16IsNotInt32", "a:i", {kInt16}, "argument 1 (a) must be int32, got int16"},
    {"Int32IsNotInt16", "a:n", {kInt32}, "argument 1 (a) must be int16, got int32"},
    {"Int64IsNotUInt64", "a:t", {kInt64}, "argument 1 (a) must be uint64, got int64"},
    {"UInt64IsNotInt64", "a:x", {kUInt64}, "argument 1 (a) must be int64, got uint64"},
    {"Int32IsNotADouble", "a:d", {kInt32}, "argument 1 (a) must be double, got int32"},
    {"AStringIsNotInt32", "a:i b:i", {kInt32, "x"}, "argument 2 (b) must be int32, got string"},
    {"AStringIsNotBytes", "a:ay", {"x"}, "argument 1 (a) must be bytes, got string"},
    {"BytesThatAreATextAreNotAString",
     "a:s",
     {Bytes{'x'}},
     "argument 1 (a) must be string, got bytes"},
    {"NoBytesAreNotAString", "a:s", {Bytes()}, "argument 1 (a) must be string, got bytes"},
    {"ATextWithANulComesAsBytes", "a:s", {Bytes{'x', 0, 'y'}}, ""},
    {"ATextThatIsNotUtf8ComesAsBytes", "a:s", {Bytes{0xFF}}, ""},
    {"ALastArgumentIsMissing", "a:i b:i", {kInt32}, "argument 2 (b) must be int32, got nothing"},
    {"AllArgumentsAreMissing", "a:i b:i", {}, "argument 1 (a) must be int32, got nothing"},
    {"ThereIsAnArgumentTooMany",
     "a:i",
     {kInt32, "x", kInt32},
     "argument 2 is one too many, got string"},
    {"AnyLengthOfBytesFits", "a:ay", {Bytes(1000)}, ""},
    {"TheExactLengthFits", "a:ay8", {Bytes(8)}, ""},
    {"AByteLessDoesNotFit", "a:ay8", {Bytes(7)}, "argument 1 (a) must be 8 bytes, got 7"},
    {"AByteMoreDoesNotFit", "a:ay8", {Bytes(9)}, "argument 1 (a) must be 8 bytes, got 9"},
    {"TheCountMayBeZero", "count:i (a:ay8)*", {std::int32_t{0}}, ""},
    {"TheCountSaysHowManyFollow", "count:i (a:ay8)*", {std::int32_t{2}, Bytes(8), Bytes(8)}, ""},
    {"FewerFollowThanTheCountSays",
     "count:i (a:ay8)*",
     {std::int32_t{2}, Bytes(8)},
     "argument 3 (a) must be bytes, got nothing"},
    {"MoreFollowThanTheCountSays",
     "count:i (a:ay8)*",
     {std::int32_t{1}, Bytes(8), Bytes(8)},
     "argument 3 is one too many, got bytes"},
    {"TheCountIsNegative",
     "count:i (a:ay8)*",
     {std::int32_t{-1}, Bytes(8)},
     "argument 1 (count) must be 0 or more, got -1"},
    {"TheCountIsTheLargest",
     "count:i (a:ay8)*",
     {std::int32_t{0x7FFFFFFF}, Bytes(8)},
     "argument 3 (a) must be bytes, got nothing"},
    {"TheCountIsMissing", "count:i (a:ay8)*", {}, "argument 1 (count) must be int32, got nothing"},
    {"ALaterBlockHasTheWrongLength",
     "vm:i count:i (a:ay8)*",
     {kInt32, std::int32_t{2}, Bytes(8), Bytes(3)},
     "argument 4 (a) must be 8 bytes, got 3"},
    {"SeveralArgumentsRepeatTogether",
     "count:i (a:s b:n)*",
     {std::int32_t{2}, "x", kInt16, "y", kInt16},
     ""},
    {"ARepeatedGroupIsCutShort",
     "count:i (a:s b:n)*",
     {std::int32_t{2}, "x", kInt16, "y"},
     "argument 5 (b) must be int16, got nothing"},
    {"AnOptionalArgumentMayBeMissing", "a:i [b:t]", {kInt32}, ""},
    {"AnOptionalArgumentFits", "a:i [b:t]", {kInt32, kUInt64}, ""},
    {"AnOptionalArgumentDoesNotFit",
     "a:i [b:t]",
     {kInt32, kInt32},
     "argument 2 (b) must be uint64, got int32"},
    {"AnOptionalArgumentIsFollowedByAnother",
     "a:i [b:t]",
     {kInt32, kUInt64, kInt32},
     "argument 3 is one too many, got int32"},
    {"TheArgumentBeforeAnOptionalOneIsMissing",
     "a:i b:i [c:t]",
     {kInt32},
     "argument 2 (b) must be int32, got nothing"},
    {"OptionalArgumentsAreThereTogether",
     "a:i [b:t c:s]",
     {kInt32, kUInt64},
     "argument 3 (c) must be string, got nothing"},
    {"AnOptionalListMayBeMissing", "a:i [count:i (b:s)*]", {kInt32}, ""},
    {"AnOptionalListFits", "a:i [count:i (b:s)*]", {kInt32, std::int32_t{1}, "x"}, ""},
    {"AnOptionalListIsCutShort",
     "a:i [count:i (b:s)*]",
     {kInt32, std::int32_t{2}, "x"},
     "argument 4 (b) must be string, got nothing"},
    {"ARepeatedGroupIsInTheWrongOrder",
     "count:i (a:s b:n)*",
     {std::int32_t{1}, kInt16, "x"},
     "argument 2 (a) must be string, got int16"},
};

INSTANTIATE_TEST_SUITE_P(Cases, SignatureTest, ::testing::ValuesIn(kCases),
                         [](const auto& row) { return std::string(row.param.name); });

}  // namespace
}  // namespace velsim
