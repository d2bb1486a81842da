// The rules of headers and bodies that need more than the bytes of a corpus file: framing, sizes at
// the limits, and headers of messages whose body is still on its way.

#include "bus/dbus/wire/message.h"

#include <cstddef>
#include <set>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "bus/dbus/wire/message_writer.h"
#include "tests/wire/encoder.h"
#include "tests/wire/libdbus.h"
#include "tests/wire/sizes.h"

namespace {

using namespace qxbus::wire;
using wiretest::Encoder;
using wiretest::kMebi;

// The first bytes of a message.
std::string frameBytes(ByteOrder order, std::uint32_t fields, std::uint32_t body) {
  Encoder encoder(order);
  encoder.byte(static_cast<unsigned char>(order));
  encoder.append(std::string("\x01\x00\x01", 3));
  encoder.number(body, 4);
  encoder.number(7, 4);
  encoder.number(fields, 4);
  return encoder.bytes();
}

struct FrameRow {
  const char* name;
  std::uint32_t fields;
  std::uint32_t body;
  std::size_t size;  // 0: the frame is refused
};

const FrameRow kFrameRows[] = {
    {"Least", 0, 0, 16},
    {"WithPaddingOfTheHeader", 1, 0, 24},
    {"WithoutPadding", 8, 3, 27},
    {"LargestBody", 0, 128 * kMebi - 16, 128 * kMebi},
    {"BodyTooLargeByOne", 0, 128 * kMebi - 15, 0},
    {"LargestFields", 128 * kMebi - 16, 0, 128 * kMebi},
    {"FieldsTooLargeByOne", 128 * kMebi - 15, 0, 0},
    {"EachFitsAndBothDoNot", 64 * kMebi, 64 * kMebi, 0},
    {"BodyOfAllBits", 0, 0xFFFFFFFF, 0},
    {"FieldsOfAllBits", 0xFFFFFFFF, 0, 0},
};

class FrameTest : public testing::TestWithParam<FrameRow> {};

TEST_P(FrameTest, HasTheSizeThatLibdbusSees) {
  const FrameRow& row = GetParam();
  for (const ByteOrder order : {ByteOrder::kLittle, ByteOrder::kBig}) {
    const std::string bytes = frameBytes(order, row.fields, row.body);

    const Frame frame = frameOf(bytes);

    EXPECT_EQ(frame.fault, row.size == 0 ? Fault::kMessageSize : Fault::kNone);
    const int needed =
        dbus_message_demarshal_bytes_needed(bytes.data(), static_cast<int>(bytes.size()));
    EXPECT_EQ(needed, row.size == 0 ? -1 : static_cast<int>(row.size));
    if (row.size != 0) {
      EXPECT_EQ(frame.size, row.size);
      EXPECT_EQ(frame.headerSize, row.size - row.body);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Sizes, FrameTest, testing::ValuesIn(kFrameRows),
                         [](const auto& tested) { return tested.param.name; });

TEST(FrameTest, NeedsSixteenBytes) {
  const std::string bytes = frameBytes(ByteOrder::kLittle, 8, 8);

  for (std::size_t size = 0; size < kFrameSize; ++size) {
    const Frame frame = frameOf(std::string_view(bytes).substr(0, size));
    EXPECT_EQ(frame.fault, Fault::kNone);
    EXPECT_EQ(frame.size, 0u);
  }
}

TEST(FrameTest, IsRefusedWithoutAByteOrder) {
  std::string bytes = frameBytes(ByteOrder::kLittle, 8, 8);
  bytes[0] = 'L';

  EXPECT_EQ(frameOf(bytes).fault, Fault::kByteOrder);
}

// --- Headers -------------------------------------------------------------------------------------

std::string callWithBody() {
  Header header;
  header.type = MessageType::kMethodCall;
  header.sender = ":1.7";
  header.path = "/object";
  header.member = "method";
  header.signature = "s";
  MessageWriter writer;
  writer.start(header);
  writer.appendText("argument");
  EXPECT_EQ(writer.finish(5), Fault::kNone);
  return std::string(writer.bytes());
}

TEST(HeaderTest, CanBeReadBeforeTheBodyHasCome) {
  const std::string bytes = callWithBody();
  const Frame frame = frameOf(bytes);

  for (std::size_t size = frame.headerSize; size < bytes.size(); ++size) {
    Message message;
    ASSERT_EQ(readHeader(std::string_view(bytes).substr(0, size), &message), Fault::kNone);
    EXPECT_EQ(message.header.sender, ":1.7");
    EXPECT_EQ(message.header.serial, 5u);
    EXPECT_EQ(message.bodySize, bytes.size() - frame.headerSize);
    EXPECT_EQ(checkBody(message), Fault::kTruncated);
  }
}

TEST(HeaderTest, IsNotReadUntilItHasCome) {
  const std::string bytes = callWithBody();
  const Frame frame = frameOf(bytes);

  for (std::size_t size = 0; size < frame.headerSize; ++size) {
    Message message;
    EXPECT_EQ(readHeader(std::string_view(bytes).substr(0, size), &message), Fault::kTruncated);
  }
}

TEST(HeaderTest, IsNotReadWithAnotherMessageBehind) {
  Message message;
  EXPECT_EQ(readHeader(callWithBody() + callWithBody(), &message), Fault::kTooLong);
}

TEST(HeaderTest, OfAReplyGoesToTheCaller) {
  Message call;
  const std::string bytes = callWithBody();
  ASSERT_EQ(readMessage(bytes, &call), Fault::kNone);

  const Header reply = returnOf(call.header);
  const Header error = errorOf(call.header, "some.Error");

  EXPECT_EQ(reply.type, MessageType::kMethodReturn);
  EXPECT_EQ(error.type, MessageType::kError);
  EXPECT_EQ(error.errorName, "some.Error");
  for (const Header& header : {reply, error}) {
    EXPECT_EQ(header.destination, ":1.7");
    EXPECT_EQ(header.replySerial, 5u);
    EXPECT_EQ(header.flags, kNoReplyExpected);
  }
}

// --- Values at the limits of size ----------------------------------------------------------------

// A signal with one array of so many bytes, as a value or within a variant.
std::string signalWithArray(const std::string& signature, std::size_t size) {
  Encoder encoder(kHostOrder);
  encoder.byte(static_cast<unsigned char>(kHostOrder));
  encoder.append(std::string("\x04\x00\x01", 3));
  encoder.number(0, 4);
  encoder.number(1, 4);
  encoder.number(0, 4);
  const auto field = [&encoder](unsigned int code, char type, const std::string& text) {
    encoder.pad(8);
    encoder.byte(code);
    encoder.signature({type});
    type == 'g' ? encoder.signature(text) : encoder.string(text);
  };
  field(1, 'o', "/a");
  field(2, 's', "a.b");
  field(3, 's', "m");
  field(8, 'g', signature);
  encoder.setLength(12, 16);
  encoder.pad(8);
  const std::size_t body = encoder.bytes().size();
  if (signature == "v") {
    encoder.signature("ay");
  }
  encoder.number(size, 4);
  encoder.append(std::string(size, '\0'));
  encoder.setLength(4, body);
  return encoder.bytes();
}

TEST(ArrayTest, MayHave64MiBAndNotOneByteMore) {
  for (const char* const signature : {"ay", "v"}) {
    for (const std::size_t size : {64 * kMebi, 64 * kMebi + 1}) {
      const std::string bytes = signalWithArray(signature, size);
      Message message;

      const Fault fault = readMessage(bytes, &message);

      EXPECT_EQ(fault, size == 64 * kMebi ? Fault::kNone : Fault::kArraySize);
      EXPECT_EQ(wiretest::parsedByLibdbus(bytes) != nullptr, fault == Fault::kNone);
    }
  }
}

TEST(ArrayTest, OfHeaderFieldsMayNotBeLarger) {
  const std::string frame = frameBytes(kHostOrder, 64 * kMebi + 8, 0);
  const std::string bytes = frame + std::string(64 * kMebi + 8, '\0');
  Message message;

  EXPECT_EQ(readMessage(bytes, &message), Fault::kArraySize);
  EXPECT_EQ(wiretest::parsedByLibdbus(bytes), nullptr);
}

TEST(FaultTest, HasAReasonOfItsOwn) {
  std::set<std::string> reasons;
  constexpr int kFaults = static_cast<int>(Fault::kArgument) + 1;
  for (int fault = 0; fault < kFaults; ++fault) {
    reasons.insert(reasonOf(static_cast<Fault>(fault)));
  }

  EXPECT_EQ(reasons.size(), std::size_t{kFaults});
  EXPECT_STREQ(reasonOf(static_cast<Fault>(kFaults)), "the message is malformed");
}

}  // namespace
