#include <cstring>
#include <new>

#include "bus/dbus/message_impl.h"
#include "bus/dbus/names.h"
#include "bus/dbus/wire.h"

QXBusMessage::QXBusMessage(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}
QXBusMessage::~QXBusMessage() = default;

void QXBusMessage::appendInt16(std::int16_t value) {
  impl_->arguments.emplace_back(value);
}
void QXBusMessage::appendInt32(std::int32_t value) {
  impl_->arguments.emplace_back(value);
}
void QXBusMessage::appendUInt64(std::uint64_t value) {
  impl_->arguments.emplace_back(value);
}
void QXBusMessage::appendInt64(std::int64_t value) {
  impl_->arguments.emplace_back(value);
}
void QXBusMessage::appendDouble(double value) {
  impl_->arguments.emplace_back(value);
}

void QXBusMessage::appendString(std::string value) {
  impl_->arguments.emplace_back(std::move(value));
}

void QXBusMessage::appendCString(const char* value) {
  impl_->arguments.emplace_back(std::string(value ? value : ""));
}

void QXBusMessage::appendBytes(const void* data, int length) {
  const auto* const bytes = static_cast<const unsigned char*>(data);
  const bool empty = !bytes || length < 1;
  impl_->arguments.emplace_back(empty ? qxbus::Bytes() : qxbus::Bytes(bytes, bytes + length));
}

std::int16_t QXBusMessage::getInt16(int index) {
  return qxbus::readInt16(impl_->arguments, index);
}

std::uint16_t QXBusMessage::getUInt16(int index) {
  return qxbus::readUInt16(impl_->arguments, index);
}

std::int32_t QXBusMessage::getInt32(int index) {
  return qxbus::readInt32(impl_->arguments, index);
}

std::uint32_t QXBusMessage::getUInt32(int index) {
  return qxbus::readUInt32(impl_->arguments, index);
}

std::int64_t QXBusMessage::getInt64(int index) {
  return qxbus::readInt64(impl_->arguments, index);
}

std::uint64_t QXBusMessage::getUInt64(int index) {
  return qxbus::readUInt64(impl_->arguments, index);
}

std::string QXBusMessage::getString(int index) {
  return qxbus::readString(impl_->arguments, index);
}

unsigned char* QXBusMessage::getBytes(int index, int* length) {
  const qxbus::Bytes* const bytes = qxbus::readBytes(impl_->arguments, index);
  const bool empty = !bytes || bytes->empty();
  if (length) {
    *length = empty ? 0 : static_cast<int>(bytes->size());
  }
  if (empty) {
    return nullptr;
  }
  auto* const copy = static_cast<unsigned char*>(::operator new(bytes->size()));
  std::memcpy(copy, bytes->data(), bytes->size());
  return copy;
}

int QXBusMessage::argCount() {
  return static_cast<int>(impl_->arguments.size());
}

int QXBusMessage::type() {
  return impl_->type;
}

std::string QXBusMessage::toDebugString() {
  const std::string arguments = "(" + qxbus::describe(impl_->arguments) + ")";
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
                                          Values arguments) {
  auto impl = std::make_unique<QXBusMessage::Impl>();
  impl->type = type;
  impl->name = std::move(name);
  impl->arguments = std::move(arguments);
  return std::make_shared<QXBusMessage>(std::move(impl));
}

std::shared_ptr<QXBusMessage> notSent(const std::string& text) {
  return makeMessage(MESSAGE_TYPE_DISCONNECTED, kDisconnectedError, {text});
}

std::shared_ptr<QXBusMessage> messageFrom(Outcome outcome, const std::string& method) {
  DBusMessage* const reply = outcome.reply.get();
  switch (outcome.kind) {
    case Outcome::Kind::kReturn:
      return makeMessage(MESSAGE_TYPE_METHOD_RETURN, "", readBody(reply));
    case Outcome::Kind::kError: {
      Values values = readBody(reply);
      if (readString(values, 0).empty()) {
        values = {errorText(reply)};
      }
      return makeMessage(MESSAGE_TYPE_ERROR, dbus_message_get_error_name(reply), std::move(values));
    }
    case Outcome::Kind::kNoReply:
      return makeMessage(MESSAGE_TYPE_NO_REPLY, kNoReplyError, {method + ": " + outcome.text});
    default:
      return notSent(method + ": " + outcome.text);
  }
}

}  // namespace qxbus
