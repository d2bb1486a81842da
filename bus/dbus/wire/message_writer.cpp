#include "bus/dbus/wire/message_writer.h"

#include <cstring>

#include "bus/dbus/wire/byte_order.h"
#include "bus/dbus/wire/cursor.h"
#include "bus/dbus/wire/grammar.h"
#include "bus/dbus/wire/header_fields.h"

namespace qxbus::wire {
namespace {

constexpr std::size_t kLengthSize = sizeof(std::uint32_t);
// Most bytes of a header field besides its characters: padding, code, signature, padding, length
// and terminator.
constexpr std::size_t kFieldOverhead = 24;

// Writes where there is room enough.
class Pen {
 public:
  // message    where positions are counted from, for alignment
  explicit Pen(char* message, std::size_t position = 0)
      : message_(message), at_(message + position) {}

  std::size_t position() const { return static_cast<std::size_t>(at_ - message_); }

  void byte(std::uint8_t value) { *at_++ = static_cast<char>(value); }

  void pad(std::size_t alignment) {
    const std::size_t padding = paddingAt(position(), alignment);
    std::memset(at_, 0, padding);
    at_ += padding;
  }

  template <typename Number>
  void number(Number value) {
    pad(sizeof value);
    store(at_, value);
    at_ += sizeof value;
  }

  void characters(std::string_view text) {
    if (!text.empty()) {
      std::memcpy(at_, text.data(), text.size());
      at_ += text.size();
    }
  }

  void block(std::string_view bytes) {
    number(static_cast<std::uint32_t>(bytes.size()));
    characters(bytes);
  }

  void string(std::string_view text) {
    block(text);
    byte(0);
  }

  void signature(std::string_view text) {
    byte(static_cast<std::uint8_t>(text.size()));
    characters(text);
    byte(0);
  }

 private:
  char* message_;
  char* at_;
};

void writeField(Pen* pen, std::uint8_t code, const Header& header) {
  const HeaderField& known = kHeaderFields[code];
  const std::string_view text = known.text ? header.*known.text : std::string_view();
  const bool isReplySerial = code == field::kReplySerial && header.replySerial != 0;
  if (text.empty() && !isReplySerial) {
    return;
  }
  pen->pad(kHeaderAlignment);
  pen->byte(code);
  pen->signature({&known.type, 1});
  if (isReplySerial) {
    pen->number(header.replySerial);
  } else if (known.type == 'g') {
    pen->signature(text);
  } else {
    pen->string(text);
  }
}

std::size_t largestSizeOf(const Header& header) {
  std::size_t size = kFrameSize + kHeaderAlignment;
  for (const HeaderField& known : kHeaderFields) {
    size += kFieldOverhead + (known.text ? (header.*known.text).size() : 0);
  }
  return size;
}

}  // namespace

void MessageWriter::start(const Header& header) {
  buffer_.truncate(0);
  buffer_.extend(largestSizeOf(header) + kLengthSize);
  fault_ = Fault::kNone;

  Pen pen(buffer_.data(), 0);
  pen.byte(static_cast<std::uint8_t>(kHostOrder));
  pen.byte(static_cast<std::uint8_t>(header.type));
  pen.byte(header.flags);
  pen.byte(kProtocolVersion);
  pen.number(std::uint32_t{0});  // the size of the body, the serial and the size of the fields
  pen.number(std::uint32_t{0});  // are known later
  pen.number(std::uint32_t{0});
  for (std::uint8_t code = 1; code <= field::kLast; ++code) {
    writeField(&pen, code, header);
  }
  store(buffer_.data() + kFieldsSizeOffset,
        static_cast<std::uint32_t>(pen.position() - kFrameSize));
  pen.pad(kHeaderAlignment);

  bodyStart_ = pen.position();
  listStart_ = 0;
  types_.clear();
  typesDone_ = 0;
  if (header.signature == "av") {
    pen.number(std::uint32_t{0});
    listStart_ = pen.position();
  } else {
    types_ = header.signature;
  }
  buffer_.truncate(pen.position());
}

void MessageWriter::fail(Fault fault) {
  if (fault_ == Fault::kNone) {
    fault_ = fault;
  }
}

bool MessageWriter::isNext(std::string_view type) {
  if (isList()) {
    return true;
  }
  if (types_.compare(typesDone_, type.size(), type) != 0) {
    return false;
  }
  typesDone_ += type.size();
  return true;
}

char* MessageWriter::place(std::string_view type, std::size_t alignment, std::size_t size) {
  if (!isNext(type)) {
    fail(Fault::kArgument);
  }
  const std::size_t signatureSize = isList() ? type.size() + 2 : 0;
  const std::size_t start = buffer_.size();
  const std::size_t padding = paddingAt(start + signatureSize, alignment);
  const std::size_t end = start + signatureSize + padding + size;
  if (end > kLargestMessage) {
    fail(Fault::kMessageSize);
  } else if (isList() && end - listStart_ > kLargestArray) {
    fail(Fault::kArraySize);
  }
  if (fault_ != Fault::kNone) {
    return nullptr;
  }
  buffer_.extend(end - start);
  Pen pen(buffer_.data(), start);
  if (isList()) {
    pen.signature(type);
  }
  pen.pad(alignment);
  return buffer_.data() + pen.position();
}

template <typename Number>
void MessageWriter::appendNumber(std::string_view type, Number number) {
  if (char* const at = place(type, sizeof number, sizeof number)) {
    store(at, number);
  }
}

void MessageWriter::appendInt16(std::int16_t value) {
  appendNumber("n", value);
}
void MessageWriter::appendUInt16(std::uint16_t value) {
  appendNumber("q", value);
}
void MessageWriter::appendInt32(std::int32_t value) {
  appendNumber("i", value);
}
void MessageWriter::appendUInt32(std::uint32_t value) {
  appendNumber("u", value);
}
void MessageWriter::appendInt64(std::int64_t value) {
  appendNumber("x", value);
}
void MessageWriter::appendUInt64(std::uint64_t value) {
  appendNumber("t", value);
}
void MessageWriter::appendDouble(double value) {
  appendNumber("d", value);
}

void MessageWriter::appendText(std::string_view text) {
  if (!isText(text)) {
    if (isList()) {
      appendBytes(text);
    } else {
      fail(Fault::kText);
    }
    return;
  }
  constexpr std::size_t kTerminatorSize = 1;
  if (char* const at = place("s", kLengthSize, kLengthSize + text.size() + kTerminatorSize)) {
    Pen(at).string(text);
  }
}

void MessageWriter::appendBytes(std::string_view bytes) {
  if (bytes.size() > kLargestArray) {
    fail(Fault::kArraySize);
  } else if (char* const at = place("ay", kLengthSize, kLengthSize + bytes.size())) {
    Pen(at).block(bytes);
  }
}

Fault MessageWriter::finish(std::uint32_t serial) {
  if (typesDone_ != types_.size()) {
    fail(Fault::kArgument);
  }
  char* const message = buffer_.data();
  if (isList()) {
    store(message + listStart_ - kLengthSize,
          static_cast<std::uint32_t>(buffer_.size() - listStart_));
  }
  store(message + kBodySizeOffset, static_cast<std::uint32_t>(buffer_.size() - bodyStart_));
  store(message + kSerialOffset, serial);
  return fault_;
}

}  // namespace qxbus::wire
