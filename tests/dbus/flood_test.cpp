// Clients that connect to the socket of a service and never authenticate, and messages of 100 MB.

#include <algorithm>
#include <atomic>
#include <deque>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <poll.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include "base/unix_socket.h"
#include "bus/dbus/transport/acceptor.h"
#include "bus/dbus/transport/connection.h"
#include "tests/dbus/hostile_test.h"
#include "tests/dbus/odd_sockets.h"

namespace {

using namespace dbustest;
using qxbus::wire::MessageType;

// --- Clients -------------------------------------------------------------------------------------

#if defined(TAKES_ALL_DESCRIPTORS)
constexpr int kFlood = 10000;
#else
constexpr int kFlood = 1000;
#endif
// Of them, so many are open at once where this process may have so many descriptors: more than a
// service lets authenticate, and than wait for it.
constexpr rlim_t kOpenAtOnce = 5000;
// What the tests have open besides.
constexpr rlim_t kOtherDescriptors = 200;

// While it lives, this process may have as many descriptors as the system allows it.
class AllDescriptors {
 public:
  AllDescriptors() {
    ::getrlimit(RLIMIT_NOFILE, &before_);
    const rlimit raised = {before_.rlim_max, before_.rlim_max};
    number_ = ::setrlimit(RLIMIT_NOFILE, &raised) == 0 ? raised.rlim_cur : before_.rlim_cur;
  }
  ~AllDescriptors() { ::setrlimit(RLIMIT_NOFILE, &before_); }
  AllDescriptors(const AllDescriptors&) = delete;
  AllDescriptors& operator=(const AllDescriptors&) = delete;

  rlim_t number() const { return number_; }

 private:
  rlimit before_ = {};
  rlim_t number_ = 0;
};

class Flood : public HostileTest {
 protected:
  struct InUse {
    std::ptrdiff_t descriptors;
    std::ptrdiff_t threads;
    long megabytes;
  };
  static InUse inUseBy(const Process& process) {
    const std::string number = std::to_string(process.pid());
    return {entriesOf("/proc/" + number + "/fd"), entriesOf("/proc/" + number + "/task"),
            statusMegabytes(number, "VmRSS")};
  }

  // Connects again and again, as fast as the system allows, to say nothing, until so many clients
  // have been served beside it. Pauses bound the load on a busy machine.
  void flood() {
    const AllDescriptors descriptors;
    const std::size_t openAtOnce = std::min(kOpenAtOnce, descriptors.number() - kOtherDescriptors);
    std::deque<base::Socket> open;
    for (int i = 0; (i < kFlood || served_ < kServed) && !isGivenUp_; ++i) {
      open.push_back(base::newSocket());
      while (base::connectTo(open.back(), socket()) == EAGAIN && !isGivenUp_) {
        std::this_thread::yield();
      }
      if (open.size() > openAtOnce) {
        open.pop_front();
      }
      if (hasPauses_) {
        std::this_thread::sleep_for(Milliseconds(5));
      }
    }
    isOver_ = true;
  }

