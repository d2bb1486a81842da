// The way to a service, link by link, and who runs it.

#include "bus/dbus/service_check.h"

#include <filesystem>
#include <fstream>

#include <sys/stat.h>
#include <unistd.h>

#include "bus/dbus/bus_failure.h"
#include "tests/dbus/dbus_test.h"
#include "tests/dbus/odd_sockets.h"

namespace {

using namespace dbustest;
using qxbus::BusLink;
using qxbus::checkService;
using qxbus::ServiceCheck;
using testing::AllOf;
using testing::Eq;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Optional;
using testing::SizeIs;
using Source = qxbus::BusAddress::Source;

constexpr std::chrono::milliseconds kLongLimit{10000};
constexpr std::chrono::milliseconds kShortLimit{300};
constexpr unsigned int kAnotherUid = 65534;

class ServiceCheckOverDBus : public DBusTest {
 protected:
  // A directory that is removed with the test. Every user may enter it.
  void SetUp() override {
    std::string pattern = (std::filesystem::temp_directory_path() / "check.XXXXXX").string();
    ASSERT_TRUE(::mkdtemp(pattern.data()));
    directory_ = pattern;
    ::chmod(pattern.c_str(), 0755);
  }
  void TearDown() override { std::filesystem::remove_all(directory_); }

  std::filesystem::path pathIn(const std::string& name) const { return directory_ / name; }
  // An address in the style of this run of the tests.
  static std::string addressOf(const std::filesystem::path& path) {
    return (isDirect() ? "direct:" : "unix:path=") + path.string();
  }
  static std::string addressInUse() { return std::getenv("QXBUS_ADDRESS"); }

  struct Printed {
    Source source;
    int broken;
    std::string file;
    std::string socket;
  };
  static Printed checkedInAProcess(const std::string& assignment, const std::string& user = "") {
    std::vector<std::string> command = {BUS_PROCESS, "check", assignment};
    if (!user.empty()) {
      command.push_back(user);
    }
    Process process(helper(command));
    Printed printed = {};
    printed.source = static_cast<Source>(std::atoi(process.readLine().c_str()));
    printed.broken = std::atoi(process.readLine().c_str());
    printed.file = process.readLine();
    printed.socket = process.readLine();
    EXPECT_EQ(process.wait().status, 0);
    return printed;
  }

