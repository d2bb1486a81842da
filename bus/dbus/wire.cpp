#include "bus/dbus/wire.h"

#include <cstdio>
#include <cstring>
#include <type_traits>

namespace qxbus {
namespace {

// What a variant costs at most besides its payload: signature, padding, length, terminator.
constexpr std::size_t kVariantOverhead = 24;

// A block longer than this is cut short in descriptions.
constexpr std::size_t kDescribedBytes = 16;

template <typename T>
constexpr int typeCode() {
  if constexpr (std::is_same_v<T, std::int16_t>) {
    return DBUS_TYPE_INT16;
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

// One value where the iterator stands; variants within variants are followed.
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
      return static_cast<std::int16_t>(basic<std::uint16_t>(iter));
    case DBUS_TYPE_INT32:
      return basic<std::int32_t>(iter);
    case DBUS_TYPE_UINT32:
      return static_cast<std::int32_t>(basic<std::uint32_t>(iter));
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

const Value* at(const Values& values, int index) {
  const bool inside = index >= 0 && static_cast<std::size_t>(index) < values.size();
  return inside ? &values[static_cast<std::size_t>(index)] : nullptr;
}

template <typename T>
const T* as(const Values& values, int index) {
  const Value* const value = at(values, index);
  return value ? std::get_if<T>(value) : nullptr;
}

class Describer {
 public:
  explicit Describer(std::string* text) : text_(text) {}

  void operator()(std::int16_t value) const { *text_ += "int16 " + std::to_string(value); }
  void operator()(std::int32_t value) const { *text_ += "int32 " + std::to_string(value); }
  void operator()(std::uint64_t value) const { *text_ += "uint64 " + std::to_string(value); }
  void operator()(std::int64_t value) const { *text_ += "int64 " + std::to_string(value); }
  void operator()(double value) const { *text_ += "double " + std::to_string(value); }

  void operator()(const std::string& value) const {
    *text_ += "string \"";
    for (const char c : value) {
      if (c == '"' || c == '\\') {
        *text_ += '\\';
      }
      if (static_cast<unsigned char>(c) < 0x20) {
        hex("\\x%02x", static_cast<unsigned char>(c));
      } else {
        *text_ += c;
      }
    }
    *text_ += '"';
  }

  void operator()(const Bytes& value) const {
    *text_ += "bytes[" + std::to_string(value.size()) + "]";
    for (std::size_t i = 0; i < value.size() && i < kDescribedBytes; ++i) {
      hex(" %02x", value[i]);
    }
    if (value.size() > kDescribedBytes) {
      *text_ += " ...";
    }
  }

 private:
  void hex(const char* format, unsigned int byte) const {
    char digits[8];
    std::snprintf(digits, sizeof digits, format, byte);
    *text_ += digits;
  }

  std::string* text_;
};

}  // namespace

bool isText(const std::string& text) {
  return text.find('\0') == std::string::npos && dbus_validate_utf8(text.c_str(), nullptr);
}

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

std::uint16_t readUInt16(const Values& values, int index) {
  const auto* const value = as<std::int16_t>(values, index);
  return value ? static_cast<std::uint16_t>(*value) : std::uint16_t{0};
}

std::uint32_t readUInt32(const Values& values, int index) {
  const auto* const value = as<std::int32_t>(values, index);
  return value ? static_cast<std::uint32_t>(*value) : 0;
}

std::uint64_t readUInt64(const Values& values, int index) {
  if (const auto* const value = as<std::int64_t>(values, index)) {
    return static_cast<std::uint64_t>(*value);
  }
  const auto* const value = as<std::uint64_t>(values, index);
  return value ? *value : 0;
}

std::string readString(const Values& values, int index) {
  if (const Bytes* const bytes = readBytes(values, index)) {
    return std::string(bytes->begin(), bytes->end());
  }
  const auto* const text = as<std::string>(values, index);
  return text ? *text : std::string();
}

const Bytes* readBytes(const Values& values, int index) {
  return as<Bytes>(values, index);
}

std::string describe(const Values& values) {
  std::string text;
  for (const Value& value : values) {
    if (!text.empty()) {
      text += ", ";
    }
    std::visit(Describer(&text), value);
  }
  return text;
}

}  // namespace qxbus
