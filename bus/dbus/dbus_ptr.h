// Owning handles on messages and errors of libdbus.

#ifndef BUS_DBUS_DBUS_PTR_H
#define BUS_DBUS_DBUS_PTR_H

#include <memory>
#include <string>

#include <dbus/dbus.h>

namespace qxbus {

struct UnrefMessage {
  void operator()(DBusMessage* message) const { dbus_message_unref(message); }
};
using MessagePtr = std::unique_ptr<DBusMessage, UnrefMessage>;

// A field of a header, which may be absent.
inline std::string orEmpty(const char* field) {
  return field ? field : "";
}

// A DBusError that is freed with its scope.
class Error {
 public:
  Error() { dbus_error_init(&error_); }
  ~Error() { dbus_error_free(&error_); }
  Error(const Error&) = delete;
  Error& operator=(const Error&) = delete;

  DBusError* get() { return &error_; }
  const char* text() const { return error_.message ? error_.message : "out of memory"; }

 private:
  DBusError error_;
};

}  // namespace qxbus

#endif  // BUS_DBUS_DBUS_PTR_H
