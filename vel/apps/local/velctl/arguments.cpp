#include "vel/apps/local/velctl/arguments.h"

#include <cstdio>
#include <iostream>
#include <iterator>
#include <optional>

namespace velctl {
namespace {

constexpr std::size_t kDigits = 4;

// Four hexadecimal digits.
std::optional<unsigned short> half(const std::string& digits) {
  constexpr unsigned long long kMost = 0xFFFF;
  const std::optional<unsigned long long> read = readNumber("0x" + digits, kMost);
  return digits.size() == kDigits && read ? std::optional(static_cast<unsigned short>(*read))
                                          : std::nullopt;
}

}  // namespace

ParserOption addVm(const ParserCommand& command, std::string& vmId) {
  return command.addOption("--vm", vmId, "Name of the VM; \"\" is this machine").typeName("NAME");
}

std::string shown(const UsbId& id) {
  char text[2 * kDigits + 2];
  std::snprintf(text, sizeof text, "%04x:%04x", static_cast<unsigned int>(id.vendor),
                static_cast<unsigned int>(id.product));
  return text;
}

ParserOption addUsbId(const ParserCommand& command, UsbId& id) {
  const auto read = [&id](const std::string& text) -> std::string {
    const std::size_t colon = text.find(':');
    const std::optional<unsigned short> vendor = half(text.substr(0, colon));
    const std::optional<unsigned short> product =
        colon == std::string::npos ? std::nullopt : half(text.substr(colon + 1));
    if (!vendor || !product) {
      return text + ": must be a USB vendor and product id, such as 046d:0825";
    }
    id = {*vendor, *product};
    return {};
  };
  return command.addOption("id", read, "USB vendor and product id, as lsusb shows them: 046d:0825")
      .required()
      .typeName("VID:PID");
}

std::string textOrStandardInput(const std::string& argument) {
  if (argument != "-") {
    return argument;
  }
  std::string text(std::istreambuf_iterator<char>(std::cin), {});
  while (!text.empty() && text.back() == '\n') {
    text.pop_back();
  }
  return text;
}

}  // namespace velctl
