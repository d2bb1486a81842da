// The first connection of a process to the bus, and the reason why there is none.

#include <filesystem>
#include <thread>

#include "bus/dbus/bus_failure.h"
#include "tests/dbus/dbus_test.h"
#include "tests/dbus/odd_sockets.h"
#include "tests/dbus/timing.h"

namespace {

using namespace dbustest;
using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using Afterwards = AnsweringSocket::Afterwards;

constexpr Milliseconds kPromptly{1000};
constexpr Milliseconds kWithinTwoSeconds{2500};
// One attempt may take two seconds; two of them, one after the other, take longer than this.
constexpr Milliseconds kOneAttempt{3500};
constexpr int kThreads = 8;

class FirstConnection : public DBusTest {
 protected:
  struct Attempt {
    std::string said;
    Milliseconds took;
    std::string reason;
    std::string service;
  };

  static Attempt connect(const std::vector<std::string>& arguments) {
    std::vector<std::string> command = {BUS_PROCESS, "connect"};
    command.insert(command.end(), arguments.begin(), arguments.end());
    Process process(helper(command));
    Attempt attempt;
    attempt.said = process.readLine();
    attempt.took = Milliseconds(std::atoi(process.readLine().c_str()));
    attempt.reason = process.readLine();
    attempt.service = process.readLine();
    EXPECT_EQ(process.wait().status, 0);
    return attempt;
  }
  static Attempt connectTo(const std::string& address) {
    return connect({"QXBUS_ADDRESS=" + address});
  }
  // Fails the test when the result takes longer than the limit.
  static Attempt connectBelow(Milliseconds limit, const std::vector<std::string>& arguments) {
    Attempt attempt;
    measuredBelow(limit, [&attempt, &arguments] {
      attempt = connect(arguments);
      return attempt.took;
    });
    EXPECT_LT(attempt.took, limit);
    return attempt;
  }
  static Attempt connectToBelow(Milliseconds limit, const std::string& address) {
    return connectBelow(limit, {"QXBUS_ADDRESS=" + address});
  }

