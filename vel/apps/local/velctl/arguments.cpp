#include "vel/apps/local/velctl/arguments.h"

#include <optional>
#include <string_view>
#include <utility>

#include "base/text.h"
#include "vel/apps/local/velctl/data_streams.h"
#include "vel/apps/local/velctl/display.h"
#include "vel/apps/local/velctl/failure.h"

namespace velctl {
namespace {

// Four hexadecimal digits.
std::optional<unsigned short> parseHex16(std::string_view digits) {
  constexpr std::size_t kBytes = 2;
  const std::optional<std::string> bytes = base::parseHex(digits);
  if (!bytes || bytes->size() != kBytes) {
    return std::nullopt;
  }
  const auto high = static_cast<unsigned char>((*bytes)[0]);
  const auto low = static_cast<unsigned char>((*bytes)[1]);
  return static_cast<unsigned short>(high << 8 | low);
}

std::string hex16(unsigned short number) {
  const char bytes[] = {static_cast<char>(number >> 8), static_cast<char>(number & 0xFF)};
  return base::hexOf({bytes, sizeof bytes});
}

}  // namespace

std::string numberRule(unsigned long long most) {
  return "must be a number from 0 to " + std::to_string(most) + ", decimal or 0x...";
}

ParserOption addNumber(const ParserCommand& command, const std::string& name,
                       unsigned long long most, const std::string& help,
                       std::function<void(unsigned long long)> take) {
  const auto read = [most, take = std::move(take)](const std::string& text) {
    const std::optional<unsigned long long> number = base::parseNumber(text, most);
    if (!number) {
      return text + ": " + numberRule(most);
    }
    take(*number);
    return std::string();
  };
  return command.addOption(name, read, help).typeName("NUMBER");
}

ParserOption addVm(const ParserCommand& command, std::string& vmId) {
  return command.addOption("--vm", vmId, kVmHelp).typeName("NAME");
}

std::string toText(vel::UsbId id) {
  return hex16(id.vendor) + ':' + hex16(id.product);
}

ParserOption addUsbId(const ParserCommand& command, vel::UsbId& id) {
  const auto read = [&id](const std::string& text) -> std::string {
    const std::string_view digits = text;
    const std::size_t colon = digits.find(':');
    const std::optional<unsigned short> vendor = parseHex16(digits.substr(0, colon));
    const std::optional<unsigned short> product =
        colon == std::string_view::npos ? std::nullopt : parseHex16(digits.substr(colon + 1));
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
  std::string text = readStandardInput();
  while (!text.empty() && text.back() == '\n') {
    text.pop_back();
  }
  return text;
}

void refuseLonger(const std::string& text, std::size_t most) {
  if (text.size() > most) {
    throw Failure(kExitUsage,
                  printableInQuotes(text) + " is longer than " + std::to_string(most) + " bytes");
  }
}

}  // namespace velctl
