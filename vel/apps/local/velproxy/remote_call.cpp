#include "vel/apps/local/velproxy/internal/remote_call.h"

#include <climits>

#include "vel/apps/local/velproxy/internal/vel_log.h"

namespace qx {

RemoteCall::RemoteCall(VelProxy& proxy, Lock lock, const char* function, int line)
    : proxy_(proxy), function_(function), line_(line), policy_(lock) {
  if (policy_ == Lock::kLookUp) {
    return;
  }
  // Before the lock: connecting takes the call mutex itself.
  VelProxy::getInstance();
  lock_ = std::unique_lock<std::mutex>(proxy_.callMutex_);
}

bool RemoteCall::connected() {
  if (!asked_) {
    asked_ = true;
    interface_ = proxy_.currentInterface();
    if (policy_ == Lock::kReleased) {
      lock_.unlock();
    }
    if (!interface_ && policy_ != Lock::kLookUp) {
      VEL_ERROR_AT(function_, line_, "wait velserviced restart when it death");
    }
  }
  return interface_ != nullptr;
}

RemoteCall& RemoteCall::method(const char* name, int timeoutMs) {
  if (connected()) {
    message_ = interface_->makeMethodCallMessage(name);
    timeoutMs_ = timeoutMs;
  }
  return *this;
}

unsigned int RemoteCall::numberOf(const std::string& vmId) {
  return message_ ? proxy_.GetVmIdInt(vmId) : 0;
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
    return nullptr;
  }
  if (logsReply_) {
    VEL_DEBUG_AT(function_, line_, "reply: %s", reply->toDebugString().c_str());
  }
  const int type = reply->type();
  if (type == MESSAGE_TYPE_METHOD_RETURN) {
    return reply;
  }
  if (policy_ != Lock::kLookUp) {
    VEL_ERROR_AT(function_, line_, "reply type: %d(%s)", type, reply->getString(0).c_str());
  }
  return nullptr;
}

std::optional<int> RemoteCall::answer() {
  const std::shared_ptr<QXBusMessage> normal = reply();
  return normal ? std::optional<int>(normal->getInt32(0)) : std::nullopt;
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
