#include "bus/dbus/wire/argument_reader.h"

#include <cstdint>
#include <functional>
#include <string>
#include <variant>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "bus/dbus/wire/values.h"
#include "tests/wire/encoder.h"

namespace {

using namespace qxbus::wire;
using namespace std::string_literals;
using qxbus::Bytes;
using qxbus::Value;
using qxbus::Values;
using testing::ElementsAre;
using testing::IsEmpty;
using wiretest::Encoder;

struct ArgumentRow {
  const char* name;
  std::string signature;
  std::function<void(Encoder*)> encode;
  Value value;  // as it reads
};

void encodeStruct(Encoder* encoder) {
  encoder->pad(8);
  encoder->number(1, 4);
  encoder->string("within");
}

void encodeDictionary(Encoder* encoder) {
  encoder->pad(4);
  const std::size_t where = encoder->bytes().size();
  encoder->number(0, 4);
  encoder->pad(8);
  const std::size_t start = encoder->bytes().size();
  encoder->string("key");
  encoder->signature("i");
  encoder->number(5, 4);
  encoder->setLength(where, start);
}

const ArgumentRow kArgumentRows[] = {
    {"Int16", "n", [](Encoder* e) { e->number(0x8000, 2); }, std::int16_t{-0x8000}},
    {"UInt16", "q", [](Encoder* e) { e->number(0xFFFE, 2); }, std::uint16_t{0xFFFE}},
    {"Int32", "i", [](Encoder* e) { e->number(0xFFFFFFFF, 4); }, std::int32_t{-1}},
    {"UInt32", "u", [](Encoder* e) { e->number(0xFFFFFFFD, 4); }, std::uint32_t{0xFFFFFFFD}},
    {"Int64", "x", [](Encoder* e) { e->number(~std::uint64_t{0}, 8); }, std::int64_t{-1}},
    {"UInt64", "t", [](Encoder* e) { e->number(~std::uint64_t{0}, 8); }, ~std::uint64_t{0}},
    {"Double", "d", [](Encoder* e) { e->number(0x3FE0000000000000, 8); }, 0.5},
    {"Byte", "y", [](Encoder* e) { e->byte(200); }, std::int32_t{200}},
    {"Boolean", "b", [](Encoder* e) { e->number(1, 4); }, std::int32_t{1}},
    {"String", "s", [](Encoder* e) { e->string("gr\xC3\xBC\xC3\x9F"); }, "gr\xC3\xBC\xC3\x9F"s},
    {"ObjectPath", "o", [](Encoder* e) { e->string("/path"); }, "/path"s},
    {"Signature", "g", [](Encoder* e) { e->signature("a{sv}"); }, "a{sv}"s},
    {"Bytes", "ay", [](Encoder* e) { e->block("12"); }, Bytes{'1', '2'}},
    {"NoBytes", "ay", [](Encoder* e) { e->number(0, 4); }, Bytes{}},
    {"Variant", "v",
     [](Encoder* e) {
       e->signature("v");
       e->signature("n");
       e->number(7, 2);
     },
     std::int16_t{7}},
    {"OtherArray", "ai",
     [](Encoder* e) {
       e->number(4, 4);
       e->number(9, 4);
     },
     Bytes{}},
    {"Struct", "(is)", encodeStruct, Bytes{}},
    {"Dictionary", "a{sv}", encodeDictionary, Bytes{}},
    {"Descriptor", "h", [](Encoder* e) { e->number(0, 4); }, Bytes{}},
};

void nothing(Encoder* /*encoder*/) {}

std::string encoded(const ArgumentRow& row, ByteOrder order, void (*before)(Encoder*),
                    void (*behind)(Encoder*)) {
  Encoder encoder(order);
  before(&encoder);
  row.encode(&encoder);
  behind(&encoder);
  return encoder.bytes();
}

Message messageOf(std::string_view signature, std::string_view body, ByteOrder order) {
  Message message;
  message.header.signature = signature;
  message.body = body;
  message.bodySize = body.size();
  message.order = order;
  return message;
}

class ArgumentTest : public testing::TestWithParam<ArgumentRow> {};

TEST_P(ArgumentTest, OfABodyIsReadWithItsNeighbours) {
  const ArgumentRow& row = GetParam();
  const std::string signature = 'y' + row.signature + 'y';
  for (const ByteOrder order : {ByteOrder::kLittle, ByteOrder::kBig}) {
    const std::string body = encoded(
        row, order, [](Encoder* e) { e->byte(1); }, [](Encoder* e) { e->byte(2); });
    const Message message = messageOf(signature, body, order);

    ASSERT_EQ(checkBody(message), Fault::kNone);
    EXPECT_THAT(readValues(message), ElementsAre(std::int32_t{1}, row.value, std::int32_t{2}));
  }
}

TEST_P(ArgumentTest, OfAListIsReadOutOfItsVariant) {
  const ArgumentRow& row = GetParam();
  for (const ByteOrder order : {ByteOrder::kLittle, ByteOrder::kBig}) {
    Encoder list(order);
    list.number(0, 4);
    list.signature(row.signature);
    row.encode(&list);
    list.signature("y");
    list.byte(2);
    list.setLength(0, 4);
    const Message message = messageOf("av", list.bytes(), order);

    ASSERT_EQ(checkBody(message), Fault::kNone);
    EXPECT_THAT(readValues(message), ElementsAre(row.value, std::int32_t{2}));
  }
}

INSTANTIATE_TEST_SUITE_P(Types, ArgumentTest, testing::ValuesIn(kArgumentRows),
                         [](const auto& tested) { return tested.param.name; });

TEST(ArgumentReaderTest, EndsBehindTheLastArgument) {
  const Message message = messageOf("y", "7", kHostOrder);
  ArgumentReader arguments(message);
  Argument argument;

  ASSERT_TRUE(arguments.next(&argument));
  EXPECT_FALSE(arguments.next(&argument));
  EXPECT_FALSE(arguments.next(&argument));
}

TEST(ArgumentReaderTest, TextsAndBlocksAreWhereTheyWereReceived) {
  Encoder encoder(kHostOrder);
  encoder.string("text");
  encoder.block("xyz");
  const std::string body = encoder.bytes();
  const Message message = messageOf("say", body, kHostOrder);
  ArgumentReader arguments(message);
  Argument argument;

  ASSERT_TRUE(arguments.next(&argument));
  EXPECT_EQ(std::get<std::string_view>(argument).data(), body.data() + 4);
  ASSERT_TRUE(arguments.next(&argument));
  EXPECT_EQ(std::get<Block>(argument).bytes.data(), body.data() + body.size() - 3);
}

TEST(ArgumentReaderTest, ABodyWithoutASignatureHasNoArguments) {
  EXPECT_THAT(readValues(messageOf("", "", kHostOrder)), IsEmpty());
}

TEST(ArgumentReaderTest, AnEmptyListHasNoArguments) {
  EXPECT_THAT(readValues(messageOf("av", std::string(4, '\0'), kHostOrder)), IsEmpty());
}

TEST(ArgumentReaderTest, ACopyGoesOnFromWhereItWasMade) {
  Encoder encoder(kHostOrder);
  encoder.number(1, 4);
  encoder.number(2, 4);
  const std::string body = encoder.bytes();
  const Message message = messageOf("ii", body, kHostOrder);
  ArgumentReader arguments(message);
  Argument argument;
  arguments.next(&argument);

  ArgumentReader copy = arguments;
  arguments.next(&argument);
  ASSERT_TRUE(copy.next(&argument));

  EXPECT_EQ(std::get<std::int32_t>(argument), 2);
}

// No check of the body comes before: the reader stays within the bytes all the same.
TEST(ArgumentReaderTest, ReadsNothingOutsideOfAFaultyBody) {
  for (const ArgumentRow& row : kArgumentRows) {
    const std::string whole = encoded(row, kHostOrder, nothing, nothing);
    for (std::size_t size = 0; size < whole.size(); ++size) {
      // A block of its own, so that a sanitizer sees its end.
      const std::vector<char> cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
      const std::string_view body(cut.data(), cut.size());
      ArgumentReader arguments(messageOf(row.signature, body, kHostOrder));
      Argument argument;

      EXPECT_FALSE(arguments.next(&argument)) << row.name << " cut to " << size;
    }
  }
}

TEST(ArgumentReaderTest, ReadsNothingOutsideOfAFaultyList) {
  Encoder list(kHostOrder);
  list.number(0, 4);
  list.signature("i");
  list.number(1, 4);
  list.setLength(0, 4);
  const std::string whole = list.bytes();
  for (std::size_t size = 0; size < whole.size(); ++size) {
    const std::vector<char> cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
    ArgumentReader arguments(messageOf("av", {cut.data(), cut.size()}, kHostOrder));
    Argument argument;

    EXPECT_FALSE(arguments.next(&argument)) << "cut to " << size;
  }
}

TEST(ArgumentReaderTest, ReadsNoValueOfAFaultyVariant) {
  for (const char* const signature : {"", "a", "(", "a{", "yy"}) {
    Encoder encoder(kHostOrder);
    encoder.signature(signature);
    encoder.append(std::string(16, '\0'));
    ArgumentReader arguments(messageOf("v", encoder.bytes(), kHostOrder));
    Argument argument;

    EXPECT_FALSE(arguments.next(&argument)) << signature;
  }
}

}  // namespace
