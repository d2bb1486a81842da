#include "bus/dbus/wire/address.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <utility>

#include "base/launchd.h"
#include "base/text.h"

namespace qxbus::wire {
namespace {

using base::Failed;
using base::Result;

// --- The text of an address ----------------------------------------------------------------------

struct Entry {
  std::string_view text;
  std::string_view transport;
  std::vector<std::pair<std::string_view, std::string>> values;  // by key, in their order

  // The first value of the key; null without one.
  const std::string* value(std::string_view key) const {
    const auto found = std::find_if(values.begin(), values.end(),
                                    [key](const auto& each) { return each.first == key; });
    return found == values.end() ? nullptr : &found->second;
  }
};

bool needsNoEscape(char c) {
  constexpr std::string_view kOthers = "-_/\\*.";
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
         kOthers.find(c) != std::string_view::npos;
}

// Up to the separator, which is removed too, or the end.
std::string_view takeUntil(char separator, std::string_view* text) {
  const std::string_view taken = text->substr(0, text->find(separator));
  text->remove_prefix(std::min(taken.size() + 1, text->size()));
  return taken;
}

class Parser {
 public:
  explicit Parser(std::string_view list) : list_(list) {}

  Result<std::vector<Entry>> parse() const {
    if (list_.empty()) {
      return Failed{"the address is empty"};
    }
    std::vector<Entry> entries;
    for (std::string_view rest = list_; !rest.empty();) {
      auto entry = parseEntry(takeUntil(';', &rest));
      if (!entry) {
        return entry.failed();
      }
      entries.push_back(std::move(*entry));
    }
    return entries;
  }

 private:
  // where      the part of the list that is wrong
  Failed malformed(std::string_view where, const std::string& reason) const {
    const std::ptrdiff_t character = where.data() - list_.data() + 1;
    return Failed{"the address " + base::quoted(list_) + " is malformed at character " +
                  std::to_string(character) + ": " + reason};
  }

  Result<Entry> parseEntry(std::string_view text) const {
    Entry entry;
    entry.text = text;
    if (text.find(':') == std::string_view::npos) {
      return malformed(text, "no colon follows the transport");
    }
    entry.transport = takeUntil(':', &text);
    while (!text.empty()) {
      const std::string_view pair = takeUntil(',', &text);
      const std::size_t equals = pair.find('=');
      if (equals == std::string_view::npos || equals == 0 || equals + 1 == pair.size()) {
        return malformed(pair, base::quoted(pair) + " is not a key, '=' and a value");
      }
      auto value = unescaped(pair.substr(equals + 1));
      if (!value) {
        return value.failed();
      }
      entry.values.emplace_back(pair.substr(0, equals), std::move(*value));
    }
    return entry;
  }

  Result<std::string> unescaped(std::string_view text) const {
    std::string value;
    while (!text.empty()) {
      if (text.front() == '%') {
        const auto byte = base::parseHex(text.substr(1, 2));
        if (!byte || byte->empty()) {
          return malformed(text, "two hexadecimal digits must follow '%'");
        }
        value += *byte;
        text.remove_prefix(3);
      } else if (needsNoEscape(text.front())) {
        value += text.front();
        text.remove_prefix(1);
      } else {
        return malformed(text, "the character must be escaped as '%' and two digits");
      }
    }
    return value;
  }

