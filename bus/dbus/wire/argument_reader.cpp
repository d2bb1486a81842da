#include "bus/dbus/wire/argument_reader.h"

#include <cstdint>

#include "bus/dbus/wire/grammar.h"
#include "bus/dbus/wire/values_check.h"

namespace qxbus::wire {

ArgumentReader::ArgumentReader(const Message& message)
    : cursor_(message.body, message.order),
      types_(message.header.signature),
      isList_(types_ == "av") {
  if (isList_) {
    // Its size; the list is all of the body.
    cursor_.skip(sizeof(std::uint32_t));
  }
}

bool ArgumentReader::next(Argument* argument) {
  if (isList_) {
    return !cursor_.isAtEnd() && read("v", argument);
  }
  if (types_.empty()) {
    return false;
  }
  const std::string_view type = types_.substr(0, lengthOfFirstType(types_));
  types_.remove_prefix(type.size());
  return read(type, argument);
}

template <typename Number, typename Read>
bool ArgumentReader::readNumber(Argument* argument) {
  Number number = 0;
  const bool isRead = cursor_.number(&number);
  *argument = static_cast<Read>(number);
  return isRead;
}

bool ArgumentReader::readArray(std::string_view type, Argument* argument) {
  *argument = Block();
  if (type[1] != 'y') {
    return checkValues(&cursor_, type);
  }
  std::size_t size = 0;
  if (!cursor_.array(alignof(char), &size)) {
    return false;
  }
  return cursor_.take(size, &std::get<Block>(*argument).bytes);
}

bool ArgumentReader::read(std::string_view type, Argument* argument) {
  while (type.front() == 'v') {
    if (!cursor_.signature(&type) || !isSingleType(type)) {
      return false;
    }
  }
  std::string_view text;
  switch (type.front()) {
    case 'n':
      return readNumber<std::int16_t>(argument);
    case 'q':
      return readNumber<std::uint16_t>(argument);
    case 'i':
      return readNumber<std::int32_t>(argument);
    case 'u':
      return readNumber<std::uint32_t>(argument);
    case 'x':
      return readNumber<std::int64_t>(argument);
    case 't':
      return readNumber<std::uint64_t>(argument);
    case 'd':
      return readNumber<double>(argument);
    case 'y':
      return readNumber<std::uint8_t, std::int32_t>(argument);
    case 'b':
      return readNumber<std::uint32_t, std::int32_t>(argument);
    case 's':
    case 'o':
    case 'g': {
      const bool isRead = type == "g" ? cursor_.signature(&text) : cursor_.string(&text);
      *argument = text;
      return isRead;
    }
    case 'a':
      return readArray(type, argument);
    default:
      *argument = Block();
      return checkValues(&cursor_, type);
  }
}

}  // namespace qxbus::wire
