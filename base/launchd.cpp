#include "base/launchd.h"

#include <chrono>

#include "base/program_output.h"

namespace base {

std::optional<std::string> launchdVariable(const std::string& name, const std::string& launchctl) {
  constexpr std::chrono::milliseconds kLimit{1000};
  Result<std::string> value = outputOf({launchctl, "getenv", name}, kLimit);
  if (!value) {
    return std::nullopt;
  }
  if (!value->empty() && value->back() == '\n') {
    value->pop_back();
  }
  return value->empty() ? std::nullopt : std::optional(std::move(*value));
}

}  // namespace base
