#include "bus/dbus/wire/authentication.h"

#include <string>
#include <string_view>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace qxbus::wire;
using namespace std::string_literals;
using testing::HasSubstr;

constexpr std::uint32_t kUser = 1000;
constexpr const char* kUserInHex = "31303030";
constexpr const char* kGuid = "0123456789abcdef0123456789abcdef";
const std::string kGreeting = "\0AUTH EXTERNAL 31303030\r\n"s;

// --- Client --------------------------------------------------------------------------------------

TEST(ClientAuthenticationTest, BeginsWithTheUser) {
  ClientAuthentication client(kUser);

  EXPECT_EQ(client.takeOutput(), kGreeting);
  EXPECT_EQ(client.takeOutput(), "");
  EXPECT_EQ(client.state(), AuthenticationState::kPending);
}

TEST(ClientAuthenticationTest, IsDoneWhenTheServerAgrees) {
  ClientAuthentication client(kUser);
  client.takeOutput();
  const std::string line = "OK " + std::string(kGuid) + "\r\n";

  EXPECT_EQ(client.receive(line), line.size());

  EXPECT_EQ(client.state(), AuthenticationState::kDone);
  EXPECT_EQ(client.takeOutput(), "BEGIN\r\n");
  EXPECT_EQ(client.guid(), kGuid);
}

TEST(ClientAuthenticationTest, LeavesWhatFollowsToTheMessages) {
  ClientAuthentication client(kUser);
  const std::string line = "OK 12\r\n";

  EXPECT_EQ(client.receive(line + "l\r\n"), line.size());
  EXPECT_EQ(client.receive("l\r\n"), 0u);
}

TEST(ClientAuthenticationTest, WaitsForTheWholeLine) {
  const std::string line = "OK 12\r\n";
  for (std::size_t size = 0; size < line.size(); ++size) {
    ClientAuthentication client(kUser);

    EXPECT_EQ(client.receive(line.substr(0, size)), 0u);
    EXPECT_EQ(client.state(), AuthenticationState::kPending);
    EXPECT_EQ(client.receive(line), line.size());
    EXPECT_EQ(client.state(), AuthenticationState::kDone);
  }
}

struct FailureRow {
  const char* name;
  std::string received;
  const char* reason;
};

const FailureRow kFailures[] = {
    {"Rejected", "REJECTED EXTERNAL DBUS_COOKIE_SHA1\r\n",
     "the server does not admit this user; it offers \"EXTERNAL DBUS_COOKIE_SHA1\""},
    {"RejectedWithoutAnOffer", "REJECTED\r\n", "the server does not admit this user"},
    {"Error", "ERROR \"busy\"\r\n", "answered the authentication with \"ERROR \"busy\"\""},
    {"Challenge", "DATA\r\n", "answered the authentication with \"DATA\""},
    {"EmptyLine", "\r\n", "answered the authentication with \"\""},
    {"NotADBusServer", "HTTP/1.1 400 Bad Request\r\n", "\"HTTP/1.1 400 Bad Request\""},
    {"Binary", "\xFF\x01\r\n", "a line that is not text"},
    {"TooLong", std::string(17000, 'x'), "longer than it may be"},
};

class ClientFailureTest : public testing::TestWithParam<FailureRow> {};

TEST_P(ClientFailureTest, HasAReason) {
  ClientAuthentication client(kUser);
  client.takeOutput();

  client.receive(GetParam().received);

  EXPECT_EQ(client.state(), AuthenticationState::kFailed);
  EXPECT_THAT(client.reason(), HasSubstr(GetParam().reason));
  EXPECT_EQ(client.takeOutput(), "");
}

INSTANTIATE_TEST_SUITE_P(Answers, ClientFailureTest, testing::ValuesIn(kFailures),
                         [](const auto& tested) { return tested.param.name; });

// --- Server --------------------------------------------------------------------------------------

struct Step {
  std::string received;
  std::string sent;
};

struct DialogueRow {
  const char* name;
  std::vector<Step> steps;
  AuthenticationState state;
};

const std::string kOk = "OK " + std::string(kGuid) + "\r\n";
const std::string kRejected = "REJECTED EXTERNAL\r\n";
const std::string kUnexpected = "ERROR \"The command is unknown, or not expected now\"\r\n";

