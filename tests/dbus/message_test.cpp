// The arguments that a message carries, and the getters where it carries none.

#include <cmath>
#include <limits>

#include "bus/dbus/message_impl.h"
#include "tests/dbus/dbus_test.h"

namespace {

using namespace dbustest;
using namespace std::string_literals;
using testing::HasSubstr;
using testing::Not;
using testing::SizeIs;

class MessageOverDBus : public DBusTest {
 protected:
  MessageRef echo(const qxbus::Values& values) { return call(*proxy_, "echo", values); }

  TestService service_;
  ProxyRef proxy_ = proxyOf();
};

TEST_F(MessageOverDBus, CarriesEveryTypeToItsEdges) {
  const MessageRef message = proxy_->makeMethodCallMessage("echo");
  message->appendInt16(std::numeric_limits<std::int16_t>::min());
  message->appendInt16(-1);
  message->appendInt32(std::numeric_limits<std::int32_t>::min());
  message->appendInt32(-1);
  message->appendInt64(std::numeric_limits<std::int64_t>::min());
  message->appendUInt64(std::numeric_limits<std::uint64_t>::max());
  message->appendDouble(-0.5);
  message->appendString("gr\xC3\xBC\xC3\x9F dich");
  message->appendCString("c string");
  message->appendBytes("\0\x01\xFF", 3);

  const MessageRef reply = proxy_->callWithReplyBlocking(message, 10000);

  ASSERT_THAT(reply, IsReply());
  ASSERT_EQ(reply->argCount(), 10);
  EXPECT_EQ(reply->getInt16(0), std::numeric_limits<std::int16_t>::min());
  EXPECT_EQ(reply->getUInt16(1), 0xFFFF);
  EXPECT_EQ(reply->getInt32(2), std::numeric_limits<std::int32_t>::min());
  EXPECT_EQ(reply->getUInt32(3), 0xFFFFFFFFu);
  EXPECT_EQ(reply->getInt64(4), std::numeric_limits<std::int64_t>::min());
  EXPECT_EQ(reply->getUInt64(5), std::numeric_limits<std::uint64_t>::max());
  EXPECT_EQ(reply->getString(7), "gr\xC3\xBC\xC3\x9F dich");
  EXPECT_EQ(reply->getString(8), "c string");
  EXPECT_EQ(bytesOf(*reply, 9), "\0\x01\xFF"s);
}

TEST_F(MessageOverDBus, CanBeReadBeforeItIsSent) {
  const MessageRef message = proxy_->makeMethodCallMessage("echo");
  message->appendInt16(-1);
  message->appendString("text");
  message->appendBytes("\0\x01\xFF", 3);

  EXPECT_EQ(message->argCount(), 3);
  EXPECT_EQ(message->getInt32(0), -1);
  EXPECT_EQ(message->getString(1), "text");
  EXPECT_EQ(bytesOf(*message, 2), "\0\x01\xFF"s);
}

TEST_F(MessageOverDBus, ThatWasReceivedTakesMoreArguments) {
  const MessageRef reply = echo({std::int32_t{7}, "text"s});
  ASSERT_THAT(reply, IsReply());

  reply->appendInt32(8);

  EXPECT_EQ(reply->argCount(), 3);
  EXPECT_EQ(reply->getInt32(0), 7);
  EXPECT_EQ(reply->getString(1), "text");
  EXPECT_EQ(reply->getInt32(2), 8);
}

TEST_F(MessageOverDBus, CarriesDoubles) {
  const double values[] = {0.0, -0.0, 1.5, std::numeric_limits<double>::infinity(),
                           std::numeric_limits<double>::denorm_min()};
  const auto received = std::make_shared<Record<double>>();
  const TestService other("doubles", {{"take", [received](qxbus::Request request) {
                                         for (const qxbus::Value& value : request.arguments()) {
                                           received->add(std::get<double>(value));
                                         }
                                         request.reply({});
                                       }}});
  const ProxyRef proxy = proxyOf("doubles");
  const MessageRef message = proxy->makeMethodCallMessage("take");
  for (const double value : values) {
    message->appendDouble(value);
  }
  message->appendDouble(std::nan(""));

  ASSERT_THAT(proxy->callWithReplyBlocking(message, 10000), IsReply());

  ASSERT_THAT(received->items(), SizeIs(6));
  for (std::size_t i = 0; i < 5; ++i) {
    EXPECT_EQ(received->items()[i], values[i]);
    EXPECT_EQ(std::signbit(received->items()[i]), std::signbit(values[i]));
  }
  EXPECT_TRUE(std::isnan(received->items()[5]));
}

struct OddText {
  const char* name;
  std::string text;
};

class OddTextOverDBus : public MessageOverDBus, public testing::WithParamInterface<OddText> {};

// The bus allows none of these in its strings, and its library ends the process that tries.
TEST_P(OddTextOverDBus, ArrivesAsItsBytes) {
  const std::string& text = GetParam().text;

  const MessageRef reply = echo({text, std::int32_t{7}});

  ASSERT_THAT(reply, IsReply());
  EXPECT_EQ(reply->getString(0), text);
  EXPECT_EQ(reply->getInt32(1), 7);
}

INSTANTIATE_TEST_SUITE_P(
    With, OddTextOverDBus,
    testing::Values(OddText{"NulInside", "a\0b"s}, OddText{"NulAtItsEnd", "ab\0"s},
                    OddText{"OnlyNul", "\0"s}, OddText{"LoneContinuation", "a\x80z"},
                    OddText{"CutShort", "a\xC3"}, OddText{"OverlongSlash", "\xC0\xAF"},
                    OddText{"Surrogate", "\xED\xA0\x80"},
                    OddText{"BeyondUnicode", "\xF4\x90\x80\x80"}, OddText{"Latin", "gr\xFC\xDF"},
                    OddText{"LastCharacter", "\xF4\x8F\xBF\xBF"}, OddText{"Nothing", ""},
                    OddText{"NonCharacter", "\xEF\xBF\xBF"},
                    OddText{"Long", std::string(100000, 'x')}),
    [](const auto& each) { return each.param.name; });

TEST_F(MessageOverDBus, CarriesOddTextInAnErrorReply) {
  const MessageRef nul = call(*proxy_, "fail", {"a\0b"s});
  const MessageRef latin = call(*proxy_, "fail", {"gr\xFC\xDF"s});

  EXPECT_THAT(nul, IsError());
  EXPECT_THAT(latin, IsError());
  EXPECT_THAT(latin->getString(0), HasSubstr("gr"));
}

TEST_F(MessageOverDBus, TakesNullPointersForNothing) {
  const MessageRef message = proxy_->makeMethodCallMessage("echo");
  message->appendCString(nullptr);
  message->appendBytes(nullptr, 5);
  message->appendBytes("abc", 0);
  message->appendBytes("abc", -1);
  message->appendInt32(7);

  const MessageRef reply = proxy_->callWithReplyBlocking(message, 10000);

  ASSERT_EQ(reply->argCount(), 5);
  EXPECT_EQ(reply->getString(0), "");
  for (const int index : {1, 2, 3}) {
    int length = 5;
    EXPECT_EQ(reply->getBytes(index, &length), nullptr);
    EXPECT_EQ(length, 0);
  }
  EXPECT_EQ(reply->getInt32(4), 7);
}

TEST_F(MessageOverDBus, CarriesALongListOfRecords) {
  qxbus::Values records = {std::int32_t{64}};
  for (int i = 0; i < 64; ++i) {
    records.emplace_back(
        qxbus::Bytes(static_cast<std::size_t>(300 + i), static_cast<unsigned char>(i)));
    records.emplace_back("device " + std::to_string(i));
    records.emplace_back(std::int16_t{3});
    records.emplace_back(std::uint64_t{4});
  }

  const MessageRef reply = echo(records);

  ASSERT_EQ(reply->argCount(), 1 + 64 * 4);
  EXPECT_EQ(bytesOf(*reply, 1 + 63 * 4), std::string(363, '\x3F'));
  EXPECT_EQ(reply->getString(2 + 63 * 4), "device 63");
}

TEST_F(MessageOverDBus, CarriesALargeBlock) {
  qxbus::Bytes block(20 * kMegabyte);
  for (std::size_t i = 0; i < block.size(); ++i) {
    block[i] = static_cast<unsigned char>(i * 2654435761U >> 13);
  }

  const MessageRef reply = echo({block});

  ASSERT_THAT(reply, IsReply());
  EXPECT_TRUE(bytesOf(*reply, 0) == std::string(block.begin(), block.end()));
}

TEST_F(MessageOverDBus, ThatIsTooLargeForTheBusFails) {
  const qxbus::Bytes half(40 * kMegabyte);
  const auto replies = std::make_shared<Messages>();
  const MessageRef oneBlock = proxy_->makeMethodCallMessage("echo");
  oneBlock->appendBytes(std::vector<char>(70 * kMegabyte).data(), static_cast<int>(70 * kMegabyte));

  const MessageRef refused = proxy_->callWithReplyBlocking(oneBlock, 10000);
  EXPECT_THAT(refused, IsDisconnected());
  EXPECT_THAT(refused->getString(0), HasSubstr("the arguments of echo are too large for the bus"));
  EXPECT_THAT(echo({half, half}), IsDisconnected());
  EXPECT_THAT(echo({std::string(70 * kMegabyte, 'x')}), IsDisconnected());
  proxy_->callWithReply(
      oneBlock, [replies](const MessageRef& reply) { replies->add(reply); }, 10000);

  ASSERT_TRUE(replies->waitFor(1));
  EXPECT_THAT(replies->items()[0], IsDisconnected());
  EXPECT_THAT(echo({std::int32_t{7}}), IsReply());
}

TEST_F(MessageOverDBus, ThatIsTooLargeAsAReplyFails) {
  const TestService large("large", {{"everything", [](qxbus::Request request) {
                                       request.reply({qxbus::Bytes(70 * kMegabyte)});
                                     }}});
  const ProxyRef proxy = proxyOf("large");

  EXPECT_THAT(call(*proxy, "everything"), IsError());
}

// --- Getters -------------------------------------------------------------------------------------

void expectNothingAt(QXBusMessage& message, int index) {
  int length = 5;
  EXPECT_EQ(message.getInt16(index), 0);
  EXPECT_EQ(message.getUInt16(index), 0);
  EXPECT_EQ(message.getInt32(index), 0);
  EXPECT_EQ(message.getUInt32(index), 0u);
  EXPECT_EQ(message.getInt64(index), 0);
  EXPECT_EQ(message.getUInt64(index), 0u);
  EXPECT_EQ(message.getString(index), "");
  EXPECT_EQ(message.getBytes(index, &length), nullptr);
  EXPECT_EQ(length, 0);
}

TEST_F(MessageOverDBus, GivesNothingOutsideItsArguments) {
  const MessageRef reply = echo({std::int32_t{1}, "two"s});

  for (const int index :
       {-1, 2, 3, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()}) {
    SCOPED_TRACE(index);
    expectNothingAt(*reply, index);
  }
  expectNothingAt(*echo({}), 0);
}

TEST_F(MessageOverDBus, GivesNothingForAnotherType) {
  const MessageRef reply = echo({std::int16_t{1}, std::int32_t{2}, std::uint64_t{3},
                                 std::int64_t{4}, 5.0, "6"s, qxbus::Bytes{7}});
  struct Row {
    int index;
    bool integer, text, bytes;
  };
  const Row rows[] = {{0, true, false, false}, {1, true, false, false},  {2, true, false, false},
                      {3, true, false, false}, {4, false, false, false}, {5, false, true, false},
                      {6, false, true, true}};

  for (const Row& row : rows) {
    SCOPED_TRACE(row.index);
    EXPECT_EQ(reply->getInt16(row.index) != 0, row.integer);
    EXPECT_EQ(reply->getUInt16(row.index) != 0, row.integer);
    EXPECT_EQ(reply->getInt32(row.index) != 0, row.integer);
    EXPECT_EQ(reply->getUInt32(row.index) != 0, row.integer);
    EXPECT_EQ(reply->getInt64(row.index) != 0, row.integer);
    EXPECT_EQ(reply->getUInt64(row.index) != 0, row.integer);
    EXPECT_EQ(!reply->getString(row.index).empty(), row.text);
    EXPECT_EQ(!bytesOf(*reply, row.index).empty(), row.bytes);
  }
}

TEST_F(MessageOverDBus, GivesZeroForAnIntegerThatDoesNotFit) {
  const MessageRef reply = echo({std::int32_t{65536}, std::int16_t{-2}, std::int64_t{1} << 32});

  EXPECT_EQ(reply->getInt16(0), 0);
  EXPECT_EQ(reply->getUInt16(0), 0);
  EXPECT_EQ(reply->getInt64(0), 65536);
  EXPECT_EQ(reply->getUInt64(0), 65536u);
  EXPECT_EQ(reply->getInt64(1), -2);
  EXPECT_EQ(reply->getUInt16(1), 65534);
  EXPECT_EQ(reply->getUInt32(1), 0u);
  EXPECT_EQ(reply->getInt32(2), 0);
  EXPECT_EQ(reply->getUInt32(2), 0u);
}

TEST_F(MessageOverDBus, GivesBytesAlsoToACallerThatDoesNotAskForTheirLength) {
  const MessageRef reply = echo({qxbus::Bytes{1, 2}, std::int32_t{3}});

  unsigned char* const block = reply->getBytes(0, nullptr);

  ASSERT_NE(block, nullptr);
  EXPECT_EQ(block[1], 2);
  ::operator delete(block);
  EXPECT_EQ(reply->getBytes(1, nullptr), nullptr);
}

TEST_F(MessageOverDBus, GivesEachCallerACopyOfTheBytes) {
  const MessageRef reply = echo({qxbus::Bytes{1, 2}});
  int length = 0;

  unsigned char* const first = reply->getBytes(0, &length);
  first[0] = 9;

  EXPECT_EQ(bytesOf(*reply, 0), "\x01\x02");
  ::operator delete(first);
}

TEST_F(MessageOverDBus, SaysItsTypeAndCanBeShownOnOneLine) {
  const MessageRef request = messageTo(*proxy_, "echo", {std::int32_t{7}, "a\nb"s});
  const MessageRef reply = proxy_->callWithReplyBlocking(request, 10000);
  const MessageRef error = call(*proxy_, "fail", {"why not"s});

  EXPECT_EQ(request->type(), MESSAGE_TYPE_METHOD_CALL);
  EXPECT_EQ(reply->type(), MESSAGE_TYPE_METHOD_RETURN);
  EXPECT_EQ(reply->type(), 2);
  EXPECT_EQ(error->type(), 3);
  EXPECT_THAT(request->toDebugString(), HasSubstr("echo"));
  EXPECT_THAT(reply->toDebugString(), HasSubstr("7"));
  EXPECT_THAT(reply->toDebugString(), Not(HasSubstr("\n")));
  EXPECT_THAT(error->toDebugString(), HasSubstr("why not"));
  for (const QXBusMessageType failure : {MESSAGE_TYPE_NO_REPLY, MESSAGE_TYPE_DISCONNECTED}) {
    const MessageRef failed =
        qxbus::makeMessage(failure, "some.Error", qxbus::Arguments::ofText("the reason"));
    EXPECT_EQ(failed->toDebugString(), "error some.Error(string \"the reason\")");
  }
}

// As a program does that passes messages on.
TEST_F(MessageOverDBus, ThatWasReceivedCanBeSentAgain) {
  const auto heard = std::make_shared<Messages>();
  proxy_->addEventListener(
      "echo", lastingListener([heard](const MessageRef& event) { heard->add(event); }), kSafe);
  service_.emit("echo", {std::int32_t{7}, "seven"s});
  ASSERT_TRUE(heard->waitFor(1));

  const MessageRef reply = proxy_->callWithReplyBlocking(heard->items()[0], 10000);

  EXPECT_EQ(reply->getInt32(0), 7);
  EXPECT_EQ(reply->getString(1), "seven");
}

}  // namespace
