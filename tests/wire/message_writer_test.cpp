#include "bus/dbus/wire/message_writer.h"

#include <cstdint>
#include <limits>
#include <string>
#include <variant>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "bus/dbus/wire/grammar.h"
#include "bus/dbus/wire/values.h"
#include "tests/wire/generator.h"
#include "tests/wire/libdbus.h"
#include "tests/wire/random.h"
#include "tests/wire/sizes.h"

namespace {

using namespace qxbus::wire;
using namespace std::string_literals;
using qxbus::Bytes;
using qxbus::Value;
using qxbus::Values;
using testing::ElementsAre;
using testing::IsEmpty;
using wiretest::kMebi;
using wiretest::Random;

Header signalWith(std::string_view signature) {
  Header header;
  header.type = MessageType::kSignal;
  header.path = "/object";
  header.interface = "some.interface";
  header.member = "member";
  header.signature = signature;
  return header;
}

// Reads the message with the codec and with libdbus.
Message readBack(const MessageWriter& writer) {
  Message message;
  EXPECT_EQ(readMessage(writer.bytes(), &message), Fault::kNone);
  const wiretest::DBusMessageRef theirs = wiretest::parsedByLibdbus(writer.bytes());
  EXPECT_TRUE(theirs);
  if (theirs) {
    EXPECT_EQ(wiretest::difference(message, theirs.get()), "");
  }
  return message;
}

TEST(MessageWriterTest, WritesEveryFieldOfTheHeader) {
  Header header;
  header.type = MessageType::kError;
  header.flags = kNoReplyExpected | kNoAutoStart;
  header.replySerial = 0x01020304;
  header.path = "/object";
  header.interface = "some.interface";
  header.member = "member";
  header.errorName = "some.Error";
  header.destination = "some.destination";
  header.sender = ":1.1";
  header.signature = "s";
  MessageWriter writer;

  writer.start(header);
  writer.appendText("reason");
  ASSERT_EQ(writer.finish(77), Fault::kNone);

  const Header read = readBack(writer).header;
  EXPECT_EQ(read.type, header.type);
  EXPECT_EQ(read.flags, header.flags);
  EXPECT_EQ(read.serial, 77u);
  EXPECT_EQ(read.replySerial, header.replySerial);
  EXPECT_EQ(read.path, header.path);
  EXPECT_EQ(read.interface, header.interface);
  EXPECT_EQ(read.member, header.member);
  EXPECT_EQ(read.errorName, header.errorName);
  EXPECT_EQ(read.destination, header.destination);
  EXPECT_EQ(read.sender, header.sender);
  EXPECT_EQ(read.signature, header.signature);
}

class EachValue : public testing::TestWithParam<Value> {};

TEST_P(EachValue, ComesBackAsItWent) {
  const Values values = {GetParam(), GetParam()};
  MessageWriter writer;

  writer.start(signalWith("av"));
  appendValues(&writer, values);
  ASSERT_EQ(writer.finish(1), Fault::kNone);

  EXPECT_EQ(readValues(readBack(writer)), values);
}

template <typename T>
using Limits = std::numeric_limits<T>;

INSTANTIATE_TEST_SUITE_P(
    OfAList, EachValue,
    testing::Values(Value(std::int16_t{0}), Value(Limits<std::int16_t>::min()),
                    Value(Limits<std::int16_t>::max()), Value(std::int32_t{0}),
                    Value(Limits<std::int32_t>::min()), Value(Limits<std::int32_t>::max()),
                    Value(std::uint64_t{0}), Value(Limits<std::uint64_t>::max()),
                    Value(Limits<std::int64_t>::min()), Value(Limits<std::int64_t>::max()),
                    Value(Limits<std::uint16_t>::max()), Value(Limits<std::uint32_t>::max()),
                    Value(0.0), Value(-1.5), Value(Limits<double>::infinity()), Value(""s),
                    Value("text"s), Value("gr\xC3\xBC\xC3\x9F"s), Value(std::string(70000, 'x')),
                    Value(Bytes{}), Value(Bytes{0}), Value(Bytes(70000, 0xFF))));

TEST(MessageWriterTest, WritesAnEmptyList) {
  MessageWriter writer;
  writer.start(signalWith("av"));
  ASSERT_EQ(writer.finish(1), Fault::kNone);

  const Message message = readBack(writer);

  EXPECT_EQ(message.header.signature, "av");
  EXPECT_THAT(readValues(message), IsEmpty());
}

TEST(MessageWriterTest, WritesMoreArgumentsThanASignatureCouldName) {
  const Values many(5000, std::int16_t{7});
  MessageWriter writer;
  writer.start(signalWith("av"));
  appendValues(&writer, many);
  ASSERT_EQ(writer.finish(1), Fault::kNone);

  EXPECT_EQ(readValues(readBack(writer)), many);
}

TEST(MessageWriterTest, WritesATextThatDBusCannotCarryAsBytes) {
  for (const std::string& text : {"a\0b"s, "\0"s, "\xFF"s, "a\xC3"s, "\xED\xA0\x80"s}) {
    MessageWriter writer;
    writer.start(signalWith("av"));
    writer.appendText(text);
    ASSERT_EQ(writer.finish(1), Fault::kNone);

    EXPECT_THAT(readValues(readBack(writer)), ElementsAre(Bytes(text.begin(), text.end())));
  }
}

TEST(MessageWriterTest, WritesArgumentsOfTheirOwnTypes) {
  MessageWriter writer;
  writer.start(signalWith("niqxutdsayay"));
  writer.appendInt16(-1);
  writer.appendInt32(-2);
  writer.appendUInt16(0xFFFD);
  writer.appendInt64(-3);
  writer.appendUInt32(0xFFFFFFFC);
  writer.appendUInt64(5);
  writer.appendDouble(0.5);
  writer.appendText("text");
  writer.appendBytes("bytes");
  writer.appendBytes("");
  ASSERT_EQ(writer.finish(1), Fault::kNone);

  EXPECT_THAT(readValues(readBack(writer)),
              ElementsAre(std::int16_t{-1}, std::int32_t{-2}, std::uint16_t{0xFFFD},
                          std::int64_t{-3}, std::uint32_t{0xFFFFFFFC}, std::uint64_t{5}, 0.5,
                          "text"s, Bytes{'b', 'y', 't', 'e', 's'}, Bytes{}));
}

TEST(MessageWriterTest, WritesNoArguments) {
  MessageWriter writer;
  writer.start(signalWith(""));
  ASSERT_EQ(writer.finish(1), Fault::kNone);

  EXPECT_THAT(readValues(readBack(writer)), IsEmpty());
}

TEST(MessageWriterTest, FailsWhenTheArgumentsAreNotThoseOfTheSignature) {
  const struct {
    const char* signature;
    void (*append)(MessageWriter*);
    Fault fault;
  } rows[] = {
      {"i", [](MessageWriter* /*writer*/) {}, Fault::kArgument},
      {"", [](MessageWriter* writer) { writer->appendInt32(1); }, Fault::kArgument},
      {"i", [](MessageWriter* writer) { writer->appendUInt32(1); }, Fault::kArgument},
      {"is", [](MessageWriter* writer) { writer->appendInt32(1); }, Fault::kArgument},
      {"a", [](MessageWriter* writer) { writer->appendBytes(""); }, Fault::kArgument},
      {"s", [](MessageWriter* writer) { writer->appendText("\xFF"); }, Fault::kText},
  };
  for (const auto& row : rows) {
    MessageWriter writer;
    writer.start(signalWith(row.signature));
    row.append(&writer);
    EXPECT_EQ(writer.finish(1), row.fault) << row.signature;
  }
}

TEST(MessageWriterTest, GoesOnAfterAMessageIsFinished) {
  MessageWriter writer;
  writer.start(signalWith("av"));
  writer.appendInt32(1);
  ASSERT_EQ(writer.finish(1), Fault::kNone);
  writer.appendInt32(2);
  ASSERT_EQ(writer.finish(9), Fault::kNone);

  const Message message = readBack(writer);

  EXPECT_EQ(message.header.serial, 9u);
  EXPECT_THAT(readValues(message), ElementsAre(std::int32_t{1}, std::int32_t{2}));
}

TEST(MessageWriterTest, BeginsAnewAfterAnyMessage) {
  MessageWriter writer;
  writer.start(signalWith("i"));
  writer.appendText("not of the signature");
  EXPECT_EQ(writer.finish(1), Fault::kArgument);

  for (const char* const signature : {"av", "i", "i", "av"}) {
    writer.start(signalWith(signature));
    writer.appendInt32(3);
    ASSERT_EQ(writer.finish(2), Fault::kNone);

    EXPECT_THAT(readValues(readBack(writer)), ElementsAre(std::int32_t{3}));
  }
}

// --- Sizes ---------------------------------------------------------------------------------------

// Of the length that precedes the bytes, the signature of their variant and its padding.
constexpr std::size_t kOverheadOfFirstBlock = 8;

TEST(MessageWriterTest, FillsAListUpToTheLastByte) {
  const std::string bytes(64 * kMebi - kOverheadOfFirstBlock, 'x');
  MessageWriter writer;

  writer.start(signalWith("av"));
  writer.appendBytes(bytes);
  EXPECT_EQ(writer.finish(1), Fault::kNone);
  readBack(writer);

  writer.start(signalWith("av"));
  writer.appendBytes(bytes + 'x');
  EXPECT_EQ(writer.finish(1), Fault::kArraySize);
}

TEST(MessageWriterTest, StaysAtTheFirstArgumentThatDoesNotFit) {
  const std::string half(33 * kMebi, 'x');
  MessageWriter writer;
  writer.start(signalWith("av"));
  writer.appendBytes(half);
  writer.appendText(half);
  writer.appendInt32(1);

  EXPECT_EQ(writer.finish(1), Fault::kArraySize);
  EXPECT_LT(writer.bytes().size(), 34 * kMebi);
}

TEST(MessageWriterTest, WritesAMessageOf128MiBAndNotOneByteMore) {
  const std::string most(64 * kMebi, 'x');
  MessageWriter writer;
  writer.start(signalWith("ays"));
  writer.appendBytes("");
  writer.appendText("");
  ASSERT_EQ(writer.finish(1), Fault::kNone);
  const std::size_t left = 128 * kMebi - writer.bytes().size() - most.size();

  writer.start(signalWith("ays"));
  writer.appendBytes(most);
  writer.appendText(std::string(left, 'x'));
  EXPECT_EQ(writer.finish(1), Fault::kNone);
  EXPECT_EQ(writer.bytes().size(), 128 * kMebi);
  readBack(writer);

  writer.start(signalWith("ays"));
  writer.appendBytes(most);
  writer.appendText(std::string(left + 1, 'x'));
  EXPECT_EQ(writer.finish(1), Fault::kMessageSize);
}

TEST(MessageWriterTest, RefusesAByteArrayOfMoreThan64MiB) {
  const std::string bytes(64 * kMebi + 1, 'x');
  MessageWriter writer;
  writer.start(signalWith("ay"));
  writer.appendBytes(bytes);

  EXPECT_EQ(writer.finish(1), Fault::kArraySize);
}

// --- Random messages -----------------------------------------------------------------------------

Value randomValue(Random* random) {
  switch (random->below(9)) {
    case 0:
      return static_cast<std::int16_t>(random->next());
    case 1:
      return static_cast<std::int32_t>(random->next());
    case 2:
      return random->next();
    case 3:
      return static_cast<std::int64_t>(random->next());
    case 4:
      return static_cast<double>(random->next());
    case 5:
      return static_cast<std::uint16_t>(random->next());
    case 6:
      return static_cast<std::uint32_t>(random->next());
    case 7:
      return wiretest::randomText(random);
    default:
      return Bytes(random->below(50), static_cast<unsigned char>(random->next()));
  }
}

// The header's texts are views of the other members.
struct RandomHeader {
  explicit RandomHeader(Random* random)
      : path(wiretest::randomObjectPath(random)),
        interface(wiretest::randomInterface(random)),
        member(wiretest::randomMember(random)),
        destination(wiretest::randomBusName(random)) {
    header.type = static_cast<MessageType>(1 + random->below(4));
    header.flags = static_cast<std::uint8_t>(random->below(4));
    header.replySerial = static_cast<std::uint32_t>(random->next() | 1);
    header.path = path;
    header.interface = interface;
    header.member = member;
    header.errorName = interface;
    header.destination = destination;
    header.signature = "av";
  }
  RandomHeader(const RandomHeader&) = delete;
  RandomHeader& operator=(const RandomHeader&) = delete;

  Header header;
  std::string path;
  std::string interface;
  std::string member;
  std::string destination;
};

TEST(MessageWriterTest, LibdbusReadsRandomMessagesAsTheyWereWritten) {
  Random random(1);
  MessageWriter writer;
  for (int i = 0; i < 20000; ++i) {
    const RandomHeader made(&random);
    Values values;
    for (std::size_t count = random.below(8); count > 0; --count) {
      values.push_back(randomValue(&random));
    }

    writer.start(made.header);
    appendValues(&writer, values);
    ASSERT_EQ(writer.finish(static_cast<std::uint32_t>(random.next() | 1)), Fault::kNone);

    Message message;
    const Fault fault = readMessage(writer.bytes(), &message);
    const wiretest::DBusMessageRef theirs = wiretest::parsedByLibdbus(writer.bytes());
    ASSERT_EQ(fault == Fault::kNone, theirs != nullptr) << "message " << i;
    // Some of the generated names are reserved.
    if (theirs) {
      ASSERT_EQ(wiretest::difference(message, theirs.get()), "") << "message " << i;
      ASSERT_EQ(readValues(message), values) << "message " << i;
    }
  }
}

}  // namespace
