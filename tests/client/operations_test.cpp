// Every operation of vel::Client: its request, its value, and each kind of error.

#include <algorithm>
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <tuple>

#include "tests/client/client_test.h"
#include "tests/client/operations.h"
#include "vel/protocol/methods.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using vel::ErrorKind;

constexpr char kLookUpOfAVm[] = "getVmListSize";

// The service knows the VM and gives the good reply; the process has the VM's number already.
class ClientOperationTest : public ClientTest, public testing::WithParamInterface<ClientOperation> {
 protected:
  ClientOperationTest() {
    bus.knowsVm(kVm, kVmNumber);
    proxy->GetVmIdInt(kVm);
    bus.answer(operation().method(), operation().reply());
    // Of the subscription to joysticks.
    bus.answer("unregisterJoystickCallback", Reply().int32(0));
    forget();
  }

  static const ClientOperation& operation() { return GetParam(); }
  Outcome run() const { return operation().runOn(client); }
  Outcome runAfter(const Reply& reply) {
    bus.answer(operation().method(), reply);
    return run();
  }
  // Without the VM's number.
  static Outcome runAnew() {
    qx::VelProxy fresh;
    fresh.Init();
    return operation().runOn(vel::Client(fresh));
  }

  static void expectSuccess(const Outcome& outcome) {
    EXPECT_FALSE(outcome.error) << outcome.error->message();
  }
  // With a method, a reason, and both in the message.
  template <typename Text>
  static void expectError(const Outcome& outcome, ErrorKind kind, const std::string& method,
                          const Text& text) {
    ASSERT_TRUE(outcome.error) << "succeeded with " << outcome.value;
    const vel::Error& error = *outcome.error;
    EXPECT_EQ(nameOf(error.kind()), nameOf(kind)) << error.message();
    EXPECT_EQ(error.method(), method);
    EXPECT_THAT(error.text(), text);
    EXPECT_EQ(error.message(), method + ": " + error.text());
    EXPECT_EQ(error.status().has_value(), kind == ErrorKind::kRefused);
    EXPECT_EQ(outcome.value, "");
  }
  static void expectError(const Outcome& outcome, ErrorKind kind) {
    expectError(outcome, kind, operation().method(), Not(IsEmpty()));
  }
  // The operations that do not wait never see the reply.
  template <typename Text>
  void expectErrorAfter(const Reply& reply, ErrorKind kind, const Text& text) {
    SCOPED_TRACE(reply.debugString());
    const Outcome outcome = runAfter(reply);
    if (operation().waits()) {
      expectError(outcome, kind, operation().method(), text);
    } else {
      expectSuccess(outcome);
    }
  }
  void expectBadReply(const Reply& reply) {
    expectErrorAfter(reply, ErrorKind::kBadReply, Not(IsEmpty()));
  }
};

class ClientOperationWithAVmTest : public ClientOperationTest {};
class ClientOperationWithAListTest : public ClientOperationTest {};
class ClientOperationThatIsRefusedTest : public ClientOperationTest {};
class ClientOperationWithRefusedArgumentsTest : public ClientOperationTest {};

TEST_P(ClientOperationTest, SendsItsRequestAndGivesTheValue) {
  const Outcome outcome = run();

  expectSuccess(outcome);
  EXPECT_EQ(outcome.value, operation().value());
  ASSERT_EQ(bus.calls().size(), 1U);
  const scripted::Call sent = bus.calls().front();
  EXPECT_EQ(sent.text(), operation().requestOf(*proxy));
  EXPECT_EQ(sent.waits, operation().waits());
  EXPECT_EQ(vel::Client::timeLimit(sent.method).count(), sent.waits ? sent.timeoutMs : 0);
}

TEST_P(ClientOperationTest, ReportsABusThatCannotBeReached) {
  bus.setReachable(false);
  qx::VelProxy fresh;
  fresh.Init();
  const vel::Client unconnected(fresh);
  forget();

  const Outcome outcome = operation().runOn(unconnected);

  expectError(outcome, ErrorKind::kNoBus, outcome.error ? outcome.error->method() : "",
              "the bus cannot be reached");
  EXPECT_THAT(bus.calls(), IsEmpty());
}

TEST_P(ClientOperationTest, ReportsAMissingService) {
  disconnect(*proxy);

  expectError(run(), ErrorKind::kNoService, operation().method(), "no service on the bus");

  EXPECT_THAT(bus.calls(), IsEmpty());
}

