// How arguments are read and described.

#include "bus/dbus/value.h"

#include <limits>
#include <ostream>

#include <gmock/gmock.h>

#include "tests/dbus/libdbus_messages.h"
#include "tests/dbus/wire_messages.h"

namespace {

using namespace dbustest;
using namespace std::string_literals;
using qxbus::Bytes;
using qxbus::Values;
using testing::HasSubstr;
using testing::SizeIs;

// --- Integers ------------------------------------------------------------------------------------

// The result of each reading.
struct Readings {
  std::int16_t int16;
  std::uint16_t uint16;
  std::int32_t int32;
  std::uint32_t uint32;
  std::int64_t int64;
  std::uint64_t uint64;
};

bool operator==(const Readings& a, const Readings& b) {
  return a.int16 == b.int16 && a.uint16 == b.uint16 && a.int32 == b.int32 && a.uint32 == b.uint32 &&
         a.int64 == b.int64 && a.uint64 == b.uint64;
}

std::ostream& operator<<(std::ostream& stream, const Readings& readings) {
  return stream << readings.int16 << ' ' << readings.uint16 << ' ' << readings.int32 << ' '
                << readings.uint32 << ' ' << readings.int64 << ' ' << readings.uint64;
}

Readings readingsOf(const Values& values) {
  return {qxbus::readInt16(values, 0),  qxbus::readUInt16(values, 0), qxbus::readInt32(values, 0),
          qxbus::readUInt32(values, 0), qxbus::readInt64(values, 0),  qxbus::readUInt64(values, 0)};
}

// An integer of a D-Bus type, with the bits of which the type takes the lowest.
struct IntegerRow {
  const char* type;
  std::uint64_t bits;
  Readings readings;
};

void appendInteger(DBusMessageIter* arguments, const IntegerRow& row) {
  switch (*row.type) {
    case DBUS_TYPE_BYTE:
      return append(arguments, *row.type, static_cast<unsigned char>(row.bits));
    case DBUS_TYPE_INT16:
    case DBUS_TYPE_UINT16:
      return append(arguments, *row.type, static_cast<std::uint16_t>(row.bits));
    case DBUS_TYPE_BOOLEAN:
    case DBUS_TYPE_INT32:
    case DBUS_TYPE_UINT32:
      return append(arguments, *row.type, static_cast<std::uint32_t>(row.bits));
    default:
      return append(arguments, *row.type, row.bits);
  }
}

constexpr std::uint64_t negative(std::uint64_t magnitude) {
  return std::uint64_t{0} - magnitude;
}

// One value of each width on either side of an edge. The same width reads the same bits.
const IntegerRow kIntegers[] = {
    // type, bits                         int16   uint16  int32  uint32  int64  uint64
    {"y", 0, {0, 0, 0, 0, 0, 0}},
    {"y", 255, {255, 255, 255, 255, 255, 255}},
    {"b", 1, {1, 1, 1, 1, 1, 1}},
    {"n", 32767, {32767, 32767, 32767, 32767, 32767, 32767}},
    {"n", negative(1), {-1, 65535, -1, 0, -1, 0}},
    {"n", negative(32768), {-32768, 32768, -32768, 0, -32768, 0}},
    {"q", 32767, {32767, 32767, 32767, 32767, 32767, 32767}},
    {"q", 32768, {-32768, 32768, 32768, 32768, 32768, 32768}},
    {"q", 65535, {-1, 65535, 65535, 65535, 65535, 65535}},
    {"i", 32768, {0, 32768, 32768, 32768, 32768, 32768}},
    {"i", 65536, {0, 0, 65536, 65536, 65536, 65536}},
    {"i", negative(32768), {-32768, 0, -32768, 4294934528, -32768, 0}},
    {"i", negative(32769), {0, 0, -32769, 4294934527, -32769, 0}},
    {"i", 2147483647, {0, 0, 2147483647, 2147483647, 2147483647, 2147483647}},
    {"u", 65535, {0, 65535, 65535, 65535, 65535, 65535}},
    {"u", 2147483648, {0, 0, -2147483647 - 1, 2147483648, 2147483648, 2147483648}},
    {"u", 4294967295, {0, 0, -1, 4294967295, 4294967295, 4294967295}},
    {"x", 7, {7, 7, 7, 7, 7, 7}},
    {"x", 4294967295, {0, 0, 0, 4294967295, 4294967295, 4294967295}},
    {"x", 4294967296, {0, 0, 0, 0, 4294967296, 4294967296}},
    {"x", negative(1), {-1, 0, -1, 0, -1, 18446744073709551615U}},
    {"x", negative(2147483648), {0, 0, -2147483647 - 1, 0, -2147483648, 18446744071562067968U}},
    {"x", negative(2147483649), {0, 0, 0, 0, -2147483649, 18446744071562067967U}},
    {"t", 7, {7, 7, 7, 7, 7, 7}},
    {"t", 2147483648, {0, 0, 0, 2147483648, 2147483648, 2147483648}},
    {"t", 18446744073709551615U, {0, 0, 0, 0, -1, 18446744073709551615U}},
};

class IntegerArgument : public testing::TestWithParam<IntegerRow> {};

TEST_P(IntegerArgument, IsReadByEveryGetterThatHoldsIt) {
  const Body one = [](DBusMessageIter* arguments) { appendInteger(arguments, GetParam()); };
  const DBusMessageRef plain = messageWith(one);
  const DBusMessageRef inVariants = messageWith([&one](DBusMessageIter* body) {
    in(body, DBUS_TYPE_ARRAY, "v",
       [&one](DBusMessageIter* array) { in(array, DBUS_TYPE_VARIANT, GetParam().type, one); });
  });

  for (const DBusMessageRef& message : {received(plain), received(inVariants)}) {
    const Values values = readBody(message.get());
    ASSERT_THAT(values, SizeIs(1));
    EXPECT_EQ(readingsOf(values), GetParam().readings);
    EXPECT_EQ(qxbus::readString(values, 0), "");
    EXPECT_EQ(qxbus::readBytes(values, 0), nullptr);
  }
}

INSTANTIATE_TEST_SUITE_P(OfType, IntegerArgument, testing::ValuesIn(kIntegers),
                         [](const auto& each) {
                           return each.param.type + std::to_string(each.param.bits);
                         });

TEST(Argument, ThatIsNoIntegerReadsAsZero) {
  for (const qxbus::Value& value : Values{7.0, "7"s, Bytes{7}}) {
    EXPECT_EQ(readingsOf({value}), Readings());
  }
}

// --- Others --------------------------------------------------------------------------------------

TEST(Argument, OutsideTheListIsNothing) {
  const Values values = {std::int32_t{1}};

  for (const int index :
       {-1, 1, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()}) {
    EXPECT_EQ(qxbus::readInt16(values, index), 0);
    EXPECT_EQ(qxbus::readUInt16(values, index), 0);
    EXPECT_EQ(qxbus::readInt32(values, index), 0);
    EXPECT_EQ(qxbus::readUInt32(values, index), 0u);
    EXPECT_EQ(qxbus::readInt64(values, index), 0);
    EXPECT_EQ(qxbus::readUInt64(values, index), 0u);
    EXPECT_EQ(qxbus::readString(values, index), "");
    EXPECT_EQ(qxbus::readBytes(values, index), nullptr);
  }
}

TEST(Arguments, AreDescribedOnOneLine) {
  const std::string text =
      qxbus::describe({std::int16_t{-1}, std::uint16_t{65535}, std::int32_t{7},
                       std::uint32_t{4294967295}, std::uint64_t{8}, std::int64_t{-9}, 0.5,
                       "a \"b\"\n\\"s, Bytes{1, 2, 255}, Bytes{}, Bytes(1000, 3)});

  EXPECT_THAT(text, HasSubstr("int16 -1, uint16 65535, int32 7, uint32 4294967295, uint64 8, "
                              "int64 -9, double 0.500000, string \"a \\\"b\\\"\\x0a\\\\\", "));
  EXPECT_THAT(text, HasSubstr("bytes[3] 01 02 ff, bytes[0], bytes[1000] 03"));
  EXPECT_THAT(text, testing::Not(HasSubstr("\n")));
  EXPECT_LT(text.size(), 400u);
  EXPECT_EQ(qxbus::describe({}), "");
  EXPECT_EQ(qxbus::describe({Bytes(16, 0)}),
            "bytes[16] 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00");
  EXPECT_EQ(qxbus::describe({Bytes(17, 0)}),
            "bytes[17] 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 ...");
}

}  // namespace
