// The early end of a command.

#ifndef VEL_APPS_LOCAL_VELCTL_FAILURE_H
#define VEL_APPS_LOCAL_VELCTL_FAILURE_H

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

#include "vel/apps/local/velctl/exit_codes.h"
#include "vel/apps/local/velctl/output/json.h"

namespace velctl {

// The text names the request, the reason and the remedy.
class Failure : public std::runtime_error {
 public:
  Failure(ExitCode code, const std::string& text, std::optional<std::int32_t> status = std::nullopt,
          std::string method = {})
      : std::runtime_error(text), code_(code), status_(status), method_(std::move(method)) {}

  ExitCode code() const { return code_; }
  // With which the service has refused.
  std::optional<std::int32_t> status() const { return status_; }
  // Of the request that has failed; empty: there was none.
  const std::string& method() const { return method_; }

  // The same failure of a command that has a part of its answer: the members stand before the error
  // in the JSON form. Its text form is written before the failure is thrown.
  Failure with(Json members) const {
    Failure failure = *this;
    failure.known_ = std::move(members);
    return failure;
  }
  const Json& known() const { return known_; }

 private:
  ExitCode code_;
  std::optional<std::int32_t> status_;
  std::string method_;
  Json known_ = Json::object();
};

// Nobody reads standard output any longer.
class OutputClosed : public Failure {
 public:
  OutputClosed() : Failure(kExitOutputLost, "writing to standard output: the pipe is closed") {}
};

}  // namespace velctl

#endif  // VEL_APPS_LOCAL_VELCTL_FAILURE_H
