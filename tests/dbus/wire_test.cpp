// The code that turns arguments into the body of a D-Bus message and back.

#include <cmath>
#include <limits>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/dbus/libdbus_messages.h"
#include "tests/dbus/wire_messages.h"

namespace {

using namespace dbustest;
using namespace std::string_literals;
using qxbus::Bytes;
using qxbus::Value;
using qxbus::Values;
using testing::IsEmpty;
using testing::SizeIs;

template <typename T>
using Limits = std::numeric_limits<T>;

Values roundTrip(const Values& values) {
  const DBusMessageRef message = signalWith(values);
  EXPECT_STREQ(dbus_message_get_signature(message.get()), "av");
  return readBody(message.get());
}

class EachValue : public testing::TestWithParam<Value> {};

TEST_P(EachValue, ComesBackAsItWent) {
  const Values values = {GetParam(), GetParam()};

  EXPECT_EQ(roundTrip(values), values);
}

INSTANTIATE_TEST_SUITE_P(
    OfTheWire, EachValue,
    testing::Values(Value(std::int16_t{0}), Value(Limits<std::int16_t>::min()),
                    Value(Limits<std::int16_t>::max()), Value(std::int32_t{0}),
                    Value(Limits<std::int32_t>::min()), Value(Limits<std::int32_t>::max()),
                    Value(std::uint64_t{0}), Value(Limits<std::uint64_t>::max()),
                    Value(Limits<std::int64_t>::min()), Value(Limits<std::int64_t>::max()),
                    Value(0.0), Value(-1.5), Value(Limits<double>::infinity()), Value(""s),
                    Value("text"s), Value("gr\xC3\xBC\xC3\x9F"s), Value(std::string(70000, 'x')),
                    Value(Bytes{}), Value(Bytes{0}), Value(Bytes(70000, 0xFF))));

TEST(WireBody, HoldsNothing) {
  EXPECT_THAT(roundTrip({}), IsEmpty());
  EXPECT_THAT(readBody(newMessage().get()), IsEmpty());
}

TEST(WireBody, HoldsMoreThanASignatureCouldName) {
  const Values many(5000, std::int16_t{7});

  EXPECT_EQ(roundTrip(many), many);
}

TEST(WireBody, CarriesTextThatDBusCannotAsBytes) {
  for (const std::string& text : {"a\0b"s, "\0"s, "\xFF"s, "a\xC3"s, "\xED\xA0\x80"s}) {
    const Values values = roundTrip({text});

    ASSERT_THAT(values, SizeIs(1));
    EXPECT_TRUE(std::holds_alternative<Bytes>(values[0]));
    EXPECT_EQ(qxbus::readString(values, 0), text);
    EXPECT_FALSE(qxbus::isText(text));
  }
  EXPECT_TRUE(qxbus::isText(""));
  EXPECT_TRUE(qxbus::isText("gr\xC3\xBC\xC3\x9F"));
}

TEST(WireBody, IsNotMadeWhenItIsTooLarge) {
  constexpr std::size_t kMegabyte = std::size_t{1024} * 1024;

  qxbus::wire::MessageWriter writer;

  EXPECT_FALSE(writeSignal(&writer, {Bytes(65 * kMegabyte)}));
  EXPECT_FALSE(writeSignal(&writer, {std::string(65 * kMegabyte, 'x')}));
  EXPECT_FALSE(writeSignal(&writer, {Bytes(33 * kMegabyte), Bytes(33 * kMegabyte)}));
  EXPECT_TRUE(writeSignal(&writer, {Bytes(33 * kMegabyte), Bytes(30 * kMegabyte)}));
}

// --- Bodies that others make ---------------------------------------------------------------------

TEST(WireBody, OfNativeTypesIsReadAsOneArgumentEach) {
  const DBusMessageRef message = received(messageWith([](DBusMessageIter* body) {
    append(body, DBUS_TYPE_INT32, std::int32_t{-1});
    append(body, DBUS_TYPE_STRING, "text");
    append(body, DBUS_TYPE_INT16, std::int16_t{-2});
    append(body, DBUS_TYPE_UINT16, std::uint16_t{0xFFFE});
    append(body, DBUS_TYPE_UINT32, std::uint32_t{0xFFFFFFFD});
    append(body, DBUS_TYPE_UINT64, std::uint64_t{4});
    append(body, DBUS_TYPE_INT64, std::int64_t{-5});
    append(body, DBUS_TYPE_DOUBLE, 0.5);
    append(body, DBUS_TYPE_BYTE, static_cast<unsigned char>(200));
    append(body, DBUS_TYPE_BOOLEAN, dbus_bool_t{1});
    append(body, DBUS_TYPE_OBJECT_PATH, "/path");
    append(body, DBUS_TYPE_SIGNATURE, "a{sv}");
    in(body, DBUS_TYPE_ARRAY, "y", [](DBusMessageIter* bytes) {
      append(bytes, DBUS_TYPE_BYTE, static_cast<unsigned char>(9));
    });
    in(body, DBUS_TYPE_VARIANT, "i",
       [](DBusMessageIter* variant) { append(variant, DBUS_TYPE_INT32, std::int32_t{10}); });
  }));

  const Values values = readBody(message.get());

  ASSERT_THAT(values, SizeIs(14));
  EXPECT_EQ(qxbus::readUInt32(values, 0), 0xFFFFFFFFu);
  EXPECT_EQ(qxbus::readString(values, 1), "text");
  EXPECT_EQ(qxbus::readUInt16(values, 2), 0xFFFE);
  EXPECT_EQ(qxbus::readUInt16(values, 3), 0xFFFE);
  EXPECT_EQ(qxbus::readUInt32(values, 4), 0xFFFFFFFDu);
  EXPECT_EQ(qxbus::readUInt64(values, 5), 4u);
  EXPECT_EQ(qxbus::readUInt64(values, 6), std::uint64_t{0} - 5);
  EXPECT_EQ(std::get<double>(values[7]), 0.5);
  EXPECT_EQ(qxbus::readUInt32(values, 8), 200u);
  EXPECT_EQ(qxbus::readUInt32(values, 9), 1u);
  EXPECT_EQ(qxbus::readString(values, 10), "/path");
  EXPECT_EQ(qxbus::readString(values, 11), "a{sv}");
  EXPECT_EQ(*qxbus::readBytes(values, 12), Bytes{9});
  EXPECT_EQ(qxbus::readUInt32(values, 13), 10u);
}

struct OddBody {
  const char* name;
  // Appends one argument of the type.
  const char* type;
  Body body;
};

void appendOne(DBusMessageIter* arguments) {
  append(arguments, DBUS_TYPE_INT32, std::int32_t{1});
}

const OddBody kOddBodies[] = {
    {"Structure", "(i)",
     [](DBusMessageIter* out) { in(out, DBUS_TYPE_STRUCT, nullptr, appendOne); }},
    {"Dictionary", "a{si}",
     [](DBusMessageIter* out) {
       in(out, DBUS_TYPE_ARRAY, "{si}", [](DBusMessageIter* array) {
         in(array, DBUS_TYPE_DICT_ENTRY, nullptr, [](DBusMessageIter* entry) {
           append(entry, DBUS_TYPE_STRING, "key");
           appendOne(entry);
         });
       });
     }},
    {"EmptyDictionary", "a{sv}",
     [](DBusMessageIter* out) { in(out, DBUS_TYPE_ARRAY, "{sv}", [](DBusMessageIter*) {}); }},
    {"Numbers", "ai", [](DBusMessageIter* out) { in(out, DBUS_TYPE_ARRAY, "i", appendOne); }},
    {"NoNumbers", "ai",
     [](DBusMessageIter* out) { in(out, DBUS_TYPE_ARRAY, "i", [](DBusMessageIter*) {}); }},
    {"Booleans", "ab",
     [](DBusMessageIter* out) {
       in(out, DBUS_TYPE_ARRAY, "b",
          [](DBusMessageIter* array) { append(array, DBUS_TYPE_BOOLEAN, dbus_bool_t{1}); });
     }},
    {"Texts", "as",
     [](DBusMessageIter* out) {
       in(out, DBUS_TYPE_ARRAY, "s",
          [](DBusMessageIter* array) { append(array, DBUS_TYPE_STRING, "text"); });
     }},
    {"Structures", "a(i)",
     [](DBusMessageIter* out) {
       in(out, DBUS_TYPE_ARRAY, "(i)",
          [](DBusMessageIter* array) { in(array, DBUS_TYPE_STRUCT, nullptr, appendOne); });
     }},
    {"BlocksOfBytes", "aay",
     [](DBusMessageIter* out) {
       in(out, DBUS_TYPE_ARRAY, "ay",
          [](DBusMessageIter* array) { in(array, DBUS_TYPE_ARRAY, "y", [](DBusMessageIter*) {}); });
     }},
};

class WireBodyWith : public testing::TestWithParam<OddBody> {
 protected:
  static void expectOneEmptyPlaceAndTheNumber(const DBusMessageRef& message) {
    const Values values = readBody(received(message).get());

    ASSERT_THAT(values, SizeIs(2));
    EXPECT_EQ(qxbus::readUInt16(values, 0), 0);
    EXPECT_EQ(qxbus::readUInt32(values, 0), 0u);
    EXPECT_EQ(qxbus::readUInt64(values, 0), 0u);
    EXPECT_EQ(qxbus::readString(values, 0), "");
    const Bytes* const bytes = qxbus::readBytes(values, 0);
    EXPECT_TRUE(!bytes || bytes->empty());
    EXPECT_EQ(qxbus::readUInt32(values, 1), 1u);
  }
};

TEST_P(WireBodyWith, KeepsAnEmptyPlaceForIt) {
  expectOneEmptyPlaceAndTheNumber(messageWith([](DBusMessageIter* body) {
    GetParam().body(body);
    appendOne(body);
  }));
}

TEST_P(WireBodyWith, KeepsAnEmptyPlaceForItInAVariant) {
  expectOneEmptyPlaceAndTheNumber(messageWith([](DBusMessageIter* body) {
    in(body, DBUS_TYPE_ARRAY, "v", [](DBusMessageIter* array) {
      in(array, DBUS_TYPE_VARIANT, GetParam().type, GetParam().body);
      in(array, DBUS_TYPE_VARIANT, "i", appendOne);
    });
  }));
}

INSTANTIATE_TEST_SUITE_P(A, WireBodyWith, testing::ValuesIn(kOddBodies),
                         [](const auto& each) { return each.param.name; });

// As deep as D-Bus allows.
TEST(WireBody, FollowsVariantsWithinVariants) {
  Body nested = appendOne;
  const char* signature = "i";
  for (int depth = 0; depth < 60; ++depth) {
    nested = [nested, signature](DBusMessageIter* out) {
      in(out, DBUS_TYPE_VARIANT, signature, nested);
    };
    signature = "v";
  }

  const Values bare = readBody(received(messageWith(nested)).get());
  const Values inArray = readBody(received(messageWith([&](DBusMessageIter* body) {
                                    in(body, DBUS_TYPE_ARRAY, "v", nested);
                                  })).get());

  ASSERT_THAT(bare, SizeIs(1));
  EXPECT_EQ(qxbus::readUInt32(bare, 0), 1u);
  ASSERT_THAT(inArray, SizeIs(1));
  EXPECT_EQ(qxbus::readUInt32(inArray, 0), 1u);
}

// Only a body that is nothing but av is a list of positional arguments.
TEST(WireBody, OfMoreThanVariantsIsReadAsOneArgumentEach) {
  const DBusMessageRef message = messageWith([](DBusMessageIter* body) {
    in(body, DBUS_TYPE_ARRAY, "v", [](DBusMessageIter* array) {
      in(array, DBUS_TYPE_VARIANT, "i", appendOne);
      in(array, DBUS_TYPE_VARIANT, "i", appendOne);
    });
    append(body, DBUS_TYPE_INT32, std::int32_t{7});
  });

  const Values values = readBody(received(message).get());

  ASSERT_THAT(values, SizeIs(2));
  EXPECT_EQ(qxbus::readUInt32(values, 0), 0u);
  EXPECT_EQ(qxbus::readUInt32(values, 1), 7u);
}

}  // namespace
