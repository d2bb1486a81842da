// What a person can do about an error of vel::Client: phrases for messages, in English, without a
// capital letter at their start and a full stop at their end.
//
//   std::cerr << error.message() << "; " << vel::remedyFor(error) << '\n';

#ifndef VEL_CLIENT_ADVICE_H
#define VEL_CLIENT_ADVICE_H

#include <string_view>

#include "vel/client/error.h"
#include "vel/protocol/meanings.h"

namespace vel {
inline namespace VEL_CLIENT_VARIANT {

// The meaning of the status with which velsim has refused. Null: the error is no refusal, or the
// number has no meaning here. Another service may use the numbers otherwise.
inline const velprotocol::Meaning* refusalMeaning(const Error& error) {
  for (const velprotocol::Meaning& row : velprotocol::kStatuses) {
    if (error.status() == row.number) {
      return &row;
    }
  }
  return nullptr;
}

// Empty: the text of the error says what to do.
constexpr std::string_view remedyFor(ErrorKind kind) {
  switch (kind) {
    case ErrorKind::kNoBus:
      return "start it, or set QXBUS_ADDRESS to the address of another";
    case ErrorKind::kNoService:
      return "start velserviced, or velsim to try without hardware";
    case ErrorKind::kUnknownVm:
      return "choose a VM that the service knows";
    case ErrorKind::kNoReply:
      return "try again; if the service hangs, end it and start it";
    case ErrorKind::kRefused:
    case ErrorKind::kErrorReply:
    case ErrorKind::kBadReply:
      return "see the service's log";
    case ErrorKind::kNoThread:
      return "end other programs, and try again";
    case ErrorKind::kRefusedArgument:
      break;
  }
  return {};
}

// The same, for a refusal by its status.
inline std::string_view remedyFor(const Error& error) {
  using velprotocol::Status;
  switch (static_cast<Status>(error.status().value_or(0))) {
    case Status::kUnknownVm:
      return remedyFor(ErrorKind::kUnknownVm);
    case Status::kNotConnected:
      return "connect the VM first";
    case Status::kUnknownDevice:
    case Status::kUnknownPrinter:
      return "check that it is plugged in";
    case Status::kBusy:
      return "detach it from the other VM first";
    case Status::kNotAttached:
      return "read the list again";
    case Status::kForbidden:
      return "change its policy, or allow it on this machine";
    default:
      return remedyFor(error.kind());
  }
}

}  // namespace VEL_CLIENT_VARIANT
}  // namespace vel

#endif  // VEL_CLIENT_ADVICE_H
