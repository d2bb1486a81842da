#include "vel/apps/local/velproxy/internal/remote_call.h"

#include <climits>

#include "vel/apps/local/velproxy/internal/arguments.h"
#include "vel/apps/local/velproxy/internal/vel_log.h"

namespace qx {
namespace {

constexpr RemoteCall::Texts kUsualTexts = {
    VEL_ERROR_FORMAT("wait velserviced restart when it death"),
    VEL_DEBUG_FORMAT("reply: %s"),
    VEL_ERROR_FORMAT("reply type: %d(%s)"),
    true,
};

}  // namespace

RemoteCall::RemoteCall(VelProxy& proxy, Lock lock, const char* function, int line)
    : proxy_(proxy), texts_(&kUsualTexts), function_(function), line_(line), policy_(lock) {
  if (policy_ == Lock::kLookUp) {
    return;
  }
  // Before the lock: connecting takes the call mutex itself.
  VelProxy::getInstance();
  lock_ = std::unique_lock<std::mutex>(proxy_.callMutex_);
}

RemoteCall& RemoteCall::saying(const Texts& texts) {
  texts_ = &texts;
  return *this;
}

bool RemoteCall::connected(const char* method) {
  if (!asked_) {
    asked_ = true;
    report_.setMethod(method);
    interface_ = proxy_.currentInterface();
    if (policy_ == Lock::kReleased) {
      lock_.unlock();
    }
    if (!interface_) {
      report_.fail(VelError::Kind::kNoService, "no service on the bus");
    }
    if (!interface_ && policy_ != Lock::kLookUp) {
      norvoLogPrint(0, kErrorLevel, kLogTag, texts_->notConnected, kLogFile, function_, line_);
    }
  }
  return interface_ != nullptr;
}

RemoteCall& RemoteCall::method(const char* name, int timeoutMs) {
  if (connected(name)) {
    message_ = interface_->makeMethodCallMessage(name);
    timeoutMs_ = timeoutMs;
  }
  return *this;
}

RemoteCall& RemoteCall::int16(unsigned short value) {
  if (message_) {
    message_->appendInt16(static_cast<std::int16_t>(value));
  }
  return *this;
}

RemoteCall& RemoteCall::int32(int value) {
  if (message_) {
    message_->appendInt32(value);
  }
  return *this;
}

RemoteCall& RemoteCall::int32(unsigned int value) {
  return int32(static_cast<int>(value));
}

RemoteCall& RemoteCall::uint64(unsigned long long value) {
  if (message_) {
    message_->appendUInt64(value);
  }
  return *this;
}

RemoteCall& RemoteCall::string(const std::string& value) {
  if (message_) {
    message_->appendString(value);
  }
  return *this;
}

RemoteCall& RemoteCall::cString(const std::string& value) {
  if (message_) {
    message_->appendCString(value.c_str());
  }
  return *this;
}

RemoteCall& RemoteCall::bytes(const void* data, std::size_t length) {
  if (message_) {
    message_->appendBytes(data, length > INT_MAX ? INT_MAX : static_cast<int>(length));
  }
  return *this;
}

RemoteCall& RemoteCall::loggingReply() {
  logsReply_ = true;
  return *this;
}

std::shared_ptr<QXBusMessage> RemoteCall::reply() {
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
  if (policy_ == Lock::kLookUp) {
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

// Types that the library does not know are error replies.
void RemoteCall::reportFailure(int type, const std::string& reason) {
  const bool hasReply = type != MESSAGE_TYPE_NO_REPLY && type != MESSAGE_TYPE_DISCONNECTED;
  report_.fail(hasReply ? VelError::Kind::kErrorReply : VelError::Kind::kNoReply, reason);
}

std::optional<int> RemoteCall::answer() {
  const std::shared_ptr<QXBusMessage> normal = reply();
  return normal ? std::optional<int>(integerAt(*normal, 0, report_)) : std::nullopt;
}

std::optional<std::string> RemoteCall::text() {
  const std::shared_ptr<QXBusMessage> normal = reply();
  return normal ? std::optional<std::string>(textAt(*normal, 0, report_)) : std::nullopt;
}

int RemoteCall::sendOnly() {
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

}  // namespace qx
