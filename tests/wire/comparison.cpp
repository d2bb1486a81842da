#include "tests/wire/comparison.h"

#include <cstddef>
#include <memory>
#include <optional>

#include <dbus/dbus.h>

#include "base/text.h"
#include "bus/dbus/wire/address.h"
#include "bus/dbus/wire/message.h"
#include "tests/wire/libdbus.h"

namespace wiretest {
namespace {

using namespace qxbus::wire;

// The system does not matter to what is compared.
const char* emptyEnvironment(const char* /*name*/) {
  return nullptr;
}
constexpr System kSystem = {emptyEnvironment, true, nullptr};

class ParsedByLibdbus {
 public:
  explicit ParsedByLibdbus(const std::string& list)
      : isWellFormed_(dbus_parse_address(list.c_str(), &entries_, &count_, nullptr) != FALSE) {}
  ~ParsedByLibdbus() {
    if (entries_) {
      dbus_address_entries_free(entries_);
    }
  }

  ParsedByLibdbus(const ParsedByLibdbus&) = delete;
  ParsedByLibdbus& operator=(const ParsedByLibdbus&) = delete;

  bool isWellFormed() const { return isWellFormed_; }

  // The first value of a key of the only entry; nullopt for more entries, another transport, or
  // without the key.
  std::optional<std::string> onlyUnix(const char* key) const {
    if (count_ != 1 || std::string_view(dbus_address_entry_get_method(entries_[0])) != "unix") {
      return std::nullopt;
    }
    const char* const value = dbus_address_entry_get_value(entries_[0], key);
    return value ? std::optional<std::string>(value) : std::nullopt;
  }

 private:
  DBusAddressEntry** entries_ = nullptr;
  int count_ = 0;
  bool isWellFormed_;
};

bool isMalformed(const std::string& list, const base::Result<SocketAddresses>& addresses) {
  return !addresses && (addresses.reason() == "the address is empty" ||
                        addresses.reason().rfind(
                            "the address " + base::quoted(list) + " is malformed at ", 0) == 0);
}

std::string pathOf(const SocketAddress& address) {
  const std::size_t size = address.size - offsetof(sockaddr_un, sun_path);
  const std::string_view name(address.socket.sun_path, size);
  return std::string(name.substr(0, size - 1));
}

}  // namespace

std::string compareMessage(std::string_view bytes, Verdicts* verdicts) {
  const Frame frame = frameOf(bytes);
  const int needed =
      dbus_message_demarshal_bytes_needed(bytes.data(), static_cast<int>(bytes.size()));
  if (frame.fault != Fault::kNone || needed < 0) {
    ++verdicts->unframed;
    return (frame.fault != Fault::kNone) == (needed < 0) ? "" : "the frame's verdict";
  }
  if (frame.size != static_cast<std::size_t>(needed)) {
    return "the size of the message";
  }
  // libdbus reads bytes behind the message as another one.
  bytes = bytes.substr(0, frame.size);
  Message ours;
  const Fault fault = readMessage(bytes, &ours);
  const DBusMessageRef theirs = parsedByLibdbus(bytes);
  if ((fault == Fault::kNone) != (theirs != nullptr)) {
    return std::string("the verdict; the codec says that ") + reasonOf(fault);
  }
  ++(theirs ? verdicts->valid : verdicts->invalid);
  return theirs ? difference(ours, theirs.get()) : "";
}

std::string compareAddresses(const std::string& list, bool* isWellFormed) {
  const ParsedByLibdbus theirs(list);
  const auto ours = parseAddresses(list, kSystem);
  *isWellFormed = theirs.isWellFormed();
  if (isMalformed(list, ours) == theirs.isWellFormed()) {
    return "the verdict; ours is " + (ours ? "an address" : ours.reason());
  }
  const bool isPath = ours && ours->usable.size() == 1 && theirs.onlyUnix("path");
  if (isPath && pathOf(ours->usable.front()) != theirs.onlyUnix("path")) {
    return "the path; ours is " + pathOf(ours->usable.front());
  }
  if (isPath && ours->usable.front().guid != theirs.onlyUnix("guid").value_or("")) {
    return "the guid; ours is " + ours->usable.front().guid;
  }
  return "";
}

std::string compareEscaped(const std::string& value) {
  const std::unique_ptr<char, void (*)(void*)> theirs(dbus_address_escape_value(value.c_str()),
                                                      dbus_free);
  return escaped(value) == theirs.get() ? "" : "ours is " + escaped(value);
}

}  // namespace wiretest
