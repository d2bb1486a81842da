// Messages and values of D-Bus, held against libdbus: the same verdict, the same content.
// Covers: bus/dbus/wire/message.cpp bus/dbus/wire/values_check.cpp bus/dbus/wire/grammar.cpp
// Covers: bus/dbus/wire/argument_reader.cpp bus/dbus/wire/values.cpp
// Covers: bus/dbus/wire/message_writer.cpp

#include "bus/dbus/wire/argument_reader.h"
#include "bus/dbus/wire/message.h"
#include "bus/dbus/wire/message_writer.h"
#include "bus/dbus/wire/values.h"
#include "tests/fuzz/target.h"
#include "tests/wire/comparison.h"
#include "tests/wire/encoder.h"
#include "tests/wire/generator.h"

namespace fuzz::codec {
namespace {

using namespace qxbus::wire;
using wiretest::Encoder;

// A signal whose body is the rest of the input. Most random headers are wrong, so that few bodies
// would be looked at.
std::string signalWithBody(Input& input) {
  const ByteOrder order = input.flag() ? ByteOrder::kLittle : ByteOrder::kBig;
  const std::string signature(input.piece());
  const std::string_view body = input.rest();
  Encoder message(order);
  message.byte(static_cast<unsigned char>(order));
  message.byte(static_cast<unsigned int>(MessageType::kSignal));
  message.byte(0);
  message.byte(1);
  message.number(body.size(), 4);
  message.number(1, 4);
  message.number(0, 4);
  const struct {
    unsigned int code;
    const char* type;
    std::string text;
  } fields[] = {{1, "o", "/a"}, {2, "s", "a.b"}, {3, "s", "m"}};
  for (const auto& field : fields) {
    message.pad(8);
    message.byte(field.code);
    message.signature(field.type);
    message.string(field.text);
  }
  message.pad(8);
  message.byte(8);
  message.signature("g");
  message.signature(signature);
  message.setLength(12, 16);
  message.pad(8);
  message.append(std::string(body));
  return message.bytes();
}

std::string written(const qxbus::Values& values) {
  Header header;
  header.type = MessageType::kSignal;
  header.path = "/a";
  header.interface = "a.b";
  header.member = "m";
  header.signature = "av";
  MessageWriter writer;
  writer.start(header);
  appendValues(&writer, values);
  require(writer.finish(1) == Fault::kNone, "values that were read can be written");
  return std::string(writer.bytes());
}

qxbus::Values valuesIn(const std::string& bytes) {
  Message message;
  require(readMessage(bytes, &message) == Fault::kNone, "what was written can be read");
  return readValues(message);
}

// Compared as bytes: some numbers are not equal to themselves.
void checkValues(const Message& message) {
  const std::string once = written(readValues(message));
  require(once == written(valuesIn(once)), "values come back as they were written");
  wiretest::Verdicts verdicts;
  require(wiretest::compareMessage(once, &verdicts).empty() && verdicts.valid == 1,
          "libdbus reads what was written");
}

void checkMessage(std::string_view bytes) {
  wiretest::Verdicts verdicts;
  const std::string difference = wiretest::compareMessage(bytes, &verdicts);
  require(difference.empty(), "differs from libdbus: " + difference);

  const Frame frame = frameOf(bytes);
  Message message;
  if (frame.fault != Fault::kNone || frame.size == 0 || frame.headerSize > bytes.size() ||
      readHeader(bytes.substr(0, frame.size), &message) != Fault::kNone) {
    return;
  }
  // No byte outside of a body is read, whatever the body is.
  int arguments = 0;
  Argument argument;
  for (ArgumentReader reader(message); reader.next(&argument); ++arguments) {
    require(static_cast<std::size_t>(arguments) <= bytes.size() + message.header.signature.size(),
            "each argument takes a part of the message");
  }
  if (verdicts.valid == 1) {
    checkValues(message);
  }
}

void run(Input& input) {
  switch (input.below(3)) {
    case 0:
      return checkMessage(input.rest());
    case 1: {
      std::string message(input.rest());
      wiretest::repairSize(&message);
      return checkMessage(message);
    }
    default:
      return checkMessage(signalWithBody(input));
  }
}

const Registration registration("codec", run);

}  // namespace
}  // namespace fuzz::codec
