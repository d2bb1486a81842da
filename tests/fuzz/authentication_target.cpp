// Both sides of the authentication, in any bytes and pieces: the server held against a server of
// libdbus, the client against its rule in another form (libdbus tries other mechanisms meanwhile).
// Covers: bus/dbus/wire/authentication.cpp

#include "bus/dbus/wire/authentication.h"

#include <memory>
#include <optional>
#include <vector>

#include <unistd.h>

#include "base/text.h"
#include "tests/fuzz/libdbus_server.h"
#include "tests/fuzz/target.h"

namespace fuzz::authentication {
namespace {

using qxbus::wire::AuthenticationState;
using qxbus::wire::ClientAuthentication;
using qxbus::wire::ServerAuthentication;

constexpr std::string_view kLineEnd = "\r\n";

// --- One side of ours ----------------------------------------------------------------------------

struct Outcome {
  AuthenticationState state = AuthenticationState::kPending;
  std::size_t used = 0;  // of all bytes
  std::string answer;
};

template <typename Side>
Outcome converse(Side* side, const std::vector<std::string_view>& pieces) {
  Outcome outcome;
  std::string waiting;
  outcome.answer = side->takeOutput();
  for (const std::string_view piece : pieces) {
    waiting += piece;
    const std::size_t used = side->receive(waiting);
    require(used <= waiting.size(), "no more bytes are used than there are");
    waiting.erase(0, used);
    outcome.used += used;
    outcome.answer += side->takeOutput();
  }
  outcome.state = side->state();
  require(side->reason().empty() == (outcome.state != AuthenticationState::kFailed),
          "a failure has a reason");
  return outcome;
}

std::vector<std::string> linesIn(std::string_view text) {
  std::vector<std::string> lines;
  for (std::size_t end = text.find(kLineEnd); end != std::string_view::npos;
       end = text.find(kLineEnd)) {
    lines.emplace_back(text.substr(0, end));
    text.remove_prefix(end + kLineEnd.size());
  }
  return lines;
}

// --- Server --------------------------------------------------------------------------------------

// The texts of errors are for people, and descriptors a matter of choice.
std::string kindOf(const std::string& line) {
  const std::string word = line.substr(0, line.find(' '));
  return word == "AGREE_UNIX_FD" ? "ERROR" : word;
}

// libdbus admits a user by other texts too (a name, a number with zeroes in front), and reads an
// odd number of digits.
bool isStricter(const std::string& request, const std::string& ours, const std::string& theirs) {
  const auto identity = base::parseHex(request.substr(request.rfind(' ') + 1));
  return identity ? ours == "REJECTED" && theirs == "OK" && *identity != std::to_string(::geteuid())
                  : ours == "ERROR" && (theirs == "REJECTED" || theirs == "OK");
}

void checkServer(const std::vector<std::string_view>& pieces, const std::string& all) {
  ServerAuthentication server(::geteuid(), "0123456789abcdef0123456789abcdef");
  const Outcome ours = converse(&server, pieces);
  const std::vector<std::string> requests = linesIn(all.substr(0, ours.used));
  require(ours.state != AuthenticationState::kDone || all.front() == '\0',
          "a client begins with NUL");
  // A limit that libdbus does not have. It looks at the first byte before there is a line, and
  // takes tabs for blanks, which the protocol does not.
  constexpr std::size_t kMostLines = 64;
  if (requests.size() >= kMostLines || all.empty() || all.front() != '\0' ||
      all.find('\t') != std::string::npos) {
    return;
  }
  static const auto libdbus = std::make_unique<LibdbusServer>();
  // What follows the authentication are messages.
  const bool isOver = ours.state != AuthenticationState::kPending;
  const LibdbusServer::Verdict theirs =
      isOver ? libdbus->converse({std::string_view(all).substr(0, ours.used)})
             : libdbus->converse(pieces);

  const std::vector<std::string> ourLines = linesIn(ours.answer);
  const std::vector<std::string> theirLines = linesIn(theirs.answer);
  for (std::size_t i = 0; i < std::min(ourLines.size(), theirLines.size()); ++i) {
    const std::string ourKind = kindOf(ourLines[i]);
    const std::string theirKind = kindOf(theirLines[i]);
    if (i < requests.size() && isStricter(requests[i], ourKind, theirKind)) {
      return;
    }
    require(ourKind == theirKind, "answers " + ourLines[i] + ", libdbus " + theirLines[i]);
  }
  // libdbus answers before it gives up, too.
  const bool hasGivenUp = ours.state == AuthenticationState::kFailed;
  const bool isLastAnswer = hasGivenUp && theirLines.size() == ourLines.size() + 1 &&
                            kindOf(theirLines.back()) == "REJECTED";
  require(ourLines.size() == theirLines.size() || isLastAnswer, "as many answers as libdbus gives");
  require((ours.state == AuthenticationState::kDone) == theirs.isAuthenticated,
          "the client is authenticated or not");
  require((ours.state == AuthenticationState::kFailed) == !theirs.isConnected,
          "the connection is of no use");
}

// A user who is not admitted never is, whatever the bytes.
void checkRefusedUser(const std::vector<std::string_view>& pieces) {
  ServerAuthentication server(std::nullopt, "0123456789abcdef0123456789abcdef");
  const Outcome ours = converse(&server, pieces);
  require(ours.state != AuthenticationState::kDone, "no client is admitted");
  require(ours.answer.find("OK") == std::string::npos, "no client learns so");
}

// --- Client --------------------------------------------------------------------------------------

// The first line decides.
void checkClient(const std::vector<std::string_view>& pieces, const std::string& all) {
  ClientAuthentication client(::geteuid());
  const Outcome ours = converse(&client, pieces);
  const std::vector<std::string> lines = linesIn(all);
  if (lines.empty()) {
    return require(ours.used == 0 && (ours.state == AuthenticationState::kPending) ==
                                         (all.size() <= std::size_t{16} * 1024),
                   "the client waits for a line");
  }
  const std::string& line = lines.front();
  const bool isOk = line == "OK" || line.rfind("OK ", 0) == 0;
  require(ours.state == (isOk ? AuthenticationState::kDone : AuthenticationState::kFailed),
          "the client's verdict");
  require(!isOk || ours.used == line.size() + kLineEnd.size(), "the rest belongs to the messages");
  require((ours.answer.find("BEGIN\r\n") != std::string::npos) == isOk, "BEGIN after OK only");
  const std::size_t start = line.find_first_not_of(' ', 2);
  const std::string guid = start == std::string::npos ? "" : line.substr(start);
  require(!isOk || client.guid() == guid.substr(0, guid.find(' ')), "the guid of the server");
}

// --- The target ----------------------------------------------------------------------------------

void run(Input& input) {
  const std::uint8_t kind = input.byte();
  std::vector<std::string_view> pieces;
  if ((kind & 4) == 0) {
    pieces.push_back(input.rest());
  }
  while (!input.isEmpty()) {
    pieces.push_back(input.piece());
  }
  std::string all;
  for (const std::string_view piece : pieces) {
    all += piece;
  }
  if ((kind & 3) == 0) {
    checkClient(pieces, all);
  } else if ((kind & 3) == 1) {
    checkRefusedUser(pieces);
  } else {
    checkServer(pieces, all);
  }
}

const Registration registration("authentication", run);

}  // namespace
}  // namespace fuzz::authentication