  static constexpr int kServed = 5;
  std::atomic<int> served_{0};
  std::atomic<bool> isOver_{false};
  std::atomic<bool> isGivenUp_{false};
  std::atomic<bool> hasPauses_{false};
};

TEST_F(Flood, OfSilentClientsKeepsNoClientOutAndTakesNothingForLong) {
  Process service(helper({BUS_PROCESS, "serve", address(), "vel"}));
  ASSERT_EQ(service.readLine(), "running");
  const auto earlier = qxbus::Client::connect(address());
  const auto earlierService = (*earlier)->handleOn("vel", kSafe);
  ASSERT_TRUE(earlierService);
  const InUse before = inUseBy(service);
  std::thread flooding([this] { flood(); });

  constexpr auto kHandshakes = static_cast<std::ptrdiff_t>(qxbus::Acceptor::kMostHandshakes) + 1;
  std::ptrdiff_t tries = 0;
  // Where the system is so busy that the queue of those who connect stays full, a client may learn
  // that, and comes again.
  const auto begun = TestClock::now();
  do {
    EXPECT_THAT(earlierService->call(*qxbus::makeMessage(MESSAGE_TYPE_METHOD_CALL, "echo"), 10000),
                IsReply());
    served_ += isServed() ? 1 : 0;
    ++tries;
    const InUse now = inUseBy(service);
    EXPECT_LE(now.descriptors, before.descriptors + kHandshakes + tries);
    // A client that has been served closes its end on a thread of its own, which a busy system may
    // run late.
    EXPECT_TRUE(waitUntil(
        [&] { return inUseBy(service).descriptors <= before.descriptors + kHandshakes + 1; }));
    EXPECT_LE(now.threads, before.threads);
#if defined(TAKES_ALL_DESCRIPTORS)
    // A sanitizer keeps what is freed.
    EXPECT_LT(now.megabytes, before.megabytes + 30);
#endif
    hasPauses_ = since(begun) > Milliseconds(60000);
    isGivenUp_ = since(begun) > Milliseconds(240000);
  } while (!isOver_ && !isGivenUp_);

  flooding.join();
  EXPECT_GE(served_, kServed);
  EXPECT_TRUE(waitUntil([&] { return inUseBy(service).descriptors <= before.descriptors; }));
  EXPECT_TRUE(isServed());
}

// A slow client: one byte now and then, so that it is never silent.
TEST_F(Flood, OfBytesOneByOneEndsWithTheTimeToAuthenticate) {
  const auto loop = qxbus::Loop::start("qxbus-io");
  ASSERT_TRUE(loop);
  const auto acceptor = qxbus::Acceptor::listen(
      *loop, socket(), [](base::Socket, qxbus::Inbox) {}, Milliseconds(200));
  ASSERT_TRUE(acceptor) << acceptor.reason();
  const base::Socket slow = base::newSocket();
  ASSERT_EQ(base::connectTo(slow, socket()), 0);
  const auto begun = TestClock::now();

  const std::string line = std::string(1, '\0') + "AUTH EXTERNAL " + std::string(10000, '3');
  std::size_t sent = 0;
  pollfd polled = {slow.number(), POLLIN, 0};
  while (sent < line.size() && ::poll(&polled, 1, 10) == 0) {
    base::sendSome(slow, reinterpret_cast<const unsigned char*>(line.data()) + sent, 1);
    ++sent;
  }

  EXPECT_GT(sent, 1u);
  EXPECT_LT(sent, line.size());
  EXPECT_GE(since(begun), Milliseconds(150));
  unsigned char byte = 0;
  EXPECT_LE(base::receiveSome(slow, &byte, 1), 0);
  (*loop)->stop();
}

// --- Services ------------------------------------------------------------------------------------

#if defined(__linux__) && defined(TAKES_ALL_DESCRIPTORS)
constexpr std::size_t kLarge = 100 * kMegabyte;

class LargeReply : public HostileTest {
 protected:
  // A service that sends each of the answers when another call has come.
  std::unique_ptr<PlayedService> answering(std::vector<std::string> answers) {
    return std::make_unique<PlayedService>(
        socket(), [answers = std::move(answers)](int connection) {
          char call[1000];
          for (const std::string& answer : answers) {
            if (::recv(connection, call, sizeof call, 0) <= 0 || !sendAll(connection, answer)) {
              return;
            }
          }
          while (::recv(connection, call, sizeof call, 0) > 0) {
          }
        });
  }

  std::shared_ptr<qxbus::Connection> connected(const PlayedService& service) {
    auto connection = qxbus::Connection::open(service.address(), {}, qxbus::deadlineAfter(10000));
    EXPECT_TRUE(connection) << connection.reason();
    return connection ? *connection : nullptr;
  }

  static qxbus::Outcome echo(qxbus::Connection& connection, int milliseconds) {
    qxbus::wire::MessageWriter call;
    call.start(headerOf(MessageType::kMethodCall, kVelName, "echo"));
    return connection.call(&call, "", qxbus::deadlineAfter(milliseconds));
  }
};

// The header of a reply with a body of that size.
std::string headerOfReply(std::size_t size) {
  const auto size32 = static_cast<std::uint32_t>(size);
  std::string header = replyTo(1, "s", {std::string()});
  header.resize(header.size() - (sizeof size32 + 1));
  header.replace(4, sizeof size32, reinterpret_cast<const char*>(&size32), sizeof size32);
  return header;
}

TEST_F(LargeReply, ThatIsOnlyAnnouncedTakesNoMemory) {
  const auto service = answering({headerOfReply(kLarge)});
  const auto connection = connected(*service);
  ASSERT_TRUE(connection);
  takePeakMemory();
  const long before = takePeakMemory();

  EXPECT_EQ(echo(*connection, 300).kind, qxbus::Outcome::Kind::kNoReply);

  EXPECT_LT(takePeakMemory() - before, 20);
}

TEST_F(LargeReply, TakesItsOwnSizeOnceAndTheNextCallWorks) {
  const auto service = answering({replyTo(1, "s", {std::string(kLarge, 'x')}), replyTo(2)});
  const auto connection = connected(*service);
  ASSERT_TRUE(connection);
  takePeakMemory();
  const long before = takePeakMemory();

  {
    const qxbus::Outcome large = echo(*connection, 60000);
    ASSERT_EQ(large.kind, qxbus::Outcome::Kind::kReturn);
    EXPECT_LT(takePeakMemory() - before, 120);
  }

  EXPECT_EQ(echo(*connection, 10000).kind, qxbus::Outcome::Kind::kReturn);
  EXPECT_LT(statusMegabytes("self", "VmRSS") - before, 20);
}

TEST_F(LargeReply, ThatIsLargerThanDBusAllowsEndsTheConnection) {
  const auto service = answering({headerOfReply(128 * kMegabyte)});
  const auto connection = connected(*service);
  ASSERT_TRUE(connection);

  EXPECT_EQ(echo(*connection, 10000).kind, qxbus::Outcome::Kind::kDisconnected);
}
#endif

}  // namespace
