// A client with a bus of its own, on which there is no service, and a log of its own.

#include <cstdarg>
#include <cstdio>
#include <string>
#include <utility>

#include "bus/qxbus.h"
#include "platform/app_data_path.h"
#include "platform/log.h"
#include "vel/apps/local/velproxy/vel_proxy.h"

struct QXBusMessage::Impl {};
struct QXBusProxyInterface::Impl {};
struct QXBusSerivceManager::Impl {};

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
std::int16_t QXBusMessage::getInt16(int /*index*/) {
  return 0;
}
std::uint16_t QXBusMessage::getUInt16(int /*index*/) {
  return 0;
}
std::int32_t QXBusMessage::getInt32(int /*index*/) {
  return 0;
}
std::uint32_t QXBusMessage::getUInt32(int /*index*/) {
  return 0;
}
std::int64_t QXBusMessage::getInt64(int /*index*/) {
  return 0;
}
std::uint64_t QXBusMessage::getUInt64(int /*index*/) {
  return 0;
}
std::string QXBusMessage::getString(int /*index*/) {
  return "";
}
unsigned char* QXBusMessage::getBytes(int /*index*/, int* length) {
  *length = 0;
  return nullptr;
}
int QXBusMessage::argCount() {
  return 0;
}
int QXBusMessage::type() {
  return MESSAGE_TYPE_DISCONNECTED;
}
std::string QXBusMessage::toDebugString() {
  return "empty";
}

QXBusEventCallback::~QXBusEventCallback() = default;

QXBusProxyInterface::~QXBusProxyInterface() = default;
std::shared_ptr<QXBusMessage> QXBusProxyInterface::makeMethodCallMessage(std::string /*method*/) {
  return std::make_shared<QXBusMessage>(nullptr);
}
std::shared_ptr<QXBusMessage> QXBusProxyInterface::callWithReplyBlocking(
    std::shared_ptr<QXBusMessage> /*message*/, int /*timeoutMs*/) {
  return std::make_shared<QXBusMessage>(nullptr);
}
void QXBusProxyInterface::callWithReply(std::shared_ptr<QXBusMessage> message,
                                        std::function<void(std::shared_ptr<QXBusMessage>)> done,
                                        int /*timeoutMs*/) {
  done(std::move(message));
}
void QXBusProxyInterface::setDeathCallback(std::function<void()> /*callback*/) {}
void QXBusProxyInterface::addEventListener(std::string /*name*/, QXBusEventCallback* /*listener*/,
                                           QXBusSecurityFlags /*flags*/) {}
void QXBusProxyInterface::removeEventListener(std::string /*name*/,
                                              QXBusEventCallback* /*listener*/) {}

QXBusSerivceManager::QXBusSerivceManager(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}
QXBusSerivceManager::~QXBusSerivceManager() = default;
QXBusSerivceManager* QXBusSerivceManager::initSync(int /*wait*/) {
  static QXBusSerivceManager manager(nullptr);
  return &manager;
}
bool QXBusSerivceManager::isServiceRegistered(const std::string& /*name*/) {
  return false;
}
std::shared_ptr<QXBusProxyInterface> QXBusSerivceManager::getServiceProxyInterface(
    std::string /*name*/, QXBusSecurityFlags /*flags*/, int /*mode*/) {
  return nullptr;
}
void QXBusSerivceManager::addEventListener(const std::string& /*name*/,
                                           QXBusEventCallback* /*listener*/,
                                           QXBusSecurityFlags /*flags*/) {}

void norvoLogPrint(int /*channel*/, int level, const char* tag, const char* format, ...) {
  std::printf("%d %s: ", level, tag);
  va_list arguments;
  va_start(arguments, format);
  std::vprintf(format, arguments);
  va_end(arguments);
  std::printf("\n");
}
void pellamLogInit(const char* /*directory*/) {}
std::string GetAppDataPath() {
  return "";
}

int main() {
  qx::VelProxy* const proxy = qx::VelProxy::getInstance();
  const int status = proxy->ConnectDevice("win11", 12);
  std::printf("%d: %s\n", status, qx::VelProxy::lastError().text.c_str());
  return 0;
}
