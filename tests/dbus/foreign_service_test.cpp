// A service that was written with another D-Bus library, and uses D-Bus types as it likes.

#include <csignal>

#include "tests/dbus/dbus_test.h"

namespace {

using namespace dbustest;
using testing::HasSubstr;

class ForeignService : public DBusTest {
 protected:
  void SetUp() override {
    if (std::string(FOREIGN_SERVICE_PYTHON).empty()) {
      GTEST_SKIP() << "needs the Python modules dbus and gi";
    }
    process_ = std::make_unique<Process>(
        helper({FOREIGN_SERVICE_PYTHON, FOREIGN_SERVICE, bus().address()}));
    ASSERT_EQ(process_->readLine(), "running");
    proxy_ = proxyOf("foreign");
  }

  MessageRef ask(const std::string& method, const qxbus::Values& arguments = {}) {
    MessageRef reply = call(*proxy_, method, arguments);
    EXPECT_THAT(reply, IsReply());
    return reply;
  }

  std::unique_ptr<Process> process_;
  ProxyRef proxy_;
};

TEST_F(ForeignService, AnswersWithNativeTypes) {
  EXPECT_EQ(ask("number")->getInt32(0), -7);
  EXPECT_EQ(ask("text")->getString(0), "gr\xC3\xBC\xC3\x9F dich");
  EXPECT_EQ(bytesOf(*ask("block"), 0), std::string("\0\x01\xFF", 3));
  EXPECT_EQ(ask("number")->argCount(), 1);
}

TEST_F(ForeignService, AnswersWithNothing) {
  EXPECT_EQ(ask("nothing")->argCount(), 0);
  EXPECT_EQ(ask("nothing")->getInt32(0), 0);
  EXPECT_EQ(ask("emptyBlock")->argCount(), 1);
  EXPECT_EQ(bytesOf(*ask("emptyBlock"), 0), "");
  EXPECT_EQ(ask("noVariants")->argCount(), 0);
}

TEST_F(ForeignService, AnswersWithSeveralArguments) {
  const MessageRef reply = ask("several");

  ASSERT_EQ(reply->argCount(), 3);
  EXPECT_EQ(reply->getInt32(0), 3);
  EXPECT_EQ(reply->getString(1), "three");
  EXPECT_EQ(bytesOf(*reply, 2), "\x03\x03\x03");
}

TEST_F(ForeignService, AnswersWithVariants) {
  const MessageRef reply = ask("variants");

  ASSERT_EQ(reply->argCount(), 7);
  EXPECT_EQ(reply->getInt16(0), -1);
  EXPECT_EQ(reply->getInt32(1), -2);
  EXPECT_EQ(reply->getUInt64(2), std::uint64_t{0} - 3);
  EXPECT_EQ(reply->getInt64(3), -4);
  EXPECT_EQ(reply->getString(5), "six");
  EXPECT_EQ(bytesOf(*reply, 6), "\x07\x07");
  EXPECT_EQ(ask("variant")->getInt32(0), 9);
}

TEST_F(ForeignService, AnswersWithTypesThatWeDoNotUse) {
  const MessageRef reply = ask("everyNumber");

  ASSERT_EQ(reply->argCount(), 9);
  EXPECT_EQ(reply->getUInt16(0), 65535);
  EXPECT_EQ(reply->getUInt32(1), 4294967295u);
  EXPECT_EQ(reply->getUInt64(2), std::uint64_t{0} - 1);
  EXPECT_EQ(reply->getInt64(3), -1);
  EXPECT_EQ(reply->getInt32(4), 200);
  EXPECT_EQ(reply->getInt32(5), 1);
  EXPECT_EQ(reply->getString(7), "/an/object");
  EXPECT_EQ(reply->getString(8), "a{sv}");
}

TEST_F(ForeignService, AnswersWithContainersThatKeepTheirPlace) {
  const MessageRef reply = ask("containers");

  ASSERT_EQ(reply->argCount(), 5);
  for (int i = 0; i < 4; ++i) {
    EXPECT_EQ(reply->getInt32(i), 0);
    EXPECT_EQ(reply->getString(i), "");
    EXPECT_EQ(bytesOf(*reply, i), "");
  }
  EXPECT_EQ(reply->getInt32(4), 5);
}

TEST_F(ForeignService, UnderstandsOurArguments) {
  const MessageRef reply =
      ask("describe", {std::int16_t{-1}, std::int32_t{-2}, std::uint64_t{3}, std::int64_t{-4}, 0.5,
                       std::string("six"), qxbus::Bytes{7, 255}, std::string("nul\0l", 5)});

  EXPECT_EQ(reply->getString(0),
            "Int16 -1, Int32 -2, UInt64 3, Int64 -4, Double 0.5, String six, Array 07ff, "
            "Array 6e756c006c");
}

TEST_F(ForeignService, FailsWithAText) {
  const MessageRef unwilling = call(*proxy_, "fail");
  const MessageRef unknown = call(*proxy_, "noSuchMethod");

  EXPECT_THAT(unwilling, IsError());
  EXPECT_THAT(unwilling->getString(0), HasSubstr("it does not want to"));
  EXPECT_THAT(unknown, IsError());
  EXPECT_THAT(unknown->getString(0), HasSubstr("noSuchMethod"));
}

TEST_F(ForeignService, EmitsEventsOfNativeTypesAndOfVariants) {
  const auto events = std::make_shared<Messages>();
  proxy_->addEventListener(
      "velevent", lastingListener([events](const MessageRef& event) { events->add(event); }),
      QXBUS_SECURITY_SAME_USER_OR_ROOT);

  ask("emitNative");
  ask("emitVariants");

  ASSERT_TRUE(events->waitFor(2));
  const MessageRef native = events->items()[0];
  const MessageRef inVariants = events->items()[1];
  ASSERT_EQ(native->argCount(), 3);
  EXPECT_EQ(native->type(), MESSAGE_TYPE_SIGNAL);
  EXPECT_EQ(native->getInt32(0), 5);
  EXPECT_EQ(native->getInt32(1), 7);
  EXPECT_EQ(bytesOf(*native, 2), "\x01\x02\x03");
  ASSERT_EQ(inVariants->argCount(), 3);
  EXPECT_EQ(inVariants->getInt32(0), 6);
  EXPECT_EQ(inVariants->getInt32(1), 8);
  EXPECT_EQ(bytesOf(*inVariants, 2), "\x04\x05");
}

TEST_F(ForeignService, SendsBroadcasts) {
  const auto events = std::make_shared<Messages>();
  manager().addEventListener(
      "foreignEvent", lastingListener([events](const MessageRef& event) { events->add(event); }),
      QXBUS_SECURITY_SAME_USER_OR_ROOT);

  ask("broadcast");

  ASSERT_TRUE(events->waitFor(1));
  EXPECT_EQ(firstNumber(events->items()[0]), 11);
}

TEST_F(ForeignService, DiesLikeAnyOther) {
  const auto death = std::make_shared<Gate>();
  proxy_->setDeathCallback([death] { death->open(); });

  process_->end(SIGKILL);

  EXPECT_TRUE(death->wait());
  EXPECT_THAT(call(*proxy_, "number", {}, 2000), IsDisconnected());
}

}  // namespace
