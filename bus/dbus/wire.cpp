#include "bus/dbus/wire.h"

#include <cstdint>
#include <type_traits>

namespace qxbus {
namespace {

// The most bytes of a variant besides its payload: signature, padding, length, terminator.
constexpr std::size_t kVariantOverhead = 24;

template <typename T>
constexpr int typeCode() {
  if constexpr (std::is_same_v<T, std::int16_t>) {
    return DBUS_TYPE_INT16;
  } else if constexpr (std::is_same_v<T, std::uint16_t>) {
    return DBUS_TYPE_UINT16;
  } else if constexpr (std::is_same_v<T, std::uint32_t>) {
    return DBUS_TYPE_UINT32;
  } else if constexpr (std::is_same_v<T, std::int32_t>) {
    return DBUS_TYPE_INT32;
  } else if constexpr (std::is_same_v<T, std::uint64_t>) {
    return DBUS_TYPE_UINT64;
  } else if constexpr (std::is_same_v<T, std::int64_t>) {
    return DBUS_TYPE_INT64;
  } else {
    static_assert(std::is_same_v<T, double>);
    return DBUS_TYPE_DOUBLE;
  }
}

std::size_t payloadSize(const Value& value) {
  if (const auto* const text = std::get_if<std::string>(&value)) {
    return text->size();
  }
  if (const auto* const bytes = std::get_if<Bytes>(&value)) {
    return bytes->size();
  }
  return sizeof(std::uint64_t);
}

bool fits(const Values& values) {
  std::size_t size = 0;
  for (const Value& value : values) {
    size += payloadSize(value) + kVariantOverhead;
    if (size > DBUS_MAXIMUM_ARRAY_LENGTH) {
      return false;
    }
  }
  return true;
}

class BodyWriter {
 public:
  explicit BodyWriter(DBusMessageIter* array) : array_(array) {}

  template <typename T>
  bool operator()(const T& value) const {
    const char signature[] = {static_cast<char>(typeCode<T>()), '\0'};
    return inVariant(signature, [&value](DBusMessageIter* variant) {
      return dbus_message_iter_append_basic(variant, typeCode<T>(), &value);
    });
  }

  bool operator()(const std::string& text) const {
    if (!isText(text)) {
      return block(reinterpret_cast<const unsigned char*>(text.data()), text.size());
    }
    return inVariant(DBUS_TYPE_STRING_AS_STRING, [&text](DBusMessageIter* variant) {
      const char* const characters = text.c_str();
      return dbus_message_iter_append_basic(variant, DBUS_TYPE_STRING, &characters);
    });
  }

  bool operator()(const Bytes& bytes) const { return block(bytes.data(), bytes.size()); }

 private:
  template <typename Append>
  bool inVariant(const char* signature, Append append) const {
    DBusMessageIter variant;
    if (!dbus_message_iter_open_container(array_, DBUS_TYPE_VARIANT, signature, &variant)) {
      return false;
    }
    if (!append(&variant)) {
      dbus_message_iter_abandon_container(array_, &variant);
      return false;
    }
    return dbus_message_iter_close_container(array_, &variant);
  }

  bool block(const unsigned char* data, std::size_t size) const {
    return inVariant("ay", [data, size](DBusMessageIter* variant) {
      DBusMessageIter elements;
      if (!dbus_message_iter_open_container(variant, DBUS_TYPE_ARRAY, DBUS_TYPE_BYTE_AS_STRING,
                                            &elements)) {
        return false;
      }
      if (size > 0 && !dbus_message_iter_append_fixed_array(&elements, DBUS_TYPE_BYTE, &data,
                                                            static_cast<int>(size))) {
        dbus_message_iter_abandon_container(variant, &elements);
        return false;
      }
      return dbus_message_iter_close_container(variant, &elements) != FALSE;
    });
  }

  DBusMessageIter* array_;
};

template <typename T>
T basic(DBusMessageIter* iter) {
  T value = {};
  dbus_message_iter_get_basic(iter, &value);
  return value;
}

Value readArray(DBusMessageIter* iter) {
  if (dbus_message_iter_get_element_type(iter) != DBUS_TYPE_BYTE) {
    return Bytes();
  }
  DBusMessageIter elements;
  dbus_message_iter_recurse(iter, &elements);
  const unsigned char* data = nullptr;
  int size = 0;
  dbus_message_iter_get_fixed_array(&elements, &data, &size);
  return size > 0 ? Bytes(data, data + size) : Bytes();
}

// The value at the iterator, out of any variants around it.
Value readValue(DBusMessageIter* iter) {
  DBusMessageIter inner;
  while (dbus_message_iter_get_arg_type(iter) == DBUS_TYPE_VARIANT) {
    DBusMessageIter next;
    dbus_message_iter_recurse(iter, &next);
    inner = next;
    iter = &inner;
  }
  switch (dbus_message_iter_get_arg_type(iter)) {
    case DBUS_TYPE_INT16:
      return basic<std::int16_t>(iter);
    case DBUS_TYPE_UINT16:
      return basic<std::uint16_t>(iter);
    case DBUS_TYPE_INT32:
      return basic<std::int32_t>(iter);
    case DBUS_TYPE_UINT32:
      return basic<std::uint32_t>(iter);
    case DBUS_TYPE_BOOLEAN:
      return static_cast<std::int32_t>(basic<dbus_bool_t>(iter));
    case DBUS_TYPE_BYTE:
      return static_cast<std::int32_t>(basic<unsigned char>(iter));
    case DBUS_TYPE_UINT64:
      return basic<std::uint64_t>(iter);
    case DBUS_TYPE_INT64:
      return basic<std::int64_t>(iter);
    case DBUS_TYPE_DOUBLE:
      return basic<double>(iter);
    case DBUS_TYPE_STRING:
    case DBUS_TYPE_OBJECT_PATH:
    case DBUS_TYPE_SIGNATURE:
      return std::string(basic<const char*>(iter));
    case DBUS_TYPE_ARRAY:
      return readArray(iter);
    default:
      return Bytes();
  }
}

}  // namespace

bool appendBody(DBusMessage* message, const Values& values) {
  if (!fits(values)) {
    return false;
  }
  DBusMessageIter body;
  dbus_message_iter_init_append(message, &body);
  DBusMessageIter array;
  if (!dbus_message_iter_open_container(&body, DBUS_TYPE_ARRAY, DBUS_TYPE_VARIANT_AS_STRING,
                                        &array)) {
    return false;
  }
  for (const Value& value : values) {
    if (!std::visit(BodyWriter(&array), value)) {
      dbus_message_iter_abandon_container(&body, &array);
      return false;
    }
  }
  return dbus_message_iter_close_container(&body, &array);
}

Values readBody(DBusMessage* message) {
  Values values;
  DBusMessageIter iter;
  if (!dbus_message_iter_init(message, &iter)) {
    return values;
  }
  DBusMessageIter array;
  DBusMessageIter* arguments = &iter;
  if (dbus_message_has_signature(message, "av")) {
    dbus_message_iter_recurse(&iter, &array);
    arguments = &array;
  }
  while (dbus_message_iter_get_arg_type(arguments) != DBUS_TYPE_INVALID) {
    values.push_back(readValue(arguments));
    dbus_message_iter_next(arguments);
  }
  return values;
}

std::string errorText(DBusMessage* reply) {
  const std::string text = readString(readBody(reply), 0);
  return text.empty() ? dbus_message_get_error_name(reply) : text;
}

}  // namespace qxbus
