#include "bus/dbus/wire/values.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <variant>

namespace qxbus::wire {
namespace {

struct Copier {
  template <typename Number>
  Value operator()(Number number) const {
    return number;
  }
  Value operator()(std::string_view text) const { return std::string(text); }
  Value operator()(Block block) const { return Bytes(block.bytes.begin(), block.bytes.end()); }
};

struct Appender {
  MessageWriter* writer;

  void operator()(std::int16_t value) const { writer->appendInt16(value); }
  void operator()(std::int32_t value) const { writer->appendInt32(value); }
  void operator()(std::uint16_t value) const { writer->appendUInt16(value); }
  void operator()(std::uint32_t value) const { writer->appendUInt32(value); }
  void operator()(std::uint64_t value) const { writer->appendUInt64(value); }
  void operator()(std::int64_t value) const { writer->appendInt64(value); }
  void operator()(double value) const { writer->appendDouble(value); }
  void operator()(const std::string& value) const { writer->appendText(value); }
  void operator()(const Bytes& value) const {
    writer->appendBytes({reinterpret_cast<const char*>(value.data()), value.size()});
  }
};

}  // namespace

Value valueOf(const Argument& argument) {
  return std::visit(Copier(), argument);
}

Values readValues(const Message& message) {
  Values values;
  Argument argument;
  for (ArgumentReader arguments(message); arguments.next(&argument);) {
    values.push_back(valueOf(argument));
  }
  return values;
}

void appendValues(MessageWriter* writer, const Values& values) {
  for (const Value& value : values) {
    std::visit(Appender{writer}, value);
  }
}

}  // namespace qxbus::wire
