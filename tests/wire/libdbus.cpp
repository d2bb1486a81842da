#include "tests/wire/libdbus.h"

#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <variant>

#include "bus/dbus/wire/argument_reader.h"

namespace wiretest {
namespace {

using qxbus::wire::Argument;
using qxbus::wire::ArgumentReader;
using qxbus::wire::Block;
using qxbus::wire::Header;
using qxbus::wire::Message;

template <typename T>
T basic(DBusMessageIter* iter) {
  T value = {};
  dbus_message_iter_get_basic(iter, &value);
  return value;
}

std::string_view textOf(const char* text) {
  return text ? std::string_view(text) : std::string_view();
}

std::string_view bytesOfArray(DBusMessageIter* array) {
  DBusMessageIter elements;
  dbus_message_iter_recurse(array, &elements);
  const char* data = nullptr;
  int size = 0;
  dbus_message_iter_get_fixed_array(&elements, &data, &size);
  return size > 0 ? std::string_view(data, static_cast<std::size_t>(size)) : std::string_view();
}

// The argument where the iterator stands, read through libdbus by the rules of argument_reader.h.
Argument argumentAt(DBusMessageIter iter) {
  while (dbus_message_iter_get_arg_type(&iter) == DBUS_TYPE_VARIANT) {
    DBusMessageIter inner;
    dbus_message_iter_recurse(&iter, &inner);
    iter = inner;
  }
  switch (dbus_message_iter_get_arg_type(&iter)) {
    case DBUS_TYPE_INT16:
      return basic<std::int16_t>(&iter);
    case DBUS_TYPE_UINT16:
      return basic<std::uint16_t>(&iter);
    case DBUS_TYPE_INT32:
      return basic<std::int32_t>(&iter);
    case DBUS_TYPE_UINT32:
      return basic<std::uint32_t>(&iter);
    case DBUS_TYPE_BOOLEAN:
      return static_cast<std::int32_t>(basic<dbus_bool_t>(&iter));
    case DBUS_TYPE_BYTE:
      return static_cast<std::int32_t>(basic<unsigned char>(&iter));
    case DBUS_TYPE_UINT64:
      return basic<std::uint64_t>(&iter);
    case DBUS_TYPE_INT64:
      return basic<std::int64_t>(&iter);
    case DBUS_TYPE_DOUBLE:
      return basic<double>(&iter);
    case DBUS_TYPE_STRING:
    case DBUS_TYPE_OBJECT_PATH:
    case DBUS_TYPE_SIGNATURE:
      return std::string_view(basic<const char*>(&iter));
    case DBUS_TYPE_ARRAY:
      return dbus_message_iter_get_element_type(&iter) == DBUS_TYPE_BYTE
                 ? Block{bytesOfArray(&iter)}
                 : Block();
    default:
      return Block();
  }
}

class Same {
 public:
  template <typename Left, typename Right>
  bool operator()(const Left& /*left*/, const Right& /*right*/) const {
    return false;
  }
  template <typename Both>
  bool operator()(const Both& left, const Both& right) const {
    return left == right;
  }
  bool operator()(const Block& left, const Block& right) const { return left.bytes == right.bytes; }
  // Bit by bit: some numbers are not equal to themselves.
  bool operator()(const double& left, const double& right) const {
    return bitsOf(left) == bitsOf(right);
  }