TEST_P(ClientOperationTest, ReportsAReplyThatDoesNotComeInTime) {
  expectErrorAfter(Reply::error("nothing heard", MESSAGE_TYPE_NO_REPLY), ErrorKind::kNoReply,
                   "nothing heard");
  expectErrorAfter(Reply::missing(), ErrorKind::kNoReply, Not(IsEmpty()));
}

TEST_P(ClientOperationTest, ReportsALostConnection) {
  expectErrorAfter(Reply::error("the peer has gone", MESSAGE_TYPE_DISCONNECTED),
                   ErrorKind::kNoReply, "the peer has gone");
}

TEST_P(ClientOperationTest, ReportsTheWordsOfAnErrorReply) {
  expectErrorAfter(Reply::error("Zu viele Ger\xC3\xA4te."), ErrorKind::kErrorReply,
                   "Zu viele Ger\xC3\xA4te.");
  expectErrorAfter(Reply::error("of a new type", 99), ErrorKind::kErrorReply, "of a new type");
}

TEST_P(ClientOperationTest, ReportsAReplyWithoutTheValue) {
  expectBadReply(Reply());
}

TEST_P(ClientOperationTest, ReportsAValueOfAnotherType) {
  if (operation().isReadAsText()) {
    expectBadReply(Reply().int32(7));
    expectBadReply(Reply().uint64(1ULL << 40));
  } else {
    expectBadReply(Reply().string("ready"));
    expectBadReply(Reply().bytes({1, 2}));
  }
}

TEST_P(ClientOperationWithAListTest, ReportsAListThatEndsBeforeItsCount) {
  Reply shorter = operation().reply();
  shorter.arguments.pop_back();

  expectBadReply(shorter);
}

TEST_P(ClientOperationWithAListTest, ReportsANegativeCount) {
  Reply negative = operation().reply();
  // Behind the status, if there is one.
  negative.arguments[operation().isRefusedByStatus() ? 1 : 0] = std::int32_t{-2};

  expectErrorAfter(negative, ErrorKind::kBadReply, HasSubstr("-2"));
}

TEST_P(ClientOperationThatIsRefusedTest, ReportsTheStatusOfTheService) {
  for (const std::int32_t status : {1, 5, -1, 0x7FFFFFFF}) {
    const Outcome outcome = runAfter(Reply().int32(status));

    expectError(outcome, ErrorKind::kRefused, operation().method(),
                "the service refused with status " + std::to_string(status));
    EXPECT_EQ(outcome.error->status(), status);
  }
}

TEST_P(ClientOperationWithAVmTest, SendsNothingForAVmThatTheServiceDoesNotKnow) {
  bus.knowsVm(kVm, 0);

  const Outcome outcome = runAnew();

  ASSERT_TRUE(outcome.error);
  // The library itself refuses the VM of a diagnosis.
  const bool isRefusedByLibrary = operation().inLibrary().needsVm();
  expectError(outcome, ErrorKind::kUnknownVm,
              isRefusedByLibrary ? operation().method() : kLookUpOfAVm, HasSubstr(kVm));
  EXPECT_THAT(bus.requests(), ElementsAre("getVmListSize(string \"win11\")"));
}

TEST_P(ClientOperationWithAVmTest, ReportsAFailedLookUpOfTheVmAndSendsNothing) {
  const std::vector<std::tuple<Reply, ErrorKind>> failures = {
      {Reply::error("Which VM?"), ErrorKind::kErrorReply},
      {Reply::error("late", MESSAGE_TYPE_NO_REPLY), ErrorKind::kNoReply},
      {Reply(), ErrorKind::kBadReply},
  };
  for (const auto& [reply, kind] : failures) {
    bus.answer(kLookUpOfAVm, reply);
    forget();

    expectError(runAnew(), kind, kLookUpOfAVm, Not(IsEmpty()));

    EXPECT_THAT(bus.requests(), ElementsAre("getVmListSize(string \"win11\")"));
  }
}

TEST_P(ClientOperationWithRefusedArgumentsTest, ReportsThemAndSendsNothing) {
  for (const ClientOperation::Refusal& refusal : operation().refusals()) {
    SCOPED_TRACE(refusal.arguments);

    expectError(refusal.run(client), ErrorKind::kRefusedArgument);

    EXPECT_THAT(bus.calls(), IsEmpty());
  }
}

TEST_P(ClientOperationTest, SucceedsAgainAfterAFailure) {
  disconnect(*proxy);
  ASSERT_TRUE(run().error);
  proxy->Init();

  expectSuccess(run());
}

std::string nameOfRow(const testing::TestParamInfo<ClientOperation>& row) {
  return row.param.testName();
}

