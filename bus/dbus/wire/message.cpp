#include "bus/dbus/wire/message.h"

#include "bus/dbus/wire/grammar.h"
#include "bus/dbus/wire/header_fields.h"
#include "bus/dbus/wire/values_check.h"

namespace qxbus::wire {
namespace {

// Reserved for messages that a library sends to itself. libdbus refuses all that begins so.
constexpr std::string_view kLocalPath = "/org/freedesktop/DBus/Local";
constexpr std::string_view kLocalInterface = "org.freedesktop.DBus.Local";

bool beginsWith(std::string_view text, std::string_view beginning) {
  return text.substr(0, beginning.size()) == beginning;
}

Fault faultUnless(bool isValid, Fault fault) {
  return isValid ? Fault::kNone : fault;
}

Fault checkText(std::uint8_t code, std::string_view text) {
  switch (code) {
    case field::kPath:
      if (beginsWith(text, kLocalPath)) {
        return Fault::kLocal;
      }
      return faultUnless(isObjectPath(text), Fault::kObjectPath);
    case field::kContainer:
      return faultUnless(isObjectPath(text), Fault::kObjectPath);
    case field::kInterface:
      if (beginsWith(text, kLocalInterface)) {
        return Fault::kLocal;
      }
      return faultUnless(isInterfaceName(text), Fault::kInterface);
    case field::kMember:
      return faultUnless(isMemberName(text), Fault::kMember);
    case field::kErrorName:
      return faultUnless(isInterfaceName(text), Fault::kErrorName);
    case field::kSignature:
      return faultUnless(isSignature(text), Fault::kSignature);
    default:
      return faultUnless(isBusName(text), Fault::kBusName);
  }
}

Fault checkNumber(std::uint8_t code, std::uint32_t number) {
  return code == field::kReplySerial ? faultUnless(number != 0, Fault::kReplySerial)
                                     : faultUnless(number == 0, Fault::kDescriptors);
}

class FieldReader {
 public:
  FieldReader(Cursor* cursor, Header* header) : cursor_(cursor), header_(header) {}

  // One structure of a code and a variant.
  bool read() {
    std::uint8_t code = 0;
    if (!cursor_->align(kHeaderAlignment) || !cursor_->number(&code)) {
      return false;
    }
    if (code == 0) {
      return cursor_->fail(Fault::kFieldCode);
    }
    return code <= field::kLast ? readKnown(code) : checkValues(cursor_, "v", kDepthOfField);
  }

  bool has(std::uint8_t code) const { return (seen_ & bitOf(code)) != 0; }

 private:
  // Within the array of fields and one of its structures.
  static constexpr int kDepthOfField = 2;

  static unsigned int bitOf(std::uint8_t code) { return 1U << code; }

  bool readKnown(std::uint8_t code) {
    const HeaderField& known = kHeaderFields[code];
    std::string_view type;
    if (!cursor_->signature(&type)) {
      return false;
    }
    if (type.size() != 1 || type.front() != known.type) {
      return cursor_->fail(Fault::kFieldType);
    }
    if (has(code)) {
      return cursor_->fail(Fault::kFieldTwice);
    }
    seen_ |= bitOf(code);
    return known.type == 'u' ? readNumber(code) : readText(code, known);
  }

  bool readNumber(std::uint8_t code) {
    std::uint32_t number = 0;
    if (!cursor_->number(&number)) {
      return false;
    }
    if (code == field::kReplySerial) {
      header_->replySerial = number;
    }
    const Fault fault = checkNumber(code, number);
    return fault == Fault::kNone || cursor_->fail(fault);
  }

  bool readText(std::uint8_t code, const HeaderField& known) {
    std::string_view text;
    if (known.type == 'g' ? !cursor_->signature(&text) : !cursor_->string(&text)) {
      return false;
    }
    if (known.text) {
      header_->*known.text = text;
    }
    const Fault fault = checkText(code, text);
    return fault == Fault::kNone || cursor_->fail(fault);
  }

