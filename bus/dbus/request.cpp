#include <utility>

#include "bus/dbus/names.h"
#include "bus/dbus/request_impl.h"
#include "bus/dbus/wire/message_writer.h"
#include "bus/dbus/wire/values.h"

namespace qxbus {

Request::Request(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}
Request::Request(Request&&) noexcept = default;

Request::~Request() {
  if (impl_) {
    fail(impl_->method + " was not answered");
  }
}

const std::string& Request::method() const {
  return impl_->method;
}
const Values& Request::arguments() const {
  return impl_->arguments;
}
const std::string& Request::sender() const {
  return impl_->sender;
}

void Request::reply(const Values& values) {
  replyAs(impl_->replySignature, values);
}

void Request::replyAs(const std::string& signature, const Values& values) {
  if (impl_->isAnswered.exchange(true) || !impl_->caller.isAwaited) {
    return;
  }
  wire::Header header;
  header.type = wire::MessageType::kMethodReturn;
  header.flags = wire::kNoReplyExpected;
  header.replySerial = impl_->caller.serial;
  header.destination = impl_->caller.sender;
  header.signature = signature;
  wire::MessageWriter reply;
  reply.start(header);
  wire::appendValues(&reply, values);
  const wire::Fault fault = reply.finish(1);
  if (fault == wire::Fault::kNone) {
    impl_->connection->send(&reply);
    return;
  }
  const bool isTooLarge = fault == wire::Fault::kArraySize || fault == wire::Fault::kMessageSize;
  sendError(*impl_->connection, impl_->caller, kFailedError,
            "the reply of " + impl_->method +
                (isTooLarge ? " is too large for the bus" : " does not fit its D-Bus types"));
}

void Request::fail(const std::string& text) {
  if (!impl_->isAnswered.exchange(true)) {
    sendError(*impl_->connection, impl_->caller, kFailedError, text);
  }
}

void Request::drop() {
  impl_->isAnswered = true;
}

}  // namespace qxbus