 private:
  static std::uint64_t bitsOf(double number) {
    std::uint64_t bits = 0;
    std::memcpy(&bits, &number, sizeof bits);
    return bits;
  }
};

std::string differenceOfArguments(const Message& ours, DBusMessage* theirs) {
  DBusMessageIter iter;
  bool isMore = dbus_message_iter_init(theirs, &iter);
  DBusMessageIter list;
  DBusMessageIter* at = &iter;
  if (isMore && ours.header.signature == "av") {
    dbus_message_iter_recurse(&iter, &list);
    at = &list;
    isMore = dbus_message_iter_get_arg_type(at) != DBUS_TYPE_INVALID;
  }
  ArgumentReader arguments(ours);
  Argument argument;
  for (int index = 0; arguments.next(&argument); ++index) {
    if (!isMore) {
      return "argument " + std::to_string(index) + " is one too many";
    }
    if (!std::visit(Same(), argument, argumentAt(*at))) {
      return "argument " + std::to_string(index);
    }
    isMore = dbus_message_iter_next(at);
  }
  return isMore ? "arguments are missing" : "";
}

// --- Building ------------------------------------------------------------------------------------

struct DBusFree {
  void operator()(char* text) const { dbus_free(text); }
};

void require(bool isDone) {
  if (!isDone) {
    throw std::runtime_error("libdbus is out of memory");
  }
}

// False when one of the values cannot be appended.
bool copyValues(DBusMessageIter* from, DBusMessageIter* to);

bool copyContainer(DBusMessageIter* from, DBusMessageIter* to, int type) {
  DBusMessageIter inside;
  dbus_message_iter_recurse(from, &inside);
  const std::unique_ptr<char, DBusFree> signature(dbus_message_iter_get_signature(&inside));
  DBusMessageIter copy;
  const bool hasSignature = type == DBUS_TYPE_ARRAY || type == DBUS_TYPE_VARIANT;
  require(
      dbus_message_iter_open_container(to, type, hasSignature ? signature.get() : nullptr, &copy));
  if (!copyValues(&inside, &copy)) {
    dbus_message_iter_abandon_container(to, &copy);
    return false;
  }
  require(dbus_message_iter_close_container(to, &copy));
  return true;
}

bool copyValues(DBusMessageIter* from, DBusMessageIter* to) {
  for (; dbus_message_iter_get_arg_type(from) != DBUS_TYPE_INVALID; dbus_message_iter_next(from)) {
    const int type = dbus_message_iter_get_arg_type(from);
    if (type == DBUS_TYPE_UNIX_FD) {
      return false;
    }
    if (dbus_type_is_container(type)) {
      if (!copyContainer(from, to, type)) {
        return false;
      }
      continue;
    }
    DBusBasicValue value = {};
    dbus_message_iter_get_basic(from, &value);
    require(dbus_message_iter_append_basic(to, type, &value));
  }
  return true;
}

}  // namespace

DBusMessageRef parsedByLibdbus(std::string_view bytes) {
  return DBusMessageRef(
      dbus_message_demarshal(bytes.data(), static_cast<int>(bytes.size()), nullptr));
}

std::string bytesOf(DBusMessage* message) {
  if (dbus_message_get_serial(message) == 0) {
    dbus_message_set_serial(message, 1);
  }
  char* bytes = nullptr;
  int size = 0;
  require(dbus_message_marshal(message, &bytes, &size));
  const std::unique_ptr<char, DBusFree> owner(bytes);
  return std::string(bytes, static_cast<std::size_t>(size));
}

DBusMessageRef rebuiltByLibdbus(DBusMessage* message) {
  DBusMessageRef copy(dbus_message_new(dbus_message_get_type(message)));
  require(copy != nullptr);
  DBusMessage* const to = copy.get();
  dbus_message_set_no_reply(to, dbus_message_get_no_reply(message));
  dbus_message_set_auto_start(to, dbus_message_get_auto_start(message));
  dbus_message_set_serial(to, dbus_message_get_serial(message));
  if (const dbus_uint32_t serial = dbus_message_get_reply_serial(message)) {
    require(dbus_message_set_reply_serial(to, serial));
  }
  require(dbus_message_set_path(to, dbus_message_get_path(message)) &&
          dbus_message_set_interface(to, dbus_message_get_interface(message)) &&
          dbus_message_set_member(to, dbus_message_get_member(message)) &&
          dbus_message_set_error_name(to, dbus_message_get_error_name(message)) &&
          dbus_message_set_destination(to, dbus_message_get_destination(message)) &&
          dbus_message_set_sender(to, dbus_message_get_sender(message)));
  DBusMessageIter from;
  DBusMessageIter body;
  dbus_message_iter_init_append(to, &body);
  const bool isBuilt = !dbus_message_iter_init(message, &from) || copyValues(&from, &body);
  return isBuilt ? std::move(copy) : nullptr;
}

std::string difference(const Message& ours, DBusMessage* theirs) {
  const Header& header = ours.header;
  if (static_cast<int>(header.type) != dbus_message_get_type(theirs)) {
    return "type";
  }
  const bool isNoReply = (header.flags & qxbus::wire::kNoReplyExpected) != 0;
  const bool isNoAutoStart = (header.flags & qxbus::wire::kNoAutoStart) != 0;
  if (isNoReply != (dbus_message_get_no_reply(theirs) != FALSE) ||
      isNoAutoStart == (dbus_message_get_auto_start(theirs) != FALSE)) {
    return "flags";
  }
  if (header.serial != dbus_message_get_serial(theirs)) {
    return "serial";
  }
  if (header.replySerial != dbus_message_get_reply_serial(theirs)) {
    return "reply serial";
  }
  const struct {
    const char* name;
    std::string_view ours;
    const char* theirs;
  } texts[] = {
      {"path", header.path, dbus_message_get_path(theirs)},
      {"interface", header.interface, dbus_message_get_interface(theirs)},
      {"member", header.member, dbus_message_get_member(theirs)},
      {"error name", header.errorName, dbus_message_get_error_name(theirs)},
      {"destination", header.destination, dbus_message_get_destination(theirs)},
      {"sender", header.sender, dbus_message_get_sender(theirs)},
      {"signature", header.signature, dbus_message_get_signature(theirs)},
  };
  for (const auto& text : texts) {
    if (text.ours != textOf(text.theirs)) {
      return text.name;
    }
  }
  return differenceOfArguments(ours, theirs);
}

}  // namespace wiretest
