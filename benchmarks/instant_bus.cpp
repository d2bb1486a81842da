#include "benchmarks/instant_bus.h"

#include <cstring>
#include <new>
#include <unordered_map>
#include <utility>

using instant::Argument;
using instant::Arguments;
using instant::Bytes;

struct QXBusMessage::Impl {
  Arguments arguments;
  std::shared_ptr<QXBusMessage> reply;  // of a request

  const Argument* at(int index) const {
    const auto place = static_cast<std::size_t>(index);
    return place < arguments.size() ? &arguments[place] : nullptr;
  }
};

struct QXBusProxyInterface::Impl {};
struct QXBusSerivceManager::Impl {};

namespace {

using Replies = std::unordered_map<std::string, std::shared_ptr<QXBusMessage>>;

Replies& replies() {
  static Replies all = {{"getVmListSize", instant::messageOf({instant::kVm})},
                        {"connectDevice", instant::messageOf({std::int32_t{0}})}};
  return all;
}

std::shared_ptr<QXBusMessage> replyTo(const std::string& method) {
  static const std::shared_ptr<QXBusMessage> empty = instant::messageOf({});
  const auto found = replies().find(method);
  return found != replies().end() ? found->second : empty;
}

std::int32_t int32In(const Argument* argument) {
  const auto* const value = argument ? std::get_if<std::int32_t>(argument) : nullptr;
  return value ? *value : 0;
}

}  // namespace

namespace instant {

std::shared_ptr<QXBusMessage> messageOf(Arguments arguments) {
  auto impl = std::make_unique<QXBusMessage::Impl>();
  impl->arguments = std::move(arguments);
  return std::make_shared<QXBusMessage>(std::move(impl));
}

void answer(const std::string& method, Arguments reply) {
  replies()[method] = messageOf(std::move(reply));
}

}  // namespace instant

QXBusMessage::QXBusMessage(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}
QXBusMessage::~QXBusMessage() = default;

void QXBusMessage::appendInt16(std::int16_t /*value*/) {}
void QXBusMessage::appendInt32(std::int32_t /*value*/) {}
void QXBusMessage::appendUInt64(std::uint64_t /*value*/) {}
void QXBusMessage::appendInt64(std::int64_t /*value*/) {}
void QXBusMessage::appendDouble(double /*value*/) {}
void QXBusMessage::appendString(std::string /*value*/) {}
void QXBusMessage::appendCString(const char* /*value*/) {}
void QXBusMessage::appendBytes(const void* /*data*/, int /*length*/) {}

std::int16_t QXBusMessage::getInt16(int index) {
  return static_cast<std::int16_t>(getInt32(index));
}
std::uint16_t QXBusMessage::getUInt16(int index) {
  return static_cast<std::uint16_t>(getInt32(index));
}
std::int32_t QXBusMessage::getInt32(int index) {
  return int32In(impl_->at(index));
}
std::uint32_t QXBusMessage::getUInt32(int index) {
  return static_cast<std::uint32_t>(getInt32(index));
}
std::int64_t QXBusMessage::getInt64(int index) {
  return getInt32(index);
}
std::uint64_t QXBusMessage::getUInt64(int index) {
  return getUInt32(index);
}
std::string QXBusMessage::getString(int /*index*/) {
  return {};
}

unsigned char* QXBusMessage::getBytes(int index, int* length) {
  const Argument* const argument = impl_->at(index);
  const auto* const bytes = argument ? std::get_if<Bytes>(argument) : nullptr;
  *length = bytes ? static_cast<int>(bytes->size()) : 0;
  if (*length < 1) {
    return nullptr;
  }
  return static_cast<unsigned char*>(
      std::memcpy(::operator new(bytes->size()), bytes->data(), bytes->size()));
}

int QXBusMessage::argCount() {
  return static_cast<int>(impl_->arguments.size());
}
int QXBusMessage::type() {
  return MESSAGE_TYPE_METHOD_RETURN;
}
std::string QXBusMessage::toDebugString() {
  return {};
}

QXBusEventCallback::~QXBusEventCallback() = default;

QXBusProxyInterface::QXBusProxyInterface(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}
QXBusProxyInterface::~QXBusProxyInterface() = default;

std::shared_ptr<QXBusMessage> QXBusProxyInterface::makeMethodCallMessage(std::string method) {
  auto impl = std::make_unique<QXBusMessage::Impl>();
  impl->reply = replyTo(method);
  return std::make_shared<QXBusMessage>(std::move(impl));
}

std::shared_ptr<QXBusMessage> QXBusProxyInterface::callWithReplyBlocking(
    std::shared_ptr<QXBusMessage> message, int /*timeoutMs*/) {
  return message->impl().reply;
}

void QXBusProxyInterface::callWithReply(std::shared_ptr<QXBusMessage> message,
                                        std::function<void(std::shared_ptr<QXBusMessage>)> done,
                                        int /*timeoutMs*/) {
  done(message->impl().reply);
}

void QXBusProxyInterface::setDeathCallback(std::function<void()> /*callback*/) {}
void QXBusProxyInterface::addEventListener(std::string /*name*/, QXBusEventCallback* /*listener*/,
                                           QXBusSecurityFlags /*flags*/) {}
void QXBusProxyInterface::removeEventListener(std::string /*name*/,
                                              QXBusEventCallback* /*listener*/) {}

QXBusSerivceManager::QXBusSerivceManager(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}
QXBusSerivceManager::~QXBusSerivceManager() = default;

QXBusSerivceManager* QXBusSerivceManager::initSync(int /*wait*/) {
  static auto* const manager = new QXBusSerivceManager(nullptr);
  return manager;
}

bool QXBusSerivceManager::isServiceRegistered(const std::string& /*name*/) {
  return true;
}

std::shared_ptr<QXBusProxyInterface> QXBusSerivceManager::getServiceProxyInterface(
    std::string /*name*/, QXBusSecurityFlags /*flags*/, int /*mode*/) {
  return std::make_shared<QXBusProxyInterface>(nullptr);
}

void QXBusSerivceManager::addEventListener(const std::string& /*name*/,
                                           QXBusEventCallback* /*listener*/,
                                           QXBusSecurityFlags /*flags*/) {}
