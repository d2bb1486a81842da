// The one argument of type av, written and read with libdbus.

#ifndef BENCHMARKS_PEERS_LIBDBUS_ARGUMENTS_H
#define BENCHMARKS_PEERS_LIBDBUS_ARGUMENTS_H

#include <cstddef>
#include <memory>
#include <utility>

#include <dbus/dbus.h>

namespace peers {

struct UnrefMessage {
  void operator()(DBusMessage* message) const { dbus_message_unref(message); }
};
using Message = std::unique_ptr<DBusMessage, UnrefMessage>;

class ArrayWriter {
 public:
  explicit ArrayWriter(DBusMessage* message) {
    dbus_message_iter_init_append(message, &body_);
    dbus_message_iter_open_container(&body_, DBUS_TYPE_ARRAY, "v", &array_);
  }
  ~ArrayWriter() { dbus_message_iter_close_container(&body_, &array_); }
  ArrayWriter(const ArrayWriter&) = delete;
  ArrayWriter& operator=(const ArrayWriter&) = delete;

  ArrayWriter& int32(dbus_int32_t value) { return basic("i", DBUS_TYPE_INT32, &value); }
  ArrayWriter& int16(dbus_int16_t value) { return basic("n", DBUS_TYPE_INT16, &value); }
  ArrayWriter& bytes(const void* data, std::size_t size) {
    DBusMessageIter variant;
    DBusMessageIter block;
    dbus_message_iter_open_container(&array_, DBUS_TYPE_VARIANT, "ay", &variant);
    dbus_message_iter_open_container(&variant, DBUS_TYPE_ARRAY, "y", &block);
    dbus_message_iter_append_fixed_array(&block, DBUS_TYPE_BYTE, &data, static_cast<int>(size));
    dbus_message_iter_close_container(&variant, &block);
    dbus_message_iter_close_container(&array_, &variant);
    return *this;
  }

 private:
  ArrayWriter& basic(const char* signature, int type, const void* value) {
    DBusMessageIter variant;
    dbus_message_iter_open_container(&array_, DBUS_TYPE_VARIANT, signature, &variant);
    dbus_message_iter_append_basic(&variant, type, value);
    dbus_message_iter_close_container(&array_, &variant);
    return *this;
  }

  DBusMessageIter body_ = DBUS_MESSAGE_ITER_INIT_CLOSED;
  DBusMessageIter array_ = DBUS_MESSAGE_ITER_INIT_CLOSED;
};

// Reads one argument after the other. They must have the types that are asked for.
class ArrayReader {
 public:
  explicit ArrayReader(DBusMessage* message) {
    DBusMessageIter body;
    dbus_message_iter_init(message, &body);
    dbus_message_iter_recurse(&body, &array_);
  }

  dbus_int32_t int32() {
    dbus_int32_t value = 0;
    DBusMessageIter variant = next();
    dbus_message_iter_get_basic(&variant, &value);
    return value;
  }

  dbus_int16_t int16() {
    dbus_int16_t value = 0;
    DBusMessageIter variant = next();
    dbus_message_iter_get_basic(&variant, &value);
    return value;
  }

  std::pair<const void*, std::size_t> bytes() {
    DBusMessageIter variant = next();
    DBusMessageIter block;
    dbus_message_iter_recurse(&variant, &block);
    const void* data = nullptr;
    int size = 0;
    dbus_message_iter_get_fixed_array(&block, &data, &size);
    return {data, static_cast<std::size_t>(size)};
  }

 private:
  DBusMessageIter next() {
    DBusMessageIter variant;
    dbus_message_iter_recurse(&array_, &variant);
    dbus_message_iter_next(&array_);
    return variant;
  }

  DBusMessageIter array_;
};

}  // namespace peers

#endif  // BENCHMARKS_PEERS_LIBDBUS_ARGUMENTS_H
