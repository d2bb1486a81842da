// Address, authentication and codec together, over a socket: as a client of dbus-daemon, and as the
// server of a libdbus client.

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <future>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <dbus/dbus.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/time.h>
#include <unistd.h>

#include "bus/dbus/wire/address.h"
#include "bus/dbus/wire/authentication.h"
#include "bus/dbus/wire/grammar.h"
#include "bus/dbus/wire/message.h"
#include "bus/dbus/wire/message_writer.h"
#include "bus/dbus/wire/values.h"
#include "tests/processes/private_bus.h"
#include "tests/wire/libdbus.h"

namespace {

using namespace qxbus::wire;
using namespace std::string_literals;
using testing::ElementsAre;

constexpr const char* kServerGuid = "0123456789abcdef0123456789abcdef";

// A blocking socket, and the bytes received from it.
class Stream {
 public:
  explicit Stream(int socket) : socket_(socket) {
    // A peer that does not answer fails the test instead of blocking it.
    const timeval limit = {10, 0};
    ::setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
  }
  ~Stream() { ::close(socket_); }
  Stream(const Stream&) = delete;
  Stream& operator=(const Stream&) = delete;

  void authenticate(Authentication* authentication) {
    for (;;) {
      received_.erase(0, authentication->receive(received_));
      send(authentication->takeOutput());
      if (authentication->state() != AuthenticationState::kPending) {
        return;
      }
      receive();
    }
  }

  void send(std::string_view bytes) {
    while (!bytes.empty()) {
      const ssize_t sent = ::send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
      require(sent > 0, "send");
      bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
  }

  // The next message. Its bytes stay until the one after it.
  Message next() {
    received_.erase(0, used_);
    Frame frame = frameOf(received_);
    while (frame.fault == Fault::kNone && (frame.size == 0 || received_.size() < frame.size)) {
      receive();
      frame = frameOf(received_);
    }
    used_ = frame.size;
    Message message;
    const Fault fault = readMessage(std::string_view(received_).substr(0, used_), &message);
    if (fault != Fault::kNone) {
      throw std::runtime_error(reasonOf(fault));
    }
    return message;
  }

 private:
  static void require(bool isDone, const char* operation) {
    if (!isDone) {
      throw std::runtime_error(std::string(operation) + ": " + std::strerror(errno));
    }
  }

  void receive() {
    char bytes[1000];
    const ssize_t count = ::recv(socket_, bytes, sizeof bytes, 0);
    require(count > 0, "recv");
    received_.append(bytes, static_cast<std::size_t>(count));
  }

  int socket_;
  std::string received_;
  std::size_t used_ = 0;
};

// --- A client of dbus-daemon ---------------------------------------------------------------------

class BusClientTest : public testing::Test {
 protected:
  BusClientTest() {
    const auto addresses = parseAddresses(bus_.address());
    const SocketAddress& address = addresses->usable.front();
    const int descriptor = ::socket(AF_UNIX, SOCK_STREAM, 0);
    if (::connect(descriptor, reinterpret_cast<const sockaddr*>(&address.socket), address.size) !=
        0) {
      throw std::runtime_error("connect: "s + std::strerror(errno));
    }
    stream_ = std::make_unique<Stream>(descriptor);
    ClientAuthentication authentication(::geteuid());
    stream_->authenticate(&authentication);
    EXPECT_EQ(authentication.state(), AuthenticationState::kDone) << authentication.reason();
    EXPECT_EQ(authentication.guid().size(), 32u);
  }

  // The reply of the daemon itself. Changes of owners that come before it are kept.
  Message call(std::string_view method, std::string_view signature,
               void (*append)(MessageWriter*)) {
    Header header;
    header.type = MessageType::kMethodCall;
    header.destination = "org.freedesktop.DBus";
    header.path = "/org/freedesktop/DBus";
    header.interface = "org.freedesktop.DBus";
    header.member = method;
    header.signature = signature;
    writer_.start(header);
    append(&writer_);
    EXPECT_EQ(writer_.finish(++serial_), Fault::kNone);
    stream_->send(writer_.bytes());
    for (;;) {
      const Message message = stream_->next();
      if (message.header.replySerial == serial_) {
        return message;
      }
      if (message.header.member == "NameOwnerChanged") {
        ownerChanges_.push_back(readValues(message));
      }
    }
  }

  std::string hello() {
    const Message reply = call("Hello", "", [](MessageWriter* /*writer*/) {});
    return std::get<std::string>(readValues(reply).at(0));
  }

