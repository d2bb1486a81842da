#include "vel/protocol/notation.h"

#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

namespace velprotocol {
namespace {

TEST(NotationTest, AnEmptyTextHasNoArguments) {
  const ArgumentList none("");

  EXPECT_EQ(none.size(), 0u);
  EXPECT_EQ(none.begin(), none.end());
}

TEST(NotationTest, EachTypeHasACode) {
  const ArgumentList arguments("a:n b:i c:t d:x e:d f:s g:ay");

  ASSERT_EQ(arguments.size(), 7u);
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    EXPECT_EQ(arguments[i].name, std::string(1, static_cast<char>('a' + i)));
    EXPECT_EQ(arguments[i].type, kValueTypes[i].type);
    EXPECT_EQ(arguments[i].size, 0u);
    EXPECT_EQ(arguments[i].record, nullptr);
  }
  EXPECT_EQ(arguments.optionalFrom(), 7u);
  EXPECT_EQ(arguments.repeatedFrom(), 7u);
}

TEST(NotationTest, ABlockMayHaveAnExactSize) {
  const ArgumentList arguments("id:ay8 text:ay");

  EXPECT_EQ(arguments[0].type, ValueType::kBytes);
  EXPECT_EQ(arguments[0].size, 8u);
  EXPECT_EQ(arguments[1].size, 0u);
}

TEST(NotationTest, ARecordHasItsSizeUnlessTheServiceChoosesIt) {
  const ArgumentList arguments("pipe:Pipe device:Device");

  EXPECT_EQ(arguments[0].type, ValueType::kBytes);
  EXPECT_EQ(arguments[0].record, &pipe::kLayout);
  EXPECT_EQ(arguments[0].size, 268u);
  EXPECT_EQ(arguments[1].record, &device::kLayout);
  EXPECT_EQ(arguments[1].size, 0u);
}

TEST(NotationTest, ArgumentsMayRepeat) {
  const ArgumentList arguments("vm:i count:i (a:s b:n)*");

  EXPECT_EQ(arguments.size(), 4u);
  EXPECT_EQ(arguments.repeatedFrom(), 2u);
  EXPECT_EQ(arguments.optionalFrom(), 4u);
}

TEST(NotationTest, TheLastArgumentsMayBeOptional) {
  const ArgumentList one("a:i [b:t]");
  const ArgumentList two("a:i [b:t c:s]");

  EXPECT_EQ(one.optionalFrom(), 1u);
  EXPECT_EQ(one.repeatedFrom(), 2u);
  EXPECT_EQ(two.size(), 3u);
  EXPECT_EQ(two.optionalFrom(), 1u);
}

TEST(NotationTest, AnOptionalListRepeats) {
  const ArgumentList arguments("result:i [count:i (a:s b:s)*]");

  EXPECT_EQ(arguments.size(), 4u);
  EXPECT_EQ(arguments.optionalFrom(), 1u);
  EXPECT_EQ(arguments.repeatedFrom(), 2u);
}

TEST(NotationTest, OtherTextsAreRefused) {
  for (const char* const notation : {"i",
                                     ":i",
                                     "a:",
                                     "a:q",
                                     "a:ayx",
                                     "a:ay8x",
                                     "a:ay-1",
                                     "a:ay0",
                                     "a:Nothing",
                                     "a:i  b:i",
                                     " a:i",
                                     "a:i ",
                                     "(a:i)*",
                                     "a:s (b:i)*",
                                     "a:i (b:i",
                                     "a:i (b:i)",
                                     "a:i b:i)*",
                                     "a:i (b:i)* c:i",
                                     "a:i (b:i)* (c:i)*",
                                     "a:i [b:i",
                                     "a:i b:i]",
                                     "a:i [b:i] c:i",
                                     "a:i [b:i] [c:i]",
                                     "a:i [(b:i)*]",
                                     "a:i [b:i (c:i]",
                                     "a:i (b:i [c:i])*",
                                     "a:ay99999999999999999999",
                                     "a:i b:i c:i d:i e:i f:i g:i h:i i:i"}) {
    EXPECT_THROW(ArgumentList{notation}, std::invalid_argument) << notation;
  }
}

}  // namespace
}  // namespace velprotocol