  Cursor* cursor_;
  Header* header_;
  unsigned int seen_ = 0;
};

bool hasRequiredFields(MessageType type, const FieldReader& fields) {
  switch (type) {
    case MessageType::kMethodCall:
      return fields.has(field::kPath) && fields.has(field::kMember);
    case MessageType::kMethodReturn:
      return fields.has(field::kReplySerial);
    case MessageType::kError:
      return fields.has(field::kReplySerial) && fields.has(field::kErrorName);
    case MessageType::kSignal:
      return fields.has(field::kPath) && fields.has(field::kMember) &&
             fields.has(field::kInterface);
    default:
      return true;
  }
}

Fault readFields(Cursor fields, std::size_t size, Header* header) {
  Cursor padding = fields;
  fields.endAfter(size);
  FieldReader reader(&fields, header);
  while (!fields.isAtEnd()) {
    if (!reader.read()) {
      return fields.fault();
    }
  }
  // The frame has room for the fields.
  padding.skip(size);
  if (!padding.align(kHeaderAlignment)) {
    return padding.fault();
  }
  return hasRequiredFields(header->type, reader) ? Fault::kNone : Fault::kFieldMissing;
}

}  // namespace

Frame frameOf(std::string_view bytes) {
  Frame frame;
  if (bytes.size() < kFrameSize) {
    return frame;
  }
  const auto order = static_cast<ByteOrder>(bytes.front());
  if (order != ByteOrder::kLittle && order != ByteOrder::kBig) {
    frame.fault = Fault::kByteOrder;
    return frame;
  }
  const std::uint64_t fields = load<std::uint32_t>(bytes.data() + kFieldsSizeOffset, order);
  const std::uint64_t body = load<std::uint32_t>(bytes.data() + kBodySizeOffset, order);
  const std::uint64_t header = kFrameSize + fields + paddingAt(fields, kHeaderAlignment);
  if (header + body > kLargestMessage) {
    frame.fault = Fault::kMessageSize;
    return frame;
  }
  frame.headerSize = static_cast<std::size_t>(header);
  frame.size = static_cast<std::size_t>(header + body);
  return frame;
}

Fault readHeader(std::string_view bytes, Message* message) {
  const Frame frame = frameOf(bytes);
  if (frame.fault != Fault::kNone) {
    return frame.fault;
  }
  if (frame.size == 0 || bytes.size() < frame.headerSize) {
    return Fault::kTruncated;
  }
  if (bytes.size() > frame.size) {
    return Fault::kTooLong;
  }
  *message = Message();
  message->order = static_cast<ByteOrder>(bytes.front());
  message->body = bytes.substr(frame.headerSize);
  message->bodySize = frame.size - frame.headerSize;
  Header& header = message->header;
  header.type = static_cast<MessageType>(bytes[kTypeOffset]);
  header.flags = static_cast<std::uint8_t>(bytes[kFlagsOffset]);
  header.serial = load<std::uint32_t>(bytes.data() + kSerialOffset, message->order);
  if (header.type == MessageType::kInvalid) {
    return Fault::kMessageType;
  }
  if (bytes[kVersionOffset] != kProtocolVersion) {
    return Fault::kVersion;
  }
  if (header.serial == 0) {
    return Fault::kSerial;
  }
  const std::size_t fields = load<std::uint32_t>(bytes.data() + kFieldsSizeOffset, message->order);
  if (fields > kLargestArray) {
    return Fault::kArraySize;
  }
  return readFields(Cursor(bytes.substr(0, frame.headerSize), message->order, kFrameSize), fields,
                    &header);
}

Fault checkBody(const Message& message) {
  if (message.body.size() != message.bodySize) {
    return Fault::kTruncated;
  }
  Cursor cursor(message.body, message.order);
  if (!checkValues(&cursor, message.header.signature)) {
    return cursor.fault();
  }
  return cursor.isAtEnd() ? Fault::kNone : Fault::kTooLong;
}

Fault readMessage(std::string_view bytes, Message* message) {
  const Fault fault = readHeader(bytes, message);
  return fault != Fault::kNone ? fault : checkBody(*message);
}

Header returnOf(const Header& call) {
  Header header;
  header.type = MessageType::kMethodReturn;
  header.flags = kNoReplyExpected;
  header.replySerial = call.serial;
  header.destination = call.sender;
  return header;
}

Header errorOf(const Header& call, std::string_view errorName) {
  Header header = returnOf(call);
  header.type = MessageType::kError;
  header.errorName = errorName;
  return header;
}

}  // namespace qxbus::wire