const DialogueRow kDialogues[] = {
    {"OfOurClient", {{kGreeting, kOk}, {"BEGIN\r\n", ""}}, AuthenticationState::kDone},
    {"AtOnce", {{kGreeting + "BEGIN\r\n", kOk}}, AuthenticationState::kDone},
    {"WithoutAnIdentity",
     {{"\0AUTH EXTERNAL\r\n"s, "DATA\r\n"}, {"DATA\r\n", kOk}, {"BEGIN\r\n", ""}},
     AuthenticationState::kDone},
    {"WithTheIdentityLater",
     {{"\0AUTH EXTERNAL\r\n"s, "DATA\r\n"}, {"DATA 31303030\r\n", kOk}},
     AuthenticationState::kPending},
    {"AfterAQuestionForMechanisms",
     {{"\0AUTH\r\n"s, kRejected}, {kGreeting.substr(1), kOk}, {"BEGIN\r\n", ""}},
     AuthenticationState::kDone},
    {"AfterAnotherMechanism",
     {{"\0AUTH DBUS_COOKIE_SHA1 31303030\r\n"s, kRejected}, {kGreeting.substr(1), kOk}},
     AuthenticationState::kPending},
    {"WithAnEmptyFirstLine", {{"\r\n", ""}}, AuthenticationState::kFailed},
    {"WithANulInALine",
     {{"\0AUTH\0\r\n"s, "ERROR \"The line is not ASCII\"\r\n"}},
     AuthenticationState::kPending},
    {"OfAnotherUser", {{"\0AUTH EXTERNAL 30\r\n"s, kRejected}}, AuthenticationState::kPending},
    {"OfAUserWithTheSameBeginning",
     {{"\0AUTH EXTERNAL 3130303030\r\n"s, kRejected}},
     AuthenticationState::kPending},
    {"OfAUserInNoDigits",
     {{"\0AUTH EXTERNAL x\r\n"s, "ERROR \"The identity is not in hexadecimal digits\"\r\n"}},
     AuthenticationState::kPending},
    {"OfDescriptors",
     {{kGreeting, kOk},
      {"NEGOTIATE_UNIX_FD\r\n", "ERROR \"File descriptors are not supported\"\r\n"},
      {"BEGIN\r\n", ""}},
     AuthenticationState::kDone},
    {"CancelledBeforeAnything", {{"\0CANCEL\r\n"s, kUnexpected}}, AuthenticationState::kPending},
    {"CancelledWhileWaiting",
     {{"\0AUTH EXTERNAL\r\n"s, "DATA\r\n"}, {"CANCEL\r\n", kRejected}},
     AuthenticationState::kPending},
    {"CancelledBehindTheAgreement",
     {{kGreeting, kOk}, {"CANCEL\r\n", kRejected}, {"BEGIN\r\n", ""}},
     AuthenticationState::kFailed},
    {"AnsweredWithAnError",
     {{"\0AUTH EXTERNAL\r\n"s, "DATA\r\n"}, {"ERROR\r\n", kRejected}},
     AuthenticationState::kPending},
    {"OfDataTooEarly", {{"\0DATA 31303030\r\n"s, kUnexpected}}, AuthenticationState::kPending},
    {"OfDataTooLate", {{kGreeting, kOk}, {"DATA\r\n", kUnexpected}}, AuthenticationState::kPending},
    {"AuthenticatedTwice",
     {{kGreeting, kOk}, {kGreeting.substr(1), kUnexpected}},
     AuthenticationState::kPending},
    {"OfAnUnknownCommand",
     {{"\0HELLO\r\n"s, kUnexpected}, {kGreeting.substr(1), kOk}},
     AuthenticationState::kPending},
    {"OfOtherCharacters",
     {{"\0AUTH\xC3\xBC\r\n"s, "ERROR \"The line is not ASCII\"\r\n"}},
     AuthenticationState::kPending},
    {"BegunAtOnce", {{"\0BEGIN\r\n"s, ""}}, AuthenticationState::kFailed},
    {"BegunTooEarly",
     {{"\0AUTH EXTERNAL\r\n"s, "DATA\r\n"}, {"BEGIN\r\n", ""}},
     AuthenticationState::kFailed},
    {"WithoutNul", {{"AUTH EXTERNAL 31303030\r\n", ""}}, AuthenticationState::kFailed},
    {"OfALineWithoutAnEnd",
     {{"\0AUTH EXTERNAL"s + std::string(17000, '3'), ""}},
     AuthenticationState::kFailed},
};

