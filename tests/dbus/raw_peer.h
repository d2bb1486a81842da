// A D-Bus connection by libdbus alone, for messages that no well-behaved service sends.

#ifndef TESTS_DBUS_RAW_PEER_H
#define TESTS_DBUS_RAW_PEER_H

#include <functional>
#include <memory>
#include <string>

#include <dbus/dbus.h>

#include "bus/dbus/value.h"

namespace dbustest {

struct UnrefDBusMessage {
  void operator()(DBusMessage* message) const { dbus_message_unref(message); }
};
using DBusMessageRef = std::unique_ptr<DBusMessage, UnrefDBusMessage>;
// Appends the arguments of a message.
using Body = std::function<void(DBusMessageIter*)>;

// One argument of type av, as services of ours send it.
Body variants(const qxbus::Values& values);
Body nativeInt32(std::int32_t value);
Body nativeString(const std::string& text);

// THREADS   Use it from one thread.
class RawPeer {
 public:
  enum class Place { kOnABus, kAtAService };

  // Throws std::runtime_error when the place cannot be reached.
  explicit RawPeer(const std::string& address, Place place = Place::kOnABus);
  ~RawPeer();
  RawPeer(const RawPeer&) = delete;
  RawPeer& operator=(const RawPeer&) = delete;

  std::string uniqueName() const { return dbus_bus_get_unique_name(connection_); }
  // Whether the name is this peer's now.
  bool own(const std::string& busName, unsigned int flags = DBUS_NAME_FLAG_DO_NOT_QUEUE);

  // The unique name of a name's owner; empty when it has none.
  std::string ownerOf(const std::string& busName);

  // Empty destination: to everyone who listens.
  void emit(const std::string& path, const std::string& interface, const std::string& member,
            const Body& body = nullptr, const std::string& destination = "");
  // Returns when the bus has taken all that was sent before.
  void sync();

  // Signals that match the rule come for this peer, too.
  void listen(const std::string& rule);

  // The next message that comes for this peer; empty when none comes in time.
  DBusMessageRef nextMessage();
  // The same, of method calls and of the signals that were listened for.
  DBusMessageRef nextCall();
  DBusMessageRef nextSignal();
  void reply(const DBusMessageRef& call, const Body& body = nullptr);
  void replyError(const DBusMessageRef& call, const std::string& name, const Body& body = nullptr);
  void send(const DBusMessageRef& message);

  // Calls a method and waits for the reply, at most 20 s. Never empty: errors are replies.
  DBusMessageRef call(const std::string& destination, const std::string& path,
                      const std::string& interface, const std::string& method,
                      const Body& body = nullptr);

 private:
  DBusConnection* connection_ = nullptr;
};

// The name of an error reply; empty for a normal one.
std::string errorNameOf(const DBusMessageRef& reply);
// The text that is the first argument, or "".
std::string firstText(const DBusMessageRef& reply);

}  // namespace dbustest

#endif  // TESTS_DBUS_RAW_PEER_H
