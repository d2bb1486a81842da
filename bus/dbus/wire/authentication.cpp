#include "bus/dbus/wire/authentication.h"

#include <algorithm>
#include <utility>

#include "base/text.h"

namespace qxbus::wire {
namespace {

constexpr std::string_view kLineEnd = "\r\n";
// Both are limits of libdbus, too.
constexpr std::size_t kLongestLine = std::size_t{16} * 1024;
constexpr int kMostRejections = 6;
// Of a client that neither succeeds nor gives up.
constexpr int kMostLines = 64;

constexpr std::string_view kMechanism = "EXTERNAL";

// The first word, which is removed from the line with the blanks behind it.
std::string_view takeWord(std::string_view* line) {
  const std::string_view word = line->substr(0, line->find(' '));
  line->remove_prefix(word.size());
  line->remove_prefix(std::min(line->find_first_not_of(' '), line->size()));
  return word;
}

bool isAscii(std::string_view text) {
  return std::all_of(text.begin(), text.end(),
                     [](char c) { return c != '\0' && static_cast<unsigned char>(c) < 0x80; });
}

std::string describedLine(std::string_view line) {
  constexpr std::size_t kMost = 100;
  return isAscii(line) ? base::quoted(line.substr(0, kMost)) : "a line that is not text";
}

}  // namespace

std::size_t Authentication::receive(std::string_view bytes) {
  std::size_t done = 0;
  while (state_ == AuthenticationState::kPending) {
    const std::string_view rest = bytes.substr(done);
    const std::size_t length = rest.find(kLineEnd);
    if (std::min(length, rest.size()) > kLongestLine || lines_ == kMostLines) {
      fail("the authentication is longer than it may be");
      break;
    }
    if (length == std::string_view::npos) {
      break;
    }
    ++lines_;
    done += length + kLineEnd.size();
    handle(rest.substr(0, length));
  }
  return done;
}

std::string Authentication::takeOutput() {
  return std::exchange(output_, std::string());
}

void Authentication::send(std::string_view line) {
  output_ += line;
  output_ += kLineEnd;
}

void Authentication::fail(const std::string& reason) {
  state_ = AuthenticationState::kFailed;
  reason_ = reason;
}

// --- Client --------------------------------------------------------------------------------------

ClientAuthentication::ClientAuthentication(std::uint32_t user) {
  std::string line(1, '\0');
  line += "AUTH ";
  line += kMechanism;
  send(line + ' ' + base::hexOf(std::to_string(user)));
}

void ClientAuthentication::handle(std::string_view line) {
  std::string_view arguments = line;
  const std::string_view command = takeWord(&arguments);
  if (command == "OK") {
    guid_ = takeWord(&arguments);
    send("BEGIN");
    finish();
  } else if (command == "REJECTED") {
    fail("the server does not admit this user" +
         (arguments.empty() ? "" : "; it offers " + describedLine(arguments)));
  } else {
    fail("the server answered the authentication with " + describedLine(line));
  }
}

// --- Server --------------------------------------------------------------------------------------

ServerAuthentication::ServerAuthentication(std::optional<std::uint32_t> user, std::string guid)
    : user_(user), guid_(std::move(guid)) {}

void ServerAuthentication::reject() {
  if (++rejections_ == kMostRejections) {
    return fail("the client was rejected too often");
  }
  expected_ = Expected::kAuth;
  send("REJECTED " + std::string(kMechanism));
}

void ServerAuthentication::admit(std::string_view identity) {
  const auto name = base::parseHex(identity);
  if (!name) {
    return send("ERROR \"The identity is not in hexadecimal digits\"");
  }
  if (!user_ || (!name->empty() && *name != std::to_string(*user_))) {
    return reject();
  }
  expected_ = Expected::kBegin;
  send("OK " + guid_);
}

void ServerAuthentication::handleAuth(std::string_view arguments) {
  const bool isSupported = takeWord(&arguments) == kMechanism;
  if (!isSupported) {
    return reject();
  }
  if (arguments.empty()) {
    expected_ = Expected::kData;
    return send("DATA");
  }
  admit(arguments);
}

void ServerAuthentication::handle(std::string_view line) {
  if (!hasGreeted_) {
    if (line.empty() || line.front() != '\0') {
      return fail("the first byte from the client is not NUL");
    }
    hasGreeted_ = true;
    line.remove_prefix(1);
  }
  if (!isAscii(line)) {
    return send("ERROR \"The line is not ASCII\"");
  }
  const std::string_view command = takeWord(&line);
  if (command == "BEGIN") {
    return expected_ == Expected::kBegin
               ? finish()
               : fail("the client began without having been authenticated");
  }
  if (command == "AUTH" && expected_ == Expected::kAuth) {
    return handleAuth(line);
  }
  if (command == "DATA" && expected_ == Expected::kData) {
    return admit(line);
  }
  if (command == "ERROR" || (command == "CANCEL" && expected_ != Expected::kAuth)) {
    return reject();
  }
  if (command == "NEGOTIATE_UNIX_FD") {
    return send("ERROR \"File descriptors are not supported\"");
  }
  send("ERROR \"The command is unknown, or not expected now\"");
}

}  // namespace qxbus::wire
