#include "tests/dbus/played_daemon.h"

#include <utility>

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include "bus/dbus/wire/message_writer.h"
#include "bus/dbus/wire/values.h"

namespace dbustest {

namespace wire = qxbus::wire;

std::string serialized(const wire::Header& header, const qxbus::Values& values) {
  wire::MessageWriter writer;
  writer.start(header);
  wire::appendValues(&writer, values);
  EXPECT_EQ(writer.finish(1), wire::Fault::kNone);
  return std::string(writer.bytes());
}

std::string signalFrom(std::string_view sender, std::string_view path, std::string_view interface,
                       std::string_view member, std::string_view signature,
                       const qxbus::Values& values) {
  wire::Header header;
  header.type = wire::MessageType::kSignal;
  header.sender = sender;
  header.path = path;
  header.interface = interface;
  header.member = member;
  header.signature = signature;
  return serialized(header, values);
}

PlayedDaemon::PlayedDaemon(const std::filesystem::path& path, Answers answers)
    : answers_(std::move(answers)), service_(path, [this](int connection) { serve(connection); }) {}

void PlayedDaemon::serve(int connection) {
  {
    const platform::MutexLock lock(mutex_);
    connection_ = connection;
  }
  answerAll(connection, [this](const wire::Header& call) {
    answer(std::string(call.member), {call.serial});
    return std::string();
  });
  const platform::MutexLock lock(mutex_);
  connection_ = -1;
}

void PlayedDaemon::answer(const std::string& method, const Call& call) {
  const auto answer = answers_.find(method);
  if (answer != answers_.end()) {
    answer->second(*this, call);
  } else if (method == "Hello") {
    reply(call, "s", {std::string(":1.1")});
  } else if (method == "GetNameOwner") {
    reply(call, "s", {std::string(kOwner)});
  } else if (method == "GetConnectionUnixUser") {
    reply(call, "u", {std::uint32_t{::geteuid()}});
  } else if (method == "RequestName") {
    reply(call, "u", {std::uint32_t{1}});
  } else {
    reply(call);
  }
}

void PlayedDaemon::send(std::string_view bytes) {
  const platform::MutexLock lock(mutex_);
  if (connection_ >= 0) {
    sendAll(connection_, bytes);
  }
}

void PlayedDaemon::reply(const Call& call, std::string_view signature,
                         const qxbus::Values& values) {
  wire::Header header;
  header.type = wire::MessageType::kMethodReturn;
  header.replySerial = call.serial;
  header.signature = signature;
  send(serialized(header, values));
}

void PlayedDaemon::refuse(const Call& call, const std::string& text) {
  wire::Header header;
  header.type = wire::MessageType::kError;
  header.errorName = "org.freedesktop.DBus.Error.Failed";
  header.replySerial = call.serial;
  header.signature = "s";
  send(serialized(header, {text}));
}

void PlayedDaemon::close() {
  const platform::MutexLock lock(mutex_);
  ::shutdown(connection_, SHUT_RDWR);
}

}  // namespace dbustest
