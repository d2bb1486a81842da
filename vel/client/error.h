// Why an operation of vel::Client has failed.

#ifndef VEL_CLIENT_ERROR_H
#define VEL_CLIENT_ERROR_H

#include <any>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "vel/apps/local/velproxy/vel_error.h"
#include "vel/client/expected.h"

namespace vel {
inline namespace VEL_CLIENT_VARIANT {

enum class ErrorKind {
  // An argument was refused, and nothing was sent: an empty name, no IP address.
  kRefusedArgument,
  // The bus cannot be reached: nothing was sent.
  kNoBus,
  // No service on the bus: nothing was sent.
  kNoService,
  // The service does not know the VM: the request was not sent.
  kUnknownVm,
  // The service has answered with a status other than 0.
  kRefused,
  // The time limit of the operation has passed, or the connection was lost.
  kNoReply,
  // The service has answered with an error, whose words are the text.
  kErrorReply,
  // The reply lacks a value, or a list ends before its count.
  kBadReply,
  // This process could not start a thread: nothing was sent.
  kNoThread,
};

// "no service", and so on.
constexpr std::string_view nameOf(ErrorKind kind) {
  switch (kind) {
    case ErrorKind::kRefusedArgument:
      return "refused argument";
    case ErrorKind::kNoBus:
      return "no bus";
    case ErrorKind::kNoService:
      return "no service";
    case ErrorKind::kUnknownVm:
      return "unknown VM";
    case ErrorKind::kRefused:
      return "refused";
    case ErrorKind::kNoReply:
      return "no reply";
    case ErrorKind::kErrorReply:
      return "error reply";
    case ErrorKind::kBadReply:
      return "bad reply";
    case ErrorKind::kNoThread:
      return "no thread";
  }
  return {};
}

class Error {
 public:
  Error(ErrorKind kind, std::string method, std::string text)
      : kind_(kind), method_(std::move(method)), text_(std::move(text)) {}

  // The service's own status, which is not 0.
  static Error refused(std::string method, std::int32_t status) {
    Error error(ErrorKind::kRefused, std::move(method),
                "the service refused with status " + std::to_string(status));
    error.status_ = status;
    return error;
  }

  ErrorKind kind() const { return kind_; }
  // The method of the service that failed; empty for an operation that has none.
  const std::string& method() const { return method_; }
  // The reason, for people: no capital letter at its start, no full stop at its end.
  const std::string& text() const { return text_; }
  // Of kRefused, in the service's numbers.
  std::optional<std::int32_t> status() const { return status_; }

  // Of kBadReply, the elements of a list that came before its early end:
  // part<std::vector<Device>>(). Null when there are none of this type.
  template <typename Value>
  const Value* part() const {
    return std::any_cast<Value>(&part_);
  }

  // The same error with a part of the reply.
  Error with(std::any part) const {
    Error error = *this;
    error.part_ = std::move(part);
    return error;
  }

  // Method and reason on one line: "connectDevice: no service on the bus".
  std::string message() const {
    const std::string beginning = method_ + ": ";
    // The bus names the method in some of its reasons.
    const bool isNamed = method_.empty() || text_.compare(0, beginning.size(), beginning) == 0;
    return isNamed ? text_ : beginning + text_;
  }

 private:
  ErrorKind kind_;
  std::string method_;
  std::string text_;
  std::optional<std::int32_t> status_;
  std::any part_;
};

template <typename Value>
using Result = expected<Value, Error>;

namespace internal {

inline ErrorKind kindOf(const qx::VelError& error) {
  using Kind = qx::VelError::Kind;
  switch (error.kind) {
    case Kind::kRefusedArgument:
      return ErrorKind::kRefusedArgument;
    case Kind::kNoService:
      return error.text == qx::kBusUnreachable ? ErrorKind::kNoBus : ErrorKind::kNoService;
    case Kind::kUnknownVm:
      return ErrorKind::kUnknownVm;
    case Kind::kNoReply:
      return ErrorKind::kNoReply;
    case Kind::kErrorReply:
      return ErrorKind::kErrorReply;
    case Kind::kNone:
    case Kind::kBadReply:
      break;
  }
  return ErrorKind::kBadReply;
}

inline Error errorOf(qx::VelError error) {
  const ErrorKind kind = kindOf(error);
  return Error(kind, std::move(error.method), std::move(error.text));
}

inline unexpected<Error> failed(qx::VelError error) {
  return unexpected<Error>(errorOf(std::move(error)));
}

}  // namespace internal

}  // namespace VEL_CLIENT_VARIANT
}  // namespace vel

#endif  // VEL_CLIENT_ERROR_H