auto clientRowsThat(bool (*applies)(const ClientOperation&)) {
  return testing::ValuesIn(clientOperationsThat(applies));
}

INSTANTIATE_TEST_SUITE_P(All, ClientOperationTest, testing::ValuesIn(clientOperations()),
                         nameOfRow);
INSTANTIATE_TEST_SUITE_P(All, ClientOperationWithAVmTest,
                         clientRowsThat([](const ClientOperation& row) { return row.hasVm(); }),
                         nameOfRow);
INSTANTIATE_TEST_SUITE_P(All, ClientOperationWithAListTest,
                         clientRowsThat([](const ClientOperation& row) {
                           return row.isList() && !row.isReadAsText();
                         }),
                         nameOfRow);
INSTANTIATE_TEST_SUITE_P(All, ClientOperationThatIsRefusedTest,
                         clientRowsThat([](const ClientOperation& row) {
                           return row.isRefusedByStatus();
                         }),
                         nameOfRow);
INSTANTIATE_TEST_SUITE_P(All, ClientOperationWithRefusedArgumentsTest,
                         clientRowsThat([](const ClientOperation& row) {
                           return !row.refusals().empty();
                         }),
                         nameOfRow);

// --- That no operation is missing ----------------------------------------------------------------

TEST(ClientRowsTest, HaveEachRowOfTheLibrary) {
  std::set<std::string> covered;
  for (const ClientOperation& row : clientOperations()) {
    covered.insert(row.inLibrary().testName());
  }
  for (const RemoteOperation& row : remoteOperations()) {
    // Sent when the last subscription to joysticks ends: see subscriptions_test.cpp.
    if (row.testName() != "UnregisterJoystickCallback") {
      EXPECT_EQ(covered.count(row.testName()), 1U)
          << "no row of tests/client/rows/ sends " << row.request();
    }
  }
}

// The end of a subscription reaches the last method.
TEST_F(ClientTest, ReachesEveryMethodOfTheProtocol) {
  bus.knowsVm(kVm, kVmNumber);
  for (const ClientOperation& row : clientOperations()) {
    bus.answer(row.method(), row.reply());
  }
  for (const ClientOperation& row : clientOperations()) {
    row.runOn(client);
  }

  std::set<std::string> reached;
  for (const scripted::Call& call : bus.calls()) {
    reached.insert(call.method);
  }
  std::set<std::string> methods;
  for (const velprotocol::Method& method : velprotocol::kMethods) {
    methods.emplace(method.name);
  }
  EXPECT_EQ(reached, methods);
}

// The public members of vel::Client, and how many overloads each has.
std::map<std::string, int> membersOfTheClient() {
  std::ifstream header(PROJECT_SOURCE_DIR "/vel/client/client.h");
  const std::regex declaration(R"(^  [A-Za-z].*? (\w+)\(.*)");
  std::map<std::string, int> members;
  bool isInside = false;
  for (std::string line; std::getline(header, line) && line != " private:";) {
    std::smatch parts;
    isInside = isInside || line == " public:";
    if (isInside && std::regex_match(line, parts, declaration)) {
      ++members[parts[1]];
    }
  }
  return members;
}

TEST(ClientRowsTest, HaveEachOperationOfTheClient) {
  const std::set<std::string> sendNothing = {
      "Client",
      "apart",
      "proxy",
      "connect",
      "disconnect",
      "timeLimit",
      "vmName",
      "connectUsb",
      "disconnectUsb",
      "isAddress",
      "openPort",
      "setPortOpen",
      "receivePortData",
      "sendPen",
      "onDevice",
      "onPrinter",
      "onNewDevice",
      "onDiagnosis",
      "onCommand",
      "onServiceDeath",
      "onServiceReturn",
      "onSessionEnd",
      "announceDevice",
      "announceNewDevice",
      "announceJoystick",
      "outcome",
      // Send the requests of other members.
      "start",
      "startDiagnosis",
      "startSharedPrinterSearch",
  };
  std::map<std::string, int> rows;
  for (const ClientOperation& row : clientOperations()) {
    ++rows[row.member()];
  }

  const std::map<std::string, int> members = membersOfTheClient();
  EXPECT_GT(members.size(), 80U) << "vel/client/client.h is written in another way";
  for (const auto& [name, overloads] : members) {
    if (sendNothing.count(name) == 0) {
      EXPECT_GE(rows[name], overloads) << name << " has no row in tests/client/rows/";
    }
  }
  for (const auto& [name, count] : rows) {
    EXPECT_EQ(members.count(name), 1U) << "vel::Client has no " << name;
  }
}

}  // namespace
