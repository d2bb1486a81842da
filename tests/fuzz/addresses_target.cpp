// Addresses of a bus, held against libdbus: a list, and a text as the value of a key.
// Covers: bus/dbus/wire/address.cpp

#include <optional>
#include <string>
#include <string_view>

#include "bus/dbus/wire/address.h"
#include "tests/fuzz/target.h"
#include "tests/wire/comparison.h"

namespace fuzz::addresses {
namespace {

const char* environment(const char* name) {
  return std::string_view(name) == "SOCKET" ? "/launchd/socket" : "/run/user/7";
}

std::optional<std::string> launchdVariable(const std::string& name) {
  return name == "LAUNCHD" ? std::optional<std::string>("/asked/socket") : std::nullopt;
}

void run(Input& input) {
  const bool isValue = input.flag();
  const std::string text(input.rest());
  const bool hasNul = text.find('\0') != std::string::npos;
  std::string list = text;
  if (isValue) {
    require(hasNul || wiretest::compareEscaped(text).empty(), "a text is escaped as in libdbus");
    list = "unix:path=" + qxbus::wire::escaped(text);
  }

  for (const bool hasEverything : {false, true}) {
    const qxbus::wire::System system = {environment, hasEverything,
                                        hasEverything ? launchdVariable : nullptr};
    const auto addresses = qxbus::wire::parseAddresses(list, system);
    require(addresses ? !addresses->usable.empty() : !addresses.reason().empty(),
            "there is a usable address, or a reason");
  }
  const auto socket = qxbus::wire::socketAddressOf(text);
  if (socket && !hasNul) {
    const auto again = qxbus::wire::parseAddresses(socket->text);
    require(again && again->usable.size() == 1, "a path has an address");
  }
  bool isWellFormed = false;
  // libdbus takes texts that end with a NUL.
  if (list.find('\0') == std::string::npos) {
    const std::string difference = wiretest::compareAddresses(list, &isWellFormed);
    require(difference.empty(), "differs from libdbus: " + difference);
  }
  require(!isValue || text.empty() || isWellFormed || hasNul, "an escaped path is well-formed");
}

const Registration registration("addresses", run);

}  // namespace
}  // namespace fuzz::addresses
