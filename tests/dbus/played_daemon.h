// A bus that says what a test wants: right answers, wrong ones, or none.

#ifndef TESTS_DBUS_PLAYED_DAEMON_H
#define TESTS_DBUS_PLAYED_DAEMON_H

#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <string_view>

#include "bus/dbus/value.h"
#include "bus/dbus/wire/message.h"
#include "platform/mutex.h"
#include "tests/dbus/odd_sockets.h"
#include "tests/dbus/waiting.h"

namespace dbustest {

// What a bus daemon is called, and its object.
inline constexpr char kBus[] = "org.freedesktop.DBus";
inline constexpr char kBusPath[] = "/org/freedesktop/DBus";

// Takes one connection after the other. Without other answers, every well-known name belongs to
// kOwner, a process of this user, which replies to every call with nothing.
//
// THREADS   Answers run on a thread of the bus; send() and close() may be called on any.
class PlayedDaemon {
 public:
  static constexpr char kOwner[] = ":1.7";

  // A call of the client.
  struct Call {
    std::uint32_t serial = 0;
  };
  // By name of the method.
  using Answers = std::map<std::string, std::function<void(PlayedDaemon& bus, const Call& call)>>;

  explicit PlayedDaemon(const std::filesystem::path& path, Answers answers = {});

  std::string address() const { return service_.address(); }

  void send(std::string_view bytes);
  void reply(const Call& call, std::string_view signature = "", const qxbus::Values& values = {});
  void refuse(const Call& call, const std::string& text);
  // Ends the connection, which is the client's end of the bus.
  void close();

 private:
  void serve(int connection);
  void answer(const std::string& method, const Call& call);

  const Answers answers_;
  platform::Mutex mutex_;
  int connection_ QX_GUARDED_BY(mutex_) = -1;
  PlayedService service_;
};

// A message before it is sent; its number is 1.
std::string serialized(const qxbus::wire::Header& header, const qxbus::Values& values = {});

// A signal of a sender on that bus.
std::string signalFrom(std::string_view sender, std::string_view path, std::string_view interface,
                       std::string_view member, std::string_view signature = "",
                       const qxbus::Values& values = {});

}  // namespace dbustest

#endif  // TESTS_DBUS_PLAYED_DAEMON_H
