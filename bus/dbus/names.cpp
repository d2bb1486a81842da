#include "bus/dbus/names.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

#include "bus/dbus/direct.h"
#include "bus/dbus/service_check.h"
#include "bus/dbus/session_bus.h"
#include "bus/dbus/wire/grammar.h"

namespace qxbus {
namespace {

constexpr char kPrefix[] = "qx.bus.";

std::string environment(const char* name) {
  const char* const value = std::getenv(name);
  return value ? value : "";
}

}  // namespace

std::string busNameOf(const std::string& service) {
  return kPrefix + service;
}

std::string objectPathOf(const std::string& service) {
  std::string path = "/" + busNameOf(service);
  std::replace(path.begin(), path.end(), '.', '/');
  return path;
}

bool isServiceName(const std::string& service) {
  // What an interface may be called, a bus and an object path may be called, too.
  return wire::isInterfaceName(busNameOf(service));
}

bool isMemberName(const std::string& member) {
  return wire::isMemberName(member);
}

BusAddress busAddressInUse() {
  using Source = BusAddress::Source;
  const std::pair<const char*, Source> variables[] = {
      {"QXBUS_ADDRESS", Source::kOwnVariable},
      {"DBUS_SESSION_BUS_ADDRESS", Source::kSessionVariable}};
  for (const auto& [variable, source] : variables) {
    std::string address = environment(variable);
    if (!address.empty()) {
      return {std::move(address), source};
    }
  }
  std::string session = sessionBus();
  return session.empty() ? BusAddress{kDirectAddress, Source::kDefault}
                         : BusAddress{std::move(session), Source::kSessionSocket};
}

std::string busAddress() {
  return busAddressInUse().text;
}

}  // namespace qxbus