 private:
  std::filesystem::path directory_;
};

TEST_F(ServiceCheckOverDBus, NamesTheUserAndTheProcessOfAServiceThatRuns) {
  const TestService service;

  const ServiceCheck check = checkService("vel", "", kLongLimit);

  EXPECT_EQ(check.broken, std::nullopt);
  EXPECT_THAT(check.reason, IsEmpty());
  EXPECT_THAT(check.user, Optional(::geteuid()));
  EXPECT_THAT(check.process, Optional(::getpid()));
}

TEST_F(ServiceCheckOverDBus, NamesTheProcessOfAnotherServiceToo) {
  Process other(helper({BUS_PROCESS, "serve", addressInUse(), "another"}));
  ASSERT_EQ(other.readLine(), "running");

  EXPECT_THAT(checkService("another", "", kLongLimit).process, Optional(other.pid()));
}

TEST_F(ServiceCheckOverDBus, ShowsTheSocketInUse) {
  const TestService service;

  const ServiceCheck check = checkService("vel", "", kLongLimit);

  EXPECT_EQ(check.isDirect, isDirect());
  EXPECT_EQ(check.address.text, addressInUse());
  EXPECT_EQ(check.address.source, Source::kOwnVariable);
  ASSERT_THAT(check.sockets, SizeIs(1));
  EXPECT_EQ(check.sockets[0].broken, std::nullopt);
  struct stat status = {};
  ASSERT_EQ(::stat(check.sockets[0].path.c_str(), &status), 0);
  ASSERT_TRUE(check.sockets[0].file);
  EXPECT_EQ(check.sockets[0].file->user, status.st_uid);
  EXPECT_EQ(check.sockets[0].file->group, status.st_gid);
  EXPECT_EQ(check.sockets[0].file->mode, status.st_mode & 07777);
}

TEST_F(ServiceCheckOverDBus, ByABusWithoutTheServiceBreaksAtTheService) {
  NEEDS_DAEMON();

  const ServiceCheck check = checkService("vel", "", kLongLimit);

  EXPECT_THAT(check.broken, Optional(BusLink::kService));
  EXPECT_THAT(check.reason, HasSubstr("qx.bus.vel has no owner"));
  EXPECT_EQ(check.user, std::nullopt);
  EXPECT_EQ(check.process, std::nullopt);
}

TEST_F(ServiceCheckOverDBus, OfANameThatDBusDoesNotAllowBreaksAtTheService) {
  const ServiceCheck check = checkService("a-b", "", kLongLimit);

  EXPECT_THAT(check.broken, Optional(BusLink::kService));
  EXPECT_THAT(check.reason, HasSubstr("\"a-b\""));
}

TEST_F(ServiceCheckOverDBus, FindsTheAddressThatIsMalformed) {
  const ServiceCheck check = checkService("vel", "unix;path=/tmp/bus", kLongLimit);

  EXPECT_EQ(check.address.source, Source::kGiven);
  EXPECT_THAT(check.broken, Optional(BusLink::kAddress));
  EXPECT_THAT(check.reason, HasSubstr("malformed at character 1"));
  EXPECT_THAT(check.sockets, IsEmpty());
}

TEST_F(ServiceCheckOverDBus, FindsTheSocketThatIsMissing) {
  const std::string address = addressOf(pathIn("nothing"));

  const ServiceCheck check = checkService("vel", address, kLongLimit);

  EXPECT_THAT(check.broken, Optional(BusLink::kSocket));
  EXPECT_EQ(check.reason, qxbus::busFailure());
  EXPECT_THAT(check.reason, AllOf(HasSubstr(pathIn("nothing")), HasSubstr("No such file")));
  ASSERT_THAT(check.sockets, SizeIs(1));
  EXPECT_EQ(check.sockets[0].path, pathIn("nothing"));
  EXPECT_EQ(check.sockets[0].file, std::nullopt);
}

TEST_F(ServiceCheckOverDBus, FindsThePathThatLeadsNowhere) {
  std::ofstream(pathIn("file")) << "text";
  std::filesystem::create_symlink(pathIn("loop"), pathIn("loop"));
  for (const char* const path : {"file/bus", "loop/bus", "no/bus"}) {
    const ServiceCheck check = checkService("vel", addressOf(pathIn(path)), kLongLimit);

    EXPECT_THAT(check.broken, Optional(BusLink::kSocket)) << path;
    EXPECT_THAT(check.reason, HasSubstr(pathIn(path)));
  }
}

#if defined(__linux__)
TEST_F(ServiceCheckOverDBus, FindsNoFileForASocketWithoutOne) {
  NEEDS_DAEMON();

  const ServiceCheck check =
      checkService("vel", "unix:abstract=" + pathIn("nothing").string(), kLongLimit);

  EXPECT_THAT(check.broken, Optional(BusLink::kConnection));
  ASSERT_THAT(check.sockets, SizeIs(1));
  EXPECT_EQ(check.sockets[0].file, std::nullopt);
}
#endif

TEST_F(ServiceCheckOverDBus, FindsTheFileThatIsNoSocket) {
  std::ofstream(pathIn("file")) << "text";

  const ServiceCheck check = checkService("vel", addressOf(pathIn("file")), kLongLimit);

  EXPECT_THAT(check.broken, Optional(BusLink::kSocket));
  ASSERT_THAT(check.sockets, SizeIs(1));
  EXPECT_THAT(check.sockets[0].reason, HasSubstr("not a socket"));
}

TEST_F(ServiceCheckOverDBus, FindsTheDirectoryThatKeepsTheUserOut) {
  if (::geteuid() != 0) {
    GTEST_SKIP() << "needs root to become another user";
  }
  std::filesystem::create_directories(pathIn("locked/inner"));
  ::chmod(pathIn("locked").c_str(), 0700);
  const ListeningSocket socket(pathIn("locked/inner/bus"), 1);

  const Printed printed = checkedInAProcess(
      "QXBUS_ADDRESS=" + addressOf(pathIn("locked/inner/bus")), std::to_string(kAnotherUid));

  EXPECT_EQ(printed.broken, static_cast<int>(BusLink::kPermission));
  EXPECT_EQ(printed.file, pathIn("locked"));
}

TEST_F(ServiceCheckOverDBus, FindsTheSocketThatKeepsTheUserOut) {
  if (::geteuid() != 0) {
    GTEST_SKIP() << "needs root to become another user";
  }
  const ListeningSocket socket(pathIn("bus"), 1);
  ::chmod(pathIn("bus").c_str(), 0600);

  const Printed printed =
      checkedInAProcess("QXBUS_ADDRESS=" + addressOf(pathIn("bus")), std::to_string(kAnotherUid));

  EXPECT_EQ(printed.broken, static_cast<int>(BusLink::kPermission));
  EXPECT_EQ(printed.file, pathIn("bus"));
}

TEST_F(ServiceCheckOverDBus, FindsTheSocketWithoutAListener) {
  {
    const ListeningSocket socket(pathIn("new"), 1);
    std::filesystem::create_hard_link(pathIn("new"), pathIn("stale"));
  }

  const ServiceCheck check = checkService("vel", addressOf(pathIn("stale")), kLongLimit);

  EXPECT_THAT(check.broken, Optional(BusLink::kConnection));
  EXPECT_THAT(check.reason, HasSubstr("Connection refused"));
  ASSERT_THAT(check.sockets, SizeIs(1));
  EXPECT_TRUE(check.sockets[0].file);
}

TEST_F(ServiceCheckOverDBus, FindsTheListenerThatAcceptsNothing) {
  const FullSocket socket(pathIn("full"));

  const ServiceCheck check = checkService("vel", addressOf(pathIn("full")), kShortLimit);

  EXPECT_THAT(check.broken, Optional(BusLink::kConnection));
  EXPECT_THAT(check.reason, HasSubstr("does not take the connection"));
}

TEST_F(ServiceCheckOverDBus, FindsTheListenerThatRefusesTheUser) {
  const std::vector<std::string> answers[] = {
      {"REJECTED EXTERNAL\r\n"},                   // by the authentication
      {"OK 0123456789abcdef0123456789abcdef\r\n"}  // afterwards, as a bus does
  };
  for (const std::vector<std::string>& each : answers) {
    const AnsweringSocket socket(pathIn("refusing"), each, AnsweringSocket::Afterwards::kClose);

    const ServiceCheck check = checkService("vel", addressOf(pathIn("refusing")), kLongLimit);

    EXPECT_THAT(check.broken, Optional(BusLink::kAuthentication)) << each.front();
    EXPECT_THAT(check.reason, HasSubstr("refuse this user"));
    ASSERT_THAT(check.sockets, SizeIs(1));
    EXPECT_THAT(check.sockets[0].broken, Optional(BusLink::kAuthentication));
  }
}

TEST_F(ServiceCheckOverDBus, FindsTheListenerThatAnswersNothing) {
  const AnsweringSocket socket(pathIn("silent"), {}, AnsweringSocket::Afterwards::kStaySilent);

  const ServiceCheck check = checkService("vel", addressOf(pathIn("silent")), kShortLimit);

  EXPECT_THAT(check.broken, Optional(BusLink::kAuthentication));
  EXPECT_THAT(check.reason, HasSubstr("no reply in time"));
}

TEST_F(ServiceCheckOverDBus, OfSeveralPlacesNamesEachAndTheOneThatLedFurthest) {
  NEEDS_DAEMON();
  const AnsweringSocket refusing(pathIn("refusing"), {}, AnsweringSocket::Afterwards::kClose);
  const std::string nothing = "unix:path=" + pathIn("nothing").string();

  const ServiceCheck check =
      checkService("vel", refusing.address() + ";" + nothing + ";tcp:host=here", kLongLimit);

  EXPECT_THAT(check.broken, Optional(BusLink::kAuthentication));
  ASSERT_THAT(check.sockets, SizeIs(3));
  EXPECT_EQ(check.sockets[0].place, refusing.address());
  EXPECT_THAT(check.sockets[0].broken, Optional(BusLink::kAuthentication));
  EXPECT_EQ(check.sockets[1].place, nothing);
  EXPECT_THAT(check.sockets[1].broken, Optional(BusLink::kSocket));
  EXPECT_THAT(check.sockets[2].broken, Optional(BusLink::kAddress));
  EXPECT_THAT(check.sockets[2].reason, HasSubstr("tcp"));
}

TEST_F(ServiceCheckOverDBus, GoesOnToThePlaceThatLetsItIn) {
  NEEDS_DAEMON();
  const TestService service;
  const std::string nothing = "unix:path=" + pathIn("nothing").string();

  const ServiceCheck check = checkService("vel", nothing + ";" + bus().address(), kLongLimit);

  EXPECT_EQ(check.broken, std::nullopt);
  ASSERT_THAT(check.sockets, SizeIs(2));
  EXPECT_THAT(check.sockets[0].broken, Optional(BusLink::kSocket));
  EXPECT_EQ(check.sockets[1].broken, std::nullopt);
}

TEST_F(ServiceCheckOverDBus, FindsTheServiceOfAnotherUser) {
  NEEDS_DAEMON();
  if (::geteuid() != 0) {
    GTEST_SKIP() << "needs root to start a service as another user";
  }
  Process stranger(
      helper({BUS_PROCESS, "serve", bus().address(), "vel", std::to_string(kAnotherUid)}));
  ASSERT_EQ(stranger.readLine(), "running");

  const ServiceCheck check = checkService("vel", "", kLongLimit);

  EXPECT_THAT(check.broken, Optional(BusLink::kServiceUser));
  EXPECT_THAT(check.user, Optional(kAnotherUid));
  EXPECT_THAT(check.process, Optional(stranger.pid()));
  EXPECT_THAT(check.reason, HasSubstr(std::to_string(kAnotherUid)));
}

TEST_F(ServiceCheckOverDBus, SaysWhereTheAddressComesFrom) {
  const std::string runtime = pathIn("runtime").string();
  std::filesystem::create_directory(runtime);
  const std::string other = "unix:path=" + pathIn("nothing").string();

  EXPECT_EQ(checkedInAProcess("QXBUS_ADDRESS=" + other).source, Source::kOwnVariable);
  EXPECT_EQ(checkedInAProcess("DBUS_SESSION_BUS_ADDRESS=" + other).source,
            Source::kSessionVariable);
  EXPECT_EQ(checkedInAProcess("XDG_RUNTIME_DIR=" + runtime).source, Source::kDefault);
  EXPECT_EQ(checkedInAProcess("XDG_RUNTIME_DIR=" + runtime).socket, runtime + "/velproxy/vel");
#if !defined(__APPLE__)
  const AnsweringSocket refusing(runtime + "/bus", {}, AnsweringSocket::Afterwards::kClose);
  EXPECT_EQ(checkedInAProcess("XDG_RUNTIME_DIR=" + runtime).source, Source::kSessionSocket);
#endif
}

#if !defined(__APPLE__)
TEST_F(ServiceCheckOverDBus, LooksInTheDirectoryForAllWhereTheUserHasNone) {
  const std::string place = "/tmp/velproxy-" + std::to_string(::geteuid()) + "/vel";

  for (const char* const nothing : {"XDG_RUNTIME_DIR=", "HOME="}) {
    const Printed printed = checkedInAProcess(nothing);
    EXPECT_EQ(printed.source, Source::kDefault);
    EXPECT_EQ(printed.socket, place);
  }
}
#endif

}  // namespace