class ServerDialogueTest : public testing::TestWithParam<DialogueRow> {};

TEST_P(ServerDialogueTest, GoesStepByStep) {
  ServerAuthentication server(kUser, kGuid);
  for (const Step& step : GetParam().steps) {
    const std::size_t done = server.receive(step.received);

    EXPECT_EQ(server.takeOutput(), step.sent);
    if (server.state() != AuthenticationState::kFailed) {
      EXPECT_EQ(done, step.received.size());
    }
  }
  EXPECT_EQ(server.state(), GetParam().state);
  EXPECT_EQ(server.reason().empty(), GetParam().state != AuthenticationState::kFailed);
}

// Each byte arrives on its own.
TEST_P(ServerDialogueTest, GoesByteByByte) {
  ServerAuthentication server(kUser, kGuid);
  std::string sent;
  std::string expected;
  std::string waiting;
  for (const Step& step : GetParam().steps) {
    expected += step.sent;
    for (const char byte : step.received) {
      waiting += byte;
      waiting.erase(0, server.receive(waiting));
      sent += server.takeOutput();
    }
  }
  EXPECT_EQ(sent, expected);
  EXPECT_EQ(server.state(), GetParam().state);
}

INSTANTIATE_TEST_SUITE_P(Dialogues, ServerDialogueTest, testing::ValuesIn(kDialogues),
                         [](const auto& tested) { return tested.param.name; });

TEST(ServerAuthenticationTest, RejectsAUserWhoIsNotAdmitted) {
  for (const std::string& data : {"DATA\r\n"s, "DATA "s + kUserInHex + "\r\n"}) {
    ServerAuthentication server(std::nullopt, kGuid);
    server.receive("\0AUTH EXTERNAL\r\n"s);
    server.takeOutput();

    server.receive(data);

    EXPECT_EQ(server.takeOutput(), kRejected);
    EXPECT_EQ(server.state(), AuthenticationState::kPending);
  }
}

TEST(ServerAuthenticationTest, LeavesWhatFollowsToTheMessages) {
  ServerAuthentication server(kUser, kGuid);
  const std::string lines = kGreeting + "BEGIN\r\n";

  EXPECT_EQ(server.receive(lines + "l\r\n"), lines.size());
}

TEST(ServerAuthenticationTest, GivesUpAtTheSixthRejection) {
  ServerAuthentication server(kUser, kGuid);
  EXPECT_EQ(server.receive("\0AUTH\r\n"s), 7u);
  for (int i = 1; i < 5; ++i) {
    server.receive("AUTH\r\n");
  }
  EXPECT_EQ(server.state(), AuthenticationState::kPending);

  server.receive("AUTH\r\n");

  EXPECT_EQ(server.state(), AuthenticationState::kFailed);
}

TEST(ServerAuthenticationTest, GivesUpOnAClientThatOnlyTalks) {
  ServerAuthentication server(kUser, kGuid);
  server.receive("\0HELLO\r\n"s);
  int lines = 1;
  while (server.state() == AuthenticationState::kPending && lines < 1000) {
    server.receive("HELLO\r\n");
    ++lines;
  }

  EXPECT_EQ(server.state(), AuthenticationState::kFailed);
}

TEST(AuthenticationTest, OurSidesAgree) {
  ClientAuthentication client(kUser);
  ServerAuthentication server(kUser, kGuid);

  server.receive(client.takeOutput());
  client.receive(server.takeOutput());
  server.receive(client.takeOutput());

  EXPECT_EQ(client.state(), AuthenticationState::kDone);
  EXPECT_EQ(server.state(), AuthenticationState::kDone);
  EXPECT_EQ(client.guid(), kGuid);
}

}  // namespace
