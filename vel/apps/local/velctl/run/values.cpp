#include "vel/apps/local/velctl/run/values.h"

#include <cstdlib>

namespace velctl {
namespace {

std::uint16_t hex16(const std::string& digits) {
  constexpr int kHexadecimal = 16;
  return static_cast<std::uint16_t>(std::strtoul(digits.c_str(), nullptr, kHexadecimal));
}

}  // namespace

const Value* Values::find(const std::string& name) const {
  const auto found = values_.find(name);
  return found == values_.end() ? nullptr : &found->second;
}

std::string Values::text(const std::string& name) const {
  return optionalText(name).value_or("");
}

std::vector<std::string> Values::texts(const std::string& name) const {
  const Value* const value = find(name);
  return value ? value->texts : std::vector<std::string>();
}

std::optional<std::string> Values::optionalText(const std::string& name) const {
  const Value* const value = find(name);
  return value && !value->texts.empty() ? std::optional(value->texts.front()) : std::nullopt;
}

std::chrono::milliseconds Values::duration(const std::string& name) const {
  constexpr double kMsPerSecond = 1000;
  return std::chrono::milliseconds(
      static_cast<std::int64_t>(std::strtod(text(name).c_str(), nullptr) * kMsPerSecond));
}

vel::UsbId Values::usbId(const std::string& name) const {
  const std::string id = text(name);
  const std::size_t colon = id.find(':');
  return {hex16(id.substr(0, colon)), hex16(id.substr(colon + 1))};
}

}  // namespace velctl
