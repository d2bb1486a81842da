#include <cstring>
#include <new>
#include <string_view>

#include "bus/dbus/integer.h"
#include "bus/dbus/message_impl.h"
#include "bus/dbus/names.h"

namespace {

template <typename Integer>
Integer integerAt(const qxbus::Arguments& arguments, int index) {
  const auto argument = arguments.at(index);
  return argument ? qxbus::integerIn<Integer>(*argument) : Integer{0};
}

// Empty when the argument is something else.
std::string_view bytesIn(const qxbus::wire::Argument& argument) {
  const auto* const block = std::get_if<qxbus::wire::Block>(&argument);
  return block ? block->bytes : std::string_view();
}

}  // namespace

QXBusMessage::QXBusMessage(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}
QXBusMessage::~QXBusMessage() = default;

void QXBusMessage::appendInt16(std::int16_t value) {
  impl_->arguments.append(value);
}
void QXBusMessage::appendInt32(std::int32_t value) {
  impl_->arguments.append(value);
}
void QXBusMessage::appendUInt64(std::uint64_t value) {
  impl_->arguments.append(value);
}
void QXBusMessage::appendInt64(std::int64_t value) {
  impl_->arguments.append(value);
}
void QXBusMessage::appendDouble(double value) {
  impl_->arguments.append(value);
}

void QXBusMessage::appendString(std::string value) {
  impl_->arguments.append(std::move(value));
}

void QXBusMessage::appendCString(const char* value) {
  impl_->arguments.append(std::string(value ? value : ""));
}

void QXBusMessage::appendBytes(const void* data, int length) {
  const auto* const bytes = static_cast<const unsigned char*>(data);
  const bool empty = !bytes || length < 1;
  impl_->arguments.append(empty ? qxbus::Bytes() : qxbus::Bytes(bytes, bytes + length));
}

std::int16_t QXBusMessage::getInt16(int index) {
  return integerAt<std::int16_t>(impl_->arguments, index);
}

std::uint16_t QXBusMessage::getUInt16(int index) {
  return integerAt<std::uint16_t>(impl_->arguments, index);
}

std::int32_t QXBusMessage::getInt32(int index) {
  return integerAt<std::int32_t>(impl_->arguments, index);
}

std::uint32_t QXBusMessage::getUInt32(int index) {
  return integerAt<std::uint32_t>(impl_->arguments, index);
}

std::int64_t QXBusMessage::getInt64(int index) {
  return integerAt<std::int64_t>(impl_->arguments, index);
}

std::uint64_t QXBusMessage::getUInt64(int index) {
  return integerAt<std::uint64_t>(impl_->arguments, index);
}

std::string QXBusMessage::getString(int index) {
  const auto argument = impl_->arguments.at(index);
  if (!argument) {
    return "";
  }
  // D-Bus cannot carry every text as a string.
  const auto* const text = std::get_if<std::string_view>(&*argument);
  return std::string(text ? *text : bytesIn(*argument));
}

unsigned char* QXBusMessage::getBytes(int index, int* length) {
  const auto argument = impl_->arguments.at(index);
  const std::string_view bytes = argument ? bytesIn(*argument) : std::string_view();
  if (length) {
    *length = static_cast<int>(bytes.size());
  }
  if (bytes.empty()) {
    return nullptr;
  }
  auto* const copy = static_cast<unsigned char*>(::operator new(bytes.size()));
  std::memcpy(copy, bytes.data(), bytes.size());
  return copy;
}

int QXBusMessage::argCount() {
  return impl_->arguments.size();
}

int QXBusMessage::type() {
  return impl_->type;
}

std::string QXBusMessage::toDebugString() {
  const std::string arguments = "(" + qxbus::describe(impl_->arguments.values()) + ")";
  switch (impl_->type) {
    case MESSAGE_TYPE_METHOD_RETURN:
      return "return" + arguments;
    case MESSAGE_TYPE_ERROR:
    case MESSAGE_TYPE_NO_REPLY:
    case MESSAGE_TYPE_DISCONNECTED:
      return "error " + impl_->name + arguments;
    default:
      return impl_->name + arguments;
  }
}

namespace qxbus {

std::shared_ptr<QXBusMessage> makeMessage(QXBusMessageType type, std::string name,
                                          Arguments arguments) {
  auto impl = std::make_unique<QXBusMessage::Impl>();
  impl->type = type;
  impl->name = std::move(name);
  impl->arguments = std::move(arguments);
  return std::make_shared<QXBusMessage>(std::move(impl));
}

std::shared_ptr<QXBusMessage> notSent(const std::string& text) {
  return makeMessage(MESSAGE_TYPE_DISCONNECTED, kDisconnectedError, Arguments::ofText(text));
}

std::shared_ptr<QXBusMessage> messageFrom(Outcome outcome, const std::string& method) {
  switch (outcome.kind) {
    case Outcome::Kind::kReturn:
      return makeMessage(MESSAGE_TYPE_METHOD_RETURN, "", Arguments(std::move(outcome.reply)));
    case Outcome::Kind::kError: {
      std::string name(outcome.reply.header().errorName);
      const std::string text = errorText(outcome.reply);
      Arguments arguments(std::move(outcome.reply));
      auto error = makeMessage(MESSAGE_TYPE_ERROR, std::move(name), std::move(arguments));
      if (error->getString(0).empty()) {
        error->impl().arguments = Arguments::ofText(text);
      }
      return error;
    }
    case Outcome::Kind::kNoReply:
      return makeMessage(MESSAGE_TYPE_NO_REPLY, kNoReplyError,
                         Arguments::ofText(method + ": " + outcome.text));
    default:
      return notSent(method + ": " + outcome.text);
  }
}

}  // namespace qxbus