  static std::string pathIn(const std::string& name) { return (bus().directory() / name).string(); }
};

struct UnreachableRow {
  std::string address;
  std::string reason;
};

TEST_F(FirstConnection, ToABusThatIsNotThereFailsPromptlyWithTheReason) {
  const std::string stale = pathIn("stale");
  std::filesystem::copy(pathIn("bus.conf"), stale);
  const UnreachableRow rows[] = {
      {"unix:path=" + pathIn("nothing"), "No such file or directory"},
      {"unix:path=" + pathIn("no/directory"), "No such file or directory"},
      {"unix:path=" + stale, "Connection refused"},
      {"nonsense", "colon"},
      {"unix:", "path"},
      {";", ""},
      {"tcp:host=127.0.0.1,port=1", "the transport \"tcp\" is not supported"},
      {"unix:path=" + pathIn("nothing") + ";tcp:host=here", "; tcp:host=here: the transport"},
  };
  for (const UnreachableRow& row : rows) {
    SCOPED_TRACE(row.address);
    const Attempt attempt = connectToBelow(kPromptly, row.address);
    EXPECT_EQ(attempt.said, "no bus");
    EXPECT_THAT(attempt.reason,
                AllOf(HasSubstr("no connection to the bus at " + row.address + ": "),
                      HasSubstr(row.reason)));
  }
}

TEST_F(FirstConnection, IsToTheServiceItselfWhenThereIsNoBus) {
  const std::string runtime = pathIn("runtime");
  std::filesystem::create_directory(runtime);
  EXPECT_EQ(connect({"XDG_RUNTIME_DIR=" + runtime}).service, "absent");

  const qxbus::ServiceHost service("direct:" + runtime + "/velproxy/", "vel", {});

  const Attempt attempt = connectBelow(kPromptly, {"XDG_RUNTIME_DIR=" + runtime});
  EXPECT_EQ(attempt.said, "connected");
  EXPECT_EQ(attempt.reason, "");
  EXPECT_EQ(attempt.service, "there");
}

TEST_F(FirstConnection, IsToTheSessionBusWhenNoOtherIsNamed) {
  const TestService service;

  EXPECT_EQ(connect({"DBUS_SESSION_BUS_ADDRESS=" + bus().address()}).service, "there");
  EXPECT_EQ(connectTo(bus().address()).service, "there");
}

// An address keeps the guid of a bus that has been started again since.
TEST_F(FirstConnection, IsAlsoToABusWithAnotherGuidThanTheAddressSays) {
  const TestService service;

  const Attempt attempt = connectTo(bus().address() + ",guid=0123456789abcdef0123456789abcdef");

  EXPECT_EQ(attempt.said, "connected");
  EXPECT_EQ(attempt.service, "there");
}

TEST_F(FirstConnection, LeavesNoReasonWhenItIsMade) {
  EXPECT_EQ(connectTo(bus().address()).reason, "");
}

TEST_F(FirstConnection, ToABusThatHangsFailsWithinTwoSeconds) {
  bus().hang();
  const Attempt attempt = connectToBelow(kWithinTwoSeconds, bus().address());
  bus().resume();

  EXPECT_EQ(attempt.said, "no bus");
  EXPECT_THAT(attempt.reason, AllOf(HasSubstr(bus().address()), HasSubstr("no reply in time")));
}

TEST_F(FirstConnection, ToABusThatTakesNoConnectionsFailsWithinTwoSeconds) {
  const FullSocket socket(pathIn("full"));

  const Attempt attempt = connectToBelow(kWithinTwoSeconds, socket.address());

  EXPECT_EQ(attempt.said, "no bus");
  EXPECT_THAT(attempt.reason, HasSubstr("does not take the connection"));
}

struct RefusalRow {
  const char* description;
  std::vector<std::string> answers;
};

// A bus ends the connection of a user that it does not let in.
TEST_F(FirstConnection, ToABusThatRefusesTheUserFailsPromptlyWithTheUser) {
  const RefusalRow rows[] = {
      {"refused by the authentication", {"REJECTED EXTERNAL\r\n"}},
      {"closed after the authentication", {"OK 0123456789abcdef0123456789abcdef\r\n"}},
      {"closed at once", {}},
  };
  for (const RefusalRow& row : rows) {
    SCOPED_TRACE(row.description);
    const AnsweringSocket socket(pathIn("refusing"), row.answers, Afterwards::kClose);
    const Attempt attempt = connectToBelow(kPromptly, socket.address());
    EXPECT_EQ(attempt.said, "no bus");
    EXPECT_THAT(attempt.reason,
                AllOf(HasSubstr(socket.address()),
                      HasSubstr("refuse this user, " + std::to_string(::geteuid()))));
  }
}

TEST_F(FirstConnection, CanBeTriedAgain) {
  bus().kill();
  Process process(helper({BUS_PROCESS, "wait", "QXBUS_ADDRESS=" + bus().address()}));
  ASSERT_EQ(process.readLine(), "no bus");

  bus().start();

  EXPECT_EQ(process.readLine(), "connected");
  EXPECT_EQ(process.readLine(), "reason: ");
}

// --- Several threads at once ---------------------------------------------------------------------

TEST_F(FirstConnection, OfSeveralThreadsIsOneAttempt) {
  const AnsweringSocket silent(pathIn("silent"), {}, Afterwards::kStaySilent);

  const Attempt attempt = connect({"QXBUS_ADDRESS=" + silent.address(), std::to_string(kThreads)});

  EXPECT_EQ(attempt.said, "no bus");
  EXPECT_LT(attempt.took, kOneAttempt);
  EXPECT_EQ(silent.accepted(), 1);
}

TEST_F(FirstConnection, OfSeveralThreadsGivesEachTheSameManager) {
  EXPECT_EQ(connect({"QXBUS_ADDRESS=" + bus().address(), std::to_string(kThreads)}).said,
            "connected");
}

using LostConnection = FirstConnection;

TEST_F(LostConnection, IsReplacedByOneAttemptOfSeveralThreads) {
  bus().kill();
  EXPECT_FALSE(manager().isServiceRegistered("vel"));
  const AnsweringSocket silent(pathIn("bus"), {}, Afterwards::kStaySilent);

  const auto begun = TestClock::now();
  std::vector<std::thread> callers;
  callers.reserve(kThreads);
  for (int i = 0; i < kThreads; ++i) {
    callers.emplace_back([] { EXPECT_FALSE(manager().isServiceRegistered("vel")); });
  }
  for (std::thread& caller : callers) {
    caller.join();
  }

  EXPECT_LT(since(begun), kOneAttempt);
  EXPECT_EQ(silent.accepted(), 1);
}

TEST_F(LostConnection, HasAReasonUntilItIsReplaced) {
  // Twice, because only the second time is sure to begin without the reason of another test.
  for (int time = 1; time <= 2; ++time) {
    bus().kill();
    EXPECT_FALSE(manager().isServiceRegistered("vel"));
    EXPECT_THAT(qxbus::busFailure(),
                AllOf(HasSubstr(bus().address()), HasSubstr("Connection refused")));

    bus().start();
    EXPECT_FALSE(manager().isServiceRegistered("vel"));

    EXPECT_THAT(qxbus::busFailure(), IsEmpty());
  }
}

}  // namespace
