#include "vel/apps/local/velproxy/internal/remote_call.h"

#include <climits>
#include <utility>

#include "vel/apps/local/velproxy/internal/arguments.h"
#include "vel/apps/local/velproxy/internal/vel_log.h"

namespace qx {
namespace {

constexpr Request::Texts kUsualTexts = {
    VEL_ERROR_FORMAT("wait velserviced restart when it death"),
    VEL_DEBUG_FORMAT("reply: %s"),
    VEL_ERROR_FORMAT("reply type: %d(%s)"),
    true,
};

}  // namespace

Request::Request(VelProxy& proxy, Failures failures, const char* function, int line)
    : proxy_(proxy), failures_(failures), texts_(&kUsualTexts), function_(function), line_(line) {}

void Request::takeConnection() {
  hasTakenConnection_ = true;
  interface_ = proxy_.currentInterface();
}

void Request::dropConnection() {
  message_.reset();
  interface_.reset();
}

Request& Request::withTexts(const Texts& texts) {
  texts_ = &texts;
  return *this;
}

bool Request::connected(const char* method) {
  if (!hasTakenConnection_) {
    takeConnection();
  }
  if (!std::exchange(isTested_, true)) {
    report_.setMethod(method);
    if (!interface_) {
      report_.fail(VelError::Kind::kNoService, proxy_.failedInitReason_.load());
      if (failures_ == Failures::kLogged) {
        norvoLogPrint(0, kErrorLevel, kLogTag, texts_->notConnected, kLogFile, function_, line_);
      }
    }
  }
  return interface_ != nullptr;
}

Request& Request::method(const char* name, int timeoutMs) {
  if (connected(name)) {
    message_ = interface_->makeMethodCallMessage(name);
    timeoutMs_ = timeoutMs;
  }
  return *this;
}

Request& Request::int16(unsigned short value) {
  if (message_) {
    message_->appendInt16(static_cast<std::int16_t>(value));
  }
  return *this;
}

Request& Request::int32(int value) {
  if (message_) {
    message_->appendInt32(value);
  }
  return *this;
}

Request& Request::int32(unsigned int value) {
  return int32(static_cast<int>(value));
}

Request& Request::uint64(unsigned long long value) {
  if (message_) {
    message_->appendUInt64(value);
  }
  return *this;
}

Request& Request::string(const std::string& value) {
  if (message_) {
    message_->appendString(value);
  }
  return *this;
}

Request& Request::cString(const std::string& value) {
  if (message_) {
    message_->appendCString(value.c_str());
  }
  return *this;
}

Request& Request::bytes(const void* data, std::size_t length) {
  if (message_) {
    message_->appendBytes(data, length > INT_MAX ? INT_MAX : static_cast<int>(length));
  }
  return *this;
}

Request& Request::loggingReply() {
  logsReply_ = true;
  return *this;
}

std::shared_ptr<QXBusMessage> Request::reply() {
  if (!message_) {
    return nullptr;
  }
  std::shared_ptr<QXBusMessage> reply = interface_->callWithReplyBlocking(message_, timeoutMs_);
  if (!reply) {
    report_.fail(VelError::Kind::kNoReply, "the bus has given no reply");
    return nullptr;
  }
  if (logsReply_) {
    norvoLogPrint(0, kDebugLevel, kLogTag, texts_->reply, kLogFile, function_, line_,
                  reply->toDebugString().c_str());
  }
  const int type = reply->type();
  if (type == MESSAGE_TYPE_METHOD_RETURN) {
    return reply;
  }
  const std::string reason = reply->getString(0);
  reportFailure(type, reason);
  if (failures_ == Failures::kSilent) {
    return nullptr;
  }
  if (texts_->failureNamesType) {
    norvoLogPrint(0, kErrorLevel, kLogTag, texts_->failure, kLogFile, function_, line_, type,
                  reason.c_str());
  } else {
    norvoLogPrint(0, kErrorLevel, kLogTag, texts_->failure, kLogFile, function_, line_,
                  reason.c_str());
  }
  return nullptr;
}

// An unknown type is an error reply.
void Request::reportFailure(int type, const std::string& reason) {
  const bool hasReply = type != MESSAGE_TYPE_NO_REPLY && type != MESSAGE_TYPE_DISCONNECTED;
  report_.fail(hasReply ? VelError::Kind::kErrorReply : VelError::Kind::kNoReply, reason);
}

std::optional<int> Request::answer() {
  const std::shared_ptr<QXBusMessage> normal = reply();
  return normal ? std::optional<int>(integerAt(*normal, 0, report_)) : std::nullopt;
}

std::optional<std::string> Request::text() {
  const std::shared_ptr<QXBusMessage> normal = reply();
  return normal ? std::optional<std::string>(textAt(*normal, 0, report_)) : std::nullopt;
}

int Request::sendOnly() {
  if (!message_) {
    return kNoAnswer;
  }
  interface_->callWithReply(
      message_,
      [](const std::shared_ptr<QXBusMessage>& reply) {
        VEL_DEBUG("ret: %d", reply ? reply->getInt32(0) : 0);
      },
      kNoTimeout);
  return 0;
}

// --- Locks ---------------------------------------------------------------------------------------

namespace {

// Connecting locks the call mutex, so it comes before the lock.
platform::Mutex& afterConnecting(Reconnect reconnect, platform::Mutex& callMutex) {
  if (reconnect == Reconnect::kYes) {
    VelProxy::getInstance();
  }
  return callMutex;
}

}  // namespace

RemoteCall::RemoteCall(VelProxy& proxy, Reconnect reconnect, const char* function, int line)
    : Request(proxy, Failures::kLogged, function, line),
      lock_(afterConnecting(reconnect, proxy.callMutex_)) {}

RemoteCall::~RemoteCall() {
  dropConnection();
}

UnlockedCall::UnlockedCall(VelProxy& proxy, Reconnect reconnect, const char* function, int line)
    : Request(proxy, Failures::kLogged, function, line) {
  const platform::MutexLock lock(afterConnecting(reconnect, proxy.callMutex_));
  takeConnection();
}

UnlockedCall::UnlockedCall(VelProxy& proxy, const std::function<void()>& underLock,
                           const char* function, int line)
    : Request(proxy, Failures::kLogged, function, line) {
  const platform::MutexLock lock(afterConnecting(Reconnect::kYes, proxy.callMutex_));
  underLock();
  takeConnection();
}

LookUp::LookUp(VelProxy& proxy, const char* function, int line)
    : Request(proxy, Failures::kSilent, function, line) {}

}  // namespace qx
