#include "vel/apps/local/velsim/recording/secrets.h"

#include <algorithm>
#include <iterator>
#include <variant>

#include "vel/protocol/methods.h"

namespace velsim {
namespace {

struct Place {
  std::string_view method;
  std::size_t argument;
};

constexpr Place kSecrets[] = {
    {velprotocol::method("updateDriveToken").name, 0},
    {velprotocol::method("addNetworkPrinter").name, 2},
    {velprotocol::method("addNetworkDevice").name, 1},
    {velprotocol::method("deleteNetworkDevice").name, 0},
    {velprotocol::method("deleteNetworkDevice").name, 1},
};

constexpr Place kIdentities[] = {
    {velprotocol::method("registerJoystickCallback").name, 0},
    {velprotocol::method("unregisterJoystickCallback").name, 0},
};

template <std::size_t count>
bool has(const Place (&places)[count], std::string_view method, std::size_t argument) {
  return std::any_of(std::begin(places), std::end(places), [&](const Place& place) {
    return place.method == method && place.argument == argument;
  });
}

}  // namespace

std::string withoutUsers(const std::string& text) {
  constexpr std::string_view kBegin = "://";
  std::string shown;
  std::size_t from = 0;
  for (std::size_t at = text.find(kBegin); at != std::string::npos; at = text.find(kBegin, from)) {
    const std::size_t host = at + kBegin.size();
    shown += text.substr(from, host - from);
    from = host;
    // The last "@" of the part in which a user may stand: a password may hold one, too.
    const std::size_t end = std::min(text.find_first_of("/?#\" \t\n", host), text.size());
    const std::size_t sign = text.rfind('@', end);
    if (sign != std::string::npos && sign >= host && sign < end) {
      shown += "masked";
      from = sign;
    }
  }
  return shown + text.substr(from);
}

bool isSecret(std::string_view method, std::size_t argument, const qxbus::Value& value) {
  const auto* const text = std::get_if<std::string>(&value);
  return has(kSecrets, method, argument) || (text && withoutUsers(*text) != *text);
}

bool differsEachTime(std::string_view method, std::size_t argument) {
  return has(kIdentities, method, argument);
}

}  // namespace velsim