  std::string_view list_;
};

// --- Its socket ----------------------------------------------------------------------------------

Result<SocketAddress> socketOf(std::string_view name, bool isAbstract) {
  SocketAddress address;
  address.socket.sun_family = AF_UNIX;
  // An abstract name begins with a NUL; a path ends with one.
  if (name.size() + 1 > sizeof address.socket.sun_path) {
    return Failed{"the name of the socket is longer than " +
                  std::to_string(sizeof address.socket.sun_path - 1) + " bytes"};
  }
  if (name.empty()) {
    return Failed{"the name of the socket is empty"};
  }
  std::memcpy(address.socket.sun_path + (isAbstract ? 1 : 0), name.data(), name.size());
  address.size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + name.size());
  return address;
}

Result<SocketAddress> runtimeSocket(const std::string& value, const System& system) {
  if (value != "yes") {
    return Failed{"the value of \"runtime\" can only be \"yes\""};
  }
  const char* const directory = system.environment("XDG_RUNTIME_DIR");
  if (!directory || *directory == '\0') {
    return Failed{"XDG_RUNTIME_DIR is not set"};
  }
  return socketAddressOf(std::string(directory) + "/bus");
}

Result<SocketAddress> unixSocket(const Entry& entry, const System& system) {
  static constexpr std::string_view kPlaces[] = {"path", "abstract", "runtime", "dir", "tmpdir"};
  const auto isPlace = [](const auto& value) {
    return std::find(std::begin(kPlaces), std::end(kPlaces), value.first) != std::end(kPlaces);
  };
  const auto place = std::find_if(entry.values.begin(), entry.values.end(), isPlace);
  if (std::count_if(entry.values.begin(), entry.values.end(), isPlace) != 1) {
    return Failed{"a client needs one of \"path\", \"abstract\" and \"runtime\""};
  }
  const auto& [key, value] = *place;
  if (key == "path") {
    return socketAddressOf(value);
  }
  if (key == "runtime") {
    return runtimeSocket(value, system);
  }
  if (key != "abstract") {
    return Failed{base::quoted(key) + " is for servers: it does not say where one listens"};
  }
  return system.hasAbstractSockets ? socketOf(value, true)
                                   : Failed{"this system has no abstract sockets"};
}

Result<SocketAddress> launchdSocket(const Entry& entry, const System& system) {
  if (!system.launchdVariable) {
    return Failed{"this system has no launchd"};
  }
  const std::string* const variable = entry.value("env");
  if (!variable) {
    return Failed{"\"env\", which names a variable, is missing"};
  }
  // Programs that launchd has started have its variables.
  if (const char* const path = system.environment(variable->c_str()); path && *path != '\0') {
    return socketAddressOf(path);
  }
  const std::optional<std::string> path = system.launchdVariable(*variable);
  return path ? socketAddressOf(*path) : Failed{"the variable " + *variable + " is not set"};
}

Result<SocketAddress> resolve(const Entry& entry, const System& system) {
  if (entry.transport == "unix") {
    return unixSocket(entry, system);
  }
  if (entry.transport == "launchd") {
    return launchdSocket(entry, system);
  }
  static constexpr std::string_view kKnown[] = {"tcp", "nonce-tcp", "unixexec", "autolaunch",
                                                "systemd"};
  const bool isKnown =
      std::find(std::begin(kKnown), std::end(kKnown), entry.transport) != std::end(kKnown);
  return Failed{"the transport " + base::quoted(entry.transport) +
                (isKnown ? " is not supported" : " is unknown")};
}

}  // namespace

System System::current() {
  System system = {};
  system.environment = [](const char* name) -> const char* { return std::getenv(name); };
#if defined(__linux__)
  system.hasAbstractSockets = true;
#endif
#if defined(__APPLE__)
  system.launchdVariable = [](const std::string& name) { return base::launchdVariable(name); };
#endif
  return system;
}

Result<SocketAddresses> parseAddresses(std::string_view list, const System& system) {
  const auto entries = Parser(list).parse();
  if (!entries) {
    return entries.failed();
  }
  SocketAddresses addresses;
  for (const Entry& entry : *entries) {
    auto address = resolve(entry, system);
    if (!address) {
      addresses.refused.push_back(std::string(entry.text) + ": " + address.reason());
      continue;
    }
    address->text = entry.text;
    if (const std::string* const guid = entry.value("guid")) {
      address->guid = *guid;
    }
    addresses.usable.push_back(std::move(*address));
  }
  if (addresses.usable.empty()) {
    return Failed{base::joined(addresses.refused, "; ")};
  }
  return addresses;
}

Result<SocketAddress> socketAddressOf(std::string_view path) {
  if (path.find('\0') != std::string_view::npos) {
    return Failed{"the path of the socket holds a NUL"};
  }
  auto address = socketOf(path, false);
  if (address) {
    address->text = "unix:path=" + escaped(path);
  }
  return address;
}

std::string escaped(std::string_view value) {
  std::string text;
  for (const char c : value) {
    if (needsNoEscape(c)) {
      text += c;
    } else {
      text += '%';
      base::appendHex(&text, static_cast<unsigned char>(c));
    }
  }
  return text;
}

}  // namespace qxbus::wire