  processes::PrivateBus bus_;
  std::unique_ptr<Stream> stream_;
  MessageWriter writer_;
  std::uint32_t serial_ = 0;
  std::vector<qxbus::Values> ownerChanges_;
};

TEST_F(BusClientTest, GetsItsName) {
  const std::string name = hello();

  EXPECT_TRUE(isBusName(name)) << name;
  EXPECT_EQ(name.front(), ':');
}

TEST_F(BusClientTest, OwnsANameAndIsNotified) {
  const std::string name = hello();
  call("AddMatch", "s", [](MessageWriter* writer) {
    writer->appendText("type='signal',member='NameOwnerChanged',arg0='some.name'");
  });

  const Message reply = call("RequestName", "su", [](MessageWriter* writer) {
    writer->appendText("some.name");
    writer->appendUInt32(DBUS_NAME_FLAG_DO_NOT_QUEUE);
  });
  ASSERT_EQ(reply.header.type, MessageType::kMethodReturn);
  EXPECT_THAT(readValues(reply), ElementsAre(std::uint32_t{DBUS_REQUEST_NAME_REPLY_PRIMARY_OWNER}));

  const Message released =
      call("ReleaseName", "s", [](MessageWriter* writer) { writer->appendText("some.name"); });
  EXPECT_THAT(readValues(released), ElementsAre(std::uint32_t{DBUS_RELEASE_NAME_REPLY_RELEASED}));
  EXPECT_THAT(ownerChanges_, ElementsAre(ElementsAre("some.name"s, ""s, name),
                                         ElementsAre("some.name"s, name, ""s)));
}

TEST_F(BusClientTest, IsAnsweredWithAnError) {
  hello();

  const Message reply = call("GetNameOwner", "s", [](MessageWriter* writer) {
    writer->appendText("some.name.without.owner");
  });

  EXPECT_EQ(reply.header.type, MessageType::kError);
  EXPECT_EQ(reply.header.errorName, DBUS_ERROR_NAME_HAS_NO_OWNER);
  EXPECT_EQ(readValues(reply).size(), 1u);
}

// --- The server of a libdbus client --------------------------------------------------------------

// The number in the reply, or the text of the error.
std::string callByLibdbus(const std::string& address) {
  DBusError error = DBUS_ERROR_INIT;
  DBusConnection* const connection = dbus_connection_open_private(address.c_str(), &error);
  std::string answer;
  if (connection) {
    dbus_connection_set_exit_on_disconnect(connection, FALSE);
    DBusMessage* const call =
        dbus_message_new_method_call(nullptr, "/object", "some.interface", "double");
    dbus_int32_t number = 21;
    dbus_message_append_args(call, DBUS_TYPE_INT32, &number, DBUS_TYPE_INVALID);
    const wiretest::DBusMessageRef reply(
        dbus_connection_send_with_reply_and_block(connection, call, 10000, &error));
    dbus_message_unref(call);
    if (reply &&
        dbus_message_get_args(reply.get(), &error, DBUS_TYPE_INT32, &number, DBUS_TYPE_INVALID)) {
      answer = std::to_string(number);
    }
    dbus_connection_close(connection);
    dbus_connection_unref(connection);
  }
  if (dbus_error_is_set(&error)) {
    answer = error.message;
    dbus_error_free(&error);
  }
  return answer;
}

TEST(ForeignClientTest, IsAuthenticatedAndAnswered) {
  std::string directory = (std::filesystem::temp_directory_path() / "wire-XXXXXX").string();
  ASSERT_TRUE(::mkdtemp(directory.data()));
  const auto address = socketAddressOf(directory + "/socket");
  ASSERT_TRUE(address);
  const int listener = ::socket(AF_UNIX, SOCK_STREAM, 0);
  ASSERT_EQ(::bind(listener, reinterpret_cast<const sockaddr*>(&address->socket), address->size),
            0);
  ASSERT_EQ(::listen(listener, 1), 0);
  auto client = std::async(std::launch::async, callByLibdbus, address->text);

  // Its destruction ends the connection, and with it the client's wait.
  auto stream = std::make_unique<Stream>(::accept(listener, nullptr, nullptr));
  ServerAuthentication authentication(::geteuid(), kServerGuid);
  stream->authenticate(&authentication);
  EXPECT_EQ(authentication.state(), AuthenticationState::kDone) << authentication.reason();
  const Message call = stream->next();
  EXPECT_EQ(call.header.member, "double");
  Header header = returnOf(call.header);
  header.signature = "i";
  MessageWriter writer;
  writer.start(header);
  writer.appendInt32(2 * std::get<std::int32_t>(readValues(call).at(0)));
  EXPECT_EQ(writer.finish(1), Fault::kNone);
  stream->send(writer.bytes());

  EXPECT_EQ(client.get(), "42");
  ::close(listener);
  std::filesystem::remove_all(directory);
}

}  // namespace
